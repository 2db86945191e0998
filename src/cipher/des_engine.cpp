// DES and triple DES (FIPS 46-3): tables, key schedule, block functions and kernels.
//
// A block is kept as the two halves behind the initial permutation, so that in the serial modes the
// permutations stay outside the chain, and between the three passes of triple DES they cancel.
#include "cipher/des_engine.h"

#include "cipher/block64.h"
#include "cipher/tables/des.h"
#include "foundation/bytes.h"
#include "foundation/ct.h"

#include <algorithm>
#include <bit>

using namespace vrq;

static_assert(sizeof(VRQ_DES_KEY) == 128 && sizeof(VRQ_DES_EDE_KEY) == 384);

namespace vrq {

namespace {

constexpr u32 fail(u32 function, u32 reason) {
    return make_status(VRQ_L_DES_INTERFACE, function, reason);
}

alignas(64) constexpr des_tables::ByteBoxes kBoxes = des_tables::make_byte_boxes();
alignas(64) constexpr des_tables::KeyPieces kPieces = des_tables::make_key_pieces();

// Swaps the bits of b under the mask with those of a that stand shift places higher.
template <u32 kShift, u32 kMask>
inline void exchange(u32& a, u32& b) {
    const u32 difference = ((a >> kShift) ^ b) & kMask;
    b ^= difference;
    a ^= difference << kShift;
}

// Both halves behind the initial permutation, each rotated left by one bit (tables/des.h).
struct Halves {
    u32 left;
    u32 right;
};

inline Halves operator^(const Halves& a, const Halves& b) {
    return {a.left ^ b.left, a.right ^ b.right};
}

// The initial permutation as a transposition of the bits of the block, in five steps of exchanges.
inline Halves permute(u64 block) {
    u32 left = byte_swap(static_cast<u32>(block));
    u32 right = byte_swap(static_cast<u32>(block >> 32));
    exchange<4, 0x0F0F0F0F>(left, right);
    exchange<16, 0x0000FFFF>(left, right);
    exchange<2, 0x33333333>(right, left);
    exchange<8, 0x00FF00FF>(right, left);
    right = std::rotl(right, 1);
    exchange<0, 0xAAAAAAAA>(left, right);
    return {std::rotl(left, 1), right};
}

// Its inverse.
inline u64 unpermute(const Halves& halves) {
    u32 left = std::rotr(halves.left, 1);
    u32 right = halves.right;
    exchange<0, 0xAAAAAAAA>(left, right);
    right = std::rotr(right, 1);
    exchange<8, 0x00FF00FF>(right, left);
    exchange<2, 0x33333333>(right, left);
    exchange<16, 0x0000FFFF>(left, right);
    exchange<4, 0x0F0F0F0F>(left, right);
    return byte_swap(left) | u64{byte_swap(right)} << 32;
}

inline u32 lane(u32 word, u32 number) { return word >> (24 - 8 * number) & 0xFF; }

// One round: the other half, with f(half) on it. The sums are held as a tree, its deepest branch the
// look-ups that come last (the odd boxes wait for the rotation, the inner lanes for a shift):
// compilers would make one long chain of them.
inline u32 add_round(u32 other, u32 half, const u32* round_key) {
    const u32 odd = std::rotr(half, 4) ^ round_key[0];
    const u32 even = half ^ round_key[1];
    const u32 p = other ^ kBoxes.box[1][lane(even, 0)] ^ kBoxes.box[7][lane(even, 3)];
    const u32 q = kBoxes.box[3][lane(even, 1)] ^ kBoxes.box[5][lane(even, 2)];
    const u32 r = kBoxes.box[0][lane(odd, 0)] ^ kBoxes.box[6][lane(odd, 3)];
    const u32 t = kBoxes.box[2][lane(odd, 1)] ^ kBoxes.box[4][lane(odd, 2)];
    return ct::barrier(ct::barrier(p) ^ ct::barrier(q)) ^
           ct::barrier(ct::barrier(r) ^ ct::barrier(t));
}

// 16 rounds. The halves are swapped behind the last, as the final permutation expects them.
template <std::size_t N>
inline void run_rounds(const VRQ_DES_KEY& key, Halves (&x)[N]) {
    for (std::size_t round = 0; round < 16; round += 2) {
#pragma GCC unroll 8
        for (std::size_t i = 0; i < N; ++i)
            x[i].left = add_round(x[i].left, x[i].right, key.round_keys[round]);
#pragma GCC unroll 8
        for (std::size_t i = 0; i < N; ++i)
            x[i].right = add_round(x[i].right, x[i].left, key.round_keys[round + 1]);
    }
#pragma GCC unroll 8
    for (std::size_t i = 0; i < N; ++i) std::swap(x[i].left, x[i].right);
}

struct Permuted {
    using State = Halves;
    static State load(u64 block) { return permute(block); }
    static u64 store(const State& state) { return unpermute(state); }
};

struct Des : Permuted {
    using Key = VRQ_DES_KEY;
    static constexpr std::size_t kInFlight = 5;

