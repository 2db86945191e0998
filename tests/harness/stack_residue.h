// What a call leaves on the stack. Each runs on a stack of its own, twice under each of two secrets: a place
// whose contents under one secret never occur there under the other depends on the secret.
#pragma once

#include "talvern/bigint.h"

#include <gtest/gtest.h>
#include <ucontext.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <set>

namespace test {

// Sanitizers and unoptimised builds enlarge the frames beyond what the library wipes.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(__OPTIMIZE__)
inline constexpr bool kFramesAreAsShipped = false;
#else
inline constexpr bool kFramesAreAsShipped = true;
#endif

using Stack = std::array<uint64_t, 1 << 13>;

inline ucontext_t g_caller;
inline ucontext_t g_callee;
inline void (*g_call)(const void*);
inline const void* g_callable;
alignas(64) inline Stack g_stack;

inline Stack stack_after(void (*call)(const void*), const void* callable) {
    g_stack.fill(0);
    g_call = call;
    g_callable = callable;
    // Once: the registers it saves show on the stack and are to be the same for every call.
    static const int saved = getcontext(&g_callee);
    EXPECT_EQ(0, saved);
    g_callee.uc_stack.ss_sp = g_stack.data();
    g_callee.uc_stack.ss_size = sizeof g_stack;
    g_callee.uc_link = &g_caller;
    makecontext(
        &g_callee, [] { g_call(g_callable); }, 0);
    swapcontext(&g_caller, &g_callee);
    return g_stack;
}

// Without std::function, which may hold the callable at another address every time.
template <class Callable>
Stack stack_after(const Callable& callable) {
    return stack_after([](const void* c) { (*static_cast<const Callable*>(c))(); }, &callable);
}

// Two stacks a secret: the allocator may exchange the addresses of blocks from one round to the next.
using Stacks = std::array<Stack, 4>;

inline std::size_t places_that_depend_on_the_secret(const Stacks& stacks) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < g_stack.size(); ++i) {
        const std::array<uint64_t, 2> first = {stacks[0][i], stacks[1][i]};
        const bool differs = std::find(first.begin(), first.end(), stacks[2][i]) == first.end() &&
                             std::find(first.begin(), first.end(), stacks[3][i]) == first.end();
        count += differs ? 1 : 0;
    }
    return count;
}

// Pairs of adjacent words of secret numbers, at any place of two words that a kernel may have spilled: as
// records hold them, as digests do (most significant word first), and in big-endian bytes.
class WordPairs {
  public:
    void add(const VRQ_BIGINT* a) {
        for_each_pair(a, [this](uint64_t pair) { pairs_.insert(pair); });
    }
    void remove(const VRQ_BIGINT* a) {
        for_each_pair(a, [this](uint64_t pair) { pairs_.erase(pair); });
    }
    std::size_t found_on(const Stack& stack) const {
        std::size_t count = 0;
        const auto* words = reinterpret_cast<const uint32_t*>(stack.data());
        for (std::size_t i = 0; i + 1 < 2 * stack.size(); ++i)
            count += pairs_.count(pair(words[i], words[i + 1]));
        return count;
    }

  private:
    static uint64_t pair(uint32_t first, uint32_t second) { return first | uint64_t{second} << 32; }
    template <class Visit>
    static void for_each_pair(const VRQ_BIGINT* a, Visit visit) {
        for (int32_t i = 0; i + 1 < a->used; ++i) {
            const uint32_t low = a->data[i];
            const uint32_t high = a->data[i + 1];
            visit(pair(low, high));
            visit(pair(high, low));
            visit(pair(__builtin_bswap32(high), __builtin_bswap32(low)));
        }
    }
    std::set<uint64_t> pairs_;
};

} // namespace test
