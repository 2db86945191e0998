// What HMAC leaves on the stack. Each call runs on a stack of its own, twice under each of two keys: a place
// whose contents under one key never occur there under the other depends on the key.
#include "api/digest_cases.h"

#include <ucontext.h>

#include <algorithm>
#include <array>
#include <functional>

namespace {

using namespace test;

using Stack = std::array<uint64_t, 1 << 13>;

ucontext_t g_caller;
ucontext_t g_callee;
std::function<void()> g_call;
alignas(64) Stack g_stack;

Stack stack_after(const std::function<void()>& call) {
    g_stack.fill(0);
    g_call = call;
    // Once: the registers it saves show on the stack and are to be the same for every call.
    static const int saved = getcontext(&g_callee);
    EXPECT_EQ(0, saved);
    g_callee.uc_stack.ss_sp = g_stack.data();
    g_callee.uc_stack.ss_size = sizeof g_stack;
    g_callee.uc_link = &g_caller;
    makecontext(
        &g_callee, [] { g_call(); }, 0);
    swapcontext(&g_caller, &g_callee);
    return g_stack;
}

// Two stacks a key: the allocator may exchange the addresses of blocks from one round to the next.
using Stacks = std::array<Stack, 4>;

std::size_t places_that_depend_on_the_key(const Stacks& stacks) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < g_stack.size(); ++i) {
        const std::array<uint64_t, 2> first = {stacks[0][i], stacks[1][i]};
        const bool differs = std::find(first.begin(), first.end(), stacks[2][i]) == first.end() &&
                             std::find(first.begin(), first.end(), stacks[3][i]) == first.end();
        count += differs ? 1 : 0;
    }
    return count;
}

TEST(HmacStack, HoldsNothingThatDependsOnTheKey) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers enlarge the frames";
#endif
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
            EXPECT_EQ(0U, places_that_depend_on_the_key(*after_init)) << key_length;
            EXPECT_EQ(0U, places_that_depend_on_the_key(*after_final)) << key_length;
            EXPECT_EQ(0U, places_that_depend_on_the_key(*after_clean)) << key_length;
        }
    }
}

} // namespace