    template <std::size_t N>
    static void encrypt(const Key& key, State (&x)[N]) {
        run_rounds(key, x);
    }
    template <std::size_t N>
    static void decrypt(const Key& key, State (&x)[N]) {
        run_rounds(key, x);
    }
};

struct DesEde : Permuted {
    using Key = VRQ_DES_EDE_KEY;
    static constexpr std::size_t kInFlight = 5;

    template <std::size_t N>
    static void encrypt(const Key& key, State (&x)[N]) {
        run_rounds(key.keys[0], x);
        run_rounds(key.keys[1], x);
        run_rounds(key.keys[2], x);
    }
    template <std::size_t N>
    static void decrypt(const Key& key, State (&x)[N]) {
        encrypt(key, x);
    }
};

// The order of the round keys makes the direction: decryption is encryption.
template <class Block>
constexpr BlockKernel<typename Block::Key> kPortable = {
    .needs = 0,
    .name = "portable",
    .encrypt = Block64<Block>::encrypt,
    .decrypt = Block64<Block>::encrypt,
    .cbc_encrypt = Block64<Block>::cbc_encrypt,
    .cfb_encrypt = Block64<Block>::cfb_encrypt,
    .ofb = Block64<Block>::ofb,
    .cbc_decrypt = Block64<Block>::cbc_decrypt,
    .cfb_decrypt = Block64<Block>::cfb_decrypt,
    .ctr = Block64<Block>::ctr,
};

constexpr BlockKernel<VRQ_DES_KEY> kKernels[] = {kPortable<Des>};
constexpr BlockKernel<VRQ_DES_EDE_KEY> kEdeKernels[] = {kPortable<DesEde>};

constinit std::atomic<const BlockKernel<VRQ_DES_KEY>*> g_kernel{nullptr};
constinit std::atomic<const BlockKernel<VRQ_DES_EDE_KEY>*> g_ede_kernel{nullptr};

// Swaps the bits of x under the mask with those that stand shift places higher.
template <u32 kShift, u64 kMask>
u64 exchange(u64 x) {
    const u64 difference = ((x >> kShift) ^ x) & kMask;
    return x ^ difference ^ difference << kShift;
}

// Permuted choice 1 reads the columns of the key as a matrix of 8 by 8 bits, from its last byte to
// its first: C is columns 1 to 3 and the upper half of 4, D is columns 7 to 5 and the lower half of
// 4. Column 8 is the parity bits. Result: C in the bits from 28 up, D below.
u64 choose_1(const u8* key) {
    u64 columns = load_le<u64>(key);
    columns = exchange<7, 0x00AA00AA00AA00AA>(columns);
    columns = exchange<14, 0x0000CCCC0000CCCC>(columns);
    columns = exchange<28, 0x00000000F0F0F0F0>(columns);
    const u64 c = columns >> 36;
    const u64 d = (columns >> 8 & 0xFF) << 20 | (columns >> 16 & 0xFF) << 12 |
                  (columns >> 24 & 0xFF) << 4 | (columns >> 32 & 0xF);
    return c << 28 | d;
}

// Rotates both halves of the key state left.
u64 rotate_halves(u64 halves, u32 places) {
    constexpr u64 kLowBits = 0x00000010000001;
    const u64 wrapped = kLowBits * ((1U << places) - 1);
    return (halves << places & ~wrapped & 0x00FFFFFFFFFFFFFF) | (halves >> (28 - places) & wrapped);
}

u64 choose_2(u64 halves) {
    u64 words = 0;
    for (u32 i = 0; i < 8; ++i) words |= kPieces.piece[i][halves >> (49 - 7 * i) & 0x7F];
    return words;
}

void expand(const u8* key, VRQ_DES_KEY& record, bool encrypt) {
    u64 halves = choose_1(key);
    for (u32 round = 0; round < 16; ++round) {
        halves = rotate_halves(halves, des_tables::LCShitSchedule[round]);
        const u64 words = choose_2(halves);
        u32* round_key = record.round_keys[encrypt ? round : 15 - round];
        round_key[0] = static_cast<u32>(words);
        round_key[1] = static_cast<u32>(words >> 32);
    }
}

} // namespace

const BlockKernel<VRQ_DES_KEY>& DesEngine::kernel() { return cpu::pick(kKernels, g_kernel); }
std::span<const BlockKernel<VRQ_DES_KEY>> DesEngine::kernels() { return kKernels; }

const BlockKernel<VRQ_DES_EDE_KEY>& DesEdeEngine::kernel() {
    return cpu::pick(kEdeKernels, g_ede_kernel);
}
std::span<const BlockKernel<VRQ_DES_EDE_KEY>> DesEdeEngine::kernels() { return kEdeKernels; }

} // namespace vrq

