// Modular arithmetic: known answers, agreement with libcrypto, Montgomery steps, statuses.
#include "talvern.h"

#include "harness/bigints.h"
#include "harness/vectors.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using test::Bn;
using test::Int;
using test::Operands;
using Ctx = std::unique_ptr<BN_CTX, test::BnFree>;

struct Pool {
    VRQ_BIGINT_POOL* const pool = VRQ_New_BIGINT_Pool();
    ~Pool() { VRQ_Free_BIGINT_Pool(pool); }
    operator VRQ_BIGINT_POOL*() const { return pool; } // NOLINT(google-explicit-constructor)
};

struct Context {
    VRQ_BIGINT_MONT* const mont = vrq_New_BIGINT_MONT();
    ~Context() { vrq_Free_BIGINT_MONT(mont); }
    operator VRQ_BIGINT_MONT*() const { return mont; } // NOLINT(google-explicit-constructor)
};

using Exp = uint32_t (*)(VRQ_BIGINT*, const VRQ_BIGINT*, const VRQ_BIGINT*, const VRQ_BIGINT*,
                         VRQ_BIGINT_POOL*);

TEST(BigintMod, ExpKnownAnswers) {
    const Pool pool;
    for (const test::Record& record : test::load_vectors("bigint/modexp.vec")) {
        SCOPED_TRACE(record.where);
        const Int base(record.bytes("base"));
        const Int exponent(record.bytes("exponent"));
        const Int modulus(record.bytes("modulus"));
        const Int answer(record.bytes("answer"));
        for (const Exp call : {Exp{VRQ_Mod_Exp_Mont_BIGINT}, Exp{VRQ_Mod_Exp_BIGINT}}) {
            Int r;
            ASSERT_EQ(0U, call(r, base, exponent, modulus, pool));
            EXPECT_EQ(answer.hex(), r.hex());
            Int same(modulus);
            ASSERT_EQ(0U, call(same, base, exponent, same, nullptr));
            EXPECT_EQ(answer.hex(), same.hex());
        }
    }
}

TEST(BigintMod, ExpAgreesWithLibcrypto) {
    const Ctx ctx(BN_CTX_new());
    const Pool pool;
    Operands operands(11);
    for (int round = 0; round < 400; ++round) {
        const Int a = operands.value(operands.below(60));
        const Int e = operands.value(operands.below(8));
        const Int m = operands.odd_value(1 + operands.below(40));
        const Int any = operands.value(1 + operands.below(20));
        SCOPED_TRACE(a.hex() + " ^ " + e.hex() + " mod " + m.hex() + " and " + any.hex());
        Bn z;
        Int r;
        // libcrypto reduces the power 0 as well; here it is 1 whatever the modulus
        ASSERT_EQ(0U, VRQ_Mod_Exp_Mont_BIGINT(r, a, e, m, pool));
        BN_mod_exp(z, Bn(a), Bn(e), Bn(m), ctx.get());
        ASSERT_EQ(e->used == 0 ? "1" : z.hex(), r.hex());
        if (any->used == 0) continue;
        ASSERT_EQ(0U, VRQ_Mod_Exp_BIGINT(r, a, e, any, round % 2 == 0 ? pool.pool : nullptr));
        BN_mod_exp(z, Bn(a), Bn(e), Bn(any), ctx.get());
        ASSERT_EQ(e->used == 0 ? "1" : z.hex(), r.hex());
    }
}

// Every window width and every cut of the exponent into windows.
TEST(BigintMod, ExpOfEveryExponentLength) {
    const Ctx ctx(BN_CTX_new());
    const Pool pool;
    const Int m("F123456789ABCDEF123456789ABCDEF1");
    const Int a("FEDCBA9876543210");
    for (int32_t bits = 1; bits < 3300; bits += bits < 300 ? 1 : 97) {
        Int e;
        for (int32_t i = 0; i < bits; ++i) {
            if (i == bits - 1 || (i * i / 7) % 3 != 0) VRQ_Set_BIGINT_Bit(e, i);
        }
        Bn z;
        Int r;
        BN_mod_exp(z, Bn(a), Bn(e), Bn(m), ctx.get());
        ASSERT_EQ(0U, VRQ_Mod_Exp_Mont_BIGINT(r, a, e, m, pool));
        ASSERT_EQ(z.hex(), r.hex()) << bits;
    }
}

