// AES (FIPS 197) with the AES instructions. The serial modes are bound by the latency of a round:
// the additions of the first round key, of the text and of the chain are folded into the last round
// key, so that a block costs its rounds and nothing else.
#include "cipher/aes_engine.h"

#include "cipher/x86/target.h"
#include "foundation/wipe.h"

#include <immintrin.h>

#define NI TALVERN_TARGET("aes,sse4.1,ssse3")
#define NI_INLINE TALVERN_INLINE_TARGET("aes,sse4.1,ssse3")

namespace vrq::aes {

namespace {

using Block = __m128i;

// The record holds words whose value is big-endian; the instructions take the bytes in order.
NI_INLINE Block swap_words(Block x) {
    return _mm_shuffle_epi8(x, _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203));
}

NI_INLINE Block load(const void* in) { return _mm_loadu_si128(static_cast<const Block*>(in)); }
NI_INLINE void store(void* out, Block x) { _mm_storeu_si128(static_cast<Block*>(out), x); }

NI_INLINE Block round_key(const VRQ_AES_KEY& key, u32 i) {
    return swap_words(load(key.round_keys + 4 * std::size_t{i}));
}

// Round keys in byte order, for calls of several blocks.
struct Schedule {
    Block k[15];
    u32 rounds;

    NI explicit Schedule(const VRQ_AES_KEY& key) : rounds(aes::rounds(key)) {
        for (u32 i = 0; i <= rounds; ++i) k[i] = round_key(key, i);
    }
    ~Schedule() { wipe(k, sizeof k); }
    Schedule(const Schedule&) = delete;
    Schedule& operator=(const Schedule&) = delete;
};

// One block straight from the record.
NI_INLINE Block encrypt_one(const VRQ_AES_KEY& key, Block x) {
    const u32 rounds = aes::rounds(key);
    x = _mm_xor_si128(x, round_key(key, 0));
    for (u32 i = 1; i < rounds; ++i) x = _mm_aesenc_si128(x, round_key(key, i));
    return _mm_aesenclast_si128(x, round_key(key, rounds));
}

NI_INLINE Block decrypt_one(const VRQ_AES_KEY& key, Block x) {
    const u32 rounds = aes::rounds(key);
    x = _mm_xor_si128(x, round_key(key, 0));
    for (u32 i = 1; i < rounds; ++i) x = _mm_aesdec_si128(x, round_key(key, i));
    return _mm_aesdeclast_si128(x, round_key(key, rounds));
}

// The inner rounds of a block to which the first round key was added.
NI_INLINE Block inner_rounds(const Schedule& s, Block x) {
    for (u32 i = 1; i < s.rounds; ++i) x = _mm_aesenc_si128(x, s.k[i]);
    return x;
}

// Eight blocks in flight hide the latency of a round.
constexpr std::size_t kWide = 8;

#define EACH(statement)                                                                            \
    _Pragma("GCC unroll 8") for (std::size_t j = 0; j < kWide; ++j) { statement; }

NI_INLINE void encrypt_wide(const Schedule& s, Block* x) {
    EACH(x[j] = _mm_xor_si128(x[j], s.k[0]))
    for (u32 i = 1; i < s.rounds; ++i) {
        EACH(x[j] = _mm_aesenc_si128(x[j], s.k[i]))
    }
    EACH(x[j] = _mm_aesenclast_si128(x[j], s.k[s.rounds]))
}

NI_INLINE void decrypt_wide(const Schedule& s, Block* x) {
    EACH(x[j] = _mm_xor_si128(x[j], s.k[0]))
    for (u32 i = 1; i < s.rounds; ++i) {
        EACH(x[j] = _mm_aesdec_si128(x[j], s.k[i]))
    }
    EACH(x[j] = _mm_aesdeclast_si128(x[j], s.k[s.rounds]))
}

NI_INLINE void load_wide(Block* x, const u8* in){EACH(x[j] = load(in + 16 * j))} NI_INLINE
    void store_wide(u8* out, const Block* x) {
    EACH(store(out + 16 * j, x[j]))
}

// A counter block as two halves of one big-endian number.
struct Counter {
    u64 high;
    u64 low;
};

NI_INLINE Block next(Counter& counter) {
    const Block x = _mm_set_epi64x(static_cast<long long>(__builtin_bswap64(counter.low)),
                                   static_cast<long long>(__builtin_bswap64(counter.high)));
    if (++counter.low == 0) ++counter.high;
    return x;
}

} // namespace

