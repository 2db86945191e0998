// SHA-512 (FIPS 180-4, 6.4) with rorx for the rounds and AVX for the message schedule. The rounds fill
// the integer units and set the time; the schedule, two words a register so that no word waits for a
// lane crossing, runs beside them, sixteen rounds ahead.
#define SHA512_FEATURES "avx,avx2,bmi,bmi2"

#include "digest/sha_kernels.h"
#include "digest/x86/sha512_round.h"
#include "foundation/wipe.h"

#include <immintrin.h>

namespace vrq {

namespace {

TALVERN_INLINE_TARGET(SHA512_FEATURES) __m128i exclusive_or(__m128i x, __m128i y) {
    return _mm_xor_si128(x, y);
}

TALVERN_INLINE_TARGET(SHA512_FEATURES) __m128i small_sigma0(__m128i x) {
    const __m128i by_one_byte = _mm_set_epi64x(0x080f0e0d0c0b0a09, 0x0007060504030201);
    return exclusive_or(exclusive_or(_mm_srli_epi64(x, 1), _mm_slli_epi64(x, 63)),
                        exclusive_or(_mm_shuffle_epi8(x, by_one_byte), _mm_srli_epi64(x, 7)));
}

TALVERN_INLINE_TARGET(SHA512_FEATURES) __m128i small_sigma1(__m128i x) {
    const __m128i by_19 = exclusive_or(_mm_srli_epi64(x, 19), _mm_slli_epi64(x, 45));
    const __m128i by_61 = exclusive_or(_mm_srli_epi64(x, 61), _mm_slli_epi64(x, 3));
    return exclusive_or(exclusive_or(by_19, by_61), _mm_srli_epi64(x, 6));
}

// The two words sixteen after those of w0; w1, w4, w5 and w7 are the pairs that many places on.
TALVERN_INLINE_TARGET(SHA512_FEATURES)
__m128i extend(__m128i w0, __m128i w1, __m128i w4, __m128i w5, __m128i w7) {
    const __m128i older = _mm_add_epi64(_mm_add_epi64(w0, _mm_alignr_epi8(w5, w4, 8)),
                                        small_sigma0(_mm_alignr_epi8(w1, w0, 8)));
    return _mm_add_epi64(older, small_sigma1(w7));
}

// Puts a pair of words with their constants in place as inputs of two rounds.
TALVERN_INLINE_TARGET(SHA512_FEATURES) void put(u64* input, __m128i pair, const u64* constants) {
    const __m128i k = _mm_load_si128(reinterpret_cast<const __m128i*>(constants));
    _mm_store_si128(reinterpret_cast<__m128i*>(input), _mm_add_epi64(pair, k));
}

TALVERN_INLINE_TARGET(SHA512_FEATURES) __m128i load_pair(const u8* data) {
    const __m128i swap = _mm_set_epi64x(0x08090a0b0c0d0e0f, 0x0001020304050607);
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(data)), swap);
}

#define TWO_ROUNDS(i, a, b, c, d, e, f, g, h)                                                      \
    round(a, b, c, d, e, f, g, h, bc, input[i]);                                                   \
    round(h, a, b, c, d, e, f, g, bc, input[(i) + 1])

// Two rounds, and meanwhile the inputs of those sixteen further on.
#define EXTEND_TWO(i, w0, w1, w4, w5, w7, a, b, c, d, e, f, g, h)                                  \
    do {                                                                                           \
        w0 = extend(w0, w1, w4, w5, w7);                                                           \
        TWO_ROUNDS(i, a, b, c, d, e, f, g, h);                                                     \
        put(input + (i), w0, constants + (i));                                                     \
    } while (0)

// Two of the last rounds, and meanwhile the first inputs of the next block.
#define LOAD_TWO(i, w, a, b, c, d, e, f, g, h)                                                     \
    do {                                                                                           \
        w = load_pair(data + 8 * (i));                                                             \
        TWO_ROUNDS(i, a, b, c, d, e, f, g, h);                                                     \
        put(input + (i), w, K_512.data() + (i));                                                   \
    } while (0)

__attribute__((target(SHA512_FEATURES))) void compress(u64* state, const u8* data,
                                                       std::size_t blocks) {
    alignas(16) u64 input[16];
    u64 a = state[0], b = state[1], c = state[2], d = state[3];
    u64 e = state[4], f = state[5], g = state[6], h = state[7];
    __m128i w[8];
    for (std::size_t i = 0; i < 8; ++i) {
        w[i] = load_pair(data + 16 * i);
        put(input + 2 * i, w[i], K_512.data() + 2 * i);
    }
    __m128i w0 = w[0], w1 = w[1], w2 = w[2], w3 = w[3];
    __m128i w4 = w[4], w5 = w[5], w6 = w[6], w7 = w[7];

    for (; blocks != 0; --blocks) {
        u64 bc = b ^ c;
        const u64* const last = K_512.data() + 64;
        for (const u64* constants = K_512.data() + 16; constants <= last; constants += 16) {
            EXTEND_TWO(0, w0, w1, w4, w5, w7, a, b, c, d, e, f, g, h);
            EXTEND_TWO(2, w1, w2, w5, w6, w0, g, h, a, b, c, d, e, f);
            EXTEND_TWO(4, w2, w3, w6, w7, w1, e, f, g, h, a, b, c, d);
            EXTEND_TWO(6, w3, w4, w7, w0, w2, c, d, e, f, g, h, a, b);
            EXTEND_TWO(8, w4, w5, w0, w1, w3, a, b, c, d, e, f, g, h);
            EXTEND_TWO(10, w5, w6, w1, w2, w4, g, h, a, b, c, d, e, f);
            EXTEND_TWO(12, w6, w7, w2, w3, w5, e, f, g, h, a, b, c, d);
            EXTEND_TWO(14, w7, w0, w3, w4, w6, c, d, e, f, g, h, a, b);
        }
        if (blocks > 1) data += 128; // after the last block it is loaded once more, to no effect
        LOAD_TWO(0, w0, a, b, c, d, e, f, g, h);
        LOAD_TWO(2, w1, g, h, a, b, c, d, e, f);
        LOAD_TWO(4, w2, e, f, g, h, a, b, c, d);
        LOAD_TWO(6, w3, c, d, e, f, g, h, a, b);
        LOAD_TWO(8, w4, a, b, c, d, e, f, g, h);
        LOAD_TWO(10, w5, g, h, a, b, c, d, e, f);
        LOAD_TWO(12, w6, e, f, g, h, a, b, c, d);
        LOAD_TWO(14, w7, c, d, e, f, g, h, a, b);
        a = state[0] += a, b = state[1] += b, c = state[2] += c, d = state[3] += d;
        e = state[4] += e, f = state[5] += f, g = state[6] += g, h = state[7] += h;
    }
    wipe_object(input);
}

} // namespace

void sha512_avx2(u64* state, const u8* data, std::size_t blocks) {
    if (blocks != 0) compress(state, data, blocks);
}

} // namespace vrq
