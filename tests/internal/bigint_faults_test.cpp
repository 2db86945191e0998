// Big integers when memory fails, what they leave in freed memory, and allocations after warm-up.
#include "bigint/mod_exp.h"
#include "harness/bigints.h"
#include "harness/faults.h"
#include "talvern/bigint.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <random>
#include <set>

namespace {

using test::Int;
using vrq::u32;

Int random_value(std::size_t bytes, unsigned seed) {
    std::mt19937 random(seed);
    test::Bytes value(bytes);
    for (uint8_t& byte : value) byte = static_cast<uint8_t>(random() | 1U);
    return Int(value);
}

Int mersenne_prime(int32_t bits) {
    Int m("1");
    vrq_Left_Shift_BIGINT(m, m, bits);
    VRQ_Sub_BIGINT_Word(m, 1);
    return m;
}

// Long enough for products by halves.
struct Numbers {
    Int a = random_value(600, 1);
    Int b = random_value(600, 2);
    Int m = mersenne_prime(1279);
    Int e{"10001"};
};

using Call = std::function<u32(VRQ_BIGINT* r, const Numbers& n, VRQ_BIGINT_POOL* pool)>;

struct Row {
    const char* name;
    std::set<u32> failures;
    Call call;
    bool makes_records = false; // besides the operation itself
};

u32 euclid(VRQ_BIGINT* r, const Numbers& n, VRQ_BIGINT_POOL* pool) {
    return vrq_Gcd_BIGINT(r, n.a, n.b, pool);
}

u32 inverse_even(VRQ_BIGINT* r, const Numbers& n, VRQ_BIGINT_POOL* pool) {
    Int even(n.m);
    if (even == nullptr) return 1;
    even->data[0] ^= 1;
    return VRQ_Mod_Inverse_BIGINT(r, n.e, even, pool);
}

u32 montgomery(VRQ_BIGINT* r, const Numbers& n, VRQ_BIGINT_POOL* pool) {
    VRQ_BIGINT_MONT* const context = vrq_New_BIGINT_MONT();
    if (context == nullptr) return 1;
    u32 status = vrq_Set_BIGINT_MONT(context, n.m, pool);
    if (status == 0) status = vrq_Mod_Mul_BIGINT_Montgomery(r, n.a, n.b, context, pool);
    if (status == 0) status = vrq_BIGINT_from_Montgomery(r, n.a, context, pool);
    vrq_Free_BIGINT_MONT(context);
    return status;
}

const Row kRows[] = {
    {"add",
     {0x040D0028},
     [](VRQ_BIGINT* r, const Numbers& n, VRQ_BIGINT_POOL* p) {
         return VRQ_Add_BIGINT(r, n.a, n.b, p);
     }},
    {"mul",
     {0x0412003B, 0x04120016},
     [](VRQ_BIGINT* r, const Numbers& n, VRQ_BIGINT_POOL* p) {
         return VRQ_Mtp_BIGINT(r, n.a, n.b, p);
     }},
    {"sqr",
     {0x0411001B, 0x04110016},
     [](VRQ_BIGINT* r, const Numbers& n, VRQ_BIGINT_POOL* p) { return VRQ_Sqr_BIGINT(r, n.a, p); }},
    {"div",
     {0x0410003A},
     [](VRQ_BIGINT* r, const Numbers& n, VRQ_BIGINT_POOL* p) {
         return VRQ_Div_BIGINT(nullptr, r, n.a, n.m, p);
     }},
    {"mod sub",
     {0x040F003A},
     [](VRQ_BIGINT* r, const Numbers& n, VRQ_BIGINT_POOL* p) {
         return p == nullptr ? 0 : VRQ_Mod_Sub_BIGINT(r, n.a, n.b, n.m, p);
     }},
    {"mod mul",
     {0x0413001B, 0x04130044, 0x0413003E},
     [](VRQ_BIGINT* r, const Numbers& n, VRQ_BIGINT_POOL* p) {
         return p == nullptr ? 0 : VRQ_Mod_Mtp_BIGINT(r, n.a, n.b, n.m, p);
     }},
    {"inverse",
     {0x0407001B, 0x0407000D},
     [](VRQ_BIGINT* r, const Numbers& n, VRQ_BIGINT_POOL* p) {
         return VRQ_Mod_Inverse_BIGINT(r, n.e, n.m, p);
     }},
    {"inverse modulo even", {1, 0x0407001B, 0x0407000D, 0x04070015}, inverse_even, true},
    {"gcd", {0x0406001B, 0x0406000D, 0x04060015}, euclid},
    {"exp",
     {0x040A001B, 0x040A003A},
     [](VRQ_BIGINT* r, const Numbers& n, VRQ_BIGINT_POOL* p) {
         return VRQ_Mod_Exp_Mont_BIGINT(r, n.a, n.b, n.m, p);
     }},
    {"exp of public exponents",
     {0x040A001B, 0x040A003A},
     [](VRQ_BIGINT* r, const Numbers& n, VRQ_BIGINT_POOL* p) {
         return vrq::mod_exp_mont_var(r, n.a, n.e, n.m, p);
     }},
    {"plain exp",
     {0x0414001B, 0x04140052},
     [](VRQ_BIGINT* r, const Numbers& n, VRQ_BIGINT_POOL* p) {
         return VRQ_Mod_Exp_BIGINT(r, n.a, n.e, n.m, p);
     }},
    {"Montgomery steps",
     {1, 0x0409001B, 0x0409000D, 0x04090039, 0x0409003E, 0x040B001B, 0x040B0044, 0x040B0002,
      0x040C001B, 0x040C0016},
     montgomery,
     true},
};

void expect_listed(const Row& row, std::size_t number, u32 status) {
    if (number == 0) {
        EXPECT_EQ(0U, status);
    } else if (status != 0) {
        EXPECT_EQ(1U, row.failures.count(status)) << std::hex << status;
    }
}

TEST(BigintFaults, EveryAllocationMayFail) {
    const Numbers numbers;
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        test::for_each_allocation_fault([&](std::size_t number) {
            VRQ_BIGINT r = {};
            const u32 status = row.call(&r, numbers, nullptr);
            expect_listed(row, number, status);
            VRQ_Clear_BIGINT(&r);

            VRQ_BIGINT_POOL* const pool = VRQ_New_BIGINT_Pool();
            if (pool == nullptr) return;
            expect_listed(row, number, row.call(&r, numbers, pool));
            EXPECT_EQ(-1, pool->depth);
            EXPECT_EQ(0U, pool->used);
            VRQ_Free_BIGINT_Pool(pool);
            VRQ_Clear_BIGINT(&r);
        });
    }
}

