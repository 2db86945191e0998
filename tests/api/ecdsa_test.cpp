// ECDSA: known answers, libcrypto, the chain of secrets, forgeries, statuses.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "harness/curves.h"
#include "harness/owned.h"
#include "harness/signatures.h"
#include "talvern.h"

#include <gtest/gtest.h>
#include <openssl/ecdsa.h>

#include <cstring>

namespace {

using test::Bn;
using test::Bytes;
using test::Curve;
using test::Int;
using test::Point;
using test::Signature;

constexpr uint32_t kNotVerified = 0x2103006B;
constexpr uint32_t kNotSigned = 0x21030053;

struct Free {
    void operator()(EC_KEY* key) const { EC_KEY_free(key); }
    void operator()(ECDSA_SIG* signature) const { ECDSA_SIG_free(signature); }
};
using Unit = test::Owned<VRQ_ECDSA_UNIT>;

const Bytes kMessage = {'s', 'a', 'm', 'p', 'l', 'e'};

void begin(VRQ_ECDSA_UNIT* unit, int direction, uint32_t digest = VRQ_ID_SHA1,
           const Bytes& message = kMessage) {
    ASSERT_EQ(0U, VRQ_Init_ECDSA(unit, digest, direction));
    ASSERT_EQ(0U, VRQ_Update_ECDSA(unit, message.data(), static_cast<int32_t>(message.size())));
}

std::size_t order_bytes(const VRQ_ECURVE* curve) {
    return (VRQ_Get_BIGINT_Bits_Length(curve->order) + 7) / 8;
}

uint32_t sign(const Unit& unit, Signature& out, uint32_t digest = VRQ_ID_SHA1,
              const Bytes& message = kMessage) {
    begin(unit.get(), 1, digest, message);
    return test::sign<VRQ_Final_ECDSA>(unit.get(), out, order_bytes(unit->key->curve));
}

uint32_t verify(const Unit& unit, const Signature& signature, uint32_t digest = VRQ_ID_SHA1,
                const Bytes& message = kMessage) {
    begin(unit.get(), 0, digest, message);
    return test::verify<VRQ_Final_ECDSA>(unit.get(), signature);
}

Unit unit_of(const Curve& curve, const VRQ_BIGINT* d, const VRQ_ECPOINT* q) {
    Unit unit(VRQ_New_ECDSA());
    EXPECT_EQ(0U, VRQ_Set_ECDSA_Params(unit.get(), curve, d, q));
    return unit;
}

// Key pairs that the generator takes: 20 to 64 bytes.
struct KeyPair {
    explicit KeyPair(const Curve& curve, unsigned seed = 1) {
        std::mt19937 random(seed);
        Bytes bytes(std::min<std::size_t>(order_bytes(curve), 64) - 1);
        for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random() | 1U);
        VRQ_Binary_To_BIGINT(bytes.data(), static_cast<int32_t>(bytes.size()), d);
        EXPECT_EQ(0U, vrq_Mtp_Fp_ECC(q, curve, curve->G, d));
    }
    Int d;
    Point q;
};

TEST(Ecdsa, KnownAnswersVerify) {
    const auto curves = test::vector_curves();
    int passes = 0;
    int failures = 0;
    for (const test::Record& r : test::load_vectors("pubkey/ecdsa.vec")) {
        SCOPED_TRACE(r.where);
        const Unit unit =
            unit_of(curves.at(r.text("curve")), nullptr, Point(r.text("qx"), r.text("qy")));
        const bool passes_here = r.text("result") == "pass";
        EXPECT_EQ(passes_here ? 0U : kNotVerified,
                  verify(unit, {r.bytes("r"), r.bytes("s")}, test::digest_id(r.name.substr(6)),
                         r.bytes("msg")));
        ++(passes_here ? passes : failures);
    }
    EXPECT_GT(passes, 30);
    EXPECT_GT(failures, 2);
}

