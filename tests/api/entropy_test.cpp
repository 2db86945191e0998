// Entropy units, collection by level, entropy inputs and nonces.
#include "harness/vectors.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysinfo.h>
#include <unistd.h>

namespace {

using test::Bytes;

constexpr const char* kHere = "test";
void drop(uint8_t* buffer) { VRQ_Free(buffer, kHere, 1); }

TEST(Entropy, PoolGrowsByWhatItNeedsAndASpare) {
    VRQ_ENTROPY_UNIT* unit = vrq_New_ENTROPY_Unit();
    const Bytes data(100, 1);
    ASSERT_EQ(0U, vrq_Add_ENTROPY(unit, data.data(), 100, 3));
    EXPECT_EQ(228U, unit->pool_capacity);
    ASSERT_EQ(0U, vrq_Add_ENTROPY(unit, data.data(), 100, 3));
    EXPECT_EQ(228U, unit->pool_capacity);
    ASSERT_EQ(0U, vrq_Add_ENTROPY(unit, data.data(), 100, 4));
    EXPECT_EQ(456U, unit->pool_capacity);
    EXPECT_EQ(300U, unit->pool_length);
    EXPECT_EQ(10U, unit->credit);
    EXPECT_EQ(Bytes(300, 1), Bytes(unit->pool, unit->pool + 300));

    ASSERT_EQ(0U, digest_entropy(unit, VRQ_ID_SHA256));
    Bytes expected(32);
    ASSERT_EQ(0U, VRQ_DIGEST(VRQ_ID_SHA256, unit->pool, 300, expected.data(), nullptr));
    ASSERT_EQ(32U, unit->digest_length);
    EXPECT_EQ(expected, Bytes(unit->digest, unit->digest + 32));

    ASSERT_EQ(0U, vrq_Add_ENTROPY(unit, unit->pool, 300, 1)) << "its own bytes, as it grows";
    EXPECT_EQ(884U, unit->pool_capacity);
    EXPECT_EQ(Bytes(600, 1), Bytes(unit->pool, unit->pool + 600));
    vrq_Clean_ENTROPY_Unit(unit);
    const VRQ_ENTROPY_UNIT zero{};
    EXPECT_EQ(0, std::memcmp(&zero, unit, sizeof zero));
    vrq_Free_ENTROPY_Unit(unit);
}

TEST(Entropy, LevelOneIsProcessTimeAndDevice) {
    VRQ_ENTROPY_UNIT* unit = vrq_New_ENTROPY_Unit();
    ASSERT_EQ(0U, get_collection_entropy(unit, 1));
    EXPECT_EQ(4U + 16 + 64, unit->pool_length);
    EXPECT_EQ(2U + 5 + 64, unit->credit);
    const pid_t id = getpid();
    EXPECT_EQ(0, std::memcmp(&id, unit->pool, sizeof id));
    vrq_Free_ENTROPY_Unit(unit);
}

TEST(Entropy, OtherLevelsMeanTwo) {
    VRQ_ENTROPY_UNIT* unit = vrq_New_ENTROPY_Unit();
    for (const int32_t level : {0, 4, -1}) {
        ASSERT_EQ(0U, get_collection_entropy(unit, level));
        EXPECT_EQ(2, unit->level);
        EXPECT_GT(unit->pool_length, 150U);
        vrq_Clean_ENTROPY_Unit(unit);
        unit->level = level;
        EXPECT_EQ(1U, vrq_Collect_ENTROPY(unit));
        EXPECT_EQ(0U, unit->pool_length);
    }
    vrq_Free_ENTROPY_Unit(unit);
}

// Figures that stand still show where their sources come in the list.
TEST(Entropy, LevelTwoRunsItsSourcesInOrder) {
    VRQ_ENTROPY_UNIT* unit = vrq_New_ENTROPY_Unit();
    ASSERT_EQ(0U, get_collection_entropy(unit, 2));
    struct sysinfo info {};
    struct stat task {};
    struct statvfs disk {};
    ASSERT_EQ(0, sysinfo(&info));
    ASSERT_EQ(0, stat("/proc/self/task", &task));
    ASSERT_EQ(0, statvfs("/", &disk));
    const pid_t id = getpid();
    const uint64_t disk_size = uint64_t{disk.f_bsize} * disk.f_blocks;

    const auto place_of = [unit](const auto& figure) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(&figure);
        const uint8_t* const pool = unit->pool;
        const uint8_t* const end = pool + unit->pool_length;
        return std::search(pool, end, bytes, bytes + sizeof figure) - pool;
    };
    constexpr std::ptrdiff_t kTask = 4 * 8;
    constexpr std::ptrdiff_t kSystem = 8 * 7 + 2;
    EXPECT_EQ(0, place_of(task.st_ino));
    EXPECT_EQ(kTask + 8, place_of(info.totalram));
    EXPECT_LE(kTask + kSystem, place_of(disk_size));
    EXPECT_LT(place_of(disk_size), static_cast<std::ptrdiff_t>(unit->pool_length) - 84);
    EXPECT_EQ(0, std::memcmp(&id, unit->pool + unit->pool_length - 84, sizeof id));
    vrq_Free_ENTROPY_Unit(unit);
}

