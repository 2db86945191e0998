// AES (FIPS 197) with AVX-512 and vector AES instructions. The number of rounds is a template
// argument, so that all round keys stay in the 32 registers: a short message pays for no schedule
// in memory, and there is none to wipe.
//
// Parallel modes take vectors of four blocks, eight of them in flight to hide the latency of a
// round. Serial modes are bound by that latency; the additions of the first round key, the text and
// the chain are folded into the last round key.
#include "cipher/aes_engine.h"

#include "foundation/bytes.h"
#include "foundation/x86_target.h"

#include <immintrin.h>

#define VAES TALVERN_TARGET("vaes,aes,avx512f,avx512bw,avx512dq,avx512vl")
#define VAES_INLINE TALVERN_INLINE_TARGET("vaes,aes,avx512f,avx512bw,avx512dq,avx512vl")
#define VAES_METHOD                                                                                \
    __attribute__((target("vaes,aes,avx512f,avx512bw,avx512dq,avx512vl"), always_inline)) inline

namespace vrq::aes {

namespace {

using Block = __m128i;
using Vector = __m512i;
using Key = VRQ_AES_KEY;

constexpr std::size_t kLanes = 4; // blocks of a vector
constexpr std::size_t kWide = 8;  // vectors in flight
constexpr __mmask8 kAll = 0xFF;

#define UNROLL _Pragma("GCC unroll 16")
#define EACH(statement)                                                                            \
    UNROLL for (std::size_t j = 0; j < kWide; ++j) { statement; }

VAES_INLINE Block load_block(const void* in) {
    return _mm_loadu_si128(static_cast<const Block*>(in));
}
VAES_INLINE void store_block(void* out, Block x) { _mm_storeu_si128(static_cast<Block*>(out), x); }
VAES_INLINE Vector load(const u8* in) { return _mm512_loadu_si512(in); }
VAES_INLINE void store(u8* out, Vector x) { _mm512_storeu_si512(out, x); }

// One block in every lane. (The forms without a mask draw false warnings from g++ 12.)
VAES_INLINE Vector repeat(Block x) { return _mm512_maskz_broadcast_i32x4(0xFFFF, x); }

// The record holds words whose value is big-endian; the instructions take the bytes in order.
VAES_INLINE Block round_key(const Key& key, u32 i) {
    return _mm_shuffle_epi8(load_block(key.round_keys + 4 * std::size_t{i}),
                            _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203));
}

// Parallel modes. What enters the cipher is start(text), what leaves is finish(output, text), vector
// by vector in order; a mode may read the text again before it is overwritten.

struct Ecb {
    VAES_METHOD Vector start(Vector text) { return text; }
    VAES_METHOD Vector finish(Vector x, Vector) { return x; }
};

// The blocks before those of x; the first is the last one of the vector before.
VAES_INLINE Vector blocks_before(Vector x, Vector before) {
    return _mm512_maskz_alignr_epi64(kAll, x, before, 6);
}

VAES_INLINE Vector in_last_lane(const u8* block) {
    return _mm512_inserti32x4(_mm512_setzero_si512(), load_block(block), 3);
}

struct CbcDecryption {
    Vector before;

    VAES_METHOD Vector start(Vector text) { return text; }
    VAES_METHOD Vector finish(Vector x, Vector text) {
        x = _mm512_xor_si512(x, blocks_before(text, before));
        before = text;
        return x;
    }
};

struct CfbDecryption {
    Vector before;

    VAES_METHOD Vector start(Vector text) {
        const Vector x = blocks_before(text, before);
        before = text;
        return x;
    }
    VAES_METHOD Vector finish(Vector x, Vector text) { return _mm512_xor_si512(x, text); }
};

// Counts in the low half of each lane alone.
struct Counting {
    Vector counter; // little-endian
    Vector to_big_endian;

    VAES_METHOD Counting(u64 high, u64 low) {
        const Block base =
            _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low));
        counter = _mm512_add_epi64(repeat(base), _mm512_set_epi64(0, 3, 0, 2, 0, 1, 0, 0));
        to_big_endian = repeat(_mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F));
    }
    VAES_METHOD Vector start(Vector) {
        const Vector x = _mm512_shuffle_epi8(counter, to_big_endian);
        counter = _mm512_add_epi64(counter, _mm512_set_epi64(0, 4, 0, 4, 0, 4, 0, 4));
        return x;
    }
    VAES_METHOD Vector finish(Vector x, Vector text) { return _mm512_xor_si512(x, text); }
};