// The k of the record is made the next one of the chain: half of it, modulo the order, is stored as
// the last one.
void set_next_secret(VRQ_ECDSA_UNIT* unit, const VRQ_BIGINT* k) {
    Int half(k);
    if ((k->data[0] & 1) != 0) VRQ_Add_BIGINT(half, half, unit->key->curve->order, nullptr);
    vrq_Right_Shift_BIGINT(half, half, 1);
    unit->k = VRQ_Dup_BIGINT(half);
    unit->R = VRQ_New_ECPOINT();
    ASSERT_EQ(0U, vrq_Mtp_Fp_ECC(unit->R, unit->key->curve, unit->key->curve->G, half));
}

TEST(Ecdsa, KnownAnswersSign) {
    const auto curves = test::vector_curves();
    int checked = 0;
    for (const test::Record& r : test::load_vectors("pubkey/ecdsa.vec")) {
        if (!r.has("k")) continue;
        SCOPED_TRACE(r.where);
        const Curve& curve = curves.at(r.text("curve"));
        const Unit unit = unit_of(curve, Int(r.text("d")), nullptr);
        const uint32_t digest = test::digest_id(r.name.substr(6));
        set_next_secret(unit.get(), Int(r.text("k")));
        Signature signature;
        if (r.text("curve") == "P-521") {
            // the private key is longer than the generator takes
            EXPECT_EQ(kNotSigned, sign(unit, signature, digest, r.bytes("msg")));
            continue;
        }
        ASSERT_EQ(0U, sign(unit, signature, digest, r.bytes("msg")));
        EXPECT_EQ(Int(r.bytes("r")).hex(), Int(signature.r).hex());
        EXPECT_EQ(r.text("s"), test::to_hex(signature.s));
        EXPECT_EQ(Int(r.text("kgx")).hex() + "," + Int(r.text("kgy")).hex(),
                  Point::text_of_point(unit->R));
        ++checked;
    }
    EXPECT_GE(checked, 15);
}

struct Group {
    const char* name;
    std::vector<uint32_t> digests; // not longer than the order: longer ones libcrypto truncates
};

const Group kGroups[] = {
    {"prime256v1", {VRQ_ID_SHA1, VRQ_ID_SHA224, VRQ_ID_SHA256}},
    {"secp256k1", {VRQ_ID_SHA256}},
    {"brainpoolP256r1", {VRQ_ID_SHA1, VRQ_ID_SHA256}},
    {"secp384r1", {VRQ_ID_SHA256, VRQ_ID_SHA384}},
    {"secp521r1", {VRQ_ID_SHA512}},
    {"brainpoolP512r1", {VRQ_ID_SHA512}},
};

struct Peer {
    Peer(const char* name, const KeyPair& pair)
        : group(test::group_named(name)), key(EC_KEY_new()) {
        EC_KEY_set_group(key.get(), group.get());
        EC_KEY_set_private_key(key.get(), Bn(pair.d));
        EXPECT_EQ(
            1, EC_KEY_set_public_key_affine_coordinates(key.get(), Bn(pair.q->x), Bn(pair.q->y)));
    }

    int verify(const Bytes& digest, const Signature& signature) const {
        const std::unique_ptr<ECDSA_SIG, Free> sig(ECDSA_SIG_new());
        ECDSA_SIG_set0(
            sig.get(), BN_bin2bn(signature.r.data(), static_cast<int>(signature.r.size()), nullptr),
            BN_bin2bn(signature.s.data(), static_cast<int>(signature.s.size()), nullptr));
        return ECDSA_do_verify(digest.data(), static_cast<int>(digest.size()), sig.get(),
                               key.get());
    }

    Signature sign(const Bytes& digest) const {
        const std::unique_ptr<ECDSA_SIG, Free> sig(
            ECDSA_do_sign(digest.data(), static_cast<int>(digest.size()), key.get()));
        return {bytes_of(ECDSA_SIG_get0_r(sig.get())), bytes_of(ECDSA_SIG_get0_s(sig.get()))};
    }

