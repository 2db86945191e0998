// SEED (KISA, RFC 4269) with a 128-bit key, and its variant with a 256-bit key.
//
// A Feistel network on two halves of two big-endian words, of 16 or 24 rounds; the count of round-key
// words in the record tells which.
#include "cipher/seed_engine.h"

#include "cipher/tables/seed.h"
#include "cipher/word_modes.h"
#include "foundation/scope.h"

#include <algorithm>
#include <bit>

using namespace vrq;

// The exported table is a second name of one that the engine itself reaches without indirection.
extern "C" {
[[gnu::visibility("hidden")]] extern const seed::Tables talvern_seed_tables;
alignas(64) constinit const seed::Tables talvern_seed_tables = seed::make_tables();
[[gnu::alias("talvern_seed_tables")]] extern const uint32_t SEED_BOX[4][256];
}

static_assert(sizeof(seed::Tables) == sizeof SEED_BOX);
static_assert(sizeof(VRQ_SEED_KEY) == 196);
static_assert(offsetof(VRQ_SEED_KEY, num_words) == 192);

namespace {

constexpr u32 kMaxWords = 48;

// Round-key words in use, in whole pairs of rounds; a record that was never set up has none.
inline u32 words_in_use(const VRQ_SEED_KEY& key) {
    return key.num_words <= 0 ? 0 : std::min(static_cast<u32>(key.num_words), kMaxWords) & ~3U;
}

inline u32 g(u32 x) {
    const auto& ss = talvern_seed_tables.ss;
    return ss[0][x & 0xFF] ^ ss[1][x >> 8 & 0xFF] ^ ss[2][x >> 16 & 0xFF] ^ ss[3][x >> 24];
}

// Adds F of the half (r0, r1) to the half (l0, l1).
inline void round(u32& l0, u32& l1, u32 r0, u32 r1, const u32* key) {
    u32 c = r0 ^ key[0];
    u32 d = g(r1 ^ key[1] ^ c);
    c = g(c + d);
    d = g(d + c);
    l0 ^= c + d;
    l1 ^= d;
}

enum class Order { kForward, kBackward };

// Several blocks side by side: one alone waits for its own lookups. Two rounds a turn, so that no
// halves change places.
template <Order O, class... Block>
[[gnu::always_inline]] inline void crypt(const VRQ_SEED_KEY& key, Block&... x) {
    constexpr bool kForward = O == Order::kForward;
    const u32 count = words_in_use(key);
    for (u32 done = 0; done < count; done += 4) {
        const u32* k = key.round_keys + (kForward ? done : count - 4 - done);
        (round(x.w[0], x.w[1], x.w[2], x.w[3], kForward ? k : k + 2), ...);
        (round(x.w[2], x.w[3], x.w[0], x.w[1], kForward ? k + 2 : k), ...);
    }
    ((x = {{x.w[2], x.w[3], x.w[0], x.w[1]}}), ...);
}

template <Order O>
void crypt_blocks(const VRQ_SEED_KEY& key, u8* out, const u8* in, std::size_t blocks) {
    for (; blocks >= 2; blocks -= 2, in += 32, out += 32) {
        Words x = load_words_be(in);
        Words y = load_words_be(in + 16);
        crypt<O>(key, x, y);
        store_words_be(out, x);
        store_words_be(out + 16, y);
    }
    if (blocks == 0) return;
    Words x = load_words_be(in);
    crypt<O>(key, x);
    store_words_be(out, x);
}

struct SeedBlock {
    using Key = VRQ_SEED_KEY;
    static Words load(const u8* in) { return load_words_be(in); }
    static void store(u8* out, const Words& x) { store_words_be(out, x); }
    [[gnu::always_inline]] static Words encrypt(const Key& key, Words x) {
        crypt<Order::kForward>(key, x);
        return x;
    }
};

using WordModes = WordSerial<SeedBlock>;

constexpr BlockKernel<VRQ_SEED_KEY> kRows[] = {
    {0, "portable", crypt_blocks<Order::kForward>, crypt_blocks<Order::kBackward>,
     WordModes::cbc_encrypt, WordModes::cfb_encrypt, WordModes::ofb},
};

constinit std::atomic<const BlockKernel<VRQ_SEED_KEY>*> g_kernel{nullptr};

// KC of the standard: the golden ratio constant turned left by one bit a round.
constexpr u32 round_constant(u32 round) { return std::rotl(0x9E3779B9U, static_cast<int>(round)); }

constexpr u32 kRounds128 = 16;
constexpr u32 kRounds256 = 24;

// Turns a string of 32-bit words, the first most significant, by 8 bits.
inline void turn_left_8(u32& high, u32& low) {
    const u32 h = high;
    high = h << 8 | low >> 24;
    low = low << 8 | h >> 24;
}

inline void turn_right_8(u32& high, u32& low) {
    const u32 h = high;
    high = h >> 8 | low << 24;
    low = low >> 8 | h << 24;
}

// Turns a string of four words right by 0 < bits < 32.
inline void turn_right(u32* w, u32 bits) {
    const u32 last = w[3];
    for (std::size_t i = 3; i != 0; --i) w[i] = w[i] >> bits | w[i - 1] << (32 - bits);
    w[0] = w[0] >> bits | last << (32 - bits);
}

inline void turn_left(u32* w, u32 bits) {
    const u32 first = w[0];
    for (std::size_t i = 0; i != 3; ++i) w[i] = w[i] << bits | w[i + 1] >> (32 - bits);
    w[3] = w[3] << bits | first >> (32 - bits);
}

// The turns before rounds 1 to 23 of the 256-bit key schedule come in this order, each amount twice:
// on the first half of the key, then on the second.
constexpr u32 kTurns[3] = {9, 11, 12};

void expand_128(u32* round_keys, const u8* key) {
    Words x = load_words_be(key);
    const WipeOnExit guard(x);
    for (u32 i = 0; i < kRounds128; ++i) {
        round_keys[2 * i] = g(x.w[0] + x.w[2] - round_constant(i));
        round_keys[2 * i + 1] = g(x.w[1] - x.w[3] + round_constant(i));
        if (i % 2 == 0)
            turn_right_8(x.w[0], x.w[1]);
        else
            turn_left_8(x.w[2], x.w[3]);
    }
}

void expand_256(u32* round_keys, const u8* key) {
    Words a = load_words_be(key);
    Words b = load_words_be(key + 16);
    const WipeOnExit guard_a(a);
    const WipeOnExit guard_b(b);
    for (u32 i = 0; i < kRounds256; ++i) {
        if (i % 2 != 0)
            turn_right(a.w, kTurns[(i - 1) / 2 % 3]);
        else if (i != 0)
            turn_left(b.w, kTurns[(i - 1) / 2 % 3]);
        round_keys[2 * i] = g((((a.w[0] + a.w[2]) ^ b.w[0]) - b.w[1]) ^ round_constant(i));
        round_keys[2 * i + 1] = g((((a.w[1] - a.w[3]) ^ b.w[2]) + b.w[3]) ^ round_constant(i));
    }
}

} // namespace