template <bool kEncrypt>
VAES_INLINE Vector inner_round(Vector x, Vector k) {
    return kEncrypt ? _mm512_aesenc_epi128(x, k) : _mm512_aesdec_epi128(x, k);
}

template <bool kEncrypt>
VAES_INLINE Vector last_round(Vector x, Vector k) {
    return kEncrypt ? _mm512_aesenclast_epi128(x, k) : _mm512_aesdeclast_epi128(x, k);
}

template <bool kEncrypt, u32 kRounds>
VAES_INLINE Vector cipher(const Vector* k, Vector x) {
    x = _mm512_xor_si512(x, k[0]);
    UNROLL for (u32 i = 1; i < kRounds; ++i) x = inner_round<kEncrypt>(x, k[i]);
    return last_round<kEncrypt>(x, k[kRounds]);
}

// The barrier makes each call load anew: keys that live through two loops would not all fit the
// registers, and g++ would leave some on the stack.
template <u32 kRounds>
VAES_INLINE void load_keys(const Key* key, Vector* k) {
    __asm__("" : "+r"(key));
    UNROLL for (u32 i = 0; i <= kRounds; ++i) k[i] = repeat(round_key(*key, i));
}

template <bool kEncrypt, u32 kRounds, class Mode>
VAES void run(const Key& key, Mode mode, u8* out, const u8* in, std::size_t blocks) {
    constexpr std::size_t kStep = kWide * kLanes;
    Vector k[kRounds + 1];
    if (blocks >= kStep) load_keys<kRounds>(&key, k);
    for (; blocks >= kStep; blocks -= kStep, in += 16 * kStep, out += 16 * kStep) {
        Vector x[kWide];
        EACH(x[j] = _mm512_xor_si512(mode.start(load(in + 64 * j)), k[0]))
        UNROLL for (u32 i = 1; i < kRounds;
                    ++i){EACH(x[j] = inner_round<kEncrypt>(
                                  x[j], k[i]))} EACH(x[j] = last_round<kEncrypt>(x[j], k[kRounds]))
            EACH(store(out + 64 * j, mode.finish(x[j], load(in + 64 * j))))
    }
    if (blocks == 0) return;

    load_keys<kRounds>(&key, k);
    for (; blocks >= kLanes; blocks -= kLanes, in += 64, out += 64) {
        const Vector text = load(in);
        store(out, mode.finish(cipher<kEncrypt, kRounds>(k, mode.start(text)), text));
    }
    if (blocks == 0) return;
    const auto mask = static_cast<__mmask8>((1U << (2 * blocks)) - 1);
    const Vector text = _mm512_maskz_loadu_epi64(mask, in);
    const Vector x = mode.finish(cipher<kEncrypt, kRounds>(k, mode.start(text)), text);
    _mm512_mask_storeu_epi64(out, mask, x);
}

template <bool kEncrypt, class Mode>
VAES void run(const Key& key, const Mode& mode, u8* out, const u8* in, std::size_t blocks) {
    switch (aes::rounds(key)) {
    case 10:
        return run<kEncrypt, 10>(key, mode, out, in, blocks);
    case 12:
        return run<kEncrypt, 12>(key, mode, out, in, blocks);
    default:
        return run<kEncrypt, 14>(key, mode, out, in, blocks);
    }
}

// Serial modes. x is what the next block starts from with the first round key added; the text that
// is added before that, and the first round key, enter through the last round.

struct Cbc {
    // The first block's text is added before, so each step adds the next one.
    static constexpr std::size_t kAhead = 16;
    VAES_METHOD static Block feedback(Block text) { return text; }
    VAES_METHOD static Block output(Block x, Block text) { return _mm_xor_si128(x, text); }
};

struct Cfb {
    static constexpr std::size_t kAhead = 0;
    VAES_METHOD static Block feedback(Block text) { return text; }
    VAES_METHOD static Block output(Block x, Block) { return x; }
};

