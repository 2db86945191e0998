// KCDSA: statuses, damaged parameters, life cycle, proven mode.
#include "api/kcdsa_cases.h"

namespace {

using test::Bytes;
using test::Int;
using test::Kcdsa;
using test::KcdsaDomain;
using test::KcdsaSignature;
using test::new_kcdsa;

const Bytes kMessage = {'m', 'e', 's', 's', 'a', 'g', 'e'};

Kcdsa with_private_key() {
    const KcdsaDomain& d = test::kcdsa_domain("D3");
    Kcdsa unit = new_kcdsa();
    EXPECT_EQ(0U, VRQ_Set_KCDSA_Params(unit.get(), d.p, d.q, d.g, Int("123456789"), nullptr));
    return unit;
}

TEST(KcdsaStatus, Lengths) {
    struct Row {
        uint32_t p_bits;
        uint32_t q_bits;
    };
    constexpr Row kRefused[] = {{0, 160},    {1023, 160}, {2049, 256}, {1024, 159},
                                {1024, 161}, {1024, 224}, {1024, 256}, {2048, 160},
                                {2048, 223}, {2048, 255}, {2048, 257}, {1536, 159},
                                {1536, 257}, {4096, 256}, {~0U, 256},  {2048, ~0U}};
    const Kcdsa unit = new_kcdsa();
    for (const Row& row : kRefused) {
        SCOPED_TRACE(std::to_string(row.p_bits) + '/' + std::to_string(row.q_bits));
        EXPECT_EQ(0x10010048U,
                  VRQ_Generate_KCDSA_Params_Ex(unit.get(), VRQ_ID_SHA256, row.p_bits, row.q_bits));
        EXPECT_EQ(0x10020048U, VRQ_Generate_KCDSA_Params(unit.get(), row.p_bits, row.q_bits));
    }
    EXPECT_EQ(nullptr, unit->seed) << "nothing was begun";
    EXPECT_EQ(0x10010049U, VRQ_Generate_KCDSA_Params_Ex(nullptr, VRQ_ID_SHA256, 2048, 256));
    EXPECT_EQ(0x10020049U, VRQ_Generate_KCDSA_Params(nullptr, 2048, 256));
    EXPECT_EQ(0x10010059U, VRQ_Generate_KCDSA_Params_Ex(unit.get(), 0, 1024, 160));
    EXPECT_EQ(0U, VRQ_Get_BIGINT_Bits_Length(unit->p));
    // Lengths that are no multiples of 8 take another path through the expansion.
    for (const uint32_t p_bits : {1537U, 1540U, 1543U}) {
        EXPECT_EQ(0U, VRQ_Generate_KCDSA_Params_Ex(unit.get(), VRQ_ID_SHA256, p_bits, 200));
        EXPECT_EQ(0U, VRQ_Get_BIGINT_Bits_Length(unit->j) - (p_bits - 200));
    }
}

TEST(KcdsaStatus, SetParams) {
    const KcdsaDomain& d = test::kcdsa_domain("D3");
    const Kcdsa unit = with_private_key();
    EXPECT_EQ(0x10060049U, VRQ_Set_KCDSA_Params(nullptr, d.p, d.q, d.g, nullptr, nullptr));
    EXPECT_EQ(0x1006002BU, VRQ_Set_KCDSA_Params(unit.get(), nullptr, d.q, d.g, nullptr, nullptr));
    EXPECT_EQ(nullptr, unit->x) << "cleaned";
    EXPECT_EQ(0x1006002BU, VRQ_Set_KCDSA_Params(unit.get(), d.p, nullptr, d.g, nullptr, nullptr));
    EXPECT_EQ(0x1006002BU, VRQ_Set_KCDSA_Params(unit.get(), d.p, d.q, nullptr, nullptr, nullptr));
    EXPECT_EQ(0x10060059U, VRQ_Set_KCDSA_Params(unit.get(), d.p, d.q, d.g, Int("0"), nullptr));
    EXPECT_EQ(0x10060059U, VRQ_Set_KCDSA_Params(unit.get(), d.p, Int("0"), d.g, Int("5"), nullptr));
    EXPECT_EQ(0x10060040U,
              VRQ_Set_KCDSA_Params(unit.get(), Int("10"), d.q, d.g, Int("5"), nullptr));
    EXPECT_EQ(nullptr, unit->p);
    EXPECT_EQ(0U, VRQ_Get_KCDSA_Length(unit.get()));

    ASSERT_EQ(0U, VRQ_Set_KCDSA_Params(unit.get(), d.p, d.q, d.g, nullptr, nullptr));
    EXPECT_EQ(nullptr, unit->x);
    EXPECT_EQ(nullptr, unit->y);
    ASSERT_EQ(0U, VRQ_Set_KCDSA_Params(unit.get(), d.p, d.q, d.g, Int("5"), Int("7")));
    EXPECT_EQ("7", test::hex_of(unit->y)) << "a given y is taken as it is";
    // The unit's own numbers.
    ASSERT_EQ(0U, VRQ_Set_KCDSA_Params(unit.get(), unit->p, unit->q, unit->g, unit->x, nullptr));
    EXPECT_EQ(0, VRQ_Cmp_BIGINT(d.p, unit->p));
    EXPECT_NE("7", test::hex_of(unit->y));
    EXPECT_EQ(20U, VRQ_Get_KCDSA_Length(unit.get()));
    EXPECT_EQ(0U, VRQ_Get_KCDSA_Length(nullptr));
}

TEST(KcdsaStatus, InitAndUpdate) {
    const Kcdsa unit = with_private_key();
    EXPECT_EQ(0x10090049U, test::update(unit.get(), kMessage)) << "no Init";
    EXPECT_EQ(0x10070049U, VRQ_Init_KCDSA_Ex(nullptr, 1, VRQ_ID_SHA256));
    EXPECT_EQ(0x10080049U, VRQ_Init_KCDSA(nullptr, 1));
    EXPECT_EQ(0x10070022U, VRQ_Init_KCDSA_Ex(unit.get(), 1, 0));
    EXPECT_EQ(0x10090049U, test::update(unit.get(), kMessage)) << "Init was refused";
    ASSERT_EQ(0U, VRQ_Init_KCDSA_Ex(unit.get(), 1, VRQ_ID_SHA256));
    EXPECT_EQ(0x10090049U, VRQ_Update_KCDSA(nullptr, kMessage.data(), 1));
    EXPECT_EQ(0x10090049U, VRQ_Update_KCDSA(unit.get(), nullptr, 1));
    EXPECT_EQ(0x10090049U, VRQ_Update_KCDSA(unit.get(), kMessage.data(), 0));
    EXPECT_EQ(0x1009005BU, VRQ_Update_KCDSA(unit.get(), kMessage.data(), -1));

    const KcdsaDomain& d = test::kcdsa_domain("D3");
    const Kcdsa keyless = new_kcdsa();
    ASSERT_EQ(0U, VRQ_Set_KCDSA_Params(keyless.get(), d.p, d.q, d.g, nullptr, nullptr));
    ASSERT_EQ(0U, VRQ_Init_KCDSA_Ex(keyless.get(), 0, VRQ_ID_SHA256));
    EXPECT_EQ(0x10090059U, test::update(keyless.get(), kMessage)) << "no y";
}

TEST(KcdsaStatus, Final) {
    uint8_t r[64];
    uint8_t s[64];
    uint32_t n = 20;
    const Kcdsa unit = with_private_key();
    EXPECT_EQ(0x100A0049U, VRQ_Final_KCDSA(nullptr, r, &n, s, &n));
    EXPECT_EQ(0x100A0049U, VRQ_Final_KCDSA(unit.get(), nullptr, &n, s, &n));
    EXPECT_EQ(0x100A0049U, VRQ_Final_KCDSA(unit.get(), r, &n, nullptr, &n));
    EXPECT_EQ(0x100C0049U, VRQ_Final_KCDSA(unit.get(), r, &n, s, &n)) << "no Init";
    EXPECT_EQ(0x100B0049U, VRQ_Sign_KCDSA(nullptr, r, &n, s, &n));
    EXPECT_EQ(0x100C0049U, VRQ_Verify_KCDSA(nullptr, r, &n, s, &n));
    for (const int32_t direction : {1, 0, 2}) {
        const uint32_t null = direction == 1 ? 0x100B0049 : 0x100C0049;
        ASSERT_EQ(0U, VRQ_Init_KCDSA_Ex(unit.get(), direction, VRQ_ID_SHA256));
        EXPECT_EQ(null, VRQ_Final_KCDSA(unit.get(), r, nullptr, s, &n));
        EXPECT_EQ(null, VRQ_Final_KCDSA(unit.get(), r, &n, s, nullptr));
        for (VRQ_BIGINT** member :
             {&unit->p, &unit->q, &unit->g, direction == 1 ? &unit->x : &unit->y}) {
            VRQ_BIGINT* const kept = std::exchange(*member, nullptr);
            EXPECT_EQ(null, VRQ_Final_KCDSA(unit.get(), r, &n, s, &n));
            *member = kept;
        }
    }

    // A pool without a frame left.
    unit->pool->depth = VRQ_BIGINT_POOL_FRAMES - 1;
    EXPECT_EQ(0x100B001BU, VRQ_Sign_KCDSA(unit.get(), r, &n, s, &n));
    EXPECT_EQ(0x100C001BU, VRQ_Verify_KCDSA(unit.get(), r, &n, s, &n));
    unit->pool->depth = -1;
}

TEST(KcdsaStatus, KeyPairs) {
    const KcdsaDomain& d = test::kcdsa_domain("D3");
    struct Form {
        uint32_t (*generate)(VRQ_KCDSA_UNIT*);
        uint32_t function;
    };
    for (const Form& form : {Form{VRQ_Generate_KCDSA_Key_Pair_Ex, 0x10040000},
                             Form{VRQ_Generate_KCDSA_Key_Pair, 0x10050000}}) {
        const Kcdsa unit = new_kcdsa();
        EXPECT_EQ(form.function | 0x49, form.generate(nullptr));
        EXPECT_EQ(form.function | 0x49, form.generate(unit.get()));
        const auto status_of = [&](const Int& p, const Int& q) {
            EXPECT_EQ(0U, VRQ_Set_KCDSA_Params(unit.get(), p, q, d.g, nullptr, nullptr));
            const uint32_t status = form.generate(unit.get());
            EXPECT_EQ(0U, VRQ_Get_BIGINT_Bits_Length(unit->x));
            return status;
        };
        EXPECT_EQ(form.function | 0x1D, status_of(d.p, Int("0")));
        EXPECT_EQ(form.function | 0x1D, status_of(d.p, Int("1")));
        EXPECT_EQ(form.function | 0x40, status_of(Int("10000000000000000000000"), d.q));
        EXPECT_EQ(form.function | 0x40, status_of(Int("0"), d.q));
    }
    const Int out;
    EXPECT_EQ(0x10030049U, vrq_Get_Rand_KCDSA_BIGINT(nullptr, VRQ_ID_SHA256, nullptr, d.q));
    EXPECT_EQ(0x10030049U, vrq_Get_Rand_KCDSA_BIGINT(nullptr, VRQ_ID_SHA256, out, nullptr));
    EXPECT_EQ(0x1003002BU, vrq_Get_Rand_KCDSA_BIGINT(nullptr, VRQ_ID_SHA256, out, Int("0")));
    EXPECT_EQ(0x10030059U, vrq_Get_Rand_KCDSA_BIGINT(nullptr, 7, out, d.q));
    uint8_t bytes[32] = {};
    EXPECT_EQ(0x10010049U, prng_KCDSA_ex(VRQ_ID_SHA256, nullptr, 1, bytes, 8));
    EXPECT_EQ(0x10020049U, prng_KCDSA(bytes, 1, nullptr, 8));
    EXPECT_EQ(0x0A010059U, prng_KCDSA_ex(0, bytes, 1, bytes, 8));
    EXPECT_EQ(0x10020049U, generate_KCDSA_seeds(nullptr, bytes, 1));
    const Kcdsa unit = new_kcdsa();
    EXPECT_EQ(0x10020049U, generate_KCDSA_seeds(unit.get(), nullptr, 1));
    EXPECT_EQ(0U, generate_KCDSA_seeds(unit.get(), bytes, sizeof bytes));
}

// Whatever the numbers are, every call ends and says so.
TEST(KcdsaStatus, DamagedDomains) {
    const KcdsaDomain& d = test::kcdsa_domain("D3");
    const Int even_p("100000000000000000000000000000000000000000000000000000000");
    const Int even_q("8000000000000000000000000000000000000000");
    struct Row {
        const char* what;
        const Int& p;
        const Int& q;
        const Int& g;
        uint32_t sign;
        uint32_t verify;
    };
    const Int zero("0");
    const Int one("1");
    const Row kRows[] = {
        {"p = 0", zero, d.q, d.g, 0x100B0040, 0x100C005E},
        {"p = 1", one, d.q, d.g, 0x100B005B, 0x100C005E}, // HAS-160 of no bytes
        {"p even", even_p, d.q, d.g, 0x100B0040, 0x100C0040},
        {"q = 0", d.p, zero, d.g, 0x100B001D, 0x100C005E},
        {"q = 1", d.p, one, d.g, 0x100B001D, 0x100C005E},
        {"q even", d.p, even_q, d.g, 0x100B0042, 0x100C005E},
        {"g = 0", d.p, d.q, zero, 0x100B005B, 0x100C005B},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.what);
        const Kcdsa unit = new_kcdsa();
        ASSERT_EQ(0U, VRQ_Set_KCDSA_Params(unit.get(), row.p, row.q, row.g, Int("5"), Int("7")));
        KcdsaSignature signature;
        ASSERT_EQ(0U, VRQ_Init_KCDSA_Ex(unit.get(), 1, VRQ_ID_HAS160));
        ASSERT_EQ(0U, test::update(unit.get(), kMessage));
        EXPECT_EQ(row.sign, test::sign(unit.get(), signature));
        ASSERT_EQ(0U, VRQ_Init_KCDSA_Ex(unit.get(), 0, VRQ_ID_HAS160));
        ASSERT_EQ(0U, test::update(unit.get(), kMessage));
        EXPECT_EQ(row.verify, test::verify(unit.get(), {Bytes(20, 1), Bytes(1, 1)}));
    }
}