TEST(Entropy, LevelThreePutsTheSlowSourcesFirst) {
    VRQ_ENTROPY_UNIT* two = vrq_New_ENTROPY_Unit();
    VRQ_ENTROPY_UNIT* slow = vrq_New_ENTROPY_Unit();
    VRQ_ENTROPY_UNIT* three = vrq_New_ENTROPY_Unit();
    ASSERT_EQ(0U, get_collection_entropy(two, 2));
    vrq_Entropy_Get_Shared_Memory_Info(slow);
    ASSERT_EQ(0U, get_collection_entropy(three, 3));
    EXPECT_EQ(two->pool_length + slow->pool_length + 8, three->pool_length);
    EXPECT_EQ(0, std::memcmp(slow->pool, three->pool, slow->pool_length));
    for (VRQ_ENTROPY_UNIT* unit : {two, slow, three}) vrq_Free_ENTROPY_Unit(unit);
}

TEST(Entropy, InputAndNonceByStrength) {
    struct Row {
        int32_t strength;
        uint32_t length;
    };
    for (const Row& row : {Row{-1, 28}, Row{0, 28}, Row{14, 28}, Row{15, 32}, Row{16, 32},
                           Row{17, 48}, Row{24, 48}, Row{25, 64}, Row{32, 64}}) {
        SCOPED_TRACE(row.strength);
        uint8_t* entropy = nullptr;
        uint8_t* nonce = nullptr;
        uint32_t entropy_length = 0;
        uint32_t nonce_length = 0;
        ASSERT_EQ(0U, vrq_Get_ENTROPY_Input_With_Nonce_Input(&entropy, &entropy_length, &nonce,
                                                             &nonce_length, row.strength, 1));
        EXPECT_EQ(row.length, entropy_length);
        EXPECT_EQ(row.length / 2, nonce_length);
        const Bytes first(entropy, entropy + entropy_length);

        ASSERT_EQ(0U, vrq_Get_ENTROPY_Input(&entropy, &entropy_length, row.strength, 1));
        EXPECT_EQ(row.length, entropy_length);
        EXPECT_NE(first, Bytes(entropy, entropy + entropy_length));
        drop(entropy);
        drop(nonce);
    }
}

// The nonce of an input of zeros is the raw pool, which starts with the process id.
TEST(Entropy, NonceOfAnInputThatTheCallerHolds) {
    auto* entropy = static_cast<uint8_t*>(VRQ_Calloc(1, 9, kHere, 1));
    uint8_t* const held = entropy;
    uint8_t* nonce = nullptr;
    uint32_t entropy_length = 9;
    uint32_t nonce_length = 0;
    ASSERT_EQ(0U, vrq_Get_ENTROPY_Input_With_Nonce_Input(&entropy, &entropy_length, &nonce,
                                                         &nonce_length, 16, 1));
    EXPECT_EQ(held, entropy);
    EXPECT_EQ(9U, entropy_length);
    EXPECT_EQ(Bytes(9, 0), Bytes(entropy, entropy + 9));
    ASSERT_EQ(4U, nonce_length);
    const pid_t id = getpid();
    EXPECT_EQ(0, std::memcmp(&id, nonce, 4));

    uint8_t* const held_nonce = nonce;
    ASSERT_EQ(0U, vrq_Get_ENTROPY_Input_With_Nonce_Input(&entropy, &entropy_length, &nonce,
                                                         &nonce_length, 16, 1));
    EXPECT_EQ(held_nonce, nonce);
    drop(entropy);
    drop(nonce);
}

