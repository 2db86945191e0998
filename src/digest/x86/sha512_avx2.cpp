// SHA-512 (FIPS 180-4, 6.4) with rorx for the rounds and AVX for the message schedule. The rounds fill
// the integer units and set the time; the schedule, two words a register so that no word waits for a
// lane crossing, runs beside them, sixteen rounds ahead.
#define SHA512_FEATURES "avx,avx2,bmi,bmi2"

#include "digest/sha_kernels.h"
#include "foundation/wipe.h"
#include "foundation/x86_target.h"

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

// One round; the caller renames the variables. On entry bc is B ^ C, on exit A ^ B, the next round's B ^
// C. Written in assembler to keep the sums as they stand: one instruction more than needed in each, but
// only four cycles from E to the next E and from A to the next A. The choice is ((F ^ G) & E) ^ G, the
// majority (B & C) + (A & (B ^ C)).
TALVERN_INLINE_TARGET(SHA512_FEATURES)
void round(u64 a, u64 b, u64 c, u64& d, u64 e, u64 f, u64 g, u64& h, u64& bc, const u64& input) {
    u64 sigma;
    u64 rotated;
    u64 x;
    __asm__(
        "addq %[input], %[h]\n\t"
        "rorx $14, %[e], %[sigma]\n\t"
        "rorx $18, %[e], %[rotated]\n\t"
        "addq %[h], %[d]\n\t"
        "movq %[f], %[x]\n\t"
        "xorq %[g], %[x]\n\t"
        "andq %[e], %[x]\n\t"
        "xorq %[rotated], %[sigma]\n\t"
        "rorx $41, %[e], %[rotated]\n\t"
        "xorq %[g], %[x]\n\t"
        "addq %[x], %[d]\n\t"
        "xorq %[rotated], %[sigma]\n\t"
        "addq %[sigma], %[d]\n\t"
        "addq %[x], %[h]\n\t"
        "addq %[sigma], %[h]\n\t"
        "movq %[b], %[x]\n\t"
        "andq %[c], %[x]\n\t"
        "addq %[x], %[h]\n\t"
        "andq %[a], %[bc]\n\t"
        "rorx $28, %[a], %[sigma]\n\t"
        "rorx $34, %[a], %[rotated]\n\t"
        "addq %[bc], %[h]\n\t"
        "xorq %[rotated], %[sigma]\n\t"
        "rorx $39, %[a], %[rotated]\n\t"
        "movq %[a], %[bc]\n\t"
        "xorq %[rotated], %[sigma]\n\t"
        "addq %[sigma], %[h]\n\t"
        "xorq %[b], %[bc]"
        : [d] "+&r"(d), [h] "+&r"(h), [bc] "+&r"(bc), [sigma] "=&r"(sigma),
          [rotated] "=&r"(rotated), [x] "=&r"(x)
        : [a] "r"(a), [b] "r"(b), [c] "r"(c), [e] "r"(e), [f] "r"(f), [g] "r"(g), [input] "m"(input)
        : "cc");
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

TALVERN_TARGET(SHA512_FEATURES)
// NOLINTNEXTLINE(readability-function-size): unrolled
void compress(u64* state, const u8* data, std::size_t blocks) {
    alignas(16) u64 input[16];
    u64 a = state[0], b = state[1], c = state[2], d = state[3];
    u64 e = state[4], f = state[5], g = state[6], h = state[7];
    // Not in an array, which would leave the message on the stack.
    __m128i w0 = load_pair(data), w1 = load_pair(data + 16);
    __m128i w2 = load_pair(data + 32), w3 = load_pair(data + 48);
    __m128i w4 = load_pair(data + 64), w5 = load_pair(data + 80);
    __m128i w6 = load_pair(data + 96), w7 = load_pair(data + 112);
    put(input, w0, K_512.data());
    put(input + 2, w1, K_512.data() + 2);
    put(input + 4, w2, K_512.data() + 4);
    put(input + 6, w3, K_512.data() + 6);
    put(input + 8, w4, K_512.data() + 8);
    put(input + 10, w5, K_512.data() + 10);
    put(input + 12, w6, K_512.data() + 12);
    put(input + 14, w7, K_512.data() + 14);

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