TEST(KcdsaStatus, LifeCycle) {
    const Kcdsa unit = new_kcdsa();
    EXPECT_NE(nullptr, unit->pool);
    EXPECT_NE(nullptr, unit->prng);
    EXPECT_EQ(nullptr, unit->digest);
    const Kcdsa used = with_private_key();
    EXPECT_EQ(0U, VRQ_Init_KCDSA(used.get(), 1));
    EXPECT_EQ(1, used->direction);
    ASSERT_EQ(0U, test::update(used.get(), {'o', 'l', 'd'}));
    VRQ_KCDSA_UNIT kept = {};
    kept.digest = used->digest;
    kept.prng = used->prng;
    kept.direction = 1;
    kept.pool = used->pool;
    VRQ_Clean_KCDSA(used.get());
    EXPECT_EQ(0, std::memcmp(&kept, used.get(), sizeof kept));
    VRQ_Clean_KCDSA(nullptr);
    VRQ_Free_KCDSA(nullptr);

    // Keys may follow Init; nothing of the message begun before is signed.
    const KcdsaDomain& d = test::kcdsa_domain("D3");
    ASSERT_EQ(0U, VRQ_Set_KCDSA_Params(used.get(), d.p, d.q, d.g, Int("123456789"), nullptr));
    KcdsaSignature signature;
    ASSERT_EQ(0U, test::update(used.get(), kMessage));
    ASSERT_EQ(0U, test::sign(used.get(), signature));
    const Kcdsa other = with_private_key();
    ASSERT_EQ(0U, VRQ_Init_KCDSA(other.get(), 0));
    ASSERT_EQ(0U, test::update(other.get(), kMessage));
    EXPECT_EQ(0U, test::verify(other.get(), signature));
}

