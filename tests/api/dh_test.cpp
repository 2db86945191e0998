// Diffie-Hellman: known answers, agreement with libcrypto, validation, statuses.
#include "harness/bigints.h"
#include "harness/owned.h"
#include "harness/vectors.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>

namespace {

using test::Bn;
using test::Bytes;
using test::Int;

using Unit = test::Owned<VRQ_DH_UNIT>;
using Params = test::Owned<VRQ_DH_PARAMS>;

struct Group {
    Int p;
    Int q;
    Int g;
};

// G1 1024/160, G2 2048/224, G3 2048/256 bits.
const Group& group(const std::string& name) {
    static const std::map<std::string, Group> groups = [] {
        std::map<std::string, Group> all;
        for (const test::Record& record : test::load_vectors("pubkey/dh.vec")) {
            if (record.name != "DH-GROUP") continue;
            all.emplace(record.text("name"),
                        Group{Int(record.text("p")), Int(record.text("q")), Int(record.text("g"))});
        }
        return all;
    }();
    return groups.at(name);
}

Params params_of(const VRQ_BIGINT* p, const VRQ_BIGINT* q, const VRQ_BIGINT* g) {
    Params params(VRQ_New_DH_Params());
    EXPECT_EQ(0U, VRQ_Init_DH_Params(params.get(), p, q, g));
    return params;
}

Unit unit_of(const VRQ_BIGINT* x, const VRQ_BIGINT* y, const Params& params) {
    Unit unit(VRQ_New_DH());
    EXPECT_EQ(0U, VRQ_Init_DH(unit.get(), x, y, params.get()));
    return unit;
}

Params params_of(const std::string& name) {
    const Group& g = group(name);
    return params_of(g.p, g.q, g.g);
}

// The secret, or no bytes and the status.
Bytes secret_of(VRQ_DH_UNIT* unit, const VRQ_BIGINT* peer_y, uint32_t* status = nullptr) {
    Bytes out(VRQ_Get_DH_PARAMS_Length(unit->params) + 1, 0xA5);
    uint32_t length = 0;
    const uint32_t result = VRQ_Compute_Key(unit, peer_y, out.data(), &length);
    if (status != nullptr) *status = result;
    EXPECT_EQ(0xA5, out.back());
    out.resize(length);
    return out;
}

TEST(Dh, KnownAnswers) {
    int seen = 0;
    for (const test::Record& record : test::load_vectors("pubkey/dh.vec")) {
        if (record.name != "DH") continue;
        SCOPED_TRACE(record.where);
        const Int x(record.text("x"));
        const Int y(record.text("y"));
        const Params params = params_of(record.text("group"));
        const Unit unit = unit_of(x, y, params);
        EXPECT_EQ(record.text("z"),
                  test::to_hex(secret_of(unit.get(), Int(record.text("peer_y")))));
        EXPECT_EQ(Int(record.text("peer_y")).hex(), test::text_of(VRQ_BIGINT_To_HEX, unit->peer_y));
        const Int own;
        ASSERT_EQ(0U, VRQ_Mod_Exp_Mont_BIGINT(own, params->g, x, params->p, nullptr));
        EXPECT_EQ(y.hex(), own.hex());
        ++seen;
    }
    EXPECT_EQ(12, seen);
}

TEST(Dh, PublicKeyValidation) {
    std::map<std::string, int> seen;
    for (const test::Record& record : test::load_vectors("pubkey/dh.vec")) {
        if (record.name != "DH-PUBKEY") continue;
        SCOPED_TRACE(record.where);
        const Int y(record.text("y"));
        const Params params = params_of(record.text("group"));
        const bool valid = record.text("result") == "pass";
        EXPECT_EQ(valid ? 0U : 1U, vrq_DH_Pub_Key_Validation(y, params.get()));
        const Unit unit = unit_of(y, y, params);
        uint32_t status = 0;
        secret_of(unit.get(), y, &status);
        EXPECT_EQ(valid ? 0U : 0x2005002EU, status);
        ++seen[record.text("result")];
    }
    EXPECT_EQ(2U, seen.size());

    const Params params = params_of("G1");
    const Int y(group("G1").g);
    EXPECT_EQ(1U, vrq_DH_Pub_Key_Validation(nullptr, params.get()));
    EXPECT_EQ(1U, vrq_DH_Pub_Key_Validation(y, nullptr));
    EXPECT_EQ(1U, vrq_DH_Pub_Key_Validation(y, params_of(nullptr, params->q, params->g).get()));
    EXPECT_EQ(1U, vrq_DH_Pub_Key_Validation(y, params_of(params->p, params->q, nullptr).get()));
    const Int zeros("000000000000000000000001"); // leading zeros are no value
    EXPECT_EQ(1U, vrq_DH_Pub_Key_Validation(zeros, params.get()));
}

// Without q nothing but the range is tested, and p - 1, of order 2, is in it.
TEST(Dh, RangeAloneWithoutQ) {
    const Group& g = group("G1");
    const Params params = params_of(g.p, nullptr, g.g);
    const Unit unit = unit_of(Int("2"), Int("4"), params);
    const Int last(g.p);
    ASSERT_EQ(0U, VRQ_Sub_BIGINT_Word(last, 1));
    struct Row {
        const Int& peer;
        uint32_t status;
    };
    for (const Row& row : {Row{Int("0"), 0x2005002E}, Row{Int("1"), 0x2005002E}, Row{Int("2"), 0},
                           Row{last, 0}, Row{g.p, 0x2005002E}}) {
        uint32_t status = 0;
        const Bytes secret = secret_of(unit.get(), row.peer, &status);
        EXPECT_EQ(row.status, status) << row.peer.hex();
        EXPECT_EQ(status == 0 ? 1U : 0U, vrq_DH_Pub_Key_Validation(row.peer, params.get()) == 0);
        if (status == 0) {
            EXPECT_EQ(1U, secret.size()) << "4, and 1 of p - 1";
        }
    }
}

TEST(Dh, OrderIsTestedWithoutG) {
    const Group& g = group("G1");
    const Params params = params_of(g.p, g.q, nullptr);
    const Unit unit = unit_of(Int("2"), Int("4"), params);
    uint32_t status = 0;
    secret_of(unit.get(), Int("2"), &status);
    EXPECT_EQ(0x2005002EU, status);
    const Int square;
    ASSERT_EQ(0U, VRQ_Mod_Mtp_BIGINT(square, g.g, g.g, g.p, params->pool));
    EXPECT_EQ(square.hex(), Int(secret_of(unit.get(), g.g, &status)).hex());
    EXPECT_EQ(0U, status);
}

TEST(Dh, BothSidesAgreeAndSoDoesLibcrypto) {
    const std::unique_ptr<BN_CTX, test::BnFree> context(BN_CTX_new());
    for (const char* name : {"G1", "G2", "G3"}) {
        for (const bool with_q : {true, false}) {
            SCOPED_TRACE(name);
            const Group& g = group(name);
            const Params params =
                params_of(g.p, with_q ? static_cast<VRQ_BIGINT*>(g.q) : nullptr, g.g);
            const Unit a = unit_of(nullptr, nullptr, params);
            const Unit b = unit_of(nullptr, nullptr, params);
            for (VRQ_DH_UNIT* unit : {a.get(), b.get()}) {
                ASSERT_EQ(0U, VRQ_Generate_DH_Key_Pair(unit));
                EXPECT_GT(VRQ_Get_BIGINT_Bits_Length(unit->x), 100U);
                EXPECT_LE(VRQ_Get_BIGINT_Bits_Length(unit->x), 256U);
                if (with_q) {
                    EXPECT_EQ(-1, VRQ_Cmp_BIGINT(unit->x, g.q));
                }
            }
            const Bytes secret = secret_of(a.get(), b->y);
            EXPECT_EQ(secret, secret_of(b.get(), a->y));
            const Bn z;
            ASSERT_EQ(1, BN_mod_exp(z, Bn(b->y), Bn(a->x), Bn(g.p), context.get()));
            EXPECT_EQ(z.hex(), Int(secret).hex());
        }
    }
}

TEST(Dh, LeadingZeroBytesOfTheSecretAreLeftOut) {
    const Params params = params_of("G1");
    const Unit unit = unit_of(nullptr, nullptr, params);
    ASSERT_EQ(0U, VRQ_Generate_DH_Key_Pair(unit.get()));
    const Int peer(group("G1").g);
    Bytes secret = secret_of(unit.get(), peer);
    for (int i = 0; i < 5000 && secret.size() == 128; ++i) {
        ASSERT_EQ(0U, VRQ_Mod_Mtp_BIGINT(peer, peer, params->g, params->p, params->pool));
        secret = secret_of(unit.get(), peer);
    }
    EXPECT_LT(secret.size(), 128U);
    EXPECT_NE(0, secret.front());
    const std::unique_ptr<BN_CTX, test::BnFree> context(BN_CTX_new());
    const Bn z;
    ASSERT_EQ(1, BN_mod_exp(z, Bn(peer), Bn(unit->x), Bn(params->p), context.get()));
    EXPECT_EQ(z.hex(), Int(secret).hex());
    EXPECT_EQ(z.hex(), test::text_of(VRQ_BIGINT_To_HEX, unit->secret));
}

TEST(Dh, GeneratedParametersKeepTheLengths) {
    struct Row {
        uint32_t digest;
        uint32_t p_bits;
        uint32_t q_bits;
    };
    for (const Row& row : {Row{VRQ_ID_HAS160, 1024, 160}, Row{VRQ_ID_SHA256, 1090, 170}}) {
        SCOPED_TRACE(row.p_bits);
        const Params params(VRQ_New_DH_Params());
        params->user_word = 7;
        ASSERT_EQ(0U, VRQ_Generate_DH_Params(params.get(), row.digest, row.p_bits, row.q_bits));
        EXPECT_EQ(row.p_bits, VRQ_Get_BIGINT_Bits_Length(params->p));
        EXPECT_EQ(row.q_bits, VRQ_Get_BIGINT_Bits_Length(params->q));
        EXPECT_EQ((row.p_bits + 7) / 8, VRQ_Get_DH_PARAMS_Length(params.get()));
        EXPECT_EQ(row.q_bits / 8, params->seed_length);
        EXPECT_EQ(7U, params->user_word);
        EXPECT_EQ(1, BN_check_prime(Bn(params->p), nullptr, nullptr));
        EXPECT_EQ(1, BN_check_prime(Bn(params->q), nullptr, nullptr));
        EXPECT_EQ(0U, vrq_DH_Pub_Key_Validation(params->g, params.get())) << "order q";

        // q follows from seed and counter.
        Bytes seed(params->seed, params->seed + params->seed_length);
        for (int shift = 24; shift >= 0; shift -= 8)
            seed.push_back(static_cast<uint8_t>(params->count >> shift));
        Bytes q((row.q_bits + 7) / 8);
        ASSERT_EQ(0U, vrq_prng_DH_Params(row.digest, seed.data(),
                                         static_cast<uint32_t>(seed.size()), q.data(), row.q_bits));
        const Int expected(q);
        VRQ_Set_BIGINT_Bit(expected, static_cast<int32_t>(row.q_bits) - 1);
        VRQ_Set_BIGINT_Bit(expected, 0);
        EXPECT_EQ(expected.hex(), test::text_of(VRQ_BIGINT_To_HEX, params->q));

        const Unit unit = unit_of(nullptr, nullptr, params);
        EXPECT_EQ(0U, VRQ_Generate_DH_Key_Pair(unit.get()));
    }
}

TEST(DhStatus, Params) {
    const Group& g = group("G1");
    const Params params(VRQ_New_DH_Params());
    EXPECT_EQ(0x2002002BU, VRQ_Init_DH_Params(nullptr, g.p, g.q, g.g));
    EXPECT_EQ(0x2001002EU, VRQ_Init_DH_Params(params.get(), g.p, g.q, Int("2")));
    EXPECT_EQ(0x2001002EU, VRQ_Init_DH_Params(params.get(), g.p, g.q, Int("0")));
    EXPECT_EQ(0x2001002EU, VRQ_Init_DH_Params(params.get(), Int("1"), g.q, g.g));
    EXPECT_EQ(0x20010040U, VRQ_Init_DH_Params(params.get(), Int("10"), g.q, g.g));
    EXPECT_EQ(0x20010040U, VRQ_Init_DH_Params(params.get(), Int("0"), g.q, g.g));
    EXPECT_EQ(nullptr, params->p);
    EXPECT_EQ(0U, VRQ_Get_DH_PARAMS_Length(params.get()));
    EXPECT_EQ(0U, VRQ_Get_DH_PARAMS_Length(nullptr));
    EXPECT_EQ(0U, VRQ_Init_DH_Params(params.get(), nullptr, nullptr, nullptr));
    EXPECT_EQ(0U, VRQ_Init_DH_Params(params.get(), g.p, g.q, Int("1"))) << "not checked";
    EXPECT_EQ("1", test::text_of(VRQ_BIGINT_To_HEX, params->g));
    EXPECT_EQ(0U, VRQ_Init_DH_Params(params.get(), nullptr, nullptr, Int("2"))) << "one alone";
    EXPECT_EQ("2", test::text_of(VRQ_BIGINT_To_HEX, params->g));
    EXPECT_EQ(0, VRQ_Cmp_BIGINT(g.p, params->p));
    EXPECT_EQ(128U, VRQ_Get_DH_PARAMS_Length(params.get()));

    struct Row {
        uint32_t p_bits;
        uint32_t q_bits;
        uint32_t status;
    };
    for (const Row& row : {Row{1023, 160, 0x48}, Row{2049, 256, 0x48}, Row{1024, 224, 0x48},
                           Row{2048, 160, 0x48}, Row{1536, 159, 0x48}, Row{1536, 257, 0x48}})
        EXPECT_EQ(0x20030000U | row.status,
                  VRQ_Generate_DH_Params(params.get(), VRQ_ID_SHA256, row.p_bits, row.q_bits));
    EXPECT_EQ(0x20030049U, VRQ_Generate_DH_Params(nullptr, VRQ_ID_SHA256, 1024, 160));
    EXPECT_EQ(0x20030059U, VRQ_Generate_DH_Params(params.get(), 0, 1024, 160));
    EXPECT_EQ(0U, VRQ_Get_DH_PARAMS_Length(params.get())) << "nothing half made";

    uint8_t bytes[8] = {};
    const Int out;
    EXPECT_EQ(0x20030049U, vrq_prng_DH_Params(VRQ_ID_SHA256, nullptr, 1, bytes, 8));
    EXPECT_EQ(0x20030049U, vrq_prng_DH_Params(VRQ_ID_SHA256, bytes, 1, nullptr, 8));
    EXPECT_EQ(0x20030049U, vrq_Get_Rand_DH_Params_BIGINT(nullptr, VRQ_ID_SHA256, nullptr, g.q));
    EXPECT_EQ(0x2003002BU, vrq_Get_Rand_DH_Params_BIGINT(nullptr, VRQ_ID_SHA256, out, Int("0")));
    EXPECT_EQ(0U, vrq_Get_Rand_DH_Params_BIGINT(nullptr, VRQ_ID_SHA256, out, g.q));
    EXPECT_EQ(-1, VRQ_Cmp_BIGINT(out, g.q));
}

TEST(DhStatus, Units) {
    const Group& g = group("G1");
    const Params params = params_of("G1");
    const Unit unit(VRQ_New_DH());
    uint8_t out[128];
    uint32_t length = 0;
    EXPECT_EQ(0x2001002BU, VRQ_Init_DH(nullptr, nullptr, nullptr, params.get()));
    EXPECT_EQ(0x2001002BU, VRQ_Init_DH(unit.get(), nullptr, nullptr, nullptr));
    EXPECT_EQ(0x20040049U, VRQ_Generate_DH_Key_Pair(nullptr));
    EXPECT_EQ(0x20040049U, VRQ_Generate_DH_Key_Pair(unit.get()));

    const Params wrong = params_of(g.p, nullptr, Int("2"));
    ASSERT_EQ(0U, VRQ_Copy_BIGINT(wrong->p, g.p));
    wrong->q = VRQ_Dup_BIGINT(g.q);
    EXPECT_EQ(0x20010059U, VRQ_Init_DH(unit.get(), nullptr, nullptr, wrong.get()));

    ASSERT_EQ(0U, VRQ_Init_DH(unit.get(), nullptr, nullptr, params.get()));
    EXPECT_NE(params.get(), unit->params) << "a copy";
    EXPECT_EQ(0x20050049U, VRQ_Compute_Key(unit.get(), g.g, out, &length)) << "no key pair";
    ASSERT_EQ(0U, VRQ_Generate_DH_Key_Pair(unit.get()));
    EXPECT_EQ(0x20050049U, VRQ_Compute_Key(nullptr, g.g, out, &length));
    EXPECT_EQ(0x20050049U, VRQ_Compute_Key(unit.get(), nullptr, out, &length));
    EXPECT_EQ(0x20050049U, VRQ_Compute_Key(unit.get(), g.g, nullptr, &length));
    EXPECT_EQ(0x20050049U, VRQ_Compute_Key(unit.get(), g.g, out, nullptr));
    EXPECT_EQ(0U, VRQ_Compute_Key(unit.get(), g.g, out, &length));

    unit->pool->depth = VRQ_BIGINT_POOL_FRAMES - 1;
    EXPECT_EQ(0x20040057U, VRQ_Generate_DH_Key_Pair(unit.get()));
    unit->pool->depth = -1;
    EXPECT_EQ(0U, VRQ_Get_BIGINT_Bits_Length(unit->x)) << "no half pair";

    VRQ_Clean_DH(unit.get());
    const VRQ_DH_UNIT zero = {};
    EXPECT_EQ(0, std::memcmp(&zero, unit.get(), sizeof zero));
    ASSERT_EQ(0U, VRQ_Init_DH(unit.get(), nullptr, nullptr, params.get())) << "serves again";
    ASSERT_EQ(0U, VRQ_Generate_DH_Key_Pair(unit.get()));
    EXPECT_EQ(0U, VRQ_Compute_Key(unit.get(), g.g, out, &length));
    VRQ_Clean_DH(nullptr);
    VRQ_Free_DH(nullptr);
    VRQ_Clean_DH_Params(nullptr);
    VRQ_Free_DH_Params(nullptr);
}

// Whatever the numbers are, every call ends and says so.
TEST(DhStatus, DamagedParameters) {
    const Group& g = group("G1");
    struct Row {
        const char* what;
        const char* p;
        const char* q;
        const char* g;
        uint32_t status;
    };
    const std::string p = g.p.hex();
    const std::string q = g.q.hex();
    for (const Row& row :
         {Row{"p even", "10000000000000000", nullptr, "3", 0x20040040},
          Row{"p = 0", "0", nullptr, "3", 0x20040040}, Row{"p = 1", "1", nullptr, "3", 0x2004002E},
          Row{"q = 0", p.c_str(), "0", "3", 0x2004001D},
          Row{"q = 1", p.c_str(), "1", "1", 0x2004001D},
          Row{"g = 0", p.c_str(), nullptr, "0", 0x2004002E},
          Row{"g = 1", p.c_str(), q.c_str(), "1", 0x2004002E}}) {
        SCOPED_TRACE(row.what);
        const Unit unit(VRQ_New_DH());
        unit->params = VRQ_New_DH_Params();
        unit->params->p = VRQ_Dup_BIGINT(Int(row.p));
        unit->params->q = row.q == nullptr ? nullptr : VRQ_Dup_BIGINT(Int(row.q));
        unit->params->g = VRQ_Dup_BIGINT(Int(row.g));
        EXPECT_EQ(row.status, VRQ_Generate_DH_Key_Pair(unit.get()));
    }
}

TEST(ProvenDh, LoadingIsRefused) {
    const Group& g = group("G3");
    const Params params(VRQ_New_DH_Params());
    const Unit unit(VRQ_New_DH());
    EXPECT_EQ(0x2002002BU, VRQ_Init_DH_Params(params.get(), g.p, g.q, g.g));
    EXPECT_EQ(0x2002002BU, VRQ_Init_DH_Params(nullptr, g.p, g.q, g.g));
    EXPECT_EQ(0x200100F0U, VRQ_Init_DH(unit.get(), nullptr, nullptr, params.get()));
    EXPECT_EQ(0x200100F0U, VRQ_Init_DH(nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0x200300F0U, VRQ_Generate_DH_Params(params.get(), VRQ_ID_SHA256, 1024, 160));
    EXPECT_EQ(0x20030048U, VRQ_Generate_DH_Params(params.get(), VRQ_ID_SHA256, 2048, 160));
    EXPECT_EQ(0x20030059U, VRQ_Generate_DH_Params(params.get(), VRQ_ID_SHA1, 2048, 224));
    ASSERT_EQ(0U, VRQ_Generate_DH_Params(params.get(), VRQ_ID_SHA256, 2048, 224));
    EXPECT_EQ(2048U, VRQ_Get_BIGINT_Bits_Length(params->p));
    EXPECT_EQ(224U, VRQ_Get_BIGINT_Bits_Length(params->q));
}

} // namespace
