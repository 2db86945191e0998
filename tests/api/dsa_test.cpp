// DSA: known answers, libcrypto, generation, forgeries, statuses.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "harness/bigints.h"
#include "harness/owned.h"
#include "harness/signatures.h"
#include "talvern.h"

#include <gtest/gtest.h>
#include <openssl/dsa.h>

#include <cstring>
#include <map>

namespace {

using test::Bn;
using test::Bytes;
using test::Int;
using test::Signature;

constexpr uint32_t kNotVerified = 0x0C04005D;
constexpr uint32_t kNotSigned = 0x0C040053;

struct Free {
    void operator()(DSA* dsa) const { DSA_free(dsa); }
    void operator()(DSA_SIG* signature) const { DSA_SIG_free(signature); }
};
using Unit = test::Owned<VRQ_DSA_UNIT>;

const Bytes kMessage = {'s', 'a', 'm', 'p', 'l', 'e'};

struct Domain {
    explicit Domain(const test::Record& r) : p(r.text("p")), q(r.text("q")), g(r.text("g")) {}
    Int p;
    Int q;
    Int g;
};

// The domains of the vectors by name.
std::map<std::string, Domain> domains() {
    std::map<std::string, Domain> out;
    for (const test::Record& r : test::load_vectors("pubkey/dsa.vec")) {
        if (r.name == "DSA-DOMAIN") out.emplace(r.text("name"), Domain(r));
    }
    return out;
}

Unit unit_of(const Domain& domain, const VRQ_BIGINT* x, const VRQ_BIGINT* y) {
    Unit unit(VRQ_New_DSA());
    EXPECT_EQ(0U, VRQ_Set_DSA_Params(unit.get(), domain.p, domain.q, domain.g, x, y));
    return unit;
}

// A unit with a key pair of its own.
Unit keyed_unit(const Domain& domain) {
    Unit unit = unit_of(domain, nullptr, domain.g);
    EXPECT_EQ(0U, VRQ_Generate_DSA_Key_Pair(unit.get()));
    while (VRQ_Get_BIGINT_Bits_Length(unit->x) <= 152) VRQ_Generate_DSA_Key_Pair(unit.get());
    return unit;
}

void begin(VRQ_DSA_UNIT* unit, int direction, uint32_t digest = VRQ_ID_SHA1,
           const Bytes& message = kMessage, const Bytes& xseed = {}) {
    ASSERT_EQ(0U, VRQ_Init_DSA(unit, digest, direction, xseed.empty() ? nullptr : xseed.data(),
                               static_cast<int32_t>(xseed.size())));
    ASSERT_EQ(0U, VRQ_Update_DSA(unit, message.data(), static_cast<int32_t>(message.size())));
}

std::size_t order_bytes(const VRQ_DSA_UNIT* unit) {
    return (VRQ_Get_BIGINT_Bits_Length(unit->q) + 7) / 8;
}

uint32_t sign(const Unit& unit, Signature& out, uint32_t digest = VRQ_ID_SHA1,
              const Bytes& message = kMessage, const Bytes& xseed = {}) {
    begin(unit.get(), 1, digest, message, xseed);
    return test::sign<VRQ_Final_DSA>(unit.get(), out, order_bytes(unit.get()));
}

uint32_t verify(const Unit& unit, const Signature& signature, uint32_t digest = VRQ_ID_SHA1,
                const Bytes& message = kMessage) {
    begin(unit.get(), 0, digest, message);
    return test::verify<VRQ_Final_DSA>(unit.get(), signature);
}

// The same key for libcrypto.
class Peer {
  public:
    explicit Peer(const VRQ_DSA_UNIT* unit) : dsa_(DSA_new()) {
        DSA_set0_pqg(dsa_.get(), copy(unit->p), copy(unit->q), copy(unit->g));
        DSA_set0_key(dsa_.get(), copy(unit->y), unit->x == nullptr ? nullptr : copy(unit->x));
    }

