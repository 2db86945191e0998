// Choice of kernels.
#include "foundation/cpu.h"
#include "foundation/test_hooks.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    vrq::u32 needs;
    int id;
};

constexpr vrq::u32 kNever = 1U << 30;
constexpr Row kRows[] = {{kNever, 1}, {vrq::cpu::kDetected, 2}, {0, 3}};

TEST(Cpu, PicksTheFirstRowWhoseNeedsAreMetAndRemembersIt) {
    std::atomic<const Row*> cache{nullptr};
    EXPECT_EQ(2, vrq::cpu::pick(kRows, cache).id);
    EXPECT_EQ(&kRows[1], cache.load());
    cache = &kRows[0];
    EXPECT_EQ(1, vrq::cpu::pick(kRows, cache).id);
}

TEST(Cpu, FallsThroughToThePortableRow) {
    constexpr Row rows[] = {{kNever, 1}, {kNever, 2}, {0, 3}};
    std::atomic<const Row*> cache{nullptr};
    EXPECT_EQ(3, vrq::cpu::pick(rows, cache).id);
}

TEST(Cpu, MaskedFeaturesAreHidden) {
    ASSERT_TRUE(vrq::cpu::has(vrq::cpu::kDetected));
    vrq::testing::mask_features(~0U);
    EXPECT_EQ(0U, vrq::cpu::features());
    vrq::testing::mask_features(0);
    EXPECT_TRUE(vrq::cpu::has(vrq::cpu::kDetected));
}

} // namespace
