// Big-integer records: life cycle, words and bits, conversions, arithmetic, statuses.
#include "talvern.h"

#include "harness/bigints.h"
#include "harness/vectors.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

namespace {

using test::Bn;
using test::Int;
using test::Operands;
using test::text_of;
using Ctx = std::unique_ptr<BN_CTX, test::BnFree>;

struct Pool {
    VRQ_BIGINT_POOL* const pool = VRQ_New_BIGINT_Pool();
    ~Pool() { VRQ_Free_BIGINT_Pool(pool); }
    operator VRQ_BIGINT_POOL*() const { return pool; } // NOLINT(google-explicit-constructor)
};

std::string bytes_of(uint32_t (*call)(const VRQ_BIGINT*, uint8_t*), const VRQ_BIGINT* a) {
    uint8_t out[64] = {};
    const uint32_t length = call(a, out);
    return test::to_hex({out, out + length});
}

TEST(Bigint, LifeCycleAndFlags) {
    VRQ_BIGINT* const a = VRQ_New_BIGINT();
    EXPECT_EQ(nullptr, a->data);
    EXPECT_EQ(1U, a->flags);
    ASSERT_EQ(0U, VRQ_Set_BIGINT_Bit(a, 64));
    EXPECT_EQ(3, a->used);
    EXPECT_EQ("10000000000000000", text_of(VRQ_BIGINT_To_HEX, a));

    a->flags |= VRQ_BIGINT_FIXED;
    EXPECT_EQ(nullptr, vrq_Expand_BIGINT(a, a->allocated + 1));
    EXPECT_EQ(a, vrq_Expand_BIGINT(a, a->allocated));
    EXPECT_EQ(0x04210016U, VRQ_Set_BIGINT_Bit(a, 96));
    VRQ_Clear_BIGINT(a);
    EXPECT_EQ(1U, a->flags) << "clearing drops the fixed flag";
    EXPECT_EQ(nullptr, vrq_Expand_BIGINT(a, 0x1000000));
    EXPECT_EQ(a, vrq_Expand_BIGINT(a, 4));
    EXPECT_EQ(nullptr, vrq_Expand_BIGINT(nullptr, 4));
    EXPECT_EQ(0U, VRQ_Free_BIGINT(a));

    uint32_t words[2] = {7, 8};
    VRQ_BIGINT own = {words, 2, 2, 0};
    EXPECT_EQ(0U, VRQ_Init_BIGINT(&own));
    EXPECT_EQ(words, own.data) << "a record without flags keeps its fields";
    EXPECT_EQ(4U, own.flags);
    EXPECT_EQ(0U, VRQ_Init_BIGINT(&own));
    EXPECT_EQ(nullptr, own.data);
    EXPECT_EQ(0, own.used);
    EXPECT_EQ(4U, own.flags);
    EXPECT_EQ(0U, VRQ_Free_BIGINT(&own)) << "a record of the caller is not released";
}

TEST(Bigint, SwapLeavesTheOwnerFlags) {
    Int a("FF");
    uint32_t word = 5;
    VRQ_BIGINT b = {&word, 1, 1, VRQ_BIGINT_FIXED | VRQ_BIGINT_INITIALIZED};
    VRQ_Swap_BIGINT(a, &b);
    EXPECT_EQ("5", a.hex());
    EXPECT_EQ(3U, a->flags);
    EXPECT_EQ(4U, b.flags);
    EXPECT_EQ(0xFFU, VRQ_Get_BIGINT_Word(&b));
    VRQ_Swap_BIGINT(a, &b);
    EXPECT_EQ(6U, b.flags);
    VRQ_Swap_BIGINT(a, nullptr);
    EXPECT_EQ("FF", a.hex());
}

TEST(Bigint, ConstantsAndWords) {
    const VRQ_BIGINT* const zero = VRQ_Value_Zero_BIGINT();
    const VRQ_BIGINT* const one = VRQ_Value_One_BIGINT();
    const Int empty;
    EXPECT_EQ(1, zero->used);
    EXPECT_EQ(2U, zero->flags);
    EXPECT_EQ(1, VRQ_Cmp_BIGINT(zero, empty));
    EXPECT_EQ(-1, VRQ_Cmp_BIGINT(zero, one));
    EXPECT_EQ(1, VRQ_Cmp_BIGINT(nullptr, one));
    EXPECT_EQ(0U, VRQ_Get_BIGINT_Bits_Length(zero));
    EXPECT_EQ("0", text_of(VRQ_BIGINT_To_HEX, zero));
    EXPECT_EQ("0", text_of(VRQ_BIGINT_To_DEC, zero));

    EXPECT_EQ(1U, VRQ_Get_BIGINT_Word(nullptr));
    EXPECT_EQ(0U, VRQ_Get_BIGINT_Word(empty));
    EXPECT_EQ(0xFFFFFFFFU, VRQ_Get_BIGINT_Word(Int("100000000")));
    EXPECT_EQ(33U, VRQ_Get_BIGINT_Bits_Length(Int("100000000")));
    EXPECT_EQ(0U, VRQ_Get_BIGINT_Bits_Length(nullptr));

    const Int a("180000001");
    const int32_t set[] = {0, 31, 32};
    for (const int32_t bit : set) EXPECT_EQ(1U, VRQ_Is_BIGINT_Bit_Set(a, bit));
    const int32_t clear[] = {1, 30, 33, 63, 64, -1, INT32_MAX};
    for (const int32_t bit : clear) EXPECT_EQ(0U, VRQ_Is_BIGINT_Bit_Set(a, bit));
    for (uint32_t bits = 0; bits <= 32; ++bits)
        EXPECT_EQ(bits, vrq_Get_BIGINT_Bits_Word(static_cast<uint32_t>((uint64_t{1} << bits) - 1)));
}

TEST(Bigint, Bytes) {
    EXPECT_EQ("0080", bytes_of(VRQ_BIGINT_To_Binary, Int("80")));
    EXPECT_EQ("7f", bytes_of(VRQ_BIGINT_To_Binary, Int("7F")));
    EXPECT_EQ("0100", bytes_of(VRQ_BIGINT_To_Binary, Int("100")));
    EXPECT_EQ("0080000000", bytes_of(VRQ_BIGINT_To_Binary, Int("80000000")));
    EXPECT_EQ("80", bytes_of(VRQ_BIGINT_To_Binary_Unsigned, Int("80")));
    EXPECT_EQ("", bytes_of(VRQ_BIGINT_To_Binary_Unsigned, Int("0")));
    EXPECT_EQ("", bytes_of(VRQ_BIGINT_To_Binary, VRQ_Value_Zero_BIGINT()));
    EXPECT_EQ(0U, VRQ_BIGINT_To_Binary(Int("1"), nullptr));

    const uint8_t padded[] = {0, 0, 0, 0, 1};
    Int a(std::vector<uint8_t>(padded, padded + 5));
    EXPECT_EQ(1, a->used);
    EXPECT_EQ(nullptr, VRQ_Binary_To_BIGINT(nullptr, 1, a));
    EXPECT_EQ(nullptr, VRQ_Binary_To_BIGINT(padded, -1, a));
    EXPECT_EQ("1", a.hex()) << "refused calls change nothing";
    EXPECT_EQ(a, VRQ_Binary_To_BIGINT(padded, 0, a));
    EXPECT_EQ(0, a->used);
    a->flags |= VRQ_BIGINT_FIXED;
    const uint8_t nine[9] = {1};
    EXPECT_EQ(nullptr, VRQ_Binary_To_BIGINT(nine, 9, a));
    a->flags &= ~static_cast<uint32_t>(VRQ_BIGINT_FIXED);

    for (std::size_t length = 1; length < 40; ++length) {
        std::vector<uint8_t> bytes;
        for (std::size_t i = 0; i < length; ++i) bytes.push_back(static_cast<uint8_t>(0x91 + i));
        EXPECT_EQ(test::to_hex(bytes), bytes_of(VRQ_BIGINT_To_Binary_Unsigned, Int(bytes)));
    }
}

TEST(Bigint, HexText) {
    EXPECT_EQ(nullptr, VRQ_HEX_To_BIGINT(nullptr));
    EXPECT_EQ(nullptr, VRQ_HEX_To_BIGINT(""));
    struct Row {
        const char* text;
        int32_t used;
        const char* hex;
    };
    const Row rows[] = {{"00000000FF", 2, "FF"},
                        {"0xFF", 1, "0"},
                        {"abcdefABCDEF0", 2, "ABCDEFABCDEF0"},
                        {"12 34", 1, "12"},
                        {"xyz", 0, "0"},
                        {"00000000", 1, "0"},
                        {"123456789", 2, "123456789"},
                        {"7G", 1, "7"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        VRQ_BIGINT* const a = VRQ_HEX_To_BIGINT(row.text);
        ASSERT_NE(nullptr, a);
        EXPECT_EQ(row.used, a->used);
        EXPECT_EQ(row.hex, text_of(VRQ_BIGINT_To_HEX, a));
        EXPECT_EQ(std::string("0x") + row.hex, text_of(VRQ_Dump_BIGINT, a));
        VRQ_Free_BIGINT(a);
    }
    EXPECT_EQ("(null)", text_of(VRQ_BIGINT_To_HEX, nullptr));
    EXPECT_EQ("(null)", text_of(VRQ_Dump_BIGINT, nullptr));

    testing::internal::CaptureStdout();
    VRQ_Print_BIGINT(Int("BEEF"));
    VRQ_Print_BIGINT(nullptr);
    EXPECT_EQ("0xBEEF\n0x", testing::internal::GetCapturedStdout());
}

TEST(Bigint, DecimalText) {
    EXPECT_EQ("(null)", text_of(VRQ_BIGINT_To_DEC, nullptr));
    EXPECT_EQ("1000000000", text_of(VRQ_BIGINT_To_DEC, Int("3B9ACA00")));
    Operands operands(1);
    for (std::size_t words = 0; words < 600; words += words < 80 ? 1 : 37) {
        const Int a = operands.value(words);
        char* const expected = BN_bn2dec(Bn(a));
        EXPECT_EQ(expected, text_of(VRQ_BIGINT_To_DEC, a)) << a.hex();
        OPENSSL_free(expected);
    }
    // powers of ten and their neighbours, where the split leaves zeros or nines
    Int power("1");
    for (int exponent = 1; exponent < 700; ++exponent) {
        VRQ_Mtp_BIGINT_Word(power, 10);
        EXPECT_EQ("1" + std::string(static_cast<std::size_t>(exponent), '0'),
                  text_of(VRQ_BIGINT_To_DEC, power));
        Int below(power);
        VRQ_Sub_BIGINT_Word(below, 1);
        EXPECT_EQ(std::string(static_cast<std::size_t>(exponent), '9'),
                  text_of(VRQ_BIGINT_To_DEC, below));
    }
}

TEST(Bigint, ZeroFactorGivesOne) {
    const Int a("123");
    Int r("77");
    EXPECT_EQ(0U, VRQ_Mtp_BIGINT(r, a, Int(), nullptr));
    EXPECT_EQ("1", r.hex());
    EXPECT_EQ(0U, VRQ_Mtp_BIGINT(r, VRQ_Value_Zero_BIGINT(), a, nullptr));
    EXPECT_EQ("1", r.hex());
    EXPECT_EQ(0U, VRQ_Sqr_BIGINT(r, VRQ_Value_Zero_BIGINT(), nullptr));
    EXPECT_EQ(0, r->used) << "squaring is exact";
}

TEST(Bigint, SquareCountsWordsByTheTopOne) {
    const char* const rows[] = {"FFFF00000000", "1000000000000", "1", "10000", "FFFFFFFF"};
    for (const char* text : rows) {
        const Int a(text);
        Int r;
        ASSERT_EQ(0U, VRQ_Sqr_BIGINT(r, a, nullptr));
        EXPECT_EQ(2 * a->used - (a->data[a->used - 1] < 0x10000 ? 1 : 0), r->used) << text;
        Bn expected;
        BN_sqr(expected, Bn(a), Ctx(BN_CTX_new()).get());
        EXPECT_EQ(expected.hex(), r.hex());
    }
    VRQ_BIGINT* const leading = VRQ_HEX_To_BIGINT("00000000FFFFFFFF");
    Int r;
    ASSERT_EQ(0U, VRQ_Sqr_BIGINT(r, leading, nullptr));
    EXPECT_EQ(3, r->used);
    EXPECT_EQ("FFFFFFFE00000001", r.hex());
    VRQ_Free_BIGINT(leading);
}

TEST(Bigint, ArithmeticAgreesWithLibcrypto) {
    const Ctx ctx(BN_CTX_new());
    const Pool pool;
    Operands operands(2);
    for (int round = 0; round < 1500; ++round) {
        const std::size_t longest = round % 50 == 0 ? 300 : 45;
        const Int a = operands.value(operands.below(longest));
        const Int b = operands.value(operands.below(3) == 0 ? static_cast<std::size_t>(a->used)
                                                            : operands.below(longest));
        SCOPED_TRACE(a.hex() + " " + b.hex());
        VRQ_BIGINT_POOL* const p = round % 2 == 0 ? pool.pool : nullptr;
        const Bn x(a);
        const Bn y(b);
        Bn z;
        Bn rest;
        Int r;
        Int q;

        ASSERT_EQ(0U, VRQ_Add_BIGINT(r, a, b, p));
        BN_add(z, x, y);
        ASSERT_EQ(z.hex(), r.hex());
        ASSERT_EQ(0U, VRQ_Sub_BIGINT(r, r, b, p));
        ASSERT_EQ(0, VRQ_Cmp_BIGINT(r, a));
        ASSERT_EQ(BN_ucmp(x, y) >= 0 ? 0U : 0x040E0028U, VRQ_Sub_BIGINT(r, a, b, p));

        if (a->used != 0 && b->used != 0) {
            ASSERT_EQ(0U, VRQ_Mtp_BIGINT(r, a, b, p));
            BN_mul(z, x, y, ctx.get());
            ASSERT_EQ(z.hex(), r.hex());
        }
        ASSERT_EQ(0U, VRQ_Sqr_BIGINT(r, a, p));
        BN_sqr(z, x, ctx.get());
        ASSERT_EQ(z.hex(), r.hex());

        ASSERT_EQ(b->used != 0 ? 0U : 0x04100028U, VRQ_Div_BIGINT(q, r, a, b, p));
        if (b->used != 0) {
            BN_div(z, rest, x, y, ctx.get());
            ASSERT_EQ(z.hex(), q.hex());
            ASSERT_EQ(rest.hex(), r.hex());
            ASSERT_EQ(0U, VRQ_Div_BIGINT(nullptr, r, a, b, p));
            ASSERT_EQ(rest.hex(), r.hex());
        }

        const auto bits = static_cast<int32_t>(operands.below(200));
        ASSERT_EQ(0U, vrq_Left_Shift_BIGINT(r, a, bits));
        BN_lshift(z, x, bits);
        ASSERT_EQ(z.hex(), r.hex());
        ASSERT_EQ(0U, vrq_Right_Shift_BIGINT(r, r, bits));
        ASSERT_EQ(0, VRQ_Cmp_BIGINT(r, a));
        ASSERT_EQ(0U, vrq_Right_Shift_BIGINT(r, a, bits));
        BN_rshift(z, x, bits);
        ASSERT_EQ(z.hex(), r.hex());
    }
}

TEST(Bigint, WordArithmeticAgreesWithLibcrypto) {
    Operands operands(3);
    for (int round = 0; round < 600; ++round) {
        const Int a = operands.value(operands.below(20));
        const auto w = static_cast<uint32_t>(operands.limb() >> operands.below(64));
        SCOPED_TRACE(a.hex() + " " + std::to_string(w));
        const Bn x(a);
        Int r(a);
        ASSERT_EQ(0U, VRQ_Add_BIGINT_Word(r, w));
        Bn z(a);
        BN_add_word(z, w);
        ASSERT_EQ(z.hex(), r.hex());
        ASSERT_EQ(0U, VRQ_Sub_BIGINT_Word(r, w));
        ASSERT_EQ(0, VRQ_Cmp_BIGINT(r, a));

        Int product(a);
        ASSERT_EQ(0U, VRQ_Mtp_BIGINT_Word(product, w));
        Bn scaled(a);
        BN_mul_word(scaled, w);
        ASSERT_EQ(scaled.hex(), product.hex());
        if (w == 0) continue;
        ASSERT_EQ(BN_mod_word(x, w), VRQ_Mod_BIGINT_Word(a, w));
        Bn quotient(a);
        const BN_ULONG rest = BN_div_word(quotient, w);
        ASSERT_EQ(rest, VRQ_Div_BIGINT_Word(r, w));
        ASSERT_EQ(quotient.hex(), r.hex());
        ASSERT_TRUE(r->used == 0 || r->data[r->used - 1] != 0);
    }

    Int a("5");
    EXPECT_EQ(0xFFFFFFFFU, VRQ_Div_BIGINT_Word(a, 0));
    EXPECT_EQ(0xFFFFFFFFU, VRQ_Mod_BIGINT_Word(a, 0));
    EXPECT_EQ(0x04040028U, VRQ_Sub_BIGINT_Word(a, 6));
    EXPECT_EQ("5", a.hex());
    Int zero;
    EXPECT_EQ(0U, VRQ_Div_BIGINT_Word(zero, 3));
    EXPECT_EQ(0U, VRQ_Mod_BIGINT_Word(zero, 3));

    // Adding or taking nothing drops leading zeros like any other sum.
    for (const auto call : {VRQ_Add_BIGINT_Word, VRQ_Sub_BIGINT_Word}) {
        for (const char* text : {"0000000000000005", "0000000000000000"}) {
            VRQ_BIGINT* const leading = VRQ_HEX_To_BIGINT(text);
            ASSERT_EQ(2, leading->used);
            EXPECT_EQ(0U, call(leading, 0));
            EXPECT_EQ(text[15] == '5' ? 1 : 0, leading->used);
            VRQ_Free_BIGINT(leading);
        }
    }
}

TEST(Bigint, OutputsMayBeInputs) {
    const Pool pool;
    using Binary =
        uint32_t (*)(VRQ_BIGINT*, const VRQ_BIGINT*, const VRQ_BIGINT*, VRQ_BIGINT_POOL*);
    Operands operands(4);
    for (const Binary call : {Binary{VRQ_Add_BIGINT}, Binary{VRQ_Sub_BIGINT},
                              Binary{VRQ_Mtp_BIGINT}, Binary{vrq_Gcd_BIGINT}}) {
        for (const std::size_t words : {std::size_t{1}, std::size_t{8}, std::size_t{17}}) {
            const Int b = operands.odd_value(words);
            Int a = operands.value(words + 1);
            VRQ_Set_BIGINT_Bit(a, static_cast<int32_t>(32 * words + 5));
            Int expected;
            ASSERT_EQ(0U, call(expected, a, b, pool));
            Int first(a);
            ASSERT_EQ(0U, call(first, first, b, nullptr));
            EXPECT_EQ(expected.hex(), first.hex());
            Int second(b);
            ASSERT_EQ(0U, call(second, a, second, pool));
            EXPECT_EQ(expected.hex(), second.hex());

            Int square(a);
            Int twice;
            ASSERT_EQ(0U, VRQ_Sqr_BIGINT(square, square, pool));
            ASSERT_EQ(0U, VRQ_Mtp_BIGINT(twice, a, a, pool));
            EXPECT_EQ(twice.hex(), square.hex());
            Int q(a);
            Int r(b);
            ASSERT_EQ(0U, VRQ_Div_BIGINT(q, r, q, r, pool));
            VRQ_Mtp_BIGINT(q, q, b, pool);
            VRQ_Add_BIGINT(q, q, r, pool);
            EXPECT_EQ(a.hex(), q.hex());
        }
    }
}

TEST(Bigint, Statuses) {
    const Int a("123456789ABCDEF0123");
    Int r;
    uint32_t word = 0x90000000;
    VRQ_BIGINT fixed = {&word, 1, 1, VRQ_BIGINT_FIXED};
    struct Row {
        const char* what;
        uint32_t expected;
        std::function<uint32_t()> call;
    };
    const Row rows[] = {
        {"init null", 0x04010049, [] { return VRQ_Init_BIGINT(nullptr); }},
        {"free null", 0x04020049, [] { return VRQ_Free_BIGINT(nullptr); }},
        {"copy null", 0x041F0049, [&] { return VRQ_Copy_BIGINT(nullptr, a); }},
        {"copy from null", 0x041F0049, [&] { return VRQ_Copy_BIGINT(r, nullptr); }},
        {"copy to itself", 0, [&] { return VRQ_Copy_BIGINT(r, r); }},
        {"copy growth", 0x041F0016, [&] { return VRQ_Copy_BIGINT(&fixed, a); }},
        {"set word null", 0x04200049, [] { return VRQ_Set_BIGINT_Word(nullptr, 1); }},
        {"set bit null", 0x04210049, [] { return VRQ_Set_BIGINT_Bit(nullptr, 1); }},
        {"set bit negative", 0x04210049, [&] { return VRQ_Set_BIGINT_Bit(r, -1); }},
        {"add growth", 0x040D0028, [&] { return VRQ_Add_BIGINT(&fixed, a, a, nullptr); }},
        {"add null", 0x040D0049, [&] { return VRQ_Add_BIGINT(r, a, nullptr, nullptr); }},
        {"sub growth", 0x040E0028, [&] { return VRQ_Sub_BIGINT(&fixed, a, &fixed, nullptr); }},
        {"sub below", 0x040E0028, [&] { return VRQ_Sub_BIGINT(r, &fixed, a, nullptr); }},
        {"sub null", 0x040E0049, [&] { return VRQ_Sub_BIGINT(nullptr, a, a, nullptr); }},
        {"mul growth", 0x04120016, [&] { return VRQ_Mtp_BIGINT(&fixed, a, a, nullptr); }},
        {"mul copy", 0x0412000D, [&] { return VRQ_Mtp_BIGINT(&fixed, &fixed, a, nullptr); }},
        {"mul null", 0x04120049, [&] { return VRQ_Mtp_BIGINT(r, nullptr, a, nullptr); }},
        {"sqr growth", 0x04110016, [&] { return VRQ_Sqr_BIGINT(&fixed, a, nullptr); }},
        {"sqr copy", 0x0411000D, [&] { return VRQ_Sqr_BIGINT(&fixed, &fixed, nullptr); }},
        {"sqr null", 0x04110049, [&] { return VRQ_Sqr_BIGINT(r, nullptr, nullptr); }},
        {"div by zero", 0x04100028, [&] { return VRQ_Div_BIGINT(r, r, a, Int(), nullptr); }},
        {"div by stored zero", 0x04100028,
         [&] { return VRQ_Div_BIGINT(r, r, a, VRQ_Value_Zero_BIGINT(), nullptr); }},
        {"div growth", 0x0410003A, [&] { return VRQ_Div_BIGINT(&fixed, r, a, &fixed, nullptr); }},
        {"div null", 0x04100049, [&] { return VRQ_Div_BIGINT(r, nullptr, a, a, nullptr); }},
        {"shl growth", 0x04150016, [&] { return vrq_Left_Shift_BIGINT(&fixed, a, 1); }},
        {"shl negative", 0x0415002B, [&] { return vrq_Left_Shift_BIGINT(r, a, -1); }},
        {"shl null", 0x04150049, [&] { return vrq_Left_Shift_BIGINT(r, nullptr, 1); }},
        {"shl limit", 0x04150016, [&] { return vrq_Left_Shift_BIGINT(r, a, INT32_MAX); }},
        {"shr growth", 0x04160016, [&] { return vrq_Right_Shift_BIGINT(&fixed, a, 1); }},
        {"shr negative", 0x0416002B, [&] { return vrq_Right_Shift_BIGINT(r, a, -1); }},
        {"shr all", 0, [&] { return vrq_Right_Shift_BIGINT(r, a, INT32_MAX); }},
        {"add word growth", 0x04030016, [&] { return VRQ_Add_BIGINT_Word(&fixed, 0xFFFFFFFF); }},
        {"add word null", 0x04030049, [] { return VRQ_Add_BIGINT_Word(nullptr, 1); }},
        {"sub word null", 0x04040049, [] { return VRQ_Sub_BIGINT_Word(nullptr, 1); }},
        {"mul word growth", 0x04050016, [&] { return VRQ_Mtp_BIGINT_Word(&fixed, 0xFFFFFFFF); }},
        {"mul word null", 0x04050049, [] { return VRQ_Mtp_BIGINT_Word(nullptr, 1); }},
        {"div word null", 0xFFFFFFFF, [] { return VRQ_Div_BIGINT_Word(nullptr, 1); }},
        {"mod word null", 0xFFFFFFFF, [] { return VRQ_Mod_BIGINT_Word(nullptr, 1); }},
    };
    for (const Row& row : rows) EXPECT_EQ(row.expected, row.call()) << row.what;
    EXPECT_EQ(0x90000000U, word) << "a fixed record is not written beyond its array";

    uint32_t none[1] = {};
    VRQ_BIGINT no_room = {none, 0, 0, VRQ_BIGINT_FIXED};
    EXPECT_EQ(0x04200016U, VRQ_Set_BIGINT_Word(&no_room, 1));
    EXPECT_EQ(0x04030052U, VRQ_Add_BIGINT_Word(&no_room, 1));
    EXPECT_EQ(0x04120052U, VRQ_Mtp_BIGINT(&no_room, a, Int(), nullptr));
    EXPECT_EQ(nullptr, VRQ_Dup_BIGINT(nullptr));
}

} // namespace
