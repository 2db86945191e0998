// The table of block cipher algorithms, and the queries that read nothing else.
#include "cipher/blockcipher_table.h"

#include "talvern/aes.h"
#include "talvern/aria.h"
#include "talvern/lea.h"
#include "talvern/module.h"
#include "talvern/seed.h"

using namespace vrq;

namespace {

#define MODE_SET(name)                                                                             \
    {                                                                                              \
        vrq_Do_##name##_ECB, vrq_Do_##name##_CBC, vrq_Do_##name##_CFB, vrq_Do_##name##_OFB,        \
            vrq_Do_##name##_CTR                                                                    \
    }

constexpr ModeSet kAes = MODE_SET(AES);
constexpr ModeSet kAria = MODE_SET(ARIA);
constexpr ModeSet kSeed = MODE_SET(SEED);
constexpr ModeSet kLea = MODE_SET(LEA);

constexpr bool kApproved = true;
constexpr bool kNot = false;
constexpr bool kNoLengths = false;

// clang-format off
constexpr CipherRow kRows[] = {
    //                          key block schedule                            modes   in proven mode
    {VRQ_ID_AES_128, "AES_128",   16, 16, sizeof(VRQ_AES_KEY), vrq_Init_AES, &kAes, kNot},
    {VRQ_ID_AES_192, "AES_192",   24, 16, sizeof(VRQ_AES_KEY), vrq_Init_AES, &kAes, kNot},
    {VRQ_ID_AES_256, "AES_256",   32, 16, sizeof(VRQ_AES_KEY), vrq_Init_AES, &kAes, kNot},
    {VRQ_ID_ARIA_128, "ARIA_128", 16, 16, sizeof(VRQ_ARIA_KEY), vrq_Init_ARIA, &kAria, kApproved},
    {VRQ_ID_ARIA_192, "ARIA_192", 24, 16, sizeof(VRQ_ARIA_KEY), vrq_Init_ARIA, &kAria, kApproved},
    {VRQ_ID_ARIA_256, "ARIA_256", 32, 16, sizeof(VRQ_ARIA_KEY), vrq_Init_ARIA, &kAria, kApproved},
    {VRQ_ID_SEED_128, "VRQ_SEED", 16, 16, sizeof(VRQ_SEED_KEY), vrq_Init_SEED, &kSeed, kApproved},
    {VRQ_ID_SEED_256, "SEED_256", 32, 16, sizeof(VRQ_SEED_KEY), vrq_Init_SEED, &kSeed, kNot,
     kNoLengths},
    {VRQ_ID_LEA_128, "LEA_128",   16, 16, sizeof(VRQ_LEA_KEY), vrq_Init_LEA, &kLea, kNot},
    {VRQ_ID_LEA_192, "LEA_192",   24, 16, sizeof(VRQ_LEA_KEY), vrq_Init_LEA, &kLea, kNot},
    {VRQ_ID_LEA_256, "LEA_256",   32, 16, sizeof(VRQ_LEA_KEY), vrq_Init_LEA, &kLea, kNot},
};

struct ModeName {
    u8 mode;
    const char* name;
};

constexpr ModeName kModeNames[] = {
    {VRQ_MODE_ECB, "ECB"},     {VRQ_MODE_CBC, "CBC"},     {VRQ_MODE_CFB, "CFB"},
    {VRQ_MODE_CFB1, "CFB1"},   {VRQ_MODE_CFB8, "CFB8"},   {VRQ_MODE_CFB16, "CFB16"},
    {VRQ_MODE_CFB32, "CFB32"}, {VRQ_MODE_CFB64, "CFB64"}, {VRQ_MODE_CFB128, "CFB128"},
    {VRQ_MODE_OFB, "OFB"},     {VRQ_MODE_CTR, "CTR"},
};
// clang-format on

constexpr u32 kModuleFailed = 0xFFFFFFFF;

// The row that the length queries see, or null.
const CipherRow* find_lengths(u32 identifier) {
    if (VRQ_Crypto_Initialize() != 0) return nullptr;
    const CipherRow* row = find_cipher(identifier);
    return row != nullptr && row->has_lengths ? row : nullptr;
}

} // namespace

std::span<const CipherRow> vrq::cipher_rows() { return kRows; }

const CipherRow* vrq::find_cipher(u32 identifier) {
    const u32 id = identifier & 0xFFFFFF00;
    for (const CipherRow& row : kRows) {
        if (row.id == id) return &row;
    }
    return nullptr;
}

const char* VRQ_Get_Block_Alg_Name(u32 identifier) {
    if (VRQ_Crypto_Initialize() != 0) return nullptr;
    const CipherRow* row = find_cipher(identifier);
    return row == nullptr ? nullptr : row->name;
}

const char* VRQ_Get_Mode_Name(u32 identifier) {
    if (VRQ_Crypto_Initialize() != 0) return nullptr;
    for (const ModeName& row : kModeNames) {
        if (row.mode == mode_of(identifier)) return row.name;
    }
    return nullptr;
}

u32 VRQ_Get_Key_Length(u32 identifier) {
    const CipherRow* row = find_lengths(identifier);
    return row == nullptr ? 0 : static_cast<u32>(row->key_length);
}

u32 VRQ_Get_Block_Length(u32 identifier) {
    const CipherRow* row = find_lengths(identifier);
    return row == nullptr ? 0 : static_cast<u32>(row->block_length);
}

u32 VRQ_Get_IV_Length(u32 identifier) {
    if (VRQ_Crypto_Initialize() != 0) return kModuleFailed;
    return VRQ_Get_Block_Length(identifier);
}
