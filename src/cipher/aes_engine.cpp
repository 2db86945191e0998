// AES (FIPS 197): the portable implementation by tables, the choice of kernels, and the exported
// key and block functions.
#include "cipher/aes_engine.h"

#include "cipher/tables/aes.h"
#include "cipher/word_modes.h"
#include "foundation/fatal.h"

#include <algorithm>

using namespace vrq;

static_assert(sizeof(VRQ_AES_KEY) == 244 && offsetof(VRQ_AES_KEY, rounds) == 240);

namespace vrq {

namespace {

using namespace aes_tables;

constexpr u32 fail(u32 reason) {
    return make_status(VRQ_L_AES_INTERFACE, VRQ_F_INIT_AES_KEY, reason);
}

constexpr u32 lane(u32 word, u32 number) { return word >> (24 - 8 * number) & 0xFF; }

// A column after SubBytes, ShiftRows and MixColumns: ShiftRows takes lane n from the column n
// further on.
u32 encrypt_column(u32 s0, u32 s1, u32 s2, u32 s3) {
    return E_Table0[lane(s0, 0)] ^ E_Table1[lane(s1, 1)] ^ E_Table2[lane(s2, 2)] ^
           E_Table3[lane(s3, 3)];
}

u32 encrypt_last_column(u32 s0, u32 s1, u32 s2, u32 s3) {
    return E_Table4_0[lane(s0, 0)] | E_Table4_1[lane(s1, 1)] | E_Table4_2[lane(s2, 2)] |
           E_Table4_3[lane(s3, 3)];
}

u32 decrypt_column(u32 s0, u32 s1, u32 s2, u32 s3) {
    return D_Table0[lane(s0, 0)] ^ D_Table1[lane(s1, 1)] ^ D_Table2[lane(s2, 2)] ^
           D_Table3[lane(s3, 3)];
}

u32 decrypt_last_column(u32 s0, u32 s1, u32 s2, u32 s3) {
    return D_Table4[lane(s0, 0)] << 24 | D_Table4[lane(s1, 1)] << 16 | D_Table4[lane(s2, 2)] << 8 |
           D_Table4[lane(s3, 3)];
}

using Column = u32 (*)(u32, u32, u32, u32);

// InvShiftRows takes lane n from the column n before.
template <Column kColumn, bool kInverse>
Words round(const Words& s, const u32* round_key) {
    constexpr u32 k1 = kInverse ? 3 : 1;
    constexpr u32 k3 = kInverse ? 1 : 3;
    Words t = {{kColumn(s.w[0], s.w[k1], s.w[2], s.w[k3]) ^ round_key[0],
                kColumn(s.w[1], s.w[(1 + k1) % 4], s.w[3], s.w[(1 + k3) % 4]) ^ round_key[1],
                kColumn(s.w[2], s.w[(2 + k1) % 4], s.w[0], s.w[(2 + k3) % 4]) ^ round_key[2],
                kColumn(s.w[3], s.w[(3 + k1) % 4], s.w[1], s.w[(3 + k3) % 4]) ^ round_key[3]}};
    keep_apart(t);
    return t;
}

template <Column kColumn, Column kLast, bool kInverse>
Words cipher(const VRQ_AES_KEY& key, const Words& x) {
    const u32* round_key = key.round_keys;
    Words s = {{x.w[0] ^ round_key[0], x.w[1] ^ round_key[1], x.w[2] ^ round_key[2],
                x.w[3] ^ round_key[3]}};
    keep_apart(s);
    for (u32 left = aes::rounds(key) - 1; left != 0; --left)
        s = round<kColumn, kInverse>(s, round_key += 4);
    return round<kLast, kInverse>(s, round_key + 4);
}

struct Block {
    using Key = VRQ_AES_KEY;
    static Words load(const u8* in) { return load_words_be(in); }
    static void store(u8* out, const Words& x) { store_words_be(out, x); }
    static Words encrypt(const Key& key, const Words& x) {
        return cipher<encrypt_column, encrypt_last_column, false>(key, x);
    }
    static Words decrypt(const Key& key, const Words& x) {
        return cipher<decrypt_column, decrypt_last_column, true>(key, x);
    }
};

void encrypt(const VRQ_AES_KEY& key, u8* out, const u8* in, std::size_t blocks) {
    for (; blocks != 0; --blocks, out += 16, in += 16)
        Block::store(out, Block::encrypt(key, Block::load(in)));
}

void decrypt(const VRQ_AES_KEY& key, u8* out, const u8* in, std::size_t blocks) {
    for (; blocks != 0; --blocks, out += 16, in += 16)
        Block::store(out, Block::decrypt(key, Block::load(in)));
}

u32 sub_word(u32 word) {
    return E_Table4_0[lane(word, 0)] | E_Table4_1[lane(word, 1)] | E_Table4_2[lane(word, 2)] |
           E_Table4_3[lane(word, 3)];
}

// FIPS 197, 5.2.
void expand(VRQ_AES_KEY& key, const u8* bytes, u32 length) {
    const u32 key_words = length / 4; // 4, 6 or 8
    key.rounds = static_cast<i32>(key_words + 6);
    const u32 words = 4 * (key_words + 7);
    u32* w = key.round_keys;

    for (u32 i = 0; i < key_words; ++i) w[i] = load_be<u32>(bytes + 4 * std::size_t{i});
    u32 constant = 1;
    u32 place = 0; // in the turn of key_words
    for (u32 i = key_words; i < words; ++i) {
        u32 word = w[i - 1];
        if (place == 0) {
            word = sub_word(word << 8 | word >> 24) ^ constant << 24;
            constant = aes::doubled(constant);
        } else if (key_words == 8 && place == 4) {
            word = sub_word(word);
        }
        w[i] = w[i - key_words] ^ word;
        if (++place == key_words) place = 0;
    }
}

// FIPS 197, 5.3.5: the round keys backwards, InvMixColumns applied to the inner ones.
void invert(VRQ_AES_KEY& key) {
    u32* w = key.round_keys;
    const u32 last = 4 * aes::rounds(key);
    for (u32 low = 0, high = last; low < high; low += 4, high -= 4)
        std::swap_ranges(w + low, w + low + 4, w + high);
    for (u32 i = 4; i < last; ++i) {
        w[i] = K_Sched0[lane(w[i], 0)] ^ K_Sched1[lane(w[i], 1)] ^ K_Sched2[lane(w[i], 2)] ^
               K_Sched3[lane(w[i], 3)];
    }
}

constexpr BlockKernel<VRQ_AES_KEY> kKernels[] = {
#if defined(__x86_64__) && !defined(TALVERN_PORTABLE)
    {cpu::kVaes | cpu::kAvx512 | cpu::kAesNi | cpu::kSsse3, "vaes-avx512", aes::encrypt_vaes,
     aes::decrypt_vaes, aes::cbc_encrypt_vaes, aes::cfb_encrypt_vaes, aes::ofb_vaes,
     aes::cbc_decrypt_vaes, aes::cfb_decrypt_vaes, aes::ctr_vaes},
    {cpu::kAesNi | cpu::kSsse3, "aes-ni", aes::encrypt_ni, aes::decrypt_ni, aes::cbc_encrypt_ni,
     aes::cfb_encrypt_ni, aes::ofb_ni, aes::cbc_decrypt_ni, aes::cfb_decrypt_ni, aes::ctr_ni},
#endif
    {0, "portable", encrypt, decrypt, WordSerial<Block>::cbc_encrypt,
     WordSerial<Block>::cfb_encrypt, WordSerial<Block>::ofb},
};

constexpr AesKeyKernel kKeyKernels[] = {
#if defined(__x86_64__) && !defined(TALVERN_PORTABLE)
    {cpu::kAesNi | cpu::kSsse3, "aes-ni", aes::expand_ni, aes::invert_ni},
#endif
    {0, "portable", expand, invert},
};

constinit std::atomic<const BlockKernel<VRQ_AES_KEY>*> g_kernel{nullptr};
constinit std::atomic<const AesKeyKernel*> g_key_kernel{nullptr};

const AesKeyKernel& key_kernel() { return cpu::pick(kKeyKernels, g_key_kernel); }

} // namespace

const BlockKernel<VRQ_AES_KEY>& AesEngine::kernel() { return cpu::pick(kKernels, g_kernel); }
std::span<const BlockKernel<VRQ_AES_KEY>> AesEngine::kernels() { return kKernels; }
std::span<const AesKeyKernel> aes_key_kernels() { return kKeyKernels; }

} // namespace vrq

