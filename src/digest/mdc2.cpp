// MDC-2 with DES (ISO/IEC 10118-2, there the hash function with DES): each block of eight
// bytes is enciphered under two keys made from the chaining value. The two encryptions are independent
// and run side by side. DES is table-driven; messages whose bytes must not show in cache timing do not
// belong in MDC-2.
#include "digest/mdc2_des.h"
#include "foundation/bytes.h"
#include "foundation/scope.h"
#include "talvern/digest.h"
#include "talvern/module.h"

#include <algorithm>
#include <utility>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_MDC2, function, reason); }

// The record is part of the interface.
static_assert(sizeof(VRQ_MDC2_CTX) == 32 && offsetof(VRQ_MDC2_CTX, pending) == 4 &&
              offsetof(VRQ_MDC2_CTX, h) == 12 && offsetof(VRQ_MDC2_CTX, hh) == 20 &&
              offsetof(VRQ_MDC2_CTX, padding_type) == 28);

constexpr std::size_t kBlock = 8;
constexpr u32 kZeroPadding = 1;
constexpr u32 kBitPadding = 2;

constinit const mdc2_des::Choice2Table kChoice2 = mdc2_des::choice2_table();

// The top bits of the first key byte tell the two keys apart. In a little-endian load it is the lowest.
constexpr u64 kMarkMask = 0x60;
constexpr u64 kMarkFirst = 0x40;
constexpr u64 kMarkSecond = 0x20;
constexpr u64 kFirstHalf = 0xFFFFFFFF00000000; // of a big-endian load

constexpr u32 kHalfKeyMask = 0x0FFFFFFF;

u32 rotate28(u32 x, int n) { return ((x << n) | (x >> (28 - n))) & kHalfKeyMask; }

// Transposes the 8 by 8 bit matrix whose rows are the bytes.
u64 transpose(u64 x) {
    u64 t = (x ^ (x >> 7)) & 0x00AA00AA00AA00AA;
    x ^= t ^ (t << 7);
    t = (x ^ (x >> 14)) & 0x0000CCCC0000CCCC;
    x ^= t ^ (t << 14);
    t = (x ^ (x >> 28)) & 0x00000000F0F0F0F0;
    return x ^ t ^ (t << 28);
}

// Round keys of a key that was loaded little-endian. Permuted choice 1 is a transposition: C is its
// first 28 bits, D its next rows in reverse.
void set_round_keys(VRQ_MDC2_DES_KEY& key, u64 user_key) {
    const u64 rows = transpose(user_key);
    u32 c = static_cast<u32>(rows >> 36);
    u32 d = static_cast<u32>((rows >> 8 & 0xFF) << 20 | (rows >> 16 & 0xFF) << 12 |
                             (rows >> 24 & 0xFF) << 4 | (rows >> 32 & 0x0F));
    for (std::size_t round = 0; round < 16; ++round) {
        c = rotate28(c, mdc2_des::kShifts[round]);
        d = rotate28(d, mdc2_des::kShifts[round]);
        const u64 both = kChoice2[0][c >> 21] | kChoice2[1][c >> 14 & 127] |
                         kChoice2[2][c >> 7 & 127] | kChoice2[3][c & 127] | kChoice2[4][d >> 21] |
                         kChoice2[5][d >> 14 & 127] | kChoice2[6][d >> 7 & 127] |
                         kChoice2[7][d & 127];
        key.round_key[round][0] = static_cast<u32>(both >> 32);
        key.round_key[round][1] = static_cast<u32>(both);
    }
}

// Exchanges the bits of b under the mask with those of a that stand `shift` higher.
void exchange(u32& a, u32& b, int shift, u32 mask) {
    const u32 t = ((a >> shift) ^ b) & mask;
    b ^= t;
    a ^= t << shift;
}

struct Halves {
    u32 left;
    u32 right;
};

// Initial permutation, both halves rotated left by one.
Halves initial_permutation(u32 l, u32 r) {
    exchange(l, r, 4, 0x0F0F0F0F);
    exchange(l, r, 16, 0x0000FFFF);
    exchange(r, l, 2, 0x33333333);
    exchange(r, l, 8, 0x00FF00FF);
    r = std::rotl(r, 1);
    exchange(l, r, 0, 0xAAAAAAAA);
    return {std::rotl(l, 1), r};
}

