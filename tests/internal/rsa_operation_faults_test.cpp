// RSA operations when memory fails, and what they leave in freed memory.
#include "harness/faults.h"
#include "harness/rsa_cases.h"

#include <functional>
#include <set>

namespace {

using namespace test;

const Bytes kMessage = {0xC1, 0xC2, 0xC3, 0xC4, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xCA, 0xCB, 0xCC};

struct Mode {
    uint32_t mode;
    uint32_t digest;
};
constexpr Mode kEncryption[] = {
    {8, VRQ_ID_SHA256}, {16, VRQ_ID_SHA1}, {32, VRQ_ID_SHA1}, {0, VRQ_ID_SHA1}};
constexpr Mode kSignature[] = {{2, VRQ_ID_SHA256}, {1, VRQ_ID_SHA1}, {0, VRQ_ID_SHA1}};

// Runs an operation on fresh units, whose making is spared, with each of its allocations failing in
// turn: it succeeds or fails with one of the statuses, and succeeds on the same unit afterwards.
void sweep(const StoredRsaKey& key, const std::set<uint32_t>& failures,
           const std::function<void(VRQ_RSA_UNIT*)>& prepare,
           const std::function<uint32_t(VRQ_RSA_UNIT*)>& run) {
    std::set<uint32_t> seen;
    for_each_allocation_fault([&](std::size_t number) {
        vrq::testing::fail_allocation(0);
        const RsaUnit unit = key.load(Parts::kCrt);
        VRQ_Free_BIGINT_Pool(unit->pool); // which the loading warmed up
        unit->pool = VRQ_New_BIGINT_Pool();
        prepare(unit.get());
        vrq::testing::fail_allocation(number);
        const uint32_t status = run(unit.get());
        if (number == 0) {
            EXPECT_EQ(0U, status);
            return;
        }
        vrq::testing::fail_allocation(0);
        EXPECT_TRUE(status == 0 || failures.count(status) == 1) << std::hex << status;
        seen.insert(status);
        prepare(unit.get());
        EXPECT_EQ(0U, run(unit.get()));
    });
    for (const uint32_t status : failures)
        EXPECT_EQ(1U, seen.count(status)) << "never seen: " << std::hex << status;
}

TEST(RsaOperationFaults, EncryptionAndDecryption) {
    const StoredRsaKey& key = rsa_key(1024);
    for (const Mode& row : kEncryption) {
        SCOPED_TRACE(row.mode);
        Bytes ciphertext;
        std::set<uint32_t> failures = {0x1809003A, 0x18090059};
        if (row.mode == 8 || row.mode == 16) failures.insert(0x18090012);
        sweep(
            key, failures,
            [&](VRQ_RSA_UNIT* unit) {
                EXPECT_EQ(0U, VRQ_Init_RSAES(unit, row.mode, 0, row.digest));
            },
            [&](VRQ_RSA_UNIT* unit) { return encrypt(unit, kMessage, ciphertext); });
        failures = {0x180A003A, 0x180A0059, 0x180A002E};
        if (row.mode == 8 || row.mode == 16) failures.insert(0x180A000E);
        sweep(
            key, failures,
            [&](VRQ_RSA_UNIT* unit) {
                EXPECT_EQ(0U, VRQ_Init_RSAES(unit, row.mode, 1, row.digest));
            },
            [&](VRQ_RSA_UNIT* unit) {
                Bytes out;
                const uint32_t status = decrypt(unit, ciphertext, out);
                EXPECT_EQ(status == 0 ? kMessage : Bytes{}, out);
                return status;
            });
    }
}

TEST(RsaOperationFaults, SignaturesAndVerification) {
    const StoredRsaKey& key = rsa_key(1024);
    for (const Mode& row : kSignature) {
        SCOPED_TRACE(row.mode);
        const auto prepare = [&](uint32_t direction) {
            return [&row, direction](VRQ_RSA_UNIT* unit) {
                EXPECT_EQ(0U, VRQ_Init_RSASSA(unit, row.digest, row.mode, direction));
                EXPECT_EQ(0U, feed(unit, kMessage));
            };
        };
        Bytes signature(key.k());
        uint32_t length = 0;
        std::set<uint32_t> failures = {0x1806003A, 0x18060005, 0x18060059, 0x1806002E};
        if (row.mode == 2) failures.insert(0x18060012);
        sweep(key, failures, prepare(1), [&](VRQ_RSA_UNIT* unit) {
            return VRQ_Final_RSASSA(unit, signature.data(), &length);
        });
        failures = {0x1807003A, 0x18070059};
        if (row.mode != 0) failures.insert(row.mode == 1 ? 0x180D003A : 0x1810003B);
        sweep(key, failures, prepare(0), [&](VRQ_RSA_UNIT* unit) {
            return VRQ_Final_RSASSA(unit, signature.data(), &length);
        });
        signature.back() ^= 1;
        for_each_allocation_fault([&](std::size_t number) {
            vrq::testing::fail_allocation(0);
            const RsaUnit unit = key.load(Parts::kPublic);
            prepare(0)(unit.get());
            vrq::testing::fail_allocation(number);
            EXPECT_NE(0U, VRQ_Final_RSASSA(unit.get(), signature.data(), &length));
        });
    }
}

TEST(RsaOperationFaults, Encodings) {
    const RsaUnit unit = rsa_key(1024).load(Parts::kPublic);
    ASSERT_EQ(0U, VRQ_Init_RSAES(unit.get(), 8, 0, VRQ_ID_SHA256));
    // MGF1's digest unit and its record; OAEP masks twice.
    constexpr uint32_t kMgf1[] = {0, 0x180E003A, 0x0A010022};
    constexpr uint32_t kPss[] = {0, 0x180F003B, 0x0A010022};
    Bytes out(128);
    for_each_allocation_fault([&](std::size_t number) {
        EXPECT_EQ(kMgf1[number], PKCS1_MGF1(out.data(), 100, kMessage.data(), 5, VRQ_ID_SHA256));
    });
    for_each_allocation_fault([&](std::size_t number) {
        EXPECT_EQ(kPss[number],
                  VRQ_Add_RSASSA_PKCS1_PSS_Encode(unit.get(), out.data(), 128, Bytes(32).data(), 32,
                                                  20, unit->digest));
    });
    for_each_allocation_fault([&](std::size_t number) {
        EXPECT_EQ(number == 0 ? 127 : -1,
                  VRQ_Encode_RSAES_OAEP_PADDING(unit.get(), kMessage.data(), 12, out.data(), 127,
                                                nullptr, 0, 0));
        EXPECT_EQ(number == 0,
                  std::any_of(out.begin(), out.end() - 1, [](uint8_t b) { return b; }));
    });
}

TEST(RsaOperationFaults, Initialisation) {
    constexpr uint32_t kEs = 0x18080059;
    constexpr uint32_t kSsa = 0x18030059;
    for_each_allocation_fault([&](std::size_t number) {
        vrq::testing::fail_allocation(0);
        const RsaUnit unit(VRQ_New_RSA());
        const RsaUnit other(VRQ_New_RSA());
        VRQ_Free_BIGINT_Pool(other->pool);
        other->pool = nullptr;
        vrq::testing::fail_allocation(number);
        EXPECT_TRUE(VRQ_Init_RSAES(unit.get(), 8, 0, VRQ_ID_SHA256) ==
                    (number == 1 || number == 2 ? kEs : 0));
        EXPECT_EQ(number == 1 || number == 2, unit->digest == nullptr);
        EXPECT_EQ(number == 3 || number == 4 || number == 5 ? kSsa : 0,
                  VRQ_Init_RSASSA(other.get(), VRQ_ID_SHA256, 2, 0));
    });
}

// Neither the message nor the block that holds it, as bytes or as words of a number.
TEST(RsaOperationFaults, BlocksAreGoneFromFreedMemory) {
    const StoredRsaKey& key = rsa_key(1024);
    for (const Mode& row : kEncryption) {
        SCOPED_TRACE(row.mode);
        Bytes ciphertext;
        {
            const RsaUnit unit = key.load(Parts::kPublic);
            ASSERT_EQ(0U, VRQ_Init_RSAES(unit.get(), row.mode, 0, row.digest));
            ASSERT_EQ(0U, encrypt(unit.get(), kMessage, ciphertext));
        }
        const Bytes em = key.power(ciphertext, "d");
        const Bytes piece(em.end() - 16, em.end());
        for (const Bytes& secret : {kMessage, Bytes(kMessage.rbegin(), kMessage.rend()), piece,
                                    Bytes(piece.rbegin(), piece.rend())}) {
            const FreedMemoryWatch watch(secret);
            for_each_allocation_fault([&](std::size_t number) {
                vrq::testing::fail_allocation(0);
                RsaUnit unit = key.load(Parts::kCrt);
                ASSERT_EQ(0U, VRQ_Init_RSAES(unit.get(), row.mode, 0, row.digest));
                vrq::testing::fail_allocation(number);
                Bytes out;
                encrypt(unit.get(), kMessage, out);
                unit->direction = 1;
                decrypt(unit.get(), ciphertext, out);
            });
            EXPECT_GT(watch.frees(), 0U);
            EXPECT_FALSE(watch.found());
        }
    }
}

TEST(RsaOperationFaults, NothingOfAMessageStaysInThePool) {
    const StoredRsaKey& key = rsa_key(1024);
    const RsaUnit unit = key.load(Parts::kCrt);
    Bytes out;
    ASSERT_EQ(0U, VRQ_Init_RSAES(unit.get(), 32, 0, 0));
    ASSERT_EQ(0U, encrypt(unit.get(), kMessage, out));
    ASSERT_EQ(0U, VRQ_Init_RSAES(unit.get(), 32, 1, 0));
    ASSERT_EQ(0U, decrypt(unit.get(), Bytes(out), out));
    const Bytes words(kMessage.rbegin(), kMessage.rend());
    std::size_t looked = 0;
    for (const auto* block = unit->pool->first; block != nullptr; block = block->next) {
        for (const VRQ_BIGINT& record : block->records) {
            const auto* bytes = reinterpret_cast<const uint8_t*>(record.data);
            const auto* end = bytes + 4 * static_cast<std::size_t>(record.allocated);
            looked += static_cast<std::size_t>(record.allocated);
            EXPECT_EQ(end, std::search(bytes, end, words.begin(), words.end()));
        }
    }
    EXPECT_GT(looked, 0U);
}

} // namespace
