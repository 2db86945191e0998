// The block ciphers and modes as tests and benchmarks know them.
#pragma once

#include "talvern.h"

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

} // namespace test
