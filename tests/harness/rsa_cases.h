// RSA in tests: stored keys, units that hold them, and libcrypto's keys and powers of the same
// numbers.
#pragma once

#include "harness/bigints.h"
#include "harness/rsa_keys.h"
#include "harness/vectors.h"
#include "talvern.h"

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>

namespace test {

struct PeerFree {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
    void operator()(OSSL_PARAM_BLD* builder) const { OSSL_PARAM_BLD_free(builder); }
    void operator()(OSSL_PARAM* params) const { OSSL_PARAM_free(params); }
};
using PeerKey = std::unique_ptr<EVP_PKEY, PeerFree>;
using PeerContext = std::unique_ptr<EVP_PKEY_CTX, PeerFree>;

enum class Parts { kPublic, kPrivate, kCrt };

// A key of a vector file.
class StoredRsaKey {
  public:
    explicit StoredRsaKey(const Record& record) : record_(record) {}

    // A part, null when the record lacks it.
    Int part(const char* name) const { return Int(record_.bytes(name)); }
    Bytes modulus() const { return record_.bytes("n"); }
    std::size_t k() const { return modulus().size(); }
    std::size_t bits() const { return VRQ_Get_BIGINT_Bits_Length(part("n")); }
    bool is_private() const { return record_.has("d"); }

    RsaUnit load(Parts parts) const {
        RsaUnit unit(VRQ_New_RSA());
        const Int n = part("n");
        const Int e = part("e");
        uint32_t status = 0;
        if (parts == Parts::kPublic) {
            status = VRQ_Set_RSA_Public_Params(unit.get(), n, e);
        } else if (parts == Parts::kPrivate) {
            status = VRQ_Set_RSA_Params(unit.get(), n, e, part("d"), nullptr, nullptr, nullptr,
                                        nullptr, nullptr);
        } else {
            status = VRQ_Set_RSA_Params(unit.get(), n, e, part("d"), part("p"), part("q"),
                                        part("dp"), part("dq"), part("qinv"));
        }
        EXPECT_EQ(0U, status);
        return unit;
    }

    PeerKey peer() const {
        const std::unique_ptr<OSSL_PARAM_BLD, PeerFree> builder(OSSL_PARAM_BLD_new());
        std::map<std::string, Bn> numbers;
        constexpr std::pair<const char*, const char*> kNames[] = {
            {"n", OSSL_PKEY_PARAM_RSA_N},          {"e", OSSL_PKEY_PARAM_RSA_E},
            {"d", OSSL_PKEY_PARAM_RSA_D},          {"p", OSSL_PKEY_PARAM_RSA_FACTOR1},
            {"q", OSSL_PKEY_PARAM_RSA_FACTOR2},    {"dp", OSSL_PKEY_PARAM_RSA_EXPONENT1},
            {"dq", OSSL_PKEY_PARAM_RSA_EXPONENT2}, {"qinv", OSSL_PKEY_PARAM_RSA_COEFFICIENT1}};
        for (const auto& [ours, theirs] : kNames)
            OSSL_PARAM_BLD_push_BN(builder.get(), theirs,
                                   numbers.emplace(ours, part(ours)).first->second);
        const std::unique_ptr<OSSL_PARAM, PeerFree> params(OSSL_PARAM_BLD_to_param(builder.get()));
        const PeerContext context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
        EVP_PKEY* key = nullptr;
        EVP_PKEY_fromdata_init(context.get());
        EXPECT_EQ(1, EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_KEYPAIR, params.get()));
        return PeerKey(key);
    }

    // block^d mod n or block^e mod n, k bytes, by libcrypto.
    Bytes power(const Bytes& block, const char* exponent) const {
        const std::unique_ptr<BN_CTX, BnFree> context(BN_CTX_new());
        const Bn base(Int(block).operator VRQ_BIGINT*());
        Bn r;
        BN_mod_exp(r, base, Bn(part(exponent)), Bn(part("n")), context.get());
        Bytes out(k());
        BN_bn2binpad(r, out.data(), static_cast<int>(out.size()));
        return out;
    }

  private:
    Record record_;
};

// The keys of a file by name.
inline std::map<std::string, StoredRsaKey> load_rsa_keys(const std::string& path) {
    std::map<std::string, StoredRsaKey> keys;
    for (const Record& record : load_vectors(path)) {
        if (record.name == "RSA-KEY") keys.emplace(record.text("name"), StoredRsaKey(record));
    }
    return keys;
}

