// The sieve of the prime search against plain divisions; allocation faults of the prime operations.
#include "bigint/prime_sieve.h"
#include "harness/faults.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using vrq::small_primes::kPrimes;

uint32_t remainder(const std::vector<uint64_t>& limbs, uint32_t prime) {
    uint64_t rest = 0;
    for (std::size_t i = limbs.size(); i-- != 0;) {
        for (const int shift : {32, 0})
            rest = (rest << 32 | (limbs[i] >> shift & 0xFFFFFFFF)) % prime;
    }
    return static_cast<uint32_t>(rest);
}

uint32_t plain_delta(const std::vector<uint64_t>& limbs) {
    std::vector<uint32_t> residues;
    for (std::size_t i = 1; i < kPrimes.size(); ++i)
        residues.push_back(remainder(limbs, kPrimes[i]));
    for (uint32_t delta = 0;; delta += 2) {
        bool is_free = true;
        for (std::size_t i = 0; i < residues.size() && is_free; ++i)
            is_free = (delta + residues[i]) % kPrimes[i + 1] > 1;
        if (is_free) return delta;
    }
}

TEST(PrimeSieve, FindsWhatDivisionsFind) {
    std::mt19937_64 random(1);
    for (const std::size_t limbs : {1, 2, 3, 8, 16, 33}) {
        for (int round = 0; round < 12; ++round) {
            std::vector<uint64_t> p(limbs);
            for (uint64_t& limb : p) limb = round == 0 ? ~uint64_t{0} : random();
            p[0] |= 1;
            if (round == 1) p.assign(limbs, 0); // far from the first find
            vrq::PrimeSieve sieve(p.data(), p.size());
            uint32_t delta = 1;
            ASSERT_TRUE(sieve.find(delta));
            EXPECT_EQ(plain_delta(p), delta) << limbs << " limbs, round " << round;
        }
    }
}

TEST(PrimeSieve, RemaindersOfEverySmallPrime) {
    for (std::size_t i = 0; i < kPrimes.size(); ++i) {
        const uint64_t p = kPrimes[i];
        for (const uint64_t x :
             {uint64_t{0}, p - 1, p, ~uint64_t{0}, ~uint64_t{0} / p * p, ~uint64_t{0} / p * p - 1})
            EXPECT_EQ(x % p, vrq::small_primes::remainder(x, i));
    }
}

TEST(PrimeSieve, AllocationFaultsOfThePrimeOperations) {
    uint8_t out[32];
    ASSERT_EQ(0U, VRQ_Rand_Bytes(out, 32));
    test::for_each_allocation_fault([](std::size_t number) {
        VRQ_BIGINT* p = VRQ_New_BIGINT();
        if (p == nullptr) return;
        const uint32_t status = VRQ_Rand_BIGINT_Ex(p, 64, 0, 1, nullptr);
        const bool is_known = status == 0 || status == 0x0417003B || status == 0x04170005;
        EXPECT_TRUE(is_known) << std::hex << status;
        const uint32_t legacy = VRQ_Rand_BIGINT(p, 64, 0, 1, nullptr, VRQ_ID_SHA256);
        const bool is_known_too = legacy == 0 || legacy == 0x0418003B || legacy == 0x04180025 ||
                                  legacy == 0x0418001D || legacy == 0x04180005;
        EXPECT_TRUE(is_known_too) << std::hex << legacy;
        if (status == 0 && legacy == 0) {
            VRQ_Set_BIGINT_Word(p, 65537);
            const int32_t verdict = VRQ_Is_BIGINT_Prime_Ex(p, 3, nullptr);
            EXPECT_TRUE(verdict == 1 || (number != 0 && verdict == 0)) << verdict;
        }
        VRQ_Free_BIGINT(p);
    });
}

TEST(PrimeSieve, PrimeGenerationNeedsItsTemporaryFirst) {
    VRQ_BIGINT* p = VRQ_New_BIGINT();
    const uint32_t expected[] = {0x041E0057, 0x041E001B}; // pool, its first block
    for (std::size_t number = 1; number <= 2; ++number) {
        vrq::testing::fail_allocation(number);
        EXPECT_EQ(expected[number - 1], VRQ_Generate_BIGINT_Prime_Ex(p, 64, nullptr));
        vrq::testing::fail_allocation(0);
    }
    VRQ_Free_BIGINT(p);
}

// A 1024-bit number that the sieve leaves is composite in most cases: one that is returned where a
// draw for its test had no memory shows it.
TEST(PrimeSieve, UntestedNumbersAreReturned) {
    VRQ_BIGINT* p = VRQ_New_BIGINT();
    VRQ_BIGINT_POOL* pool = VRQ_New_BIGINT_Pool();
    ASSERT_EQ(0U, VRQ_Generate_BIGINT_Prime(p, 256, pool, VRQ_ID_SHA256)); // the pool is warm
    int composites = 0;
    for (std::size_t number = 1; number <= 256; number += 5) {
        vrq::testing::fail_allocation(number);
        const uint32_t status = VRQ_Generate_BIGINT_Prime(p, 1024, pool, VRQ_ID_SHA256);
        vrq::testing::fail_allocation(0);
        const bool is_known = status == 0 || status == 0x041E001B || status == 0x041E004D;
        EXPECT_TRUE(is_known) << std::hex << status;
        if (status == 0 && VRQ_Is_BIGINT_Prime_Ex(p, 2, pool) == -1) ++composites;
    }
    EXPECT_GT(composites, 0);
    VRQ_Free_BIGINT_Pool(pool);
    VRQ_Free_BIGINT(p);
}

} // namespace
