// Allocation faults and inspection of freed memory, through the hooks of the internal archive.
#pragma once

#include "foundation/test_hooks.h"
#include "harness/vectors.h"
#include "talvern/module.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace test {

// Runs the operation once unharmed to count its allocations, then once for each allocation with
// that one failing. run(number) gets the number of the failing allocation, 0 for the unharmed run.
template <class Run>
void for_each_allocation_fault(Run run) {
    ASSERT_EQ(0U, VRQ_Crypto_Initialize()) << "the self tests of the first call would be counted";
    vrq::testing::fail_allocation(0);
    run(std::size_t{0});
    const std::size_t count = vrq::testing::allocation_count();
    ASSERT_GT(count, 0U);
    for (std::size_t number = 1; number <= count; ++number) {
        SCOPED_TRACE("allocation " + std::to_string(number));
        vrq::testing::fail_allocation(number);
        run(number);
    }
    vrq::testing::fail_allocation(0);
}

// While it lives, looks for a secret in every block that the library frees.
class FreedMemoryWatch {
  public:
    explicit FreedMemoryWatch(Bytes secret) {
        secret_ = std::move(secret);
        found_ = false;
        frees_ = 0;
        vrq::testing::observe_frees(&FreedMemoryWatch::look);
    }
    ~FreedMemoryWatch() { vrq::testing::observe_frees(nullptr); }
    FreedMemoryWatch(const FreedMemoryWatch&) = delete;
    FreedMemoryWatch& operator=(const FreedMemoryWatch&) = delete;

    bool found() const { return found_; }
    std::size_t frees() const { return frees_; }

  private:
    static void look(const void* memory, std::size_t size) {
        const auto* begin = static_cast<const std::uint8_t*>(memory);
        ++frees_;
        if (std::search(begin, begin + size, secret_.begin(), secret_.end()) != begin + size)
            found_ = true;
    }

    static inline Bytes secret_;
    static inline bool found_ = false;
    static inline std::size_t frees_ = 0;
};

} // namespace test
