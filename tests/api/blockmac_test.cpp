// CBC-MAC and DES-MAC.
#include "api/cipher_cases.h"
#include "harness/owned.h"

namespace {

using namespace test;

using CbcMacUnit = test::Owned<VRQ_CBC_MAC_UNIT>;

CbcMacUnit cbc_mac(const CipherCase& cipher, const Bytes& key) {
    CbcMacUnit unit(VRQ_New_CBC_MAC_Unit());
    EXPECT_EQ(0U, VRQ_Init_CBC_MAC(unit.get(), cipher.id, key.data()));
    return unit;
}

void feed(const CbcMacUnit& unit, const Bytes& data) {
    // A copy of its own, so that the sanitizer sees reads behind it.
    const auto copy = std::make_unique<uint8_t[]>(data.size() + 1);
    std::copy(data.begin(), data.end(), copy.get() + 1);
    EXPECT_EQ(0U,
              VRQ_Update_CBC_MAC(unit.get(), copy.get() + 1, static_cast<int32_t>(data.size())));
}

Bytes finish(const CbcMacUnit& unit) {
    GuardedOutput out(static_cast<std::size_t>(unit->cipher->block_length));
    uint32_t length = 0;
    EXPECT_EQ(0U, VRQ_Final_CBC_MAC(unit.get(), out.data(), &length));
    return out.take(length);
}

Bytes encrypt_block(const CipherCase& cipher, const Bytes& key, const Bytes& block) {
    const CipherUnit unit = cipher_unit(cipher.id | kEcb | kNoPadding, key, {}, true);
    return run_whole(unit.get(), block);
}

// A block of a message, or what there is of it, filled from the chain or with zeros.
Bytes combine(const Bytes& data, std::size_t at, const Bytes& chain) {
    Bytes out = chain;
    for (std::size_t i = 0; i < chain.size() && at + i < data.size(); ++i) out[i] ^= data[at + i];
    return out;
}

TEST(CbcMac, KnownAnswers) {
    std::map<uint32_t, int> answers;
    for (const Record& record : load_vectors("mac/cbcmac.vec")) {
        SCOPED_TRACE(record.where);
        for (const CipherCase& cipher : kCipherCases) {
            if (record.name != std::string("CBC-MAC-") + cipher.vector_name) continue;
            ++answers[cipher.id];
            const Bytes key = record.bytes("key");
            const Bytes message = record.bytes("msg");
            Bytes out(cipher.block);
            uint32_t length = 0;
            // Mode and padding bits of the identifier do not matter.
            EXPECT_EQ(0U, VRQ_CBC_MAC(cipher.id | kOfb | kNoPadding, key.data(), message.data(),
                                      static_cast<int32_t>(message.size()), out.data(), &length));
            EXPECT_EQ(cipher.block, length);
            EXPECT_EQ(record.text("mac"), to_hex(out));
        }
    }
    for (const CipherCase& cipher : kCipherCases) {
        EXPECT_TRUE(answers[cipher.id] > 0 || cipher.rc2_bits != 0) << cipher.name;
    }
}

TEST(CbcMac, WholeBlocksInAnyPieces) {
    Random random(61);
    for (const CipherCase& cipher : kCipherCases) {
        SCOPED_TRACE(cipher.name);
        const Bytes key = random.bytes(cipher.key);
        const Bytes message = random.bytes(cipher.block * 600);
        Bytes chain(cipher.block);
        for (std::size_t at = 0; at < message.size(); at += cipher.block)
            chain = encrypt_block(cipher, key, combine(message, at, chain));

        for (const uint32_t longest : {1U, 20U, 600U}) {
            const CbcMacUnit unit = cbc_mac(cipher, key);
            for (auto at = message.begin(); at != message.end();) {
                const auto left = static_cast<uint32_t>((message.end() - at) / cipher.block);
                const auto size = std::min(left, 1 + random.below(longest)) * cipher.block;
                feed(unit, Bytes(at, at + size));
                EXPECT_EQ(0U, VRQ_Update_CBC_MAC(unit.get(), nullptr, 0));
                at += size;
            }
            EXPECT_EQ(to_hex(chain), to_hex(finish(unit)));
            EXPECT_EQ(to_hex(chain), to_hex(finish(unit))) << "Final changes nothing";
        }
    }
}

TEST(CbcMac, NoDataGivesZeros) {
    for (const CipherCase& cipher : kCipherCases)
        EXPECT_EQ(Bytes(cipher.block), finish(cbc_mac(cipher, Bytes(32, 1)))) << cipher.name;
}

// Held bytes are completed by the chain; bytes that complete them later meet the start of the chain.
TEST(CbcMac, PartialBlocks) {
    Random random(62);
    for (const CipherCase& cipher : kCipherCases) {
        SCOPED_TRACE(cipher.name);
        const Bytes key = random.bytes(cipher.key);
        const std::size_t block = cipher.block;
        const Bytes message = random.bytes(3 * block);
        const auto part = [&message](std::size_t from, std::size_t to) {
            return Bytes(message.begin() + static_cast<long>(from),
                         message.begin() + static_cast<long>(to));
        };
        const Bytes chain = encrypt_block(cipher, key, part(0, block));
        for (std::size_t held = 1; held < block; ++held) {
            Bytes last = chain;
            for (std::size_t i = 0; i < held; ++i) last[i] = message[block + i];
            const CbcMacUnit unit = cbc_mac(cipher, key);
            feed(unit, part(0, block + held));
            EXPECT_EQ(static_cast<int32_t>(held), unit->pending_count);
            EXPECT_EQ(0U, VRQ_Update_CBC_MAC(unit.get(), message.data(), -3));
            EXPECT_EQ(static_cast<int32_t>(held), unit->pending_count);
            EXPECT_EQ(encrypt_block(cipher, key, last), finish(unit));

            // One byte more is held as well; then the rest of the block and another block.
            const CbcMacUnit longer = cbc_mac(cipher, key);
            feed(longer, part(0, block + held - 1));
            feed(longer, part(block + held - 1, block + held));
            feed(longer, part(block + held, 3 * block));
            Bytes second = part(block, 2 * block);
            for (std::size_t i = held; i < block; ++i) second[i] ^= chain[i - held];
            const Bytes next = encrypt_block(cipher, key, second);
            EXPECT_EQ(encrypt_block(cipher, key, combine(message, 2 * block, next)),
                      finish(longer));
        }
    }
}

TEST(CbcMac, Statuses) {
    const CipherCase& aes = kCipherCases[0];
    const Bytes key(16, 1);
    const CbcMacUnit unit = cbc_mac(aes, key);
    uint8_t out[16];
    uint32_t length = 0;
    EXPECT_EQ(0x06010049U, VRQ_Init_CBC_MAC(nullptr, aes.id, key.data()));
    EXPECT_EQ(0x06020049U, VRQ_Update_CBC_MAC(nullptr, key.data(), 16));
    EXPECT_EQ(0x06020049U, VRQ_Update_CBC_MAC(unit.get(), nullptr, 16));
    EXPECT_EQ(0x06030049U, VRQ_Final_CBC_MAC(nullptr, out, &length));
    EXPECT_EQ(0x06030049U, VRQ_Final_CBC_MAC(unit.get(), nullptr, &length));
    EXPECT_EQ(0x06030049U, VRQ_Final_CBC_MAC(unit.get(), out, nullptr));

    feed(unit, Bytes(20, 1));
    EXPECT_EQ(0x06010021U, VRQ_Init_CBC_MAC(unit.get(), 0x0A000100, key.data()));
    EXPECT_EQ(0, unit->pending_count);
    const CbcMacUnit fresh(VRQ_New_CBC_MAC_Unit());
    for (VRQ_CBC_MAC_UNIT* without_cipher : {unit.get(), fresh.get()}) {
        EXPECT_EQ(0x06020049U, VRQ_Update_CBC_MAC(without_cipher, key.data(), 16));
        EXPECT_EQ(0x06030049U, VRQ_Final_CBC_MAC(without_cipher, out, &length));
        VRQ_Clean_CBC_MAC_Unit(without_cipher);
        EXPECT_EQ(0x06030049U, VRQ_Final_CBC_MAC(without_cipher, out, &length));
    }
    ASSERT_EQ(0U, VRQ_Init_CBC_MAC(unit.get(), aes.id, key.data())) << "usable again";
    EXPECT_EQ(Bytes(16), finish(unit));
    for (const uint32_t other : {uint32_t{VRQ_ID_BLOWFISH}, uint32_t{VRQ_ID_ARIA_128}, 0U}) {
        unit->cipher->algorithm = other;
        EXPECT_EQ(0x0602005AU, VRQ_Update_CBC_MAC(unit.get(), key.data(), 16)) << other;
    }
    EXPECT_EQ(0x06010049U, VRQ_Init_CBC_MAC(unit.get(), aes.id, nullptr));
    EXPECT_EQ(nullptr, unit->cipher->schedule) << "cleaned all the same";
    VRQ_Clean_CBC_MAC_Unit(nullptr);
    VRQ_Free_CBC_MAC_Unit(nullptr);

    EXPECT_EQ(0x06040023U, VRQ_CBC_MAC(aes.id, nullptr, key.data(), 16, out, &length));
    EXPECT_EQ(0x06040023U, VRQ_CBC_MAC(0, key.data(), key.data(), 16, out, &length));
    EXPECT_EQ(0x0604005CU, VRQ_CBC_MAC(aes.id, key.data(), nullptr, 16, out, &length));
    EXPECT_EQ(0x06040019U, VRQ_CBC_MAC(aes.id, key.data(), key.data(), 16, nullptr, &length));
}

TEST(ProvenBlockMac, IsRefused) {
    const Bytes key(16, 1);
    uint8_t out[16];
    uint32_t length = 0;
    EXPECT_EQ(0x060100F0U, VRQ_Init_CBC_MAC(nullptr, VRQ_ID_ARIA_128, nullptr));
    EXPECT_EQ(0x06040023U, VRQ_CBC_MAC(VRQ_ID_ARIA_128, key.data(), key.data(), 16, out, &length));
    EXPECT_EQ(0x090100F0U, VRQ_DES_MAC(nullptr, nullptr, 0, nullptr));
}

// Every length: each pass adds up to 8 bytes to the last output; whole blocks end in an empty pass.
TEST(DesMac, Passes) {
    Random random(63);
    const CipherCase& des = kCipherCases[3];
    ASSERT_STREQ("VRQ_DES", des.name);
    const Bytes key = random.bytes(8);
    for (std::size_t size = 1; size <= 40; ++size) {
        const auto data = std::make_unique<uint8_t[]>(size);
        const Bytes message = random.bytes(size);
        std::copy(message.begin(), message.end(), data.get());
        Bytes expected(8);
        for (std::size_t at = 0; at <= size; at += 8)
            expected = encrypt_block(des, key, combine(message, at, expected));
        GuardedOutput out(8);
        ASSERT_EQ(0U, VRQ_DES_MAC(key.data(), data.get(), static_cast<int32_t>(size), out.data()));
        EXPECT_EQ(expected, out.take(8)) << size;
    }
}

TEST(DesMac, Statuses) {
    const Bytes data(8, 1);
    uint8_t out[8];
    EXPECT_EQ(0x09010049U, VRQ_DES_MAC(nullptr, data.data(), 8, out));
    EXPECT_EQ(0x09010049U, VRQ_DES_MAC(data.data(), nullptr, 8, out));
    EXPECT_EQ(0x09010049U, VRQ_DES_MAC(data.data(), data.data(), 0, out));
    EXPECT_EQ(0x09010049U, VRQ_DES_MAC(data.data(), data.data(), -8, out));
    EXPECT_EQ(0x09010049U, VRQ_DES_MAC(data.data(), data.data(), 8, nullptr));
}

} // namespace
