// RC4.
#include "api/cipher_cases.h"
#include "harness/owned.h"

namespace {

using namespace test;

using Rc4Unit = test::Owned<VRQ_RC4_UNIT>;

Rc4Unit rc4(const Bytes& key) {
    Rc4Unit unit(VRQ_New_RC4_Unit());
    EXPECT_EQ(0U, VRQ_Init_RC4(unit.get(), key.data(), static_cast<int32_t>(key.size())));
    return unit;
}

Bytes run(VRQ_RC4_UNIT* unit, Bytes data) {
    EXPECT_EQ(0U, VRQ_Do_RC4(unit, data.data(), static_cast<uint32_t>(data.size()), data.data()));
    return data;
}

TEST(Rc4, KnownAnswers) {
    for (const Record& record : load_vectors("cipher/rc4.vec")) {
        SCOPED_TRACE(record.where);
        const Bytes key = record.bytes("key");
        if (record.name == "RC4") {
            EXPECT_EQ(record.text("ciphertext"),
                      to_hex(run(rc4(key).get(), record.bytes("plaintext"))));
            EXPECT_EQ(record.text("plaintext"),
                      to_hex(run(rc4(key).get(), record.bytes("ciphertext"))));
            continue;
        }
        const Bytes stream = run(rc4(key).get(), Bytes(4200));
        for (const auto& [field, value] : record.fields) {
            if (field.rfind("ks_", 0) != 0) continue;
            const long at = std::stol(field.substr(3));
            EXPECT_EQ(value, to_hex(Bytes(stream.begin() + at, stream.begin() + at + 16))) << field;
        }
    }
}

TEST(Rc4, AnyCutGivesTheSameBytes) {
    Random random(41);
    for (int i = 0; i < 50; ++i) {
        const Bytes key = random.bytes(1 + random.below(300)); // longer than the state, too
        const Bytes message = random.bytes(1 + random.below(200));
        const Bytes expected = run(rc4(key).get(), message);
        const Rc4Unit unit = rc4(key);
        Bytes out;
        for (std::size_t at = 0; at < message.size();) {
            const std::size_t size =
                std::min<std::size_t>(1 + random.below(20), message.size() - at);
            GuardedOutput piece(size);
            ASSERT_EQ(0U, VRQ_Do_RC4(unit.get(), message.data() + at, static_cast<uint32_t>(size),
                                     piece.data()));
            append(out, piece.take(size));
            at += size;
        }
        EXPECT_EQ(expected, out);
        EXPECT_LT(unit->x, 256U);
        EXPECT_LT(unit->y, 256U);
    }
}

void expect_statuses() {
    constexpr uint32_t kInvalid = 0x1600002B;
    const Bytes key(5, 1);
    uint8_t data[8] = {};
    const Rc4Unit unit = rc4(key);
    const VRQ_RC4_UNIT before = *unit;
    EXPECT_EQ(kInvalid, VRQ_Init_RC4(nullptr, key.data(), 5));
    EXPECT_EQ(kInvalid, VRQ_Init_RC4(unit.get(), nullptr, 5));
    EXPECT_EQ(kInvalid, VRQ_Init_RC4(unit.get(), key.data(), 0));
    EXPECT_EQ(kInvalid, VRQ_Init_RC4(unit.get(), key.data(), -1));
    EXPECT_EQ(kInvalid, VRQ_Do_RC4(nullptr, data, 8, data));
    EXPECT_EQ(kInvalid, VRQ_Do_RC4(unit.get(), nullptr, 8, data));
    EXPECT_EQ(kInvalid, VRQ_Do_RC4(unit.get(), data, 8, nullptr));
    EXPECT_EQ(kInvalid, VRQ_Do_RC4(unit.get(), data, 0, data));
    EXPECT_EQ(0, std::memcmp(&before, unit.get(), sizeof before));

    VRQ_Clean_RC4_Unit(unit.get());
    const VRQ_RC4_UNIT zero{};
    EXPECT_EQ(0, std::memcmp(&zero, unit.get(), sizeof zero));
    VRQ_Clean_RC4_Unit(nullptr);
    VRQ_Free_RC4_Unit(nullptr);
}

TEST(Rc4, Statuses) { expect_statuses(); }

// The operating mode does not matter.
TEST(ProvenRc4, IsNotGated) { expect_statuses(); }

} // namespace
