// The block cipher unit against libcrypto with its legacy provider, and against Crypto++ for what
// that lacks: random keys, lengths and cuts.
#include "api/cipher_cases.h"

#include <cryptopp/filters.h>
#include <cryptopp/lea.h>
#include <cryptopp/modes.h>
#include <cryptopp/seed.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/provider.h>

#include <functional>

namespace {

using namespace test;

// A message under one key and IV, no padding unless the mode pads.
using Peer =
    std::function<Bytes(const Bytes& key, const Bytes& iv, const Bytes& text, bool encrypt)>;

class LibCrypto {
  public:
    LibCrypto() {
        for (std::size_t i = 0; i < 2; ++i)
            providers_[i] = OSSL_PROVIDER_load(context_, i == 0 ? "default" : "legacy");
    }
    ~LibCrypto() {
        for (EVP_CIPHER* cipher : fetched_) EVP_CIPHER_free(cipher);
        for (OSSL_PROVIDER* provider : providers_) OSSL_PROVIDER_unload(provider);
        OSSL_LIB_CTX_free(context_);
    }
    LibCrypto(const LibCrypto&) = delete;
    LibCrypto& operator=(const LibCrypto&) = delete;

    // Empty when libcrypto does not have it.
    Peer find(const CipherCase& cipher, const std::string& mode) {
        if (cipher.oracle == nullptr) return {};
        const std::string name = std::string(cipher.oracle) + "-" + mode;
        EVP_CIPHER* evp = EVP_CIPHER_fetch(context_, name.c_str(), nullptr);
        if (evp == nullptr) return {};
        fetched_.push_back(evp);
        const auto rc2_bits = static_cast<unsigned>(cipher.rc2_bits);
        return [evp, rc2_bits](const Bytes& key, const Bytes& iv, const Bytes& text, bool encrypt) {
            return run(evp, rc2_bits, key, iv, text, encrypt);
        };
    }

  private:
    static Bytes run(EVP_CIPHER* evp, unsigned rc2_bits, const Bytes& key, const Bytes& iv,
                     const Bytes& text, bool encrypt) {
        EVP_CIPHER_CTX* state = EVP_CIPHER_CTX_new();
        std::size_t key_length = key.size();
        OSSL_PARAM params[] = {OSSL_PARAM_construct_size_t("keylen", &key_length),
                               OSSL_PARAM_construct_uint("keybits", &rc2_bits),
                               OSSL_PARAM_construct_end()};
        EXPECT_EQ(1, EVP_CipherInit_ex2(state, evp, nullptr, nullptr, encrypt, nullptr));
        if (rc2_bits != 0) {
            EXPECT_EQ(1, EVP_CIPHER_CTX_set_params(state, params));
        }
        EXPECT_EQ(1, EVP_CipherInit_ex2(state, nullptr, key.data(), iv.data(), encrypt, nullptr));
        Bytes out(text.size() + 32);
        int updated = 0;
        int finished = 0;
        EXPECT_EQ(1, EVP_CipherUpdate(state, out.data(), &updated, text.data(),
                                      static_cast<int>(text.size())));
        EXPECT_EQ(1, EVP_CipherFinal_ex(state, out.data() + updated, &finished));
        EVP_CIPHER_CTX_free(state);
        out.resize(static_cast<std::size_t>(updated + finished));
        return out;
    }

