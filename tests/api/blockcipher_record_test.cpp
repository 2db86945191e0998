// The flat key record: what it holds, messages from it, refusals.
#include "api/cipher_cases.h"

#include <array>
#include <thread>

namespace {

using namespace test;

using BinaryKey = std::array<uint8_t, 896>;

const Bytes kKey(32, 0x31);
const Bytes kIv(16, 0x13);

uint32_t make_record(uint32_t id, BinaryKey& record, bool encrypt = true) {
    int32_t length = 900;
    const uint32_t status = VRQ_Init_Advanced_BLOCK_CIPHER(id, kKey.data(), kIv.data(), encrypt,
                                                           record.data(), &length);
    EXPECT_EQ(status == 0 ? 896 : 900, length);
    return status;
}

Bytes run_record(const BinaryKey& record, const Bytes& message) {
    Bytes out(message.size() + 16);
    uint32_t length = 0;
    EXPECT_EQ(0U, VRQ_DoFinal_Advanced_BLOCK_CIPHER(record.data(), 0, message.data(),
                                                    static_cast<uint32_t>(message.size()),
                                                    out.data(), &length));
    out.resize(length);
    return out;
}

TEST(BlockCipherRecord, RunsMessagesAsTheUnitDoes) {
    Random random(31);
    for (const CipherCase& cipher : kCipherCases) {
        if (cipher.id == VRQ_ID_BLOWFISH) continue;
        for (const uint32_t mode : kUnitModes) {
            if (!offers(cipher, mode)) continue;
            SCOPED_TRACE(std::string(cipher.name) + " " + std::to_string(mode));
            const uint32_t id = cipher.id | mode;
            BinaryKey forward;
            BinaryKey back;
            ASSERT_EQ(0U, make_record(id, forward));
            ASSERT_EQ(0U, make_record(is_stream(mode) ? id | kNoPadding : id, back, false));
            const BinaryKey kept = forward;
            const CipherUnit unit = cipher_unit(id, kKey, kIv, true);
            for (const std::size_t size : {1, 16, 40}) {
                const Bytes message = random.bytes(size);
                const Bytes out = run_record(forward, message);
                EXPECT_EQ(run_whole(unit.get(), message), out);
                EXPECT_EQ(message, run_record(back, out));
            }
            EXPECT_EQ(kept, forward);
        }
    }
}

TEST(BlockCipherRecord, Layout) {
    BinaryKey record;
    record.fill(0xEE);
    ASSERT_EQ(0U, make_record(VRQ_ID_ARIA_256 | kCbc | kNoPadding, record));
    const auto word = [&record](std::size_t at) {
        uint32_t out;
        std::memcpy(&out, &record[at], sizeof out);
        return out;
    };
    const std::pair<std::size_t, uint32_t> words[] = {
        {0, 0x03000300}, {4, 16},  {8, 32},   {12, 16},          {16, 0},  {20, 0},  {48, 1},
        {872, 548},      {876, 0}, {880, 15}, {884, 0xFFFFFFFF}, {888, 0}, {892, 0}, {84 + 548, 0}};
    for (const auto& [offset, value] : words) EXPECT_EQ(value, word(offset)) << offset;
    EXPECT_EQ(0x20, record[24]);
    EXPECT_EQ(1, record[25]);
    VRQ_KEY_SETUP* setup;
    VRQ_MODE_ROUTINE* routine;
    std::memcpy(&setup, &record[32], sizeof setup);
    std::memcpy(&routine, &record[40], sizeof routine);
    EXPECT_EQ(&vrq_Init_ARIA, setup);
    EXPECT_EQ(&vrq_Do_ARIA_CBC, routine);
    EXPECT_EQ(kIv, Bytes(&record[52], &record[68]));
    EXPECT_EQ(kIv, Bytes(&record[68], &record[84]));
    VRQ_ARIA_KEY key{};
    ASSERT_EQ(0U, vrq_Init_Encrypt_ARIA_Key(kKey.data(), 32, &key));
    EXPECT_EQ(0, std::memcmp(&key, &record[84], sizeof key));
}

// One record from several threads; run under the thread sanitizer as well.
TEST(BlockCipherRecord, ServesThreads) {
    BinaryKey record;
    ASSERT_EQ(0U, make_record(VRQ_ID_SEED_128 | kCbc, record));
    const Bytes message(1000, 5);
    const Bytes expected = run_record(record, message);
    std::array<Bytes, 4> results;
    std::array<std::thread, 4> threads;
    for (std::size_t i = 0; i < threads.size(); ++i) {
        threads[i] = std::thread([&record, &message, &results, i] {
            for (int round = 0; round < 50; ++round) results[i] = run_record(record, message);
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const Bytes& result : results) EXPECT_EQ(expected, result);
}

TEST(BlockCipherRecord, InitStatuses) {
    BinaryKey record;
    const uint8_t* key = kKey.data();
    const uint8_t* iv = kIv.data();
    int32_t length = 895;
    constexpr uint32_t kId = VRQ_ID_AES_128 | kCbc;
    const auto init = [&](uint32_t id, const uint8_t* k, const uint8_t* v, uint8_t* r, int32_t* l) {
        return VRQ_Init_Advanced_BLOCK_CIPHER(id, k, v, 1, r, l);
    };
    EXPECT_EQ(0x050A0049U, init(VRQ_ID_BLOWFISH, nullptr, iv, record.data(), &length));
    EXPECT_EQ(0x050A0049U, init(VRQ_ID_BLOWFISH, key, iv, nullptr, &length));
    EXPECT_EQ(0x050A0049U, init(kId, key, iv, record.data(), nullptr));
    EXPECT_EQ(0x050A0048U, init(VRQ_ID_BLOWFISH | kCbc, key, iv, record.data(), &length));
    EXPECT_EQ(0x050A0006U, init(kId, key, iv, record.data(), &length));
    EXPECT_EQ(0x050A0006U, init(0, key, iv, record.data(), &length));
    length = 896;
    EXPECT_EQ(0x050A0021U, init(kId, key, nullptr, record.data(), &length));
    EXPECT_EQ(0x050A0021U, init(0, key, iv, record.data(), &length));
    EXPECT_EQ(0U, init(kId, key, iv, record.data(), &length));
}

TEST(ProvenBlockCipherRecord, FollowsTheOperatingMode) {
    BinaryKey record;
    EXPECT_EQ(0x050A0021U, make_record(VRQ_ID_AES_128 | kCbc, record));
    EXPECT_EQ(0x050A0021U, make_record(VRQ_ID_ARIA_128 | kCtr, record));
    EXPECT_EQ(0U, make_record(VRQ_ID_ARIA_128 | kCbc, record));
    EXPECT_EQ(1, record[888]);
}

TEST(BlockCipherRecord, DoFinalStatuses) {
    BinaryKey record;
    ASSERT_EQ(0U, make_record(VRQ_ID_AES_128 | kCbc, record, false));
    uint8_t out[64];
    uint32_t length = 7;
    const uint8_t* in = kKey.data();
    const auto run = [&](const BinaryKey& r, const uint8_t* data, uint32_t size) {
        return VRQ_DoFinal_Advanced_BLOCK_CIPHER(r.data(), 896, data, size, out, &length);
    };
    EXPECT_EQ(0x050B0049U, VRQ_DoFinal_Advanced_BLOCK_CIPHER(nullptr, 896, in, 16, out, &length));
    EXPECT_EQ(0x050B0049U,
              VRQ_DoFinal_Advanced_BLOCK_CIPHER(record.data(), 896, in, 16, nullptr, &length));
    EXPECT_EQ(0x050B0049U,
              VRQ_DoFinal_Advanced_BLOCK_CIPHER(record.data(), 896, in, 16, out, nullptr));
    EXPECT_EQ(0x050B005AU, run(record, in, 0));
    EXPECT_EQ(0x050B005AU, run(record, in, 0x80000000));
    EXPECT_EQ(0x050B005AU, run(record, nullptr, 16));
    EXPECT_EQ(0x050B0017U, run(record, in, 15));
    EXPECT_EQ(0x050B0017U, run(record, in, 16)) << "no padding there";

    // A schedule size that the record cannot hold.
    for (const int32_t size : {789, 4168, -1, INT32_MAX, INT32_MIN}) {
        BinaryKey damaged = record;
        std::memcpy(&damaged[872], &size, sizeof size);
        EXPECT_EQ(0x050B0059U, run(damaged, in, 16)) << size;
    }
    EXPECT_EQ(7U, length);
}

TEST(BlockCipherRecord, Copies) {
    const CipherUnit unit = cipher_unit(VRQ_ID_LEA_192 | kCtr, kKey, kIv, true);
    BinaryKey record;
    int32_t length = 0;
    EXPECT_EQ(1U, blockcipher_Unit_to_BinaryKey(nullptr, record.data(), &length));
    EXPECT_EQ(1U, blockcipher_Unit_to_BinaryKey(unit.get(), nullptr, &length));
    EXPECT_EQ(0, length);
    ASSERT_EQ(0U, blockcipher_Unit_to_BinaryKey(unit.get(), record.data(), nullptr));
    ASSERT_EQ(0U, blockcipher_Unit_to_BinaryKey(unit.get(), record.data(), &length));
    EXPECT_EQ(896, length);

    const CipherUnit copy = new_cipher_unit();
    EXPECT_EQ(1U, blockcipher_BinaryKey_to_Unit(nullptr, 896, copy.get()));
    EXPECT_EQ(1U, blockcipher_BinaryKey_to_Unit(record.data(), 896, nullptr));
    ASSERT_EQ(0U, blockcipher_BinaryKey_to_Unit(record.data(), 896, copy.get()));
    const Bytes message(50, 8);
    EXPECT_EQ(run_whole(unit.get(), message), run_whole(copy.get(), message));

    // A unit that has a schedule takes the new key into it, or a new one when the sizes differ.
    for (const uint32_t id : {VRQ_ID_LEA_256, VRQ_ID_AES_128}) {
        const CipherUnit used = cipher_unit(id | kCbc, kKey, kIv, true);
        const void* schedule = used->schedule;
        ASSERT_EQ(0U, blockcipher_BinaryKey_to_Unit(record.data(), 896, used.get()));
        EXPECT_TRUE(id != VRQ_ID_LEA_256 || schedule == used->schedule);
        EXPECT_EQ(772, used->schedule_size);
        EXPECT_EQ(run_whole(unit.get(), message), run_whole(used.get(), message));
    }
}

} // namespace