TEST(BigintMod, ExpSettledCases) {
    const Pool pool;
    const Int five("5");
    const Int one("1");
    const Int zero;
    const Int odd("F00000000000000000000001");
    const Int even("F00000000000000000000000");
    Int multiple(odd);
    VRQ_Mtp_BIGINT_Word(multiple, 6);
    VRQ_BIGINT* const stored_zero = VRQ_HEX_To_BIGINT("0000000000000000");
    VRQ_BIGINT* const padded_five = VRQ_HEX_To_BIGINT("0000000000000000000000005");

    struct Row {
        const char* what;
        Exp call;
        const VRQ_BIGINT* a;
        const VRQ_BIGINT* e;
        const VRQ_BIGINT* m;
        uint32_t status;
        const char* result;
    };
    const Exp mont = VRQ_Mod_Exp_Mont_BIGINT;
    const Exp plain = VRQ_Mod_Exp_BIGINT;
    const Row rows[] = {
        {"e = 0", mont, five, zero, odd, 0, "1"},
        {"e = 0, m = 1", mont, five, zero, one, 0, "1"},
        {"e = 0, even modulus", mont, five, zero, even, 0, "1"},
        {"e is a stored zero", mont, five, stored_zero, odd, 0, "1"},
        {"m = 1", mont, five, five, one, 0, "0"},
        {"base 0", mont, zero, five, odd, 0, "0"},
        {"base reducing to 0", mont, multiple, five, odd, 0, "0"},
        {"leading zeros", mont, padded_five, padded_five, odd, 0, "C35"},
        {"even modulus", mont, five, five, even, 0x04090041, "77"},
        {"modulus 0", mont, five, five, zero, 0x04090041, "77"},
        {"plain e = 0, m = 0", plain, five, zero, zero, 0, "1"},
        {"plain m = 1", plain, five, five, one, 0, "0"},
        {"plain modulus 0", plain, five, five, zero, 0x0414003E, "77"},
        {"plain base 0", plain, zero, five, even, 0, "0"},
        {"plain leading zeros", plain, padded_five, padded_five, even, 0, "C35"},
        {"mont null base", mont, nullptr, five, odd, 0x040A0049, "77"},
        {"plain null modulus", plain, five, five, nullptr, 0x04140049, "77"},
    };
    for (const Row& row : rows) {
        Int r("77");
        EXPECT_EQ(row.status, row.call(r, row.a, row.e, row.m, pool)) << row.what;
        EXPECT_EQ(row.result, r.hex()) << row.what;
    }
    VRQ_Free_BIGINT(stored_zero);
    VRQ_Free_BIGINT(padded_five);
}

TEST(BigintMod, ProductsAndDifferencesAgreeWithLibcrypto) {
    const Ctx ctx(BN_CTX_new());
    const Pool pool;
    Operands operands(12);
    for (int round = 0; round < 1000; ++round) {
        const Int a = operands.value(operands.below(40));
        const Int b = operands.value(operands.below(40));
        const Int m = operands.value(1 + operands.below(20));
        if (m->used == 0) continue;
        SCOPED_TRACE(a.hex() + " " + b.hex() + " " + m.hex());
        Bn z;
        Int r;
        ASSERT_EQ(0U, VRQ_Mod_Mtp_BIGINT(r, a, b, m, pool));
        BN_mod_mul(z, Bn(a), Bn(b), Bn(m), ctx.get());
        ASSERT_EQ(z.hex(), r.hex());
        ASSERT_EQ(0U, VRQ_Mod_Mtp_BIGINT(r, a, a, m, pool));
        BN_mod_sqr(z, Bn(a), Bn(m), ctx.get());
        ASSERT_EQ(z.hex(), r.hex());
        ASSERT_EQ(0U, VRQ_Mod_Sub_BIGINT(r, a, b, m, pool));
        BN_mod_sub(z, Bn(a), Bn(b), Bn(m), ctx.get());
        ASSERT_EQ(z.hex(), r.hex());
    }
}

