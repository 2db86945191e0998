// RC2 (RFC 2268): key schedule, block functions and kernels. The rounds are written once, for the
// words of a block and for vectors that hold the words of eight blocks.
#include "cipher/rc2_engine.h"

#include "cipher/block64.h"
#include "foundation/bytes.h"
#include "foundation/ct.h"
#include "foundation/wipe.h"

using namespace vrq;

static_assert(sizeof(VRQ_RC2_KEY) == 160 && offsetof(VRQ_RC2_KEY, effective_bits) == 128 &&
              offsetof(VRQ_RC2_KEY, mask) == 144);

namespace vrq {

namespace {

constexpr i32 kMaxKeyLength = 128;
constexpr std::int64_t kMaxEffectiveBits = 1024;

// RFC 2268, section 2: a permutation from the digits of pi.
constexpr u8 kPiTable[256] = {
    0xD9, 0x78, 0xF9, 0xC4, 0x19, 0xDD, 0xB5, 0xED, 0x28, 0xE9, 0xFD, 0x79, 0x4A, 0xA0, 0xD8, 0x9D,
    0xC6, 0x7E, 0x37, 0x83, 0x2B, 0x76, 0x53, 0x8E, 0x62, 0x4C, 0x64, 0x88, 0x44, 0x8B, 0xFB, 0xA2,
    0x17, 0x9A, 0x59, 0xF5, 0x87, 0xB3, 0x4F, 0x13, 0x61, 0x45, 0x6D, 0x8D, 0x09, 0x81, 0x7D, 0x32,
    0xBD, 0x8F, 0x40, 0xEB, 0x86, 0xB7, 0x7B, 0x0B, 0xF0, 0x95, 0x21, 0x22, 0x5C, 0x6B, 0x4E, 0x82,
    0x54, 0xD6, 0x65, 0x93, 0xCE, 0x60, 0xB2, 0x1C, 0x73, 0x56, 0xC0, 0x14, 0xA7, 0x8C, 0xF1, 0xDC,
    0x12, 0x75, 0xCA, 0x1F, 0x3B, 0xBE, 0xE4, 0xD1, 0x42, 0x3D, 0xD4, 0x30, 0xA3, 0x3C, 0xB6, 0x26,
    0x6F, 0xBF, 0x0E, 0xDA, 0x46, 0x69, 0x07, 0x57, 0x27, 0xF2, 0x1D, 0x9B, 0xBC, 0x94, 0x43, 0x03,
    0xF8, 0x11, 0xC7, 0xF6, 0x90, 0xEF, 0x3E, 0xE7, 0x06, 0xC3, 0xD5, 0x2F, 0xC8, 0x66, 0x1E, 0xD7,
    0x08, 0xE8, 0xEA, 0xDE, 0x80, 0x52, 0xEE, 0xF7, 0x84, 0xAA, 0x72, 0xAC, 0x35, 0x4D, 0x6A, 0x2A,
    0x96, 0x1A, 0xD2, 0x71, 0x5A, 0x15, 0x49, 0x74, 0x4B, 0x9F, 0xD0, 0x5E, 0x04, 0x18, 0xA4, 0xEC,
    0xC2, 0xE0, 0x41, 0x6E, 0x0F, 0x51, 0xCB, 0xCC, 0x24, 0x91, 0xAF, 0x50, 0xA1, 0xF4, 0x70, 0x39,
    0x99, 0x7C, 0x3A, 0x85, 0x23, 0xB8, 0xB4, 0x7A, 0xFC, 0x02, 0x36, 0x5B, 0x25, 0x55, 0x97, 0x31,
    0x2D, 0x5D, 0xFA, 0x98, 0xE3, 0x8A, 0x92, 0xAE, 0x05, 0xDF, 0x29, 0x10, 0x67, 0x6C, 0xBA, 0xC9,
    0xD3, 0x00, 0xE6, 0xCF, 0xE1, 0x9E, 0xA8, 0x2C, 0x63, 0x16, 0x01, 0x3F, 0x58, 0xE2, 0x89, 0xA9,
    0x0D, 0x38, 0x34, 0x1B, 0xAB, 0x33, 0xFF, 0xB0, 0xBB, 0x48, 0x0C, 0x5F, 0xB9, 0xB1, 0xCD, 0x2E,
    0xC5, 0xF3, 0xDB, 0x47, 0xE5, 0xA5, 0x9C, 0x77, 0x0A, 0xA6, 0x20, 0x68, 0xFE, 0x7F, 0xC1, 0xAD};

using u16 = std::uint16_t;
using Lanes [[gnu::vector_size(16)]] = u16;
constexpr std::size_t kLanes = 8;
constexpr std::size_t kSetBytes = kLanes * Rc2Engine::kBlock;

// The words of one block, or of as many as Word has lanes.
template <class Word>
struct Words {
    Word w[4];
};

template <class Word>
[[gnu::always_inline]] inline Words<Word> operator^(const Words<Word>& x, const Words<Word>& y) {
    Words<Word> z;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) z.w[i] = static_cast<Word>(x.w[i] ^ y.w[i]);
    return z;
}

inline u16 key_word(const u8* key, std::size_t i) { return load_le<u16>(key + 2 * i); }

// The key word that the low six bits choose.
inline u16 choose(const u8* key, u16 word) { return key_word(key, word & 63); }

[[gnu::always_inline]] inline Lanes choose(const u8* key, const Lanes& words) {
    const Lanes index = words & 63;
    Lanes chosen;
#pragma GCC unroll 8
    for (std::size_t i = 0; i < kLanes; ++i) chosen[i] = key_word(key, index[i]);
    return chosen;
}

// Keeps a sum that does not wait for the word before out of the chain of those that do.
inline u16 apart(u16 sum) { return ct::barrier(sum); }
inline const Lanes& apart(const Lanes& sum) { return sum; }

constexpr int kRotations[4] = {1, 2, 3, 5};

// The inner loops go over the sets of words in flight, the middle ones over the words of a block.

template <class Word, std::size_t N>
[[gnu::always_inline]] inline void mix(const u8* key, Words<Word> (&x)[N]) {
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) {
        const u16 k = key_word(key, i);
#pragma GCC unroll 8
        for (auto& [w] : x) {
            const Word a = w[(i + 3) % 4];
            const Word sum = static_cast<Word>(apart(static_cast<Word>(w[i] + k)) +
                                               (a & w[(i + 2) % 4]) + (~a & w[(i + 1) % 4]));
            w[i] = static_cast<Word>(sum << kRotations[i] | sum >> (16 - kRotations[i]));
        }
    }
}

