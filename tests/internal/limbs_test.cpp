// Limb and word kernels against a plain model, every row that the processor allows.
#include "bigint/decimal.h"
#include "bigint/inverse.h"
#include "bigint/limb_div.h"
#include "bigint/limbs.h"
#include "bigint/mod_exp.h"
#include "bigint/words.h"
#include "foundation/cpu.h"
#include "harness/bigints.h"
#include "talvern/bigint.h"

#include <gtest/gtest.h>

namespace {

using test::Operands;
using vrq::Limb;
using vrq::LimbKernel;
using vrq::u32;
using vrq::u64;
using Limbs = std::vector<u64>;
using Words = std::vector<u32>;

constexpr u64 kGuard = 0x5A5A5A5A5A5A5A5A;

Limb* at(Limbs& x, std::size_t i = 0) { return x.data() + i; }
const Limb* at(const Limbs& x) { return x.data(); }

// ---- The model: schoolbook arithmetic on 32-bit words. ----

Words split(const Limbs& a) {
    Words out;
    for (const u64 x : a) {
        out.push_back(static_cast<u32>(x));
        out.push_back(static_cast<u32>(x >> 32));
    }
    return out;
}

Limbs join(const Words& a) {
    Limbs out((a.size() + 1) / 2);
    for (std::size_t i = 0; i < a.size(); ++i) out[i / 2] |= u64{a[i]} << (i % 2 * 32);
    return out;
}

Words product(const Words& a, const Words& b) {
    Words r(a.size() + b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        u64 carry = 0;
        for (std::size_t j = 0; j < b.size(); ++j) {
            carry += u64{a[i]} * b[j] + r[i + j];
            r[i + j] = static_cast<u32>(carry);
            carry >>= 32;
        }
        r[i + b.size()] = static_cast<u32>(carry);
    }
    return r;
}

// a + b over the length of a; the carry becomes one more word.
Words sum(Words a, const Words& b) {
    u64 carry = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        carry += u64{a[i]} + (i < b.size() ? b[i] : 0);
        a[i] = static_cast<u32>(carry);
        carry >>= 32;
    }
    a.push_back(static_cast<u32>(carry));
    return a;
}

Limbs product(const Limbs& a, const Limbs& b) { return join(product(split(a), split(b))); }

// ---- Kernels ----

class LimbKernels : public testing::TestWithParam<vrq::LimbKernelRow> {
  protected:
    void SetUp() override {
        if (!vrq::cpu::has(GetParam().needs)) GTEST_SKIP() << "not on this processor";
    }
    const LimbKernel& kernel() const { return *GetParam().kernel; }
    Operands operands_{21};
};

TEST_P(LimbKernels, Products) {
    for (std::size_t na = 1; na <= 41; ++na) {
        for (std::size_t nb = 1; nb <= 41; nb += na % 4 == 0 ? 1 : 3) {
            const Limbs a = operands_.limbs(na);
            const Limbs b = operands_.limbs(nb);
            Limbs r(na + nb + 1, kGuard);
            kernel().mul(at(r), at(a), na, at(b), nb);
            Limbs expected = product(a, b);
            expected.push_back(kGuard);
            ASSERT_EQ(expected, r) << na << " x " << nb;
        }
    }
}

TEST_P(LimbKernels, Squares) {
    for (std::size_t n = 1; n <= 72; ++n) {
        for (int round = 0; round < 8; ++round) {
            const Limbs a = operands_.limbs(n);
            Limbs r(2 * n + 1, kGuard);
            kernel().sqr(at(r), at(a), n);
            Limbs expected = product(a, a);
            expected.push_back(kGuard);
            ASSERT_EQ(expected, r) << n;
        }
    }
}

TEST_P(LimbKernels, Rows) {
    for (std::size_t n = 0; n <= 21; ++n) {
        for (int round = 0; round < 20; ++round) {
            const Limbs a = operands_.limbs(n);
            const Limbs before = operands_.limbs(n);
            const u64 w = operands_.limb();
            Limbs r = before;
            r.push_back(kGuard);
            const u64 carry = kernel().mul_add(at(r), at(a), n, w);
            EXPECT_EQ(kGuard, r[n]);
            Limbs grown(r.begin(), r.end() - 1);
            grown.push_back(carry);
            Words expected = sum(product(split(a), split({w})), split(before));
            expected.resize(2 * n + 2);
            ASSERT_EQ(join(expected), grown);
            ASSERT_EQ(carry, kernel().mul_sub(at(r), at(a), n, w)) << "takes back what was added";
            ASSERT_TRUE(std::equal(before.begin(), before.end(), r.begin()));
        }
    }
}

