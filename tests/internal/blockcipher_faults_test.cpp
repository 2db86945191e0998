// The block cipher unit when memory runs out, and what is left in memory that it frees.
#include "cipher/blockcipher_table.h"
#include "harness/faults.h"
#include "talvern.h"

namespace {

using test::Bytes;

const Bytes kKey =
    test::from_hex("8f1e2d3c4b5a69788796a5b4c3d2e1f00112233445566778899aabbccddeeff0");
const Bytes kIv(16, 0x5C);
constexpr uint32_t kAesCbc = VRQ_ID_AES_256 | VRQ_MODE_CBC;

TEST(BlockCipherFaults, New) {
    test::for_each_allocation_fault([](std::size_t failing) {
        VRQ_BLOCK_CIPHER_UNIT* unit = vrq_New_BLOCK_CIPHER_Unit_Ex(1);
        EXPECT_EQ(failing == 0, unit != nullptr);
        VRQ_Free_BLOCK_CIPHER_Unit(unit);
        VRQ_RC4_UNIT* rc4 = failing == 0 ? nullptr : VRQ_New_RC4_Unit();
        VRQ_Free_RC4_Unit(rc4);
    });
}

TEST(BlockCipherFaults, Init) {
    VRQ_BLOCK_CIPHER_UNIT unit{};
    test::for_each_allocation_fault([&unit](std::size_t failing) {
        const uint32_t status = VRQ_Init_BLOCK_CIPHER(&unit, kAesCbc, kKey.data(), kIv.data(), 1);
        EXPECT_EQ(failing == 0 ? 0U : 0x0501003AU, status);
        EXPECT_EQ(failing == 0, unit.schedule != nullptr);
    });
    VRQ_Clean_BLOCK_CIPHER_Unit(&unit);
}

TEST(BlockCipherFaults, OneShot) {
    test::for_each_allocation_fault([](std::size_t failing) {
        uint8_t out[32];
        uint32_t length = 0;
        const uint32_t expected[] = {0, 0x0508003B, 0x05080021};
        ASSERT_LT(failing, 3U);
        EXPECT_EQ(expected[failing], VRQ_BLOCK_CIPHER(kAesCbc, 1, kKey.data(), kIv.data(),
                                                      kIv.data(), 16, out, &length));
    });
}

TEST(BlockCipherFaults, Record) {
    uint8_t record[VRQ_BINARY_KEY_LENGTH];
    test::for_each_allocation_fault([&record](std::size_t failing) {
        int32_t room = sizeof record;
        EXPECT_EQ(
            failing == 0 ? 0U : 0x050A0021U,
            VRQ_Init_Advanced_BLOCK_CIPHER(kAesCbc, kKey.data(), kIv.data(), 1, record, &room));
    });
    test::for_each_allocation_fault([&record](std::size_t failing) {
        uint8_t out[32];
        uint32_t length = 0;
        EXPECT_EQ(
            failing == 0 ? 0U : 0x050B0059U,
            VRQ_DoFinal_Advanced_BLOCK_CIPHER(record, sizeof record, kIv.data(), 16, out, &length));
    });
}

// Part of the expanded key of every algorithm, looked for in every block that goes.
TEST(BlockCipherFaults, SchedulesAreWipedBeforeTheyAreFreed) {
    for (const vrq::CipherRow& row : vrq::cipher_rows()) {
        SCOPED_TRACE(row.name);
        const uint32_t id = row.id | VRQ_MODE_CBC;
        VRQ_BLOCK_CIPHER_UNIT* unit = VRQ_New_BLOCK_CIPHER_Unit();
        ASSERT_EQ(0U, VRQ_Init_BLOCK_CIPHER(unit, id, kKey.data(), kIv.data(), 1));
        const auto* schedule = static_cast<const uint8_t*>(unit->schedule);
        const Bytes secret(schedule + 16, schedule + 32);
        const test::FreedMemoryWatch watch(secret);

        uint8_t out[64];
        uint32_t length = 0;
        EXPECT_EQ(0U, VRQ_Update_BLOCK_CIPHER(unit, out, &length, kIv.data(), 16));
        EXPECT_EQ(0U, VRQ_Init_BLOCK_CIPHER(unit, id, kKey.data(), kIv.data(), 1));
        VRQ_Free_BLOCK_CIPHER_Unit(unit);
        EXPECT_EQ(0U,
                  VRQ_BLOCK_CIPHER(id, 1, kKey.data(), kIv.data(), kIv.data(), 16, out, &length));
        uint8_t record[VRQ_BINARY_KEY_LENGTH];
        int32_t room = sizeof record;
        std::size_t expected_frees = 5; // two schedules and the unit, then the one-shot's two
        if (row.id != VRQ_ID_BLOWFISH) {
            ASSERT_EQ(
                0U, VRQ_Init_Advanced_BLOCK_CIPHER(id, kKey.data(), kIv.data(), 1, record, &room));
            EXPECT_EQ(0U,
                      VRQ_DoFinal_Advanced_BLOCK_CIPHER(record, 896, kIv.data(), 16, out, &length));
            expected_frees += 2;
        }
        EXPECT_FALSE(watch.found());
        EXPECT_EQ(expected_frees, watch.frees());
    }
}

TEST(BlockCipherFaults, Rc4StateIsWipedBeforeItIsFreed) {
    VRQ_RC4_UNIT* unit = VRQ_New_RC4_Unit();
    ASSERT_EQ(0U, VRQ_Init_RC4(unit, kKey.data(), 32));
    const auto* state = reinterpret_cast<const uint8_t*>(unit->state);
    const test::FreedMemoryWatch watch(Bytes(state, state + 64));
    VRQ_Free_RC4_Unit(unit);
    EXPECT_FALSE(watch.found());
    EXPECT_EQ(1U, watch.frees());
}

} // namespace
