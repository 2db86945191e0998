// Statuses of the block cipher unit, the admission of identifiers in each operating mode, and the
// queries.
#include "api/cipher_cases.h"

namespace {

using namespace test;

constexpr uint32_t kInvalid = 0x0501002B;
constexpr uint32_t kInitFailure = 0x05010023;
constexpr uint32_t kNullIv = 0x0501004A;
constexpr uint32_t kCtrInProvenMode = 0x050100F0;
constexpr uint32_t kUnknown = 0x05090029;
constexpr uint32_t kNotApproved = 0x050900F0;

constexpr uint32_t kAllModes[] = {0x00, 0x20, 0x40, 0x42, 0x44, 0x46, 0x48, 0x4A, 0x4C, 0x60, 0x80};
constexpr const char* kModeNames[] = {"ECB",   "CBC",   "CFB",    "CFB1", "CFB8", "CFB16",
                                      "CFB32", "CFB64", "CFB128", "OFB",  "CTR"};

const Bytes kKey(32, 0x11);
const Bytes kIv(16, 0x22);

uint32_t init(uint32_t id, const uint8_t* key, const uint8_t* iv, int32_t encrypt = 1) {
    const CipherUnit unit = new_cipher_unit();
    return VRQ_Init_BLOCK_CIPHER(unit.get(), id, key, iv, encrypt);
}

uint32_t dispatch(uint32_t id) {
    VRQ_BLOCK_CIPHER_UNIT unit{};
    unit.algorithm = 1;
    const uint32_t status = vrq_Init_Block_Alg(&unit, id);
    EXPECT_EQ(status == 0 ? id & 0xFFFFFF00 : 0, unit.algorithm);
    return status;
}

// What the dispatch and Init answer for an algorithm and a mode.
struct Admission {
    uint32_t dispatch;
    uint32_t init;
};

Admission expected(const CipherCase& cipher, uint32_t mode, bool proven) {
    const bool partial = mode >= 0x42 && mode <= 0x4A;
    if (partial) return {kUnknown, kInitFailure};
    if (proven && !cipher.approved) return {kNotApproved, kInitFailure};
    if (mode == 0x4C && cipher.block == 8) return {kUnknown, kInitFailure};
    if (!offers(cipher, mode)) return {kUnknown, kInitFailure};
    return {0, proven && mode == kCtr ? kCtrInProvenMode : 0};
}

void expect_admission(bool proven) {
    for (const CipherCase& cipher : kCipherCases) {
        for (const uint32_t mode : kAllModes) {
            for (const uint32_t padding : {0U, kNoPadding}) {
                const uint32_t id = cipher.id | mode | padding;
                SCOPED_TRACE(testing::Message() << cipher.name << " " << std::hex << id);
                const Admission admission = expected(cipher, mode, proven);
                EXPECT_EQ(admission.dispatch, dispatch(id));
                EXPECT_EQ(admission.init, init(id, kKey.data(), kIv.data(), 1));
                EXPECT_EQ(admission.init, init(id, kKey.data(), kIv.data(), 0));
            }
        }
        EXPECT_EQ(proven && !cipher.approved ? kNotApproved : kUnknown, dispatch(cipher.id | 0x10))
            << "no such mode";
    }
    for (const uint32_t id : {0x00000000U, 0x01000000U, 0x01000400U, 0x01010100U, 0x02000300U,
                              0x04000300U, 0x09000100U, 0xFFFFFF00U}) {
        EXPECT_EQ(kUnknown, dispatch(id)) << std::hex << id;
        EXPECT_EQ(kInitFailure, init(id, kKey.data(), kIv.data()));
    }
}

TEST(BlockCipherStatus, Admission) { expect_admission(false); }
TEST(ProvenBlockCipher, Admission) { expect_admission(true); }
TEST(TestModeBlockCipher, Admission) { expect_admission(false); }

TEST(ProvenBlockCipher, RecordsTheMode) {
    const CipherUnit unit = cipher_unit(VRQ_ID_ARIA_128 | kCbc, kKey, kIv, true);
    EXPECT_EQ(1, unit->proven);
}

// The order of the checks shows in calls with several faults.
TEST(BlockCipherStatus, Init) {
    const uint8_t* key = kKey.data();
    const uint8_t* iv = kIv.data();
    EXPECT_EQ(kInvalid, VRQ_Init_BLOCK_CIPHER(nullptr, 0, nullptr, nullptr, 1));
    EXPECT_EQ(kInitFailure, init(0x01000400, nullptr, nullptr));
    for (const uint32_t mode : {kCbc, kCfb, 0x4CU, kOfb})
        EXPECT_EQ(kNullIv, init(VRQ_ID_AES_128 | mode, nullptr, nullptr)) << mode;
    EXPECT_EQ(0U, init(VRQ_ID_AES_128 | kEcb, key, nullptr));
    EXPECT_EQ(0U, init(VRQ_ID_AES_128 | kCtr, key, nullptr));
    EXPECT_EQ(kInitFailure, init(VRQ_ID_AES_128 | kCbc, nullptr, iv));
    for (const CipherCase& cipher : kCipherCases) {
        const ModeRoutines* r = cipher.routines;
        const bool refuses = r == &kAes || r == &kBlowfish || r == &kRc5 || r == &kRc2;
        EXPECT_EQ(refuses ? kInitFailure : 0, init(cipher.id | kCbc, nullptr, iv)) << cipher.name;
    }
    EXPECT_EQ(0x05090000U | VRQ_ERR_INVALID_INPUT, vrq_Init_Block_Alg(nullptr, VRQ_ID_AES_128));
}

TEST(BlockCipherStatus, AesKeySetUp) {
    const CipherUnit unit = cipher_unit(VRQ_ID_AES_128 | kCbc, kKey, kIv, true);
    EXPECT_EQ(0x02020024U, vrq_Init_AES(unit.get(), nullptr, nullptr, 0));
    EXPECT_EQ(0, unit->encrypt) << "stored all the same";
    EXPECT_EQ(0x01010024U, vrq_Init_AES_Key(unit.get(), nullptr, 1));
    unit->key_length = 20;
    EXPECT_EQ(0x01010024U, vrq_Init_AES_Key(unit.get(), kKey.data(), 1));
    EXPECT_EQ(0x02020024U, vrq_Init_AES(unit.get(), kKey.data(), nullptr, 1));
    EXPECT_EQ(0x02020024U, vrq_Init_AES(nullptr, kKey.data(), nullptr, 1));
    EXPECT_EQ(0x01010024U, vrq_Init_AES_Key(nullptr, kKey.data(), 1));

    VRQ_AES_KEY record{};
    for (const auto expand : {vrq_Init_Encrypt_AES_Key, vrq_Init_Decrypt_AES_Key}) {
        EXPECT_EQ(0x0101002BU, expand(kKey.data(), 20, &record));
        EXPECT_EQ(0x0101002BU, expand(kKey.data(), -16, &record));
        EXPECT_EQ(0x0101002BU, expand(nullptr, 16, &record));
        EXPECT_EQ(0x0101002BU, expand(kKey.data(), 16, nullptr));
    }
    EXPECT_EQ(0, record.rounds);
}

TEST(BlockCipherStatus, AesBlockFunctionsAssert) {
    const VRQ_AES_KEY key{};
    uint8_t block[16] = {};
    for (const auto function : {vrq_AES_Encrypt_Block, vrq_AES_Decrypt_Block}) {
        EXPECT_DEATH(function(nullptr, block, &key), "aes_engine.c.*`in && out && key' failed");
        EXPECT_DEATH(function(block, nullptr, &key), "in && out && key");
        EXPECT_DEATH(function(block, block, nullptr), "in && out && key");
    }
}

TEST(BlockCipherStatus, Update) {
    const CipherUnit forward = cipher_unit(VRQ_ID_AES_128 | kCbc, kKey, kIv, true);
    const CipherUnit back = cipher_unit(VRQ_ID_AES_128 | kCbc, kKey, kIv, false);
    const CipherUnit bare = cipher_unit(VRQ_ID_AES_128 | kCbc | kNoPadding, kKey, kIv, false);
    uint8_t out[64];
    const uint8_t in[32] = {};
    uint32_t length = 99;
    EXPECT_EQ(0x0502002BU, VRQ_Update_BLOCK_CIPHER(nullptr, out, &length, in, 16));
    for (VRQ_BLOCK_CIPHER_UNIT* unit : {forward.get(), back.get(), bare.get()}) {
        length = 99;
        EXPECT_EQ(0x0502002BU, VRQ_Update_BLOCK_CIPHER(unit, out, &length, in, 0));
        EXPECT_EQ(0x0502002BU, VRQ_Update_BLOCK_CIPHER(unit, out, &length, in, -5));
        EXPECT_EQ(0x0502002BU, VRQ_Update_BLOCK_CIPHER(unit, out, nullptr, in, 16));
        EXPECT_EQ(99U, length);
        // Whole blocks, a partial block in front, a partial block behind.
        const uint32_t failure = unit == back.get() ? 0x0504005C : 0x0503004C;
        for (const int32_t size : {16, 5, 20}) {
            length = 99;
            EXPECT_EQ(failure, VRQ_Update_BLOCK_CIPHER(unit, out, &length, nullptr, size));
            EXPECT_EQ(0U, length);
        }
        EXPECT_EQ(failure, VRQ_Update_BLOCK_CIPHER(unit, nullptr, &length, in, 16));
        EXPECT_EQ(failure, VRQ_Update_BLOCK_CIPHER(unit, nullptr, &length, in, 20));
        EXPECT_EQ(0U, VRQ_Update_BLOCK_CIPHER(unit, nullptr, &length, in, 5)) << "only held";
        EXPECT_EQ(failure, VRQ_Update_BLOCK_CIPHER(unit, nullptr, &length, in, 11));
        EXPECT_EQ(0U, VRQ_Update_BLOCK_CIPHER(unit, out, &length, in, 11));
        EXPECT_EQ(unit == back.get() ? 0U : 16U, length);
    }
    EXPECT_EQ(0x0504005CU, VRQ_Update_BLOCK_CIPHER(back.get(), nullptr, &length, in, 16));
}

// Records that no Init leaves: nothing is run, nothing is written beyond the buffers.
TEST(BlockCipherStatus, UnitsThatAreNotBound) {
    uint8_t out[64];
    uint32_t length = 0;
    const CipherUnit fresh = new_cipher_unit();
    EXPECT_EQ(0x0504005CU, VRQ_Update_BLOCK_CIPHER(fresh.get(), out, &length, kIv.data(), 16));
    fresh->encrypt = 1;
    EXPECT_EQ(0x0503004CU, VRQ_Update_BLOCK_CIPHER(fresh.get(), out, &length, kIv.data(), 16));
    EXPECT_EQ(0x05010023U, VRQ_Init_BLOCK_CIPHER(fresh.get(), 0, kKey.data(), kIv.data(), 1));
    EXPECT_EQ(0U, VRQ_Get_Block_Alg_ID(fresh.get()));
    fresh->encrypt = 1;
    EXPECT_EQ(0x0503004CU, VRQ_Update_BLOCK_CIPHER(fresh.get(), out, &length, kIv.data(), 16));

    for (const bool encrypt : {true, false}) {
        const CipherUnit unit = cipher_unit(VRQ_ID_AES_128 | kCbc, kKey, kIv, encrypt);
        unit->block_length = 64;
        EXPECT_EQ(encrypt ? 0x0503000AU : 0x05040009U,
                  VRQ_Update_BLOCK_CIPHER(unit.get(), out, &length, kIv.data(), 5));
        EXPECT_EQ(encrypt ? 0x0505000AU : 0x05050009U,
                  VRQ_Final_BLOCK_CIPHER(unit.get(), out, &length));
        unit->block_length = 1;
        EXPECT_EQ(0U, VRQ_Final_BLOCK_CIPHER(unit.get(), out, &length));
        EXPECT_EQ(0U, length);
    }

    VRQ_Clean_BLOCK_CIPHER_Unit(nullptr);
    VRQ_Free_BLOCK_CIPHER_Unit(nullptr);
}

// Whoever overlooks the status of Init gets nothing back that looks like ciphertext.
TEST(BlockCipherStatus, NothingRunsAfterARefusedInit) {
    uint8_t out[64];
    uint32_t length = 9;
    const uint8_t* key = kKey.data();
    const CipherUnit unit = cipher_unit(VRQ_ID_AES_128 | kCbc, kKey, kIv, true);
    const std::pair<uint32_t, const uint8_t*> refused[] = {
        {VRQ_ID_AES_128 | kCbc, key}, {VRQ_ID_ARIA_128 | kOfb, key}, {VRQ_ID_AES_128, nullptr}};
    for (const auto& [id, k] : refused) {
        EXPECT_NE(0U, VRQ_Init_BLOCK_CIPHER(unit.get(), id, k, nullptr, 1)) << id;
        for (const int32_t size : {1, 16}) {
            EXPECT_EQ(0x0503004CU,
                      VRQ_Update_BLOCK_CIPHER(unit.get(), out, &length, kIv.data(), size));
            EXPECT_EQ(0U, length);
        }
    }
}

// Whatever is neither 0 nor 1 decrypts, under the key: no engine is left with half a schedule.
TEST(BlockCipherStatus, OddDirectionsDecrypt) {
    const Bytes message(32, 0x5C);
    for (const CipherCase& cipher : kCipherCases) {
        for (const uint32_t mode : {kEcb, kCbc}) {
            SCOPED_TRACE(testing::Message() << cipher.name << " " << std::hex << mode);
            const uint32_t id = cipher.id | mode | kNoPadding;
            const CipherUnit unit = cipher_unit(id, kKey, kIv, false);
            const Bytes decrypted = run_whole(unit.get(), message);
            for (const int32_t direction : {2, -1}) {
                ASSERT_EQ(
                    0U, VRQ_Init_BLOCK_CIPHER(unit.get(), id, kKey.data(), kIv.data(), direction));
                EXPECT_EQ(cipher.routines != &kAes, decrypted == run_whole(unit.get(), message))
                    << direction << ": AES keeps the schedule of its encryption";
            }
        }
    }
}

// A weak key (SP 800-67) and wrong parity are taken; encrypting twice gives the message back.
TEST(BlockCipherStatus, DesTakesWeakKeys) {
    const Bytes message(8, 0x5C);
    for (const uint8_t byte : {uint8_t{0x01}, uint8_t{0xFE}, uint8_t{0x00}}) {
        const CipherUnit unit =
            cipher_unit(VRQ_ID_DES | kEcb | kNoPadding, Bytes(8, byte), {}, true);
        const Bytes once = run_whole(unit.get(), message);
        EXPECT_NE(message, once);
        EXPECT_EQ(message, run_whole(unit.get(), once));
    }
}

// Fields out of their ranges lead nowhere beyond the buffers.
TEST(BlockCipherStatus, DamagedRecords) {
    constexpr int32_t kOdd[] = {INT32_MIN, -1, 0, 15, 16, 31, 32, 255, INT32_MAX};
    for (const uint32_t id : {VRQ_ID_AES_128 | kCbc, VRQ_ID_AES_128 | kCbc | kNoPadding,
                              VRQ_ID_SEED_128 | kOfb | kNoPadding, VRQ_ID_DES | kEcb}) {
        for (const bool encrypt : {true, false}) {
            for (const int32_t odd : kOdd) {
                for (int32_t VRQ_BLOCK_CIPHER_UNIT::*field :
                     {&VRQ_BLOCK_CIPHER_UNIT::block_length, &VRQ_BLOCK_CIPHER_UNIT::block_mask,
                      &VRQ_BLOCK_CIPHER_UNIT::pending_count, &VRQ_BLOCK_CIPHER_UNIT::position}) {
                    const CipherUnit unit = cipher_unit(id, kKey, kIv, encrypt);
                    const Bytes in(300, 4);
                    GuardedOutput out(400);
                    uint32_t length = 0;
                    unit.get()->*field = odd;
                    VRQ_Update_BLOCK_CIPHER(unit.get(), out.data(), &length, in.data(), 300);
                    EXPECT_LE(length, 300U + 32);
                    unit.get()->*field = odd;
                    VRQ_Final_BLOCK_CIPHER(unit.get(), out.data(), &length);
                    EXPECT_LE(length, 16U);
                    out.take(400);
                }
            }
        }
    }
    // What would be read or written is refused.
    const CipherUnit unit = cipher_unit(VRQ_ID_AES_128 | kCbc, kKey, kIv, true);
    uint8_t out[320];
    uint32_t length = 0;
    const Bytes in(300, 4);
    unit->block_mask = -1;
    EXPECT_EQ(0x0503000AU, VRQ_Update_BLOCK_CIPHER(unit.get(), out, &length, in.data(), 300));
    unit->block_mask = 15;
    unit->pending_count = 17;
    EXPECT_EQ(0x0503000AU, VRQ_Update_BLOCK_CIPHER(unit.get(), out, &length, in.data(), 300));
    EXPECT_EQ(0x0505000AU, VRQ_Final_BLOCK_CIPHER(unit.get(), out, &length));
    EXPECT_EQ(0U, VRQ_Update_BLOCK_CIPHER(unit.get(), out, &length, in.data(), 300));
}

TEST(BlockCipherStatus, Final) {
    uint8_t out[32];
    uint32_t length = 99;
    EXPECT_EQ(0x0505002BU, VRQ_Final_BLOCK_CIPHER(nullptr, out, &length));
    struct Case {
        uint32_t mode;
        bool encrypt;
        int32_t pending;
        uint8_t* out;
        uint32_t status;
        uint32_t length;
    };
    const Case cases[] = {
        {kCbc | kNoPadding, true, 5, out, 0x0505000A, 0},
        {kCbc | kNoPadding, true, 16, nullptr, 0, 0},
        {kCbc | kNoPadding, false, 5, out, 0x05050009, 0},
        {kEcb | kNoPadding, false, 16, nullptr, 0, 0},
        {kCbc, true, 5, nullptr, 0x0505000A, 0},
        {kCbc, true, 16, out, 0, 16},
        {kCbc, false, 5, out, 0x05050009, 0},
        {kOfb, true, 5, out, 0, 5},
        {kOfb, true, 5, nullptr, 0x0505000A, 0},
        {kOfb, true, 16, nullptr, 0, 0},
        {kOfb, false, 5, out, 0x05050009, 0},
        {kOfb, false, 16, out, 0x05050009, 0},
        {kCtr | kNoPadding, false, 5, out, 0, 5},
        {kCtr | kNoPadding, false, 5, nullptr, 0x05050009, 0},
        {kCfb | kNoPadding, false, 16, nullptr, 0, 0},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(testing::Message() << row.mode << " " << row.encrypt << " " << row.pending);
        const CipherUnit unit = cipher_unit(VRQ_ID_AES_128 | row.mode, kKey, kIv, row.encrypt);
        ASSERT_EQ(0U, VRQ_Update_BLOCK_CIPHER(unit.get(), out, &length, kIv.data(), row.pending));
        EXPECT_EQ(0x0505002BU, VRQ_Final_BLOCK_CIPHER(unit.get(), out, nullptr));
        EXPECT_EQ(row.status, VRQ_Final_BLOCK_CIPHER(unit.get(), row.out, &length));
        EXPECT_EQ(row.length, length);
        // Whatever the result, the next message can start.
        EXPECT_EQ(0, unit->pending_count);
        EXPECT_EQ(0, unit->has_held_back);
        EXPECT_EQ(0, std::memcmp(unit->initial_iv, unit->working_iv, 16));
    }
}

TEST(BlockCipherStatus, OneShot) {
    uint8_t out[64];
    uint32_t length = 77;
    const uint8_t* key = kKey.data();
    const uint8_t* iv = kIv.data();
    constexpr uint32_t kId = VRQ_ID_AES_128 | kCbc;
    EXPECT_EQ(0x05080021U, VRQ_BLOCK_CIPHER(kId, 1, key, nullptr, iv, 16, out, &length));
    EXPECT_EQ(0x0508005AU, VRQ_BLOCK_CIPHER(kId, 1, key, iv, iv, 0, out, &length));
    EXPECT_EQ(0x0508005AU, VRQ_BLOCK_CIPHER(kId, 1, key, iv, nullptr, 16, out, &length));
    EXPECT_EQ(0x0508005AU, VRQ_BLOCK_CIPHER(kId, 1, key, iv, iv, 16, nullptr, &length));
    EXPECT_EQ(0x0508005AU, VRQ_BLOCK_CIPHER(kId, 1, key, iv, iv, 16, out, nullptr));
    EXPECT_EQ(0x05080017U, VRQ_BLOCK_CIPHER(kId, 1, key, iv, iv, 5, nullptr, &length));
    EXPECT_EQ(0x05080017U, VRQ_BLOCK_CIPHER(kId, 0, key, iv, iv, 15, out, &length));
    EXPECT_EQ(0x05080017U, VRQ_BLOCK_CIPHER(kId | 1, 1, key, iv, iv, 15, out, &length));
    EXPECT_EQ(77U, length);
    EXPECT_EQ(0U, VRQ_BLOCK_CIPHER(kId, 1, key, iv, iv, 16, out, &length));
    EXPECT_EQ(32U, length);
}

TEST(BlockCipherQueries, Algorithms) {
    for (const CipherCase& cipher : kCipherCases) {
        SCOPED_TRACE(cipher.name);
        const bool gap = cipher.id == VRQ_ID_SEED_256; // unknown to the length queries alone
        for (const uint32_t mode : {0x00U, 0x20U, 0x81U, 0xFFU}) {
            EXPECT_STREQ(cipher.name, VRQ_Get_Block_Alg_Name(cipher.id | mode));
            EXPECT_EQ(gap ? 0 : cipher.key, VRQ_Get_Key_Length(cipher.id | mode));
            EXPECT_EQ(gap ? 0 : cipher.block, VRQ_Get_Block_Length(cipher.id | mode));
            EXPECT_EQ(gap ? 0 : cipher.block, VRQ_Get_IV_Length(cipher.id | mode));
        }
    }
    for (const uint32_t id : {0U, 0x01000400U, 0x0A000100U}) {
        EXPECT_EQ(nullptr, VRQ_Get_Block_Alg_Name(id));
        EXPECT_EQ(0U, VRQ_Get_Key_Length(id));
        EXPECT_EQ(0U, VRQ_Get_Block_Length(id));
        EXPECT_EQ(0U, VRQ_Get_IV_Length(id));
    }
    EXPECT_EQ(0U, VRQ_Get_Block_Alg_ID(nullptr));
}

TEST(BlockCipherQueries, Modes) {
    constexpr uint32_t kFeedback[] = {16, 16, 16, 1, 1, 2, 4, 8, 16, 16, 16};
    const CipherUnit unit = cipher_unit(VRQ_ID_AES_128, kKey, kIv, true);
    for (std::size_t i = 0; i < std::size(kAllModes); ++i) {
        EXPECT_STREQ(kModeNames[i], VRQ_Get_Mode_Name(VRQ_ID_RC5 | kAllModes[i] | kNoPadding));
        unit->mode = static_cast<uint8_t>(kAllModes[i]);
        EXPECT_EQ(kFeedback[i], vrq_Get_Mode_Length(unit.get())) << kModeNames[i];
    }
    for (const uint32_t mode : {0x02U, 0x22U, 0x4EU, 0x62U, 0xA0U}) {
        EXPECT_EQ(nullptr, VRQ_Get_Mode_Name(mode));
        unit->mode = static_cast<uint8_t>(mode);
        EXPECT_EQ(0U, vrq_Get_Mode_Length(unit.get()));
    }
    EXPECT_EQ(0U, vrq_Get_Mode_Length(nullptr));
}

TEST(BlockCipherQueries, SmallSetters) {
    VRQ_BLOCK_CIPHER_UNIT unit{};
    set_RC2KeyLength(&unit, 40);
    EXPECT_EQ(40, unit.rc2_key_bits);
    set_RC2KeyLength(nullptr, 40);

    const std::pair<const char*, const char*> steps[] = {
        {"00000000000000000000000000000000", "00000000000000000000000000000001"},
        {"000102030405060708090a0bffffffff", "000102030405060708090a0c00000000"},
        {"0001020304050607ffffffffffffffff", "00010203040506080000000000000000"},
        {"00010203ffffffffffffffffffffffff", "00010204000000000000000000000000"},
        {"ffffffffffffffffffffffffffffffff", "00000000000000000000000000000000"}};
    for (const auto& [before, after] : steps) {
        Bytes block = from_hex(before);
        vrq_Increase_Counter(block.data());
        EXPECT_EQ(after, to_hex(block));
    }
}

} // namespace
