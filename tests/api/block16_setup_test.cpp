// Key set-up and mode routines of ARIA, SEED and LEA on a unit of the caller: statuses, and what a
// set-up leaves in the unit.
#include "talvern.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

struct Engine {
    const char* name;
    uint32_t (*init_key)(VRQ_BLOCK_CIPHER_UNIT*, const uint8_t*, int32_t);
    VRQ_KEY_SETUP* init;
    uint32_t key_failure;
    uint32_t init_failure;
    std::size_t schedule_size;
};

const Engine kEngines[] = {
    {"ARIA", vrq_Init_ARIA_Key, vrq_Init_ARIA, 0x02010024, 0x02020023, sizeof(VRQ_ARIA_KEY)},
    {"SEED", vrq_Init_SEED_Key, vrq_Init_SEED, 0x19010024, 0x19020023, sizeof(VRQ_SEED_KEY)},
    {"LEA", vrq_Init_LEA_Key, vrq_Init_LEA, 0x1F010024, 0x1F020023, sizeof(VRQ_LEA_KEY)},
};

constexpr uint8_t kKey[32] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
constexpr uint8_t kIv[16] = {0xF0, 0xF1, 0xF2};
constexpr uint8_t kOldIv[16] = {0xE0, 0xE1, 0xE2};
constexpr uint8_t kZero[sizeof(VRQ_LEA_KEY)] = {};

// A unit with room for any of the schedules, zeroed as Init allocates them.
struct Bound {
    VRQ_BLOCK_CIPHER_UNIT unit{};
    alignas(16) uint8_t schedule[sizeof(VRQ_LEA_KEY)] = {};

    explicit Bound(int32_t key_length, uint8_t mode = VRQ_MODE_CBC) {
        unit.block_length = 16;
        unit.key_length = key_length;
        unit.iv_length = 16;
        unit.mode = mode;
        unit.encrypt = -7;
        unit.schedule = schedule;
        std::memcpy(unit.initial_iv, kOldIv, 16);
    }
    bool has_key() const { return std::memcmp(schedule, kZero, sizeof schedule) != 0; }
};

TEST(Block16SetUp, KeyStatuses) {
    for (const Engine& engine : kEngines) {
        SCOPED_TRACE(engine.name);
        for (const int32_t length : {-16, 0, 8, 20, 33}) {
            Bound bound(length);
            EXPECT_EQ(engine.key_failure, engine.init_key(&bound.unit, kKey, 1)) << length;
            EXPECT_EQ(engine.init_failure, engine.init(&bound.unit, kKey, kIv, 1)) << length;
            EXPECT_EQ(-7, bound.unit.encrypt) << "stored after the key only";
            EXPECT_FALSE(bound.has_key());
        }
        Bound bound(16);
        EXPECT_EQ(engine.key_failure, engine.init_key(nullptr, kKey, 1));
        EXPECT_EQ(engine.key_failure, engine.init_key(&bound.unit, nullptr, 1));
        bound.unit.schedule = nullptr;
        EXPECT_EQ(engine.key_failure, engine.init_key(&bound.unit, kKey, 1));
        EXPECT_EQ(engine.init_failure, engine.init(nullptr, kKey, kIv, 1));
    }
    Bound bound(24);
    EXPECT_EQ(0x19010024U, vrq_Init_SEED_Key(&bound.unit, kKey, 1)) << "SEED has no 192-bit key";
}

TEST(Block16SetUp, CopiesIvAndDirectionAndTakesANullKey) {
    for (const Engine& engine : kEngines) {
        SCOPED_TRACE(engine.name);
        Bound bound(16);
        EXPECT_EQ(0U, engine.init(&bound.unit, nullptr, nullptr, 0));
        EXPECT_EQ(0, std::memcmp(kOldIv, bound.unit.initial_iv, 16));
        EXPECT_EQ(0, std::memcmp(kOldIv, bound.unit.working_iv, 16));
        EXPECT_EQ(0, bound.unit.encrypt);
        EXPECT_FALSE(bound.has_key());

        EXPECT_EQ(0U, engine.init(&bound.unit, kKey, kIv, 1));
        EXPECT_EQ(0, std::memcmp(kIv, bound.unit.initial_iv, 16));
        EXPECT_EQ(0, std::memcmp(kIv, bound.unit.working_iv, 16));
        EXPECT_EQ(1, bound.unit.encrypt);
        EXPECT_TRUE(bound.has_key());
        EXPECT_EQ(0, std::memcmp(kZero, bound.schedule + engine.schedule_size,
                                 sizeof bound.schedule - engine.schedule_size));
    }
}

