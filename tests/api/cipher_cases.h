// The block ciphers and modes as the tests know them, and helpers that drive units.
#pragma once

#include "harness/vectors.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>

namespace test {

using ModeRoutine = VRQ_MODE_ROUTINE*;

// The routines of an engine; null where it has none. "invalid" is the library code of the engine's
// statuses with the reason of a null argument.
struct ModeRoutines {
    uint32_t library;
    uint32_t cfb_code;
    ModeRoutine ecb, cbc, cfb, ofb, ctr;
    ModeRoutine cfb_r, cfb_1, cfb_8, cfb_16, cfb_32, cfb_64;
    uint32_t ecb_code, cbc_code, ofb_code, ctr_code;
};

#define TEST_ROUTINES(name, library, ecb, cbc, cfb, ofb, ctr)                                      \
    {                                                                                              \
        library, cfb, vrq_Do_##name##_ECB, vrq_Do_##name##_CBC, vrq_Do_##name##_CFB,               \
            vrq_Do_##name##_OFB, vrq_Do_##name##_CTR, vrq_Do_##name##_CFBR, vrq_Do_##name##_CFB1,  \
            vrq_Do_##name##_CFB8, vrq_Do_##name##_CFB16, vrq_Do_##name##_CFB32,                    \
            vrq_Do_##name##_CFB64, ecb, cbc, ofb, ctr                                              \
    }

inline constexpr ModeRoutines kAesRoutines = TEST_ROUTINES(AES, 0x01, 3, 4, 5, 6, 7);
inline constexpr ModeRoutines kAriaRoutines = TEST_ROUTINES(ARIA, 0x02, 3, 4, 5, 6, 7);
inline constexpr ModeRoutines kSeedRoutines = TEST_ROUTINES(SEED, 0x19, 5, 3, 4, 6, 7);
inline constexpr ModeRoutines kLeaRoutines = TEST_ROUTINES(LEA, 0x1F, 3, 4, 5, 6, 7);

struct CipherCase {
    const char* vector_name; // in the known-answer files
    const char* file;        // below tests/vectors/cipher
    uint32_t id;
    const char* name;
    uint32_t key;
    uint32_t block;
    int32_t schedule;
    bool approved;
    const ModeRoutines* routines;
    const char* oracle; // in libcrypto, without the mode; or null
    int32_t rc2_bits = 0;
};

inline constexpr CipherCase kCipherCases[] = {
    {"AES-128", "aes.vec", 0x01000100, "AES_128", 16, 16, 244, false, &kAesRoutines, "AES-128"},
    {"AES-192", "aes.vec", 0x01000200, "AES_192", 24, 16, 244, false, &kAesRoutines, "AES-192"},
    {"AES-256", "aes.vec", 0x01000300, "AES_256", 32, 16, 244, false, &kAesRoutines, "AES-256"},
    {"ARIA-128", "aria.vec", 0x03000100, "ARIA_128", 16, 16, 548, true, &kAriaRoutines, "ARIA-128"},
    {"ARIA-192", "aria.vec", 0x03000200, "ARIA_192", 24, 16, 548, true, &kAriaRoutines, "ARIA-192"},
    {"ARIA-256", "aria.vec", 0x03000300, "ARIA_256", 32, 16, 548, true, &kAriaRoutines, "ARIA-256"},
    {"SEED-128", "seed.vec", 0x04000100, "VRQ_SEED", 16, 16, 196, true, &kSeedRoutines, "SEED"},
    {"SEED-256", "seed.vec", 0x04000200, "SEED_256", 32, 16, 196, false, &kSeedRoutines, nullptr},
    {"LEA-128", "lea.vec", 0x08000100, "LEA_128", 16, 16, 772, false, &kLeaRoutines, nullptr},
    {"LEA-192", "lea.vec", 0x08000200, "LEA_192", 24, 16, 772, false, &kLeaRoutines, nullptr},
    {"LEA-256", "lea.vec", 0x08000300, "LEA_256", 32, 16, 772, false, &kLeaRoutines, nullptr},
};

constexpr uint32_t kEcb = 0x00;
constexpr uint32_t kCbc = 0x20;
constexpr uint32_t kCfb = 0x40;
constexpr uint32_t kOfb = 0x60;
constexpr uint32_t kCtr = 0x80;
constexpr uint32_t kNoPadding = 0x01;
constexpr uint32_t kUnitModes[] = {kEcb, kCbc, kCfb, kOfb, kCtr};
constexpr const char* kUnitModeNames[] = {"ECB", "CBC", "CFB", "OFB", "CTR"};

inline bool offers(const CipherCase& cipher, uint32_t mode) {
    return mode != kCtr || cipher.routines->ctr != nullptr;
}
inline bool is_stream(uint32_t mode) { return mode != kEcb && mode != kCbc; }

struct FreeCipherUnit {
    void operator()(VRQ_BLOCK_CIPHER_UNIT* unit) const { VRQ_Free_BLOCK_CIPHER_Unit(unit); }
};
using CipherUnit = std::unique_ptr<VRQ_BLOCK_CIPHER_UNIT, FreeCipherUnit>;

inline CipherUnit new_cipher_unit() { return CipherUnit(VRQ_New_BLOCK_CIPHER_Unit()); }

inline CipherUnit cipher_unit(uint32_t id, const Bytes& key, const Bytes& iv, bool encrypt) {
    CipherUnit unit = new_cipher_unit();
    EXPECT_EQ(0U, VRQ_Init_BLOCK_CIPHER(unit.get(), id, key.data(), iv.data(), encrypt ? 1 : 0));
    return unit;
}

class Random {
  public:
    explicit Random(uint32_t seed) : engine_(seed) {}
    uint32_t below(uint32_t bound) { return static_cast<uint32_t>(engine_()) % bound; }
    Bytes bytes(std::size_t size) {
        Bytes out(size);
        for (uint8_t& byte : out) byte = static_cast<uint8_t>(engine_());
        return out;
    }

