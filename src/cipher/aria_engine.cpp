// ARIA (KS X 1213, RFC 5794).
//
// A round is a byte substitution followed by the diffusion layer A, which factors into four steps on
// 32-bit words: within each word every byte becomes the sum of the other three (done by the tables),
// every word becomes the sum of three words, the bytes within each word change places, and again
// every word becomes the sum of three. All steps are symmetric in the byte order, so words are
// little-endian here and neither blocks nor round keys are swapped.
#include "cipher/aria_engine.h"

#include "cipher/tables/aria.h"
#include "cipher/word_modes.h"
#include "foundation/scope.h"
#include "foundation/wipe.h"

#include <algorithm>
#include <bit>
#include <cstdio>

using namespace vrq;

static_assert(sizeof(VRQ_ARIA_KEY) == 548);
static_assert(offsetof(VRQ_ARIA_KEY, decrypt_keys) == 272);
static_assert(offsetof(VRQ_ARIA_KEY, rounds) == 544);

namespace {

constexpr u32 fail(u32 function, u32 reason) {
    return make_status(VRQ_L_ARIA_INTERFACE, function, reason);
}

using RoundKeys = u8[17][16];

constexpr i32 kMaxRounds = 16;

constexpr u32 byte_of(u32 word, u32 lane) { return word >> 8 * lane & 0xFF; }

constexpr u32 swap_pairs(u32 word) { return std::rotl(byte_swap(word), 16); }

// Odd rounds put the boxes S1, S2, X1, X2 on the four bytes of a word, even rounds X1, X2, S1, S2.
// Taking the tables in turned order gives the word of an even round turned by half its length,
// which the byte step of the diffusion layer makes good.
template <u32 First>
u32 substitute(u32 word) {
    return (aria::kSpread[First][byte_of(word, 0)] ^ aria::kSpread[First + 1][byte_of(word, 1)]) ^
           (aria::kSpread[First ^ 2][byte_of(word, 2)] ^
            aria::kSpread[(First ^ 2) + 1][byte_of(word, 3)]);
}

inline Words sum_three(const Words& x) {
    const u32 low = x.w[0] ^ x.w[1];
    const u32 high = x.w[2] ^ x.w[3];
    return {{low ^ x.w[2], high ^ x.w[0], low ^ x.w[3], high ^ x.w[1]}};
}

// The rest of the diffusion layer after its first step; turned as the words of an even round are.
template <bool Turned>
Words diffuse(const Words& words) {
    const Words x = sum_three(words);
    if constexpr (Turned)
        return sum_three({{std::rotl(x.w[0], 16), byte_swap(x.w[1]), x.w[2], swap_pairs(x.w[3])}});
    else
        return sum_three({{x.w[0], swap_pairs(x.w[1]), std::rotl(x.w[2], 16), byte_swap(x.w[3])}});
}

inline Words odd_round(const Words& x) {
    return diffuse<false>({{substitute<0>(x.w[0]), substitute<0>(x.w[1]), substitute<0>(x.w[2]),
                            substitute<0>(x.w[3])}});
}

inline Words even_round(const Words& x) {
    return diffuse<true>({{substitute<2>(x.w[0]), substitute<2>(x.w[1]), substitute<2>(x.w[2]),
                           substitute<2>(x.w[3])}});
}

// The substitution of the last round, without diffusion.
inline u32 last_substitute(u32 word) {
    return (aria::kSpread[2][byte_of(word, 0)] & 0xFFU) |
           (aria::kSpread[3][byte_of(word, 1)] & 0xFF00U) |
           (aria::kSpread[0][byte_of(word, 2)] & 0xFF0000U) |
           (aria::kSpread[1][byte_of(word, 3)] & 0xFF000000U);
}

inline Words last_round(const Words& x) {
    return {{last_substitute(x.w[0]), last_substitute(x.w[1]), last_substitute(x.w[2]),
             last_substitute(x.w[3])}};
}

// Several blocks side by side: one alone waits for its own lookups. The number of rounds is even for
// every key; a record that was never set up runs two, and no count leads out of the keys.
template <class... Block>
[[gnu::always_inline]] inline void crypt(const RoundKeys& keys, i32 rounds, Block&... x) {
    const u8* key = keys[0];
    const i32 count = std::min(rounds, kMaxRounds);
    for (i32 done = 2; done < count; done += 2, key += 32) {
        ((x = odd_round(x ^ load_words_le(key))), ...);
        ((x = even_round(x ^ load_words_le(key + 16))), ...);
    }
    ((x = odd_round(x ^ load_words_le(key))), ...);
    ((x = last_round(x ^ load_words_le(key + 16)) ^ load_words_le(key + 32)), ...);
}

void crypt_blocks(const RoundKeys& keys, i32 rounds, u8* out, const u8* in, std::size_t blocks) {
    for (; blocks >= 2; blocks -= 2, in += 32, out += 32) {
        Words x = load_words_le(in);
        Words y = load_words_le(in + 16);
        crypt(keys, rounds, x, y);
        store_words_le(out, x);
        store_words_le(out + 16, y);
    }
    if (blocks == 0) return;
    Words x = load_words_le(in);
    crypt(keys, rounds, x);
    store_words_le(out, x);
}

void encrypt_blocks(const VRQ_ARIA_KEY& key, u8* out, const u8* in, std::size_t blocks) {
    crypt_blocks(key.encrypt_keys, key.rounds, out, in, blocks);
}

void decrypt_blocks(const VRQ_ARIA_KEY& key, u8* out, const u8* in, std::size_t blocks) {
    crypt_blocks(key.decrypt_keys, key.rounds, out, in, blocks);
}

struct AriaBlock {
    using Key = VRQ_ARIA_KEY;
    static Words load(const u8* in) { return load_words_le(in); }
    static void store(u8* out, const Words& x) { store_words_le(out, x); }
    [[gnu::always_inline]] static Words encrypt(const Key& key, Words x) {
        crypt(key.encrypt_keys, key.rounds, x);
        return x;
    }
};

using WordModes = WordSerial<AriaBlock>;

constexpr BlockKernel<VRQ_ARIA_KEY> kRows[] = {
    {0, "portable", encrypt_blocks, decrypt_blocks, WordModes::cbc_encrypt, WordModes::cfb_encrypt,
     WordModes::ofb},
};

constinit std::atomic<const BlockKernel<VRQ_ARIA_KEY>*> g_kernel{nullptr};

// The key schedule's constants: the first 384 bits of the fractional part of 1/pi.
constexpr u32 kConstants[3][4] = {
    {0x517CC1B7, 0x27220A94, 0xFE13ABE8, 0xFA9A6EE0},
    {0x6DB14ACC, 0x9E21C820, 0xFF28B1D5, 0xEF5DE2B0},
    {0xDB92371D, 0x2126E970, 0x03249775, 0x04E8C90E},
};

inline Words constant(u32 number) {
    const u32(&c)[4] = kConstants[number % 3];
    return {{byte_swap(c[0]), byte_swap(c[1]), byte_swap(c[2]), byte_swap(c[3])}};
}

constexpr i32 rounds_for(i32 key_bits) {
    switch (key_bits) {
    case 128:
        return 12;
    case 192:
        return 14;
    case 256:
        return 16;
    default:
        return 0;
    }
}

// The four strings W0 to W3 that the round keys are made of: a Feistel network of three rounds over
// the key, filled up with zeros to 256 bits.
void initialize(u8* strings, const u8* key, i32 key_bits) {
    const u32 first = static_cast<u32>(key_bits - 128) / 64;
    SecretBytes<16> right;
    std::memset(right.data(), 0, 16);
    std::memcpy(right.data(), key + 16, static_cast<std::size_t>(key_bits - 128) / 8);

    Words w[4];
    const WipeOnExit guard(w);
    w[0] = load_words_le(key);
    w[1] = odd_round(w[0] ^ constant(first)) ^ load_words_le(right.data());
    w[2] = even_round(w[1] ^ constant(first + 1)) ^ w[0];
    w[3] = odd_round(w[2] ^ constant(first + 2)) ^ w[1];
    for (std::size_t i = 0; i < 4; ++i) store_words_le(strings + 16 * i, w[i]);
}

// out = a ^ b turned left by some bits, all strings of 128 bits, the most significant first.
inline void add_turned(u8* out, const u8* a, const u8* b, u32 bits) {
    const u8* const high = bits < 64 ? b : b + 8;
    const u8* const low = bits < 64 ? b + 8 : b;
    const u64 x = load_be<u64>(high);
    const u64 y = load_be<u64>(low);
    const u32 n = bits % 64; // never 0 here
    store_be(out, load_be<u64>(a) ^ (x << n | y >> (64 - n)));
    store_be(out + 8, load_be<u64>(a + 8) ^ (y << n | x >> (64 - n)));
}

// Right by 19 and 31, left by 61, 31 and 19; each turn serves four round keys.
constexpr u32 kTurns[5] = {128 - 19, 128 - 31, 61, 31, 19};

[[gnu::noinline]] i32 expand(u8* round_keys, const u8* key, i32 key_bits) {
    SecretBytes<64> strings;
    initialize(strings.data(), key, key_bits);
    const i32 rounds = rounds_for(key_bits);
    for (u32 i = 0; i <= static_cast<u32>(rounds); ++i) {
        add_turned(round_keys + 16 * i, strings.data() + 16 * (i % 4),
                   strings.data() + 16 * ((i + 1) % 4), kTurns[i / 4]);
    }
    return rounds;
}

// The diffusion layer alone, on one round key.
inline Words diffuse_key(const Words& x) {
    Words y;
    for (std::size_t i = 0; i < 4; ++i)
        y.w[i] = std::rotl(x.w[i], 8) ^ std::rotl(x.w[i], 16) ^ std::rotl(x.w[i], 24);
    return diffuse<false>(y);
}

[[gnu::noinline]] void turn_for_decryption(u8* round_keys, i32 rounds) {
    u8* low = round_keys;
    u8* high = round_keys + 16 * rounds;
    std::swap_ranges(low, low + 16, high);
    Words x;
    const WipeOnExit guard(x);
    for (low += 16, high -= 16; low <= high; low += 16, high -= 16) {
        x = diffuse_key(load_words_le(low));
        store_words_le(low, diffuse_key(load_words_le(high)));
        store_words_le(high, x);
    }
}

// Below the callers of the two functions above, which keep key words on the stack for want of
// registers.
constexpr std::size_t kSetUpStack = 512;

using SetUp = i32 (*)(const u8* key, u8* round_keys, i32 key_bits);

u32 init_key(const u8* key, i32 key_length, VRQ_ARIA_KEY* record, RoundKeys VRQ_ARIA_KEY::*area,
             SetUp set_up) {
    const bool known = key_length == 16 || key_length == 24 || key_length == 32;
    if (key == nullptr || record == nullptr || !known)
        return fail(VRQ_F_INIT_ARIA_KEY, VRQ_ERR_INVALID_INPUT);

    std::memset(record->*area, 0, sizeof(RoundKeys));
    record->rounds = set_up(key, (record->*area)[0], 8 * key_length);
    return 0;
}

} // namespace