NI void encrypt_ni(const VRQ_AES_KEY& key, u8* out, const u8* in, std::size_t blocks) {
    if (blocks == 1) return store(out, encrypt_one(key, load(in)));

    const Schedule s(key);
    for (; blocks >= kWide; blocks -= kWide, in += 16 * kWide, out += 16 * kWide) {
        Block x[kWide];
        load_wide(x, in);
        encrypt_wide(s, x);
        store_wide(out, x);
    }
    for (; blocks != 0; --blocks, in += 16, out += 16) {
        const Block x = inner_rounds(s, _mm_xor_si128(load(in), s.k[0]));
        store(out, _mm_aesenclast_si128(x, s.k[s.rounds]));
    }
}

NI void decrypt_ni(const VRQ_AES_KEY& key, u8* out, const u8* in, std::size_t blocks) {
    if (blocks == 1) return store(out, decrypt_one(key, load(in)));

    const Schedule s(key);
    for (; blocks >= kWide; blocks -= kWide, in += 16 * kWide, out += 16 * kWide) {
        Block x[kWide];
        load_wide(x, in);
        decrypt_wide(s, x);
        store_wide(out, x);
    }
    for (; blocks != 0; --blocks, in += 16, out += 16) store(out, decrypt_one(key, load(in)));
}

NI void cbc_encrypt_ni(const VRQ_AES_KEY& key, u8* chain, u8* out, const u8* in,
                       std::size_t blocks) {
    if (blocks == 0) return;
    const Schedule s(key);
    const Block last = _mm_xor_si128(s.k[s.rounds], s.k[0]);
    Block x = _mm_xor_si128(_mm_xor_si128(load(chain), s.k[0]), load(in));
    for (; blocks > 1; --blocks, in += 16, out += 16) {
        const Block text = load(in + 16);
        x = _mm_aesenclast_si128(inner_rounds(s, x), _mm_xor_si128(last, text));
        store(out, _mm_xor_si128(x, _mm_xor_si128(text, s.k[0])));
    }
    x = _mm_aesenclast_si128(inner_rounds(s, x), s.k[s.rounds]);
    store(out, x);
    store(chain, x);
}

NI void cfb_encrypt_ni(const VRQ_AES_KEY& key, u8* chain, u8* out, const u8* in,
                       std::size_t blocks) {
    const Schedule s(key);
    const Block last = _mm_xor_si128(s.k[s.rounds], s.k[0]);
    Block x = _mm_xor_si128(load(chain), s.k[0]);
    for (; blocks != 0; --blocks, in += 16, out += 16) {
        x = _mm_aesenclast_si128(inner_rounds(s, x), _mm_xor_si128(last, load(in)));
        store(out, _mm_xor_si128(x, s.k[0]));
    }
    store(chain, _mm_xor_si128(x, s.k[0]));
}

NI void ofb_ni(const VRQ_AES_KEY& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
    const Schedule s(key);
    const Block last = _mm_xor_si128(s.k[s.rounds], s.k[0]);
    Block x = _mm_xor_si128(load(chain), s.k[0]);
    for (; blocks != 0; --blocks, in += 16, out += 16) {
        x = _mm_aesenclast_si128(inner_rounds(s, x), last);
        store(out, _mm_xor_si128(x, _mm_xor_si128(s.k[0], load(in))));
    }
    store(chain, _mm_xor_si128(x, s.k[0]));
}

NI void cbc_decrypt_ni(const VRQ_AES_KEY& key, u8* chain, u8* out, const u8* in,
                       std::size_t blocks) {
    const Schedule s(key);
    Block before = load(chain);
    for (; blocks >= kWide; blocks -= kWide, in += 16 * kWide, out += 16 * kWide) {
        Block x[kWide];
        Block cipher[kWide];
        load_wide(cipher, in);
        EACH(x[j] = cipher[j])
        decrypt_wide(s, x);
        EACH(x[j] = _mm_xor_si128(x[j], j == 0 ? before : cipher[j - 1]))
        before = cipher[kWide - 1];
        store_wide(out, x);
    }
    for (; blocks != 0; --blocks, in += 16, out += 16) {
        const Block cipher = load(in);
        store(out, _mm_xor_si128(decrypt_one(key, cipher), before));
        before = cipher;
    }
    store(chain, before);
}

NI void cfb_decrypt_ni(const VRQ_AES_KEY& key, u8* chain, u8* out, const u8* in,
                       std::size_t blocks) {
    const Schedule s(key);
    Block reg = load(chain);
    for (; blocks >= kWide; blocks -= kWide, in += 16 * kWide, out += 16 * kWide) {
        Block x[kWide];
        Block cipher[kWide];
        load_wide(cipher, in);
        EACH(x[j] = j == 0 ? reg : cipher[j - 1])
        encrypt_wide(s, x);
        EACH(x[j] = _mm_xor_si128(x[j], cipher[j]))
        reg = cipher[kWide - 1];
        store_wide(out, x);
    }
    for (; blocks != 0; --blocks, in += 16, out += 16) {
        const Block cipher = load(in);
        store(out, _mm_xor_si128(encrypt_one(key, reg), cipher));
        reg = cipher;
    }
    store(chain, reg);
}