template <class Word, std::size_t N>
[[gnu::always_inline]] inline void mash(const u8* key, Words<Word> (&x)[N]) {
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) {
#pragma GCC unroll 8
        for (auto& [w] : x) w[i] = static_cast<Word>(w[i] + choose(key, w[(i + 3) % 4]));
    }
}

template <class Word, std::size_t N>
[[gnu::always_inline]] inline void unmix(const u8* key, Words<Word> (&x)[N]) {
#pragma GCC unroll 4
    for (std::size_t j = 0; j < 4; ++j) {
        const std::size_t i = 3 - j;
        const u16 k = key_word(key, i);
#pragma GCC unroll 8
        for (auto& [w] : x) {
            const Word a = w[(i + 3) % 4];
            const Word sum =
                static_cast<Word>(w[i] >> kRotations[i] | w[i] << (16 - kRotations[i]));
            w[i] = static_cast<Word>((sum - k) - (a & w[(i + 2) % 4]) - (~a & w[(i + 1) % 4]));
        }
    }
}

template <class Word, std::size_t N>
[[gnu::always_inline]] inline void unmash(const u8* key, Words<Word> (&x)[N]) {
#pragma GCC unroll 4
    for (std::size_t j = 0; j < 4; ++j) {
        const std::size_t i = 3 - j;
#pragma GCC unroll 8
        for (auto& [w] : x) w[i] = static_cast<Word>(w[i] - choose(key, w[(i + 3) % 4]));
    }
}

// 16 mixing rounds, with a mashing round behind the fifth and the eleventh.
constexpr std::size_t kRounds = 16;
constexpr std::size_t kRoundBytes = 8;
constexpr bool is_mashed(std::size_t round) { return round == 4 || round == 10; }