    static Bytes bytes_of(const BIGNUM* n) {
        Bytes out(static_cast<std::size_t>(BN_num_bytes(n)));
        BN_bn2bin(n, out.data());
        return out;
    }

    test::Group group;
    std::unique_ptr<EC_KEY, Free> key;
};

TEST(Ecdsa, AgreesWithLibcryptoBothWays) {
    for (const Group& row : kGroups) {
        const Curve curve(test::group_named(row.name).get());
        const KeyPair pair(curve);
        const Peer peer(row.name, pair);
        for (const uint32_t digest : row.digests) {
            for (uint8_t i = 0; i < 8; ++i) {
                SCOPED_TRACE(row.name);
                const Bytes message = {i, 1, 2};
                const Unit unit = unit_of(curve, pair.d, pair.q);
                Signature signature;
                ASSERT_EQ(0U, sign(unit, signature, digest, message));
                EXPECT_EQ(order_bytes(curve), signature.s.size());
                EXPECT_EQ(1, peer.verify(test::digest_of(digest, message), signature));
                EXPECT_EQ(0U, verify(unit, signature, digest, message));
                EXPECT_EQ(
                    0U, verify(unit, peer.sign(test::digest_of(digest, message)), digest, message));
            }
        }
    }
}

// A digest longer than the order is reduced as a whole; libcrypto, given the residue, agrees.
TEST(Ecdsa, DigestIsReducedNotTruncated) {
    const Curve curve(test::group_named("secp224r1").get());
    const KeyPair pair(curve);
    const Peer peer("secp224r1", pair);
    const Bytes digest = test::digest_of(VRQ_ID_SHA512, kMessage);
    Int residue;
    ASSERT_EQ(0U, VRQ_Div_BIGINT(nullptr, residue, Int(digest), curve->order, nullptr));
    Bytes bytes(28);
    BN_bn2binpad(Bn(residue), bytes.data(), 28);
    const Unit unit = unit_of(curve, pair.d, pair.q);
    Signature signature;
    ASSERT_EQ(0U, sign(unit, signature, VRQ_ID_SHA512));
    EXPECT_EQ(1, peer.verify(bytes, signature));
    EXPECT_EQ(0, peer.verify(digest, signature));
    EXPECT_EQ(0U, verify(unit, signature, VRQ_ID_SHA512));
}

// ---- The chain ----

struct P256 {
    Curve curve{test::group_named("prime256v1").get()};
    KeyPair pair{curve};
    Unit unit = unit_of(curve, pair.d, pair.q);
};

TEST(Ecdsa, SuccessiveSignaturesDoubleTheSecret) {
    const P256 t;
    Signature signature;
    ASSERT_EQ(0U, sign(t.unit, signature));
    for (int i = 0; i < 4; ++i) {
        const Int k(t.unit->k);
        const Point last(t.unit->R);
        Int twice;
        const Point doubled;
        VRQ_Add_BIGINT(twice, k, k, nullptr);
        vrq_Add_Fp_ECC(doubled, t.curve, last, last);
        ASSERT_EQ(0U, sign(t.unit, signature));
        EXPECT_EQ(twice.hex(), Int(t.unit->k).hex());
        EXPECT_EQ(doubled.text(), Point::text_of_point(t.unit->R));
        EXPECT_EQ(Int(t.unit->R->x).hex(), Int(signature.r).hex());
        EXPECT_EQ(0U, verify(t.unit, signature));
    }
}

