// Every compression kernel that this processor allows, against the portable one.
#include "digest/sha_kernels.h"
#include "harness/vectors.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace {

template <class Word, std::size_t N>
void check_rows(const vrq::HashKernel<Word> (&rows)[N], std::size_t block) {
    const vrq::HashKernel<Word>& portable = rows[N - 1];
    ASSERT_EQ(0U, portable.needs);
    std::mt19937_64 random(51);
    test::Bytes data(70 * block + 64);
    for (uint8_t& byte : data) byte = static_cast<uint8_t>(random());

    for (const vrq::HashKernel<Word>& row : rows) {
        if (!vrq::cpu::has(row.needs)) continue;
        for (const std::size_t blocks : {0, 1, 2, 3, 4, 5, 17, 64, 70}) {
            for (std::size_t offset = 0; offset < 64; offset += offset < 9 ? 1 : 11) {
                std::array<Word, 8> expected;
                for (Word& word : expected) word = static_cast<Word>(random());
                std::array<Word, 8> state = expected;
                portable.compress(expected.data(), data.data() + offset, blocks);
                row.compress(state.data(), data.data() + offset, blocks);
                ASSERT_EQ(expected, state) << row.name << ", " << blocks << " at " << offset;
            }
        }
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

} // namespace