TEST(BigintMod, InversesAndDivisorsAgreeWithLibcrypto) {
    const Ctx ctx(BN_CTX_new());
    const Pool pool;
    Operands operands(13);
    int found = 0;
    for (int round = 0; round < 1500; ++round) {
        const std::size_t longest = round % 100 == 0 ? 130 : 20;
        const Int a = operands.value(operands.below(longest));
        const Int m = round % 2 == 0 ? operands.odd_value(1 + operands.below(longest))
                                     : operands.value(1 + operands.below(longest));
        SCOPED_TRACE(a.hex() + " " + m.hex());
        VRQ_BIGINT_POOL* const p = round % 3 == 0 ? pool.pool : nullptr;
        Bn z;
        Int r;
        ASSERT_EQ(0U, vrq_Gcd_BIGINT(r, a, m, p));
        BN_gcd(z, Bn(a), Bn(m), ctx.get());
        ASSERT_EQ(z.hex(), r.hex());

        const bool exists = BN_is_one(z) && m->used != 0;
        ASSERT_EQ(exists ? 0U : 0x04070015U, VRQ_Mod_Inverse_BIGINT(r, a, m, p));
        if (!exists || m.hex() == "1") continue;
        ++found;
        BN_mod_inverse(z, Bn(a), Bn(m), ctx.get());
        ASSERT_EQ(z.hex(), r.hex());
    }
    EXPECT_GT(found, 300);
}

TEST(BigintMod, InverseEdges) {
    const Pool pool;
    Int m("1");
    vrq_Left_Shift_BIGINT(m, m, 521);
    VRQ_Sub_BIGINT_Word(m, 1); // a Mersenne prime
    for (const uint32_t distance : {1U, 2U, 3U}) {
        Int a(m);
        VRQ_Sub_BIGINT_Word(a, distance);
        for (const Int& x : {a, Int(std::to_string(distance))}) {
            Int inverse;
            Int product;
            ASSERT_EQ(0U, VRQ_Mod_Inverse_BIGINT(inverse, x, m, pool));
            ASSERT_EQ(0U, VRQ_Mod_Mtp_BIGINT(product, inverse, x, m, pool));
            EXPECT_EQ("1", product.hex());
            ASSERT_EQ(0U, VRQ_Mod_Inverse_BIGINT(inverse, inverse, m, pool));
            EXPECT_EQ(x.hex(), inverse.hex());
        }
    }
    Int r("7");
    EXPECT_EQ(0U, VRQ_Mod_Inverse_BIGINT(r, m, Int("1"), pool));
    EXPECT_EQ("0", r.hex()) << "modulo 1";
    EXPECT_EQ(0U, VRQ_Mod_Inverse_BIGINT(r, Int("10001"), Int("10000"), pool));
    EXPECT_EQ("1", r.hex()) << "1 modulo an even number";
    EXPECT_EQ(0x04070015U, VRQ_Mod_Inverse_BIGINT(r, Int("3"), Int(), pool));
    EXPECT_EQ(0x04070015U, VRQ_Mod_Inverse_BIGINT(r, Int(), m, pool));
}

TEST(BigintMod, EuclidWorksInPlace) {
    Int a("C0");
    Int b("90");
    EXPECT_EQ(a, vrq_Euclid(a, b, nullptr));
    EXPECT_EQ("30", a.hex());
    Int zero;
    Int c("15");
    EXPECT_EQ(zero, vrq_Euclid(zero, c, nullptr));
    EXPECT_EQ("15", zero.hex());
    EXPECT_EQ(nullptr, vrq_Euclid(nullptr, c, nullptr));
}