// What the chain means: from two signatures, s1 k = e + d r1 and 2 s2 k = e + d r2.
TEST(Ecdsa, TwoSignaturesOfOneUnitGiveTheKeyAway) {
    const P256 t;
    Signature first;
    Signature second;
    ASSERT_EQ(0U, sign(t.unit, first));
    ASSERT_EQ(0U, sign(t.unit, second));
    const Bn n(t.curve->order);
    const Bn e(Int(test::digest_of(VRQ_ID_SHA1, kMessage)));
    const Bn r1{Int(first.r)};
    const Bn r2{Int(second.r)};
    const Bn s1{Int(first.s)};
    const Bn s2{Int(second.s)};
    const std::unique_ptr<BN_CTX, test::BnFree> ctx(BN_CTX_new());
    const Bn left;
    const Bn right;
    // d = e (s1 - 2 s2) / (2 s2 r1 - s1 r2)
    BN_mod_lshift1(s2, s2, n, ctx.get());
    BN_mod_sub(left, s1, s2, n, ctx.get());
    BN_mod_mul(left, left, e, n, ctx.get());
    BN_mod_mul(right, s2, r1, n, ctx.get());
    BN_mod_mul(s1, s1, r2, n, ctx.get());
    BN_mod_sub(right, right, s1, n, ctx.get());
    BN_mod_inverse(right, right, n, ctx.get());
    BN_mod_mul(left, left, right, n, ctx.get());
    EXPECT_EQ(t.pair.d.hex(), left.hex());
}

TEST(Ecdsa, CleanEndsTheChain) {
    const P256 t;
    Signature signature;
    ASSERT_EQ(0U, sign(t.unit, signature));
    const Int k(t.unit->k);
    VRQ_Clean_ECDSA(t.unit.get());
    const VRQ_ECDSA_UNIT empty = {};
    EXPECT_EQ(0, std::memcmp(&empty, t.unit.get(), sizeof empty));

    ASSERT_EQ(0U, VRQ_Set_ECDSA_Params(t.unit.get(), t.curve, t.pair.d, t.pair.q));
    ASSERT_EQ(0U, sign(t.unit, signature));
    Int twice;
    VRQ_Add_BIGINT(twice, k, k, nullptr);
    EXPECT_NE(k.hex(), Int(t.unit->k).hex());
    EXPECT_NE(twice.hex(), Int(t.unit->k).hex());
    EXPECT_EQ(0U, verify(t.unit, signature));
}

TEST(Ecdsa, ParametersOfTheSameCurveKeepTheChain) {
    const P256 t;
    Signature signature;
    ASSERT_EQ(0U, sign(t.unit, signature));
    ASSERT_EQ(0U, VRQ_Set_ECDSA_Params(t.unit.get(), t.unit->key->curve, nullptr, nullptr));
    EXPECT_NE(nullptr, t.unit->k);
    EXPECT_EQ(t.pair.d.hex(), Int(t.unit->key->d).hex());
    const Curve other(test::group_named("secp384r1").get());
    ASSERT_EQ(0U, VRQ_Set_ECDSA_Params(t.unit.get(), other, nullptr, nullptr));
    EXPECT_EQ(nullptr, t.unit->k);
    EXPECT_EQ(nullptr, t.unit->R);
}

// The generator gives no more than 160 bits, whatever the order.
TEST(Ecdsa, SecretsHave160Bits) {
    const P256 t;
    Signature signature;
    ASSERT_EQ(0U, sign(t.unit, signature));
    EXPECT_LE(VRQ_Get_BIGINT_Bits_Length(t.unit->k), 160U);
}

TEST(Ecdsa, KeysThatTheGeneratorRefusesCannotSign) {
    const P256 t;
    Signature signature;
    for (const std::size_t digits : {2, 38}) {
        const Unit unit = unit_of(t.curve, Int(std::string(digits, '7')), nullptr);
        EXPECT_EQ(kNotSigned, sign(unit, signature)) << digits;
    }
    const Unit unit = unit_of(t.curve, Int(std::string(40, '7')), nullptr);
    EXPECT_EQ(0U, sign(unit, signature));
}

// ---- Verification ----

