// MD5 (RFC 1321). Every step waits for the one before it, so the time is the length of that chain: the
// step functions are written so that as little as possible comes after the newest variable.
#include "digest/block_hash.h"
#include "foundation/status.h"
#include "talvern/digest.h"
#include "talvern/module.h"

#include <array>
#include <utility>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_MD5, function, reason); }

// The record is part of the interface.
static_assert(sizeof(VRQ_MD5_CTX) == 160 && offsetof(VRQ_MD5_CTX, bit_count) == 64 &&
              offsetof(VRQ_MD5_CTX, block_fill) == 72 && offsetof(VRQ_MD5_CTX, state) == 76 &&
              offsetof(VRQ_MD5_CTX, staging) == 92 && offsetof(VRQ_MD5_CTX, staging_fill) == 156);

constexpr u32 kInitial[4] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};

// floor(2^32 * |sin(i + 1)|).
constexpr std::array<u32, 64> kSines = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391};

constexpr int kRotations[4][4] = {
    {7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

// The message word of step i.
constexpr std::size_t word_of(std::size_t i) {
    constexpr std::size_t kFactor[4] = {1, 5, 3, 7};
    constexpr std::size_t kOffset[4] = {0, 1, 5, 0};
    return (kFactor[i / 16] * i + kOffset[i / 16]) % 16;
}

// Keeps the compiler from regrouping a sum across this point, which would lengthen the chain.
[[gnu::always_inline]] inline void settle(u32& x) { __asm__("" : "+r"(x)); }

// Step I: v[(x - I) mod 4] is the variable that stands at x; the one at 1 (B) is the newest.
template <std::size_t I>
[[gnu::always_inline]] inline void step(u32 (&v)[4], const u8* data) {
    constexpr auto at = [](std::size_t x) { return (x + 64 - I) % 4; };
    const u32 b = v[at(1)];
    const u32 c = v[at(2)];
    const u32 d = v[at(3)];
    u32 sum = v[at(0)] + load_le<u32>(data + 4 * word_of(I)) + kSines[I];
    if constexpr (I < 16) {
        settle(sum);
        sum += d ^ (b & (c ^ d));
    } else if constexpr (I < 32) {
        // The two parts have no bit in common, so that they can be added one after the other.
        sum += c & ~d;
        settle(sum);
        sum += b & d;
    } else if constexpr (I < 48) {
        settle(sum);
        u32 older = c ^ d;
        settle(older);
        sum += b ^ older;
    } else {
        settle(sum);
        sum += c ^ (b | ~d);
    }
    v[at(0)] = b + std::rotl(sum, kRotations[I / 16][I % 4]);
}

struct Md5 {
    using Context = VRQ_MD5_CTX;
    using Word = u32;
    static constexpr std::size_t kBlock = 64;
    static constexpr std::size_t kLengthField = 8;
    static constexpr std::endian kByteOrder = std::endian::little;
    static u32* state(Context& c) { return c.state; }

    static void compress(u32* state, const u8* data, std::size_t blocks) {
        u32 v[4] = {state[0], state[1], state[2], state[3]};
        for (; blocks != 0; --blocks, data += kBlock) {
            [&]<std::size_t... I>(std::index_sequence<I...>) { (step<I>(v, data), ...); }
            (std::make_index_sequence<64>{});
            for (std::size_t i = 0; i < 4; ++i) v[i] = state[i] += v[i];
        }
        wipe_object(v);
    }
};

} // namespace

u32 vrq_Init_MD5(void* context) {
    if (context == nullptr) return fail(VRQ_F_INIT_MD5, VRQ_ERR_NULL_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    BlockHash<Md5>::init(*static_cast<VRQ_MD5_CTX*>(context), kInitial);
    return 0;
}

u32 vrq_Update_MD5(void* context, const u8* data, u32 length) {
    auto* c = static_cast<VRQ_MD5_CTX*>(context);
    if (c == nullptr || data == nullptr) return fail(VRQ_F_UPDATE_MD5, VRQ_ERR_NULL_INPUT);
    // Callers rely on the refusal of an empty update, unlike in the SHA engines.
    if (length == 0) return fail(VRQ_F_UPDATE_MD5, VRQ_ERR_INVALID_INPUT);
    if (c->block_fill > Md5::kBlock || !BlockHash<Md5>::update(*c, data, length))
        return fail(VRQ_F_UPDATE_MD5, VRQ_ERR_SUB_OPERATION_FAILURE);
    return 0;
}

u32 vrq_Final_MD5(void* context, u8* out) {
    auto* c = static_cast<VRQ_MD5_CTX*>(context);
    if (c == nullptr || out == nullptr) return fail(VRQ_F_FINAL_MD5, VRQ_ERR_NULL_INPUT);
    if (!BlockHash<Md5>::finish(*c)) return fail(VRQ_F_FINAL_MD5, VRQ_ERR_SUB_OPERATION_FAILURE);
    BlockHash<Md5>::put_digest(c->state, out, 16);
    return 0;
}

u32 comp_MD5(VRQ_MD5_CTX* context, const u8* block) {
    // This function has no code of its own.
    if (context == nullptr || block == nullptr) return fail(VRQ_F_UPDATE_MD5, VRQ_ERR_NULL_INPUT);
    Md5::compress(context->state, block, 1);
    return 0;
}
