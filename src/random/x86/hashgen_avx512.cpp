// SHA-256 (FIPS 180-4, 6.2) of sixteen successive numbers at once, one a lane of 512 bits. Only the words
// 12 and 13 of a block differ between numbers, in practice only the latter, so the first twelve rounds
// are done once for all.
#include "random/hashgen_kernels.h"

#include "digest/sha_kernels.h"
#include "foundation/bytes.h"
#include "foundation/wipe.h"
#include "foundation/x86_target.h"

#include <bit>

// The intrinsics of g++ 12 are written with a value that is left undefined on purpose.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

namespace vrq {

namespace {

constexpr std::size_t kShared = 12; // rounds

// The variables after the shared rounds.
void shared_rounds(u32* v, const u32* initial, const u32* words) {
    for (int i = 0; i < 8; ++i) v[i] = initial[i];
    for (std::size_t i = 0; i < kShared; ++i) {
        const u32 e = v[4];
        const u32 a = v[0];
        const u32 t1 = v[7] + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
                       (v[6] ^ (e & (v[5] ^ v[6]))) + K_256[i] + words[i];
        const u32 t2 = (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) +
                       ((a & v[1]) | (v[2] & (a | v[1])));
        for (int j = 7; j > 0; --j) v[j] = v[j - 1];
        v[4] += t1;
        v[0] = t1 + t2;
    }
}

#define XOR3(x, y, z) _mm512_ternarylogic_epi32(x, y, z, 0x96)
#define ADD(x, y) _mm512_add_epi32(x, y)

// Replaces word i mod 16 by word i + 16 of the schedule.
#define EXTEND(i)                                                                                  \
    w[(i) % 16] = ADD(                                                                             \
        ADD(w[(i) % 16], w[((i) + 9) % 16]),                                                       \
        ADD(XOR3(_mm512_ror_epi32(w[((i) + 1) % 16], 7), _mm512_ror_epi32(w[((i) + 1) % 16], 18),  \
                 _mm512_srli_epi32(w[((i) + 1) % 16], 3)),                                         \
            XOR3(_mm512_ror_epi32(w[((i) + 14) % 16], 17),                                         \
                 _mm512_ror_epi32(w[((i) + 14) % 16], 19),                                         \
                 _mm512_srli_epi32(w[((i) + 14) % 16], 10))));

// One round; the caller turns the variables instead of moving them.
#define ROUND(a, b, c, d, e, f, g, h, i)                                                           \
    h = ADD(h, ADD(w[(i) % 16], _mm512_set1_epi32((int)K_256[i])));                                \
    h = ADD(h, ADD(XOR3(_mm512_ror_epi32(e, 6), _mm512_ror_epi32(e, 11), _mm512_ror_epi32(e, 25)), \
                   _mm512_ternarylogic_epi32(e, f, g, 0xCA)));                                     \
    d = ADD(d, h);                                                                                 \
    h = ADD(h, ADD(XOR3(_mm512_ror_epi32(a, 2), _mm512_ror_epi32(a, 13), _mm512_ror_epi32(a, 22)), \
                   _mm512_ternarylogic_epi32(a, b, c, 0xE8)));

#define ROUNDS_12_TO_15                                                                            \
    ROUND(e, f, g, h, a, b, c, d, 12)                                                              \
    ROUND(d, e, f, g, h, a, b, c, 13)                                                              \
    ROUND(c, d, e, f, g, h, a, b, 14)                                                              \
    ROUND(b, c, d, e, f, g, h, a, 15)

#define STEP(a, b, c, d, e, f, g, h, i) EXTEND(i) ROUND(a, b, c, d, e, f, g, h, i)

#define EIGHT_ROUNDS(i)                                                                            \
    STEP(a, b, c, d, e, f, g, h, i)                                                                \
    STEP(h, a, b, c, d, e, f, g, (i) + 1)                                                          \
    STEP(g, h, a, b, c, d, e, f, (i) + 2)                                                          \
    STEP(f, g, h, a, b, c, d, e, (i) + 3)                                                          \
    STEP(e, f, g, h, a, b, c, d, (i) + 4)                                                          \
    STEP(d, e, f, g, h, a, b, c, (i) + 5)                                                          \
    STEP(c, d, e, f, g, h, a, b, (i) + 6)                                                          \
    STEP(b, c, d, e, f, g, h, a, (i) + 7)

#define STORE_LANE(lane)                                                                           \
    _mm_storeu_si128((__m128i*)(out + 128 * (lane)), _mm512_extracti32x4_epi32(even_0, lane));     \
    _mm_storeu_si128((__m128i*)(out + 128 * (lane) + 32),                                          \
                     _mm512_extracti32x4_epi32(even_1, lane));                                     \
    _mm_storeu_si128((__m128i*)(out + 128 * (lane) + 64),                                          \
                     _mm512_extracti32x4_epi32(even_2, lane));                                     \
    _mm_storeu_si128((__m128i*)(out + 128 * (lane) + 96), _mm512_extracti32x4_epi32(even_3, lane));

// Four words of every digest, the digests 32 bytes apart; x to w hold one word of each.
TALVERN_INLINE_TARGET("avx512f,avx512bw,avx512dq,avx512vl")
void put_words(u8* out, __m512i x, __m512i y, __m512i z, __m512i u) {
    const __m512i swap =
        _mm512_broadcast_i32x4(_mm_set_epi64x(0x0c0d0e0f08090a0b, 0x0405060700010203));
    const __m512i low_xy = _mm512_unpacklo_epi32(x, y);
    const __m512i high_xy = _mm512_unpackhi_epi32(x, y);
    const __m512i low_zu = _mm512_unpacklo_epi32(z, u);
    const __m512i high_zu = _mm512_unpackhi_epi32(z, u);
    const __m512i even_0 = _mm512_shuffle_epi8(_mm512_unpacklo_epi64(low_xy, low_zu), swap);
    const __m512i even_1 = _mm512_shuffle_epi8(_mm512_unpackhi_epi64(low_xy, low_zu), swap);
    const __m512i even_2 = _mm512_shuffle_epi8(_mm512_unpacklo_epi64(high_xy, high_zu), swap);
    const __m512i even_3 = _mm512_shuffle_epi8(_mm512_unpackhi_epi64(high_xy, high_zu), swap);
    STORE_LANE(0)
    STORE_LANE(1)
    STORE_LANE(2)
    STORE_LANE(3)
}

// Sixteen digests; v holds the variables after the shared rounds.
TALVERN_TARGET("avx512f,avx512bw,avx512dq,avx512vl")
void sixteen(u8* out, const u32* initial, const u32* v, const u32* words, u32 first) {
    __m512i w[16];
    for (int i = 0; i < 16; ++i) w[i] = _mm512_set1_epi32((int)words[i]);
    const __m512i lane = _mm512_set_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
    w[13] = ADD(w[13], _mm512_slli_epi32(ADD(lane, _mm512_set1_epi32((int)first)), 8));

    // After twelve rounds the variables stand four places on.
    __m512i a = _mm512_set1_epi32((int)v[4]);
    __m512i b = _mm512_set1_epi32((int)v[5]);
    __m512i c = _mm512_set1_epi32((int)v[6]);
    __m512i d = _mm512_set1_epi32((int)v[7]);
    __m512i e = _mm512_set1_epi32((int)v[0]);
    __m512i f = _mm512_set1_epi32((int)v[1]);
    __m512i g = _mm512_set1_epi32((int)v[2]);
    __m512i h = _mm512_set1_epi32((int)v[3]);
    ROUNDS_12_TO_15
    EIGHT_ROUNDS(16)
    EIGHT_ROUNDS(24)
    EIGHT_ROUNDS(32)
    EIGHT_ROUNDS(40)
    EIGHT_ROUNDS(48)
    EIGHT_ROUNDS(56)
    put_words(
        out, ADD(a, _mm512_set1_epi32((int)initial[0])), ADD(b, _mm512_set1_epi32((int)initial[1])),
        ADD(c, _mm512_set1_epi32((int)initial[2])), ADD(d, _mm512_set1_epi32((int)initial[3])));
    put_words(out + 16, ADD(e, _mm512_set1_epi32((int)initial[4])),
              ADD(f, _mm512_set1_epi32((int)initial[5])),
              ADD(g, _mm512_set1_epi32((int)initial[6])),
              ADD(h, _mm512_set1_epi32((int)initial[7])));
}

// What `sixteen` had no register for: its frame is deeper than wipe_stack() reaches.
[[gnu::noinline]] void wipe_lanes() {
    u8 below[2048];
    wipe_object(below);
}

} // namespace

void hashgen_avx512(const u32* initial, u8* out, const u8* block, std::size_t count) {
    u32 words[16];
    u32 v[8];
    alignas(64) u8 last[16 * 32];
    for (std::size_t i = 0; i < 16; ++i) words[i] = load_be<u32>(block + 4 * i);
    shared_rounds(v, initial, words);

    u32 first = 0;
    for (; count >= 16; count -= 16, out += sizeof last, first += 16)
        sixteen(out, initial, v, words, first);
    if (count != 0) {
        sixteen(last, initial, v, words, first);
        std::memcpy(out, last, 32 * count);
        wipe_object(last);
    }
    wipe_object(words);
    wipe_object(v);
    wipe_lanes();
}

} // namespace vrq