    OSSL_LIB_CTX* context_ = OSSL_LIB_CTX_new();
    OSSL_PROVIDER* providers_[2];
    std::vector<EVP_CIPHER*> fetched_;
};

// Padded where the mode pads.
template <template <class> class Mode, class Cipher>
Bytes cryptopp(const Bytes& key, const Bytes& iv, const Bytes& text, bool encrypt) {
    std::string out;
    const auto pump = [&](auto&& transform) {
        transform.SetKeyWithIV(key.data(), key.size(), iv.data(), iv.size());
        CryptoPP::StringSource(
            text.data(), text.size(), true,
            new CryptoPP::StreamTransformationFilter(transform, new CryptoPP::StringSink(out)));
    };
    if (encrypt) pump(typename Mode<Cipher>::Encryption());
    if (!encrypt) pump(typename Mode<Cipher>::Decryption());
    return {out.begin(), out.end()};
}

template <class Cipher>
Peer cryptopp_mode(const std::string& mode) {
    if (mode == "CBC") return cryptopp<CryptoPP::CBC_Mode, Cipher>;
    if (mode == "CFB") return cryptopp<CryptoPP::CFB_Mode, Cipher>;
    if (mode == "OFB") return cryptopp<CryptoPP::OFB_Mode, Cipher>;
    if (mode == "CTR") return cryptopp<CryptoPP::CTR_Mode, Cipher>;
    return {}; // ECB takes no IV there, and CBC tells the same
}

Peer find_cryptopp(const CipherCase& cipher, const std::string& mode) {
    const std::string name = cipher.vector_name;
    if (name.rfind("LEA", 0) == 0) return cryptopp_mode<CryptoPP::LEA>(mode);
    if (name == "SEED-128") return cryptopp_mode<CryptoPP::SEED>(mode);
    return {};
}

TEST(CipherDifferential, UnitAgreesWithPeers) {
    Random random(51);
    LibCrypto libcrypto;
    int compared = 0;
    for (const CipherCase& cipher : kCipherCases) {
        for (std::size_t m = 0; m < std::size(kUnitModes); ++m) {
            if (!offers(cipher, kUnitModes[m])) continue;
            Peer peer = libcrypto.find(cipher, kUnitModeNames[m]);
            if (!peer) peer = find_cryptopp(cipher, kUnitModeNames[m]);
            if (!peer) continue;
            SCOPED_TRACE(std::string(cipher.name) + " " + kUnitModeNames[m]);
            ++compared;
            for (int i = 0; i < 40; ++i) {
                const Bytes key = random.bytes(cipher.key);
                const Bytes iv = random.bytes(cipher.block);
                const Bytes text = random.bytes(1 + random.below(i % 4 == 0 ? 2000 : 100));
                const uint32_t id = cipher.id | kUnitModes[m];
                const CipherUnit forward = cipher_unit(id, key, iv, true);
                const Outcome out =
                    run_message(forward.get(), text, random_cut(random, text.size(), 64));
                ASSERT_EQ(peer(key, iv, text, true), out.data);

                const uint32_t back_id = is_stream(kUnitModes[m]) ? id | kNoPadding : id;
                const CipherUnit back = cipher_unit(back_id, key, iv, false);
                const Outcome plain =
                    run_message(back.get(), out.data, random_cut(random, out.data.size(), 64));
                ASSERT_EQ(0U, plain.final_status);
                ASSERT_EQ(text, plain.data);
                ASSERT_EQ(text, peer(key, iv, out.data, false));
            }
        }
    }
    EXPECT_GE(compared, 40);
}

// CFB8 and CFB1 of the engines.
TEST(CipherDifferential, PartialFeedbackAgreesWithLibcrypto) {
    Random random(52);
    LibCrypto libcrypto;
    int compared = 0;
    for (const CipherCase& cipher : kCipherCases) {
        const std::pair<const char*, ModeRoutine> rows[] = {{"CFB8", cipher.routines->cfb_8},
                                                            {"CFB1", cipher.routines->cfb_1}};
        for (const auto& [mode, routine] : rows) {
            const Peer peer = libcrypto.find(cipher, mode);
            if (!peer) continue;
            SCOPED_TRACE(std::string(cipher.name) + " " + mode);
            ++compared;
            for (const bool encrypt : {true, false}) {
                const Bytes key = random.bytes(cipher.key);
                const Bytes iv = random.bytes(cipher.block);
                const Bytes text = random.bytes(1 + random.below(60));
                const CipherUnit unit = cipher_unit(cipher.id | kCfb, key, iv, encrypt);
                const auto count =
                    static_cast<uint32_t>(text.size()) * (mode == std::string("CFB1") ? 8 : 1);
                Bytes out(text.size());
                ASSERT_EQ(0U, routine(unit.get(), out.data(), text.data(), count));
                EXPECT_EQ(peer(key, iv, text, encrypt), out);
            }
        }
    }
    EXPECT_GE(compared, 12);
}

} // namespace
