// Key set-up and mode routines of DES, triple DES, RC2, RC5 and Blowfish on a unit of the caller:
// statuses, what a set-up leaves in the unit, and the OFB of RC2.
#include "talvern.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

uint32_t init_rc2_key(VRQ_BLOCK_CIPHER_UNIT* unit, const uint8_t* key, int32_t) {
    return vrq_Init_RC2_Key(unit, key);
}
uint32_t init_rc5_key(VRQ_BLOCK_CIPHER_UNIT* unit, const uint8_t* key, int32_t) {
    return vrq_Init_RC5_Key(unit, key);
}

struct Engine {
    const char* name;
    uint32_t (*init_key)(VRQ_BLOCK_CIPHER_UNIT*, const uint8_t*, int32_t);
    VRQ_KEY_SETUP* init;
    int32_t key_length;
    uint32_t key_failure;
    uint32_t null_unit;
    uint32_t init_failure; // 0: a key failure is not reported
    std::size_t schedule_size;
};

const Engine kEngines[] = {
    {"DES", vrq_Init_DES_Key, vrq_Init_DES, 8, 0x08010024, 0x08010024, 0, sizeof(VRQ_DES_KEY)},
    {"DES_EDE", vrq_Init_DES_EDE_key, vrq_Init_DES_EDE, 16, 0x07010024, 0x07010024, 0,
     sizeof(VRQ_DES_EDE_KEY)},
    {"RC2", init_rc2_key, vrq_Init_RC2, 16, 0x15010024, 0x15010024, 0x15010024,
     sizeof(VRQ_RC2_KEY)},
    {"RC5", init_rc5_key, vrq_Init_RC5, 16, 0x17010024, 0x17010024, 0x17010024,
     sizeof(VRQ_RC5_KEY)},
    {"BF", vrq_Init_BF_Key, vrq_Init_BF, 16, 0x03010024, 0x03020024, 0x03020024,
     sizeof(VRQ_BF_KEY)},
};

constexpr uint8_t kKey[24] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
constexpr uint8_t kIv[8] = {0xF0, 0xF1, 0xF2};
constexpr uint8_t kOldIv[16] = {0xE0, 0xE1, 0xE2, 3, 4, 5, 6, 7, 8, 9};

// A unit with room for any of the schedules, zeroed as Init allocates them.
struct Bound {
    VRQ_BLOCK_CIPHER_UNIT unit{};
    std::vector<uint64_t> schedule = std::vector<uint64_t>(sizeof(VRQ_BF_KEY) / 8);

    explicit Bound(int32_t key_length, uint8_t mode = VRQ_MODE_CBC) {
        unit.block_length = 8;
        unit.key_length = key_length;
        unit.iv_length = 8;
        unit.rc2_key_bits = 128;
        unit.mode = mode;
        unit.encrypt = -7;
        unit.schedule = schedule.data();
        std::memcpy(unit.initial_iv, kOldIv, 16);
    }
    bool has_key() const {
        return std::any_of(schedule.begin(), schedule.end(), [](uint64_t x) { return x != 0; });
    }
};

TEST(Block8SetUp, KeyStatuses) {
    for (const Engine& engine : kEngines) {
        SCOPED_TRACE(engine.name);
        Bound bound(engine.key_length);
        EXPECT_EQ(engine.key_failure, engine.init_key(nullptr, kKey, 1));
        EXPECT_EQ(engine.key_failure, engine.init_key(&bound.unit, nullptr, 1));
        EXPECT_EQ(engine.null_unit, engine.init(nullptr, kKey, kIv, 1));
        EXPECT_EQ(engine.init_failure, engine.init(&bound.unit, nullptr, kIv, 1));
        bound.unit.schedule = nullptr;
        EXPECT_EQ(engine.key_failure, engine.init_key(&bound.unit, kKey, 1));
        EXPECT_EQ(engine.init_failure, engine.init(&bound.unit, kKey, kIv, 1));
        EXPECT_FALSE(bound.has_key());

        if (engine.init == vrq_Init_DES) continue; // takes 8 bytes whatever the unit says
        for (const int32_t length : {-16, 0}) {
            Bound wrong(length);
            EXPECT_EQ(engine.key_failure, engine.init_key(&wrong.unit, kKey, 1)) << length;
            EXPECT_EQ(engine.init_failure, engine.init(&wrong.unit, kKey, kIv, 1)) << length;
            EXPECT_FALSE(wrong.has_key());
        }
    }
    Bound bits(16);
    bits.unit.rc2_key_bits = 0;
    EXPECT_EQ(0x15010024U, vrq_Init_RC2_Key(&bits.unit, kKey));
}