template <class Word, std::size_t N>
[[gnu::always_inline]] inline void encrypt_words(const VRQ_RC2_KEY& key, Words<Word> (&x)[N]) {
    for (std::size_t round = 0; round < kRounds; ++round) {
        mix(key.expanded_key + kRoundBytes * round, x);
        if (is_mashed(round)) mash(key.expanded_key, x);
    }
}

template <class Word, std::size_t N>
[[gnu::always_inline]] inline void decrypt_words(const VRQ_RC2_KEY& key, Words<Word> (&x)[N]) {
    for (std::size_t round = kRounds; round-- != 0;) {
        if (is_mashed(round)) unmash(key.expanded_key, x);
        unmix(key.expanded_key + kRoundBytes * round, x);
    }
}

struct Rc2 {
    using Key = VRQ_RC2_KEY;
    using State = Words<u16>;
    static constexpr std::size_t kInFlight = 2;

    static State load(u64 block) {
        return {{static_cast<u16>(block), static_cast<u16>(block >> 16),
                 static_cast<u16>(block >> 32), static_cast<u16>(block >> 48)}};
    }
    static u64 store(const State& x) {
        return x.w[0] | u64{x.w[1]} << 16 | u64{x.w[2]} << 32 | u64{x.w[3]} << 48;
    }
    template <std::size_t N>
    static void encrypt(const Key& key, State (&x)[N]) {
        encrypt_words(key, x);
    }
    template <std::size_t N>
    static void decrypt(const Key& key, State (&x)[N]) {
        decrypt_words(key, x);
    }
};

// Eight blocks to vectors of their words, and back.

using Pairs [[gnu::vector_size(16)]] = u32;
using Quads [[gnu::vector_size(16)]] = u64;

#define LOW_16(x, y) __builtin_shufflevector(x, y, 0, 8, 1, 9, 2, 10, 3, 11)
#define HIGH_16(x, y) __builtin_shufflevector(x, y, 4, 12, 5, 13, 6, 14, 7, 15)
#define LOW_32(x, y) __builtin_shufflevector((Pairs)(x), (Pairs)(y), 0, 4, 1, 5)
#define HIGH_32(x, y) __builtin_shufflevector((Pairs)(x), (Pairs)(y), 2, 6, 3, 7)
#define LOW_64(x, y) __builtin_shufflevector((Quads)(x), (Quads)(y), 0, 2)
#define HIGH_64(x, y) __builtin_shufflevector((Quads)(x), (Quads)(y), 1, 3)

[[gnu::always_inline]] inline Words<Lanes> load_lanes(const u8* in) {
    Lanes v[4];
    std::memcpy(v, in, sizeof v);
    const Lanes low = LOW_16(v[0], v[1]);
    const Lanes high = HIGH_16(v[0], v[1]);
    const Lanes low2 = LOW_16(v[2], v[3]);
    const Lanes high2 = HIGH_16(v[2], v[3]);
    const Lanes ab = LOW_16(low, high);
    const Lanes cd = HIGH_16(low, high);
    const Lanes ab2 = LOW_16(low2, high2);
    const Lanes cd2 = HIGH_16(low2, high2);
    return {{(Lanes)LOW_64(ab, ab2), (Lanes)HIGH_64(ab, ab2), (Lanes)LOW_64(cd, cd2),
             (Lanes)HIGH_64(cd, cd2)}};
}

[[gnu::always_inline]] inline void store_lanes(u8* out, const Words<Lanes>& x) {
    const Lanes ab = LOW_16(x.w[0], x.w[1]);
    const Lanes cd = LOW_16(x.w[2], x.w[3]);
    const Lanes ab2 = HIGH_16(x.w[0], x.w[1]);
    const Lanes cd2 = HIGH_16(x.w[2], x.w[3]);
    const Pairs v[4] = {LOW_32(ab, cd), HIGH_32(ab, cd), LOW_32(ab2, cd2), HIGH_32(ab2, cd2)};
    std::memcpy(out, v, sizeof v);
}

