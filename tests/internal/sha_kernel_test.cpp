// Every hash kernel that this processor allows, against the portable one.
#include "digest/mdc2_kernels.h"
#include "digest/sha_kernels.h"
#include "harness/vectors.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <random>

namespace {

template <class Word>
void compare(const vrq::HashKernel<Word>& row, const vrq::HashKernel<Word>& portable,
             std::size_t block) {
    std::mt19937_64 random(51);
    test::Bytes data(70 * block + 64);
    for (uint8_t& byte : data) byte = static_cast<uint8_t>(random());
    for (const std::size_t blocks : {0, 1, 2, 3, 4, 5, 17, 64, 70}) {
        for (std::size_t offset = 0; offset < 64; offset += offset < 9 ? 1 : 11) {
            std::array<Word, 8> expected;
            for (Word& word : expected) word = static_cast<Word>(random());
            std::array<Word, 8> state = expected;
            portable.compress(expected.data(), data.data() + offset, blocks);
            row.compress(state.data(), data.data() + offset, blocks);
            EXPECT_EQ(expected, state) << row.name << ", " << blocks << " at " << offset;
        }
    }
}

template <class Word, std::size_t N>
void check_rows(const vrq::HashKernel<Word> (&rows)[N], std::size_t block) {
    ASSERT_EQ(0U, rows[N - 1].needs);
    for (const vrq::HashKernel<Word>& row : rows) {
        if (vrq::cpu::has(row.needs)) compare(row, rows[N - 1], block);
    }
}

TEST(ShaKernels, AgreeWithThePortableOnes) {
    check_rows(vrq::kSha1Kernels, 64);
    check_rows(vrq::kSha256Kernels, 64);
    check_rows(vrq::kSha512Kernels, 128);
}

// Kernels that read ahead stay inside the message: the last byte is the last of its allocation.
TEST(ShaKernels, ReadNothingBehindTheLastBlock) {
    for (std::size_t blocks = 1; blocks <= 3; ++blocks) {
        std::array<vrq::u64, 8> wide{};
        std::array<vrq::u32, 8> narrow{};
        const test::Bytes wide_data(128 * blocks);
        const test::Bytes narrow_data(64 * blocks);
        for (const auto& row : vrq::kSha512Kernels)
            if (vrq::cpu::has(row.needs)) row.compress(wide.data(), wide_data.data(), blocks);
        for (const auto& row : vrq::kSha256Kernels)
            if (vrq::cpu::has(row.needs)) row.compress(narrow.data(), narrow_data.data(), blocks);
        for (const auto& row : vrq::kSha1Kernels)
            if (vrq::cpu::has(row.needs)) row.compress(narrow.data(), narrow_data.data(), blocks);
    }
}

TEST(Mdc2Kernels, RoundKeysAgree) {
    std::mt19937_64 random(52);
    for (int i = 0; i < 200; ++i) {
        const vrq::u64 user_key = i < 64 ? vrq::u64{1} << i : random();
        VRQ_MDC2_DES_KEY expected;
        vrq::mdc2_round_keys_portable(expected, user_key);
        for (const vrq::RoundKeyKernel& row : vrq::kRoundKeyKernels) {
            if (!vrq::cpu::has(row.needs)) continue;
            VRQ_MDC2_DES_KEY key;
            row.set(key, user_key);
            ASSERT_EQ(0, std::memcmp(&expected, &key, sizeof key)) << row.name << ", key " << i;
        }
    }
}

} // namespace
