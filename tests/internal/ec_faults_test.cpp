// Curves, ECDSA and DSA when memory fails, what they leave in freed memory, and the field kernels
// beside the portable ones.
#include "foundation/cpu.h"
#include "harness/curves.h"
#include "harness/faults.h"
#include "harness/owned.h"
#include "harness/signatures.h"
#include "pubkey/ec_field.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>

namespace {

using test::Bytes;
using test::Curve;
using test::FreedMemoryWatch;
using test::Int;
using test::Owned;
using test::Point;
using vrq::u32;

const Curve& p256() {
    static const Curve curve(test::group_named("prime256v1").get());
    return curve;
}

const Int& secret() {
    static const Int d("1234567890ABCDEF1122334455667788DEADBEEFCAFEF00D0102030405060708");
    return d;
}

const Point& public_point() {
    static const Point q = [] {
        Point out;
        vrq_Mtp_Fp_ECC(out, p256(), p256()->G, secret());
        return out;
    }();
    return q;
}

// A failing allocation gives one of these, or no failure where the step could do without; out stays.
void expect_faults(const char* name, const std::set<u32>& failures,
                   const std::function<u32()>& call) {
    SCOPED_TRACE(name);
    test::for_each_allocation_fault([&](std::size_t number) {
        const u32 status = call();
        if (number == 0) {
            EXPECT_EQ(0U, status);
        } else {
            EXPECT_TRUE(failures.count(status) == 1) << std::hex << status;
        }
    });
}

TEST(EcFaults, PointsAndCurves) {
    const Point& q = public_point();
    const auto expect_ones = [](const char* name, const std::function<u32(VRQ_ECPOINT*)>& call) {
        expect_faults(name, {1}, [&] {
            const Point out;
            if (out == nullptr) return u32{1};
            return call(out);
        });
    };
    expect_ones("add", [&](VRQ_ECPOINT* out) { return vrq_Add_Fp_ECC(out, p256(), q, p256()->G); });
    expect_ones("double", [&](VRQ_ECPOINT* out) { return vrq_Add_Fp_ECC(out, p256(), q, q); });
    expect_ones("multiply",
                [&](VRQ_ECPOINT* out) { return vrq_Mtp_Fp_ECC(out, p256(), q, secret()); });
    expect_ones("negate", [&](VRQ_ECPOINT* out) { return vrq_Negate_ECC(out, p256(), q); });
    expect_ones("zero", [&](VRQ_ECPOINT* out) { return VRQ_Zero_Value_ECPOINT(out); });
    expect_ones("copy", [&](VRQ_ECPOINT* out) { return vrq_Copy_ECPOINT(out, q); });
    // b = 0 and a modulus of 9 take the affine way
    const Curve affine(Int("2B"), Int("7"), Int());
    const Point p("1", "C");
    const Int seven("7");
    expect_ones("affine", [&](VRQ_ECPOINT* out) { return vrq_Mtp_Fp_ECC(out, affine, p, seven); });
    expect_faults("curve", {1}, [] {
        const Curve fresh;
        return VRQ_Set_ECURVE_Params(fresh, 1, "x", p256()->a, p256()->b, p256()->prime, p256()->G,
                                     p256()->order);
    });
}

TEST(EcFaults, FailedOperationsLeaveThePoint) {
    const Point out("7", "8");
    test::for_each_allocation_fault([&](std::size_t number) {
        if (number == 0) {
            const Point unharmed;
            vrq_Mtp_Fp_ECC(unharmed, p256(), public_point(), secret());
            return;
        }
        if (vrq_Mtp_Fp_ECC(out, p256(), public_point(), secret()) != 0) {
            EXPECT_EQ("7,8", out.text());
        }
    });
}

u32 sign(VRQ_ECDSA_UNIT* unit) {
    if (VRQ_Init_ECDSA(unit, VRQ_ID_SHA256, 1) != 0) return 1;
    VRQ_Update_ECDSA(unit, Bytes{1}.data(), 1);
    test::Signature out;
    return test::sign<VRQ_Final_ECDSA>(unit, out, 32);
}

TEST(EcFaults, EcdsaStatuses) {
    expect_faults("new and set", {0x21010049, 0x2101003B}, [] {
        const Owned<VRQ_ECDSA_UNIT> unit(VRQ_New_ECDSA());
        return VRQ_Set_ECDSA_Params(unit.get(), p256(), secret(), public_point());
    });
}

// The set-up is no part of the run: the steps fail one by one on a unit that is whole. Steps that draw
// random numbers may make an allocation less than the run that counted them.
template <class Make, class Step>
void expect_step_faults(const char* name, const std::set<u32>& failures, Make make, Step step) {
    SCOPED_TRACE(name);
    ASSERT_EQ(0U, VRQ_Crypto_Initialize()) << "the self tests of the first call would be counted";
    std::size_t count = 1;
    for (std::size_t number = 0; number <= count; ++number) {
        SCOPED_TRACE("allocation " + std::to_string(number));
        const auto unit = make();
        vrq::testing::fail_allocation(number);
        const u32 status = step(unit.get());
        if (number == 0) {
            count = vrq::testing::allocation_count();
            EXPECT_EQ(0U, status);
        } else if (vrq::testing::allocation_count() >= number) {
            EXPECT_TRUE(failures.count(status) == 1) << std::hex << status;
        }
        vrq::testing::fail_allocation(0);
    }
}

Owned<VRQ_ECDSA_UNIT> ecdsa_unit() {
    Owned<VRQ_ECDSA_UNIT> unit(VRQ_New_ECDSA());
    VRQ_Set_ECDSA_Params(unit.get(), p256(), secret(), public_point());
    return unit;
}

TEST(EcFaults, EcdsaSteps) {
    expect_step_faults("init", {0x2101003B, 0x21010022}, ecdsa_unit,
                       [](VRQ_ECDSA_UNIT* unit) { return VRQ_Init_ECDSA(unit, VRQ_ID_SHA256, 1); });
    const auto initialised = [] {
        Owned<VRQ_ECDSA_UNIT> unit = ecdsa_unit();
        VRQ_Init_ECDSA(unit.get(), VRQ_ID_SHA256, 1);
        return unit;
    };
    const auto final_step = [](VRQ_ECDSA_UNIT* unit) {
        test::Signature out;
        return test::sign<VRQ_Final_ECDSA>(unit, out, 32);
    };
    // the first draw of a process makes more allocations than those after it
    test::Signature good;
    const Owned<VRQ_ECDSA_UNIT> signer = initialised();
    ASSERT_EQ(0U, test::sign<VRQ_Final_ECDSA>(signer.get(), good, 32));
    expect_step_faults("sign", {0x21030053}, initialised, final_step);
    const auto chained = [&] {
        Owned<VRQ_ECDSA_UNIT> unit = initialised();
        final_step(unit.get());
        VRQ_Free_BIGINT_Pool(unit->pool); // and with it what would spare allocations
        unit->pool = VRQ_New_BIGINT_Pool();
        return unit;
    };
    expect_step_faults("sign again", {0x21030053, 0}, chained, final_step);

    const auto verifier = [] {
        Owned<VRQ_ECDSA_UNIT> unit = ecdsa_unit();
        VRQ_Init_ECDSA(unit.get(), VRQ_ID_SHA256, 0);
        return unit;
    };
    expect_step_faults("verify", {0x2103006B}, verifier, [&](VRQ_ECDSA_UNIT* unit) {
        return test::verify<VRQ_Final_ECDSA>(unit, good);
    });
}

struct DsaKey {
    DsaKey() {
        for (const test::Record& r : test::load_vectors("pubkey/dsa.vec")) {
            if (r.name == "DSA-DOMAIN" && r.text("name") == "D1") {
                p = std::make_unique<Int>(r.text("p"));
                q = std::make_unique<Int>(r.text("q"));
                g = std::make_unique<Int>(r.text("g"));
            }
        }
        VRQ_Mod_Exp_Mont_BIGINT(y, *g, x, *p, nullptr);
    }
    Owned<VRQ_DSA_UNIT> unit() const {
        Owned<VRQ_DSA_UNIT> unit(VRQ_New_DSA());
        VRQ_Set_DSA_Params(unit.get(), *p, *q, *g, x, y);
        return unit;
    }
    std::unique_ptr<Int> p;
    std::unique_ptr<Int> q;
    std::unique_ptr<Int> g;
    Int x{"1234567890ABCDEF1122334455667788DEADBEEF"};
    Int y;
};

TEST(DsaFaults, Steps) {
    const DsaKey key;
    const auto made = [&] { return key.unit(); };
    expect_step_faults("set", {0x0C01000D}, made, [&](VRQ_DSA_UNIT* unit) {
        return VRQ_Set_DSA_Params(unit, *key.p, *key.q, *key.g, key.x, key.y);
    });
    expect_step_faults("init", {0x0C02003B, 0x0C020022}, made, [](VRQ_DSA_UNIT* unit) {
        return VRQ_Init_DSA(unit, VRQ_ID_SHA1, 1, Bytes(9, 1).data(), 9);
    });
    const auto initialised = [&](int direction) {
        return [&key, direction] {
            Owned<VRQ_DSA_UNIT> unit = key.unit();
            VRQ_Init_DSA(unit.get(), VRQ_ID_SHA1, direction, nullptr, 0);
            return unit;
        };
    };
    test::Signature good;
    const auto final_step = [&](VRQ_DSA_UNIT* unit) {
        return test::sign<VRQ_Final_DSA>(unit, good, 20);
    };
    ASSERT_EQ(0U, final_step(initialised(1)().get()));
    const test::Signature signature = good;
    expect_step_faults("sign", {0x0C040053}, initialised(1), final_step);
    expect_step_faults("verify", {0x0C04005D}, initialised(0), [&](VRQ_DSA_UNIT* unit) {
        return test::verify<VRQ_Final_DSA>(unit, signature);
    });
    expect_step_faults(
        "key pair", {0x0C08003C, 0x0C080025, 0x0C08001C, 0x0C090040},
        [&] {
            Owned<VRQ_DSA_UNIT> unit(VRQ_New_DSA());
            VRQ_Set_DSA_Params(unit.get(), *key.p, *key.q, *key.g, nullptr, key.y);
            return unit;
        },
        VRQ_Generate_DSA_Key_Pair);
}

// Some of a search's many allocations fail. Witnesses are random, so that searches differ by a few.
TEST(DsaFaults, Generation) {
    const Bytes seed = test::from_hex("d5014e4b60ef2ba8b6211b4062ba3224e0427dd3");
    const std::set<u32> failures = {0x0C070057, 0x0C07001B, 0x0C07003B, 0x0C07001D, 0x0C07000F};
    const auto generate = [&seed](std::size_t failing) {
        Owned<VRQ_DSA_UNIT> unit(VRQ_New_DSA());
        vrq::testing::fail_allocation(failing);
        const u32 status = VRQ_Generate_DSA_Params(unit.get(), seed.data(), 20, 512, nullptr);
        return std::pair(std::move(unit), status);
    };
    ASSERT_EQ(0U, VRQ_Crypto_Initialize());
    ASSERT_EQ(0U, generate(0).second);
    const std::size_t count = vrq::testing::allocation_count();
    for (std::size_t number = 1; number < count - count / 8; number += number < 40 ? 1 : 41) {
        const auto [unit, status] = generate(number);
        EXPECT_TRUE(failures.count(status) == 1) << number << " " << std::hex << status;
        EXPECT_EQ(nullptr, unit->p);
    }
    vrq::testing::fail_allocation(0);
}

// ---- Freed memory ----

Bytes words_of(const VRQ_BIGINT* a) {
    const auto* const begin = reinterpret_cast<const uint8_t*>(a->data);
    return Bytes(begin, begin + a->used * 4);
}

Bytes big_endian(const VRQ_BIGINT* a) {
    Bytes out = words_of(a);
    std::reverse(out.begin(), out.end());
    return out;
}

TEST(EcFaults, PrivateValuesAreGoneFromFreedMemory) {
    const Bytes secrets[] = {words_of(secret()), big_endian(secret())};
    for (const Bytes& d : secrets) {
        const FreedMemoryWatch watch(d);
        Owned<VRQ_ECDSA_UNIT> unit = ecdsa_unit();
        EXPECT_EQ(0U, sign(unit.get()));
        EXPECT_EQ(0U, sign(unit.get()));
        const Point out;
        EXPECT_EQ(0U, vrq_Mtp_Fp_ECC(out, p256(), public_point(), unit->key->d));
        Owned<VRQ_ECC_KEY> copy(VRQ_New_ECC_Key());
        EXPECT_EQ(0U, vrq_Copy_ECC_Key(copy.get(), unit->key));
        copy.reset();
        unit.reset();
        EXPECT_FALSE(watch.found());
        EXPECT_GT(watch.frees(), 20U);
    }
}

TEST(EcFaults, PerSignatureSecretsAreGoneFromFreedMemory) {
    const Owned<VRQ_ECDSA_UNIT> unit = ecdsa_unit();
    ASSERT_EQ(0U, sign(unit.get()));
    Int next;
    VRQ_Add_BIGINT(next, unit->k, unit->k, nullptr);
    const FreedMemoryWatch watch(words_of(next));
    EXPECT_EQ(0U, sign(unit.get()));
    EXPECT_EQ(next.hex(), Int(unit->k).hex());
    VRQ_Clean_ECDSA(unit.get());
    EXPECT_FALSE(watch.found());
    EXPECT_GT(watch.frees(), 5U);
}

TEST(DsaFaults, PrivateValuesAreGoneFromFreedMemory) {
    const DsaKey key;
    const Bytes xseed(20, 0x77);
    Int k;
    {
        // the secret of the signature to come
        VRQ_PRNG_UNIT* const prng = VRQ_New_PRNG_Unit();
        VRQ_Init_PRNG(prng, VRQ_ID_SHA1, big_endian(key.x).data(), 20, xseed.data(), 20, nullptr);
        VRQ_Get_Rand_DSA_BIGINT(prng, k, *key.q);
        VRQ_Free_PRNG_Unit(prng);
    }
    const Bytes secrets[] = {words_of(key.x), big_endian(key.x), words_of(k), xseed};
    for (const Bytes& secret : secrets) {
        const FreedMemoryWatch watch(secret);
        {
            const Owned<VRQ_DSA_UNIT> unit = key.unit();
            ASSERT_EQ(0U, VRQ_Init_DSA(unit.get(), VRQ_ID_SHA1, 1, xseed.data(), 20));
            test::Signature out;
            ASSERT_EQ(0U, test::sign<VRQ_Final_DSA>(unit.get(), out, 20));
            ASSERT_EQ(0U, VRQ_Set_DSA_Params(unit.get(), *key.p, *key.q, *key.g, key.x, key.y));
        }
        EXPECT_FALSE(watch.found());
        EXPECT_GT(watch.frees(), 20U);
    }
}

// ---- Field kernels ----

// r * R = a * b modulo p, by libcrypto.
TEST(EcField, KernelsMultiply) {
    test::Operands operands(11);
    const std::unique_ptr<BN_CTX, test::BnFree> ctx(BN_CTX_new());
    for (const vrq::FieldKernel& kernel : vrq::field_kernels()) {
        if (!vrq::cpu::has(kernel.needs)) continue;
        const std::size_t n = kernel.limbs;
        const auto bn = [n](const std::vector<vrq::u64>& limbs) {
            return BN_lebin2bn(reinterpret_cast<const unsigned char*>(limbs.data()),
                               static_cast<int>(8 * n), nullptr);
        };
        for (int i = 0; i < 400; ++i) {
            std::vector<vrq::u64> p = operands.limbs(n);
            p[0] |= 1;
            if (i % 4 == 0) p[n - 1] = ~vrq::u64{0};
            if (kernel.only_for != nullptr) p.assign(kernel.only_for, kernel.only_for + n);
            p.push_back(vrq::negated_inverse(p[0]));
            std::vector<vrq::u64> a = operands.limbs(n);
            std::vector<vrq::u64> b = operands.limbs(n);
            const std::unique_ptr<BIGNUM, test::BnFree> bp(bn(p));
            const std::unique_ptr<BIGNUM, test::BnFree> ba(bn(a));
            const std::unique_ptr<BIGNUM, test::BnFree> bb(bn(b));
            const bool is_largest = i % 3 == 0;
            for (BIGNUM* x : {ba.get(), bb.get()}) {
                if (is_largest) BN_copy(x, bp.get()), BN_sub_word(x, 1);
                BN_nnmod(x, x, bp.get(), ctx.get());
            }
            BN_bn2lebinpad(ba.get(), reinterpret_cast<unsigned char*>(a.data()),
                           static_cast<int>(8 * n));
            BN_bn2lebinpad(bb.get(), reinterpret_cast<unsigned char*>(b.data()),
                           static_cast<int>(8 * n));
            const bool square = i % 2 == 0;
            std::vector<vrq::u64> r = a;
            if (square) {
                kernel.sqr(r.data(), r.data(), p.data());
                BN_copy(bb.get(), ba.get());
            } else {
                kernel.mul(r.data(), r.data(), b.data(), p.data());
            }
            const std::unique_ptr<BIGNUM, test::BnFree> br(bn(r));
            ASSERT_LT(BN_cmp(br.get(), bp.get()), 0) << kernel.name << n;
            BN_lshift(br.get(), br.get(), static_cast<int>(64 * n));
            BN_mod_mul(ba.get(), ba.get(), bb.get(), bp.get(), ctx.get());
            BN_nnmod(br.get(), br.get(), bp.get(), ctx.get());
            ASSERT_EQ(0, BN_cmp(br.get(), ba.get())) << kernel.name << n;
        }
    }
}

} // namespace