TEST(Entropy, LongRequestsTakeSeveralCollections) {
    Bytes out(200, 0);
    ASSERT_EQ(0U, vrq_Get_ENTROPY(out.data(), 130, 1, VRQ_ID_SHA256));
    for (int block = 0; block < 4; ++block) {
        const Bytes one(out.begin() + 32 * block, out.begin() + 32 * (block + 1));
        EXPECT_NE(Bytes(32, 0), one);
        EXPECT_NE(one, Bytes(out.begin() + 32 * (block + 1), out.begin() + 32 * (block + 2)));
    }
    EXPECT_EQ(Bytes(70, 0), Bytes(out.begin() + 130, out.end()));

    VRQ_ENTROPY_UNIT* last = nullptr;
    ASSERT_EQ(0U, get_entropy_ex(out.data(), 40, &last, 1, VRQ_ID_SHA256));
    ASSERT_NE(nullptr, last);
    EXPECT_EQ(0, std::memcmp(last->digest, out.data() + 32, 8)) << "digest of the last round";
    EXPECT_EQ(84U, last->pool_length);
    vrq_Free_ENTROPY_Unit(last);
}

TEST(Entropy, Statuses) {
    uint8_t byte = 0;
    uint8_t* buffer = nullptr;
    uint8_t* nonce = nullptr;
    uint32_t length = 0;
    VRQ_ENTROPY_UNIT* out = nullptr;
    VRQ_ENTROPY_UNIT* unit = vrq_New_ENTROPY_Unit();

    EXPECT_EQ(0x1C01002BU, vrq_Add_ENTROPY(nullptr, &byte, 1, 1));
    EXPECT_EQ(0x1C01002BU, vrq_Add_ENTROPY(unit, nullptr, 1, 1));
    EXPECT_EQ(0x1C01002BU, vrq_Add_ENTROPY(unit, &byte, 0, 1));
    EXPECT_EQ(0x1C01002BU, vrq_Add_ENTROPY(unit, &byte, 1, 0));
    EXPECT_EQ(0x1C02002BU, vrq_Collect_ENTROPY(nullptr));
    EXPECT_EQ(0x1C02002BU, get_collection_entropy(nullptr, 1));
    EXPECT_EQ(0x1C02002BU, get_entropy_digest(nullptr, 1, VRQ_ID_SHA256));
    EXPECT_EQ(0x1C03002BU, digest_entropy(nullptr, VRQ_ID_SHA256));
    EXPECT_EQ(0x1C03002BU, digest_entropy(unit, VRQ_ID_SHA256)) << "nothing collected";
    EXPECT_EQ(0x1C03002BU, get_entropy_digest(unit, 1, 0));
    EXPECT_EQ(0x0A050022U, get_entropy_digest(unit, 1, 0x05000600));

    EXPECT_EQ(0x1C040049U, vrq_Get_ENTROPY(nullptr, 1, 1, VRQ_ID_SHA256));
    EXPECT_EQ(0x1C040049U, vrq_Get_ENTROPY(&byte, 0, 1, VRQ_ID_SHA256));
    EXPECT_EQ(0x1C040014U, vrq_Get_ENTROPY(&byte, 1, 1, 0x05000600));
    EXPECT_EQ(0x0A050022U, get_entropy_ex(&byte, 1, &out, 1, 0x05000600));
    EXPECT_EQ(nullptr, out);
    EXPECT_EQ(0x1C040049U, get_entropy_ex(nullptr, 1, &out, 1, VRQ_ID_SHA256));
    EXPECT_EQ(0x1C040049U, get_entropy_ex(&byte, 1, nullptr, 1, VRQ_ID_SHA256));

    EXPECT_EQ(0x1C05002BU, vrq_Get_ENTROPY_Input(&buffer, nullptr, 16, 1));
    EXPECT_EQ(0x1C05002BU, vrq_Get_ENTROPY_Input(nullptr, &length, 16, 1));
    EXPECT_EQ(0x1C05002BU, vrq_Get_ENTROPY_Input(&buffer, &length, 33, 1));
    EXPECT_EQ(0x1C060049U,
              vrq_Get_ENTROPY_Input_With_Nonce_Input(&buffer, nullptr, &nonce, &length, 16, 1));
    EXPECT_EQ(0x1C060049U,
              vrq_Get_ENTROPY_Input_With_Nonce_Input(nullptr, &length, &nonce, &length, 16, 1));
    EXPECT_EQ(0x1C06002BU,
              vrq_Get_ENTROPY_Input_With_Nonce_Input(&buffer, &length, &nonce, &length, 33, 1));
    uint8_t* const held = &byte;
    buffer = held;
    length = 0;
    EXPECT_EQ(0x1C060014U,
              vrq_Get_ENTROPY_Input_With_Nonce_Input(&buffer, &length, &nonce, &length, 16, 1))
        << "a held input of no bytes";
    EXPECT_EQ(held, buffer);

    vrq_Free_ENTROPY_Unit(unit);
    vrq_Free_ENTROPY_Unit(nullptr);
    vrq_Clean_ENTROPY_Unit(nullptr);
    vrq_Entropy_Get_Current_Time_Info(nullptr);
}

} // namespace
