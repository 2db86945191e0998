// SHA-256 (FIPS 180-4, 6.2) with the SHA instructions. The chain of sha256rnds2 is the bound: two rounds
// each, four cycles of latency.
#include "digest/sha_kernels.h"

#include "digest/x86/target.h"

#include <immintrin.h>

namespace vrq {

namespace {

// Four rounds from number `first` on, with the message words w.
#define FOUR_ROUNDS(first, w)                                                                      \
    do {                                                                                           \
        const __m128i input = _mm_add_epi32(w, _mm_load_si128(constants + (first) / 4));           \
        cdgh = _mm_sha256rnds2_epu32(cdgh, abef, input);                                           \
        abef = _mm_sha256rnds2_epu32(abef, cdgh, _mm_shuffle_epi32(input, 0x0E));                  \
    } while (0)

// Replaces the message words w0 by those sixteen further on.
#define EXTEND(w0, w1, w2, w3)                                                                     \
    w0 = _mm_sha256msg2_epu32(                                                                     \
        _mm_add_epi32(_mm_sha256msg1_epu32(w0, w1), _mm_alignr_epi8(w3, w2, 4)), w3)

#define SIXTEEN_ROUNDS(first)                                                                      \
    do {                                                                                           \
        EXTEND(w0, w1, w2, w3);                                                                    \
        FOUR_ROUNDS(first, w0);                                                                    \
        EXTEND(w1, w2, w3, w0);                                                                    \
        FOUR_ROUNDS((first) + 4, w1);                                                              \
        EXTEND(w2, w3, w0, w1);                                                                    \
        FOUR_ROUNDS((first) + 8, w2);                                                              \
        EXTEND(w3, w0, w1, w2);                                                                    \
        FOUR_ROUNDS((first) + 12, w3);                                                             \
    } while (0)

TALVERN_TARGET("sha,sse4.1,ssse3")
void compress(u32* state, const u8* data, std::size_t blocks) {
    const __m128i swap = _mm_set_epi64x(0x0c0d0e0f08090a0b, 0x0405060700010203);
    const auto* constants = reinterpret_cast<const __m128i*>(K_256.data());
    const auto* in = reinterpret_cast<const __m128i*>(data);
    auto* words = reinterpret_cast<__m128i*>(state);

    // The instructions want the variables as A B E F and C D G H, A and C on top.
    const __m128i badc = _mm_shuffle_epi32(_mm_loadu_si128(words), 0xB1);
    const __m128i efgh = _mm_shuffle_epi32(_mm_loadu_si128(words + 1), 0x1B);
    __m128i abef = _mm_alignr_epi8(badc, efgh, 8);
    __m128i cdgh = _mm_blend_epi16(efgh, badc, 0xF0);

    for (; blocks != 0; --blocks, in += 4) {
        const __m128i abef_before = abef;
        const __m128i cdgh_before = cdgh;
        __m128i w0 = _mm_shuffle_epi8(_mm_loadu_si128(in), swap);
        __m128i w1 = _mm_shuffle_epi8(_mm_loadu_si128(in + 1), swap);
        __m128i w2 = _mm_shuffle_epi8(_mm_loadu_si128(in + 2), swap);
        __m128i w3 = _mm_shuffle_epi8(_mm_loadu_si128(in + 3), swap);
        FOUR_ROUNDS(0, w0);
        FOUR_ROUNDS(4, w1);
        FOUR_ROUNDS(8, w2);
        FOUR_ROUNDS(12, w3);
        SIXTEEN_ROUNDS(16);
        SIXTEEN_ROUNDS(32);
        SIXTEEN_ROUNDS(48);
        abef = _mm_add_epi32(abef, abef_before);
        cdgh = _mm_add_epi32(cdgh, cdgh_before);
    }

    const __m128i feba = _mm_shuffle_epi32(abef, 0x1B);
    const __m128i dchg = _mm_shuffle_epi32(cdgh, 0xB1);
    _mm_storeu_si128(words, _mm_blend_epi16(feba, dchg, 0xF0));
    _mm_storeu_si128(words + 1, _mm_alignr_epi8(dchg, feba, 8));
}

} // namespace

void sha256_ni(u32* state, const u8* data, std::size_t blocks) { compress(state, data, blocks); }

} // namespace vrq
