// SHA-256 (FIPS 180-4, 6.2) of independent blocks with the SHA instructions: four, or two, streams
// interleaved, so that the latency of sha256rnds2 in one is filled by the others.
#include "digest/sha256_multi.h"
#include "digest/sha_kernels.h"

#include "foundation/x86_target.h"

#include <immintrin.h>

namespace vrq {

namespace {

#define TWO_LANES(step, group) step(0, group) step(1, group)
#define FOUR_LANES(step, group) step(0, group) step(1, group) step(2, group) step(3, group)

#define LOAD(lane, unused)                                                                         \
    for (int i = 0; i < 4; ++i)                                                                    \
        w[lane][i] = _mm_shuffle_epi8(_mm_loadu_si128((const __m128i*)in[lane] + i), swap);        \
    abef[lane] = abef_initial;                                                                     \
    cdgh[lane] = cdgh_initial;

// The message words of four rounds, replaced by those sixteen further on.
#define EXTEND(lane, group)                                                                        \
    w[lane][(group) % 4] = _mm_sha256msg2_epu32(                                                   \
        _mm_add_epi32(_mm_sha256msg1_epu32(w[lane][(group) % 4], w[lane][((group) + 1) % 4]),      \
                      _mm_alignr_epi8(w[lane][((group) + 3) % 4], w[lane][((group) + 2) % 4], 4)), \
        w[lane][((group) + 3) % 4]);

#define ROUNDS(lane, group)                                                                        \
    {                                                                                              \
        const __m128i input =                                                                      \
            _mm_add_epi32(w[lane][(group) % 4], _mm_load_si128(constants + (group)));              \
        cdgh[lane] = _mm_sha256rnds2_epu32(cdgh[lane], abef[lane], input);                         \
        abef[lane] =                                                                               \
            _mm_sha256rnds2_epu32(abef[lane], cdgh[lane], _mm_shuffle_epi32(input, 0x0E));         \
    }

#define STORE(lane, unused)                                                                        \
    {                                                                                              \
        const __m128i feba = _mm_shuffle_epi32(_mm_add_epi32(abef[lane], abef_initial), 0x1B);     \
        const __m128i dchg = _mm_shuffle_epi32(_mm_add_epi32(cdgh[lane], cdgh_initial), 0xB1);     \
        const __m128i dcba = _mm_blend_epi16(feba, dchg, 0xF0);                                    \
        const __m128i hgfe = _mm_alignr_epi8(dchg, feba, 8);                                       \
        _mm_storeu_si128((__m128i*)out[lane], _mm_shuffle_epi8(dcba, swap));                       \
        _mm_storeu_si128((__m128i*)out[lane] + 1, _mm_shuffle_epi8(hgfe, swap));                   \
    }

#define FIRST_GROUP(lanes, group) lanes(ROUNDS, group)
#define LATER_GROUP(lanes, group) lanes(EXTEND, group) lanes(ROUNDS, group)

// Digests of as many blocks as there are lanes, at separate addresses.
#define DEFINE_DIGEST(name, count, lanes)                                                          \
    TALVERN_TARGET("sha,sse4.1,ssse3")                                                             \
    void name(const u32* initial, u8* const* out, const u8* const* in) {                           \
        const __m128i swap = _mm_set_epi64x(0x0c0d0e0f08090a0b, 0x0405060700010203);               \
        const __m128i* constants = (const __m128i*)K_256.data();                                   \
        const __m128i badc = _mm_shuffle_epi32(_mm_loadu_si128((const __m128i*)initial), 0xB1);    \
        const __m128i efgh =                                                                       \
            _mm_shuffle_epi32(_mm_loadu_si128((const __m128i*)initial + 1), 0x1B);                 \
        const __m128i abef_initial = _mm_alignr_epi8(badc, efgh, 8);                               \
        const __m128i cdgh_initial = _mm_blend_epi16(efgh, badc, 0xF0);                            \
        __m128i w[count][4];                                                                       \
        __m128i abef[count];                                                                       \
        __m128i cdgh[count];                                                                       \
        lanes(LOAD, 0);                                                                            \
        FIRST_GROUP(lanes, 0);                                                                     \
        FIRST_GROUP(lanes, 1);                                                                     \
        FIRST_GROUP(lanes, 2);                                                                     \
        FIRST_GROUP(lanes, 3);                                                                     \
        LATER_GROUP(lanes, 4);                                                                     \
        LATER_GROUP(lanes, 5);                                                                     \
        LATER_GROUP(lanes, 6);                                                                     \
        LATER_GROUP(lanes, 7);                                                                     \
        LATER_GROUP(lanes, 8);                                                                     \
        LATER_GROUP(lanes, 9);                                                                     \
        LATER_GROUP(lanes, 10);                                                                    \
        LATER_GROUP(lanes, 11);                                                                    \
        LATER_GROUP(lanes, 12);                                                                    \
        LATER_GROUP(lanes, 13);                                                                    \
        LATER_GROUP(lanes, 14);                                                                    \
        LATER_GROUP(lanes, 15);                                                                    \
        lanes(STORE, 0)                                                                            \
    }

DEFINE_DIGEST(two, 2, TWO_LANES)
DEFINE_DIGEST(four, 4, FOUR_LANES)

} // namespace

void sha256_multi_ni(const u32* initial, u8* out, const u8* blocks, std::size_t count) {
    while (count != 0) {
        // Lanes beyond the last block repeat it.
        const std::size_t taken = count < 4 ? count : 4;
        const u8* from[4];
        u8* to[4];
        for (std::size_t lane = 0; lane < 4; ++lane) {
            const std::size_t block = lane < taken ? lane : taken - 1;
            from[lane] = blocks + 64 * block;
            to[lane] = out + 32 * block;
        }
        if (taken > 2) {
            four(initial, to, from);
        } else {
            two(initial, to, from);
        }
        count -= taken;
        blocks += 64 * taken;
        out += 32 * taken;
    }
}

} // namespace vrq