TEST(ProvenKcdsa, RefusesWhatIsNotApproved) {
    const Kcdsa unit = new_kcdsa();
    for (const uint32_t p_bits : {1024U, 1536U}) {
        const uint32_t q_bits = p_bits == 1024 ? 160 : 200;
        EXPECT_EQ(0x100100F0U,
                  VRQ_Generate_KCDSA_Params_Ex(unit.get(), VRQ_ID_SHA256, p_bits, q_bits));
    }
    EXPECT_EQ(0x10010048U, VRQ_Generate_KCDSA_Params_Ex(unit.get(), VRQ_ID_SHA256, 2048, 160));
    EXPECT_EQ(0x10010059U, VRQ_Generate_KCDSA_Params_Ex(unit.get(), VRQ_ID_HAS160, 2048, 256));
    EXPECT_EQ(0x1002004EU, VRQ_Generate_KCDSA_Params(unit.get(), 1024, 160)) << "older generator";
    for (const uint32_t digest : {uint32_t{VRQ_ID_SHA1}, uint32_t{VRQ_ID_HAS160},
                                  uint32_t{VRQ_ID_SHA384}, uint32_t{VRQ_ID_SHA512}, 0U})
        EXPECT_EQ(0x100700F0U, VRQ_Init_KCDSA_Ex(unit.get(), 1, digest));
    EXPECT_EQ(0x10080022U, VRQ_Init_KCDSA(unit.get(), 1));

    const KcdsaDomain& d = test::kcdsa_domain("D1");
    ASSERT_EQ(0U, VRQ_Set_KCDSA_Params(unit.get(), d.p, d.q, d.g, nullptr, nullptr));
    EXPECT_EQ(0x1005001DU, VRQ_Generate_KCDSA_Key_Pair(unit.get())) << "HAS-160";
    EXPECT_EQ(0U, VRQ_Generate_KCDSA_Key_Pair_Ex(unit.get()));
}

