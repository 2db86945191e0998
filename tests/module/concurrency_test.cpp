// First calls of a fresh process from many threads at once; run under the thread sanitizer as well.
// The program starts in proven mode and nothing has been called before.
#include "talvern.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 8;
constexpr int kFirstCallers = 32;

// "abc" under SHA-256 (FIPS 180-4).
constexpr std::array<uint8_t, 32> kDigest = {
    0xba, 0x78, 0x16, 0xbf, 0x8f, 0x01, 0xcf, 0xea, 0x41, 0x41, 0x40, 0xde, 0x5d, 0xae, 0x22, 0x23,
    0xb0, 0x03, 0x61, 0xa3, 0x96, 0x17, 0x7a, 0x9c, 0xb4, 0x10, 0xff, 0x61, 0xf2, 0x00, 0x15, 0xad};

// Runs the body in all threads, each waiting until all have started.
template <class Body>
void at_once(Body body, int count = kThreads) {
    std::atomic<int> waiting{count};
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&] {
            --waiting;
            while (waiting != 0) std::this_thread::yield();
            body();
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(Concurrency, FirstServiceCalls) {
    std::atomic<int> right{0};
    at_once(
        [&] {
            std::array<uint8_t, 32> digest{};
            uint32_t length = 0;
            const uint8_t message[] = {'a', 'b', 'c'};
            if (VRQ_DIGEST(VRQ_ID_SHA256, message, sizeof message, digest.data(), &length) != 0)
                return;
            if (length == digest.size() && digest == kDigest) ++right;
        },
        kFirstCallers);
    EXPECT_EQ(kFirstCallers, right);
    EXPECT_EQ(1, VRQ_Is_Proven());
}

TEST(Concurrency, UnitsOfDifferentThreads) {
    std::atomic<int> right{0};
    at_once([&] {
        const std::vector<uint8_t> key(32, 0x0b);
        const std::vector<uint8_t> message(5000, 0x61);
        std::array<uint8_t, 32> first{};
        std::array<uint8_t, 32> again{};
        VRQ_HMAC_UNIT* unit = VRQ_New_HMAC_Unit();
        uint32_t status = VRQ_Init_HMAC(unit, VRQ_ID_SHA256, key.data(), 32);
        status |= VRQ_Update_HMAC(unit, message.data(), 5000);
        status |= VRQ_Final_HMAC(unit, first.data(), nullptr);
        for (const uint8_t& byte : message) status |= VRQ_Update_HMAC(unit, &byte, 1);
        status |= VRQ_Final_HMAC(unit, again.data(), nullptr);
        VRQ_Free_HMAC_Unit(unit);
        if (status == 0 && first == again) ++right;
    });
    EXPECT_EQ(kThreads, right);
}

// The first draw makes the lock and seeds; forgetting the generator falls in between draws.
TEST(Concurrency, DrawsFromTheProcessWideGenerator) {
    std::mutex lock;
    std::set<std::array<uint8_t, 16>> seen;
    at_once([&] {
        for (int i = 0; i < 20; ++i) {
            std::array<uint8_t, 16> out{};
            if (i == 10) VRQ_Uninstantiate_DRBG();
            if (VRQ_Rand_Bytes(out.data(), 16) != 0) return;
            SEED_add(out.data(), 16);
            const std::lock_guard<std::mutex> guard(lock);
            seen.insert(out);
        }
    });
    EXPECT_EQ(std::size_t{kThreads} * 20, seen.size());
}

} // namespace
