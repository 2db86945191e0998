// Digest units and HMAC when memory runs out, and what they leave in the memory that they release.
#include "harness/faults.h"
#include "talvern.h"

#include <array>
#include <cstring>

namespace {

using test::Bytes;

constexpr uint32_t kAll[] = {VRQ_ID_SHA1,   VRQ_ID_SHA224, VRQ_ID_SHA256, VRQ_ID_SHA384,
                             VRQ_ID_SHA512, VRQ_ID_MD5,    VRQ_ID_HAS160, VRQ_ID_MDC2};

TEST(DigestFaults, OneShotNeedsNoMemory) {
    const uint8_t data[3] = {'a', 'b', 'c'};
    for (const uint32_t id : kAll) {
        uint8_t out[64];
        vrq::testing::fail_allocation(1);
        EXPECT_EQ(0U, VRQ_DIGEST(id, data, 3, out, nullptr));
        EXPECT_EQ(0U, vrq::testing::allocation_count());
    }
    vrq::testing::fail_allocation(0);
}

TEST(DigestFaults, UnitStatuses) {
    VRQ_DIGEST_UNIT* unit = VRQ_New_DIGEST_Unit();
    vrq::testing::fail_allocation(1);
    EXPECT_EQ(0x0A010022U, VRQ_Init_DIGEST(unit, VRQ_ID_SHA256));
    vrq::testing::fail_allocation(1);
    EXPECT_EQ(nullptr, VRQ_New_DIGEST_Unit());
    vrq::testing::fail_allocation(0);
    const uint8_t data[1] = {};
    uint8_t out[64];
    EXPECT_EQ(0x0A02005BU, VRQ_Update_DIGEST(unit, data, 1)) << "the unit has no engine record";
    EXPECT_EQ(0x0A030018U, VRQ_Final_DIGEST(unit, out, nullptr));
    EXPECT_EQ(0U, VRQ_Init_DIGEST(unit, VRQ_ID_SHA256));
    VRQ_Free_DIGEST_Unit(unit);
}

TEST(DigestFaults, HmacStatuses) {
    const uint8_t data[3] = {'a', 'b', 'c'};
    // HMAC unit; digest unit, its engine record, inner and outer state.
    constexpr std::array<uint32_t, 6> one_shot = {0,          0x0F04003B, 0x0F040023,
                                                  0x0F040023, 0x0F040023, 0x0F040023};
    constexpr std::array<uint32_t, 5> init = {0, 0x0F010022, 0x0F010022, 0x0F010059, 0x0F010059};
    uint8_t out[64];
    for (const uint32_t id : kAll) {
        test::for_each_allocation_fault([&](std::size_t number) {
            ASSERT_LT(number, one_shot.size());
            EXPECT_EQ(one_shot[number], VRQ_HMAC(id, data, 3, data, 3, out, nullptr));
        });
        VRQ_HMAC_UNIT* unit = VRQ_New_HMAC_Unit();
        test::for_each_allocation_fault([&](std::size_t number) {
            ASSERT_LT(number, init.size());
            EXPECT_EQ(init[number], VRQ_Init_HMAC(unit, id, data, 3));
            // Without its states the unit is refused, not used without a key.
            EXPECT_EQ(number == 0 ? 0U : 0x0F020049U, VRQ_Update_HMAC(unit, data, 3));
            EXPECT_EQ(number == 0 ? 0U : 0x0F030049U, VRQ_Final_HMAC(unit, out, nullptr));
        });
        VRQ_Free_HMAC_Unit(unit);
    }
    vrq::testing::fail_allocation(1);
    EXPECT_EQ(nullptr, VRQ_New_HMAC_Unit());
    vrq::testing::fail_allocation(1);
    EXPECT_EQ(nullptr, VRQ_Get_HMAC_Name(VRQ_ID_SHA256 | VRQ_ID_HMAC));
    vrq::testing::fail_allocation(0);
}

TEST(DigestFaults, PendingInputIsGoneFromFreedMemory) {
    const Bytes secret = {0xA1, 0xB2, 0xC3, 0xD4, 0xE5};
    for (const uint32_t id : kAll) {
        const test::FreedMemoryWatch watch(secret);
        VRQ_DIGEST_UNIT* unit = VRQ_New_DIGEST_Unit();
        ASSERT_EQ(0U, VRQ_Init_DIGEST(unit, id));
        ASSERT_EQ(0U, VRQ_Update_DIGEST(unit, secret.data(), 5));
        VRQ_Free_DIGEST_Unit(unit);
        EXPECT_EQ(2U, watch.frees());
        EXPECT_FALSE(watch.found());
    }
}

// What Init_HMAC must not leave behind: the key, and the hash words after the key block.
TEST(DigestFaults, KeyAndStatesAreGoneFromFreedMemory) {
    Bytes key(40);
    for (std::size_t i = 0; i < key.size(); ++i) key[i] = static_cast<uint8_t>(17 * i + 3);
    uint8_t out[64];

    VRQ_HMAC_UNIT* unit = VRQ_New_HMAC_Unit();
    ASSERT_EQ(0U, VRQ_Init_HMAC(unit, VRQ_ID_SHA256, key.data(), 40));
    std::array<Bytes, 3> secrets = {key, Bytes(32), Bytes(32)};
    std::memcpy(secrets[1].data(), static_cast<VRQ_SHA256_CTX*>(unit->inner_state)->hash, 32);
    std::memcpy(secrets[2].data(), static_cast<VRQ_SHA256_CTX*>(unit->outer_state)->hash, 32);
    VRQ_Free_HMAC_Unit(unit);

    for (const Bytes& secret : secrets) {
        const test::FreedMemoryWatch watch(secret);
        test::for_each_allocation_fault([&](std::size_t) {
            VRQ_HMAC(VRQ_ID_SHA256, key.data(), 40, key.data(), 1, out, nullptr);
        });
        // A unit that is cleaned with a message half fed, and one initialised twice.
        unit = VRQ_New_HMAC_Unit();
        ASSERT_EQ(0U, VRQ_Init_HMAC(unit, VRQ_ID_SHA256, key.data(), 40));
        ASSERT_EQ(0U, VRQ_Init_HMAC(unit, VRQ_ID_SHA256, key.data(), 40));
        ASSERT_EQ(0U, VRQ_Update_HMAC(unit, key.data(), 7));
        VRQ_Free_HMAC_Unit(unit);
        EXPECT_FALSE(watch.found());
        EXPECT_LT(15U, watch.frees());
    }
}

} // namespace