u32 vrq_Init_Encrypt_AES_Key(const u8* key, i32 length, VRQ_AES_KEY* record) {
    if (key == nullptr || record == nullptr) return fail(VRQ_ERR_INVALID_INPUT);
    if (length != 16 && length != 24 && length != 32) return fail(VRQ_ERR_INVALID_INPUT);
    key_kernel().expand(*record, key, static_cast<u32>(length));
    return 0;
}

u32 vrq_Init_Decrypt_AES_Key(const u8* key, i32 length, VRQ_AES_KEY* record) {
    if (const u32 s = vrq_Init_Encrypt_AES_Key(key, length, record); s != 0) return s;
    key_kernel().invert(*record);
    return 0;
}

void vrq_AES_Encrypt_Block(const u8* in, u8* out, const VRQ_AES_KEY* key) {
    require(in != nullptr && out != nullptr && key != nullptr, "in && out && key", "aes_engine.c");
    AesEngine::kernel().encrypt(*key, out, in, 1);
}

void vrq_AES_Decrypt_Block(const u8* in, u8* out, const VRQ_AES_KEY* key) {
    require(in != nullptr && out != nullptr && key != nullptr, "in && out && key", "aes_engine.c");
    AesEngine::kernel().decrypt(*key, out, in, 1);
}
