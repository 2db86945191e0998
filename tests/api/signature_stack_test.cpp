// No operation of the schemes over groups leaves words of a private key or of the secret of a signature on
// the stack.
#include "api/kcdsa_cases.h"
#include "harness/curves.h"
#include "harness/owned.h"
#include "harness/stack_residue.h"

#include <functional>
#include <utility>

namespace {

using namespace test;

const Bytes kMessage = {'m', 'e', 's', 's', 'a', 'g', 'e'};

// What the call left; it succeeds.
Stack left_by(const std::function<uint32_t()>& call) {
    EXPECT_EQ(0U, VRQ_Crypto_Initialize()) << "the self tests need more stack";
    uint32_t status = 1;
    const Stack stack = stack_after([&] { status = call(); });
    EXPECT_EQ(0U, status);
    return stack;
}

void expect_nothing_of(const VRQ_BIGINT* secret, const Stack& stack, const char* what) {
    WordPairs pairs;
    ASSERT_GT(secret->used, 3);
    pairs.add(secret);
    EXPECT_EQ(0U, pairs.found_on(stack)) << what;
}

// a / b and a + b * c modulo n.
Int quotient(const VRQ_BIGINT* a, const VRQ_BIGINT* b, const VRQ_BIGINT* n) {
    const std::unique_ptr<BN_CTX, BnFree> context(BN_CTX_new());
    const Bn r;
    BN_mod_inverse(r, Bn(b), Bn(n), context.get());
    BN_mod_mul(r, r, Bn(a), Bn(n), context.get());
    return Int(static_cast<BIGNUM*>(r));
}

Int sum_of_product(const VRQ_BIGINT* a, const VRQ_BIGINT* b, const VRQ_BIGINT* c,
                   const VRQ_BIGINT* n) {
    const std::unique_ptr<BN_CTX, BnFree> context(BN_CTX_new());
    const Bn r;
    BN_mod_mul(r, Bn(b), Bn(c), Bn(n), context.get());
    BN_mod_add(r, r, Bn(a), Bn(n), context.get());
    return Int(static_cast<BIGNUM*>(r));
}

Bytes digest_of(uint32_t algorithm, const Bytes& message) {
    Bytes out(VRQ_MAX_DIGEST_LENGTH);
    uint32_t length = 0;
    EXPECT_EQ(0U, VRQ_DIGEST(algorithm, message.data(), static_cast<uint32_t>(message.size()),
                             out.data(), &length));
    out.resize(length);
    return out;
}

// k = s / x + e, e = r xor H(z || M).
Int secret_of(const VRQ_KCDSA_UNIT* unit, const KcdsaSignature& signature) {
    Bytes input(64);
    const Bn z(unit->y);
    EXPECT_EQ(1, BN_mask_bits(z, 512));
    BN_bn2binpad(z, input.data(), 64);
    input.insert(input.end(), kMessage.begin(), kMessage.end());
    Bytes e = digest_of(VRQ_ID_SHA256, input);
    for (std::size_t i = 0; i < e.size(); ++i) e[i] ^= signature.r[i];
    Int k = sum_of_product(Int(e), quotient(Int(signature.s), unit->x, unit->q), Int("1"), unit->q);
    const Int w;
    EXPECT_EQ(0U, VRQ_Mod_Exp_Mont_BIGINT(w, unit->g, k, unit->p, nullptr));
    Bytes bytes(256);
    bytes.resize(VRQ_BIGINT_To_Binary_Unsigned(w, bytes.data()));
    EXPECT_EQ(signature.r, digest_of(VRQ_ID_SHA256, bytes));
    return k;
}

TEST(SignatureStack, Kcdsa) {
    if (!kFramesAreAsShipped) GTEST_SKIP();
    for (const char* name : {"D2", "D3"}) {
        SCOPED_TRACE(name);
        const KcdsaDomain& d = kcdsa_domain(name);
        const Kcdsa owner = new_kcdsa();
        VRQ_KCDSA_UNIT* const unit = owner.get();
        ASSERT_EQ(0U, VRQ_Set_KCDSA_Params(unit, d.p, d.q, d.g, nullptr, nullptr));
        for (const auto generate : {VRQ_Generate_KCDSA_Key_Pair, VRQ_Generate_KCDSA_Key_Pair_Ex}) {
            const Stack stack = left_by([&] { return generate(unit); });
            expect_nothing_of(unit->x, stack, "key pair");
            expect_nothing_of(quotient(Int("1"), unit->x, unit->q), stack, "inverse");
        }
        const Int x(unit->x);
        const Stack after_load =
            left_by([&] { return VRQ_Set_KCDSA_Params(unit, d.p, d.q, d.g, x, nullptr); });
        expect_nothing_of(x, after_load, "load");
        expect_nothing_of(quotient(Int("1"), x, unit->q), after_load, "inverse");

        ASSERT_EQ(0U, VRQ_Init_KCDSA_Ex(unit, 1, VRQ_ID_SHA256));
        ASSERT_EQ(0U, update(unit, kMessage));
        KcdsaSignature signature;
        const Stack stack = left_by([&] { return sign(unit, signature); });
        expect_nothing_of(x, stack, "key");
        expect_nothing_of(secret_of(unit, signature), stack, "secret");

        const Int out;
        const Stack after_draw =
            left_by([&] { return vrq_Get_Rand_KCDSA_BIGINT(nullptr, VRQ_ID_SHA256, out, d.q); });
        expect_nothing_of(out, after_draw, "draw");
    }
}

TEST(SignatureStack, Dsa) {
    if (!kFramesAreAsShipped) GTEST_SKIP();
    for (const Record& r : load_vectors("pubkey/dsa.vec")) {
        if (r.name != "DSA-DOMAIN") continue;
        SCOPED_TRACE(r.where);
        const Owned<VRQ_DSA_UNIT> owner(VRQ_New_DSA());
        VRQ_DSA_UNIT* const unit = owner.get();
        const Int g(r.text("g"));
        ASSERT_EQ(0U, VRQ_Set_DSA_Params(unit, Int(r.text("p")), Int(r.text("q")), g, nullptr, g));
        do {
            const Stack stack = left_by([&] { return VRQ_Generate_DSA_Key_Pair(unit); });
            expect_nothing_of(unit->x, stack, "key pair");
        } while (VRQ_Get_BIGINT_Bits_Length(unit->x) <= 152);

        ASSERT_EQ(0U, VRQ_Init_DSA(unit, VRQ_ID_SHA1, 1, nullptr, 0));
        ASSERT_EQ(0U, VRQ_Update_DSA(unit, kMessage.data(), 7));
        Bytes r_out(32);
        Bytes s_out(32);
        uint32_t r_length = 0;
        uint32_t s_length = 0;
        const Stack stack = left_by(
            [&] { return VRQ_Final_DSA(unit, r_out.data(), &r_length, s_out.data(), &s_length); });
        r_out.resize(r_length);
        s_out.resize(s_length);
        expect_nothing_of(unit->x, stack, "key");
        const Int e(digest_of(VRQ_ID_SHA1, kMessage));
        const Int numerator = sum_of_product(e, unit->x, Int(r_out), unit->q);
        const Int k = quotient(numerator, Int(s_out), unit->q);
        const Int w;
        ASSERT_EQ(0U, VRQ_Mod_Exp_Mont_BIGINT(w, g, k, unit->p, nullptr));
        ASSERT_EQ(0U, VRQ_Div_BIGINT(nullptr, w, w, unit->q, nullptr));
        EXPECT_EQ(Int(r_out).hex(), w.hex());
        expect_nothing_of(k, stack, "secret");
        expect_nothing_of(quotient(Int(s_out), numerator, unit->q), stack, "inverse");
    }
}

TEST(SignatureStack, DiffieHellman) {
    if (!kFramesAreAsShipped) GTEST_SKIP();
    for (const Record& r : load_vectors("pubkey/dh.vec")) {
        if (r.name != "DH-GROUP") continue;
        SCOPED_TRACE(r.where);
        const Owned<VRQ_DH_UNIT> owner(VRQ_New_DH());
        VRQ_DH_UNIT* const unit = owner.get();
        VRQ_DH_PARAMS* const params = VRQ_New_DH_Params();
        const Int g(r.text("g"));
        ASSERT_EQ(0U, VRQ_Init_DH_Params(params, Int(r.text("p")), Int(r.text("q")), g));
        ASSERT_EQ(0U, VRQ_Init_DH(unit, nullptr, nullptr, params));
        VRQ_Free_DH_Params(params);
        const Stack after_pair = left_by([&] { return VRQ_Generate_DH_Key_Pair(unit); });
        expect_nothing_of(unit->x, after_pair, "key pair");

        Bytes out(VRQ_Get_DH_PARAMS_Length(unit->params));
        uint32_t length = 0;
        const Int peer(unit->y);
        const Stack stack =
            left_by([&] { return VRQ_Compute_Key(unit, peer, out.data(), &length); });
        expect_nothing_of(unit->x, stack, "key");
        expect_nothing_of(unit->secret, stack, "shared secret");
    }
}

TEST(SignatureStack, Ecdsa) {
    if (!kFramesAreAsShipped) GTEST_SKIP();
    for (const char* name : {"prime256v1", "secp384r1", "brainpoolP512r1"}) {
        SCOPED_TRACE(name);
        const Curve curve(group_named(name).get());
        const Int d("123456789ABCDEF0FEDCBA98765432100F1E2D3C4B5A6978");
        const Owned<VRQ_ECDSA_UNIT> owner(VRQ_New_ECDSA());
        VRQ_ECDSA_UNIT* const unit = owner.get();
        ASSERT_EQ(0U, VRQ_Set_ECDSA_Params(unit, curve, d, nullptr));
        Bytes r(64);
        Bytes s(64);
        uint32_t length = 0;
        for (int i = 0; i < 2; ++i) {
            ASSERT_EQ(0U, VRQ_Init_ECDSA(unit, VRQ_ID_SHA256, 1));
            ASSERT_EQ(0U, VRQ_Update_ECDSA(unit, kMessage.data(), 7));
            const Stack stack = left_by(
                [&] { return VRQ_Final_ECDSA(unit, r.data(), &length, s.data(), &length); });
            expect_nothing_of(d, stack, "key");
            expect_nothing_of(unit->k, stack, "secret");
            expect_nothing_of(quotient(Int("1"), unit->k, curve->order), stack, "inverse");
        }
        const Point out;
        const Stack stack = left_by([&] { return vrq_Mtp_Fp_ECC(out, curve, curve->G, d); });
        expect_nothing_of(d, stack, "multiple");
    }
}

} // namespace
