// What HMAC leaves on the stack.
#include "api/digest_cases.h"
#include "harness/stack_residue.h"

#include <algorithm>
#include <array>

namespace {

using namespace test;

TEST(HmacStack, HoldsNothingThatDependsOnTheKey) {
    if (!test::kFramesAreAsShipped) GTEST_SKIP();
    std::mt19937 random(61);
    const Bytes message = random_bytes(random, 300);
    for (const DigestCase& row : kDigestCases) {
        SCOPED_TRACE(row.name);
        for (const std::size_t key_length : {row.block, 3 * row.block}) {
            const std::array<Bytes, 2> keys = {random_bytes(random, key_length),
                                               random_bytes(random, key_length)};
            Bytes key(key_length); // at the same address for both
            Bytes out(row.length);
            const HmacUnit unit(VRQ_New_HMAC_Unit());
            auto after_init = std::make_unique<Stacks>();
            auto after_final = std::make_unique<Stacks>();
            auto after_clean = std::make_unique<Stacks>();
            for (std::size_t i = 0; i < 4; ++i) {
                std::copy(keys[i / 2].begin(), keys[i / 2].end(), key.begin());
                (*after_init)[i] = stack_after([&] {
                    VRQ_Init_HMAC(unit.get(), row.id, key.data(),
                                  static_cast<uint32_t>(key.size()));
                });
                (*after_final)[i] = stack_after([&] {
                    VRQ_Update_HMAC(unit.get(), message.data(), 300);
                    VRQ_Final_HMAC(unit.get(), out.data(), nullptr);
                });
                (*after_clean)[i] = stack_after([&] {
                    VRQ_Update_HMAC(unit.get(), message.data(), 300);
                    VRQ_Clean_HMAC_Unit(unit.get());
                });
            }
            EXPECT_EQ(0U, places_that_depend_on_the_secret(*after_init)) << key_length;
            EXPECT_EQ(0U, places_that_depend_on_the_secret(*after_final)) << key_length;
            EXPECT_EQ(0U, places_that_depend_on_the_secret(*after_clean)) << key_length;
        }
    }
}

} // namespace
