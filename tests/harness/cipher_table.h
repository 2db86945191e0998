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

// clang-format off
#define TEST_ROUTINES(name, library, ecb, cbc, cfb, ofb, ctr, cfb_64, do_ctr)                      \
    {library, cfb,                                                                                 \
     vrq_Do_##name##_ECB, vrq_Do_##name##_CBC, vrq_Do_##name##_CFB, vrq_Do_##name##_OFB, do_ctr,   \
     vrq_Do_##name##_CFBR, vrq_Do_##name##_CFB1, vrq_Do_##name##_CFB8, vrq_Do_##name##_CFB16,      \
     vrq_Do_##name##_CFB32, cfb_64, ecb, cbc, ofb, ctr}
#define TEST_ALL_ROUTINES(name, library, ...)                                                      \
    TEST_ROUTINES(name, library, __VA_ARGS__, vrq_Do_##name##_CFB64, vrq_Do_##name##_CTR)
#define TEST_ROUTINES_WITHOUT_CFB64(name, library, ...)                                            \
    TEST_ROUTINES(name, library, __VA_ARGS__, nullptr, vrq_Do_##name##_CTR)

inline constexpr ModeRoutines kAes = TEST_ALL_ROUTINES(AES, 0x01, 3, 4, 5, 6, 7);
inline constexpr ModeRoutines kAria = TEST_ALL_ROUTINES(ARIA, 0x02, 3, 4, 5, 6, 7);
inline constexpr ModeRoutines kBlowfish = TEST_ROUTINES_WITHOUT_CFB64(BF, 0x03, 3, 4, 5, 6, 7);
inline constexpr ModeRoutines kDesEde = TEST_ROUTINES_WITHOUT_CFB64(DES_EDE, 0x07, 2, 3, 4, 5, 6);
inline constexpr ModeRoutines kDes = TEST_ROUTINES_WITHOUT_CFB64(DES, 0x08, 2, 3, 4, 5, 6);
inline constexpr ModeRoutines kRc2 = TEST_ROUTINES(RC2, 0x15, 2, 3, 4, 5, 6, nullptr, nullptr);
inline constexpr ModeRoutines kRc5 = TEST_ALL_ROUTINES(RC5, 0x17, 2, 3, 4, 5, 6);
inline constexpr ModeRoutines kSeed = TEST_ALL_ROUTINES(SEED, 0x19, 5, 3, 4, 6, 7);
inline constexpr ModeRoutines kLea = TEST_ALL_ROUTINES(LEA, 0x1F, 3, 4, 5, 6, 7);
// clang-format on

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
    int32_t rc2_bits;   // effective key length
};

// clang-format off
inline constexpr CipherCase kCipherCases[] = {
    {"AES-128", "aes.vec", 0x01000100, "AES_128", 16, 16, 244, false, &kAes, "AES-128", 0},
    {"AES-192", "aes.vec", 0x01000200, "AES_192", 24, 16, 244, false, &kAes, "AES-192", 0},
    {"AES-256", "aes.vec", 0x01000300, "AES_256", 32, 16, 244, false, &kAes, "AES-256", 0},
    {"DES", "des.vec", 0x02000100, "VRQ_DES", 8, 8, 128, false, &kDes, "DES", 0},
    {"DES-EDE3", "des.vec", 0x02000200, "VRQ_DES_EDE", 24, 8, 384, false, &kDesEde, "DES-EDE3", 0},
    {"DES-EDE2", "des.vec", 0x02001200, "VRQ_DES_EDE", 16, 8, 384, false, &kDesEde, "DES-EDE", 0},
    {"DES-EDE3", "des.vec", 0x02010200, "VRQ_DES_EDE", 24, 8, 384, false, &kDesEde, "DES-EDE3", 0},
    {"ARIA-128", "aria.vec", 0x03000100, "ARIA_128", 16, 16, 548, true, &kAria, "ARIA-128", 0},
    {"ARIA-192", "aria.vec", 0x03000200, "ARIA_192", 24, 16, 548, true, &kAria, "ARIA-192", 0},
    {"ARIA-256", "aria.vec", 0x03000300, "ARIA_256", 32, 16, 548, true, &kAria, "ARIA-256", 0},
    {"SEED-128", "seed.vec", 0x04000100, "VRQ_SEED", 16, 16, 196, true, &kSeed, "SEED", 0},
    {"SEED-256", "seed.vec", 0x04000200, "SEED_256", 32, 16, 196, false, &kSeed, nullptr, 0},
    {"RC5", "rc5.vec", 0x05000100, "VRQ_RC5", 16, 8, 140, false, &kRc5, nullptr, 0},
    {"BLOWFISH", "blowfish.vec", 0x06000100, "BlowFish", 16, 8, 4168, false, &kBlowfish, "BF", 0},
    {"RC2", "rc2.vec", 0x07000100, "VRQ_RC2_128", 16, 8, 160, false, &kRc2, "RC2", 128},
    {"RC2", "rc2.vec", 0x07000200, "VRQ_RC2_40", 5, 8, 160, false, &kRc2, "RC2", 40},
    {"RC2", "rc2.vec", 0x07000300, "VRQ_RC2_64", 8, 8, 160, false, &kRc2, "RC2", 64},
    {"LEA-128", "lea.vec", 0x08000100, "LEA_128", 16, 16, 772, false, &kLea, nullptr, 0},
    {"LEA-192", "lea.vec", 0x08000200, "LEA_192", 24, 16, 772, false, &kLea, nullptr, 0},
    {"LEA-256", "lea.vec", 0x08000300, "LEA_256", 32, 16, 772, false, &kLea, nullptr, 0},
};
// clang-format on

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
// RC2's OFB starts the key stream again at every call of its routine, so that results depend on how
// a message is cut.
inline bool depends_on_cuts(const CipherCase& cipher, uint32_t mode) {
    return cipher.routines == &kRc2 && mode == kOfb;
}
inline bool is_stream(uint32_t mode) { return mode != kEcb && mode != kCbc; }

} // namespace test
