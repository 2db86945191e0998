// AES (FIPS 197) as an engine for the modes of operation.
#pragma once

#include "cipher/engine.h"
#include "talvern/aes.h"

#include <span>

namespace vrq {

struct AesEngine {
    using Key = VRQ_AES_KEY;
    static constexpr u32 kLibrary = VRQ_L_AES_INTERFACE;
    static constexpr std::size_t kBlock = 16;
    static constexpr ModeCodes kCodes = kModesFrom3;

    // The kernel for this processor.
    static const BlockKernel<Key>& kernel();

    // All rows, best first.
    static std::span<const BlockKernel<Key>> kernels();
};

// Key expansion; length is 16, 24 or 32. invert() turns the schedule of the cipher into that of the
// equivalent inverse cipher.
struct AesKeyKernel {
    u32 needs;
    const char* name;
    void (*expand)(VRQ_AES_KEY& key, const u8* bytes, u32 length);
    void (*invert)(VRQ_AES_KEY& key);
};

std::span<const AesKeyKernel> aes_key_kernels();

namespace aes {

// Rounds of a record. One that was never set up, or was changed, counts as one of 14: that stays
// within the record.
inline u32 rounds(const VRQ_AES_KEY& key) {
    return key.rounds == 10 || key.rounds == 12 ? static_cast<u32>(key.rounds) : 14;
}

// The next round constant of the key expansion: times x in the field of FIPS 197, 4.2.
constexpr u32 doubled(u32 constant) { return (constant << 1) ^ ((constant >> 7) * 0x11B); }

#if defined(__x86_64__) && !defined(TALVERN_PORTABLE)

#define AES_KERNEL(suffix)                                                                         \
    void encrypt_##suffix(const VRQ_AES_KEY& key, u8* out, const u8* in, std::size_t blocks);      \
    void decrypt_##suffix(const VRQ_AES_KEY& key, u8* out, const u8* in, std::size_t blocks);      \
    void cbc_encrypt_##suffix(const VRQ_AES_KEY& key, u8* chain, u8* out, const u8* in,            \
                              std::size_t blocks);                                                 \
    void cfb_encrypt_##suffix(const VRQ_AES_KEY& key, u8* chain, u8* out, const u8* in,            \
                              std::size_t blocks);                                                 \
    void ofb_##suffix(const VRQ_AES_KEY& key, u8* chain, u8* out, const u8* in,                    \
                      std::size_t blocks);                                                         \
    void cbc_decrypt_##suffix(const VRQ_AES_KEY& key, u8* chain, u8* out, const u8* in,            \
                              std::size_t blocks);                                                 \
    void cfb_decrypt_##suffix(const VRQ_AES_KEY& key, u8* chain, u8* out, const u8* in,            \
                              std::size_t blocks);                                                 \
    void ctr_##suffix(const VRQ_AES_KEY& key, u8* chain, u8* out, const u8* in, std::size_t blocks)

AES_KERNEL(ni);
AES_KERNEL(vaes);
#undef AES_KERNEL

void expand_ni(VRQ_AES_KEY& key, const u8* bytes, u32 length);
void invert_ni(VRQ_AES_KEY& key);

#endif

} // namespace aes

} // namespace vrq
