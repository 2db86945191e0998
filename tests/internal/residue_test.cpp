// Residues of secret numbers and products of two powers, against libcrypto.
#include "bigint/mod_exp.h"
#include "bigint/residue.h"
#include "harness/bigints.h"
#include "harness/faults.h"

#include <gtest/gtest.h>

namespace {

using test::Bn;
using test::Int;

using Residue = bool (*)(VRQ_BIGINT&, const VRQ_BIGINT&, const VRQ_BIGINT&, const VRQ_BIGINT&);
using BnResidue = int (*)(BIGNUM*, const BIGNUM*, const BIGNUM*, const BIGNUM*, BN_CTX*);

struct Row {
    const char* name;
    Residue ours;
    BnResidue theirs;
};
constexpr Row kRows[] = {{"mul", vrq::residue_mul, BN_mod_mul},
                         {"add", vrq::residue_add, BN_mod_add},
                         {"sub", vrq::residue_sub, BN_mod_sub}};

TEST(Residue, AgreesWithLibcrypto) {
    test::Operands operands(7);
    const std::unique_ptr<BN_CTX, test::BnFree> context(BN_CTX_new());
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        for (int i = 0; i < 3000; ++i) {
            const Int m = operands.odd_value(1 + operands.below(12));
            const Int a = operands.value(operands.below(14));
            const Int b = operands.value(operands.below(14));
            const Bn expected;
            ASSERT_EQ(1, row.theirs(expected, Bn(a), Bn(b), Bn(m), context.get()));
            const Int r;
            ASSERT_TRUE(row.ours(*r, *a, *b, *m));
            ASSERT_EQ(expected.hex(), r.hex()) << a.hex() << ' ' << b.hex() << ' ' << m.hex();
            ASSERT_TRUE(row.ours(*a, *a, *a, *m)) << "one record in all places";
        }
    }
}

TEST(Residue, RefusesEvenModuli) {
    const Int r;
    for (const Row& row : kRows) {
        for (const char* m : {"0", "2", "100000000000000000000000000000000"})
            EXPECT_FALSE(row.ours(*r, *Int("5"), *Int("3"), *Int(m))) << row.name;
    }
}

TEST(Residue, PaddingKeepsTheValue) {
    Int a("5");
    ASSERT_TRUE(vrq::pad_residue(*a, *Int("100000000000000000000000000000000")));
    EXPECT_EQ(5, a->used);
    EXPECT_EQ("5", a.hex());
    ASSERT_TRUE(vrq::pad_residue(*a, *Int("3")));
    EXPECT_EQ(5, a->used);
}

// r = a^e b^f mod m by two exponentiations and a product.
std::string expected_power2(const Int& a, const Int& e, const Int& b, const Int& f, const Int& m) {
    const std::unique_ptr<BN_CTX, test::BnFree> context(BN_CTX_new());
    const Bn x;
    const Bn y;
    BN_mod_exp(x, Bn(a), Bn(e), Bn(m), context.get());
    BN_mod_exp(y, Bn(b), Bn(f), Bn(m), context.get());
    BN_mod_mul(x, x, y, Bn(m), context.get());
    return x.hex();
}

TEST(ModExp2, AgreesWithLibcrypto) {
    test::Operands operands(8);
    for (int i = 0; i < 600; ++i) {
        const Int m = operands.odd_value(1 + operands.below(20));
        const Int a = operands.value(operands.below(24));
        const Int b = operands.value(operands.below(24));
        const Int e = operands.value(operands.below(10));
        const Int f = operands.value(operands.below(10));
        const Int r;
        ASSERT_EQ(0U, vrq::mod_exp2_mont_var(r, a, e, b, f, m, nullptr));
        ASSERT_EQ(expected_power2(a, e, b, f, m), r.hex())
            << a.hex() << '^' << e.hex() << ' ' << b.hex() << '^' << f.hex() << " mod " << m.hex();
    }
}

TEST(ModExp2, Statuses) {
    const Int r;
    const Int a("3");
    EXPECT_EQ(0x040A0049U, vrq::mod_exp2_mont_var(r, a, a, nullptr, a, a, nullptr));
    EXPECT_EQ(0x04090041U, vrq::mod_exp2_mont_var(r, a, a, a, a, Int("10"), nullptr));
    EXPECT_EQ(0x04090041U, vrq::mod_exp2_mont_var(r, a, a, a, a, Int("0"), nullptr));
    const Int m("F1");
    test::for_each_allocation_fault([&](std::size_t number) {
        const Int result;
        EXPECT_EQ(number == 0, vrq::mod_exp2_mont_var(result, a, a, a, a, m, nullptr) == 0);
    });
}

} // namespace
