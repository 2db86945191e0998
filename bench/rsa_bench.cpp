// RSA: signatures, encryption and key generation. Both sides hold the same key.
#include "harness/bigints.h"
#include "talvern.h"

#include <benchmark/benchmark.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#define PKCS1_MGF1 peer_PKCS1_MGF1 // both libraries have one
#include <openssl/rsa.h>
#undef PKCS1_MGF1

#include <map>
#include <string>
#include <vector>

namespace {

using benchmark::State;
using test::Int;
using Bytes = std::vector<unsigned char>;

const Bytes kMessage(32, 0x5A);

Int part(const EVP_PKEY* key, const char* name) {
    BIGNUM* n = nullptr;
    EVP_PKEY_get_bn_param(key, name, &n);
    const Int copy(n);
    BN_clear_free(n);
    return copy;
}

// One key of so many bits on both sides, made at first use.
struct Keys {
    EVP_PKEY* theirs;
    VRQ_RSA_UNIT* ours;

    explicit Keys(unsigned bits) : theirs(EVP_RSA_gen(bits)), ours(VRQ_New_RSA()) {
        VRQ_Change_Test_Mode();
        VRQ_Set_RSA_Params(
            ours, part(theirs, OSSL_PKEY_PARAM_RSA_N), part(theirs, OSSL_PKEY_PARAM_RSA_E),
            part(theirs, OSSL_PKEY_PARAM_RSA_D), part(theirs, OSSL_PKEY_PARAM_RSA_FACTOR1),
            part(theirs, OSSL_PKEY_PARAM_RSA_FACTOR2), part(theirs, OSSL_PKEY_PARAM_RSA_EXPONENT1),
            part(theirs, OSSL_PKEY_PARAM_RSA_EXPONENT2),
            part(theirs, OSSL_PKEY_PARAM_RSA_COEFFICIENT1));
    }

