// Domains over finite fields: the search from published seeds, the stored domains, KCDSA with published
// secrets.
#include "api/kcdsa_cases.h"
#include "bigint/record.h"
#include "pubkey/ff_params.h"
#include "pubkey/kcdsa_sign.h"
#include "pubkey/kcdsa_stored_params.h"

#include <cstring>
#include <set>

namespace {

using test::Bn;
using test::Bytes;
using test::Int;
using vrq::u32;
using vrq::u8;

struct GivenSeed {
    Bytes bytes;
    int draws = 0;
};

// Gives the seed once: a search that wants another has left the published path.
u32 draw_given(void* source, u8* out, u32 length) {
    auto* const given = static_cast<GivenSeed*>(source);
    if (given->draws++ != 0 || given->bytes.size() != length) return 1;
    std::memcpy(out, given->bytes.data(), length);
    return 0;
}

u32 digest_of(const std::string& name) {
    if (name.find("SHA-224") != std::string::npos) return VRQ_ID_SHA224;
    if (name.find("SHA-256") != std::string::npos) return VRQ_ID_SHA256;
    return VRQ_ID_HAS160;
}

struct Found {
    Int p, q, g, j, h;
    u32 count = 0;
    bool exhausted = false;
    u32 status = 0;

    Found(const test::Record& record, u32 limit) {
        GivenSeed given{record.bytes("seed")};
        Bytes seed(given.bytes.size() + vrq::ff::kCounterBytes);
        const vrq::ff::Lengths lengths = {static_cast<u32>(record.number("p_bits")),
                                          static_cast<u32>(record.number("q_bits"))};
        const vrq::ff::Domain domain = {p, q, g, j, h, seed.data(), &count, nullptr};
        const vrq::ff::Plan plan = {
            {VRQ_L_KCDSA, 1}, lengths, digest_of(record.name), limit, false, &given, draw_given};
        status = vrq::ff::search(domain, plan, exhausted);
    }
};

TEST(FfParams, SearchFindsThePublishedDomains) {
    int seen = 0;
    for (const test::Record& record : test::load_vectors("pubkey/kcdsa.vec")) {
        if (record.name.find("PARAMGEN") == std::string::npos) continue;
        SCOPED_TRACE(record.where);
        const auto count = static_cast<u32>(record.number("count"));
        const Found found(record, count);
        ASSERT_EQ(0U, found.status);
        ASSERT_FALSE(found.exhausted);
        EXPECT_EQ(count, found.count);
        EXPECT_EQ(Int(record.text("j")).hex(), found.j.hex());
        EXPECT_EQ(Int(record.text("q")).hex(), found.q.hex());
        EXPECT_EQ(Int(record.text("p")).hex(), found.p.hex());

        // g of the published h by the same formula, and of order q for the h drawn.
        const Int exponent(found.j);
        ASSERT_EQ(0U, vrq_Left_Shift_BIGINT(exponent, exponent, 1));
        const Int g;
        ASSERT_EQ(0U, VRQ_Mod_Exp_BIGINT(g, Int(record.text("h")), exponent, found.p, nullptr));
        EXPECT_EQ(Int(record.text("g")).hex(), g.hex());
        ASSERT_EQ(0U, VRQ_Mod_Exp_BIGINT(g, found.h, exponent, found.p, nullptr));
        EXPECT_EQ(g.hex(), found.g.hex());
        ASSERT_EQ(0U, VRQ_Mod_Exp_BIGINT(g, found.g, found.q, found.p, nullptr));
        EXPECT_EQ("1", g.hex());

        if (count < 10000) { // one counter less
            const Found nothing(record, count - 1);
            EXPECT_EQ(0U, nothing.status);
            EXPECT_TRUE(nothing.exhausted);
            EXPECT_EQ(0, nothing.p->used);
        }
        ++seen;
    }
    EXPECT_EQ(3, seen);
}

template <std::size_t Words>
Int number(const u32 (&words)[Words]) {
    Bytes bytes;
    for (const u32 word : words) {
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<u8>(word >> shift));
    }
    return Int(bytes);
}

template <u32 PBits, u32 QBits>
void expect_domains(const vrq::kcdsa::StoredDomain<PBits, QBits> (&stored)[100]) {
    const std::unique_ptr<BN_CTX, test::BnFree> context(BN_CTX_new());
    std::set<std::string> different;
    for (const auto& row : stored) {
        const Int p = number(row.p);
        const Int q = number(row.q);
        const Int g = number(row.g);
        SCOPED_TRACE(p.hex());
        EXPECT_EQ(PBits, VRQ_Get_BIGINT_Bits_Length(p));
        EXPECT_EQ(QBits, VRQ_Get_BIGINT_Bits_Length(q));
        EXPECT_EQ(1, BN_check_prime(Bn(q), context.get(), nullptr));
        EXPECT_EQ(1, VRQ_Is_BIGINT_Prime_Ex(p, 9, nullptr));
        const Bn rest;
        const Bn less_one(p);
        BN_sub_word(less_one, 1);
        ASSERT_EQ(1, BN_div(nullptr, rest, less_one, Bn(q), context.get()));
        EXPECT_EQ("0", rest.hex());
        ASSERT_EQ(1, BN_mod_exp(rest, Bn(g), Bn(q), Bn(p), context.get()));
        EXPECT_EQ("1", rest.hex());
        EXPECT_EQ(-1, VRQ_Cmp_BIGINT(g, p));
        EXPECT_GT(VRQ_Get_BIGINT_Bits_Length(g), 1U);
        different.insert(p.hex());
    }
    EXPECT_EQ(100U, different.size());
}

TEST(FfParams, StoredDomainsOf1024Bits) { expect_domains(vrq::kcdsa::kStored1024); }
TEST(FfParams, StoredDomainsOf2048Bits) { expect_domains(vrq::kcdsa::kStored2048); }

TEST(FfParams, PublishedSecretsGiveThePublishedSignatures) {
    int seen = 0;
    for (const test::Record& record : test::load_vectors("pubkey/kcdsa.vec")) {
        if (!record.has("k")) continue;
        SCOPED_TRACE(record.where);
        const test::KcdsaDomain& d = test::kcdsa_domain(record.text("domain"));
        const test::Kcdsa unit = test::new_kcdsa();
        ASSERT_EQ(0U,
                  VRQ_Set_KCDSA_Params(unit.get(), d.p, d.q, d.g, Int(record.text("x")), nullptr));
        ASSERT_EQ(0U, VRQ_Init_KCDSA_Ex(unit.get(), 1, digest_of(record.name)));
        ASSERT_EQ(0U, test::update(unit.get(), record.bytes("msg")));
        vrq::kcdsa::Digest v;
        vrq::kcdsa::Digest r;
        ASSERT_EQ(0U, VRQ_Final_DIGEST(unit->digest, v, nullptr));
        const Int s;
        ASSERT_EQ(0U, vrq::kcdsa::sign_with(*unit, *Int(record.text("k")), v, r, *s));
        EXPECT_EQ(record.text("r"), test::to_hex(Bytes(r, r + unit->digest->digest_length)));
        EXPECT_EQ(Int(record.text("s")).hex(), s.hex());
        ++seen;
    }
    EXPECT_EQ(7, seen);
}

} // namespace