// R is 2^(32 k) for k words, also for odd k, where the limbs below have a radix of their own.
TEST(BigintMod, MontgomerySteps) {
    const Ctx ctx(BN_CTX_new());
    const Pool pool;
    Operands operands(14);
    for (std::size_t words = 1; words < 40; ++words) {
        const Int n = operands.odd_value(words);
        if (n.hex() == "1") continue;
        SCOPED_TRACE(n.hex());
        const Context context;
        ASSERT_EQ(0U, vrq_Set_BIGINT_MONT(context, n, pool));
        EXPECT_EQ(n->used * 32, context.mont->r_bits);
        EXPECT_EQ(0xFFFFFFFFU, context.mont->n_prime * n->data[0]);
        EXPECT_EQ(0, VRQ_Cmp_BIGINT(n, &context.mont->n));
        Bn radix;
        BN_set_bit(radix, context.mont->r_bits);
        Bn z;
        BN_mod_sqr(z, radix, Bn(n), ctx.get());
        EXPECT_EQ(z.hex(), Int(test::text_of(VRQ_BIGINT_To_HEX, &context.mont->rr)).hex());
        BN_mod_inverse(radix, radix, Bn(n), ctx.get());

        for (const std::size_t extra : {0, 1, 3}) {
            // operands above the modulus, and longer than it, too
            const Int a = operands.value(words + extra);
            const Int b = operands.value(words + extra);
            Int r;
            ASSERT_EQ(0U, vrq_BIGINT_from_Montgomery(r, a, context, pool));
            BN_mod_mul(z, Bn(a), radix, Bn(n), ctx.get());
            ASSERT_EQ(z.hex(), r.hex());
            ASSERT_EQ(0U, vrq_Mod_Mul_BIGINT_Montgomery(r, a, b, context, nullptr));
            BN_mod_mul(z, z, Bn(b), Bn(n), ctx.get());
            ASSERT_EQ(z.hex(), r.hex());
            Int square(a);
            ASSERT_EQ(0U, vrq_Mod_Mul_BIGINT_Montgomery(square, square, square, context, pool));
            BN_mod_sqr(z, Bn(a), Bn(n), ctx.get());
            BN_mod_mul(z, z, radix, Bn(n), ctx.get());
            ASSERT_EQ(z.hex(), square.hex());
        }
    }
}