  private:
    std::mt19937 engine_;
};

// An output buffer of exactly the room that a call may use; what lies behind it must stay.
class GuardedOutput {
  public:
    explicit GuardedOutput(std::size_t room) : room_(room), bytes_(room + kGuard, kFill) {}
    uint8_t* data() { return bytes_.data(); }
    Bytes take(std::size_t size) const {
        EXPECT_LE(size, room_);
        EXPECT_EQ(Bytes(kGuard, kFill), Bytes(bytes_.end() - kGuard, bytes_.end()));
        return {bytes_.begin(), bytes_.begin() + static_cast<long>(size)};
    }

  private:
    static constexpr int kGuard = 48;
    static constexpr uint8_t kFill = 0xA5;
    std::size_t room_;
    Bytes bytes_;
};

inline void append(Bytes& to, const Bytes& more) { to.insert(to.end(), more.begin(), more.end()); }

struct Outcome {
    Bytes data;
    uint32_t final_status;
};

// One message through Update in pieces of the given sizes (the last size repeats) and Final, with
// no more room for output than a call may use.
inline Outcome run_message(VRQ_BLOCK_CIPHER_UNIT* unit, const Bytes& message,
                           const std::vector<std::size_t>& pieces) {
    const auto block = static_cast<std::size_t>(unit->block_length);
    const std::size_t extra = unit->encrypt == 1 ? block - 1 : block;
    Outcome result{};
    std::size_t number = 0;
    for (std::size_t at = 0; at < message.size(); ++number) {
        const std::size_t wanted = pieces[std::min(number, pieces.size() - 1)];
        const std::size_t size = std::min(wanted, message.size() - at);
        GuardedOutput out(size + extra);
        uint32_t length = 0xFFFF;
        EXPECT_EQ(0U, VRQ_Update_BLOCK_CIPHER(unit, out.data(), &length, message.data() + at,
                                              static_cast<int32_t>(size)));
        append(result.data, out.take(length));
        at += size;
    }
    GuardedOutput out(block);
    uint32_t length = 0xFFFF;
    result.final_status = VRQ_Final_BLOCK_CIPHER(unit, out.data(), &length);
    append(result.data, out.take(length));
    return result;
}

inline Bytes run_whole(VRQ_BLOCK_CIPHER_UNIT* unit, const Bytes& message) {
    const Outcome result = run_message(unit, message, {std::max<std::size_t>(1, message.size())});
    EXPECT_EQ(0U, result.final_status);
    return result.data;
}

// A random cut of a message: sizes from 1 to the longest.
inline std::vector<std::size_t> random_cut(Random& random, std::size_t message, uint32_t longest) {
    std::vector<std::size_t> pieces{1};
    for (std::size_t done = 1; done < message; done += pieces.back())
        pieces.push_back(1 + random.below(longest));
    return pieces;
}

} // namespace test