TEST(BigintFaults, RecordsAndTexts) {
    const Numbers numbers;
    const uint8_t bytes[20] = {1};
    test::for_each_allocation_fault([&](std::size_t number) {
        VRQ_BIGINT* const made[] = {VRQ_New_BIGINT(), VRQ_Dup_BIGINT(numbers.a),
                                    VRQ_HEX_To_BIGINT("123456789ABCDEF"),
                                    VRQ_Binary_To_BIGINT(bytes, 20, nullptr)};
        char* const texts[] = {VRQ_BIGINT_To_HEX(numbers.a), VRQ_Dump_BIGINT(numbers.a),
                               VRQ_BIGINT_To_DEC(numbers.a)};
        int missing = 0;
        for (VRQ_BIGINT* a : made) missing += a == nullptr ? 1 : 0;
        for (char* text : texts) missing += text == nullptr ? 1 : 0;
        EXPECT_EQ(number == 0 ? 0 : 1, missing);
        for (VRQ_BIGINT* a : made) VRQ_Free_BIGINT(a);
        for (char* text : texts) VRQ_Free(text, "", 0);
    });
}

TEST(BigintFaults, NothingIsAllocatedAfterWarmUp) {
    const Numbers numbers;
    VRQ_BIGINT_POOL* const pool = VRQ_New_BIGINT_Pool();
    for (const Row& row : kRows) {
        if (row.makes_records) continue;
        VRQ_BIGINT r = {};
        ASSERT_EQ(0U, row.call(&r, numbers, pool));
        vrq::testing::fail_allocation(0);
        ASSERT_EQ(0U, row.call(&r, numbers, pool));
        EXPECT_EQ(0U, vrq::testing::allocation_count()) << row.name;
        VRQ_Clear_BIGINT(&r);
    }
    VRQ_Free_BIGINT_Pool(pool);
}

// Any eight bytes of the words stand for them.
test::Bytes piece(const VRQ_BIGINT* a, int32_t word) {
    test::Bytes bytes(8);
    std::memcpy(bytes.data(), a->data + word, 8);
    return bytes;
}

TEST(BigintWiping, FreedMemoryHoldsNoWords) {
    const Numbers numbers;
    {
        const test::FreedMemoryWatch watch(piece(numbers.a, 10));
        VRQ_BIGINT* const a = VRQ_Dup_BIGINT(numbers.a);
        ASSERT_NE(nullptr, vrq_Expand_BIGINT(a, 1000));
        EXPECT_EQ(1U, watch.frees());
        EXPECT_FALSE(watch.found()) << "growth";
        VRQ_Free_BIGINT(a);
        VRQ_Free(VRQ_BIGINT_To_DEC(numbers.a), "", 0);
        EXPECT_FALSE(watch.found()) << "free, decimal scratch";
    }
    for (const Row& row : kRows) {
        const test::FreedMemoryWatch watch(piece(numbers.a, 4));
        VRQ_BIGINT_POOL* const pool = VRQ_New_BIGINT_Pool();
        VRQ_BIGINT r = {};
        row.call(&r, numbers, nullptr);
        row.call(&r, numbers, pool);
        VRQ_Free_BIGINT_Pool(pool);
        VRQ_Clear_BIGINT(&r);
        EXPECT_FALSE(watch.found()) << row.name;
        EXPECT_NE(0U, watch.frees());
    }
}

// Private exponents do not stay in the pool until it is freed.
TEST(BigintWiping, ExponentiationWipesItsArea) {
    const Numbers numbers;
    VRQ_BIGINT_POOL* const pool = VRQ_New_BIGINT_Pool();
    VRQ_BIGINT r = {};
    ASSERT_EQ(0U, VRQ_Mod_Exp_Mont_BIGINT(&r, numbers.a, numbers.b, numbers.m, pool));
    const VRQ_BIGINT& area = pool->first->records[0];
    ASSERT_GT(area.allocated, 150);
    EXPECT_TRUE(std::all_of(area.data, area.data + area.allocated, [](u32 x) { return x == 0; }));
    VRQ_Clear_BIGINT(&r);
    VRQ_Free_BIGINT_Pool(pool);
}

} // namespace