// The inverse, after the last exchange of halves; the left half of the result is the first word.
Halves final_permutation(Halves x) {
    u32 l = x.left;
    u32 r = std::rotr(x.right, 1);
    exchange(l, r, 0, 0xAAAAAAAA);
    l = std::rotr(l, 1);
    exchange(l, r, 8, 0x00FF00FF);
    exchange(l, r, 2, 0x33333333);
    exchange(r, l, 16, 0x0000FFFF);
    exchange(r, l, 4, 0x0F0F0F0F);
    return {r, l};
}

u32 cipher_function(u32 half, const u32 (&key)[2]) {
    const u32 odd = std::rotr(half, 4) ^ key[0];
    const u32 even = half ^ key[1];
    const auto& sp = MDC2_DES_SPBox;
    return (sp[0][odd >> 24 & 63] ^ sp[2][odd >> 16 & 63]) ^
           (sp[4][odd >> 8 & 63] ^ sp[6][odd & 63]) ^
           (sp[1][even >> 24 & 63] ^ sp[3][even >> 16 & 63]) ^
           (sp[5][even >> 8 & 63] ^ sp[7][even & 63]);
}

void two_rounds(Halves& x, const VRQ_MDC2_DES_KEY& key, std::size_t round) {
    x.left ^= cipher_function(x.right, key.round_key[round]);
    x.right ^= cipher_function(x.left, key.round_key[round + 1]);
}

u64 joined(Halves x) { return static_cast<u64>(x.left) << 32 | x.right; }

void compress(VRQ_MDC2_CTX& c, const u8* data, std::size_t blocks) {
    VRQ_MDC2_DES_KEY first_key;
    VRQ_MDC2_DES_KEY second_key;
    const WipeOnExit wipe_first(first_key);
    const WipeOnExit wipe_second(second_key);

    u64 h = load_be<u64>(c.h);
    u64 hh = load_be<u64>(c.hh);
    for (; blocks != 0; --blocks, data += kBlock) {
        // The method also sets odd parity, which DES does not look at.
        set_round_keys(first_key, (byte_swap(h) & ~kMarkMask) | kMarkFirst);
        set_round_keys(second_key, (byte_swap(hh) & ~kMarkMask) | kMarkSecond);
        Halves x = initial_permutation(load_be<u32>(data), load_be<u32>(data + 4));
        Halves y = x;
        for (std::size_t round = 0; round < 16; round += 2) {
            two_rounds(x, first_key, round);
            two_rounds(y, second_key, round);
        }
        const u64 block = load_be<u64>(data);
        const u64 first = joined(final_permutation(x)) ^ block;
        const u64 second = joined(final_permutation(y)) ^ block;
        h = (first & kFirstHalf) | (second & ~kFirstHalf);
        hh = (second & kFirstHalf) | (first & ~kFirstHalf);
    }
    store_be(c.h, h);
    store_be(c.hh, hh);
}

} // namespace

// A C array cannot be returned by a function, so the entries are listed by their indices.
#define SP_4(box, in)                                                                              \
    mdc2_des::sp_entry(box, in), mdc2_des::sp_entry(box, (in) + 1),                                \
        mdc2_des::sp_entry(box, (in) + 2), mdc2_des::sp_entry(box, (in) + 3)
#define SP_16(box, in) SP_4(box, in), SP_4(box, (in) + 4), SP_4(box, (in) + 8), SP_4(box, (in) + 12)
#define SP_BOX(box)                                                                                \
    { SP_16(box, 0), SP_16(box, 16), SP_16(box, 32), SP_16(box, 48) }

alignas(64) constinit const u32 MDC2_DES_SPBox[8][64] = {
    SP_BOX(0), SP_BOX(1), SP_BOX(2), SP_BOX(3), SP_BOX(4), SP_BOX(5), SP_BOX(6), SP_BOX(7)};

// Every byte with its lowest bit set so that the number of ones is odd.
#define ODD(byte) ((byte)&0xFE) | (std::popcount(static_cast<unsigned>((byte)&0xFE)) % 2 == 0)
#define ODD_4(byte) ODD(byte), ODD((byte) + 1), ODD((byte) + 2), ODD((byte) + 3)
#define ODD_16(byte) ODD_4(byte), ODD_4((byte) + 4), ODD_4((byte) + 8), ODD_4((byte) + 12)
#define ODD_64(byte) ODD_16(byte), ODD_16((byte) + 16), ODD_16((byte) + 32), ODD_16((byte) + 48)