u32 vrq_Init_Encrypt_DES_Key(const u8* key, VRQ_DES_KEY* record, i32 direction) {
    if (key != nullptr && record != nullptr) expand(key, *record, direction != 0);
    return 0;
}

u32 vrq_Init_Encrypt_DES_EDE_KEY(const u8* key, i32 key_length, VRQ_DES_EDE_KEY* record,
                                 i32 direction) {
    if (key == nullptr || record == nullptr || (key_length != 16 && key_length != 24))
        return fail(VRQ_F_INIT_ENCRYPT_DES_EDE_KEY, VRQ_ERR_INVALID_INPUT);

    const bool encrypt = direction != 0;
    const u8* third = key_length == 24 ? key + 16 : key;
    expand(encrypt ? key : third, record->keys[0], encrypt);
    expand(key + 8, record->keys[1], !encrypt);
    expand(encrypt ? third : key, record->keys[2], encrypt);
    return 0;
}

void vrq_DES_Encrypt_Block(const u8* in, u8* out, const VRQ_DES_KEY* key) {
    if (in == nullptr || out == nullptr || key == nullptr) return;
    DesEngine::kernel().encrypt(*key, out, in, 1);
}

void vrq_DES_Encrypt_Block2(const u8* in, u8* out, const VRQ_DES_KEY* key) {
    if (in == nullptr || out == nullptr || key == nullptr) return;

    using namespace des_tables;
    Halves x = permute(load_le<u64>(in));
    for (const u32* round_key : key->round_keys) {
        const u32 odd = std::rotr(x.right, 4) ^ round_key[0];
        const u32 even = x.right ^ round_key[1];
        const u32 f = SPBox_1[odd >> 24 & 63] ^ SPBox_3[odd >> 16 & 63] ^ SPBox_5[odd >> 8 & 63] ^
                      SPBox_7[odd & 63] ^ SPBox_2[even >> 24 & 63] ^ SPBox_4[even >> 16 & 63] ^
                      SPBox_6[even >> 8 & 63] ^ SPBox_8[even & 63];
        x = {x.right, x.left ^ f};
    }
    store_le(out, unpermute({x.right, x.left}));
}

void DES_EDE_encrypt_block(const u8* in, u8* out, const VRQ_DES_EDE_KEY* key) {
    if (in == nullptr || out == nullptr || key == nullptr) return;
    DesEdeEngine::kernel().encrypt(*key, out, in, 1);
}