struct Ofb {
    static constexpr std::size_t kAhead = 0;
    VAES_METHOD static Block feedback(Block) { return _mm_setzero_si128(); }
    VAES_METHOD static Block output(Block x, Block text) { return _mm_xor_si128(x, text); }
};

template <u32 kRounds>
VAES_INLINE Block inner_rounds(const Block* k, Block x) {
    UNROLL for (u32 i = 1; i < kRounds; ++i) x = _mm_aesenc_si128(x, k[i]);
    return x;
}

// Runs the blocks but for the last one of CBC, which has no text ahead.
template <class Mode, u32 kRounds>
VAES void chain_blocks(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
    Block k[kRounds + 1];
    UNROLL for (u32 i = 0; i <= kRounds; ++i) k[i] = round_key(key, i);
    const Block last = _mm_xor_si128(k[kRounds], k[0]);

    Block x = _mm_xor_si128(load_block(chain), k[0]);
    if (Mode::kAhead != 0) x = _mm_xor_si128(x, load_block(in));
    const std::size_t left = Mode::kAhead != 0 ? 1 : 0;
    for (; blocks > left; --blocks, in += 16, out += 16) {
        const Block text = load_block(in + Mode::kAhead);
        x = inner_rounds<kRounds>(k, x);
        x = _mm_aesenclast_si128(x, _mm_xor_si128(last, Mode::feedback(text)));
        store_block(out, _mm_xor_si128(Mode::output(x, text), k[0]));
    }
    if (left == 0) return store_block(chain, _mm_xor_si128(x, k[0]));
    x = _mm_aesenclast_si128(inner_rounds<kRounds>(k, x), k[kRounds]);
    store_block(out, x);
    store_block(chain, x);
}

template <class Mode>
VAES void chain_blocks(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
    if (blocks == 0) return;
    switch (aes::rounds(key)) {
    case 10:
        return chain_blocks<Mode, 10>(key, chain, out, in, blocks);
    case 12:
        return chain_blocks<Mode, 12>(key, chain, out, in, blocks);
    default:
        return chain_blocks<Mode, 14>(key, chain, out, in, blocks);
    }
}

} // namespace

VAES void encrypt_vaes(const Key& key, u8* out, const u8* in, std::size_t blocks) {
    if (blocks < kLanes) return encrypt_ni(key, out, in, blocks);
    run<true>(key, Ecb{}, out, in, blocks);
}

VAES void decrypt_vaes(const Key& key, u8* out, const u8* in, std::size_t blocks) {
    if (blocks < kLanes) return decrypt_ni(key, out, in, blocks);
    run<false>(key, Ecb{}, out, in, blocks);
}

VAES void cbc_decrypt_vaes(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
    if (blocks < kLanes) return cbc_decrypt_ni(key, chain, out, in, blocks);
    const Block last = load_block(in + 16 * (blocks - 1));
    run<false>(key, CbcDecryption{in_last_lane(chain)}, out, in, blocks);
    store_block(chain, last);
}

VAES void cfb_decrypt_vaes(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
    if (blocks < kLanes) return cfb_decrypt_ni(key, chain, out, in, blocks);
    const Block last = load_block(in + 16 * (blocks - 1));
    run<true>(key, CfbDecryption{in_last_lane(chain)}, out, in, blocks);
    store_block(chain, last);
}

VAES void ctr_vaes(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
    // A run that wraps the low half, once in 2^64 blocks, goes the other way.
    const u64 low = load_be<u64>(chain + 8);
    if (blocks < kLanes || low + blocks < low) return ctr_ni(key, chain, out, in, blocks);
    run<true>(key, Counting(load_be<u64>(chain), low), out, in, blocks);
    store_be(chain + 8, low + blocks);
}

VAES void cbc_encrypt_vaes(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
    chain_blocks<Cbc>(key, chain, out, in, blocks);
}

VAES void cfb_encrypt_vaes(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
    chain_blocks<Cfb>(key, chain, out, in, blocks);
}

VAES void ofb_vaes(const Key& key, u8* chain, u8* out, const u8* in, std::size_t blocks) {
    chain_blocks<Ofb>(key, chain, out, in, blocks);
}

} // namespace vrq::aes
