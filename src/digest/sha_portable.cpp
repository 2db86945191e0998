// SHA-1 and SHA-2 compression in plain words (FIPS 180-4, 6.1, 6.2 and 6.4). The message schedule is a
// ring of 16 words. Sixteen rounds are unrolled at a time, so that the working variables change places
// by their index alone.
#include "digest/sha_constants.h"
#include "digest/sha_kernels.h"
#include "foundation/bytes.h"
#include "foundation/wipe.h"

#include <bit>
#include <utility>

namespace vrq {

alignas(64) constinit const std::array<u32, 64> K_256 = sha_constants::round_constants_256();
alignas(64) constinit const std::array<u64, 80> K_512 = sha_constants::round_constants_512();

namespace {

static_assert(sha_constants::round_constants_256()[63] == 0xC67178F2);
static_assert(sha_constants::round_constants_512()[1] == 0x7137449123EF65CD &&
              sha_constants::round_constants_512()[79] == 0x6C44198C4A475817);

template <class Word>
constexpr Word choice(Word x, Word y, Word z) {
    return z ^ (x & (y ^ z));
}
template <class Word>
constexpr Word majority(Word x, Word y, Word z) {
    return (x & y) | (z & (x | y));
}

// Calls step(I) for I = 0 to N - 1 with I known at compile time.
template <std::size_t N, class Step>
[[gnu::always_inline]] inline void unrolled(Step step) {
    [&]<std::size_t... I>(std::index_sequence<I...>) __attribute__((always_inline)) {
        (step(std::integral_constant<std::size_t, I>{}), ...);
    }
    (std::make_index_sequence<N>{});
}

struct Schedule256 {
    using Word = u32;
    static constexpr std::size_t kRounds = 64;
    static Word constant(std::size_t i) { return K_256[i]; }
    static Word big0(Word x) { return std::rotr(x, 2) ^ std::rotr(x, 13) ^ std::rotr(x, 22); }
    static Word big1(Word x) { return std::rotr(x, 6) ^ std::rotr(x, 11) ^ std::rotr(x, 25); }
    static Word small0(Word x) { return std::rotr(x, 7) ^ std::rotr(x, 18) ^ (x >> 3); }
    static Word small1(Word x) { return std::rotr(x, 17) ^ std::rotr(x, 19) ^ (x >> 10); }
};

struct Schedule512 {
    using Word = u64;
    static constexpr std::size_t kRounds = 80;
    static Word constant(std::size_t i) { return K_512[i]; }
    static Word big0(Word x) { return std::rotr(x, 28) ^ std::rotr(x, 34) ^ std::rotr(x, 39); }
    static Word big1(Word x) { return std::rotr(x, 14) ^ std::rotr(x, 18) ^ std::rotr(x, 41); }
    static Word small0(Word x) { return std::rotr(x, 1) ^ std::rotr(x, 8) ^ (x >> 7); }
    static Word small1(Word x) { return std::rotr(x, 19) ^ std::rotr(x, 61) ^ (x >> 6); }
};

// Round number I of sixteen: v[(x - I) mod 8] is the working variable that stands at x.
template <class S, std::size_t I, class Word = typename S::Word>
[[gnu::always_inline]] inline void sha2_round(Word (&v)[8], Word input) {
    constexpr auto at = [](std::size_t x) { return (x - I) % 8; };
    const Word t = v[at(7)] + input + S::big1(v[at(4)]) + choice(v[at(4)], v[at(5)], v[at(6)]);
    v[at(3)] += t;
    v[at(7)] = t + S::big0(v[at(0)]) + majority(v[at(0)], v[at(1)], v[at(2)]);
}

template <class S, class Word = typename S::Word>
void sha2_compress(Word* state, const u8* data, std::size_t blocks) {
    Word w[16];
    Word v[8];
    for (; blocks != 0; --blocks, data += sizeof w) {
        for (std::size_t i = 0; i < 8; ++i) v[i] = state[i];
        unrolled<16>([&](auto i) {
            w[i] = load_be<Word>(data + i * sizeof(Word));
            sha2_round<S, i>(v, w[i] + S::constant(i));
        });
        for (std::size_t first = 16; first < S::kRounds; first += 16) {
            unrolled<16>([&](auto i) {
                w[i] += S::small0(w[(i + 1) % 16]) + w[(i + 9) % 16] + S::small1(w[(i + 14) % 16]);
                sha2_round<S, i>(v, w[i] + S::constant(first + i));
            });
        }
        for (std::size_t i = 0; i < 8; ++i) state[i] += v[i];
    }
    wipe_object(w);
    wipe_object(v);
}

// SHA-1: the function of each twenty rounds, and its constant.
template <std::size_t Quarter>
u32 sha1_mix(u32 x, u32 y, u32 z) {
    if constexpr (Quarter == 0) return choice(x, y, z) + 0x5A827999;
    if constexpr (Quarter == 1) return (x ^ y ^ z) + 0x6ED9EBA1;
    if constexpr (Quarter == 2) return majority(x, y, z) + 0x8F1BBCDC;
    return (x ^ y ^ z) + 0xCA62C1D6;
}

template <std::size_t I>
[[gnu::always_inline]] inline void sha1_round(u32 (&v)[5], u32 (&w)[16]) {
    constexpr auto at = [](std::size_t x) { return (x + 80 - I) % 5; };
    if constexpr (I >= 16)
        w[I % 16] = std::rotl(w[(I + 13) % 16] ^ w[(I + 8) % 16] ^ w[(I + 2) % 16] ^ w[I % 16], 1);
    v[at(4)] += std::rotl(v[at(0)], 5) + sha1_mix<I / 20>(v[at(1)], v[at(2)], v[at(3)]) + w[I % 16];
    v[at(1)] = std::rotl(v[at(1)], 30);
}

} // namespace

void sha1_portable(u32* state, const u8* data, std::size_t blocks) {
    u32 w[16];
    u32 v[5];
    for (; blocks != 0; --blocks, data += sizeof w) {
        for (std::size_t i = 0; i < 16; ++i) w[i] = load_be<u32>(data + 4 * i);
        for (std::size_t i = 0; i < 5; ++i) v[i] = state[i];
        unrolled<80>([&](auto i) { sha1_round<i>(v, w); });
        for (std::size_t i = 0; i < 5; ++i) state[i] += v[i];
    }
    wipe_object(w);
    wipe_object(v);
}

void sha256_portable(u32* state, const u8* data, std::size_t blocks) {
    sha2_compress<Schedule256>(state, data, blocks);
}

void sha512_portable(u64* state, const u8* data, std::size_t blocks) {
    sha2_compress<Schedule512>(state, data, blocks);
}

} // namespace vrq
