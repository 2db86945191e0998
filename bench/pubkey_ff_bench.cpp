// KCDSA beside libcrypto's DSA of the same lengths; Diffie-Hellman beside libcrypto's.
#include "talvern.h"

#include <benchmark/benchmark.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

void expect(bool condition) {
    if (!condition) std::abort();
}

BIGNUM* bn(const VRQ_BIGINT* a) {
    std::vector<uint8_t> bytes(VRQ_Get_BIGINT_Bits_Length(a) / 8 + 1);
    const uint32_t length = VRQ_BIGINT_To_Binary_Unsigned(a, bytes.data());
    return BN_bin2bn(bytes.data(), static_cast<int>(length), nullptr);
}

// A key of libcrypto; q and x may be null.
EVP_PKEY* libcrypto_key(const char* type, const VRQ_KCDSA_UNIT& domain, const VRQ_BIGINT* q,
                        const VRQ_BIGINT* y, const VRQ_BIGINT* x) {
    OSSL_PARAM_BLD* const build = OSSL_PARAM_BLD_new();
    OSSL_PARAM_BLD_push_BN(build, OSSL_PKEY_PARAM_FFC_P, bn(domain.p));
    OSSL_PARAM_BLD_push_BN(build, OSSL_PKEY_PARAM_FFC_G, bn(domain.g));
    if (q != nullptr) OSSL_PARAM_BLD_push_BN(build, OSSL_PKEY_PARAM_FFC_Q, bn(q));
    OSSL_PARAM_BLD_push_BN(build, OSSL_PKEY_PARAM_PUB_KEY, bn(y));
    if (x != nullptr) OSSL_PARAM_BLD_push_BN(build, OSSL_PKEY_PARAM_PRIV_KEY, bn(x));
    EVP_PKEY* key = nullptr;
    EVP_PKEY_CTX* const context = EVP_PKEY_CTX_new_from_name(nullptr, type, nullptr);
    expect(EVP_PKEY_fromdata_init(context) == 1 &&
           EVP_PKEY_fromdata(context, &key, EVP_PKEY_KEYPAIR, OSSL_PARAM_BLD_to_param(build)) == 1);
    return key;
}

// A unit with a domain of 2048 and 256 bits and a key pair.
VRQ_KCDSA_UNIT* new_unit() {
    VRQ_Change_Non_Proven_Mode();
    VRQ_KCDSA_UNIT* const unit = VRQ_New_KCDSA();
    expect(VRQ_Generate_KCDSA_Params_Ex(unit, VRQ_ID_SHA256, 2048, 256) == 0 &&
           VRQ_Generate_KCDSA_Key_Pair_Ex(unit) == 0);
    return unit;
}

// KCDSA and DSA over one domain. DSA's y is that of its own x.
struct Signer {
    Signer() {
        VRQ_BIGINT* const y = VRQ_New_BIGINT();
        expect(VRQ_Mod_Exp_Mont_BIGINT(y, unit->g, unit->x, unit->p, nullptr) == 0);
        EVP_PKEY* const key = libcrypto_key("DSA", *unit, unit->q, y, unit->x);
        signing = EVP_PKEY_CTX_new(key, nullptr);
        verifying = EVP_PKEY_CTX_new(key, nullptr);
        expect(EVP_PKEY_sign_init(signing) == 1 && EVP_PKEY_verify_init(verifying) == 1);
        ours_sign();
        theirs_sign();
    }

    void ours(int32_t direction) {
        expect(VRQ_Init_KCDSA_Ex(unit, direction, VRQ_ID_SHA256) == 0 &&
               VRQ_Update_KCDSA(unit, digest, sizeof digest) == 0 &&
               VRQ_Final_KCDSA(unit, r, &r_length, s, &s_length) == 0);
    }
    void ours_sign() { ours(1); }
    void ours_verify() { ours(0); }
    void theirs_sign() {
        der_length = sizeof der;
        expect(EVP_PKEY_sign(signing, der, &der_length, digest, sizeof digest) == 1);
    }
    void theirs_verify() {
        expect(EVP_PKEY_verify(verifying, der, der_length, digest, sizeof digest) == 1);
    }

    VRQ_KCDSA_UNIT* unit = new_unit();
    EVP_PKEY_CTX* signing;
    EVP_PKEY_CTX* verifying;
    uint8_t digest[32] = {1, 2, 3};
    uint8_t r[64], s[64], der[128];
    uint32_t r_length = 0, s_length = 0;
    std::size_t der_length = 0;
};

// One secret of 2048 bits, with x of 256 bits or nearly as long as p; no q on either side.
struct Agreement {
    explicit Agreement(bool is_long) {
        const std::vector<uint8_t> x_bytes(is_long ? 255 : 32, 0xA5);
        VRQ_BIGINT* const x =
            VRQ_Binary_To_BIGINT(x_bytes.data(), static_cast<int32_t>(x_bytes.size()), nullptr);
        const VRQ_KCDSA_UNIT* const domain = new_unit();
        peer = domain->y;
        VRQ_DH_PARAMS* const params = VRQ_New_DH_Params();
        expect(VRQ_Init_DH_Params(params, domain->p, nullptr, domain->g) == 0 &&
               VRQ_Init_DH(unit, x, peer, params) == 0);
        context = EVP_PKEY_CTX_new(libcrypto_key("DH", *domain, nullptr, peer, x), nullptr);
        EVP_PKEY* const other = libcrypto_key("DH", *domain, nullptr, peer, nullptr);
        expect(EVP_PKEY_derive_init(context) == 1 &&
               EVP_PKEY_derive_set_peer_ex(context, other, 0) == 1);
        ours();
        theirs();
    }

    void ours() { expect(VRQ_Compute_Key(unit, peer, out, &length) == 0); }
    void theirs() {
        std::size_t size = sizeof out;
        expect(EVP_PKEY_derive(context, out, &size) == 1);
    }

    VRQ_DH_UNIT* unit = VRQ_New_DH();
    const VRQ_BIGINT* peer;
    EVP_PKEY_CTX* context;
    uint8_t out[256];
    uint32_t length = 0;
};

// Subjects are made when their row runs, and live as long as the program.
Signer& signer() {
    static auto* const subject = new Signer;
    return *subject;
}

template <bool IsLong>
Agreement& agreement() {
    static auto* const subject = new Agreement(IsLong);
    return *subject;
}

void add(const char* row, void (*call)()) {
    benchmark::RegisterBenchmark(row, [call](benchmark::State& state) {
        call();
        for (auto _ : state) call();
    });
}

const bool kRegistered = [] {
    add("kcdsa_sign/2048_256/talvern", [] { signer().ours_sign(); });
    add("kcdsa_sign/2048_256/libcrypto_dsa", [] { signer().theirs_sign(); });
    add("kcdsa_verify/2048_256/talvern", [] { signer().ours_verify(); });
    add("kcdsa_verify/2048_256/libcrypto_dsa", [] { signer().theirs_verify(); });
    add("dh_secret/2048_x256/talvern", [] { agreement<false>().ours(); });
    add("dh_secret/2048_x256/libcrypto", [] { agreement<false>().theirs(); });
    add("dh_secret/2048_x2040/talvern", [] { agreement<true>().ours(); });
    add("dh_secret/2048_x2040/libcrypto", [] { agreement<true>().theirs(); });
    return true;
}();

} // namespace
