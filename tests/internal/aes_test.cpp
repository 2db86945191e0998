// AES kernels of this processor against the portable one, and the exported tables.
#include "cipher/aes_engine.h"

#include "harness/vectors.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace {

using test::Bytes;
using Kernel = vrq::BlockKernel<VRQ_AES_KEY>;

Bytes random_bytes(std::size_t size) {
    static std::mt19937 engine(61);
    Bytes out(size);
    for (uint8_t& byte : out) byte = static_cast<uint8_t>(engine());
    return out;
}

template <class Row>
std::vector<const Row*> usable(std::span<const Row> rows) {
    std::vector<const Row*> out;
    for (const Row& row : rows) {
        if (vrq::cpu::has(row.needs)) out.push_back(&row);
    }
    EXPECT_STREQ("portable", out.back()->name);
    return out;
}

struct Keys {
    VRQ_AES_KEY encrypt{};
    VRQ_AES_KEY decrypt{};
};

Keys expand(const vrq::AesKeyKernel& kernel, const Bytes& key) {
    Keys keys;
    kernel.expand(keys.encrypt, key.data(), static_cast<vrq::u32>(key.size()));
    keys.decrypt = keys.encrypt;
    kernel.invert(keys.decrypt);
    return keys;
}

bool equal(const VRQ_AES_KEY& a, const VRQ_AES_KEY& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

TEST(AesKernels, KeyExpansionAgrees) {
    const auto rows = usable(vrq::aes_key_kernels());
    for (const std::size_t length : {16, 24, 32}) {
        for (int i = 0; i < 50; ++i) {
            const Bytes key = random_bytes(length);
            const Keys expected = expand(*rows.back(), key);
            for (const vrq::AesKeyKernel* row : rows) {
                const Keys keys = expand(*row, key);
                ASSERT_TRUE(equal(expected.encrypt, keys.encrypt)) << row->name << length;
                ASSERT_TRUE(equal(expected.decrypt, keys.decrypt)) << row->name << length;
            }
        }
    }
}

// FIPS 197 appendix A: the first and the last expanded word of each example key.
TEST(AesKernels, KeyExpansionOfTheStandard) {
    const struct {
        const char* key;
        std::size_t words;
        uint32_t first;
        uint32_t last;
    } rows[] = {
        {"2b7e151628aed2a6abf7158809cf4f3c", 4, 0xa0fafe17, 0xb6630ca6},
        {"8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b", 6, 0xfe0c91f7, 0x01002202},
        {"603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4", 8, 0x9ba35411,
         0x706c631e},
    };
    for (const auto& row : rows) {
        const Bytes key = test::from_hex(row.key);
        VRQ_AES_KEY record{};
        ASSERT_EQ(0U, vrq_Init_Encrypt_AES_Key(key.data(), static_cast<int>(key.size()), &record));
        EXPECT_EQ(static_cast<int>(row.words) + 6, record.rounds);
        EXPECT_EQ(row.first, record.round_keys[row.words]);
        EXPECT_EQ(row.last, record.round_keys[4 * (row.words + 6) + 3]);
    }
}

struct Result {
    Bytes out;
    Bytes chain;
    bool operator==(const Result&) const = default;
};

// Runs a kernel function from and to misaligned buffers, then in place, and expects the same.
template <class Function>
Result run(Function function, const Bytes& chain, const Bytes& text) {
    constexpr std::size_t kShift = 3;
    Bytes in(kShift);
    in.insert(in.end(), text.begin(), text.end());
    Bytes out(text.size() + kShift + 1, 0xA5);
    Result result{{}, chain};
    function(result.chain.data(), out.data() + kShift, in.data() + kShift, text.size() / 16);
    EXPECT_EQ(0xA5, out[kShift - 1]);
    EXPECT_EQ(0xA5, out.back());
    result.out.assign(out.begin() + kShift, out.end() - 1);

    Result in_place{text, chain};
    function(in_place.chain.data(), in_place.out.data(), in_place.out.data(), text.size() / 16);
    EXPECT_EQ(result, in_place);
    return result;
}

template <class Function>
auto bind(Function function, const VRQ_AES_KEY& key) {
    return [function, &key](uint8_t* chain, uint8_t* out, const uint8_t* in, std::size_t blocks) {
        if constexpr (std::is_same_v<Function, Kernel::Chained>)
            function(key, chain, out, in, blocks);
        else
            function(key, out, in, blocks);
    };
}

// What a parallel mode computes, from the portable block functions.
enum class Parallel { kCbc, kCfb, kCtr };

Result model(Parallel mode, const Kernel& portable, const VRQ_AES_KEY& key, Bytes chain,
             const Bytes& text) {
    Result result{{}, {}};
    for (std::size_t at = 0; at < text.size(); at += 16) {
        const Bytes block(text.begin() + static_cast<long>(at),
                          text.begin() + static_cast<long>(at + 16));
        Bytes x(16);
        if (mode == Parallel::kCbc) portable.decrypt(key, x.data(), block.data(), 1);
        if (mode != Parallel::kCbc) portable.encrypt(key, x.data(), chain.data(), 1);
        const Bytes& other = mode == Parallel::kCbc ? chain : block;
        for (std::size_t i = 0; i < 16; ++i)
            result.out.push_back(static_cast<uint8_t>(x[i] ^ other[i]));
        if (mode != Parallel::kCtr) chain = block;
        for (std::size_t i = 16; mode == Parallel::kCtr && i != 0 && ++chain[i - 1] == 0;) --i;
    }
    result.chain = chain;
    return result;
}

TEST(AesKernels, AgreeWithThePortableOne) {
    const auto rows = usable(vrq::AesEngine::kernels());
    const Kernel& portable = *rows.back();
    for (const std::size_t length : {16, 24, 32}) {
        const Keys keys = expand(*usable(vrq::aes_key_kernels()).back(), random_bytes(length));
        for (std::size_t blocks = 0; blocks < 256; blocks += blocks < 40 ? 1 : 9) {
            const Bytes text = random_bytes(16 * blocks);
            // Counters that wrap within the run.
            Bytes chain = blocks % 2 == 0 ? random_bytes(16) : Bytes(16, 0xFF);
            chain[15] = static_cast<uint8_t>(0xFF - blocks / 2);
            for (const Kernel* row : rows) {
                SCOPED_TRACE(testing::Message() << row->name << " " << length << " " << blocks);
                const auto expect = [&](auto function, auto reference, const VRQ_AES_KEY& key) {
                    EXPECT_EQ(run(bind(reference, key), chain, text),
                              run(bind(function, key), chain, text));
                };
                expect(row->encrypt, portable.encrypt, keys.encrypt);
                expect(row->decrypt, portable.decrypt, keys.decrypt);
                expect(row->cbc_encrypt, portable.cbc_encrypt, keys.encrypt);
                expect(row->cfb_encrypt, portable.cfb_encrypt, keys.encrypt);
                expect(row->ofb, portable.ofb, keys.encrypt);
                const auto expect_model = [&](auto function, Parallel mode,
                                              const VRQ_AES_KEY& key) {
                    if (function == nullptr) return;
                    EXPECT_EQ(model(mode, portable, key, chain, text),
                              run(bind(function, key), chain, text));
                };
                expect_model(row->cbc_decrypt, Parallel::kCbc, keys.decrypt);
                expect_model(row->cfb_decrypt, Parallel::kCfb, keys.encrypt);
                expect_model(row->ctr, Parallel::kCtr, keys.encrypt);
            }
        }
    }
}

// A record that was never set up, or holds any count of rounds: every kernel stays inside it.
TEST(AesKernels, AnyRoundCountStaysInsideTheRecord) {
    for (const int32_t rounds : {0, 1, 11, 15, 60, -1, INT32_MAX, INT32_MIN}) {
        const auto key = std::make_unique<VRQ_AES_KEY>();
        key->rounds = rounds;
        const Bytes text = random_bytes(16 * 9);
        const auto rows = usable(vrq::AesEngine::kernels());
        for (const Kernel* row : rows) {
            EXPECT_EQ(run(bind(rows.back()->encrypt, *key), {}, text),
                      run(bind(row->encrypt, *key), {}, text));
            EXPECT_EQ(run(bind(rows.back()->decrypt, *key), {}, text),
                      run(bind(row->decrypt, *key), {}, text));
        }
    }
}

TEST(AesTables, FollowFromTheSBox) {
    EXPECT_EQ(0xC66363A5U, E_Table0[0]);
    EXPECT_EQ(0x16U, E_Table4_3[0xFF]);
    EXPECT_EQ(0x7DU, D_Table4[0xFF]);
    for (uint32_t i = 0; i < 256; ++i) {
        const uint32_t s = E_Table4_3[i];
        EXPECT_EQ(i, D_Table4[s]);
        EXPECT_EQ(s << 24, E_Table4_0[i]);
        EXPECT_EQ(s << 16, E_Table4_1[i]);
        EXPECT_EQ(s << 8, E_Table4_2[i]);
        const auto turned = [](uint32_t x, int lanes) { return std::rotr(x, 8 * lanes); };
        EXPECT_EQ(turned(E_Table0[i], 1), E_Table1[i]);
        EXPECT_EQ(turned(E_Table0[i], 2), E_Table2[i]);
        EXPECT_EQ(turned(E_Table0[i], 3), E_Table3[i]);
        EXPECT_EQ(turned(D_Table0[i], 1), D_Table1[i]);
        EXPECT_EQ(turned(D_Table0[i], 2), D_Table2[i]);
        EXPECT_EQ(turned(D_Table0[i], 3), D_Table3[i]);
        EXPECT_EQ(D_Table0[s], K_Sched0[i]);
        EXPECT_EQ(D_Table3[s], K_Sched3[i]);
        // InvMixColumns undoes MixColumns: of a column with one byte.
        const uint32_t mixed = E_Table0[i];
        EXPECT_EQ(s << 24, K_Sched0[mixed >> 24] ^ K_Sched1[mixed >> 16 & 0xFF] ^
                               K_Sched2[mixed >> 8 & 0xFF] ^ K_Sched3[mixed & 0xFF]);
    }
}

} // namespace
