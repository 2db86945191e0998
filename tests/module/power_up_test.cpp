// The first calls of a fresh process when something is missing: each case is a forked child of a
// parent that never calls the library itself. Linked with the archive that carries the test hooks.
#include "foundation/test_hooks.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <string>
#include <utility>
#include <vector>

namespace {

uint32_t g_forks = 0;
uint32_t (*g_before_fork)() = nullptr; // called once, before the next clone; its result is kept
uint32_t g_kept = ~0U;

constexpr uint32_t kTooLate = 0x0D0100F1; // VRQ_ERR_NOT_CHANGE_NONPROVEN

using Results = std::array<uint32_t, 4>;

constexpr Results kNoResults = {~0U, ~0U, ~0U, ~0U};

template <class Body>
Results in_fresh_process(Body body) {
    int ends[2];
    if (pipe(ends) != 0) return kNoResults;
    const pid_t child = fork();
    if (child == 0) {
        const Results results = body();
        const ssize_t count = write(ends[1], results.data(), sizeof results);
        _exit(count == sizeof results ? 0 : 1);
    }
    close(ends[1]);
    Results results = kNoResults;
    const ssize_t count = read(ends[0], results.data(), sizeof results);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return count == sizeof results && status == 0 ? results : kNoResults;
}

// Function code of a status of the self tests; collecting entropy fails with statuses of its own.
uint32_t function_of(uint32_t status) {
    constexpr uint32_t kEntropyCheck = 4;
    const uint32_t library = status >> 24;
    if (library == VRQ_L_ENTROPY || library == VRQ_L_DRBG) return kEntropyCheck;
    EXPECT_EQ(static_cast<uint32_t>(VRQ_L_SELF_TEST), library) << std::hex << status;
    return status >> 16 & 0xFF;
}

// Order of the sequence, by function code.
const std::vector<uint32_t> kProvenOrder = {0x1, 0x2, 0x4, 0x5, 0x6, 0x7, 0x9, 0xB, 0xC, 0xD};
const std::vector<uint32_t> kOpenOrder = {0x1, 0x2, 0x5, 0x6, 0x7, 0x9, 0xB, 0xC, 0xD};

// Allocations of the symmetric checks, all of which fail once; of the many behind them some do. The
// blinding of RSA draws until a number fits, so the numbers of these differ from run to run.
constexpr std::size_t kDense = 400;
constexpr std::size_t kStep = 29;

// Allocations of the first call fail, one in each process. The failures follow the order of the
// sequence and reach every check of it; nothing is served by the failed call, and the next one,
// with memory, passes.
void expect_order_of_failures(bool proven, const std::vector<uint32_t>& order) {
    const auto first_calls = [proven](std::size_t failing) {
        return in_fresh_process([proven, failing]() -> Results {
            if (!proven) VRQ_Change_Non_Proven_Mode();
            vrq::testing::fail_allocation(failing);
            const uint32_t first = VRQ_Crypto_Initialize();
            const auto count = static_cast<uint32_t>(vrq::testing::allocation_count());
            vrq::testing::fail_allocation(0);
            const uint32_t second = VRQ_Crypto_Initialize();
            return {first, second, count, VRQ_Change_Non_Proven_Mode()};
        });
    };

    const Results unharmed = first_calls(0);
    ASSERT_EQ(0U, unharmed[0]);
    std::vector<uint32_t> seen;
    for (std::size_t failing = 1; failing <= unharmed[2]; failing += failing < kDense ? 1 : kStep) {
        SCOPED_TRACE("allocation " + std::to_string(failing));
        const Results results = first_calls(failing);
        EXPECT_EQ(0U, results[1]);
        EXPECT_EQ(kTooLate, results[3]) << "not initialised by the run that passed";
        if (results[0] == 0) continue; // a check that can do without it
        const uint32_t function = function_of(results[0]);
        if (std::find(seen.begin(), seen.end(), function) == seen.end()) seen.push_back(function);
    }
    EXPECT_EQ(order, seen);
}

TEST(PowerUp, FailedAllocationsInProvenMode) { expect_order_of_failures(true, kProvenOrder); }

TEST(PowerUp, FailedAllocationsInNonProvenMode) { expect_order_of_failures(false, kOpenOrder); }

// The entropy check draws twice, with a fork each; out of proven mode nothing forks.
TEST(PowerUp, ForksTwiceInProvenModeOnly) {
    for (const bool proven : {true, false}) {
        const Results results = in_fresh_process([proven]() -> Results {
            if (!proven) VRQ_Change_Non_Proven_Mode();
            g_forks = 0;
            return {VRQ_Crypto_Initialize(), g_forks, 0, 0};
        });
        EXPECT_EQ(0U, results[0]);
        EXPECT_EQ(proven ? 2U : 0U, results[1]);
    }
}

// A child forked in the middle of a run does not take the run over: its first service runs all tests, and
// its mode is fixed afterwards.
uint32_t first_call_of_a_child() {
    const Results results = in_fresh_process([]() -> Results {
        g_forks = 0;
        const uint32_t status = VRQ_Crypto_Initialize();
        return {status, g_forks, VRQ_Change_Non_Proven_Mode(), 0};
    });
    return results == Results{0, 2, kTooLate, 0} ? 0 : 1;
}

TEST(PowerUp, ForkDuringARunLeavesTheChildUntested) {
    const Results results = in_fresh_process([]() -> Results {
        g_before_fork = first_call_of_a_child;
        const uint32_t status = VRQ_Crypto_Initialize();
        return {status, g_kept, 0, 0};
    });
    EXPECT_EQ(0U, results[0]);
    EXPECT_EQ(0U, results[1]);
}

} // namespace

// In place of the platform's, to count clones.
extern "C" long syscall(long number, ...) {
    if (number == SYS_clone) {
        ++g_forks;
        if (g_before_fork != nullptr) g_kept = std::exchange(g_before_fork, nullptr)();
    }
    static const auto real = reinterpret_cast<long (*)(long, ...)>(dlsym(RTLD_NEXT, "syscall"));
    va_list list;
    va_start(list, number);
    std::array<long, 6> arguments;
    for (long& argument : arguments) argument = va_arg(list, long);
    va_end(list);
    return real(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4],
                arguments[5]);
}
