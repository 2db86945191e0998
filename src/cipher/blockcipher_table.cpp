// The table of block cipher algorithms, and the queries that read nothing else.
#include "cipher/blockcipher_table.h"

#include "talvern/aes.h"
#include "talvern/aria.h"
#include "talvern/blowfish.h"
#include "talvern/des.h"
#include "talvern/lea.h"
#include "talvern/module.h"
#include "talvern/rc2.h"
#include "talvern/rc5.h"
#include "talvern/seed.h"

using namespace vrq;

namespace {

#define MODE_SET(name)                                                                             \
    {                                                                                              \
        vrq_Do_##name##_ECB, vrq_Do_##name##_CBC, vrq_Do_##name##_CFB, vrq_Do_##name##_OFB,        \
            vrq_Do_##name##_CTR                                                                    \
    }

constexpr ModeSet kAes = MODE_SET(AES);
constexpr ModeSet kDes = MODE_SET(DES);
constexpr ModeSet kDesEde = MODE_SET(DES_EDE);
constexpr ModeSet kAria = MODE_SET(ARIA);
constexpr ModeSet kSeed = MODE_SET(SEED);
constexpr ModeSet kRc5 = MODE_SET(RC5);
constexpr ModeSet kBlowfish = MODE_SET(BF);
constexpr ModeSet kRc2 = {vrq_Do_RC2_ECB, vrq_Do_RC2_CBC, vrq_Do_RC2_CFB, vrq_Do_RC2_OFB, nullptr};
constexpr ModeSet kLea = MODE_SET(LEA);

using AesKey = VRQ_AES_KEY;
using DesKey = VRQ_DES_KEY;
using DesEdeKey = VRQ_DES_EDE_KEY;
using AriaKey = VRQ_ARIA_KEY;
using SeedKey = VRQ_SEED_KEY;
using Rc5Key = VRQ_RC5_KEY;
using BlowfishKey = VRQ_BF_KEY;
using Rc2Key = VRQ_RC2_KEY;
using LeaKey = VRQ_LEA_KEY;

constexpr bool kYes = true;
constexpr bool kNo = false;

// clang-format off
constexpr CipherRow kRows[] = {
    // identifier, name, key, block, schedule, key set-up, modes; approved, has lengths, RC2 key bits
    {VRQ_ID_AES_128, "AES_128", 16, 16, sizeof(AesKey), vrq_Init_AES, &kAes, kNo, kYes, 0},
    {VRQ_ID_AES_192, "AES_192", 24, 16, sizeof(AesKey), vrq_Init_AES, &kAes, kNo, kYes, 0},
    {VRQ_ID_AES_256, "AES_256", 32, 16, sizeof(AesKey), vrq_Init_AES, &kAes, kNo, kYes, 0},
    {VRQ_ID_DES, "VRQ_DES", 8, 8, sizeof(DesKey), vrq_Init_DES, &kDes, kNo, kYes, 0},
    {VRQ_ID_DES_EDE, "VRQ_DES_EDE", 24, 8, sizeof(DesEdeKey), vrq_Init_DES_EDE, &kDesEde, kNo, kYes, 0},
    {VRQ_ID_DES_EDE2, "VRQ_DES_EDE", 16, 8, sizeof(DesEdeKey), vrq_Init_DES_EDE, &kDesEde, kNo, kYes, 0},
    {VRQ_ID_DES_EDE3, "VRQ_DES_EDE", 24, 8, sizeof(DesEdeKey), vrq_Init_DES_EDE, &kDesEde, kNo, kYes, 0},
    {VRQ_ID_ARIA_128, "ARIA_128", 16, 16, sizeof(AriaKey), vrq_Init_ARIA, &kAria, kYes, kYes, 0},
    {VRQ_ID_ARIA_192, "ARIA_192", 24, 16, sizeof(AriaKey), vrq_Init_ARIA, &kAria, kYes, kYes, 0},
    {VRQ_ID_ARIA_256, "ARIA_256", 32, 16, sizeof(AriaKey), vrq_Init_ARIA, &kAria, kYes, kYes, 0},
    {VRQ_ID_SEED_128, "VRQ_SEED", 16, 16, sizeof(SeedKey), vrq_Init_SEED, &kSeed, kYes, kYes, 0},
    {VRQ_ID_SEED_256, "SEED_256", 32, 16, sizeof(SeedKey), vrq_Init_SEED, &kSeed, kNo, kNo, 0},
    {VRQ_ID_RC5, "VRQ_RC5", 16, 8, sizeof(Rc5Key), vrq_Init_RC5, &kRc5, kNo, kYes, 0},
    {VRQ_ID_BLOWFISH, "BlowFish", 16, 8, sizeof(BlowfishKey), vrq_Init_BF, &kBlowfish, kNo, kYes, 0},
    {VRQ_ID_RC2_128, "VRQ_RC2_128", 16, 8, sizeof(Rc2Key), vrq_Init_RC2, &kRc2, kNo, kYes, 128},
    {VRQ_ID_RC2_40, "VRQ_RC2_40", 5, 8, sizeof(Rc2Key), vrq_Init_RC2, &kRc2, kNo, kYes, 40},
    {VRQ_ID_RC2_64, "VRQ_RC2_64", 8, 8, sizeof(Rc2Key), vrq_Init_RC2, &kRc2, kNo, kYes, 64},
    {VRQ_ID_LEA_128, "LEA_128", 16, 16, sizeof(LeaKey), vrq_Init_LEA, &kLea, kNo, kYes, 0},
    {VRQ_ID_LEA_192, "LEA_192", 24, 16, sizeof(LeaKey), vrq_Init_LEA, &kLea, kNo, kYes, 0},
    {VRQ_ID_LEA_256, "LEA_256", 32, 16, sizeof(LeaKey), vrq_Init_LEA, &kLea, kNo, kYes, 0},
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