TEST(Block8SetUp, CopiesIvAndDirection) {
    for (const Engine& engine : kEngines) {
        SCOPED_TRACE(engine.name);
        Bound bound(engine.key_length);
        EXPECT_EQ(0U, engine.init(&bound.unit, kKey, nullptr, 0));
        EXPECT_EQ(0, std::memcmp(kOldIv, bound.unit.working_iv, 16));
        EXPECT_EQ(0, bound.unit.encrypt);

        EXPECT_EQ(0U, engine.init(&bound.unit, kKey, kIv, 1));
        EXPECT_EQ(0, std::memcmp(kIv, bound.unit.initial_iv, 8));
        EXPECT_EQ(0, std::memcmp(kOldIv + 8, bound.unit.initial_iv + 8, 8)) << "beyond the length";
        EXPECT_EQ(0, std::memcmp(bound.unit.initial_iv, bound.unit.working_iv, 16));
        EXPECT_EQ(1, bound.unit.encrypt);
        EXPECT_TRUE(bound.has_key());
        const auto* bytes = reinterpret_cast<const uint8_t*>(bound.schedule.data());
        EXPECT_TRUE(std::all_of(bytes + engine.schedule_size, bytes + sizeof(VRQ_BF_KEY),
                                [](uint8_t byte) { return byte == 0; }));
    }
}

TEST(Block8SetUp, DesTakesANullKeyAndStoresTheDirection) {
    for (const auto init : {vrq_Init_DES, vrq_Init_DES_EDE}) {
        Bound bound(24);
        EXPECT_EQ(0U, init(&bound.unit, nullptr, kIv, 0));
        EXPECT_EQ(0, bound.unit.encrypt);
        EXPECT_EQ(0, std::memcmp(kIv, bound.unit.working_iv, 8));
        EXPECT_FALSE(bound.has_key());
    }
}

TEST(Block8SetUp, DesScheduleFollowsModeAndDirection) {
    for (const uint8_t mode :
         {VRQ_MODE_ECB, VRQ_MODE_CBC, VRQ_MODE_CFB, VRQ_MODE_OFB, VRQ_MODE_CTR}) {
        for (const int32_t encrypt : {1, 0}) {
            const bool inverse = encrypt == 0 && (mode == VRQ_MODE_ECB || mode == VRQ_MODE_CBC);
            VRQ_DES_KEY des;
            VRQ_DES_EDE_KEY ede;
            vrq_Init_Encrypt_DES_Key(kKey, &des, inverse ? 0 : 1);
            vrq_Init_Encrypt_DES_EDE_KEY(kKey, 24, &ede, inverse ? 0 : 1);
            Bound single(8, mode);
            Bound triple(24, mode);
            ASSERT_EQ(0U, vrq_Init_DES(&single.unit, kKey, kIv, encrypt));
            ASSERT_EQ(0U, vrq_Init_DES_EDE(&triple.unit, kKey, kIv, encrypt));
            EXPECT_EQ(0, std::memcmp(&des, single.unit.schedule, sizeof des));
            EXPECT_EQ(0, std::memcmp(&ede, triple.unit.schedule, sizeof ede));
        }
    }
}

