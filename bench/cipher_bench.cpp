// The block cipher unit: every algorithm, mode and direction. A message is worked on in place under
// a key that is set; rows of "16key" set a key for each message. Padding is off everywhere.
#include "harness/cipher_peers.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace {

using namespace test;

constexpr std::size_t kSizes[] = {16, 1024, 16384, 1048576};

struct Row {
    const CipherCase* cipher;
    std::size_t mode; // index
    bool encrypt;
    std::size_t size;
    bool sets_key;
    uint8_t key[32];
    uint8_t iv[16];

    uint32_t mode_bits() const { return kUnitModes[mode]; }
};

void count_bytes(benchmark::State& state, const Row& row) {
    state.SetBytesProcessed(static_cast<int64_t>(row.size) * state.iterations());
}

void run_talvern(benchmark::State& state, const Row& row) {
    std::vector<uint8_t> data(row.size + 16, 0x5A);
    VRQ_BLOCK_CIPHER_UNIT* unit = VRQ_New_BLOCK_CIPHER_Unit();
    const uint32_t id = row.cipher->id | row.mode_bits() | kNoPadding;
    uint32_t failures = VRQ_Init_BLOCK_CIPHER(unit, id, row.key, row.iv, row.encrypt);
    for (auto _ : state) {
        uint32_t length = 0;
        if (row.sets_key) failures |= VRQ_Init_BLOCK_CIPHER(unit, id, row.key, row.iv, row.encrypt);
        failures |= VRQ_Update_BLOCK_CIPHER(unit, data.data(), &length, data.data(),
                                            static_cast<int32_t>(row.size));
        failures |= VRQ_Final_BLOCK_CIPHER(unit, data.data() + length, &length);
        benchmark::ClobberMemory();
    }
    if (failures != 0) state.SkipWithError("a call failed");
    VRQ_Free_BLOCK_CIPHER_Unit(unit);
    count_bytes(state, row);
}

void run_libcrypto(benchmark::State& state, const Row& row, const EVP_CIPHER* evp) {
    std::vector<uint8_t> data(row.size + 16, 0x5A);
    const EvpContext context = evp_context(*row.cipher, evp, row.encrypt);
    EVP_CIPHER_CTX* c = context.get();
    int good = EVP_CipherInit_ex2(c, nullptr, row.key, row.iv, row.encrypt, nullptr);
    EVP_CIPHER_CTX_set_padding(c, 0);
    for (auto _ : state) {
        int length = 0;
        const uint8_t* key = row.sets_key ? row.key : nullptr;
        good &= EVP_CipherInit_ex2(c, nullptr, key, row.iv, row.encrypt, nullptr);
        good &= EVP_CipherUpdate(c, data.data(), &length, data.data(), static_cast<int>(row.size));
        good &= EVP_CipherFinal_ex(c, data.data() + length, &length);
        benchmark::ClobberMemory();
    }
    if (good != 1) state.SkipWithError("a call failed");
    count_bytes(state, row);
}

void run_cryptopp(benchmark::State& state, const Row& row) {
    std::vector<uint8_t> data(row.size + 16, 0x5A);
    const auto make = [&row] {
        return CryptoPpMode::make(*row.cipher, row.mode_bits(), row.key, row.iv, row.encrypt);
    };
    auto mode = make();
    for (auto _ : state) {
        if (row.sets_key) mode = make();
        mode->run(row.iv, data.data(), data.data(), row.size);
        benchmark::ClobberMemory();
    }
    count_bytes(state, row);
}

LibCrypto& libcrypto() {
    static LibCrypto instance;
    return instance;
}

void add_row(const Row& row) {
    const std::string mode = kUnitModeNames[row.mode];
    const std::string name = std::string(row.cipher->vector_name) + " " + mode +
                             (row.encrypt ? " enc/" : " dec/") + std::to_string(row.size) +
                             (row.sets_key ? "key/" : "/");
    const auto add = [&name](const char* peer, auto run) {
        benchmark::RegisterBenchmark((name + peer).c_str(), run);
    };
    add("talvern", [row](benchmark::State& state) { run_talvern(state, row); });
    if (const EVP_CIPHER* evp = libcrypto().find(*row.cipher, mode); evp != nullptr)
        add("libcrypto", [row, evp](benchmark::State& state) { run_libcrypto(state, row, evp); });
    if (CryptoPpMode::make(*row.cipher, row.mode_bits(), row.key, row.iv, true) != nullptr)
        add("cryptopp", [row](benchmark::State& state) { run_cryptopp(state, row); });
}

bool add_rows() {
    VRQ_Change_Non_Proven_Mode();
    for (const CipherCase& cipher : kCipherCases) {
        for (std::size_t mode = 0; mode < std::size(kUnitModes); ++mode) {
            if (!offers(cipher, kUnitModes[mode])) continue;
            for (const bool encrypt : {true, false}) {
                Row row{&cipher, mode, encrypt, 16, true, {1, 2, 3}, {4, 5, 6}};
                add_row(row);
                row.sets_key = false;
                for (const std::size_t size : kSizes) {
                    row.size = size;
                    add_row(row);
                }
            }
        }
    }
    return true;
}

[[maybe_unused]] const bool kAdded = add_rows();

} // namespace