    int verify(const Bytes& digest, const Signature& signature) const {
        const std::unique_ptr<DSA_SIG, Free> sig(DSA_SIG_new());
        DSA_SIG_set0(sig.get(),
                     BN_bin2bn(signature.r.data(), static_cast<int>(signature.r.size()), nullptr),
                     BN_bin2bn(signature.s.data(), static_cast<int>(signature.s.size()), nullptr));
        return DSA_do_verify(digest.data(), static_cast<int>(digest.size()), sig.get(), dsa_.get());
    }

    Signature sign(const Bytes& digest) const {
        const std::unique_ptr<DSA_SIG, Free> sig(
            DSA_do_sign(digest.data(), static_cast<int>(digest.size()), dsa_.get()));
        return {bytes_of(DSA_SIG_get0_r(sig.get())), bytes_of(DSA_SIG_get0_s(sig.get()))};
    }

  private:
    static BIGNUM* copy(const VRQ_BIGINT* a) { return BN_dup(Bn(a)); }
    static const BIGNUM* DSA_SIG_get0_r(const DSA_SIG* sig) {
        const BIGNUM* r = nullptr;
        DSA_SIG_get0(sig, &r, nullptr);
        return r;
    }
    static const BIGNUM* DSA_SIG_get0_s(const DSA_SIG* sig) {
        const BIGNUM* s = nullptr;
        DSA_SIG_get0(sig, nullptr, &s);
        return s;
    }
    static Bytes bytes_of(const BIGNUM* n) {
        Bytes out(static_cast<std::size_t>(BN_num_bytes(n)));
        BN_bn2bin(n, out.data());
        return out;
    }

