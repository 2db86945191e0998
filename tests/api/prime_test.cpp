// Random big integers, Miller-Rabin, prime generation.
#include "harness/owned.h"
#include "harness/vectors.h"
#include "talvern.h"

#include <gtest/gtest.h>
#include <openssl/bn.h>

#include <memory>
#include <sstream>

namespace {

using test::Bytes;

struct Free {
    void operator()(BIGNUM* number) const { BN_free(number); }
};
using Number = test::Owned<VRQ_BIGINT>;
using Pool = test::Owned<VRQ_BIGINT_POOL>;
using Bn = std::unique_ptr<BIGNUM, Free>;

Number number_of(const Bytes& bytes) {
    return Number(VRQ_Binary_To_BIGINT(bytes.data(), static_cast<int32_t>(bytes.size()), nullptr));
}

Number number_of(uint32_t word) {
    Number number(VRQ_New_BIGINT());
    VRQ_Set_BIGINT_Word(number.get(), word);
    return number;
}

Bn bn_of(const VRQ_BIGINT* number) {
    Bytes bytes(VRQ_Get_BIGINT_Bits_Length(number) / 8 + 1);
    bytes.resize(VRQ_BIGINT_To_Binary_Unsigned(number, bytes.data()));
    return Bn(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
}

std::vector<Number> numbers_of(const test::Record& record) {
    std::vector<Number> numbers;
    if (record.has("value")) numbers.push_back(number_of(record.bytes("value")));
    if (record.has("list")) {
        std::istringstream list(record.text("list"));
        for (uint32_t word; list >> word;) numbers.push_back(number_of(word));
    }
    return numbers;
}

TEST(Prime, KnownPrimesAndComposites) {
    const Pool pool(VRQ_New_BIGINT_Pool());
    for (const test::Record& record : test::load_vectors("prime/primes.vec")) {
        SCOPED_TRACE(record.where);
        const bool is_prime = record.name == "PRIME";
        const std::vector<Number> numbers = numbers_of(record);
        ASSERT_FALSE(numbers.empty());
        for (const Number& n : numbers) {
            const bool is_even = VRQ_Is_BIGINT_Bit_Set(n.get(), 0) == 0;
            const int32_t composite = is_even ? 0 : -1;
            const int32_t rounds = VRQ_Get_BIGINT_Bits_Length(n.get()) < 100 ? 41 : 6;
            EXPECT_EQ(is_prime ? 1 : composite, VRQ_Is_BIGINT_Prime_Ex(n.get(), rounds, nullptr));
            EXPECT_EQ(is_prime ? 1 : composite,
                      VRQ_Is_BIGINT_Prime(n.get(), rounds, pool.get(), VRQ_ID_HAS160));
        }
    }
}

TEST(Prime, OneWitnessLessThanRounds) {
    const Number prime = number_of(65537);
    for (const int32_t rounds : {-5, 0, 1}) {
        EXPECT_EQ(-1, VRQ_Is_BIGINT_Prime_Ex(prime.get(), rounds, nullptr));
        EXPECT_EQ(-1, VRQ_Is_BIGINT_Prime(prime.get(), rounds, nullptr, 0));
        EXPECT_EQ(1, VRQ_Is_BIGINT_Prime_Ex(number_of(2).get(), rounds, nullptr));
    }
    EXPECT_EQ(1, VRQ_Is_BIGINT_Prime_Ex(prime.get(), 2, nullptr));
    EXPECT_EQ(-1, VRQ_Is_BIGINT_Prime_Ex(number_of(1).get(), 10, nullptr));
    EXPECT_EQ(1, VRQ_Is_BIGINT_Prime_Ex(number_of(3).get(), 30, nullptr));
    EXPECT_EQ(0, VRQ_Is_BIGINT_Prime_Ex(number_of(0).get(), 10, nullptr));
    EXPECT_EQ(0, VRQ_Is_BIGINT_Prime_Ex(number_of(6).get(), 10, nullptr));
    EXPECT_EQ(0, VRQ_Is_BIGINT_Prime_Ex(nullptr, 10, nullptr));
    EXPECT_EQ(0, VRQ_Is_BIGINT_Prime(prime.get(), 10, nullptr, VRQ_ID_SHA224)) << "no witness";

    // Leading zero words do not count.
    struct Padded {
        uint32_t low;
        int32_t verdict;
    };
    for (const Padded& row : {Padded{0, 0}, Padded{1, -1}, Padded{2, 1}, Padded{6, 0}, Padded{3, 1},
                              Padded{65537, 1}, Padded{65539 * 3, -1}}) {
        uint32_t words[3] = {row.low, 0, 0};
        VRQ_BIGINT padded = *VRQ_Value_One_BIGINT();
        padded.data = words;
        padded.used = padded.allocated = 3;
        EXPECT_EQ(row.verdict, VRQ_Is_BIGINT_Prime_Ex(&padded, 20, nullptr)) << row.low;
    }
}

// One witness finds a composite number three times in four at least; 561 and 2047 often.
TEST(Prime, WitnessesAreRandom) {
    for (const uint32_t composite : {561U, 2047U, 3215031751U}) {
        int passed = 0;
        for (int i = 0; i < 300; ++i)
            passed += VRQ_Is_BIGINT_Prime_Ex(number_of(composite).get(), 2, nullptr) == 1 ? 1 : 0;
        EXPECT_LT(passed, 120) << composite;
    }
}

void expect_generated(const VRQ_BIGINT* p, uint32_t bits) {
    const Bn n = bn_of(p);
    EXPECT_EQ(static_cast<int>(bits), BN_num_bits(n.get()));
    EXPECT_EQ(1, BN_check_prime(n.get(), nullptr, nullptr));
    BN_sub_word(n.get(), 1);
    EXPECT_NE(0U, BN_mod_word(n.get(), 3));
    EXPECT_NE(0U, BN_mod_word(n.get(), 17863));
}

TEST(Prime, GeneratedPrimes) {
    const Pool pool(VRQ_New_BIGINT_Pool());
    const Number p(VRQ_New_BIGINT());
    for (const uint32_t bits : {32U, 33U, 64U, 65U, 150U, 256U, 511U, 512U, 640U}) {
        ASSERT_EQ(0U, VRQ_Generate_BIGINT_Prime_Ex(p.get(), bits, pool.get()));
        expect_generated(p.get(), bits);
    }
    for (const uint32_t hash : {0U, uint32_t{VRQ_ID_SHA256}, uint32_t{VRQ_ID_HAS160}}) {
        ASSERT_EQ(0U, VRQ_Generate_BIGINT_Prime(p.get(), 256, nullptr, hash));
        expect_generated(p.get(), 256);
    }
    EXPECT_EQ(-1, pool->depth);
    EXPECT_EQ(0U, pool->used);
}

TEST(Prime, RandomNumbersHaveTheBitsForced) {
    const Number r(VRQ_New_BIGINT());
    for (const bool is_legacy : {false, true}) {
        for (uint32_t bits = 1; bits < 70; ++bits) {
            for (const int32_t top : {-1, 0, 1}) {
                for (const int32_t bottom : {0, 1}) {
                    ASSERT_EQ(0U, is_legacy
                                      ? VRQ_Rand_BIGINT(r.get(), bits, top, bottom, nullptr, 0)
                                      : VRQ_Rand_BIGINT_Ex(r.get(), bits, top, bottom, nullptr));
                    const uint32_t length = VRQ_Get_BIGINT_Bits_Length(r.get());
                    EXPECT_LE(length, bits);
                    if (top >= 0) {
                        EXPECT_EQ(bits, length);
                    }
                    if (top == 1 && bits > 1) {
                        EXPECT_EQ(1U,
                                  VRQ_Is_BIGINT_Bit_Set(r.get(), static_cast<int32_t>(bits) - 2));
                    }
                    if (bottom != 0) {
                        EXPECT_EQ(1U, VRQ_Is_BIGINT_Bit_Set(r.get(), 0));
                    }
                }
            }
        }
    }
    ASSERT_EQ(0U, VRQ_Rand_BIGINT_Ex(r.get(), 0, 0, 1, nullptr));
    EXPECT_EQ(0, r->used);
}

TEST(Prime, Statuses) {
    const Number r(VRQ_New_BIGINT());
    EXPECT_EQ(0x04180049U, VRQ_Rand_BIGINT(nullptr, 8, 0, 0, nullptr, 0));
    EXPECT_EQ(0x04170049U, VRQ_Rand_BIGINT_Ex(nullptr, 8, 0, 0, nullptr));
    EXPECT_EQ(0x04180025U, VRQ_Rand_BIGINT(r.get(), 8, 0, 0, nullptr, VRQ_ID_MD5));
    EXPECT_EQ(0x0418001DU, VRQ_Rand_BIGINT(r.get(), 8, 0, 0, nullptr, VRQ_ID_SHA224));
    EXPECT_EQ(0x041E004DU, VRQ_Generate_BIGINT_Prime(r.get(), 64, nullptr, VRQ_ID_MD5));
    EXPECT_EQ(0x041E004DU, VRQ_Generate_BIGINT_Prime_Ex(nullptr, 64, nullptr));
    VRQ_BIGINT fixed = *VRQ_Value_One_BIGINT();
    uint32_t word = 0;
    fixed.data = &word;
    EXPECT_EQ(0x04180005U, VRQ_Rand_BIGINT(&fixed, 64, 0, 0, nullptr, 0));
    EXPECT_EQ(0x04170005U, VRQ_Rand_BIGINT_Ex(&fixed, 64, 0, 0, nullptr));
    const Pool pool(VRQ_New_BIGINT_Pool());
    for (int depth = 0; depth < VRQ_BIGINT_POOL_FRAMES; ++depth) VRQ_Start_BIGINT_Pool(pool.get());
    EXPECT_EQ(0x041E0057U, VRQ_Generate_BIGINT_Prime_Ex(r.get(), 64, pool.get()));
    EXPECT_EQ(0, VRQ_Is_BIGINT_Prime_Ex(number_of(65537).get(), 5, pool.get()));
}

// Without odd factors up to 17863 there are no primes this short: the search goes on above them.
TEST(Prime, ShortRequestsBecomeLonger) {
    const Number p(VRQ_New_BIGINT());
    for (const uint32_t bits : {1U, 2U, 8U, 14U}) {
        ASSERT_EQ(0U, VRQ_Generate_BIGINT_Prime_Ex(p.get(), bits, nullptr));
        const Bn n = bn_of(p.get());
        EXPECT_EQ(1, BN_check_prime(n.get(), nullptr, nullptr));
        EXPECT_GT(BN_get_word(n.get()), 17863U);
    }
    ASSERT_EQ(0U, VRQ_Generate_BIGINT_Prime_Ex(p.get(), 0, nullptr)) << "the search starts from 0";
    EXPECT_EQ(2U, VRQ_Get_BIGINT_Word(p.get()));
}

TEST(ProvenPrime, OlderGeneratorIsRefused) {
    const Number r(VRQ_New_BIGINT());
    EXPECT_EQ(0x04180025U, VRQ_Rand_BIGINT(r.get(), 64, 0, 0, nullptr, VRQ_ID_SHA256));
    EXPECT_EQ(0x041E004DU, VRQ_Generate_BIGINT_Prime(r.get(), 64, nullptr, VRQ_ID_SHA256));
    EXPECT_EQ(0, VRQ_Is_BIGINT_Prime(number_of(65537).get(), 5, nullptr, 0));
    EXPECT_EQ(1, VRQ_Is_BIGINT_Prime_Ex(number_of(65537).get(), 5, nullptr));
    ASSERT_EQ(0U, VRQ_Generate_BIGINT_Prime_Ex(r.get(), 256, nullptr));
    expect_generated(r.get(), 256);
}

} // namespace