    static Keys& of(unsigned bits) {
        static std::map<unsigned, Keys> keys;
        return keys.try_emplace(bits, bits).first->second;
    }
};

struct Scheme {
    const char* name;
    uint32_t mode;
    int padding;
};

constexpr Scheme kSignatures[] = {{"PSS", VRQ_RSASSA_PSS | 32U << 16, RSA_PKCS1_PSS_PADDING},
                                  {"PKCS1", VRQ_RSASSA_PKCS1_V1_5, RSA_PKCS1_PADDING}};

bool sign(Keys& keys, const Scheme& scheme, Bytes& signature) {
    uint32_t length = 0;
    return VRQ_Init_RSASSA(keys.ours, VRQ_ID_SHA256, scheme.mode, VRQ_RSA_PRIVATE) == 0 &&
           VRQ_Update_RSASSA(keys.ours, kMessage.data(), 32) == 0 &&
           VRQ_Final_RSASSA(keys.ours, signature.data(), &length) == 0;
}

bool verify(Keys& keys, const Scheme& scheme, Bytes& signature) {
    auto length = static_cast<uint32_t>(signature.size());
    return VRQ_Init_RSASSA(keys.ours, VRQ_ID_SHA256, scheme.mode, VRQ_RSA_PUBLIC) == 0 &&
           VRQ_Update_RSASSA(keys.ours, kMessage.data(), 32) == 0 &&
           VRQ_Final_RSASSA(keys.ours, signature.data(), &length) == 0;
}

void set_padding(EVP_PKEY_CTX* context, const Scheme& scheme) {
    EVP_PKEY_CTX_set_rsa_padding(context, scheme.padding);
    if (scheme.padding == RSA_PKCS1_PSS_PADDING) EVP_PKEY_CTX_set_rsa_pss_saltlen(context, 32);
}

bool sign_peer(Keys& keys, const Scheme& scheme, Bytes& signature) {
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    EVP_PKEY_CTX* settings = nullptr;
    std::size_t length = signature.size();
    const bool done =
        EVP_DigestSignInit(context, &settings, EVP_sha256(), nullptr, keys.theirs) == 1 &&
        (set_padding(settings, scheme), true) &&
        EVP_DigestSign(context, signature.data(), &length, kMessage.data(), 32) == 1;
    EVP_MD_CTX_free(context);
    return done;
}

bool verify_peer(Keys& keys, const Scheme& scheme, Bytes& signature) {
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    EVP_PKEY_CTX* settings = nullptr;
    const bool done =
        EVP_DigestVerifyInit(context, &settings, EVP_sha256(), nullptr, keys.theirs) == 1 &&
        (set_padding(settings, scheme), true) &&
        EVP_DigestVerify(context, signature.data(), signature.size(), kMessage.data(), 32) == 1;
    EVP_MD_CTX_free(context);
    return done;
}

using Operation = bool (*)(Keys&, const Scheme&, Bytes&);

void add(const std::string& row, unsigned bits, const Scheme& scheme, Operation prepare,
         Operation operation) {
    benchmark::RegisterBenchmark(row.c_str(), [=](State& state) {
        Keys& keys = Keys::of(bits);
        Bytes block(bits / 8);
        if (prepare != nullptr) prepare(keys, scheme, block);
        for (auto _ : state) {
            if (!operation(keys, scheme, block)) state.SkipWithError("operation failed");
        }
    });
}

void add_signatures(unsigned bits) {
    for (const Scheme& scheme : kSignatures) {
        const std::string size = "/" + std::to_string(bits) + "/";
        const std::string name = std::string("RSA ") + scheme.name;
        add(name + " sign" + size + "talvern", bits, scheme, nullptr, sign);
        add(name + " sign" + size + "openssl", bits, scheme, nullptr, sign_peer);
        add(name + " verify" + size + "talvern", bits, scheme, sign_peer, verify);
        add(name + " verify" + size + "openssl", bits, scheme, sign_peer, verify_peer);
    }
}

constexpr Scheme kOaep = {"OAEP", VRQ_RSAES_OAEP, RSA_PKCS1_OAEP_PADDING};

bool encrypt(Keys& keys, const Scheme& scheme, Bytes& block) {
    uint32_t length = 0;
    return VRQ_Init_RSAES(keys.ours, scheme.mode, VRQ_RSA_PUBLIC, VRQ_ID_SHA256) == 0 &&
           VRQ_Encrypt_RSAES(keys.ours, block.data(), &length, kMessage.data(), 32) == 0;
}

bool decrypt(Keys& keys, const Scheme& scheme, Bytes& block) {
    uint32_t length = 0;
    Bytes out(block.size());
    return VRQ_Init_RSAES(keys.ours, scheme.mode, VRQ_RSA_PRIVATE, VRQ_ID_SHA256) == 0 &&
           VRQ_Decrypt_RSAES(keys.ours, out.data(), &length, block.data(),
                             static_cast<int32_t>(out.size())) == 0;
}

template <int (*Init)(EVP_PKEY_CTX*), int (*Run)(EVP_PKEY_CTX*, unsigned char*, std::size_t*,
                                                 const unsigned char*, std::size_t)>
bool crypt_peer(Keys& keys, const Scheme& scheme, unsigned char* out, std::size_t size,
                const Bytes& in) {
    EVP_PKEY_CTX* context = EVP_PKEY_CTX_new_from_pkey(nullptr, keys.theirs, nullptr);
    const bool done = Init(context) == 1 &&
                      EVP_PKEY_CTX_set_rsa_padding(context, scheme.padding) == 1 &&
                      EVP_PKEY_CTX_set_rsa_oaep_md(context, EVP_sha256()) == 1 &&
                      Run(context, out, &size, in.data(), in.size()) == 1;
    EVP_PKEY_CTX_free(context);
    return done;
}

bool encrypt_peer(Keys& keys, const Scheme& scheme, Bytes& block) {
    return crypt_peer<EVP_PKEY_encrypt_init, EVP_PKEY_encrypt>(keys, scheme, block.data(),
                                                               block.size(), kMessage);
}

bool decrypt_peer(Keys& keys, const Scheme& scheme, Bytes& block) {
    Bytes out(block.size());
    return crypt_peer<EVP_PKEY_decrypt_init, EVP_PKEY_decrypt>(keys, scheme, out.data(), out.size(),
                                                               block);
}

void add_encryption(unsigned bits) {
    const std::string size = "/" + std::to_string(bits) + "/";
    add("RSA OAEP encrypt" + size + "talvern", bits, kOaep, nullptr, encrypt);
    add("RSA OAEP encrypt" + size + "openssl", bits, kOaep, nullptr, encrypt_peer);
    add("RSA OAEP decrypt" + size + "talvern", bits, kOaep, encrypt_peer, decrypt);
    add("RSA OAEP decrypt" + size + "openssl", bits, kOaep, encrypt_peer, decrypt_peer);
}

// One key a run, since times of single keys scatter: take the median of 30 runs or more with
// --benchmark_repetitions=31.
void add_generation(unsigned bits) {
    const std::string row = "RSA generation/" + std::to_string(bits) + "/";
    benchmark::RegisterBenchmark((row + "talvern").c_str(), [bits](State& state) {
        VRQ_Change_Test_Mode();
        const Int e("10001");
        for (auto _ : state) {
            VRQ_RSA_UNIT* unit = VRQ_New_RSA();
            if (VRQ_Generate_RSA_Params_Ex(unit, e, static_cast<int32_t>(bits), 2) != 0)
                state.SkipWithError("generation failed");
            VRQ_Free_RSA(unit);
        }
    })->Iterations(1);
    benchmark::RegisterBenchmark((row + "openssl").c_str(), [bits](State& state) {
        for (auto _ : state) EVP_PKEY_free(EVP_RSA_gen(bits));
    })->Iterations(1);
}

const bool registered = [] {
    for (const unsigned bits : {2048U, 3072U, 4096U}) {
        add_signatures(bits);
        add_encryption(bits);
    }
    add_generation(2048);
    add_generation(3072);
    return true;
}();

} // namespace