const BlockKernel<VRQ_SEED_KEY>& SeedEngine::kernel() { return cpu::pick(kRows, g_kernel); }

std::span<const BlockKernel<VRQ_SEED_KEY>> SeedEngine::kernels() { return kRows; }

uint32_t vrq_Init_Encrypt_SEED_Key(const uint8_t* key, VRQ_SEED_KEY* record) {
    if (key == nullptr || record == nullptr) return 0;
    expand_128(record->round_keys, key);
    record->num_words = 2 * kRounds128;
    return 0;
}

uint32_t vrq_Init_Encrypt_SEED_Key_256(const uint8_t* key, VRQ_SEED_KEY* record) {
    if (key == nullptr || record == nullptr) return 0;
    expand_256(record->round_keys, key);
    record->num_words = 2 * kRounds256;
    return 0;
}

void vrq_SEED_Encrypt_Block(const uint8_t* in, uint8_t* out, const VRQ_SEED_KEY* key) {
    if (in == nullptr || out == nullptr || key == nullptr) return;
    crypt_blocks<Order::kForward>(*key, out, in, 1);
}

void vrq_SEED_Decrypt_Block(const uint8_t* in, uint8_t* out, const VRQ_SEED_KEY* key) {
    if (in == nullptr || out == nullptr || key == nullptr) return;
    crypt_blocks<Order::kBackward>(*key, out, in, 1);
}
