// HMAC: known answers, key lengths, the life cycle of a keyed unit, statuses, modes.
#include "api/digest_cases.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <cstring>
#include <set>

namespace {

using namespace test;

HmacUnit hmac_unit(uint32_t id, const Bytes& key) {
    static const uint8_t none = 0;
    HmacUnit unit(VRQ_New_HMAC_Unit());
    EXPECT_EQ(0U, VRQ_Init_HMAC(unit.get(), id, key.empty() ? &none : key.data(),
                                static_cast<uint32_t>(key.size())));
    return unit;
}

Bytes final_mac(VRQ_HMAC_UNIT* unit) {
    Bytes out(VRQ_MAX_DIGEST_LENGTH);
    uint32_t length = 0;
    EXPECT_EQ(0U, VRQ_Final_HMAC(unit, out.data(), &length));
    out.resize(length);
    return out;
}

Bytes mac_of(VRQ_HMAC_UNIT* unit, const Bytes& message) {
    if (!message.empty()) {
        EXPECT_EQ(0U, VRQ_Update_HMAC(unit, message.data(), static_cast<int32_t>(message.size())));
    }
    return final_mac(unit);
}

Bytes padded(const Bytes& key, std::size_t block, uint8_t pad) {
    Bytes out(block, pad);
    for (std::size_t i = 0; i < key.size() && i < block; ++i) out[i] = key[i] ^ pad;
    return out;
}

Bytes joined(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// The formula of RFC 2104 over whole digests; `inner` is given so that it can be left unkeyed.
Bytes outer_hash(const DigestCase& row, const Bytes& key, const Bytes& inner) {
    const Bytes block_key = key.size() > row.block ? digest_of(row.id, key) : key;
    return digest_of(row.id, joined(padded(block_key, row.block, 0x5C), inner));
}

Bytes inner_hash(const DigestCase& row, const Bytes& key, const Bytes& message) {
    const Bytes block_key = key.size() > row.block ? digest_of(row.id, key) : key;
    return digest_of(row.id, joined(padded(block_key, row.block, 0x36), message));
}

TEST(Hmac, KnownAnswers) {
    std::set<uint32_t> seen;
    for (const Record& record : load_vectors("mac/hmac.vec")) {
        SCOPED_TRACE(record.where);
        const DigestCase& row = digest_case(record.name.substr(std::strlen("HMAC-")));
        seen.insert(row.id);
        const Bytes key = record.bytes("key");
        const Bytes message = record.bytes("msg");
        const Bytes expected = record.bytes(record.has("mac") ? "mac" : "mac_prefix");
        ASSERT_EQ(record.has("mac"), expected.size() == row.length);

        const HmacUnit unit = hmac_unit(row.id, key);
        Bytes mac = mac_of(unit.get(), message);
        mac.resize(expected.size());
        EXPECT_EQ(expected, mac);

        Bytes out(row.length);
        uint32_t length = 0;
        ASSERT_EQ(0U,
                  VRQ_HMAC(row.id, key.data(), static_cast<uint32_t>(key.size()), message.data(),
                           static_cast<uint32_t>(message.size()), out.data(), &length));
        EXPECT_EQ(row.length, length);
        out.resize(expected.size());
        EXPECT_EQ(expected, out);
    }
    for (const DigestCase& row : kDigestCases) {
        EXPECT_EQ(row.oracle != nullptr, seen.count(row.id) == 1) << row.name;
    }
}

TEST(Hmac, FollowsTheFormulaAtEveryKeyLength) {
    std::mt19937 random(31);
    for (const DigestCase& row : kDigestCases) {
        SCOPED_TRACE(row.name);
        const HmacUnit unit(VRQ_New_HMAC_Unit());
        for (uint32_t key_length = 0; key_length <= row.block + 70; ++key_length) {
            const Bytes key = random_bytes(random, key_length);
            const Bytes message = random_bytes(random, random() % 300);
            const uint8_t none = 0;
            ASSERT_EQ(0U, VRQ_Init_HMAC(unit.get(), row.id, key.empty() ? &none : key.data(),
                                        key_length));
            ASSERT_EQ(outer_hash(row, key, inner_hash(row, key, message)),
                      mac_of(unit.get(), message))
                << key_length;
        }
    }
}

TEST(Hmac, AgreesWithAnotherLibrary) {
    std::mt19937 random(32);
    for (const DigestCase& row : kDigestCases) {
        if (row.oracle == nullptr) continue;
        const Bytes key = random_bytes(random, 1 + random() % 200);
        const HmacUnit unit = hmac_unit(row.id, key);
        for (int i = 0; i < 100; ++i) {
            const Bytes message = random_bytes(random, 1 + random() % 1000);
            Bytes expected(row.length);
            HMAC(EVP_get_digestbyname(row.oracle), key.data(), static_cast<int>(key.size()),
                 message.data(), message.size(), expected.data(), nullptr);
            feed_in_pieces(random, message, 200, [&](const uint8_t* data, int32_t n) {
                return VRQ_Update_HMAC(unit.get(), data, n);
            });
            ASSERT_EQ(expected, final_mac(unit.get())) << row.name << " " << i;
        }
    }
}

TEST(Hmac, OneUnitServesManyMessages) {
    const Bytes key = {'k', 'e', 'y'};
    const Bytes first = {'f'};
    const Bytes second(200, 's');
    for (const DigestCase& row : kDigestCases) {
        SCOPED_TRACE(row.name);
        const HmacUnit unit = hmac_unit(row.id, key);
        EXPECT_EQ(row.id | 0x10000000U, unit->algorithm);
        EXPECT_EQ(1U, unit->phase);
        EXPECT_EQ(outer_hash(row, key, inner_hash(row, key, first)), mac_of(unit.get(), first));
        EXPECT_EQ(3U, unit->phase);
        ASSERT_EQ(0U, VRQ_Update_HMAC(unit.get(), second.data(), 200));
        EXPECT_EQ(2U, unit->phase);
        EXPECT_EQ(outer_hash(row, key, inner_hash(row, key, second)), final_mac(unit.get()));

        // Final after Final: the inner hash is that of the empty message, without the key.
        EXPECT_EQ(outer_hash(row, key, digest_of(row.id, {})), final_mac(unit.get()));
    }
}

TEST(Hmac, EmptyMessageIsFinalRightAfterInit) {
    const DigestCase& row = digest_case("SHA-256");
    const Bytes key(20, 0x0B);
    const HmacUnit unit = hmac_unit(row.id, key);
    EXPECT_EQ(outer_hash(row, key, inner_hash(row, key, {})), final_mac(unit.get()));
}

TEST(Hmac, Statuses) {
    const uint8_t data[200] = {};
    uint8_t out[64];
    const HmacUnit fresh(VRQ_New_HMAC_Unit());
    const HmacUnit unit = hmac_unit(VRQ_ID_SHA256, {'k'});

    EXPECT_EQ(0x0F010049U, VRQ_Init_HMAC(nullptr, VRQ_ID_SHA256, data, 1));
    EXPECT_EQ(0x0F010049U, VRQ_Init_HMAC(fresh.get(), VRQ_ID_SHA256, nullptr, 0));
    EXPECT_EQ(0x0F020049U, VRQ_Update_HMAC(nullptr, data, 1));
    EXPECT_EQ(0x0F020049U, VRQ_Update_HMAC(fresh.get(), data, 1)) << "never initialised";
    EXPECT_EQ(0x0F030049U, VRQ_Final_HMAC(nullptr, out, nullptr));
    EXPECT_EQ(0x0F030049U, VRQ_Final_HMAC(fresh.get(), out, nullptr)) << "never initialised";

    EXPECT_EQ(0x0F02002BU, VRQ_Update_HMAC(unit.get(), data, 0));
    EXPECT_EQ(0x0F02002BU, VRQ_Update_HMAC(unit.get(), data, -1));
    EXPECT_EQ(0x0F02005BU, VRQ_Update_HMAC(unit.get(), nullptr, 1));
    EXPECT_EQ(0x0F030018U, VRQ_Final_HMAC(unit.get(), nullptr, nullptr));
    auto* context = static_cast<VRQ_SHA256_CTX*>(unit->digest->context);
    context->block_fill = 65;
    EXPECT_EQ(0x0F02005BU, VRQ_Update_HMAC(unit.get(), data, 1));
    EXPECT_EQ(0x0F030018U, VRQ_Final_HMAC(unit.get(), out, nullptr));
    context->block_fill = 0;
    static_cast<VRQ_SHA256_CTX*>(unit->outer_state)->block_fill = 65;
    EXPECT_EQ(0x0F03005BU, VRQ_Final_HMAC(unit.get(), out, nullptr));

    EXPECT_EQ(0x0F010022U, VRQ_Init_HMAC(unit.get(), 0x05000600, data, 1));
    EXPECT_EQ(0x0F020049U, VRQ_Update_HMAC(unit.get(), data, 1)) << "the unit has no key";
    // A length that is negative as a signed number is not hashed but refused; nothing is read.
    EXPECT_EQ(0x0F010059U, VRQ_Init_HMAC(unit.get(), VRQ_ID_SHA256, data, 0x80000000));
    EXPECT_EQ(0x0F030049U, VRQ_Final_HMAC(unit.get(), out, nullptr)) << "the unit has no key";
    EXPECT_EQ(-1, unit->init_marker);

    EXPECT_EQ(0x0F040023U, VRQ_HMAC(0x05000600, data, 1, data, 1, out, nullptr));
    EXPECT_EQ(0x0F040023U, VRQ_HMAC(VRQ_ID_SHA256, nullptr, 0, data, 1, out, nullptr));
    EXPECT_EQ(0x0F04005CU, VRQ_HMAC(VRQ_ID_SHA256, data, 1, data, 0, out, nullptr));
    EXPECT_EQ(0x0F04005CU, VRQ_HMAC(VRQ_ID_SHA256, data, 1, nullptr, 1, out, nullptr));
    EXPECT_EQ(0x0F040019U, VRQ_HMAC(VRQ_ID_SHA256, data, 1, data, 1, nullptr, nullptr));
}

TEST(Hmac, CleanZeroesTheRecord) {
    const VRQ_HMAC_UNIT zero{};
    const HmacUnit unit(vrq_New_HMAC_Unit_Ex(1));
    VRQ_Clean_HMAC_Unit(unit.get());
    EXPECT_EQ(1, unit->restricted);
    const uint8_t key[3] = {1, 2, 3};
    EXPECT_EQ(0x0F010022U, VRQ_Init_HMAC(unit.get(), VRQ_ID_MDC2, key, 3)) << "restricted";
    EXPECT_EQ(0U, VRQ_Init_HMAC(unit.get(), VRQ_ID_MDC2, key, 3)) << "the second Init cleans";
    VRQ_Clean_HMAC_Unit(unit.get());
    EXPECT_EQ(0, std::memcmp(&zero, unit.get(), sizeof zero));
    VRQ_Clean_HMAC_Unit(nullptr);
    VRQ_Free_HMAC_Unit(nullptr);
}

TEST(Hmac, Names) {
    for (const DigestCase& row : kDigestCases) {
        char* const name = VRQ_Get_HMAC_Name(row.id | 0x10000000);
        ASSERT_NE(nullptr, name);
        EXPECT_EQ("HMAC_" + std::string(row.name), name);
        VRQ_Free(name, __FILE__, __LINE__);
        EXPECT_EQ(nullptr, VRQ_Get_HMAC_Name(row.id));
    }
    EXPECT_EQ(nullptr, VRQ_Get_HMAC_Name(0x15000600));
}

TEST(ProvenHmac, RefusesWhatIsNotApproved) {
    const uint8_t key[3] = {1, 2, 3};
    for (const DigestCase& row : kDigestCases) {
        const HmacUnit unit(VRQ_New_HMAC_Unit());
        EXPECT_EQ(row.approved ? 0U : 0x0F010022U, VRQ_Init_HMAC(unit.get(), row.id, key, 3))
            << row.name;
    }
}

} // namespace