    std::unique_ptr<DSA, Free> dsa_;
};

TEST(Dsa, KnownAnswersVerify) {
    const auto all = domains();
    int checked = 0;
    for (const test::Record& r : test::load_vectors("pubkey/dsa.vec")) {
        if (r.name == "DSA-DOMAIN") continue;
        SCOPED_TRACE(r.where);
        const Unit unit = unit_of(all.at(r.text("domain")), nullptr, Int(r.text("y")));
        EXPECT_EQ(r.text("result") == "pass" ? 0U : kNotVerified,
                  verify(unit, {r.bytes("r"), r.bytes("s")}, test::digest_id(r.name.substr(4)),
                         r.bytes("msg")));
        ++checked;
    }
    EXPECT_EQ(12, checked);
}

// The worked example of FIPS 186-2, appendix 5: domain, key and generator; there k comes from a
// generator of its own.
const char kSeed[] = "d5014e4b60ef2ba8b6211b4062ba3224e0427dd3";
const char kP[] = "8DF2A494492276AA3D25759BB06869CBEAC0D83AFB8D0CF7CBB8324F0D7882E5"
                  "D0762FC5B7210EAFC2E9ADAC32AB7AAC49693DFBF83724C2EC0736EE31C80291";
const char kQ[] = "C773218C737EC8EE993B4F2DED30F48EDACE915F";
const char kG[] = "626D027839EA0A13413163A55B4CB500299D5522956CEFCB3BFF10F399CE2C2E"
                  "71CB9DE5FA24BABF58E5B79521925C9CC42E9F6F464B088CC572AF53E6D78802";

TEST(Dsa, ParametersOfTheExampleOfTheStandard) {
    const Unit unit(VRQ_New_DSA());
    const Bytes seed = test::from_hex(kSeed);
    uint32_t counter = 0;
    // 100 bits count as 512
    ASSERT_EQ(0U, VRQ_Generate_DSA_Params(unit.get(), seed.data(), 20, 100, &counter));
    EXPECT_EQ(105U, counter);
    EXPECT_EQ(kP, Int(unit->p).hex());
    EXPECT_EQ(kQ, Int(unit->q).hex());
    EXPECT_EQ(kG, Int(unit->g).hex());

    Bytes next = seed; // gives no prime q
    next.back() ^= 2;
    EXPECT_EQ(0x0C070047U, VRQ_Generate_DSA_Params(unit.get(), next.data(), 20, 512, nullptr));
    EXPECT_EQ(kP, Int(unit->p).hex());
}

TEST(Dsa, ParametersAgreeWithLibcrypto) {
    // 640 is a multiple of the digest length, 30 bytes a longer seed
    int found = 0;
    for (const std::size_t length : {20, 30}) {
        for (const int bits : {640, 1024}) {
            Bytes seed(length, 0x5A);
            const Unit unit(VRQ_New_DSA());
            uint32_t counter = 0;
            uint32_t status = 1;
            for (uint32_t i = 0; i < 400 && status != 0; ++i) {
                seed[3] = static_cast<uint8_t>(i);
                seed[4] = static_cast<uint8_t>(i >> 8);
                status =
                    VRQ_Generate_DSA_Params(unit.get(), seed.data(), static_cast<uint32_t>(length),
                                            static_cast<uint32_t>(bits), &counter);
                ASSERT_TRUE(status == 0 || status == 0x0C070047U);
            }
            ASSERT_EQ(0U, status);
            const std::unique_ptr<DSA, Free> theirs(DSA_new());
            int their_counter = 0;
            if (DSA_generate_parameters_ex(theirs.get(), bits, seed.data(),
                                           static_cast<int>(length), &their_counter, nullptr,
                                           nullptr) != 1)
                continue;
            const BIGNUM* p = nullptr;
            const BIGNUM* q = nullptr;
            DSA_get0_pqg(theirs.get(), &p, &q, nullptr);
            EXPECT_EQ(Int(p).hex(), Int(unit->p).hex());
            EXPECT_EQ(Int(q).hex(), Int(unit->q).hex());
            EXPECT_EQ(static_cast<uint32_t>(their_counter), counter);
            ++found;
        }
    }
    EXPECT_GE(found, 2);
}

TEST(Dsa, GeneratedDomainsAndKeysSign) {
    struct Row {
        uint32_t asked;
        uint32_t made;
    };
    for (const Row& row : {Row{0, 512}, Row{513, 576}, Row{700, 704}}) {
        const Unit unit(VRQ_New_DSA());
        ASSERT_EQ(0U, VRQ_Generate_DSA_Params(unit.get(), nullptr, 0, row.asked, nullptr));
        EXPECT_EQ(row.made, VRQ_Get_BIGINT_Bits_Length(unit->p));
        EXPECT_EQ(160U, VRQ_Get_BIGINT_Bits_Length(unit->q));
        EXPECT_EQ(1, VRQ_Is_BIGINT_Prime_Ex(unit->p, 20, nullptr));
        EXPECT_EQ(1, VRQ_Is_BIGINT_Prime_Ex(unit->q, 20, nullptr));
        Int power;
        VRQ_Mod_Exp_Mont_BIGINT(power, unit->g, unit->q, unit->p, nullptr);
        EXPECT_EQ("1", power.hex());
        EXPECT_EQ(nullptr, unit->y);

        do {
            ASSERT_EQ(0U, VRQ_Generate_DSA_Key_Pair(unit.get()));
        } while (VRQ_Get_BIGINT_Bits_Length(unit->x) <= 152);
        EXPECT_EQ(-1, VRQ_Cmp_BIGINT(unit->x, unit->q));
        VRQ_Mod_Exp_Mont_BIGINT(power, unit->g, unit->x, unit->p, nullptr);
        EXPECT_EQ(power.hex(), Int(unit->y).hex());
        Signature signature;
        ASSERT_EQ(0U, sign(unit, signature));
        EXPECT_EQ(0U, verify(unit, signature));
        EXPECT_EQ(1, Peer(unit.get()).verify(test::digest_of(VRQ_ID_SHA1, kMessage), signature));
    }
}

TEST(Dsa, AgreesWithLibcryptoBothWays) {
    for (const auto& [name, domain] : domains()) {
        SCOPED_TRACE(name);
        const Unit unit = keyed_unit(domain);
        const Peer peer(unit.get());
        for (const uint32_t digest : {VRQ_ID_SHA1, VRQ_ID_SHA224, VRQ_ID_SHA256}) {
            if (VRQ_Get_DIGEST_Length(digest) > order_bytes(unit.get())) continue;
            for (uint8_t i = 0; i < 4; ++i) {
                const Bytes message = {i, 1};
                Signature signature;
                ASSERT_EQ(0U, sign(unit, signature, digest, message));
                EXPECT_EQ(order_bytes(unit.get()), signature.s.size());
                EXPECT_EQ(1, peer.verify(test::digest_of(digest, message), signature));
                EXPECT_EQ(0U, verify(unit, signature, digest, message));
                EXPECT_EQ(
                    0U, verify(unit, peer.sign(test::digest_of(digest, message)), digest, message));
            }
        }
    }
}

TEST(Dsa, DigestIsReducedNotTruncated) {
    const auto all = domains();
    const Unit unit = keyed_unit(all.at("D1"));
    const Bytes digest = test::digest_of(VRQ_ID_SHA512, kMessage);
    Int residue;
    ASSERT_EQ(0U, VRQ_Div_BIGINT(nullptr, residue, Int(digest), unit->q, nullptr));
    Bytes bytes(20);
    BN_bn2binpad(Bn(residue), bytes.data(), 20);
    Signature signature;
    ASSERT_EQ(0U, sign(unit, signature, VRQ_ID_SHA512));
    EXPECT_EQ(1, Peer(unit.get()).verify(bytes, signature));
    EXPECT_EQ(0, Peer(unit.get()).verify(digest, signature));
    EXPECT_EQ(0U, verify(unit, signature, VRQ_ID_SHA512));
}

TEST(Dsa, OnlySIsPadded) {
    const auto all = domains();
    const Unit unit = keyed_unit(all.at("D1"));
    Signature signature;
    bool is_short = false;
    for (int i = 0; i < 8000 && !is_short; ++i) {
        ASSERT_EQ(0U, sign(unit, signature));
        ASSERT_EQ(20U, signature.s.size());
        is_short = signature.r.size() < 20;
    }
    EXPECT_TRUE(is_short);
    EXPECT_NE(0, signature.r.front());
    EXPECT_EQ(0U, verify(unit, signature));
}

// With an XSEED the secret is that of the generator started from x and XSEED.
TEST(Dsa, SecretComesFromKeyAndSeed) {
    const auto all = domains();
    const Unit unit = keyed_unit(all.at("D2"));
    const Bytes xseed = {1, 2, 3, 4, 5};
    Signature signature;
    ASSERT_EQ(0U, sign(unit, signature, VRQ_ID_SHA1, kMessage, xseed));
    Signature again;
    ASSERT_EQ(0U, sign(unit, again, VRQ_ID_SHA1, kMessage, xseed));
    EXPECT_EQ(signature.s, again.s);
    // the bytes may be those of the unit
    ASSERT_EQ(0U, VRQ_Init_DSA(unit.get(), VRQ_ID_SHA1, 1, unit->xseed, unit->xseed_length));
    ASSERT_EQ(0U, VRQ_Update_DSA(unit.get(), kMessage.data(), 6));
    ASSERT_EQ(0U, test::sign<VRQ_Final_DSA>(unit.get(), again, order_bytes(unit.get())));
    EXPECT_EQ(signature.s, again.s);
    ASSERT_EQ(0U, sign(unit, again));
    EXPECT_NE(signature.s, again.s);

    const test::Owned<VRQ_PRNG_UNIT> prng(VRQ_New_PRNG_Unit());
    Bytes xkey(32);
    xkey.resize(VRQ_BIGINT_To_Binary_Unsigned(unit->x, xkey.data()));
    ASSERT_EQ(0U, VRQ_Init_PRNG(prng.get(), VRQ_ID_SHA1, xkey.data(),
                                static_cast<uint32_t>(xkey.size()), xseed.data(), 5, nullptr));
    Int k;
    ASSERT_EQ(0U, VRQ_Get_Rand_DSA_BIGINT(prng.get(), k, unit->q));
    EXPECT_LE(VRQ_Get_BIGINT_Bits_Length(k), 160U);
    ASSERT_EQ(0U, VRQ_Mod_Exp_Mont_BIGINT(k, unit->g, k, unit->p, nullptr));
    ASSERT_EQ(0U, VRQ_Div_BIGINT(nullptr, k, k, unit->q, nullptr));
    EXPECT_EQ(k.hex(), Int(signature.r).hex());
}

TEST(Dsa, KeysThatTheGeneratorRefusesCannotSign) {
    const auto all = domains();
    Signature signature;
    for (const std::size_t digits : {2, 38}) {
        const Unit unit = unit_of(all.at("D2"), Int(std::string(digits, '7')), Int("2"));
        EXPECT_EQ(kNotSigned, sign(unit, signature)) << digits;
    }
    EXPECT_EQ(0U, sign(unit_of(all.at("D2"), Int(std::string(40, '7')), Int("2")), signature));
}

TEST(Dsa, ForgedSignatures) {
    const auto all = domains();
    const Unit unit = keyed_unit(all.at("D1"));
    Signature good;
    ASSERT_EQ(0U, sign(unit, good));
    ASSERT_EQ(0U, verify(unit, good));
    Bytes q(20);
    VRQ_BIGINT_To_Binary_Unsigned(unit->q, q.data());
    Int above;
    VRQ_Add_BIGINT(above, Int(good.r), unit->q, nullptr);
    Bytes r_above(21);
    r_above.resize(VRQ_BIGINT_To_Binary_Unsigned(above, r_above.data()));
    Bytes padded(60);
    padded.insert(padded.end(), good.r.begin(), good.r.end());
    Bytes changed = good.s;
    changed[5] ^= 1;
    const Signature forged[] = {{{}, good.s},        {good.r, {}},       {{1}, {}},
                                {q, good.s},         {good.r, q},        {{1}, {1}},
                                {r_above, good.s},   {good.s, good.r},   {good.r, changed},
                                {Bytes(20), good.s}, {good.r, Bytes(99)}};
    for (std::size_t i = 0; i < std::size(forged); ++i)
        EXPECT_EQ(kNotVerified, verify(unit, forged[i])) << i;
    EXPECT_EQ(0U, verify(unit, {padded, good.s}));
    EXPECT_EQ(kNotVerified, verify(unit, good, VRQ_ID_SHA256));

    // s + q is no second signature, however many words q has
    VRQ_Add_BIGINT(above, Int(good.s), unit->q, nullptr);
    Bytes s_above(21);
    s_above.resize(VRQ_BIGINT_To_Binary_Unsigned(above, s_above.data()));
    test::widen(unit->q);
    EXPECT_EQ(0U, verify(unit, good));
    EXPECT_EQ(kNotVerified, verify(unit, {good.r, s_above}));
}

// Where y is 1 or -1 modulo p, r = g^t mod q and s = e / t solve the equation for any t, or for those
// with an even r / s. libcrypto does not test keys.
TEST(Dsa, PublicKeysOutOfRangeVerifyNothing) {
    const auto all = domains();
    const Domain& d = all.at("D1");
    const Bytes digest = test::digest_of(VRQ_ID_SHA1, kMessage);
    Int t;
    Int r;
    Int s;
    Int v;
    do {
        ASSERT_EQ(0U, VRQ_Add_BIGINT_Word(t, 1));
        ASSERT_EQ(0U, VRQ_Mod_Exp_Mont_BIGINT(r, d.g, t, d.p, nullptr));
        ASSERT_EQ(0U, VRQ_Div_BIGINT(nullptr, r, r, d.q, nullptr));
        ASSERT_EQ(0U, VRQ_Mod_Inverse_BIGINT(s, t, d.q, nullptr));
        ASSERT_EQ(0U, VRQ_Mtp_BIGINT(s, s, Int(digest), nullptr));
        ASSERT_EQ(0U, VRQ_Div_BIGINT(nullptr, s, s, d.q, nullptr));
        ASSERT_EQ(0U, VRQ_Mod_Inverse_BIGINT(v, s, d.q, nullptr));
        ASSERT_EQ(0U, VRQ_Mtp_BIGINT(v, v, r, nullptr));
        ASSERT_EQ(0U, VRQ_Div_BIGINT(nullptr, v, v, d.q, nullptr));
    } while (VRQ_Is_BIGINT_Bit_Set(v, 0) != 0);
    Signature forged = {Bytes(20), Bytes(20)};
    forged.r.resize(VRQ_BIGINT_To_Binary_Unsigned(r, forged.r.data()));
    forged.s.resize(VRQ_BIGINT_To_Binary_Unsigned(s, forged.s.data()));

    const Int below(d.p);
    const Int above(d.p);
    ASSERT_EQ(0U, VRQ_Sub_BIGINT_Word(below, 1));
    ASSERT_EQ(0U, VRQ_Add_BIGINT_Word(above, 1));
    for (const Int& y : {Int("1"), below, above}) {
        for (const Int& stored : {y, test::with_leading_zeros(y)}) {
            const Unit unit = unit_of(d, nullptr, stored);
            EXPECT_EQ(1, Peer(unit.get()).verify(digest, forged)) << y.hex();
            EXPECT_EQ(kNotVerified, verify(unit, forged)) << y.hex();
        }
    }
    for (const char* y : {"0", "2"})
        EXPECT_EQ(kNotVerified, verify(unit_of(d, nullptr, Int(y)), forged));
}

// Neither refuses a good signature nor admits s + q.
TEST(Dsa, LeadingZeroWordsCountForNothing) {
    const auto all = domains();
    const Domain& d = all.at("D1");
    const Unit unit = keyed_unit(d);
    Signature good;
    ASSERT_EQ(0U, sign(unit, good));
    const Int x(unit->x);
    const Int y(unit->y);
    const Unit padded(VRQ_New_DSA());
    ASSERT_EQ(0U, VRQ_Set_DSA_Params(padded.get(), test::with_leading_zeros(d.p),
                                     test::with_leading_zeros(d.q), test::with_leading_zeros(d.g),
                                     test::with_leading_zeros(x), test::with_leading_zeros(y)));
    EXPECT_EQ(0U, verify(padded, good));
    Int above;
    VRQ_Add_BIGINT(above, Int(good.s), d.q, nullptr);
    Bytes s_above(24);
    s_above.resize(VRQ_BIGINT_To_Binary_Unsigned(above, s_above.data()));
    EXPECT_EQ(kNotVerified, verify(padded, {good.r, s_above}));
    ASSERT_EQ(0U, sign(padded, good));
    EXPECT_EQ(20U, good.s.size());
    EXPECT_EQ(0U, verify(unit, good));
}

// Numbers that form no domain: an answer, whichever, and nothing worse.
TEST(Dsa, DomainsThatAreNone) {
    const char* const values[] = {"0", "1", "2", "10", "F", "FFFFFFFFFFFFFFFFFFFFFFFF"};
    const Int x(std::string(40, '3'));
    for (const char* p : values) {
        for (const char* q : values) {
            const Unit unit(VRQ_New_DSA());
            ASSERT_EQ(0U, VRQ_Set_DSA_Params(unit.get(), Int(p), Int(q), Int("3"), x, Int("5")));
            Signature out;
            begin(unit.get(), 1);
            const uint32_t status = test::sign<VRQ_Final_DSA>(unit.get(), out, 64);
            EXPECT_TRUE(status == 0 || status == kNotSigned) << p << " " << q;
            const uint32_t verdict = verify(unit, {{2}, {2}});
            EXPECT_TRUE(verdict == 0 || verdict == kNotVerified) << p << " " << q;
            // 2 is not below q
            if (std::strlen(q) == 1 && q[0] <= '2') {
                EXPECT_EQ(kNotVerified, verdict);
            }
        }
    }
}

TEST(Dsa, Statuses) {
    const auto all = domains();
    const Domain& d = all.at("D1");
    const Unit owner = keyed_unit(d);
    VRQ_DSA_UNIT* const unit = owner.get();
    uint8_t r[20] = {1};
    uint8_t s[20] = {1};
    uint32_t length = 20;
    EXPECT_EQ(0x0C010049U, VRQ_Set_DSA_Params(nullptr, d.p, d.q, d.g, nullptr, d.g));
    EXPECT_EQ(0x0C01002BU, VRQ_Set_DSA_Params(unit, nullptr, d.q, d.g, nullptr, d.g));
    EXPECT_EQ(0x0C01002BU, VRQ_Set_DSA_Params(unit, d.p, nullptr, d.g, nullptr, d.g));
    EXPECT_EQ(0x0C01002BU, VRQ_Set_DSA_Params(unit, d.p, d.q, nullptr, nullptr, d.g));
    EXPECT_EQ(0x0C01002BU, VRQ_Set_DSA_Params(unit, d.p, d.q, d.g, nullptr, nullptr));
    EXPECT_NE(nullptr, unit->x);

    EXPECT_EQ(0x0C020049U, VRQ_Init_DSA(nullptr, VRQ_ID_SHA1, 1, nullptr, 0));
    EXPECT_EQ(0x0C020022U, VRQ_Init_DSA(unit, 0x12345678, 1, nullptr, 0));
    EXPECT_EQ(nullptr, unit->digest);
    EXPECT_EQ(0x0C030049U, VRQ_Update_DSA(nullptr, r, 1));
    EXPECT_EQ(0x0C03005BU, VRQ_Update_DSA(unit, r, 1));
    ASSERT_EQ(0U, VRQ_Init_DSA(unit, VRQ_ID_SHA1, 1, r, 3));
    EXPECT_EQ(3, unit->xseed_length);
    EXPECT_EQ(0x0C020022U, VRQ_Init_DSA(unit, 0x12345678, 1, nullptr, 0));
    EXPECT_NE(nullptr, unit->digest);
    for (const int32_t none : {0, -1}) {
        ASSERT_EQ(0U, VRQ_Init_DSA(unit, VRQ_ID_SHA1, 1, r, none));
        EXPECT_EQ(nullptr, unit->xseed);
        EXPECT_EQ(0, unit->xseed_length);
    }
    EXPECT_EQ(0x0C03005BU, VRQ_Update_DSA(unit, nullptr, 1));

    EXPECT_EQ(0x0C030049U, VRQ_Final_DSA(nullptr, r, &length, s, &length));
    EXPECT_EQ(0x0C030049U, VRQ_Final_DSA(unit, nullptr, &length, s, &length));
    EXPECT_EQ(0x0C030049U, VRQ_Final_DSA(unit, r, &length, nullptr, &length));
    EXPECT_EQ(kNotSigned, VRQ_Final_DSA(unit, r, nullptr, s, &length));
    EXPECT_EQ(kNotSigned, VRQ_Final_DSA(unit, r, &length, s, nullptr));
    EXPECT_EQ(0x0C050049U, VRQ_Sign_DSA(nullptr, r, &length, s, &length));
    EXPECT_EQ(0x0C050049U, VRQ_Sign_DSA(unit, r, nullptr, s, &length));
    EXPECT_EQ(0x0C060049U, VRQ_Verify_DSA(nullptr, r, &length, s, &length));
    EXPECT_EQ(0x0C06000CU, VRQ_Verify_DSA(unit, r, &length, s, &length));
    ASSERT_EQ(0U, VRQ_Init_DSA(unit, VRQ_ID_SHA1, 0, nullptr, 0));
    EXPECT_EQ(kNotVerified, VRQ_Final_DSA(unit, r, nullptr, s, &length));

    const Unit no_key = unit_of(d, nullptr, d.g);
    begin(no_key.get(), 1);
    EXPECT_EQ(0x0C040045U, VRQ_Final_DSA(no_key.get(), r, &length, s, &length));
    EXPECT_EQ(0x0C050049U, VRQ_Sign_DSA(no_key.get(), r, &length, s, &length));
    const Unit fresh(VRQ_New_DSA());
    EXPECT_EQ(kNotVerified, VRQ_Final_DSA(fresh.get(), r, &length, s, &length));

    EXPECT_EQ(0x0C080049U, VRQ_Generate_DSA_Key_Pair(nullptr));
    EXPECT_EQ(0x0C080049U, VRQ_Generate_DSA_Key_Pair(fresh.get()));
    const Unit even(VRQ_New_DSA());
    ASSERT_EQ(0U, VRQ_Set_DSA_Params(even.get(), Int("10"), d.q, d.g, nullptr, d.g));
    EXPECT_EQ(0x0C090040U, VRQ_Generate_DSA_Key_Pair(even.get()));
    ASSERT_EQ(0U, VRQ_Set_DSA_Params(even.get(), d.p, Int("1"), d.g, nullptr, d.g));
    EXPECT_EQ(0x0C08001CU, VRQ_Generate_DSA_Key_Pair(even.get()));

    EXPECT_EQ(0x0C070049U, VRQ_Generate_DSA_Params(nullptr, nullptr, 0, 512, nullptr));
    EXPECT_EQ(0x0C07002BU, VRQ_Generate_DSA_Params(unit, r, 19, 512, nullptr));
    EXPECT_EQ(0x0C07002BU, VRQ_Generate_DSA_Params(unit, nullptr, 0, 16385, nullptr));
    EXPECT_EQ(0x0C07002BU, VRQ_Generate_DSA_Params(unit, nullptr, 0, 0xFFFFFFFF, nullptr));
    for (const auto release : {VRQ_Free_DSA, VRQ_Clean_DSA}) release(nullptr);
}

TEST(Dsa, SettingParametersCleansAndTakesItsOwnValues) {
    const auto all = domains();
    const Unit owner = keyed_unit(all.at("D1"));
    VRQ_DSA_UNIT* const unit = owner.get();
    begin(unit, 1);
    const std::string y = Int(unit->y).hex();
    ASSERT_EQ(0U, VRQ_Set_DSA_Params(unit, unit->p, unit->q, unit->g, nullptr, unit->y));
    EXPECT_EQ(y, Int(unit->y).hex());
    EXPECT_EQ(nullptr, unit->x);
    EXPECT_EQ(nullptr, unit->digest);
    EXPECT_EQ(nullptr, unit->pool);
    VRQ_Clean_DSA(unit);
    const VRQ_DSA_UNIT empty = {};
    EXPECT_EQ(0, std::memcmp(&empty, unit, sizeof empty));
}

TEST(ProvenDsa, IsRefused) {
    const Unit unit(VRQ_New_DSA());
    EXPECT_EQ(0x0C0200F0U, VRQ_Init_DSA(unit.get(), VRQ_ID_SHA1, 1, nullptr, 0));
    EXPECT_EQ(0x0C0200F0U, VRQ_Init_DSA(nullptr, VRQ_ID_SHA1, 1, nullptr, 0));
    EXPECT_EQ(0x0C07001DU, VRQ_Generate_DSA_Params(unit.get(), nullptr, 0, 512, nullptr));
    ASSERT_EQ(0U, VRQ_Set_DSA_Params(unit.get(), Int("61"), Int("5"), Int("3"), nullptr, Int("3")));
    EXPECT_EQ(0x0C080025U, VRQ_Generate_DSA_Key_Pair(unit.get()));
}

} // namespace