TEST(Block16SetUp, AriaFillsTheAreaThatModeAndDirectionNeed) {
    for (const uint8_t mode :
         {VRQ_MODE_ECB, VRQ_MODE_CBC, VRQ_MODE_CFB, VRQ_MODE_OFB, VRQ_MODE_CTR}) {
        for (const int32_t encrypt : {1, 0}) {
            Bound bound(32, mode);
            ASSERT_EQ(0U, vrq_Init_ARIA(&bound.unit, kKey, kIv, encrypt));
            VRQ_ARIA_KEY record;
            std::memcpy(&record, bound.schedule, sizeof record);
            const bool inverse = encrypt == 0 && (mode == VRQ_MODE_ECB || mode == VRQ_MODE_CBC);
            EXPECT_EQ(inverse, std::memcmp(record.decrypt_keys, kZero, 272) != 0);
            EXPECT_EQ(!inverse, std::memcmp(record.encrypt_keys, kZero, 272) != 0);
            EXPECT_EQ(16, record.rounds);
        }
    }
}

TEST(Block16SetUp, SeedTakesTheScheduleOfTheKeyLength) {
    for (const int32_t length : {16, 32}) {
        Bound bound(length);
        ASSERT_EQ(0U, vrq_Init_SEED(&bound.unit, kKey, kIv, 1));
        VRQ_SEED_KEY record;
        std::memcpy(&record, bound.schedule, sizeof record);
        EXPECT_EQ(length == 16 ? 32 : 48, record.num_words);
    }
}

TEST(Block16SetUp, ModeRoutinesRefuseNullUnderTheirOwnCodes) {
    struct Row {
        VRQ_MODE_ROUTINE* routine;
        uint32_t status;
    };
    const Row rows[] = {
        {vrq_Do_ARIA_ECB, 0x0203002B},   {vrq_Do_ARIA_CBC, 0x0204002B},
        {vrq_Do_ARIA_CFB, 0x0205002B},   {vrq_Do_ARIA_CFBR, 0x0205002B},
        {vrq_Do_ARIA_CFB1, 0x0205002B},  {vrq_Do_ARIA_CFB8, 0x0205002B},
        {vrq_Do_ARIA_CFB16, 0x0205002B}, {vrq_Do_ARIA_CFB32, 0x0205002B},
        {vrq_Do_ARIA_CFB64, 0x0205002B}, {vrq_Do_ARIA_OFB, 0x0206002B},
        {vrq_Do_ARIA_CTR, 0x0207002B},   {vrq_Do_SEED_ECB, 0x1905002B},
        {vrq_Do_SEED_CBC, 0x1903002B},   {vrq_Do_SEED_CFB, 0x1904002B},
        {vrq_Do_SEED_CFBR, 0x1904002B},  {vrq_Do_SEED_CFB1, 0x1904002B},
        {vrq_Do_SEED_CFB8, 0x1904002B},  {vrq_Do_SEED_CFB16, 0x1904002B},
        {vrq_Do_SEED_CFB32, 0x1904002B}, {vrq_Do_SEED_CFB64, 0x1904002B},
        {vrq_Do_SEED_OFB, 0x1906002B},   {vrq_Do_SEED_CTR, 0x1907002B},
        {vrq_Do_LEA_ECB, 0x1F03002B},    {vrq_Do_LEA_CBC, 0x1F04002B},
        {vrq_Do_LEA_CFB, 0x1F05002B},    {vrq_Do_LEA_CFBR, 0x1F05002B},
        {vrq_Do_LEA_CFB1, 0x1F05002B},   {vrq_Do_LEA_CFB8, 0x1F05002B},
        {vrq_Do_LEA_CFB16, 0x1F05002B},  {vrq_Do_LEA_CFB32, 0x1F05002B},
        {vrq_Do_LEA_CFB64, 0x1F05002B},  {vrq_Do_LEA_OFB, 0x1F06002B},
        {vrq_Do_LEA_CTR, 0x1F07002B},
    };
    Bound bound(16);
    uint8_t buffer[16] = {};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.status);
        EXPECT_EQ(row.status, row.routine(&bound.unit, nullptr, buffer, 16));
        EXPECT_EQ(row.status, row.routine(&bound.unit, buffer, nullptr, 16));
    }
}

} // namespace