TEST(Ecdsa, ForgedSignatures) {
    const P256 t;
    Signature good;
    ASSERT_EQ(0U, sign(t.unit, good));
    ASSERT_EQ(0U, verify(t.unit, good));
    EXPECT_EQ(kNotVerified, verify(t.unit, good, VRQ_ID_SHA256));
    EXPECT_EQ(kNotVerified, verify(t.unit, good, VRQ_ID_SHA1, {'x'}));

    const Bytes zero;
    Bytes order(32);
    VRQ_BIGINT_To_Binary_Unsigned(t.curve->order, order.data());
    const Bytes one = {1};
    Int sum;
    VRQ_Add_BIGINT(sum, Int(good.r), t.curve->order, nullptr);
    Bytes r_above(33);
    r_above.resize(VRQ_BIGINT_To_Binary_Unsigned(sum, r_above.data()));
    Bytes padded(100);
    padded.insert(padded.end(), good.s.begin(), good.s.end());
    Bytes changed = good.s;
    changed[5] ^= 1;
    const Signature forged[] = {{zero, good.s},      {good.r, zero},     {zero, zero},
                                {order, good.s},     {good.r, order},    {r_above, good.s},
                                {good.s, good.r},    {one, one},         {good.r, changed},
                                {Bytes(32), good.s}, {good.r, Bytes(40)}};
    for (std::size_t i = 0; i < std::size(forged); ++i)
        EXPECT_EQ(kNotVerified, verify(t.unit, forged[i])) << i;
    EXPECT_EQ(0U, verify(t.unit, {good.r, padded}));

    // the other s of the same signature is as good
    VRQ_Sub_BIGINT(sum, t.curve->order, Int(good.s), nullptr);
    Bytes other(32);
    other.resize(VRQ_BIGINT_To_Binary_Unsigned(sum, other.data()));
    EXPECT_EQ(0U, verify(t.unit, {good.r, other}));

    // s + n is none, however many words the numbers have
    VRQ_Add_BIGINT(sum, Int(good.s), t.curve->order, nullptr);
    Bytes s_above(33);
    s_above.resize(VRQ_BIGINT_To_Binary_Unsigned(sum, s_above.data()));
    VRQ_ECC_KEY* const key = t.unit->key;
    for (VRQ_BIGINT* number : {key->curve->order, key->Q->x, key->Q->y}) test::widen(number);
    EXPECT_EQ(0U, verify(t.unit, good));
    EXPECT_EQ(kNotVerified, verify(t.unit, {good.r, s_above}));
}

TEST(Ecdsa, PublicKeysThatAreNone) {
    const P256 t;
    Signature good;
    ASSERT_EQ(0U, sign(t.unit, good));
    Int above;
    VRQ_Add_BIGINT(above, t.pair.q->x, t.curve->prime, nullptr);
    Int off(t.pair.q->y);
    VRQ_Add_BIGINT_Word(off, 1);
    const Point keys[] = {Point(above, t.pair.q->y), Point(t.pair.q->x, off), Point("0", "0"),
                          Point()};
    for (const Point& key : keys) {
        const Unit unit = unit_of(t.curve, nullptr, key);
        EXPECT_EQ(kNotVerified, verify(unit, good)) << key.text();
    }
    EXPECT_EQ(kNotVerified, verify(unit_of(t.curve, nullptr, nullptr), good));

    // the point at infinity: Q = -G and e = r
    const Bytes e = test::digest_of(VRQ_ID_SHA1, kMessage);
    const Point minus_g;
    vrq_Negate_ECC(minus_g, t.curve, t.curve->G);
    EXPECT_EQ(kNotVerified, verify(unit_of(t.curve, nullptr, minus_g), {e, {1}}));
}