// t + q n is divisible by R, congruent to t, and its quotient by R is what comes out.
TEST_P(LimbKernels, MontgomeryReduction) {
    for (std::size_t n_len = 1; n_len <= 40; ++n_len) {
        for (int round = 0; round < 6; ++round) {
            Limbs n = operands_.limbs(n_len);
            n[0] |= 1;
            const Limbs before = operands_.limbs(2 * n_len);
            Limbs t = before;
            t.push_back(kGuard);
            const u64 carry = kernel().redc(at(t), at(n), n_len, n_len, vrq::negated_inverse(n[0]));
            EXPECT_EQ(kGuard, t.back());

            // q = -before / n modulo R, limb by limb
            Limbs rest = before;
            rest.push_back(0);
            Limbs q;
            for (std::size_t i = 0; i < n_len; ++i) {
                q.push_back(rest[i] * vrq::negated_inverse(n[0]));
                Words shifted(2 * i);
                const Words part = product(split(n), split({q.back()}));
                shifted.insert(shifted.end(), part.begin(), part.end());
                Words total = sum(split(rest), shifted);
                total.pop_back();
                rest = join(total);
            }
            const Limbs upper(rest.begin() + static_cast<std::ptrdiff_t>(n_len), rest.end());
            Limbs result(t.begin() + static_cast<std::ptrdiff_t>(n_len), t.end() - 1);
            result.push_back(carry);
            ASSERT_EQ(upper, result) << n_len;
        }
    }
}

TEST_P(LimbKernels, FinalSubtractionAndTableReads) {
    for (std::size_t n = 1; n <= 37; ++n) {
        const Limbs modulus = operands_.limbs(n);
        for (const u64 carry : {u64{0}, u64{1}}) {
            for (int round = 0; round < 6; ++round) {
                const Limbs t = round == 0 ? modulus : operands_.limbs(n);
                Limbs expected = t;
                if (carry != 0 || vrq::limbs_less(at(t), at(modulus), n) == 0)
                    vrq::limbs_sub(at(expected), at(t), at(modulus), n);
                Limbs r(n + 1, kGuard);
                kernel().reduce_once(at(r), at(t), at(modulus), n, carry);
                expected.push_back(kGuard);
                ASSERT_EQ(expected, r);
                Limbs in_place = t;
                kernel().reduce_once(at(in_place), at(in_place), at(modulus), n, carry);
                expected.pop_back();
                ASSERT_EQ(expected, in_place);
            }
        }
        const Limbs table = operands_.limbs(16 * n);
        for (std::size_t i = 0; i < 16; ++i) {
            Limbs r(n + 1, kGuard);
            kernel().gather(at(r), at(table), 16, n, i);
            const auto entry = table.begin() + static_cast<std::ptrdiff_t>(i * n);
            ASSERT_TRUE(std::equal(r.begin(), r.end() - 1, entry)) << n << " " << i;
            ASSERT_EQ(kGuard, r[n]);
        }
    }
}

const auto kAllRows =
    testing::ValuesIn(vrq::limb_kernel_rows().begin(), vrq::limb_kernel_rows().end());
INSTANTIATE_TEST_SUITE_P(Rows, LimbKernels, kAllRows,
                         [](const auto& row) { return std::string(row.param.kernel->name); });

// ---- Above the kernels ----