// The key of so many bits.
inline const StoredRsaKey& rsa_key(std::size_t bits) {
    static const std::map<std::string, StoredRsaKey> keys = load_rsa_keys("pubkey/rsa-keys.vec");
    return keys.at("B" + std::to_string(bits));
}

inline uint32_t rsa_digest(const std::string& name) {
    static const std::map<std::string, uint32_t> ids = {
        {"MD5", VRQ_ID_MD5},        {"SHA-1", VRQ_ID_SHA1},     {"SHA-224", VRQ_ID_SHA224},
        {"SHA-256", VRQ_ID_SHA256}, {"SHA-384", VRQ_ID_SHA384}, {"SHA-512", VRQ_ID_SHA512}};
    return ids.at(name);
}

inline const char* peer_digest(uint32_t id) { return VRQ_Get_DIGEST_Alg_Name(id); }

// By name, since <openssl/rsa.h> declares another PKCS1_MGF1.
inline void set(const PeerContext& context, const char* name, const std::string& value) {
    ASSERT_EQ(1, EVP_PKEY_CTX_ctrl_str(context.get(), name, value.c_str())) << name;
}

// As in a key that has not been used yet.
inline void drop_blinding(VRQ_RSA_UNIT* unit) {
    for (VRQ_BIGINT** factor : {&unit->blind_A, &unit->blind_Ai}) {
        VRQ_Free_BIGINT(*factor);
        *factor = nullptr;
    }
}

// Mode word of PSS with a salt of so many bytes.
constexpr uint32_t pss_mode(uint32_t salt) { return VRQ_RSASSA_PSS | salt << 16; }

inline uint32_t feed(VRQ_RSA_UNIT* unit, const Bytes& message) {
    if (message.empty()) return 0;
    return VRQ_Update_RSASSA(unit, message.data(), static_cast<int32_t>(message.size()));
}

// Signs with room for k bytes and 8 more that must stay untouched.
inline uint32_t sign(VRQ_RSA_UNIT* unit, uint32_t digest, uint32_t mode, const Bytes& message,
                     Bytes& signature) {
    if (const uint32_t s = VRQ_Init_RSASSA(unit, digest, mode, VRQ_RSA_PRIVATE); s != 0) return s;
    if (const uint32_t s = feed(unit, message); s != 0) return s;
    signature.assign(VRQ_Get_RSA_Length(unit) + 8, 0xA5);
    uint32_t length = 0;
    const uint32_t status = VRQ_Final_RSASSA(unit, signature.data(), &length);
    EXPECT_EQ(Bytes(8, 0xA5), Bytes(signature.end() - 8, signature.end()));
    EXPECT_EQ(status == 0 ? signature.size() - 8 : 0, length);
    signature.resize(signature.size() - 8);
    return status;
}

inline uint32_t verify(VRQ_RSA_UNIT* unit, uint32_t digest, uint32_t mode, const Bytes& message,
                       Bytes signature) {
    if (const uint32_t s = VRQ_Init_RSASSA(unit, digest, mode, VRQ_RSA_PUBLIC); s != 0) return s;
    if (const uint32_t s = feed(unit, message); s != 0) return s;
    auto length = static_cast<uint32_t>(signature.size());
    signature.push_back(0);
    return VRQ_Final_RSASSA(unit, signature.data(), &length);
}

inline uint32_t encrypt(VRQ_RSA_UNIT* unit, const Bytes& message, Bytes& out) {
    out.assign(VRQ_Get_RSA_Length(unit) + 8, 0xA5);
    uint32_t length = 0;
    Bytes in = message;
    in.push_back(0);
    const uint32_t status = VRQ_Encrypt_RSAES(unit, out.data(), &length, in.data(),
                                              static_cast<int32_t>(message.size()));
    EXPECT_EQ(Bytes(8, 0xA5), Bytes(out.end() - 8, out.end()));
    EXPECT_EQ(status == 0 ? out.size() - 8 : 0, length);
    out.resize(out.size() - 8);
    return status;
}

inline uint32_t decrypt(VRQ_RSA_UNIT* unit, const Bytes& in, Bytes& out,
                        std::size_t capacity = 1024) {
    out.assign(capacity + 8, 0xA5);
    uint32_t length = 0;
    const uint32_t status =
        VRQ_Decrypt_RSAES(unit, out.data(), &length, in.data(), static_cast<int32_t>(capacity));
    EXPECT_EQ(Bytes(8, 0xA5), Bytes(out.end() - 8, out.end()));
    out.resize(length);
    return status;
}

} // namespace test
