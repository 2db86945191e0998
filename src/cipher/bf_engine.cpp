// Blowfish (B. Schneier, Fast Software Encryption 1993): key schedule, block functions and kernel.
#include "cipher/bf_engine.h"

#include "cipher/block64.h"
#include "cipher/tables/bf.h"
#include "foundation/bytes.h"
#include "foundation/ct.h"
#include "foundation/scope.h"

using namespace vrq;

static_assert(sizeof(VRQ_BF_KEY) == 4168 && offsetof(VRQ_BF_KEY, s) == 72);

namespace vrq {

namespace {

constexpr u32 fail(u32 function, u32 reason) {
    return make_status(VRQ_L_BF_INTERFACE, function, reason);
}

struct Halves {
    u32 left;
    u32 right;
};

inline Halves operator^(const Halves& a, const Halves& b) {
    return {a.left ^ b.left, a.right ^ b.right};
}

inline u32 round_function(const VRQ_BF_KEY& key, u32 x) {
    return ((key.s[0][x >> 24] + key.s[1][x >> 16 & 0xFF]) ^ key.s[2][x >> 8 & 0xFF]) +
           key.s[3][x & 0xFF];
}

struct Blowfish {
    using Key = VRQ_BF_KEY;
    using State = Halves;
    static constexpr std::size_t kInFlight = 6;

    static State load(u64 block) {
        return {byte_swap(static_cast<u32>(block)), byte_swap(static_cast<u32>(block >> 32))};
    }
    static u64 store(const State& x) { return byte_swap(x.left) | u64{byte_swap(x.right)} << 32; }

    template <std::size_t N>
    static void encrypt(const Key& key, State (&x)[N]) {
        rounds<0, 1>(key, x);
    }
    template <std::size_t N>
    static void decrypt(const Key& key, State (&x)[N]) {
        rounds<17, -1>(key, x);
    }

  private:
    // Takes the words of P upwards or downwards. The barrier holds a word of P to the half that is
    // there already, so that only one exclusive or lies between the rounds.
    template <int kFirst, int kStep, std::size_t N>
    static void rounds(const Key& key, State (&x)[N]) {
        const u32* p = key.p + kFirst;
#pragma GCC unroll 8
        for (std::size_t i = 0; i < N; ++i) x[i].left ^= *p;
        for (int round = 0; round < 16; round += 2) {
#pragma GCC unroll 8
            for (std::size_t i = 0; i < N; ++i)
                x[i].right = ct::barrier(x[i].right ^ p[kStep]) ^ round_function(key, x[i].left);
#pragma GCC unroll 8
            for (std::size_t i = 0; i < N; ++i)
                x[i].left = ct::barrier(x[i].left ^ p[2 * kStep]) ^ round_function(key, x[i].right);
            p += 2 * kStep;
        }
#pragma GCC unroll 8
        for (std::size_t i = 0; i < N; ++i) x[i] = {x[i].right ^ p[kStep], x[i].left};
    }
};

constexpr BlockKernel<VRQ_BF_KEY> kKernels[] = {
    {0, "portable", Block64<Blowfish>::encrypt, Block64<Blowfish>::decrypt,
     Block64<Blowfish>::cbc_encrypt, Block64<Blowfish>::cfb_encrypt, Block64<Blowfish>::ofb,
     Block64<Blowfish>::cbc_decrypt, Block64<Blowfish>::cfb_decrypt, Block64<Blowfish>::ctr},
};

constinit std::atomic<const BlockKernel<VRQ_BF_KEY>*> g_kernel{nullptr};

} // namespace

const BlockKernel<VRQ_BF_KEY>& BfEngine::kernel() { return cpu::pick(kKernels, g_kernel); }
std::span<const BlockKernel<VRQ_BF_KEY>> BfEngine::kernels() { return kKernels; }

} // namespace vrq

u32 vrq_Init_Encrypt_BF_Key(const u8* key, i32 key_length, VRQ_BF_KEY* record) {
    if (key == nullptr || key_length <= 0 || record == nullptr)
        return fail(VRQ_F_INIT_BF_KEY, VRQ_ERR_INVALID_INPUT);

    *record = bf_tables::bf_init;
    const auto length = static_cast<u32>(key_length);
    u32 at = 0;
    for (u32& word : record->p) {
        u32 bytes = 0;
        for (u32 i = 0; i < 4; ++i) {
            bytes = bytes << 8 | key[at];
            at = at + 1 == length ? 0 : at + 1;
        }
        word ^= bytes;
    }

    Halves x[1] = {};
    const WipeOnExit guard(x);
    const auto replace = [&](u32* words, std::size_t count) {
        for (std::size_t i = 0; i < count; i += 2) {
            Blowfish::encrypt(*record, x);
            words[i] = x[0].left;
            words[i + 1] = x[0].right;
        }
    };
    replace(record->p, std::size(record->p));
    for (auto& box : record->s) replace(box, std::size(box));
    return 0;
}

void vrq_BF_Encrypt_Block(u32* block, const VRQ_BF_KEY* key) {
    if (block == nullptr || key == nullptr) return;
    Halves x[1] = {{block[0], block[1]}};
    Blowfish::encrypt(*key, x);
    block[0] = x[0].left;
    block[1] = x[0].right;
}

void vrq_BF_Decrypt_Block(u32* block, const VRQ_BF_KEY* key) {
    if (block == nullptr || key == nullptr) return;
    Halves x[1] = {{block[0], block[1]}};
    Blowfish::decrypt(*key, x);
    block[0] = x[0].left;
    block[1] = x[0].right;
}