TEST(Limbs, KaratsubaAgreesWithTheKernel) {
    Operands operands(22);
    const std::size_t least = vrq::kKaratsubaLimbs;
    for (std::size_t n = least - 1; n < 4 * least + 10; n += n < least + 6 ? 1 : 23) {
        for (std::size_t shorter = n - 2; shorter <= n; ++shorter) {
            const Limbs a = operands.limbs(n);
            const Limbs b = operands.limbs(shorter);
            Limbs scratch(vrq::limbs_mul_scratch(n, shorter) + 1, kGuard);
            Limbs r(n + shorter);
            Limbs expected(n + shorter);
            vrq::limb_kernel().mul(at(expected), at(a), n, at(b), shorter);
            vrq::limbs_mul(at(r), at(b), shorter, at(a), n, at(scratch));
            ASSERT_EQ(expected, r) << n << " " << shorter;
            ASSERT_EQ(kGuard, scratch.back());
        }
        const Limbs a = operands.limbs(n);
        Limbs scratch(vrq::limbs_mul_scratch(n, n) + 1, kGuard);
        Limbs r(2 * n);
        Limbs expected(2 * n);
        vrq::limb_kernel().mul(at(expected), at(a), n, at(a), n);
        vrq::limbs_sqr(at(r), at(a), n, at(scratch));
        ASSERT_EQ(expected, r) << n;
        ASSERT_EQ(kGuard, scratch.back());
    }
}

// Dividends q d + r made to order, so that every correction of the estimate happens: quotient limbs
// of all ones, a remainder next to the divisor, divisors of all shapes.
TEST(Limbs, DivisionTakesBackProducts) {
    Operands operands(23);
    for (int round = 0; round < 20000; ++round) {
        const std::size_t nd = 1 + operands.below(6);
        const std::size_t nq = 1 + operands.below(6);
        Limbs d = operands.limbs(nd);
        d.back() |= u64{1} << 63;
        const Limbs q = operands.limbs(nq);
        Limbs r = operands.limbs(nd);
        if (round % 3 == 0) vrq::limbs_copy(at(r), at(d), nd), vrq::limbs_sub_limb(at(r), nd, 1);
        if (vrq::limbs_less(at(r), at(d), nd) == 0) vrq::limbs_clear(at(r), nd);
        Words total = sum(product(split(d), split(q)), split(r));
        total.pop_back();
        Limbs u = join(total);
        Limbs rest_alone(nd);
        Limbs scratch(vrq::limbs_mod_scratch(nd + nq, nd) + 1, kGuard);
        vrq::limbs_mod(at(rest_alone), at(u), nd + nq, at(d), nd, at(scratch));
        ASSERT_EQ(r, rest_alone);
        ASSERT_EQ(kGuard, scratch.back());
        Limbs quotient(nq);
        vrq::limbs_divide_normalized(at(quotient), at(u), nd + nq, at(d), nd);
        ASSERT_EQ(q, quotient);
        r.resize(nd + nq);
        ASSERT_EQ(r, u);

        Limbs by_limb = q;
        const u64 w = d[0] >> operands.below(64) | 1;
        const u64 rest = vrq::limbs_divide_limb(at(by_limb), nq, w);
        total = sum(product(split(by_limb), split({w})), split({rest}));
        total.resize(2 * nq);
        ASSERT_EQ(q, join(total));
        ASSERT_LT(rest, w);
    }
}

TEST(Limbs, ShiftsAndSmallSteps) {
    Operands operands(24);
    for (std::size_t n = 1; n < 9; ++n) {
        for (unsigned bits = 0; bits < 64; ++bits) {
            const Limbs a = operands.limbs(n);
            Limbs r(n);
            const u64 out = vrq::limbs_shl(at(r), at(a), n, bits);
            Limbs expected = product(a, {u64{1} << bits});
            EXPECT_EQ(expected.back(), out);
            expected.pop_back();
            ASSERT_EQ(expected, r);
            vrq::limbs_shr(at(r), at(r), n, bits);
            if (bits != 0) r[n - 1] |= out << (64 - bits);
            ASSERT_EQ(a, r);
        }
    }
    for (int i = 0; i < 100; ++i) {
        const u64 n = operands.limb() | 1;
        EXPECT_EQ(~u64{0}, n * vrq::negated_inverse(n));
    }
}

