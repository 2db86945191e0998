// The mode routines of the engines, called as a unit calls them and beyond.
#include "api/cipher_cases.h"
#include "api/mode_model.h"

namespace {

using namespace test;

// One algorithm of each engine.
std::vector<const CipherCase*> engines() {
    std::vector<const CipherCase*> out;
    for (const CipherCase& cipher : kCipherCases) {
        if (out.empty() || out.back()->routines != cipher.routines) out.push_back(&cipher);
    }
    return out;
}

// A unit whose routines may be called with any mode: the schedule of a stream mode encrypts.
CipherUnit stream_unit(const CipherCase& cipher, const Bytes& key, const Bytes& iv, bool encrypt) {
    return cipher_unit(cipher.id | kCfb, key, iv, encrypt);
}

ModeModel model_of(const CipherCase& cipher, const Bytes& key) {
    const auto block = [&cipher, key](bool encrypt) {
        return [&cipher, key, encrypt](const Bytes& in) {
            const CipherUnit unit = cipher_unit(cipher.id | kEcb | kNoPadding, key, {}, encrypt);
            return run_whole(unit.get(), in);
        };
    };
    return {cipher.block, block(true), block(false)};
}

TEST(Modes, NullArguments) {
    for (const CipherCase* cipher : engines()) {
        const ModeRoutines& r = *cipher->routines;
        const CipherUnit unit = stream_unit(*cipher, Bytes(32), Bytes(16), true);
        const VRQ_BLOCK_CIPHER_UNIT before = *unit;
        uint8_t data[16] = {};
        const std::pair<ModeRoutine, uint32_t> rows[] = {
            {r.ecb, r.ecb_code},    {r.cbc, r.cbc_code},    {r.cfb, r.cfb_code},
            {r.cfb_r, r.cfb_code},  {r.cfb_1, r.cfb_code},  {r.cfb_8, r.cfb_code},
            {r.cfb_16, r.cfb_code}, {r.cfb_32, r.cfb_code}, {r.cfb_64, r.cfb_code},
            {r.ofb, r.ofb_code},    {r.ctr, r.ctr_code}};
        for (const auto& [routine, code] : rows) {
            if (routine == nullptr) continue;
            const uint32_t invalid = r.library << 24 | code << 16 | 0x2B;
            SCOPED_TRACE(testing::Message() << cipher->name << " " << std::hex << invalid);
            EXPECT_EQ(invalid, routine(unit.get(), nullptr, data, 16));
            EXPECT_EQ(invalid, routine(unit.get(), data, nullptr, 16));
            EXPECT_EQ(invalid, routine(nullptr, data, data, 16));
            VRQ_BLOCK_CIPHER_UNIT bare{};
            EXPECT_EQ(invalid, routine(&bare, data, data, 16)) << "no schedule";
            if (routine == r.cfb_r) continue;
            EXPECT_EQ(0U, routine(unit.get(), data, data, 0));
            EXPECT_EQ(0, std::memcmp(&before, unit.get(), sizeof before));
        }
        const uint32_t invalid = r.library << 24 | r.cfb_code << 16 | 0x2B;
        for (const uint32_t bits : {0U, 129U, 0xFFFFFFFFU})
            EXPECT_EQ(invalid, r.cfb_r(unit.get(), data, data, bits));
        EXPECT_EQ(0, std::memcmp(&before, unit.get(), sizeof before));
    }
}

TEST(Modes, EcbTakesWholeBlocksOnly) {
    for (const CipherCase* cipher : engines()) {
        const CipherUnit unit = cipher_unit(cipher->id | kEcb, Bytes(32, 1), {}, true);
        const Bytes in(64, 7);
        for (std::size_t size = 0; size < 3 * cipher->block; ++size) {
            const std::size_t whole = size / cipher->block * cipher->block;
            GuardedOutput out(whole);
            ASSERT_EQ(0U, cipher->routines->ecb(unit.get(), out.data(), in.data(),
                                                static_cast<uint32_t>(size)));
            out.take(whole);
        }
    }
}

// A partial block is encrypted as if zeros followed, reading and writing no more than that.
TEST(Modes, CbcCompletesAPartialBlock) {
    Random random(21);
    for (const CipherCase* cipher : engines()) {
        const Bytes key = random.bytes(cipher->key);
        const Bytes iv = random.bytes(cipher->block);
        const ModeModel model = model_of(*cipher, key);
        for (std::size_t size = 1; size < 3 * cipher->block; ++size) {
            SCOPED_TRACE(testing::Message() << cipher->name << " " << size);
            const auto in = std::make_unique<uint8_t[]>(size); // the sanitizer guards its end
            const Bytes text = random.bytes(size);
            std::copy(text.begin(), text.end(), in.get());
            Bytes zeros = text;
            zeros.resize((size + cipher->block - 1) / cipher->block * cipher->block);
            const Bytes expected = model.cbc(iv, zeros, true);

            const CipherUnit unit = cipher_unit(cipher->id | kCbc, key, iv, true);
            GuardedOutput out(zeros.size());
            ASSERT_EQ(0U, cipher->routines->cbc(unit.get(), out.data(), in.get(),
                                                static_cast<uint32_t>(size)));
            EXPECT_EQ(expected, out.take(zeros.size()));
            EXPECT_EQ(Bytes(expected.end() - cipher->block, expected.end()),
                      Bytes(unit->working_iv, unit->working_iv + cipher->block));

            // Decryption leaves the trailing bytes alone.
            const std::size_t whole = size / cipher->block * cipher->block;
            const CipherUnit back = cipher_unit(cipher->id | kCbc, key, iv, false);
            GuardedOutput plain(whole);
            ASSERT_EQ(0U, cipher->routines->cbc(back.get(), plain.data(), expected.data(),
                                                static_cast<uint32_t>(size)));
            EXPECT_EQ(Bytes(text.begin(), text.begin() + static_cast<long>(whole)),
                      plain.take(whole));
        }
    }
}

// CFB, OFB and CTR in any pieces, in place, against the model; the stream position follows.
TEST(Modes, ByteStreamsInAnyPieces) {
    Random random(22);
    for (const CipherCase* cipher : engines()) {
        const Bytes key = random.bytes(cipher->key);
        const ModeModel model = model_of(*cipher, key);
        for (const uint32_t mode : {kCfb, kOfb, kCtr}) {
            if (!offers(*cipher, mode) || cipher->rc2_bits != 0) continue;
            for (const bool encrypt : {true, false}) {
                SCOPED_TRACE(testing::Message() << cipher->name << " " << mode << encrypt);
                const Bytes iv = random.bytes(cipher->block);
                const Bytes text = random.bytes(700);
                const CipherUnit unit = cipher_unit(cipher->id | mode, key, iv, encrypt);
                Bytes data = text;
                for (std::size_t at = 0; at < data.size();) {
                    const uint32_t longest = random.below(2) == 0 ? 3 : 120;
                    const std::size_t size =
                        std::min<std::size_t>(random.below(longest), data.size() - at);
                    ASSERT_EQ(0U, unit->mode_routine(unit.get(), &data[at], &data[at],
                                                     static_cast<uint32_t>(size)));
                    at += size;
                    ASSERT_EQ(static_cast<int32_t>(at % cipher->block), unit->position);
                }
                EXPECT_EQ(to_hex(model.run(mode, iv, text, encrypt)), to_hex(data));
            }
        }
    }
}

// The position survives Final, and the next message starts there.
TEST(Modes, FinalKeepsTheStreamPosition) {
    const CipherUnit unit = cipher_unit(VRQ_ID_AES_128 | kCtr, Bytes(16, 3), Bytes(16, 4), true);
    uint8_t data[16] = {};
    uint32_t length = 0;
    ASSERT_EQ(0U, vrq_Do_AES_CTR(unit.get(), data, data, 5));
    ASSERT_EQ(0U, VRQ_Final_BLOCK_CIPHER(unit.get(), data, &length));
    EXPECT_EQ(5, unit->position);
    EXPECT_EQ(Bytes(16, 4), Bytes(unit->working_iv, unit->working_iv + 16));
}

TEST(Modes, CounterWraps) {
    Random random(23);
    for (const CipherCase* cipher : engines()) {
        if (cipher->routines->ctr == nullptr) continue;
        const Bytes key = random.bytes(cipher->key);
        const ModeModel model = model_of(*cipher, key);
        // Wraps of 32, 64 and all bits, at different places of a batch.
        for (const std::size_t ones :
             {std::size_t{4}, std::size_t{8}, std::size_t{cipher->block}}) {
            for (const int low : {0xFF, 0xFD, 0xF1}) {
                Bytes counter(cipher->block, 0);
                std::fill(counter.end() - static_cast<long>(ones), counter.end(), 0xFF);
                counter.back() = static_cast<uint8_t>(low);
                const Bytes zeros(40 * cipher->block, 0);
                const CipherUnit unit = cipher_unit(cipher->id | kCtr, key, counter, true);
                Bytes out(zeros.size());
                ASSERT_EQ(0U, cipher->routines->ctr(unit.get(), out.data(), zeros.data(),
                                                    static_cast<uint32_t>(zeros.size())));
                EXPECT_EQ(model.ctr(counter, zeros), out) << cipher->name << ones << low;
            }
        }
    }
}

// Every segment width against bits written out, several segments, both directions, in place.
TEST(Modes, CfbOfEveryWidth) {
    Random random(24);
    for (const CipherCase* cipher : engines()) {
        const Bytes key = random.bytes(cipher->key);
        const ModeModel model = model_of(*cipher, key);
        for (uint32_t r = 1; r <= 128; ++r) {
            for (const bool encrypt : {true, false}) {
                SCOPED_TRACE(testing::Message() << cipher->name << " " << r << " " << encrypt);
                const Bytes iv = random.bytes(cipher->block);
                const std::size_t size = (r + 7) / 8;
                const Bytes text = random.bytes(6 * size);
                const CipherUnit unit = stream_unit(*cipher, key, iv, encrypt);
                Bytes data = text;
                data.push_back(0xA5);
                for (std::size_t at = 0; at < text.size(); at += size)
                    ASSERT_EQ(0U, cipher->routines->cfb_r(unit.get(), &data[at], &data[at], r));
                EXPECT_EQ(0xA5, data.back());
                data.pop_back();
                EXPECT_EQ(to_hex(model.cfb_r(r, iv, text, encrypt)), to_hex(data));
                EXPECT_EQ(0, unit->position);
            }
        }
    }
}

// Consecutive segments of bytes; a partial last segment is completed with zeros, and nothing behind
// the given length is read or written.
TEST(Modes, CfbOfBytes) {
    Random random(25);
    for (const CipherCase* cipher : engines()) {
        const ModeRoutines& r = *cipher->routines;
        const Bytes key = random.bytes(cipher->key);
        const ModeModel model = model_of(*cipher, key);
        const std::pair<ModeRoutine, std::size_t> rows[] = {
            {r.cfb_8, 1}, {r.cfb_16, 2}, {r.cfb_32, 4}, {r.cfb_64, 8}};
        for (const auto& [routine, segment] : rows) {
            for (std::size_t size = 1; size <= 21 && routine != nullptr; ++size) {
                SCOPED_TRACE(testing::Message() << cipher->name << " " << segment << " " << size);
                const Bytes iv = random.bytes(cipher->block);
                Bytes text = random.bytes(size);
                const auto in = std::make_unique<uint8_t[]>(size);
                std::copy(text.begin(), text.end(), in.get());
                text.resize((size + segment - 1) / segment * segment);
                for (const bool encrypt : {true, false}) {
                    const CipherUnit unit = stream_unit(*cipher, key, iv, encrypt);
                    GuardedOutput out(size);
                    ASSERT_EQ(
                        0U, routine(unit.get(), out.data(), in.get(), static_cast<uint32_t>(size)));
                    Bytes expected = model.cfb_r(8 * segment, iv, text, encrypt);
                    expected.resize(size);
                    EXPECT_EQ(to_hex(expected), to_hex(out.take(size)));
                }
            }
        }
    }
}

// A count of bits: the bytes that hold them are written, the unused bits of the last one cleared.
TEST(Modes, CfbOfBits) {
    Random random(26);
    for (const CipherCase* cipher : engines()) {
        const Bytes key = random.bytes(cipher->key);
        const ModeModel model = model_of(*cipher, key);
        for (uint32_t bits = 1; bits <= 27; ++bits) {
            for (const bool encrypt : {true, false}) {
                SCOPED_TRACE(testing::Message() << cipher->name << " " << bits << " " << encrypt);
                const Bytes iv = random.bytes(cipher->block);
                const Bytes text = random.bytes((bits + 7) / 8);
                // The model takes one bit in the top of each byte.
                Bytes single;
                for (uint32_t i = 0; i < bits; ++i)
                    single.push_back(static_cast<uint8_t>(text[i / 8] << i % 8 & 0x80));
                const Bytes processed = model.cfb_r(1, iv, single, encrypt);
                Bytes expected(text.size());
                for (uint32_t i = 0; i < bits; ++i)
                    expected[i / 8] |= static_cast<uint8_t>((processed[i] & 0x80) >> i % 8);

                const CipherUnit unit = stream_unit(*cipher, key, iv, encrypt);
                GuardedOutput out(text.size());
                ASSERT_EQ(0U, cipher->routines->cfb_1(unit.get(), out.data(), text.data(), bits));
                EXPECT_EQ(to_hex(expected), to_hex(out.take(text.size())));

                const CipherUnit again = stream_unit(*cipher, key, iv, encrypt);
                Bytes data = text;
                ASSERT_EQ(0U, cipher->routines->cfb_1(again.get(), data.data(), data.data(), bits));
                EXPECT_EQ(to_hex(expected), to_hex(data)) << "in place";
            }
        }
    }
}

} // namespace
