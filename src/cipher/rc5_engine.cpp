// RC5-32/12 (R. Rivest, Fast Software Encryption 1994; RFC 2040): key schedule, block functions and
// kernels.
#include "cipher/rc5_engine.h"

#include "cipher/block64.h"
#include "foundation/bytes.h"
#include "foundation/scope.h"

#include <algorithm>
#include <bit>

using namespace vrq;

static_assert(sizeof(VRQ_RC5_KEY) == 140 && offsetof(VRQ_RC5_KEY, rounds) == 136);

namespace vrq {

namespace {

constexpr u32 kRounds = 12;
constexpr u32 kTableWords = 2 * (kRounds + 1);
constexpr i32 kMaxKeyLength = 255;

// Odd((e - 2) * 2^32) and Odd((phi - 1) * 2^32).
constexpr u32 kP32 = 0xB7E15163;
constexpr u32 kQ32 = 0x9E3779B9;

u32 rotate_left(u32 x, u32 places) { return std::rotl(x, static_cast<int>(places & 31)); }
u32 rotate_right(u32 x, u32 places) { return std::rotr(x, static_cast<int>(places & 31)); }

struct Words {
    u32 a;
    u32 b;
};

inline Words operator^(const Words& x, const Words& y) { return {x.a ^ y.a, x.b ^ y.b}; }

struct Rc5 {
    using Key = VRQ_RC5_KEY;
    using State = Words;
    static constexpr std::size_t kInFlight = 5;

    static State load(u64 block) {
        return {static_cast<u32>(block), static_cast<u32>(block >> 32)};
    }
    static u64 store(const State& x) { return x.a | u64{x.b} << 32; }

    template <std::size_t N>
    static void encrypt(const Key& key, State (&x)[N]) {
        const u32* s = key.table;
#pragma GCC unroll 8
        for (std::size_t i = 0; i < N; ++i) x[i] = {x[i].a + s[0], x[i].b + s[1]};
        for (u32 round = 0; round < kRounds; ++round) {
            s += 2;
#pragma GCC unroll 8
            for (std::size_t i = 0; i < N; ++i)
                x[i].a = rotate_left(x[i].a ^ x[i].b, x[i].b) + s[0];
#pragma GCC unroll 8
            for (std::size_t i = 0; i < N; ++i)
                x[i].b = rotate_left(x[i].b ^ x[i].a, x[i].a) + s[1];
        }
    }

    template <std::size_t N>
    static void decrypt(const Key& key, State (&x)[N]) {
        const u32* s = key.table + 2 * kRounds;
        for (u32 round = 0; round < kRounds; ++round, s -= 2) {
#pragma GCC unroll 8
            for (std::size_t i = 0; i < N; ++i)
                x[i].b = rotate_right(x[i].b - s[1], x[i].a) ^ x[i].a;
#pragma GCC unroll 8
            for (std::size_t i = 0; i < N; ++i)
                x[i].a = rotate_right(x[i].a - s[0], x[i].b) ^ x[i].b;
        }
#pragma GCC unroll 8
        for (std::size_t i = 0; i < N; ++i) x[i] = {x[i].a - s[0], x[i].b - s[1]};
    }
};

constexpr BlockKernel<VRQ_RC5_KEY> kKernels[] = {
    {0, "portable", Block64<Rc5>::encrypt, Block64<Rc5>::decrypt, Block64<Rc5>::cbc_encrypt,
     Block64<Rc5>::cfb_encrypt, Block64<Rc5>::ofb, Block64<Rc5>::cbc_decrypt,
     Block64<Rc5>::cfb_decrypt, Block64<Rc5>::ctr},
};

constinit std::atomic<const BlockKernel<VRQ_RC5_KEY>*> g_kernel{nullptr};

} // namespace

const BlockKernel<VRQ_RC5_KEY>& Rc5Engine::kernel() { return cpu::pick(kKernels, g_kernel); }
std::span<const BlockKernel<VRQ_RC5_KEY>> Rc5Engine::kernels() { return kKernels; }

} // namespace vrq

u32 vrq_Init_Encrypt_RC5_Key(const u8* key, i32 key_length, VRQ_RC5_KEY* record) {
    if (key == nullptr || record == nullptr || key_length < 1 || key_length > kMaxKeyLength)
        return make_status(VRQ_L_RC5_INTERFACE, VRQ_F_INIT_RC5_KEY, VRQ_ERR_INVALID_INPUT);

    u32 words[(kMaxKeyLength + 3) / 4] = {};
    const WipeOnExit guard(words);
    const auto length = static_cast<std::size_t>(key_length);
    std::memcpy(words, key, length);
    const std::size_t num_words = (length + 3) / 4;

    record->rounds = static_cast<i32>(kRounds);
    u32* s = record->table;
    for (u32 i = 0; i < kTableWords; ++i) s[i] = kP32 + i * kQ32;

    u32 a = 0;
    u32 b = 0;
    std::size_t i = 0;
    std::size_t j = 0;
    for (std::size_t steps = 3 * std::max<std::size_t>(kTableWords, num_words); steps != 0;
         --steps) {
        a = s[i] = rotate_left(s[i] + a + b, 3);
        b = words[j] = rotate_left(words[j] + a + b, a + b);
        i = i + 1 == kTableWords ? 0 : i + 1;
        j = j + 1 == num_words ? 0 : j + 1;
    }
    return 0;
}

void vrq_RC5_Encrypt_Block(u32* block, const VRQ_RC5_KEY* key) {
    if (block == nullptr || key == nullptr) return;
    Words x[1] = {{block[0], block[1]}};
    Rc5::encrypt(*key, x);
    block[0] = x[0].a;
    block[1] = x[0].b;
}

void vrq_RC5_Decrypt_Block(u32* block, const VRQ_RC5_KEY* key) {
    if (block == nullptr || key == nullptr) return;
    Words x[1] = {{block[0], block[1]}};
    Rc5::decrypt(*key, x);
    block[0] = x[0].a;
    block[1] = x[0].b;
}
