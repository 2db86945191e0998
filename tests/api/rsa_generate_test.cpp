// RSA key generation: arguments, and the keys themselves against libcrypto.
#include "harness/rsa_keys.h"
#include "talvern.h"

#include <gtest/gtest.h>

namespace {

using test::Bn;
using test::bn_context;
using test::Int;
using test::new_rsa;
using test::RsaUnit;

using Generate = uint32_t (*)(VRQ_RSA_UNIT*, const VRQ_BIGINT*, int32_t, int32_t);

struct Form {
    const char* name;
    Generate generate;
    uint32_t function;
    uint32_t digest;    // of the pairwise test
    int32_t least_bits; // that OAEP over it needs
};

constexpr Form kForms[] = {
    {"plain", VRQ_Generate_RSA_Params, VRQ_F_GENERATE_RSA_PARAMS, VRQ_ID_SHA1, 360},
    {"extended", VRQ_Generate_RSA_Params_Ex, VRQ_F_GENERATE_RSA_PARAMS_EX, VRQ_ID_SHA256, 552},
};

uint32_t status_of(const Form& form, uint32_t reason) {
    return VRQ_STATUS(VRQ_L_RSA, form.function, reason);
}

TEST(RsaGenerate, RefusedArguments) {
    const Int e("10001");
    const RsaUnit unit = new_rsa();
    for (const Form& form : kForms) {
        SCOPED_TRACE(form.name);
        const uint32_t invalid = status_of(form, VRQ_ERR_INVALID_INPUT);
        EXPECT_EQ(invalid, form.generate(nullptr, e, 512, 1));
        EXPECT_EQ(invalid, form.generate(unit.get(), nullptr, 512, 1));
        for (const int32_t bits : {0, 1, 7})
            EXPECT_EQ(invalid, form.generate(unit.get(), e, bits, 1));
        for (const int32_t rule : {-1, 0, 3})
            EXPECT_EQ(invalid, form.generate(unit.get(), e, 512, rule));
        // both under the code of the plain form, and before anything else
        for (const int32_t bits : {-1, INT32_MIN})
            EXPECT_EQ(0x180C002BU, form.generate(nullptr, nullptr, bits, 0));
        EXPECT_EQ(nullptr, unit->e); // nothing was begun
    }
}

TEST(RsaGenerate, ExponentMustBeAnOddPrime) {
    for (const Form& form : kForms) {
        for (const char* e : {"0", "1", "2", "4", "9", "10005", "FFFFFFFFFFFFFFFF"}) {
            const RsaUnit unit = new_rsa();
            EXPECT_EQ(status_of(form, VRQ_ERR_IS_BIGINT_PRIME),
                      form.generate(unit.get(), Int(e), 512, 1))
                << form.name << " " << e;
        }
    }
}

TEST(RsaGenerate, PoolAndFrames) {
    const Int e("10001");
    for (const Form& form : kForms) {
        const RsaUnit unit = new_rsa();
        VRQ_BIGINT_POOL* const pool = unit->pool;
        unit->pool = nullptr;
        EXPECT_EQ(status_of(form, VRQ_ERR_GET_BIGINT_POOL_FAIL),
                  form.generate(unit.get(), e, 512, 1));
        unit->pool = pool;
        while (VRQ_Start_BIGINT_Pool(pool) == 0) {}
        EXPECT_EQ(status_of(form, VRQ_ERR_GET_BIGINT_POOL_FAIL),
                  form.generate(unit.get(), e, 512, 1));
        while (VRQ_Finish_BIGINT_Pool(pool) == 0) {}
    }
}

// Shorter than OAEP takes: the pairwise test refuses the pair, which stays in the unit.
TEST(RsaGenerate, TooShortForThePairwiseTest) {
    for (const Form& form : kForms) {
        const RsaUnit unit = new_rsa();
        EXPECT_EQ(status_of(form, VRQ_ERR_KEY_GEN_FAIL),
                  form.generate(unit.get(), Int("10001"), form.least_bits - 16, 1));
        EXPECT_EQ(31, unit->key_flags);
        EXPECT_EQ(0U, verify_RSA_KEY(unit.get()));
    }
}

// Requests for the shortest primes all give the same one.
TEST(RsaGenerate, EqualPrimesEndWithSuccessAndNoKey) {
    for (const Form& form : kForms) {
        const RsaUnit unit = new_rsa();
        EXPECT_EQ(0U, form.generate(unit.get(), Int("3"), 8, 1));
        EXPECT_EQ(0, unit->key_flags);
        EXPECT_EQ(0, VRQ_Cmp_BIGINT(unit->p, unit->q));
        EXPECT_EQ(0U, VRQ_Get_BIGINT_Bits_Length(unit->d));
        EXPECT_EQ(0U, VRQ_Get_RSA_Length(unit.get()));
    }
}

void expect_key(const VRQ_RSA_UNIT& unit, int32_t bits, int32_t d_rule) {
    const Bn p(unit.p);
    const Bn q(unit.q);
    const Bn n(unit.n);
    const Bn d(unit.d);
    const Bn e(unit.e);
    BN_CTX* const context = bn_context();
    EXPECT_EQ(1, BN_check_prime(p, context, nullptr));
    EXPECT_EQ(1, BN_check_prime(q, context, nullptr));
    EXPECT_GT(BN_cmp(p, q), 0);
    EXPECT_EQ((bits + 1) / 2, BN_num_bits(p));
    EXPECT_EQ(bits / 2, BN_num_bits(q));
    const Bn t;
    BN_mul(t, p, q, context);
    EXPECT_EQ(n.hex(), t.hex());

    const Bn p1;
    const Bn q1;
    const Bn modulus;
    BN_sub(p1, p, BN_value_one());
    BN_sub(q1, q, BN_value_one());
    BN_mul(modulus, p1, q1, context);
    if (d_rule == 2) {
        BN_gcd(t, p1, q1, context);
        BN_div(modulus, nullptr, modulus, t, context);
    }
    BN_mod_inverse(t, e, modulus, context);
    EXPECT_EQ(t.hex(), d.hex());
    BN_mod(t, d, p1, context);
    EXPECT_EQ(t.hex(), Bn(unit.dP).hex());
    BN_mod(t, d, q1, context);
    EXPECT_EQ(t.hex(), Bn(unit.dQ).hex());
    BN_mod_inverse(t, q, p, context);
    EXPECT_EQ(t.hex(), Bn(unit.qInv).hex());
}

// The unit is left ready for the decryption of its pairwise test.
void expect_ready(VRQ_RSA_UNIT* unit, uint32_t digest) {
    EXPECT_EQ(31, unit->key_flags);
    EXPECT_EQ(1U, unit->direction);
    EXPECT_EQ(8U | digest, unit->mode);
    ASSERT_NE(nullptr, unit->blind_A);
    EXPECT_EQ(0U, verify_RSA_KEY(unit));
    const uint8_t message[] = {1, 2, 3};
    std::vector<uint8_t> block(VRQ_Get_RSA_Length(unit));
    std::vector<uint8_t> out(block.size());
    uint32_t length = 0;
    unit->direction = 0;
    ASSERT_EQ(0U, VRQ_Encrypt_RSAES(unit, block.data(), &length, message, 3));
    unit->direction = 1;
    ASSERT_EQ(0U, VRQ_Decrypt_RSAES(unit, out.data(), &length, block.data(),
                                    static_cast<int32_t>(out.size())));
    EXPECT_EQ(3U, length);
    EXPECT_TRUE(std::equal(message, message + 3, out.begin()));
}

struct Size {
    const char* e;
    int32_t bits;
    int32_t d_rule;
};

TEST(RsaGenerate, KeysAgreeWithLibcrypto) {
    const Size sizes[] = {{"10001", 560, 1},
                          {"10001", 561, 2},
                          {"3", 576, 2},
                          {"11", 577, 1},
                          {"FFFFFFFFFFFFFFC5", 600, 2},
                          {"10001", 1025, 1}};
    for (const Form& form : kForms) {
        for (const Size& size : sizes) {
            SCOPED_TRACE(std::string(form.name) + " " + std::to_string(size.bits));
            const RsaUnit unit = new_rsa();
            ASSERT_EQ(0U, form.generate(unit.get(), Int(size.e), size.bits, size.d_rule));
            expect_key(*unit, size.bits, size.d_rule);
            expect_ready(unit.get(), form.digest);
        }
    }
}

TEST(RsaGenerate, LeastSizesPassThePairwiseTest) {
    for (const Form& form : kForms) {
        const RsaUnit unit = new_rsa();
        ASSERT_EQ(0U, form.generate(unit.get(), Int("10001"), form.least_bits + 1, 1));
        expect_ready(unit.get(), form.digest);
    }
}

TEST(RsaGenerate, ReplacesAKey) {
    const RsaUnit unit = new_rsa();
    ASSERT_EQ(0U, VRQ_Generate_RSA_Params_Ex(unit.get(), Int("10001"), 560, 1));
    const std::string first = test::text_of(VRQ_BIGINT_To_HEX, unit->n);
    ASSERT_EQ(0U, VRQ_Generate_RSA_Params(unit.get(), unit->e, 576, 2));
    EXPECT_NE(first, test::text_of(VRQ_BIGINT_To_HEX, unit->n));
    expect_key(*unit, 576, 2);
    expect_ready(unit.get(), VRQ_ID_SHA1);
}

TEST(ProvenRsaGenerate, SizesAndForms) {
    const Int e("10001");
    const RsaUnit unit = new_rsa();
    for (const int32_t bits : {0, 7, 1024, 2047}) {
        // before null arguments and d_rule
        EXPECT_EQ(0x180B0048U, VRQ_Generate_RSA_Params_Ex(unit.get(), e, bits, 1));
        EXPECT_EQ(0x180B0048U, VRQ_Generate_RSA_Params_Ex(nullptr, e, bits, 0));
    }
    EXPECT_EQ(0x180C002BU, VRQ_Generate_RSA_Params_Ex(unit.get(), e, -1, 1));
    EXPECT_EQ(0x180B002BU, VRQ_Generate_RSA_Params_Ex(unit.get(), e, 2048, 3));
    // the older generator is refused, so that nothing counts as prime
    EXPECT_EQ(0x180C0036U, VRQ_Generate_RSA_Params(unit.get(), e, 2048, 1));
    ASSERT_EQ(0U, VRQ_Generate_RSA_Params_Ex(unit.get(), e, 2048, 2));
    expect_key(*unit, 2048, 2);
    expect_ready(unit.get(), VRQ_ID_SHA256);
}

} // namespace
