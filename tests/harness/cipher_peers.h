// Peers of the block cipher unit: libcrypto with its legacy provider, and Crypto++.
#pragma once

#include "harness/cipher_table.h"

#include <cryptopp/aes.h>
#include <cryptopp/aria.h>
#include <cryptopp/blowfish.h>
#include <cryptopp/des.h>
#include <cryptopp/lea.h>
#include <cryptopp/modes.h>
#include <cryptopp/rc2.h>
#include <cryptopp/rc5.h>
#include <cryptopp/seed.h>
#include <openssl/evp.h>
#include <openssl/params.h>
#include <openssl/provider.h>

#include <memory>
#include <string>
#include <vector>

namespace test {

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

    // Null when libcrypto does not have it.
    const EVP_CIPHER* find(const CipherCase& cipher, const std::string& mode) {
        if (cipher.oracle == nullptr) return nullptr;
        const std::string name = std::string(cipher.oracle) + "-" + mode;
        EVP_CIPHER* found = EVP_CIPHER_fetch(context_, name.c_str(), nullptr);
        if (found != nullptr) fetched_.push_back(found);
        return found;
    }

  private:
    OSSL_LIB_CTX* context_ = OSSL_LIB_CTX_new();
    OSSL_PROVIDER* providers_[2];
    std::vector<EVP_CIPHER*> fetched_;
};

struct FreeEvpContext {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using EvpContext = std::unique_ptr<EVP_CIPHER_CTX, FreeEvpContext>;

// A context with its algorithm, still without a key.
inline EvpContext evp_context(const CipherCase& cipher, const EVP_CIPHER* evp, bool encrypt) {
    EvpContext context(EVP_CIPHER_CTX_new());
    EVP_CipherInit_ex2(context.get(), evp, nullptr, nullptr, encrypt, nullptr);
    if (cipher.rc2_bits == 0) return context;
    std::size_t key_length = cipher.key;
    auto bits = static_cast<unsigned>(cipher.rc2_bits);
    const OSSL_PARAM params[] = {OSSL_PARAM_construct_size_t("keylen", &key_length),
                                 OSSL_PARAM_construct_uint("keybits", &bits),
                                 OSSL_PARAM_construct_end()};
    EVP_CIPHER_CTX_set_params(context.get(), params);
    return context;
}

// A keyed message object of Crypto++; null when it does not have the cipher.
class CryptoPpMode {
  public:
    static std::unique_ptr<CryptoPpMode> make(const CipherCase& cipher, uint32_t mode,
                                              const uint8_t* key, const uint8_t* iv, bool encrypt) {
        auto block = make_block(cipher, key, encrypt || is_stream(mode));
        if (block == nullptr) return nullptr;
        return std::unique_ptr<CryptoPpMode>(new CryptoPpMode(std::move(block), mode, iv, encrypt));
    }

    // Starts a message; whole blocks in ECB and CBC.
    void run(const uint8_t* iv, uint8_t* out, const uint8_t* in, std::size_t size) {
        if (mode_->IsResynchronizable()) mode_->Resynchronize(iv);
        mode_->ProcessData(out, in, size);
    }

  private:
    using Block = std::unique_ptr<CryptoPP::BlockCipher>;
    using Mode = std::unique_ptr<CryptoPP::SymmetricCipher>;

    CryptoPpMode(Block block, uint32_t mode, const uint8_t* iv, bool encrypt)
        : block_(std::move(block)), mode_(make_mode(*block_, mode, iv, encrypt)) {}

    template <class Cipher>
    static Block keyed(const uint8_t* key, std::size_t length, bool encrypt,
                       const CryptoPP::NameValuePairs& more = CryptoPP::g_nullNameValuePairs) {
        Block out;
        if (encrypt) out = std::make_unique<typename Cipher::Encryption>();
        if (!encrypt) out = std::make_unique<typename Cipher::Decryption>();
        out->SetKey(key, length, more);
        return out;
    }

    static Block make_block(const CipherCase& cipher, const uint8_t* key, bool encrypt) {
        const uint32_t length = cipher.key;
        switch (cipher.id >> 24) {
        case 1:
            return keyed<CryptoPP::AES>(key, length, encrypt);
        case 2:
            if (length == 8) return keyed<CryptoPP::DES>(key, length, encrypt);
            if (length == 16) return keyed<CryptoPP::DES_EDE2>(key, length, encrypt);
            return keyed<CryptoPP::DES_EDE3>(key, length, encrypt);
        case 3:
            return keyed<CryptoPP::ARIA>(key, length, encrypt);
        case 4:
            return length == 32 ? nullptr : keyed<CryptoPP::SEED>(key, length, encrypt);
        case 5:
            return keyed<CryptoPP::RC5>(key, length, encrypt,
                                        CryptoPP::MakeParameters("Rounds", 12));
        case 6:
            return keyed<CryptoPP::Blowfish>(key, length, encrypt);
        case 7:
            return keyed<CryptoPP::RC2>(
                key, length, encrypt,
                CryptoPP::MakeParameters("EffectiveKeyLength", static_cast<int>(cipher.rc2_bits)));
        default:
            return keyed<CryptoPP::LEA>(key, length, encrypt);
        }
    }

    template <class Family>
    static Mode directed(CryptoPP::BlockCipher& block, const uint8_t* iv, bool encrypt) {
        if (encrypt) return std::make_unique<typename Family::Encryption>(block, iv);
        return std::make_unique<typename Family::Decryption>(block, iv);
    }

    static Mode make_mode(CryptoPP::BlockCipher& block, uint32_t mode, const uint8_t* iv,
                          bool encrypt) {
        switch (mode) {
        case kCbc:
            return directed<CryptoPP::CBC_Mode_ExternalCipher>(block, iv, encrypt);
        case kCfb:
            return directed<CryptoPP::CFB_Mode_ExternalCipher>(block, iv, encrypt);
        case kOfb:
            return directed<CryptoPP::OFB_Mode_ExternalCipher>(block, iv, encrypt);
        case kCtr:
            return directed<CryptoPP::CTR_Mode_ExternalCipher>(block, iv, encrypt);
        default:
            return directed<CryptoPP::ECB_Mode_ExternalCipher>(block, iv, encrypt);
        }
    }

    Block block_;
    Mode mode_;
};

} // namespace test
