// No operation leaves words of a private key or of its blinding factor on the stack.
#include "harness/rsa_cases.h"
#include "harness/stack_residue.h"

namespace {

using namespace test;

// The modulus shares its upper half with (p - 1)(q - 1), so its pairs do not count.
WordPairs secrets_of(const VRQ_RSA_UNIT& unit) {
    WordPairs pairs;
    for (const VRQ_BIGINT* part :
         {unit.d, unit.p, unit.q, unit.dP, unit.dQ, unit.qInv, unit.blind_A, unit.blind_Ai})
        pairs.add(part);
    const Int r; // n is added to it where it is small
    EXPECT_EQ(0U, VRQ_Mod_Inverse_BIGINT(r, unit.blind_Ai, unit.n, nullptr));
    pairs.add(r);
    EXPECT_EQ(0U, VRQ_Add_BIGINT(r, r, unit.n, nullptr));
    pairs.add(r);
    pairs.remove(unit.n);
    return pairs;
}

// call(unit) returns 0
template <class Call>
void expect_nothing_left(const char* name, VRQ_RSA_UNIT* unit, Call call) {
    SCOPED_TRACE(name);
    uint32_t status = 1;
    const Stack stack = stack_after([&] { status = call(unit); });
    EXPECT_EQ(0U, status);
    EXPECT_EQ(0U, secrets_of(*unit).found_on(stack));
}

TEST(RsaStack, OperationsLeaveNoWordsOfTheKey) {
    if (!kFramesAreAsShipped) GTEST_SKIP();
    for (const std::size_t bits : {1024, 2048}) {
        const StoredRsaKey& key = rsa_key(bits);
        const RsaUnit unit = key.load(Parts::kCrt);
        const RsaUnit parts = key.load(Parts::kCrt);
        Bytes block(key.k());
        uint32_t length = 0;
        expect_nothing_left("load", unit.get(), [&](VRQ_RSA_UNIT* u) {
            return VRQ_Set_RSA_Params(u, parts->n, parts->e, parts->d, parts->p, parts->q,
                                      parts->dP, parts->dQ, parts->qInv);
        });
        expect_nothing_left("check", unit.get(), verify_RSA_KEY);
        expect_nothing_left("blinding", unit.get(), generate_RSA_BLINDING);
        const Int r;
        expect_nothing_left("primes", unit.get(),
                            [&](VRQ_RSA_UNIT* u) { return crt_RSA(u, r, u->e); });
        for (const int32_t use_crt : {1, 0}) {
            unit->use_crt = use_crt;
            for (const uint32_t mode : {0U, 1U, 2U}) {
                ASSERT_EQ(0U, VRQ_Init_RSASSA(unit.get(), VRQ_ID_SHA256, mode, VRQ_RSA_PRIVATE));
                expect_nothing_left("sign", unit.get(), [&](VRQ_RSA_UNIT* u) {
                    return VRQ_Final_RSASSA(u, block.data(), &length);
                });
            }
            for (const uint32_t mode : {0U, 8U, 32U}) {
                ASSERT_EQ(0U, VRQ_Init_RSAES(unit.get(), mode, VRQ_RSA_PUBLIC, 0));
                ASSERT_EQ(0U, encrypt(unit.get(), {1, 2, 3}, block));
                ASSERT_EQ(0U, VRQ_Init_RSAES(unit.get(), mode, VRQ_RSA_PRIVATE, 0));
                const Bytes in = block;
                expect_nothing_left("decrypt", unit.get(), [&](VRQ_RSA_UNIT* u) {
                    return VRQ_Decrypt_RSAES(u, block.data(), &length, in.data(),
                                             static_cast<int32_t>(key.k()));
                });
            }
        }
    }
}

TEST(RsaStack, GenerationLeavesNoWordsOfTheKey) {
    if (!kFramesAreAsShipped) GTEST_SKIP();
    const Int e("10001");
    for (const auto generate : {VRQ_Generate_RSA_Params, VRQ_Generate_RSA_Params_Ex}) {
        const RsaUnit unit = new_rsa();
        expect_nothing_left("generate", unit.get(),
                            [&](VRQ_RSA_UNIT* u) { return generate(u, e, 768, 1); });
    }
}

} // namespace