NI void ctr_ni(const VRQ_AES_KEY& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
    const Schedule s(key);
    u64 words[2];
    __builtin_memcpy(words, chain, sizeof words);
    Counter counter = {__builtin_bswap64(words[0]), __builtin_bswap64(words[1])};
    for (; blocks >= kWide; blocks -= kWide, in += 16 * kWide, out += 16 * kWide) {
        Block x[kWide];
        EACH(x[j] = next(counter))
        encrypt_wide(s, x);
        EACH(store(out + 16 * j, _mm_xor_si128(x[j], load(in + 16 * j))))
    }
    for (; blocks != 0; --blocks, in += 16, out += 16)
        store(out, _mm_xor_si128(encrypt_one(key, next(counter)), load(in)));
    store(chain, next(counter));
}

namespace {

// Each word of the result is the sum of the words of x up to its place: what the schedule makes of
// the old words, apart from the substituted one.
NI_INLINE Block running_sums(Block x) {
    x = _mm_xor_si128(x, _mm_slli_si128(x, 4));
    return _mm_xor_si128(x, _mm_slli_si128(x, 8));
}

// The S-box of a word that stands in all four columns, so that ShiftRows changes nothing; plus a
// constant in each.
NI_INLINE Block substitute(Block repeated, u32 constant) {
    return _mm_aesenclast_si128(repeated, _mm_set1_epi32(static_cast<int>(constant)));
}

// Word 3 (or 1) of x, rotated by a byte, in all columns.
NI_INLINE Block rotated_word3(Block x) { return _mm_shuffle_epi8(x, _mm_set1_epi32(0x0C0F0E0D)); }
NI_INLINE Block rotated_word1(Block x) { return _mm_shuffle_epi8(x, _mm_set1_epi32(0x04070605)); }

constexpr u32 doubled(u32 constant) { return (constant << 1) ^ ((constant >> 7) * 0x11B); }

NI void expand_128(u32* w, const u8* bytes) {
    Block x = load(bytes);
    store(w, swap_words(x));
    for (u32 step = 1, constant = 1; step <= 10; ++step, constant = doubled(constant)) {
        x = _mm_xor_si128(running_sums(x), substitute(rotated_word3(x), constant));
        store(w + 4 * std::size_t{step}, swap_words(x));
    }
}

NI void expand_192(u32* w, const u8* bytes) {
    Block x = load(bytes);
    Block y = _mm_loadl_epi64(reinterpret_cast<const Block*>(bytes + 16)); // words 4 and 5
    for (u32 constant = 1;; constant = doubled(constant), w += 6) {
        store(w, swap_words(x));
        if (constant == doubled(0x80)) break;
        _mm_storel_epi64(reinterpret_cast<Block*>(w + 4), swap_words(y));
        x = _mm_xor_si128(running_sums(x), substitute(rotated_word1(y), constant));
        y = _mm_xor_si128(y, _mm_slli_si128(y, 4));
        y = _mm_xor_si128(y, _mm_shuffle_epi32(x, 0xFF));
    }
}

NI void expand_256(u32* w, const u8* bytes) {
    Block x = load(bytes);
    Block y = load(bytes + 16);
    for (u32 constant = 1;; constant = doubled(constant), w += 8) {
        store(w, swap_words(x));
        if (constant == 0x80) break;
        store(w + 4, swap_words(y));
        x = _mm_xor_si128(running_sums(x), substitute(rotated_word3(y), constant));
        y = _mm_xor_si128(running_sums(y), substitute(_mm_shuffle_epi32(x, 0xFF), 0));
    }
}

} // namespace

void expand_ni(VRQ_AES_KEY& key, const u8* bytes, u32 length) {
    key.rounds = static_cast<i32>(length / 4 + 6);
    if (length == 16) expand_128(key.round_keys, bytes);
    if (length == 24) expand_192(key.round_keys, bytes);
    if (length == 32) expand_256(key.round_keys, bytes);
}

NI void invert_ni(VRQ_AES_KEY& key) {
    const Schedule s(key);
    for (u32 i = 0; i <= s.rounds; ++i) {
        const Block x = s.k[s.rounds - i];
        const bool inner = i != 0 && i != s.rounds;
        store(key.round_keys + 4 * std::size_t{i}, swap_words(inner ? _mm_aesimc_si128(x) : x));
    }
}

} // namespace vrq::aes