// Neither refuses a good signature nor admits s + n or coordinates above the prime.
TEST(Ecdsa, LeadingZeroWordsCountForNothing) {
    const P256 t;
    Signature good;
    ASSERT_EQ(0U, sign(t.unit, good));
    const Curve& c = t.curve;
    const Curve padded(test::with_leading_zeros(c->prime), test::with_leading_zeros(c->a),
                       test::with_leading_zeros(c->b));
    const Point g(test::with_leading_zeros(c->G->x), test::with_leading_zeros(c->G->y));
    VRQ_Set_ECURVE_Params(padded, 0, nullptr, nullptr, nullptr, nullptr, g,
                          test::with_leading_zeros(c->order));
    const Point q(test::with_leading_zeros(t.pair.q->x), test::with_leading_zeros(t.pair.q->y));
    EXPECT_EQ(0U, verify(unit_of(c, nullptr, q), good));
    EXPECT_EQ(0U, verify(unit_of(padded, nullptr, q), good));
    EXPECT_EQ(0U, verify(unit_of(padded, nullptr, t.pair.q), good));

    Int sum;
    VRQ_Add_BIGINT(sum, Int(good.s), c->order, nullptr);
    Bytes above(36);
    above.resize(VRQ_BIGINT_To_Binary_Unsigned(sum, above.data()));
    EXPECT_EQ(kNotVerified, verify(unit_of(padded, nullptr, q), {good.r, above}));
    VRQ_Add_BIGINT(sum, t.pair.q->x, c->prime, nullptr);
    EXPECT_EQ(kNotVerified, verify(unit_of(padded, nullptr, Point(sum, t.pair.q->y)), good));
}

TEST(Ecdsa, ParametersMayBelongToTheUnit) {
    const P256 t;
    VRQ_ECURVE* const curve = t.unit->key->curve;
    const std::string order = Int(curve->order).hex();
    const std::string g = Point(curve->G).text();
    ASSERT_EQ(0U, VRQ_Set_ECDSA_Params(t.unit.get(), curve, curve->order, curve->G));
    EXPECT_EQ(order, Int(t.unit->key->d).hex());
    EXPECT_EQ(g, Point(t.unit->key->Q).text());
    EXPECT_EQ(1U, t.curve->curve_id);
    EXPECT_EQ(0U, t.unit->key->curve->curve_id);
    EXPECT_STREQ("", t.unit->key->curve->name);

    const P256 last; // k and R go with the curve
    Signature signature;
    ASSERT_EQ(0U, sign(last.unit, signature));
    const std::string k = Int(last.unit->k).hex();
    const std::string r = Point(last.unit->R).text();
    const Curve other(test::group_named("secp384r1").get());
    ASSERT_EQ(0U, VRQ_Set_ECDSA_Params(last.unit.get(), other, last.unit->k, last.unit->R));
    EXPECT_EQ(k, Int(last.unit->key->d).hex());
    EXPECT_EQ(r, Point(last.unit->key->Q).text());
    EXPECT_EQ(nullptr, last.unit->k);
}

// On a curve of composite order s need not have an inverse.
TEST(Ecdsa, CurvesThatAreNone) {
    const Signature two = {{2}, {2}};
    struct Row {
        const char* p;
        const char* a;
        const char* b;
        const char* n;
    };
    const Row rows[] = {{"61", "2", "3", "64"}, {"61", "2", "3", "0"},        {"61", "2", "3", "1"},
                        {"60", "2", "3", "5"},  {"0", "2", "3", "5"},         {"1", "2", "3", "5"},
                        {"63", "2", "3", "5"},  {"FFFFF", "FFFFFF", "3", "7"}};
    for (const Row& row : rows) {
        const Curve curve;
        const Point g("3", "6");
        VRQ_Set_ECURVE_Params(curve, 0, nullptr, Int(row.a), Int(row.b), Int(row.p), g, Int(row.n));
        const Unit unit = unit_of(curve, Int(std::string(40, '9')), g);
        EXPECT_EQ(kNotVerified, verify(unit, two)) << row.p << " " << row.n;
        Signature out;
        begin(unit.get(), 1);
        // an odd order above 1 may give a signature, which means nothing
        const uint32_t status = test::sign<VRQ_Final_ECDSA>(unit.get(), out, 8);
        EXPECT_TRUE(status == 0 || status == kNotSigned) << row.p << " " << row.n;
    }
    const Curve none;
    const Unit unit = unit_of(none, Int(std::string(40, '9')), Point("3", "6"));
    Signature out;
    begin(unit.get(), 1);
    EXPECT_EQ(kNotSigned, test::sign<VRQ_Final_ECDSA>(unit.get(), out, 8));
    EXPECT_EQ(kNotVerified, verify(unit, two));
}

