// Elliptic curves, ECDSA and DSA beside libcrypto. Secrets are drawn by both sides; ours have 160 bits,
// so "k*G" shows the cost of a full scalar.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "harness/curves.h"
#include "talvern.h"

#include <benchmark/benchmark.h>
#include <openssl/dsa.h>
#include <openssl/ec.h>
#include <openssl/ecdsa.h>

#include <functional>
#include <string>

namespace {

using test::Bn;
using test::Bytes;
using test::Curve;
using test::Int;
using test::Point;

constexpr uint32_t kDigest = VRQ_ID_SHA256;
const Bytes kHash(32, 0x5C);

void run(const std::string& name, const std::function<bool()>& call) {
    benchmark::RegisterBenchmark(name.c_str(), [call](benchmark::State& state) {
        for (auto _ : state) {
            if (!call()) state.SkipWithError("failed");
        }
    });
}

struct CurveRows {
    CurveRows(const char* label, const char* name)
        : group(test::group_named(name)), curve(group.get()), key(EC_KEY_new()) {
        Bytes secret(63, 0x6D);
        const std::size_t bytes = (VRQ_Get_BIGINT_Bits_Length(curve->order) + 7) / 8;
        secret.resize(std::min(bytes, secret.size()));
        const Int d(secret);
        const Point q;
        vrq_Mtp_Fp_ECC(q, curve, curve->G, d);
        VRQ_Sub_BIGINT(k, curve->order, d, nullptr);
        bn_k = BN_dup(Bn(k));
        result = EC_POINT_new(group.get());
        EC_KEY_set_group(key, group.get());
        EC_KEY_set_private_key(key, Bn(d));
        EC_KEY_set_public_key_affine_coordinates(key, Bn(q->x), Bn(q->y));
        their_signature = ECDSA_do_sign(kHash.data(), 32, key);
        VRQ_Set_ECDSA_Params(unit, curve, d, q);
        VRQ_Set_ECDSA_Params(verifier, curve, nullptr, q);
        sign();
        add(label);
    }

    bool sign() {
        if (unit->k != nullptr) VRQ_Free_BIGINT(unit->k); // a fresh secret
        unit->k = nullptr;
        VRQ_Init_ECDSA(unit, kDigest, 1);
        VRQ_Update_ECDSA(unit, kHash.data(), 32);
        return VRQ_Final_ECDSA(unit, r, &r_length, s, &s_length) == 0;
    }

    bool verify() {
        VRQ_Init_ECDSA(verifier, kDigest, 0);
        VRQ_Update_ECDSA(verifier, kHash.data(), 32);
        return VRQ_Final_ECDSA(verifier, r, &r_length, s, &s_length) == 0;
    }

    void add(const std::string& label) {
        run("kG/" + label + "/talvern",
            [this] { return vrq_Mtp_Fp_ECC(out, curve, curve->G, k) == 0; });
        run("kG/" + label + "/libcrypto", [this] {
            return EC_POINT_mul(group.get(), result, nullptr, EC_GROUP_get0_generator(group.get()),
                                bn_k, ctx) == 1;
        });
        run("ecdsa-sign/" + label + "/talvern", [this] { return sign(); });
        run("ecdsa-sign/" + label + "/libcrypto", [this] {
            ECDSA_SIG* const signature = ECDSA_do_sign(kHash.data(), 32, key);
            ECDSA_SIG_free(signature);
            return signature != nullptr;
        });
        run("ecdsa-verify/" + label + "/talvern", [this] { return verify(); });
        run("ecdsa-verify/" + label + "/libcrypto",
            [this] { return ECDSA_do_verify(kHash.data(), 32, their_signature, key) == 1; });
    }

    test::Group group;
    Curve curve;
    EC_KEY* key;
    Int k;
    Point out;
    BN_CTX* ctx = BN_CTX_new();
    BIGNUM* bn_k;
    EC_POINT* result;
    ECDSA_SIG* their_signature;
    VRQ_ECDSA_UNIT* unit = VRQ_New_ECDSA();
    VRQ_ECDSA_UNIT* verifier = VRQ_New_ECDSA();
    uint8_t r[66];
    uint8_t s[66];
    uint32_t r_length = 0;
    uint32_t s_length = 0;
};

struct DsaRows {
    DsaRows() : dsa(DSA_new()) {
        DSA_generate_parameters_ex(dsa, 2048, nullptr, 0, nullptr, nullptr, nullptr);
        DSA_generate_key(dsa);
        their_signature = DSA_do_sign(kHash.data(), 32, dsa);
        const Int p(DSA_get0_p(dsa));
        const Int q(DSA_get0_q(dsa));
        const Int g(DSA_get0_g(dsa));
        VRQ_Set_DSA_Params(unit, p, q, g, Int(DSA_get0_priv_key(dsa)), Int(DSA_get0_pub_key(dsa)));
        sign();
    }

    bool sign() {
        VRQ_Init_DSA(unit, kDigest, 1, nullptr, 0);
        VRQ_Update_DSA(unit, kHash.data(), 32);
        return VRQ_Final_DSA(unit, r, &r_length, s, &s_length) == 0;
    }

    bool sign_there() {
        DSA_SIG* const signature = DSA_do_sign(kHash.data(), 32, dsa);
        DSA_SIG_free(signature);
        return signature != nullptr;
    }

    bool verify_there() { return DSA_do_verify(kHash.data(), 32, their_signature, dsa) == 1; }

    bool verify() {
        VRQ_Init_DSA(unit, kDigest, 0, nullptr, 0);
        VRQ_Update_DSA(unit, kHash.data(), 32);
        return VRQ_Final_DSA(unit, r, &r_length, s, &s_length) == 0;
    }

    DSA* dsa;
    DSA_SIG* their_signature;
    VRQ_DSA_UNIT* unit = VRQ_New_DSA();
    uint8_t r[32];
    uint8_t s[32];
    uint32_t r_length = 0;
    uint32_t s_length = 0;
};

// The domain is made when the first row runs.
void add_dsa(const char* name, bool (DsaRows::*call)()) {
    benchmark::RegisterBenchmark(name, [call](benchmark::State& state) {
        static DsaRows rows;
        for (auto _ : state) {
            if (!(rows.*call)()) state.SkipWithError("failed");
        }
    });
}

const bool g_registered = [] {
    VRQ_Change_Non_Proven_Mode();
    static CurveRows curves[] = {{"P-256", "prime256v1"},
                                 {"P-384", "secp384r1"},
                                 {"P-521", "secp521r1"},
                                 {"brainpoolP256r1", "brainpoolP256r1"}};
    static_cast<void>(curves);
    add_dsa("dsa-sign/2048/talvern", &DsaRows::sign);
    add_dsa("dsa-sign/2048/libcrypto", &DsaRows::sign_there);
    add_dsa("dsa-verify/2048/talvern", &DsaRows::verify);
    add_dsa("dsa-verify/2048/libcrypto", &DsaRows::verify_there);
    return true;
}();

} // namespace
