// LEA (KS X 3246, ISO/IEC 29192-2): additions modulo 2^32, rotations and exclusive ors on
// little-endian words; no tables, so nothing secret selects an address.
#include "cipher/lea_engine.h"

#include "cipher/lea_kernels.h"
#include "cipher/word_modes.h"
#include "foundation/scope.h"
#include "foundation/wipe.h"

#include <algorithm>
#include <bit>
#include <utility>

using namespace vrq;

static_assert(sizeof(VRQ_LEA_KEY) == 772);
static_assert(offsetof(VRQ_LEA_KEY, rounds) == 768);

u32 lea::turns(const Key& key) {
    constexpr u32 kMaxRounds = 32;
    return key.rounds <= 0 ? 0 : std::min(static_cast<u32>(key.rounds), kMaxRounds) / 4;
}

void lea::wipe_bytes(u8* data, std::size_t size) { wipe(data, size); }
void lea::wipe_below() { wipe_stack(); }

namespace {

// One round; the words change names by one place a round.
inline void forward(u32& a, u32& b, u32& c, u32& d, const u32* k) {
    d = std::rotr((c ^ k[4]) + (d ^ k[5]), 3);
    c = std::rotr((b ^ k[2]) + (c ^ k[3]), 5);
    b = std::rotl((a ^ k[0]) + (b ^ k[1]), 9);
}

// The inverse. Each word waits for the one before; the key words that meet on the way are joined
// first, so that one exclusive or less lies between them.
inline void backward(const u32& a, u32& b, u32& c, u32& d, const u32* k) {
    const u32 x = std::rotr(b, 9) - (a ^ k[0]);
    const u32 y = std::rotl(c, 5) - (x ^ (k[1] ^ k[2]));
    const u32 z = std::rotl(d, 3) - (y ^ (k[3] ^ k[4]));
    b = x ^ k[1];
    c = y ^ k[3];
    d = z ^ k[5];
}

[[gnu::always_inline]] inline Words encrypt(const VRQ_LEA_KEY& key, Words x) {
    auto& [a, b, c, d] = x.w;
    const u32* k = key.round_keys;
    for (u32 turns = lea::turns(key); turns != 0; --turns, k += 24) {
        forward(a, b, c, d, k);
        forward(b, c, d, a, k + 6);
        forward(c, d, a, b, k + 12);
        forward(d, a, b, c, k + 18);
    }
    return x;
}

[[gnu::always_inline]] inline Words decrypt(const VRQ_LEA_KEY& key, Words x) {
    auto& [a, b, c, d] = x.w;
    for (u32 turns = lea::turns(key); turns != 0; --turns) {
        const u32* k = key.round_keys + 24 * (turns - 1);
        backward(d, a, b, c, k + 18);
        backward(c, d, a, b, k + 12);
        backward(b, c, d, a, k + 6);
        backward(a, b, c, d, k);
    }
    return x;
}

} // namespace

void lea::encrypt_words(const VRQ_LEA_KEY& key, u8* out, const u8* in, std::size_t blocks) {
    for (; blocks != 0; --blocks, in += 16, out += 16)
        store_words_le(out, encrypt(key, load_words_le(in)));
}

void lea::decrypt_words(const VRQ_LEA_KEY& key, u8* out, const u8* in, std::size_t blocks) {
    for (; blocks != 0; --blocks, in += 16, out += 16)
        store_words_le(out, decrypt(key, load_words_le(in)));
}