const BlockKernel<VRQ_ARIA_KEY>& AriaEngine::kernel() { return cpu::pick(kRows, g_kernel); }

std::span<const BlockKernel<VRQ_ARIA_KEY>> AriaEngine::kernels() { return kRows; }

int32_t set_encrypt_key(const uint8_t* key, uint8_t* round_keys, int32_t key_bits) {
    if (key == nullptr || round_keys == nullptr || rounds_for(key_bits) == 0) return 0;
    const i32 rounds = expand(round_keys, key, key_bits);
    wipe_stack<kSetUpStack>();
    return rounds;
}

int32_t set_decrypt_key(const uint8_t* key, uint8_t* round_keys, int32_t key_bits) {
    const i32 rounds = set_encrypt_key(key, round_keys, key_bits);
    if (rounds == 0) return 0;
    turn_for_decryption(round_keys, rounds);
    wipe_stack<kSetUpStack>();
    return rounds;
}

uint32_t vrq_Init_Encrypt_ARIA_Key(const uint8_t* key, int32_t key_length, VRQ_ARIA_KEY* record) {
    return init_key(key, key_length, record, &VRQ_ARIA_KEY::encrypt_keys, set_encrypt_key);
}

uint32_t vrq_Init_Decrypt_ARIA_Key(const uint8_t* key, int32_t key_length, VRQ_ARIA_KEY* record) {
    return init_key(key, key_length, record, &VRQ_ARIA_KEY::decrypt_keys, set_decrypt_key);
}

void vrq_ARIA_Encrypt_Block(const uint8_t* in, uint8_t* out, const VRQ_ARIA_KEY* key) {
    if (in == nullptr || out == nullptr || key == nullptr) return;
    encrypt_blocks(*key, out, in, 1);
}

void vrq_ARIA_Decrypt_Block(const uint8_t* in, uint8_t* out, const VRQ_ARIA_KEY* key) {
    if (in == nullptr || out == nullptr || key == nullptr) return;
    decrypt_blocks(*key, out, in, 1);
}

void printBlockOfLength(const uint8_t* bytes, int32_t length) {
    if (bytes == nullptr) return;
    for (i32 i = 0; i < length; ++i) {
        if (i != 0 && i % 4 == 0) std::putchar(' ');
        std::printf("%02x", static_cast<unsigned>(bytes[i]));
    }
}

void printBlock(const uint8_t* bytes) { printBlockOfLength(bytes, 16); }