// The exported word kernels on odd and even lengths.
TEST(WordKernels, AgreeWithThePlainModel) {
    Operands operands(25);
    for (std::size_t n = 0; n < 36; ++n) {
        const auto count = static_cast<int32_t>(n);
        for (int round = 0; round < 10; ++round) {
            const Words a = operands.words(n);
            const Words b = operands.words(n);
            Words r(n);
            r.push_back(vrq_Add_Words(r.data(), a.data(), b.data(), count));
            ASSERT_EQ(sum(a, b), r);
            r.back() -= vrq_Sub_Words(r.data(), r.data(), b.data(), count);
            ASSERT_TRUE(std::equal(a.begin(), a.end(), r.begin()));
            ASSERT_EQ(0U, r.back());

            const auto w = static_cast<u32>(operands.limb());
            r[n] = vrq_Mtp_Words(r.data(), a.data(), count, w);
            ASSERT_EQ(product(a, {w}), r);
            r = b;
            r.push_back(vrq_Mtp_Add_Words(r.data(), a.data(), count, w));
            Words expected = sum(product(a, {w}), b);
            expected.resize(n + 1);
            ASSERT_EQ(expected, r);

            Words squares(2 * n);
            vrq_Sqr_Words(squares.data(), a.data(), count);
            for (std::size_t i = 0; i < n; ++i) {
                const Words single = {a[i]};
                const Words one = product(single, single);
                ASSERT_EQ(one[0], squares[2 * i]);
                ASSERT_EQ(one[1], squares[2 * i + 1]);
            }
            Words temp(2 * n);
            vrq_Sqr_Word_Base(squares.data(), a.data(), count, temp.data());
            ASSERT_EQ(product(a, a), squares);
            const Words shorter = operands.words(n / 2);
            Words base(n + n / 2);
            vrq_Mtp_Word_Base(base.data(), a.data(), count, shorter.data(),
                              static_cast<int32_t>(n / 2));
            ASSERT_EQ(product(a, shorter), base);

            // lengths that differ, either way round
            const auto common = static_cast<int32_t>(n / 2);
            const int32_t more = count - common;
            Words difference(n);
            u32 borrow =
                vrq_Sub_Part_Words(difference.data(), a.data(), shorter.data(), common, more);
            Words back = sum(difference, shorter);
            EXPECT_EQ(borrow, back.back());
            back.pop_back();
            ASSERT_EQ(a, back);
            borrow = vrq_Sub_Part_Words(difference.data(), shorter.data(), a.data(), common, -more);
            back = sum(difference, a);
            EXPECT_EQ(borrow, back.back());
            back.pop_back();
            Words padded = shorter;
            padded.resize(n);
            ASSERT_EQ(padded, back);
            const int32_t order = vrq_Cmp_BIGINT_Words(a.data(), padded.data(), count);
            EXPECT_EQ(order, n < 2 ? order : vrq_Cmp_Parts(a.data(), shorter.data(), common, more));
            EXPECT_EQ(-order,
                      n < 2 ? -order : vrq_Cmp_Parts(shorter.data(), a.data(), common, -more));
        }
    }
    EXPECT_EQ(1, vrq_Cmp_BIGINT_Words(nullptr, nullptr, 3));
    EXPECT_EQ(0xFFFFFFFFU, vrq_Div_Words(1, 2, 0));
    EXPECT_EQ(0x80000001U, vrq_Div_Words(1, 2, 2));
    EXPECT_EQ(1U, vrq_Div_Words(7, 9, 7)) << "the low word of a quotient that does not fit";
}

TEST(WordKernels, FixedAndRecursiveProducts) {
    Operands operands(26);
    for (int round = 0; round < 50; ++round) {
        Words a = operands.words(4);
        Words b = operands.words(4);
        Words r(8);
        vrq_Mtp_Base(r.data(), a.data(), b.data());
        ASSERT_EQ(product(a, b), r);
        vrq_Sqr_Base(r.data(), a.data());
        ASSERT_EQ(product(a, a), r);
        a = operands.words(8);
        b = operands.words(8);
        r.resize(16);
        vrq_Mtp_Base_Ex(r.data(), a.data(), b.data());
        ASSERT_EQ(product(a, b), r);
        vrq_Sqr_Base_Ex(r.data(), a.data());
        ASSERT_EQ(product(a, a), r);
    }
    for (const int32_t n : {8, 16, 32, 128, 256}) {
        const auto words = static_cast<std::size_t>(n);
        for (const int32_t d : {0, 1, 2, n / 2 - 1, n}) {
            const bool longer = d > 1;
            const int32_t da = longer ? d : -d;
            for (const int32_t db : {da, longer ? da - 1 : 0}) {
                const Words a = operands.words(static_cast<std::size_t>(n + da));
                const Words b = operands.words(static_cast<std::size_t>(n + db));
                Words temp(words * (longer ? 8 : 4) + 1, 0x77);
                Words r(a.size() + b.size() + 1, 0x55);
                (longer ? vrq_Mtp_Recursive_P : vrq_Mtp_Recursive)(r.data(), a.data(), b.data(), n,
                                                                   da, db, temp.data());
                Words expected = product(a, b);
                expected.push_back(0x55);
                ASSERT_EQ(expected, r) << n << " " << da << " " << db;
                ASSERT_EQ(0x77U, temp.back());
            }
        }
        const Words a = operands.words(words);
        Words temp(4 * words + 1, 0x77);
        Words r(2 * words);
        vrq_Sqr_Recursive(r.data(), a.data(), n, temp.data());
        ASSERT_EQ(product(a, a), r);
        ASSERT_EQ(0x77U, temp.back());
    }
}