namespace {

struct LeaBlock {
    using Key = VRQ_LEA_KEY;
    static Words load(const u8* in) { return load_words_le(in); }
    static void store(u8* out, const Words& x) { store_words_le(out, x); }
    [[gnu::always_inline]] static Words encrypt(const Key& key, const Words& x) {
        return ::encrypt(key, x);
    }
};

namespace lanes {

using vrq::lea::Key;

#define LEA_LANES 4
#define LEA_SETS 2
#define LEA_MIN_LANES 3
#define LEA_LOW32 0, 4, 1, 5
#define LEA_HIGH32 2, 6, 3, 7
#define LEA_LOW64 0, 2
#define LEA_HIGH64 1, 3
#include "cipher/lea_lanes.inc"

} // namespace lanes

using WordModes = WordSerial<LeaBlock>;

constexpr BlockKernel<VRQ_LEA_KEY> kRows[] = {
#if defined(__x86_64__) && !defined(TALVERN_PORTABLE)
    {cpu::kAvx512, "avx512", lea::encrypt_avx512, lea::decrypt_avx512, WordModes::cbc_encrypt,
     WordModes::cfb_encrypt, WordModes::ofb},
    {cpu::kAvx2, "avx2", lea::encrypt_avx2, lea::decrypt_avx2, WordModes::cbc_encrypt,
     WordModes::cfb_encrypt, WordModes::ofb},
#endif
    {0, "portable", lanes::crypt<lanes::Encrypt>, lanes::crypt<lanes::Decrypt>,
     WordModes::cbc_encrypt, WordModes::cfb_encrypt, WordModes::ofb},
};

constinit std::atomic<const BlockKernel<VRQ_LEA_KEY>*> g_kernel{nullptr};

// The key schedule's constants delta.
constexpr u32 kDelta[8] = {0xC3EFE9DB, 0x44626B02, 0x79E27C8A, 0x78DF30EC,
                           0x715EA49E, 0xC785DA0A, 0xE04EF22A, 0xE5C40957};

constexpr u32 delta(std::size_t number, std::size_t turn) {
    return std::rotl(kDelta[number], static_cast<int>(turn % 32));
}

// A round of the schedule for a key of 4, 6 or 8 words; every index and constant is known when it is
// compiled, so the schedules are straight sequences of additions and rotations.
template <std::size_t Round>
inline void expand_round(u32 (&t)[4], u32* k) {
    constexpr std::size_t d = Round % 4;
    t[0] = std::rotl(t[0] + delta(d, Round), 1);
    t[1] = std::rotl(t[1] + delta(d, Round + 1), 3);
    t[2] = std::rotl(t[2] + delta(d, Round + 2), 6);
    t[3] = std::rotl(t[3] + delta(d, Round + 3), 11);
    k[0] = t[0];
    k[1] = k[3] = k[5] = t[1];
    k[2] = t[2];
    k[4] = t[3];
}

template <std::size_t Round>
inline void expand_round(u32 (&t)[6], u32* k) {
    constexpr std::size_t d = Round % 6;
    t[0] = std::rotl(t[0] + delta(d, Round), 1);
    t[1] = std::rotl(t[1] + delta(d, Round + 1), 3);
    t[2] = std::rotl(t[2] + delta(d, Round + 2), 6);
    t[3] = std::rotl(t[3] + delta(d, Round + 3), 11);
    t[4] = std::rotl(t[4] + delta(d, Round + 4), 13);
    t[5] = std::rotl(t[5] + delta(d, Round + 5), 17);
    for (std::size_t i = 0; i < 6; ++i) k[i] = t[i];
}

template <std::size_t Round>
inline void expand_round(u32 (&t)[8], u32* k) {
    constexpr std::size_t d = Round % 8;
    constexpr int kTurns[6] = {1, 3, 6, 11, 13, 17};
    for (std::size_t i = 0; i < 6; ++i) {
        u32& word = t[(6 * Round + i) % 8];
        word = std::rotl(word + delta(d, Round + i), kTurns[i]);
        k[i] = word;
    }
}

template <std::size_t N, std::size_t... Round>
void expand(u32* round_keys, const u8* key, std::index_sequence<Round...>) {
    u32 t[N];
    const WipeOnExit guard(t);
    for (std::size_t i = 0; i < N; ++i) t[i] = load_le<u32>(key + 4 * i);
    (expand_round<Round>(t, round_keys + 6 * Round), ...);
}

} // namespace

const BlockKernel<VRQ_LEA_KEY>& LeaEngine::kernel() { return cpu::pick(kRows, g_kernel); }

std::span<const BlockKernel<VRQ_LEA_KEY>> LeaEngine::kernels() { return kRows; }

uint32_t vrq_Init_Encrypt_LEA_Key(const uint8_t* key, int32_t key_length, VRQ_LEA_KEY* record) {
    if (key == nullptr || record == nullptr) return 1;
    switch (key_length) {
    case 16:
        expand<4>(record->round_keys, key, std::make_index_sequence<24>());
        record->rounds = 24;
        return 0;
    case 24:
        expand<6>(record->round_keys, key, std::make_index_sequence<28>());
        record->rounds = 28;
        return 0;
    case 32:
        expand<8>(record->round_keys, key, std::make_index_sequence<32>());
        record->rounds = 32;
        return 0;
    default:
        return 1;
    }
}

void vrq_LEA_Encrypt_Block(const uint8_t* in, uint8_t* out, const VRQ_LEA_KEY* key) {
    if (in == nullptr || out == nullptr || key == nullptr) return;
    lea::encrypt_words(*key, out, in, 1);
}

void vrq_LEA_Decrypt_Block(const uint8_t* in, uint8_t* out, const VRQ_LEA_KEY* key) {
    if (in == nullptr || out == nullptr || key == nullptr) return;
    lea::decrypt_words(*key, out, in, 1);
}