#define CODES(name, library, ecb)                                                                  \
    {vrq_Do_##name##_ECB, (library) << 24 | ((ecb) + 0) << 16 | 0x2B},                             \
        {vrq_Do_##name##_CBC, (library) << 24 | ((ecb) + 1) << 16 | 0x2B},                         \
        {vrq_Do_##name##_CFB, (library) << 24 | ((ecb) + 2) << 16 | 0x2B},                         \
        {vrq_Do_##name##_CFBR, (library) << 24 | ((ecb) + 2) << 16 | 0x2B},                        \
        {vrq_Do_##name##_CFB1, (library) << 24 | ((ecb) + 2) << 16 | 0x2B},                        \
        {vrq_Do_##name##_CFB8, (library) << 24 | ((ecb) + 2) << 16 | 0x2B},                        \
        {vrq_Do_##name##_CFB16, (library) << 24 | ((ecb) + 2) << 16 | 0x2B},                       \
        {vrq_Do_##name##_CFB32, (library) << 24 | ((ecb) + 2) << 16 | 0x2B}, {                     \
        vrq_Do_##name##_OFB, (library) << 24 | ((ecb) + 3) << 16 | 0x2B                            \
    }

TEST(Block8SetUp, ModeRoutinesRefuseNullUnderTheirOwnCodes) {
    struct Row {
        VRQ_MODE_ROUTINE* routine;
        uint32_t status;
    };
    const Row rows[] = {
        CODES(DES, 0x08U, 2U),
        CODES(DES_EDE, 0x07U, 2U),
        CODES(RC2, 0x15U, 2U),
        CODES(RC5, 0x17U, 2U),
        CODES(BF, 0x03U, 3U),
        {vrq_Do_DES_CTR, 0x0806002B},
        {vrq_Do_DES_EDE_CTR, 0x0706002B},
        {vrq_Do_RC5_CTR, 0x1706002B},
        {vrq_Do_BF_CTR, 0x0307002B},
        {vrq_Do_RC5_CFB64, 0x1704002B},
    };
    uint8_t buffer[16] = {};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.status);
        Bound bound(16);
        EXPECT_EQ(row.status, row.routine(&bound.unit, nullptr, buffer, 8));
        EXPECT_EQ(row.status, row.routine(&bound.unit, buffer, nullptr, 8));
        EXPECT_EQ(row.status, row.routine(nullptr, buffer, buffer, 8));
        bound.unit.schedule = nullptr;
        EXPECT_EQ(row.status, row.routine(&bound.unit, buffer, buffer, 8));
    }
}

// SP 800-38A decryption undoes encryption at every length, the routines carrying the unit's state.
TEST(Block8Modes, DecryptionUndoesEncryption) {
    struct Row {
        VRQ_KEY_SETUP* init;
        VRQ_MODE_ROUTINE* routine;
        uint8_t mode;
    };
#define ROWS(init, name)                                                                           \
    {init, vrq_Do_##name##_CBC, VRQ_MODE_CBC}, { init, vrq_Do_##name##_CFB, VRQ_MODE_CFB }
    const Row rows[] = {
        ROWS(vrq_Init_DES, DES),
        ROWS(vrq_Init_DES_EDE, DES_EDE),
        ROWS(vrq_Init_RC2, RC2),
        ROWS(vrq_Init_RC5, RC5),
        ROWS(vrq_Init_BF, BF),
        {vrq_Init_DES, vrq_Do_DES_CTR, VRQ_MODE_CTR},
        {vrq_Init_DES_EDE, vrq_Do_DES_EDE_CTR, VRQ_MODE_CTR},
        {vrq_Init_RC5, vrq_Do_RC5_CTR, VRQ_MODE_CTR},
        {vrq_Init_BF, vrq_Do_BF_CTR, VRQ_MODE_CTR},
    };
    std::vector<uint8_t> text(8 * 75);
    for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<uint8_t>(i * i >> 3);
    for (const Row& row : rows) {
        Bound sender(16, row.mode);
        Bound receiver(16, row.mode);
        ASSERT_EQ(0U, row.init(&sender.unit, kKey, kIv, 1));
        ASSERT_EQ(0U, row.init(&receiver.unit, kKey, kIv, 0));
        std::vector<uint8_t> data = text;
        const auto size = static_cast<uint32_t>(data.size());
        EXPECT_EQ(0U, row.routine(&sender.unit, data.data(), data.data(), size));
        EXPECT_NE(text, data);
        EXPECT_EQ(0U, row.routine(&receiver.unit, data.data(), data.data(), 8));
        EXPECT_EQ(0U, row.routine(&receiver.unit, data.data() + 8, data.data() + 8, size - 8));
        EXPECT_EQ(text, data);
    }
}

class Rc2Ofb : public testing::Test {
  protected:
    Rc2Ofb() { EXPECT_EQ(0U, vrq_Init_RC2(&bound_.unit, kKey, kIv, 1)); }

    // The key stream by its definition.
    std::vector<uint8_t> stream(std::size_t blocks) {
        std::vector<uint8_t> bytes;
        uint8_t block[8];
        std::memcpy(block, kIv, 8);
        for (std::size_t i = 0; i < blocks; ++i) {
            RC2_Encrypt(&bound_.unit, block, block);
            bytes.insert(bytes.end(), block, block + 8);
        }
        return bytes;
    }

    Bound bound_{16, VRQ_MODE_OFB};
};

TEST_F(Rc2Ofb, EveryCallStartsTheKeyStreamAgain) {
    const std::vector<uint8_t> expected = stream(3);
    bound_.unit.position = 3;
    for (const uint32_t length : {24U, 0U, 20U, 1U, 8U, 24U}) {
        SCOPED_TRACE(length);
        std::vector<uint8_t> data(32, 0);
        EXPECT_EQ(0U, vrq_Do_RC2_OFB(&bound_.unit, data.data(), data.data(), length));
        EXPECT_TRUE(std::equal(data.begin(), data.begin() + length, expected.begin()));
        EXPECT_TRUE(std::all_of(data.begin() + length, data.end(), [](uint8_t x) {
            return x == 0;
        })) << "written behind the length";
    }
    EXPECT_EQ(0, std::memcmp(kIv, bound_.unit.working_iv, 8));
    EXPECT_EQ(3, bound_.unit.position);
}

TEST_F(Rc2Ofb, BlockCallsUndoEachOtherAndIgnoreNull) {
    uint8_t block[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    uint8_t copy[8];
    RC2_Encrypt(&bound_.unit, block, copy);
    EXPECT_NE(0, std::memcmp(block, copy, 8));
    RC2_Decrypt(&bound_.unit, copy, copy);
    EXPECT_EQ(0, std::memcmp(block, copy, 8));
    for (const auto run : {RC2_Encrypt, RC2_Decrypt}) {
        run(nullptr, block, copy);
        run(&bound_.unit, nullptr, copy);
        run(&bound_.unit, block, nullptr);
    }
    bound_.unit.schedule = nullptr;
    RC2_Encrypt(&bound_.unit, block, copy);
    EXPECT_EQ(0, std::memcmp(block, copy, 8));
}

TEST(Bxor, EachByteWithinTheLength) {
    const uint8_t a[3] = {0x0F, 0xFF, 0x55};
    uint8_t b[3] = {0xF0, 0x0F, 0x55};
    BXOR(b, a, b, 2);
    EXPECT_EQ(0xFF, b[0]);
    EXPECT_EQ(0xF0, b[1]);
    EXPECT_EQ(0x55, b[2]);
    BXOR(nullptr, a, b, 2);
    BXOR(b, nullptr, a, 2);
    BXOR(b, a, nullptr, 2);
    EXPECT_EQ(0xFF, b[0]);
}

} // namespace