// ---- Exponentiation: counts and rows ----

int g_products = 0;

u64 counting_redc(Limb* t, const Limb* n, std::size_t n_len, std::size_t steps, u64 k0) {
    ++g_products;
    return vrq::limb_kernel().redc(t, n, n_len, steps, k0);
}

struct Job {
    Limbs base;
    Limbs exponent;
    Limbs modulus;

    Limbs run(const LimbKernel& kernel, std::size_t exponent_bits, bool is_public) const {
        Limbs r(modulus.size());
        vrq::ModExp job = {at(r),         at(base),    base.size(),    at(exponent),
                           exponent_bits, at(modulus), modulus.size(), modulus.size() * 64,
                           is_public};
        while ((modulus[(job.modulus_bits - 1) / 64] >> (job.modulus_bits - 1) % 64 & 1) == 0)
            --job.modulus_bits;
        Limbs scratch(vrq::mod_exp_kernels().back().scratch(job) + 1, kGuard);
        vrq::mod_exp_with(kernel, job, at(scratch));
        EXPECT_EQ(kGuard, scratch.back());
        return r;
    }
};

TEST(ModExp, PublicExponent65537CostsSeventeenProducts) {
    LimbKernel counting = vrq::limb_kernel();
    counting.redc = counting_redc;
    Operands operands(27);
    Job job = {operands.limbs(32), {65537}, operands.limbs(32)};
    job.modulus[0] |= 1;
    job.modulus[31] |= 1;
    g_products = 0;
    job.run(counting, 17, true);
    EXPECT_EQ(17 + 2, g_products) << "one conversion in, one out";
}

// Same cost for every exponent of a length, whatever its bits.
TEST(ModExp, SecretExponentsOfOneLengthCostTheSame) {
    LimbKernel counting = vrq::limb_kernel();
    counting.redc = counting_redc;
    Operands operands(28);
    Job job = {operands.limbs(8), {}, operands.limbs(8)};
    job.modulus[0] |= 1;
    job.modulus[7] |= 1;
    std::vector<int> counts;
    for (const u64 x : {u64{0}, u64{1}, ~u64{0}, u64{0x8000000000000000}}) {
        job.exponent = {x, x, x, x};
        g_products = 0;
        job.run(counting, 256, false);
        counts.push_back(g_products);
    }
    EXPECT_EQ(std::vector<int>(4, counts[0]), counts);
}

TEST(ModExp, EveryRowAndBothVariantsAgree) {
    Operands operands(29);
    for (std::size_t len = 1; len <= 66; len += len < 26 ? 1 : 8) {
        for (const std::size_t base_len : {std::size_t{1}, len, 2 * len, 3 * len + 1}) {
            Job job = {operands.limbs(base_len), operands.limbs(3), operands.limbs(len)};
            job.modulus[0] |= 3;
            job.exponent[2] |= u64{1} << 40;
            job.exponent[2] &= (u64{1} << 41) - 1;
            const Limbs expected = job.run(vrq::limb_kernel(), 169, true);
            for (const vrq::LimbKernelRow& row : vrq::limb_kernel_rows()) {
                if (!vrq::cpu::has(row.needs)) continue;
                ASSERT_EQ(expected, job.run(*row.kernel, 192, false)) << len << row.kernel->name;
                ASSERT_EQ(expected, job.run(*row.kernel, 169, true)) << len << row.kernel->name;
            }
        }
    }
}

} // namespace