// Lengths of the key of the direction, at Init and once more at Final.
TEST(ProvenKcdsa, ShortKeys) {
    const KcdsaDomain& d = test::kcdsa_domain("D1");
    const Int x208("FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF");
    const Int x209("1FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF");
    const Int y2032;
    const Int y2033;
    ASSERT_EQ(0U, VRQ_Set_BIGINT_Bit(y2032, 2031));
    ASSERT_EQ(0U, VRQ_Set_BIGINT_Bit(y2033, 2032));
    struct Row {
        const Int& x;
        const Int& y;
        uint32_t sign;
        uint32_t verify;
    };
    for (const Row& row : {Row{x208, y2033, 0x48, 0}, Row{x209, y2032, 0, 0x48}}) {
        const Kcdsa unit = new_kcdsa();
        ASSERT_EQ(0U, VRQ_Set_KCDSA_Params(unit.get(), d.p, d.q, d.g, row.x, row.y));
        EXPECT_EQ(row.sign == 0 ? 0U : 0x10070048U,
                  VRQ_Init_KCDSA_Ex(unit.get(), 1, VRQ_ID_SHA224));
        EXPECT_EQ(row.verify == 0 ? 0U : 0x10070048U,
                  VRQ_Init_KCDSA_Ex(unit.get(), 0, VRQ_ID_SHA256));
        KcdsaSignature signature;
        unit->direction = 1;
        if (row.sign != 0) {
            EXPECT_EQ(0x100A0048U, test::sign(unit.get(), signature));
        }
        unit->direction = 0;
        if (row.verify != 0) {
            EXPECT_EQ(0x100A0048U, test::verify(unit.get(), {Bytes(28, 1), Bytes(28, 1)}));
        }
    }
}

} // namespace