template <bool kInverse, std::size_t N>
[[gnu::noinline]] void crypt_sets(const VRQ_RC2_KEY& key, u8* out, const u8* in) {
    Words<Lanes> x[N];
#pragma GCC unroll 8
    for (std::size_t i = 0; i < N; ++i) x[i] = load_lanes(in + i * kSetBytes);
    if constexpr (kInverse)
        decrypt_words(key, x);
    else
        encrypt_words(key, x);
#pragma GCC unroll 8
    for (std::size_t i = 0; i < N; ++i) store_lanes(out + i * kSetBytes, x[i]);
}

template <bool kInverse>
void crypt(const VRQ_RC2_KEY& key, u8* out, const u8* in, std::size_t blocks) {
    constexpr std::size_t kMany = 4;
    constexpr std::size_t kManyBytes = kMany * kSetBytes;
    const bool in_sets = blocks >= kLanes;
    for (; blocks >= kMany * kLanes; blocks -= kMany * kLanes, in += kManyBytes, out += kManyBytes)
        crypt_sets<kInverse, kMany>(key, out, in);
    for (; blocks >= kLanes; blocks -= kLanes, in += kSetBytes, out += kSetBytes)
        crypt_sets<kInverse, 1>(key, out, in);
    // Not all words of the sets have a register: blocks are left below.
    if (in_sets) wipe_stack();
    kInverse ? Block64<Rc2>::decrypt(key, out, in, blocks)
             : Block64<Rc2>::encrypt(key, out, in, blocks);
}

constexpr BlockKernel<VRQ_RC2_KEY> kKernels[] = {
    {0, "portable", crypt<false>, crypt<true>, Block64<Rc2>::cbc_encrypt, Block64<Rc2>::cfb_encrypt,
     Block64<Rc2>::ofb},
};

constinit std::atomic<const BlockKernel<VRQ_RC2_KEY>*> g_kernel{nullptr};

} // namespace

const BlockKernel<VRQ_RC2_KEY>& Rc2Engine::kernel() { return cpu::pick(kKernels, g_kernel); }
std::span<const BlockKernel<VRQ_RC2_KEY>> Rc2Engine::kernels() { return kKernels; }

} // namespace vrq

u32 vrq_Init_Encrypt_RC2_Key(std::int64_t effective_bits, const u8* key, i32 key_length,
                             VRQ_RC2_KEY* record) {
    const bool fits = effective_bits >= 1 && effective_bits <= kMaxEffectiveBits &&
                      key_length >= 1 && key_length <= kMaxKeyLength;
    if (key == nullptr || record == nullptr || !fits)
        return make_status(VRQ_L_RC2_INTERFACE, VRQ_F_INIT_RC2_KEY, VRQ_ERR_INVALID_INPUT);

    const auto bits = static_cast<u32>(effective_bits);
    const u32 bytes = (bits + 7) / 8;
    const u32 mask = 0xFFU >> (8 * bytes - bits);
    record->effective_bits = bits;
    record->effective_bytes = bytes;
    record->mask = mask;
    record->reserved = 0;

    u8* l = record->expanded_key;
    const auto length = static_cast<u32>(key_length);
    std::memcpy(l, key, length);
    for (u32 i = length; i < 128; ++i) l[i] = kPiTable[(l[i - 1] + l[i - length]) & 0xFF];
    l[128 - bytes] = kPiTable[l[128 - bytes] & mask];
    for (u32 i = 128 - bytes; i-- != 0;) l[i] = kPiTable[l[i + 1] ^ l[i + bytes]];
    return 0;
}

void vrq_RC2_Encrypt_Block(u16* block, const VRQ_RC2_KEY* key) {
    if (block == nullptr || key == nullptr) return;
    Words<u16> x[1];
    std::memcpy(x, block, sizeof x);
    encrypt_words(*key, x);
    std::memcpy(block, x, sizeof x);
}

void vrq_RC2_Decrypt_Block(u16* block, const VRQ_RC2_KEY* key) {
    if (block == nullptr || key == nullptr) return;
    Words<u16> x[1];
    std::memcpy(x, block, sizeof x);
    decrypt_words(*key, x);
    std::memcpy(block, x, sizeof x);
}
