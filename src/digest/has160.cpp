// HAS-160 (TTAS.KO-12.0011/R2). The record stages input in its one block buffer and counts bits in two
// words, so it does not share the staged block hash of the other engines.
#include "foundation/bytes.h"
#include "foundation/wipe.h"
#include "talvern/digest.h"
#include "talvern/module.h"

#include <algorithm>
#include <bit>
#include <utility>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_HAS160, function, reason); }

// The record is part of the interface.
static_assert(sizeof(VRQ_HAS160_CTX) == 92 && offsetof(VRQ_HAS160_CTX, bit_count_low) == 20 &&
              offsetof(VRQ_HAS160_CTX, bit_count_high) == 24 &&
              offsetof(VRQ_HAS160_CTX, block) == 28);

constexpr std::size_t kBlock = 64;
constexpr std::size_t kLengthAt = 56;
constexpr u32 kInitial[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};

// Rotation of A in each of the twenty steps of a round, of B in each round, constant of each round.
constexpr int kRotateA[20] = {5, 11, 7, 15, 6, 13, 8, 14, 7, 12, 9, 11, 8, 15, 6, 12, 9, 14, 5, 13};
constexpr int kRotateB[4] = {10, 17, 25, 30};
constexpr u32 kRound[4] = {0x00000000, 0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC};

// Sixteen of the twenty steps of a round take one message word each, in this order; in front of each
// four stands a step that takes the XOR of four others: those at kSumOf, counted from 0, 4, 8 or 12.
constexpr std::size_t kWord[4][16] = {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15},
                                      {3, 6, 9, 12, 15, 2, 5, 8, 11, 14, 1, 4, 7, 10, 13, 0},
                                      {12, 5, 14, 7, 0, 9, 2, 11, 4, 13, 6, 15, 8, 1, 10, 3},
                                      {7, 2, 13, 8, 3, 14, 9, 4, 15, 10, 5, 0, 11, 6, 1, 12}};
constexpr std::size_t kSumOf[4] = {8, 12, 0, 4};

// The input of step I.
template <std::size_t I>
[[gnu::always_inline]] inline u32 input(const u32 (&x)[16]) {
    constexpr const std::size_t(&words)[16] = kWord[I / 20];
    constexpr std::size_t quarter = I % 20 / 5;
    if constexpr (I % 5 != 0) {
        return x[words[4 * quarter + I % 5 - 1]];
    } else {
        constexpr std::size_t first = kSumOf[quarter];
        return x[words[first]] ^ x[words[first + 1]] ^ x[words[first + 2]] ^ x[words[first + 3]];
    }
}

template <std::size_t Round>
[[gnu::always_inline]] inline u32 mix(u32 x, u32 y, u32 z) {
    if constexpr (Round == 0) return z ^ (x & (y ^ z));
    if constexpr (Round == 2) return y ^ (x | ~z);
    return x ^ y ^ z;
}

// Step I: v[(x - I) mod 5] is the variable that stands at x.
template <std::size_t I>
[[gnu::always_inline]] inline void step(u32 (&v)[5], const u32 (&x)[16]) {
    constexpr auto at = [](std::size_t place) { return (place + 80 - I) % 5; };
    constexpr std::size_t round = I / 20;
    u32 sum = v[at(4)] + input<I>(x) + kRound[round] + mix<round>(v[at(1)], v[at(2)], v[at(3)]);
    // Only the rotation of the newest variable and one addition belong to the chain between steps.
    __asm__("" : "+r"(sum));
    v[at(4)] = sum + std::rotl(v[at(0)], kRotateA[I % 20]);
    v[at(1)] = std::rotl(v[at(1)], kRotateB[round]);
}

void compress(u32* state, const u8* data, std::size_t blocks) {
    u32 x[16];
    u32 v[5];
    for (; blocks != 0; --blocks, data += kBlock) {
        for (std::size_t i = 0; i < 16; ++i) x[i] = load_le<u32>(data + 4 * i);
        for (std::size_t i = 0; i < 5; ++i) v[i] = state[i];
        [&]<std::size_t... I>(std::index_sequence<I...>) { (step<I>(v, x), ...); }
        (std::make_index_sequence<80>{});
        for (std::size_t i = 0; i < 5; ++i) state[i] += v[i];
    }
    wipe_object(x);
    wipe_object(v);
}

std::size_t fill_of(const VRQ_HAS160_CTX& c) { return c.bit_count_low / 8 % kBlock; }

void add_bytes(VRQ_HAS160_CTX& c, u32 length) {
    const u64 count = ((static_cast<u64>(c.bit_count_high) << 32) | c.bit_count_low) +
                      static_cast<u64>(length) * 8;
    c.bit_count_low = static_cast<u32>(count);
    c.bit_count_high = static_cast<u32>(count >> 32);
}

} // namespace

u32 vrq_Init_HAS160(void* context) {
    auto* c = static_cast<VRQ_HAS160_CTX*>(context);
    if (c == nullptr) return fail(VRQ_F_INIT_HAS160, VRQ_ERR_NULL_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    std::memcpy(c->state, kInitial, sizeof kInitial);
    c->bit_count_low = 0;
    c->bit_count_high = 0;
    return 0;
}

u32 vrq_Update_HAS160(void* context, const u8* data, u32 length) {
    auto* c = static_cast<VRQ_HAS160_CTX*>(context);
    if (c == nullptr) return fail(VRQ_F_UPDATE_HAS160, VRQ_ERR_NULL_INPUT);
    // Callers rely on the refusal of an empty update, unlike in the SHA engines.
    if (length == 0) return fail(VRQ_F_UPDATE_HAS160, VRQ_ERR_INVALID_INPUT);
    if (data == nullptr) return fail(VRQ_F_UPDATE_HAS160, VRQ_ERR_NULL_INPUT);

    const std::size_t fill = fill_of(*c);
    add_bytes(*c, length);
    std::size_t left = length;
    if (fill != 0) {
        const std::size_t taken = std::min(left, kBlock - fill);
        std::memcpy(c->block + fill, data, taken);
        if (fill + taken < kBlock) return 0;
        compress(c->state, c->block, 1);
        data += taken;
        left -= taken;
    }
    const std::size_t blocks = left / kBlock;
    compress(c->state, data, blocks);
    std::memcpy(c->block, data + blocks * kBlock, left % kBlock);
    return 0;
}

u32 vrq_Final_HAS160(void* context, u8* out) {
    auto* c = static_cast<VRQ_HAS160_CTX*>(context);
    if (c == nullptr || out == nullptr) return fail(VRQ_F_FINAL_HAS160, VRQ_ERR_NULL_INPUT);

    std::size_t fill = fill_of(*c);
    c->block[fill++] = 0x80;
    if (fill > kLengthAt) {
        std::memset(c->block + fill, 0, kBlock - fill);
        compress(c->state, c->block, 1);
        fill = 0;
    }
    std::memset(c->block + fill, 0, kLengthAt - fill);
    store_le(c->block + kLengthAt, c->bit_count_low);
    store_le(c->block + kLengthAt + 4, c->bit_count_high);
    compress(c->state, c->block, 1);
    for (std::size_t i = 0; i < 5; ++i) store_le(out + 4 * i, c->state[i]);
    return 0;
}

u32 comp_HAS160(VRQ_HAS160_CTX* context, const u8* block) {
    // This function has no code of its own.
    if (context == nullptr || block == nullptr)
        return fail(VRQ_F_UPDATE_HAS160, VRQ_ERR_NULL_INPUT);
    compress(context->state, block, 1);
    return 0;
}