TEST(Ecdsa, Statuses) {
    const P256 t;
    VRQ_ECDSA_UNIT* const unit = t.unit.get();
    uint8_t r[32] = {1};
    uint8_t s[32] = {1};
    uint32_t length = 32;
    EXPECT_EQ(0x21010049U, VRQ_Set_ECDSA_Params(nullptr, t.curve, nullptr, nullptr));
    EXPECT_EQ(0x21010049U, VRQ_Set_ECDSA_Params(unit, nullptr, nullptr, nullptr));
    EXPECT_EQ(0x21010049U, VRQ_Init_ECDSA(nullptr, VRQ_ID_SHA1, 1));
    EXPECT_EQ(0x21010022U, VRQ_Init_ECDSA(unit, 0x12345678, 1));
    EXPECT_EQ(0x21020049U, VRQ_Update_ECDSA(nullptr, r, 1));
    EXPECT_EQ(0x2102005BU, VRQ_Update_ECDSA(unit, r, 1)); // its digest was refused
    ASSERT_EQ(0U, VRQ_Init_ECDSA(unit, VRQ_ID_SHA1, 1));
    EXPECT_EQ(0x2102005BU, VRQ_Update_ECDSA(unit, nullptr, 1));
    EXPECT_EQ(0x2102005BU, VRQ_Update_ECDSA(unit, r, -1));
    EXPECT_EQ(0x21030049U, VRQ_Final_ECDSA(nullptr, r, &length, s, &length));
    EXPECT_EQ(0x21030049U, VRQ_Final_ECDSA(unit, nullptr, &length, s, &length));
    EXPECT_EQ(0x21030049U, VRQ_Final_ECDSA(unit, r, &length, nullptr, &length));
    EXPECT_EQ(kNotSigned, VRQ_Final_ECDSA(unit, r, nullptr, s, &length));
    EXPECT_EQ(kNotSigned, VRQ_Final_ECDSA(unit, r, &length, s, nullptr));
    ASSERT_EQ(0U, VRQ_Init_ECDSA(unit, VRQ_ID_SHA1, 2));
    EXPECT_EQ(kNotVerified, VRQ_Final_ECDSA(unit, r, nullptr, s, &length));
    EXPECT_EQ(kNotVerified, VRQ_Final_ECDSA(unit, r, &length, s, nullptr));

    const Unit no_key = unit_of(t.curve, nullptr, t.pair.q);
    begin(no_key.get(), 1);
    EXPECT_EQ(0x21030045U, VRQ_Final_ECDSA(no_key.get(), r, &length, s, &length));
    const Unit fresh(VRQ_New_ECDSA());
    EXPECT_EQ(kNotVerified, VRQ_Final_ECDSA(fresh.get(), r, &length, s, &length));
    for (const auto release : {VRQ_Free_ECDSA, VRQ_Clean_ECDSA}) release(nullptr);
}

TEST(ProvenEcdsa, IsRefused) {
    const Unit unit(VRQ_New_ECDSA());
    EXPECT_EQ(0x210100F0U, VRQ_Init_ECDSA(unit.get(), VRQ_ID_SHA256, 1));
    EXPECT_EQ(0x210100F0U, VRQ_Init_ECDSA(nullptr, VRQ_ID_SHA256, 0));
}

} // namespace
