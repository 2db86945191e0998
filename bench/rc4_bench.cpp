// RC4 under a 16-byte key that is set; a message is worked on in place and the key stream goes on.
#include "talvern.h"

#include <benchmark/benchmark.h>
#define CRYPTOPP_ENABLE_NAMESPACE_WEAK 1
#include <cryptopp/arc4.h>
#include <openssl/evp.h>
#include <openssl/provider.h>

#include <memory>
#include <string>
#include <vector>

namespace {

constexpr uint8_t kKey[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};

void finish(benchmark::State& state, std::size_t size, bool good) {
    if (!good) state.SkipWithError("a call failed");
    state.SetBytesProcessed(static_cast<int64_t>(size) * state.iterations());
}

void run_talvern(benchmark::State& state, std::size_t size) {
    std::vector<uint8_t> data(size, 0x5A);
    VRQ_RC4_UNIT* unit = VRQ_New_RC4_Unit();
    uint32_t failures = VRQ_Init_RC4(unit, kKey, sizeof kKey);
    for (auto _ : state) {
        failures |= VRQ_Do_RC4(unit, data.data(), static_cast<uint32_t>(size), data.data());
        benchmark::ClobberMemory();
    }
    VRQ_Free_RC4_Unit(unit);
    finish(state, size, failures == 0);
}

void run_libcrypto(benchmark::State& state, std::size_t size) {
    using Context = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;
    using Cipher = std::unique_ptr<EVP_CIPHER, decltype(&EVP_CIPHER_free)>;
    // Loading the one provider would drop the other for every later row.
    static const bool kHasLegacy = OSSL_PROVIDER_load(nullptr, "default") != nullptr &&
                                   OSSL_PROVIDER_load(nullptr, "legacy") != nullptr;
    const Cipher cipher(EVP_CIPHER_fetch(nullptr, "RC4", nullptr), EVP_CIPHER_free);
    const Context context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    std::vector<uint8_t> data(size, 0x5A);
    int good =
        kHasLegacy && EVP_EncryptInit_ex2(context.get(), cipher.get(), kKey, nullptr, nullptr) == 1;
    for (auto _ : state) {
        int length = 0;
        good &= EVP_EncryptUpdate(context.get(), data.data(), &length, data.data(),
                                  static_cast<int>(size));
        benchmark::ClobberMemory();
    }
    finish(state, size, good == 1);
}

void run_cryptopp(benchmark::State& state, std::size_t size) {
    std::vector<uint8_t> data(size, 0x5A);
    CryptoPP::Weak::ARC4::Encryption cipher(kKey, sizeof kKey);
    for (auto _ : state) {
        cipher.ProcessString(data.data(), size);
        benchmark::ClobberMemory();
    }
    finish(state, size, true);
}

bool add_rows() {
    VRQ_Change_Non_Proven_Mode();
    for (const std::size_t size : {16, 1024, 16384, 1048576}) {
        const std::string name = "RC4/" + std::to_string(size) + "/";
        const auto add = [&name, size](const char* peer,
                                       void (*run)(benchmark::State&, std::size_t)) {
            benchmark::RegisterBenchmark((name + peer).c_str(), run, size);
        };
        add("talvern", run_talvern);
        add("libcrypto", run_libcrypto);
        add("cryptopp", run_cryptopp);
    }
    return true;
}

[[maybe_unused]] const bool kAdded = add_rows();

} // namespace
