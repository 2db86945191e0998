// SHA-512 (FIPS 180-4, 6.4) with rorx for the rounds and AVX-512 for the message schedule, four words a
// register. The rounds fill the integer units and set the time; with its rotations and three-input
// XORs the schedule takes two thirds of the instructions of the AVX2 one.
#define SHA512_FEATURES "avx,avx2,bmi,bmi2,avx512f,avx512vl"

#include "digest/sha_kernels.h"
#include "digest/x86/sha512_round.h"
#include "foundation/wipe.h"

#include <immintrin.h>

namespace vrq {

namespace {

constexpr int kXor3 = 0x96;

TALVERN_INLINE_TARGET(SHA512_FEATURES) __m256i small_sigma0(__m256i x) {
    return _mm256_ternarylogic_epi64(_mm256_ror_epi64(x, 1), _mm256_ror_epi64(x, 8),
                                     _mm256_srli_epi64(x, 7), kXor3);
}

TALVERN_INLINE_TARGET(SHA512_FEATURES) __m256i small_sigma1(__m256i x) {
    return _mm256_ternarylogic_epi64(_mm256_ror_epi64(x, 19), _mm256_ror_epi64(x, 61),
                                     _mm256_srli_epi64(x, 6), kXor3);
}

// The four words sixteen after those of w0; w1, w2 and w3 are the fours between. The upper two need the
// lower two.
TALVERN_INLINE_TARGET(SHA512_FEATURES)
__m256i extend(__m256i w0, __m256i w1, __m256i w2, __m256i w3) {
    const __m256i older = _mm256_add_epi64(_mm256_add_epi64(w0, _mm256_alignr_epi64(w3, w2, 1)),
                                           small_sigma0(_mm256_alignr_epi64(w1, w0, 1)));
    const __m256i upper_of_w3 = _mm256_permute4x64_epi64(w3, 0xEE);
    const __m256i lower = _mm256_add_epi64(older, small_sigma1(upper_of_w3));
    const __m256i twice = _mm256_permute4x64_epi64(lower, 0x44);
    return _mm256_mask_add_epi64(lower, 0xC, older, small_sigma1(twice));
}

// Puts four words with their constants in place as inputs of four rounds.
TALVERN_INLINE_TARGET(SHA512_FEATURES) void put(u64* input, __m256i words, const u64* constants) {
    const __m256i k = _mm256_load_si256(reinterpret_cast<const __m256i*>(constants));
    _mm256_store_si256(reinterpret_cast<__m256i*>(input), _mm256_add_epi64(words, k));
}

TALVERN_INLINE_TARGET(SHA512_FEATURES) __m256i load_words(const u8* data) {
    const __m256i swap =
        _mm256_broadcastsi128_si256(_mm_set_epi64x(0x08090a0b0c0d0e0f, 0x0001020304050607));
    return _mm256_shuffle_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(data)), swap);
}

#define FOUR_ROUNDS(i, a, b, c, d, e, f, g, h)                                                     \
    round(a, b, c, d, e, f, g, h, bc, input[i]);                                                   \
    round(h, a, b, c, d, e, f, g, bc, input[(i) + 1]);                                             \
    round(g, h, a, b, c, d, e, f, bc, input[(i) + 2]);                                             \
    round(f, g, h, a, b, c, d, e, bc, input[(i) + 3])

// Four rounds, and meanwhile the inputs of those sixteen further on.
#define EXTEND_FOUR(i, w0, w1, w2, w3, a, b, c, d, e, f, g, h)                                     \
    do {                                                                                           \
        w0 = extend(w0, w1, w2, w3);                                                               \
        FOUR_ROUNDS(i, a, b, c, d, e, f, g, h);                                                    \
        put(input + (i), w0, constants + (i));                                                     \
    } while (0)

// Four of the last rounds, and meanwhile the first inputs of the next block.
#define LOAD_FOUR(i, w, a, b, c, d, e, f, g, h)                                                    \
    do {                                                                                           \
        w = load_words(data + 8 * (i));                                                            \
        FOUR_ROUNDS(i, a, b, c, d, e, f, g, h);                                                    \
        put(input + (i), w, K_512.data() + (i));                                                   \
    } while (0)

__attribute__((target(SHA512_FEATURES))) void compress(u64* state, const u8* data,
                                                       std::size_t blocks) {
    alignas(32) u64 input[16];
    u64 a = state[0], b = state[1], c = state[2], d = state[3];
    u64 e = state[4], f = state[5], g = state[6], h = state[7];
    __m256i w0 = load_words(data), w1 = load_words(data + 32);
    __m256i w2 = load_words(data + 64), w3 = load_words(data + 96);
    put(input, w0, K_512.data());
    put(input + 4, w1, K_512.data() + 4);
    put(input + 8, w2, K_512.data() + 8);
    put(input + 12, w3, K_512.data() + 12);

    for (; blocks != 0; --blocks) {
        u64 bc = b ^ c;
        const u64* const last = K_512.data() + 64;
        for (const u64* constants = K_512.data() + 16; constants <= last; constants += 16) {
            EXTEND_FOUR(0, w0, w1, w2, w3, a, b, c, d, e, f, g, h);
            EXTEND_FOUR(4, w1, w2, w3, w0, e, f, g, h, a, b, c, d);
            EXTEND_FOUR(8, w2, w3, w0, w1, a, b, c, d, e, f, g, h);
            EXTEND_FOUR(12, w3, w0, w1, w2, e, f, g, h, a, b, c, d);
        }
        if (blocks > 1) data += 128; // after the last block it is loaded once more, to no effect
        LOAD_FOUR(0, w0, a, b, c, d, e, f, g, h);
        LOAD_FOUR(4, w1, e, f, g, h, a, b, c, d);
        LOAD_FOUR(8, w2, a, b, c, d, e, f, g, h);
        LOAD_FOUR(12, w3, e, f, g, h, a, b, c, d);
        a = state[0] += a, b = state[1] += b, c = state[2] += c, d = state[3] += d;
        e = state[4] += e, f = state[5] += f, g = state[6] += g, h = state[7] += h;
    }
    wipe_object(input);
}

} // namespace

void sha512_avx512(u64* state, const u8* data, std::size_t blocks) {
    if (blocks != 0) compress(state, data, blocks);
}

} // namespace vrq