constinit const u8 MDC2_DES_OddParityBit_Array[256] = {ODD_64(0), ODD_64(64), ODD_64(128),
                                                       ODD_64(192)};

void init_MDC2_DES_KEY(VRQ_MDC2_DES_KEY* key, const u8* user_key) {
    if (key == nullptr || user_key == nullptr) return;
    set_round_keys(*key, load_le<u64>(user_key));
}

void encrypt_MDC2_DES_Block(u32* block, const VRQ_MDC2_DES_KEY* key) {
    if (block == nullptr || key == nullptr) return;
    Halves x = initial_permutation(byte_swap(block[0]), byte_swap(block[1]));
    for (std::size_t round = 0; round < 16; round += 2) two_rounds(x, *key, round);
    x = final_permutation(x);
    block[0] = byte_swap(x.left);
    block[1] = byte_swap(x.right);
}

u32 mdc2_comp(VRQ_MDC2_CTX* context, const u8* block) {
    // This function has no code of its own.
    if (context == nullptr || block == nullptr) return fail(VRQ_F_UPDATE_MDC2, VRQ_ERR_NULL_INPUT);
    compress(*context, block, 1);
    return 0;
}

u32 vrq_Init_MDC2(void* context) {
    if (VRQ_Is_Proven() == 1) return fail(VRQ_F_INIT_MDC2, VRQ_ERR_NOT_PROVEN_ALGORITHM);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    auto* c = static_cast<VRQ_MDC2_CTX*>(context);
    if (c == nullptr) return fail(VRQ_F_INIT_MDC2, VRQ_ERR_NULL_INPUT);
    c->fill = 0;
    c->padding_type = kZeroPadding;
    std::memset(c->h, 0x52, sizeof c->h);
    std::memset(c->hh, 0x25, sizeof c->hh);
    return 0;
}

u32 vrq_Update_MDC2(void* context, const u8* data, u32 length) {
    auto* c = static_cast<VRQ_MDC2_CTX*>(context);
    if (c == nullptr || data == nullptr) return fail(VRQ_F_UPDATE_MDC2, VRQ_ERR_NULL_INPUT);
    if (c->fill > kBlock) return fail(VRQ_F_UPDATE_MDC2, VRQ_ERR_SUB_OPERATION_FAILURE);

    std::size_t left = length;
    if (c->fill != 0) {
        const std::size_t taken = std::min(left, kBlock - c->fill);
        std::memcpy(c->pending + c->fill, data, taken);
        c->fill += static_cast<u32>(taken);
        if (c->fill < kBlock) return 0;
        compress(*c, c->pending, 1);
        c->fill = 0;
        data += taken;
        left -= taken;
    }
    const std::size_t blocks = left / kBlock;
    if (blocks != 0) compress(*c, data, blocks);
    std::memcpy(c->pending, data + blocks * kBlock, left % kBlock);
    c->fill = static_cast<u32>(left % kBlock);
    return 0;
}

u32 vrq_Final_MDC2(void* context, u8* out) {
    auto* c = static_cast<VRQ_MDC2_CTX*>(context);
    if (c == nullptr || out == nullptr) return fail(VRQ_F_FINAL_MDC2, VRQ_ERR_NULL_INPUT);

    const bool adds_bit = c->padding_type == kBitPadding;
    if (std::size_t{c->fill} + (adds_bit ? 1 : 0) > kBlock)
        return fail(VRQ_F_FINAL_MDC2, VRQ_ERR_SUB_OPERATION_FAILURE);
    if (adds_bit) c->pending[c->fill++] = 0x80;
    if (c->fill != 0 || c->padding_type != kZeroPadding) {
        std::memset(c->pending + c->fill, 0, kBlock - c->fill);
        compress(*c, c->pending, 1);
    }
    std::memcpy(out, c->h, sizeof c->h);
    std::memcpy(out + sizeof c->h, c->hh, sizeof c->hh);
    return 0;
}
