// The digest unit: known answers, life cycle, statuses, modes.
#include "api/digest_cases.h"

#include <openssl/evp.h>

#include <cstring>
#include <set>

namespace {

using namespace test;

Bytes message_of(const Record& record) {
    if (record.has("msg")) return record.bytes("msg");
    const Bytes unit = record.bytes("unit");
    Bytes message;
    for (long i = 0; i < record.number("count"); ++i)
        message.insert(message.end(), unit.begin(), unit.end());
    return message;
}

// One step of the Monte Carlo test of the secure hash validation system.
Bytes monte_carlo(const DigestCase& row, const Record& record) {
    Bytes a = record.bytes("seed");
    Bytes b = a;
    Bytes c = a;
    for (long i = 0; i < record.number("iterations"); ++i) {
        Bytes input = a;
        input.insert(input.end(), b.begin(), b.end());
        input.insert(input.end(), c.begin(), c.end());
        a = b;
        b = c;
        c.resize(row.length);
        EXPECT_EQ(0U, VRQ_DIGEST(row.id, input.data(), static_cast<uint32_t>(input.size()),
                                 c.data(), nullptr));
    }
    return c;
}

// Returns the identifiers that had a vector.
std::set<uint32_t> check_vectors(const std::string& path) {
    std::set<uint32_t> seen;
    for (const Record& record : load_vectors(path)) {
        SCOPED_TRACE(record.where);
        const std::size_t mct = record.name.find("-MCT");
        const DigestCase& row = digest_case(record.name.substr(0, mct));
        seen.insert(row.id);
        const Bytes expected = record.bytes("md");
        if (mct != std::string::npos) {
            EXPECT_EQ(expected, monte_carlo(row, record));
            continue;
        }
        const Bytes message = message_of(record);
        EXPECT_EQ(expected, digest_of(row.id, message));
        if (message.empty()) continue;
        Bytes out(row.length);
        uint32_t length = 0;
        EXPECT_EQ(0U, VRQ_DIGEST(row.id, message.data(), static_cast<uint32_t>(message.size()),
                                 out.data(), &length));
        EXPECT_EQ(expected, out);
        EXPECT_EQ(row.length, length);
    }
    return seen;
}

TEST(Digest, KnownAnswersForEveryAlgorithm) {
    std::set<uint32_t> seen = check_vectors("digest/sha.vec");
    seen.merge(check_vectors("digest/legacy.vec"));
    // Every identifier that the library knows has a vector, whatever the tables of the tests say.
    for (uint32_t id = 0x01000000; id < 0x10000000; id += 0x100) {
        EXPECT_EQ(VRQ_Get_DIGEST_Length(id) != 0, seen.count(id) == 1) << std::hex << id;
    }
    EXPECT_EQ(std::size(kDigestCases), seen.size());
}

TEST(Digest, AnyCutGivesTheSameDigest) {
    std::mt19937 random(21);
    for (const DigestCase& row : kDigestCases) {
        SCOPED_TRACE(row.name);
        const DigestUnit unit = digest_unit(row.id);
        for (std::size_t size = 1; size <= 2 * row.block + 2; ++size) {
            const Bytes message = random_bytes(random, size);
            const Bytes whole = digest_of(row.id, message);
            const auto update = [&](const uint8_t* data, int32_t n) {
                return VRQ_Update_DIGEST(unit.get(), data, n);
            };
            for (const std::size_t longest : {std::size_t{1}, std::size_t{100}, size}) {
                feed_in_pieces(random, message, longest, update);
                ASSERT_EQ(whole, final_digest(unit.get())) << size << " in pieces of " << longest;
            }
        }
    }
}

TEST(Digest, AgreesWithAnotherLibrary) {
    std::mt19937 random(22);
    for (const DigestCase& row : kDigestCases) {
        if (row.oracle == nullptr) continue;
        SCOPED_TRACE(row.name);
        EVP_MD* const md = EVP_MD_fetch(nullptr, row.oracle, nullptr);
        ASSERT_NE(nullptr, md);
        const DigestUnit unit = digest_unit(row.id);
        for (int i = 0; i < 300; ++i) {
            const Bytes message =
                random_bytes(random, i < 260 ? static_cast<std::size_t>(i) : random() % 20000);
            Bytes expected(row.length);
            ASSERT_EQ(1, EVP_Digest(message.data(), message.size(), expected.data(), nullptr, md,
                                    nullptr));
            feed_in_pieces(random, message, 1 + random() % 1000,
                           [&](const uint8_t* data, int32_t n) {
                               return VRQ_Update_DIGEST(unit.get(), data, n);
                           });
            ASSERT_EQ(expected, final_digest(unit.get())) << message.size();
        }
        EVP_MD_free(md);
    }
}

TEST(Digest, InitSetsTheFieldsOfTheAlgorithm) {
    const DigestUnit unit(VRQ_New_DIGEST_Unit());
    for (const DigestCase& row : kDigestCases) {
        SCOPED_TRACE(row.name);
        ASSERT_EQ(0U, VRQ_Init_DIGEST(unit.get(), row.id));
        EXPECT_EQ(row.id, unit->algorithm);
        EXPECT_EQ(row.length, unit->digest_length);
        EXPECT_EQ(row.block, unit->block_length);
        EXPECT_EQ(row.context_size, unit->context_size);
        EXPECT_EQ(-1, unit->init_marker);
        EXPECT_EQ(row.id, VRQ_Get_DIGEST_Alg_ID(unit.get()));
        EXPECT_EQ(row.length, VRQ_Get_DIGEST_Length(row.id));
        EXPECT_STREQ(row.name, VRQ_Get_DIGEST_Alg_Name(row.id));
        EXPECT_EQ(row.id, VRQ_Get_DIGEST_Alg_ID_By_Name(row.name));
    }
    EXPECT_EQ(0U, VRQ_Get_DIGEST_Length(0x05000600));
    EXPECT_EQ(nullptr, VRQ_Get_DIGEST_Alg_Name(0x05000101));
    EXPECT_EQ(0U, VRQ_Get_DIGEST_Alg_ID(nullptr));
}

TEST(Digest, NamesMatchExactlyButForCase) {
    EXPECT_EQ(0x05000300U, VRQ_Get_DIGEST_Alg_ID_By_Name("sha256"));
    EXPECT_EQ(0x07000100U, VRQ_Get_DIGEST_Alg_ID_By_Name("Has160"));
    for (const char* name : {"SHA-256", "SHA25", "SHA2566", "", " SHA256", "SHA256 ", "SHA256\xFF",
                             "SHA256SHA256SHA2", "MD5MD5MD5MD5MD5MD5MD5"})
        EXPECT_EQ(0U, VRQ_Get_DIGEST_Alg_ID_By_Name(name)) << name;
    EXPECT_EQ(0U, VRQ_Get_DIGEST_Alg_ID_By_Name(nullptr));
}

TEST(Digest, FinalStartsTheNextMessage) {
    const Bytes message = {'a', 'b', 'c'};
    for (const DigestCase& row : kDigestCases) {
        SCOPED_TRACE(row.name);
        const DigestUnit unit = digest_unit(row.id);
        const Bytes empty = digest_of(row.id, {});
        EXPECT_EQ(empty, final_digest(unit.get()));
        EXPECT_EQ(empty, final_digest(unit.get()));
        ASSERT_EQ(0U, VRQ_Update_DIGEST(unit.get(), message.data(), 3));
        EXPECT_EQ(digest_of(row.id, message), final_digest(unit.get()));
        EXPECT_EQ(empty, final_digest(unit.get()));

        // Init forgets what was fed.
        ASSERT_EQ(0U, VRQ_Update_DIGEST(unit.get(), message.data(), 3));
        ASSERT_EQ(0U, VRQ_Init_DIGEST(unit.get(), row.id));
        EXPECT_EQ(empty, final_digest(unit.get()));
    }
}

TEST(Digest, CleanZeroesOnlyWhatWasInitialised) {
    const VRQ_DIGEST_UNIT zero{};
    const DigestUnit unit(vrq_New_DIGEST_Unit_Ex(7));
    VRQ_Clean_DIGEST_Unit(unit.get());
    EXPECT_EQ(7, unit->restricted);
    ASSERT_EQ(0U, VRQ_Init_DIGEST(unit.get(), VRQ_ID_SHA256));
    EXPECT_EQ(7, unit->restricted);
    VRQ_Clean_DIGEST_Unit(unit.get());
    EXPECT_EQ(0, std::memcmp(&zero, unit.get(), sizeof zero));
    VRQ_Clean_DIGEST_Unit(unit.get());
    VRQ_Clean_DIGEST_Unit(nullptr);
    VRQ_Free_DIGEST_Unit(nullptr);
}

TEST(Digest, RestrictedUnitRefusesMdc2UntilItIsInitialisedAgain) {
    const DigestUnit unit(vrq_New_DIGEST_Unit_Ex(1));
    EXPECT_EQ(0x0A040029U, vrq_Init_DIGEST_Alg(unit.get(), VRQ_ID_MDC2));
    EXPECT_EQ(0U, unit->algorithm);
    EXPECT_EQ(0x0A010059U, VRQ_Init_DIGEST(unit.get(), VRQ_ID_MDC2));
    EXPECT_EQ(0U, VRQ_Init_DIGEST(unit.get(), VRQ_ID_MDC2)) << "the second Init cleans";
}

TEST(Digest, BindingAloneAllocatesNothing) {
    VRQ_DIGEST_UNIT unit{};
    ASSERT_EQ(0U, vrq_Init_DIGEST_Alg(&unit, VRQ_ID_SHA512));
    EXPECT_EQ(nullptr, unit.context);
    EXPECT_EQ(344, unit.context_size);
    EXPECT_EQ(0, unit.init_marker);
    VRQ_SHA512_CTX context;
    unit.context = &context;
    ASSERT_EQ(0U, unit.init(&context));
    EXPECT_EQ(digest_of(VRQ_ID_SHA512, {}), final_digest(&unit));
}

TEST(Digest, Statuses) {
    const uint8_t data[4] = {};
    uint8_t out[64];
    const DigestUnit fresh(VRQ_New_DIGEST_Unit());
    const DigestUnit bound = digest_unit(VRQ_ID_SHA256);
    const DigestUnit md5 = digest_unit(VRQ_ID_MD5);
    const DigestUnit has160 = digest_unit(VRQ_ID_HAS160);
    const DigestUnit refused(VRQ_New_DIGEST_Unit());

    EXPECT_EQ(0x0A010049U, VRQ_Init_DIGEST(nullptr, VRQ_ID_SHA256));
    EXPECT_EQ(0x0A010059U, VRQ_Init_DIGEST(refused.get(), 0x05000600));
    EXPECT_EQ(0U, refused->algorithm);
    EXPECT_EQ(-1, refused->init_marker);
    EXPECT_EQ(0x0A040029U, vrq_Init_DIGEST_Alg(refused.get(), 0x15000300));
    EXPECT_EQ(0x0A040049U, vrq_Init_DIGEST_Alg(nullptr, VRQ_ID_SHA256));

    EXPECT_EQ(0x0A020049U, VRQ_Update_DIGEST(nullptr, data, 4));
    EXPECT_EQ(0x0A020049U, VRQ_Update_DIGEST(bound.get(), nullptr, 0));
    EXPECT_EQ(0x0A020049U, VRQ_Update_DIGEST(bound.get(), nullptr, -1));
    EXPECT_EQ(0x0A02002BU, VRQ_Update_DIGEST(bound.get(), data, -1));
    EXPECT_EQ(0U, VRQ_Update_DIGEST(bound.get(), data, 0));
    EXPECT_EQ(0x0A02005BU, VRQ_Update_DIGEST(md5.get(), data, 0));
    EXPECT_EQ(0x0A02005BU, VRQ_Update_DIGEST(has160.get(), data, 0));
    EXPECT_EQ(0x0A020049U, VRQ_Update_DIGEST(fresh.get(), data, 4)) << "never initialised";
    EXPECT_EQ(0x0A020049U, VRQ_Update_DIGEST(refused.get(), data, 4));

    EXPECT_EQ(0x0A030049U, VRQ_Final_DIGEST(nullptr, out, nullptr));
    EXPECT_EQ(0x0A030049U, VRQ_Final_DIGEST(bound.get(), nullptr, nullptr));
    EXPECT_EQ(0x0A030049U, VRQ_Final_DIGEST(fresh.get(), out, nullptr)) << "never initialised";
    static_cast<VRQ_SHA256_CTX*>(bound->context)->block_fill = 65;
    EXPECT_EQ(0x0A02005BU, VRQ_Update_DIGEST(bound.get(), data, 4));
    EXPECT_EQ(0x0A030018U, VRQ_Final_DIGEST(bound.get(), out, nullptr));

    EXPECT_EQ(0x0A050049U, VRQ_DIGEST(VRQ_ID_SHA256, nullptr, 0, out, nullptr));
    EXPECT_EQ(0x0A050022U, VRQ_DIGEST(0x05000600, data, 4, out, nullptr));
    EXPECT_EQ(0x0A05005BU, VRQ_DIGEST(VRQ_ID_MD5, data, 0, out, nullptr));
    EXPECT_EQ(0x0A05005BU, VRQ_DIGEST(VRQ_ID_SHA256, data, 0x80000000, out, nullptr));
    EXPECT_EQ(0x0A050018U, VRQ_DIGEST(VRQ_ID_SHA256, data, 4, nullptr, nullptr));
    EXPECT_EQ(0U, VRQ_DIGEST(VRQ_ID_SHA256, data, 0, out, nullptr));
}

TEST(ProvenDigest, RefusesWhatIsNotApproved) {
    const Bytes message = {'a', 'b', 'c'};
    uint8_t out[64];
    for (const DigestCase& row : kDigestCases) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.length, VRQ_Get_DIGEST_Length(row.id));
        EXPECT_STREQ(row.name, VRQ_Get_DIGEST_Alg_Name(row.id));
        const DigestUnit unit(VRQ_New_DIGEST_Unit());
        if (row.approved) {
            EXPECT_EQ(0U, VRQ_Init_DIGEST(unit.get(), row.id));
            EXPECT_EQ(0U, VRQ_DIGEST(row.id, message.data(), 3, out, nullptr));
            continue;
        }
        EXPECT_EQ(0x0A0400F0U, vrq_Init_DIGEST_Alg(unit.get(), row.id));
        EXPECT_EQ(row.id, unit->algorithm);
        EXPECT_EQ(0x0A010059U, VRQ_Init_DIGEST(unit.get(), row.id));
        EXPECT_EQ(row.id, unit->algorithm);
        EXPECT_EQ(0x0A020049U, VRQ_Update_DIGEST(unit.get(), message.data(), 3));
        EXPECT_EQ(0x0A050022U, VRQ_DIGEST(row.id, message.data(), 3, out, nullptr));
        EXPECT_EQ(0U, VRQ_Init_DIGEST(unit.get(), VRQ_ID_SHA224)) << "usable after a good Init";
    }
    const DigestUnit restricted(vrq_New_DIGEST_Unit_Ex(1));
    EXPECT_EQ(0x0A0400F0U, vrq_Init_DIGEST_Alg(restricted.get(), VRQ_ID_MDC2));
    EXPECT_EQ(0x130100F0U, vrq_Init_MDC2(nullptr)) << "asked before anything else";
}

TEST(TestModeDigest, AdmitsEverything) {
    for (const DigestCase& row : kDigestCases) {
        const DigestUnit unit(VRQ_New_DIGEST_Unit());
        EXPECT_EQ(0U, VRQ_Init_DIGEST(unit.get(), row.id)) << row.name;
    }
}

} // namespace