TEST(BigintMod, Statuses) {
    const Pool pool;
    const Pool full;
    while (VRQ_Start_BIGINT_Pool(full) == 0) {}
    const Int a("123456789ABCDEF0123456789");
    const Int m("FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF1");
    const Context set;
    ASSERT_EQ(0U, vrq_Set_BIGINT_MONT(set, m, pool));
    const Context unset;
    Int r;
    uint32_t word = 3;
    VRQ_BIGINT fixed = {&word, 1, 1, VRQ_BIGINT_FIXED};
    struct Row {
        const char* what;
        uint32_t expected;
        std::function<uint32_t()> call;
    };
    const Row rows[] = {
        {"mul no pool", 0x04130057, [&] { return VRQ_Mod_Mtp_BIGINT(r, a, a, m, nullptr); }},
        {"mul full pool", 0x04130057, [&] { return VRQ_Mod_Mtp_BIGINT(r, a, a, m, full); }},
        {"mul by zero modulus", 0x0413003E,
         [&] { return VRQ_Mod_Mtp_BIGINT(r, a, a, Int(), pool); }},
        {"mul growth", 0x0413003E, [&] { return VRQ_Mod_Mtp_BIGINT(&fixed, a, a, m, pool); }},
        {"mul null", 0x04130049, [&] { return VRQ_Mod_Mtp_BIGINT(r, a, a, nullptr, pool); }},
        {"sub null", 0x040F0049, [&] { return VRQ_Mod_Sub_BIGINT(r, a, nullptr, m, pool); }},
        {"sub no pool", 0x040F0049, [&] { return VRQ_Mod_Sub_BIGINT(r, a, a, m, nullptr); }},
        {"sub growth", 0x040F003A, [&] { return VRQ_Mod_Sub_BIGINT(&fixed, a, &fixed, m, pool); }},
        {"sub full pool", 0x040F003A, [&] { return VRQ_Mod_Sub_BIGINT(r, a, a, m, full); }},
        {"sub zero modulus", 0, [&] { return VRQ_Mod_Sub_BIGINT(r, a, a, Int(), pool); }},
        {"inverse full pool", 0x04070057, [&] { return VRQ_Mod_Inverse_BIGINT(r, a, m, full); }},
        {"inverse null", 0x04070049, [&] { return VRQ_Mod_Inverse_BIGINT(r, nullptr, m, pool); }},
        {"inverse growth", 0x0407000D, [&] { return VRQ_Mod_Inverse_BIGINT(&fixed, a, m, pool); }},
        {"gcd null", 0x04060049, [&] { return vrq_Gcd_BIGINT(r, a, nullptr, pool); }},
        {"gcd full pool", 0x04060057, [&] { return vrq_Gcd_BIGINT(r, a, m, full); }},
        {"gcd growth", 0x0406000D, [&] { return vrq_Gcd_BIGINT(&fixed, m, m, pool); }},
        {"exp full pool", 0x040A001B, [&] { return VRQ_Mod_Exp_Mont_BIGINT(r, a, a, m, full); }},
        {"exp growth", 0x040A003A, [&] { return VRQ_Mod_Exp_Mont_BIGINT(&fixed, a, a, m, pool); }},
        {"plain full pool", 0x04140057, [&] { return VRQ_Mod_Exp_BIGINT(r, a, a, m, full); }},
        {"plain growth", 0x04140052, [&] { return VRQ_Mod_Exp_BIGINT(&fixed, a, a, m, pool); }},
        {"context init null", 0x04010049, [] { return vrq_Init_BIGINT_MONT(nullptr); }},
        {"context free null", 0x04080049, [] { return vrq_Free_BIGINT_MONT(nullptr); }},
        {"context null", 0x04090049, [&] { return vrq_Set_BIGINT_MONT(unset, nullptr, pool); }},
        {"context full pool", 0x04090057, [&] { return vrq_Set_BIGINT_MONT(unset, m, full); }},
        {"context even", 0x04090041, [&] { return vrq_Set_BIGINT_MONT(unset, Int("10"), pool); }},
        {"context zero", 0x04090041, [&] { return vrq_Set_BIGINT_MONT(unset, Int(), pool); }},
        {"from unset", 0x040C0028, [&] { return vrq_BIGINT_from_Montgomery(r, a, unset, pool); }},
        {"from full pool", 0x040C0057, [&] { return vrq_BIGINT_from_Montgomery(r, a, set, full); }},
        {"from growth", 0x040C0016,
         [&] { return vrq_BIGINT_from_Montgomery(&fixed, a, set, pool); }},
        {"from null", 0x040C0049, [&] { return vrq_BIGINT_from_Montgomery(r, a, nullptr, pool); }},
        {"product unset", 0x040B0002,
         [&] { return vrq_Mod_Mul_BIGINT_Montgomery(r, a, a, unset, pool); }},
        {"product full pool", 0x040B0057,
         [&] { return vrq_Mod_Mul_BIGINT_Montgomery(r, a, a, set, full); }},
        {"product growth", 0x040B0002,
         [&] { return vrq_Mod_Mul_BIGINT_Montgomery(&fixed, a, a, set, pool); }},
    };
    for (const Row& row : rows) EXPECT_EQ(row.expected, row.call()) << row.what;

    const Int seven("7");
    EXPECT_EQ(0U, VRQ_Mod_Sub_BIGINT(r, Int("3"), Int("5"), seven, pool));
    EXPECT_EQ("5", r.hex());
    EXPECT_EQ(0U, VRQ_Mod_Sub_BIGINT(r, Int("5"), Int("C"), seven, pool));
    EXPECT_EQ("0", r.hex());
}

} // namespace
