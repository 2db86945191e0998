// SHA-1 (FIPS 180-4, 6.1) with the SHA instructions. The chain of sha1rnds4 is the bound: four rounds
// each, six cycles of latency.
#include "digest/sha_kernels.h"

#include "digest/x86/target.h"

#include <immintrin.h>

namespace vrq {

namespace {

// Four rounds with the function and constant of number `f`. e holds the variable E of the group before,
// which is the rotated A of four rounds earlier; it becomes that of this group.
#define FOUR_ROUNDS(f, w)                                                                          \
    do {                                                                                           \
        const __m128i input = _mm_sha1nexte_epu32(e, w);                                           \
        e = abcd;                                                                                  \
        abcd = _mm_sha1rnds4_epu32(abcd, input, f);                                                \
    } while (0)

// Replaces the message words w0 by those sixteen further on.
#define EXTEND(w0, w1, w2, w3)                                                                     \
    w0 = _mm_sha1msg2_epu32(_mm_xor_si128(_mm_sha1msg1_epu32(w0, w1), w2), w3)

// Sixteen rounds on extended words; f0 to f3 are the function numbers of the four groups.
#define SIXTEEN_ROUNDS(f0, f1, f2, f3)                                                             \
    do {                                                                                           \
        EXTEND(w0, w1, w2, w3);                                                                    \
        FOUR_ROUNDS(f0, w0);                                                                       \
        EXTEND(w1, w2, w3, w0);                                                                    \
        FOUR_ROUNDS(f1, w1);                                                                       \
        EXTEND(w2, w3, w0, w1);                                                                    \
        FOUR_ROUNDS(f2, w2);                                                                       \
        EXTEND(w3, w0, w1, w2);                                                                    \
        FOUR_ROUNDS(f3, w3);                                                                       \
    } while (0)

TALVERN_TARGET("sha,sse4.1,ssse3")
void compress(u32* state, const u8* data, std::size_t blocks) {
    const __m128i reverse = _mm_set_epi64x(0x0001020304050607, 0x08090a0b0c0d0e0f);
    const auto* in = reinterpret_cast<const __m128i*>(data);
    auto* words = reinterpret_cast<__m128i*>(state);
    __m128i abcd = _mm_shuffle_epi32(_mm_loadu_si128(words), 0x1B);
    __m128i last_e = _mm_set_epi32(static_cast<int>(state[4]), 0, 0, 0);

    for (; blocks != 0; --blocks, in += 4) {
        const __m128i abcd_before = abcd;
        __m128i w0 = _mm_shuffle_epi8(_mm_loadu_si128(in), reverse);
        __m128i w1 = _mm_shuffle_epi8(_mm_loadu_si128(in + 1), reverse);
        __m128i w2 = _mm_shuffle_epi8(_mm_loadu_si128(in + 2), reverse);
        __m128i w3 = _mm_shuffle_epi8(_mm_loadu_si128(in + 3), reverse);

        // The first E is given as it is, not as the A it came from.
        __m128i e = abcd;
        abcd = _mm_sha1rnds4_epu32(abcd, _mm_add_epi32(last_e, w0), 0);
        FOUR_ROUNDS(0, w1);
        FOUR_ROUNDS(0, w2);
        FOUR_ROUNDS(0, w3);
        SIXTEEN_ROUNDS(0, 1, 1, 1);
        SIXTEEN_ROUNDS(1, 1, 2, 2);
        SIXTEEN_ROUNDS(2, 2, 2, 3);
        SIXTEEN_ROUNDS(3, 3, 3, 3);

        last_e = _mm_sha1nexte_epu32(e, last_e);
        abcd = _mm_add_epi32(abcd, abcd_before);
    }
    _mm_storeu_si128(words, _mm_shuffle_epi32(abcd, 0x1B));
    state[4] = static_cast<u32>(_mm_extract_epi32(last_e, 3));
}

} // namespace

void sha1_ni(u32* state, const u8* data, std::size_t blocks) { compress(state, data, blocks); }

} // namespace vrq
