// The block cipher unit: known answers, and what must hold for every algorithm, mode, direction and
// padding choice.
#include "api/cipher_cases.h"
#include "api/mode_model.h"

#include <map>

namespace {

using namespace test;

const CipherCase* case_of(const std::string& cipher, const Record& record) {
    for (const CipherCase& row : kCipherCases) {
        if (cipher != row.vector_name) continue;
        if (row.rc2_bits == 0) return &row;
        const bool fits = record.number("bits") == row.rc2_bits;
        if (fits && record.bytes("key").size() == row.key) return &row;
    }
    return nullptr;
}

void expect_both_directions(const CipherCase& cipher, uint32_t mode, const Record& record) {
    const Bytes iv = record.has("iv") ? record.bytes("iv") : Bytes(16);
    for (const bool encrypt : {true, false}) {
        const CipherUnit unit =
            cipher_unit(cipher.id | mode | kNoPadding, record.bytes("key"), iv, encrypt);
        const std::string from = encrypt ? "plaintext" : "ciphertext";
        const std::string to = encrypt ? "ciphertext" : "plaintext";
        EXPECT_EQ(record.text(to), to_hex(run_whole(unit.get(), record.bytes(from))));
    }
}

// Partial feedback, which the unit does not select, by the engine's routine.
void expect_routine(ModeRoutine routine, const CipherCase& cipher, const Record& record) {
    ASSERT_NE(nullptr, routine);
    for (const bool encrypt : {true, false}) {
        const CipherUnit unit =
            cipher_unit(cipher.id | kCfb, record.bytes("key"), record.bytes("iv"), encrypt);
        const Bytes in = record.bytes(encrypt ? "plaintext" : "ciphertext");
        const auto length = record.has("bits") && cipher.rc2_bits == 0
                                ? record.number("bits")
                                : static_cast<long>(in.size());
        Bytes out(in.size());
        EXPECT_EQ(0U, routine(unit.get(), out.data(), in.data(), static_cast<uint32_t>(length)));
        EXPECT_EQ(record.text(encrypt ? "ciphertext" : "plaintext"), to_hex(out));
    }
}

void expect_padded(const CipherCase& cipher, const Record& record) {
    const Bytes key = record.bytes("key");
    const Bytes iv = record.bytes("iv");
    if (record.text("result") == "pass") {
        const CipherUnit unit = cipher_unit(cipher.id | kCbc, key, iv, true);
        EXPECT_EQ(record.text("ciphertext"),
                  to_hex(run_whole(unit.get(), record.bytes("plaintext"))));
    }
    const CipherUnit unit = cipher_unit(cipher.id | kCbc, key, iv, false);
    const Outcome outcome = run_message(unit.get(), record.bytes("ciphertext"), {1000});
    if (record.text("result") == "pass") {
        EXPECT_EQ(0U, outcome.final_status);
        EXPECT_EQ(record.text("plaintext"), to_hex(outcome.data));
    } else {
        EXPECT_EQ(0x05050009U, outcome.final_status);
    }
}

void expect_record(const CipherCase& cipher, const std::string& mode, const Record& record) {
    const std::string full_cfb = "CFB" + std::to_string(8 * cipher.block);
    const std::map<std::string, uint32_t> modes = {
        {"ECB", kEcb}, {"CBC", kCbc}, {full_cfb, kCfb}, {"OFB", kOfb}, {"CTR", kCtr}};
    if (const auto row = modes.find(mode); row != modes.end())
        return expect_both_directions(cipher, row->second, record);
    if (mode == "CFB8") return expect_routine(cipher.routines->cfb_8, cipher, record);
    if (mode == "CFB1") return expect_routine(cipher.routines->cfb_1, cipher, record);
    if (mode == "CBC-PKCS7") return expect_padded(cipher, record);
    ADD_FAILURE() << "no mode " << mode;
}

TEST(BlockCipher, KnownAnswers) {
    std::map<std::string, int> answers;
    std::set<std::string> files;
    for (const CipherCase& row : kCipherCases) files.insert(row.file);
    for (const std::string& file : files) {
        for (const Record& record : load_vectors("cipher/" + file)) {
            SCOPED_TRACE(record.where + " " + record.name);
            // The longest name of a cipher with which the record's name begins.
            std::string cipher;
            for (const CipherCase& row : kCipherCases) {
                const std::string prefix = std::string(row.vector_name) + "-";
                if (record.name.rfind(prefix, 0) == 0 && prefix.size() > cipher.size() + 1)
                    cipher = row.vector_name;
            }
            const CipherCase* row = case_of(cipher, record);
            if (row == nullptr) {
                ADD_FAILURE() << "no such cipher";
                continue;
            }
            expect_record(*row, record.name.substr(cipher.size() + 1), record);
            ++answers[row->name];
        }
    }
    for (const CipherCase& row : kCipherCases)
        EXPECT_GT(answers[row.name], 0) << row.name << " has no known answer";
}

// The cipher of a case one block at a time, as the model's block function.
ModeModel model_of(const CipherCase& cipher, const Bytes& key) {
    const auto block = [&cipher, key](bool encrypt) {
        return [&cipher, key, encrypt](const Bytes& in) {
            const CipherUnit unit = cipher_unit(cipher.id | kEcb | kNoPadding, key, {}, encrypt);
            return run_whole(unit.get(), in);
        };
    };
    return {cipher.block, block(true), block(false)};
}

Bytes padded(Bytes text, std::size_t block) {
    const std::size_t padding = block - text.size() % block;
    text.insert(text.end(), padding, static_cast<uint8_t>(padding));
    return text;
}

// Runs the check for every algorithm and mode that the unit offers, with a key and an IV.
template <class Check>
void for_each_mode(uint32_t seed, Check check) {
    Random random(seed);
    for (const CipherCase& cipher : kCipherCases) {
        for (std::size_t i = 0; i < std::size(kUnitModes); ++i) {
            if (!offers(cipher, kUnitModes[i])) continue;
            SCOPED_TRACE(std::string(cipher.name) + " " + kUnitModeNames[i]);
            check(random, cipher, kUnitModes[i], random.bytes(cipher.key),
                  random.bytes(cipher.block));
        }
    }
}

// Encrypts and decrypts the message in cuts of every kind, twice with one unit and again after a
// second Init, and expects these bytes.
void expect_every_cut(Random& random, uint32_t id, const Bytes& key, const Bytes& iv,
                      const Bytes& message, const Bytes& cipher) {
    for (const bool encrypt : {true, false}) {
        const bool stream = is_stream(id & 0xFE);
        const uint32_t full_id = !encrypt && stream ? id | kNoPadding : id;
        const Bytes& from = encrypt ? message : cipher;
        const Bytes& to = encrypt ? cipher : message;
        const CipherUnit unit = cipher_unit(full_id, key, iv, encrypt);
        for (const auto& cut : {std::vector<std::size_t>{1},
                                {7},
                                {16},
                                {from.size() + 1},
                                random_cut(random, from.size(), 50)}) {
            const Outcome outcome = run_message(unit.get(), from, cut);
            EXPECT_EQ(0U, outcome.final_status);
            EXPECT_EQ(to_hex(to), to_hex(outcome.data));
        }
        ASSERT_EQ(0U, VRQ_Init_BLOCK_CIPHER(unit.get(), full_id, key.data(), iv.data(), encrypt));
        EXPECT_EQ(to_hex(to), to_hex(run_whole(unit.get(), from)));
    }
}

TEST(BlockCipher, AnyCutGivesTheBytesOfTheModel) {
    for_each_mode(11, [](Random& random, const CipherCase& cipher, uint32_t mode, const Bytes& key,
                         const Bytes& iv) {
        const ModeModel model = model_of(cipher, key);
        for (const std::size_t size : {1, 7, 8, 9, 15, 16, 17, 32, 33, 64, 101}) {
            SCOPED_TRACE(size);
            const Bytes message = random.bytes(size);
            const bool pads = !is_stream(mode);
            const Bytes text = pads ? padded(message, cipher.block) : message;
            expect_every_cut(random, cipher.id | mode, key, iv, message,
                             model.run(mode, iv, text, true));
            if (pads && size % cipher.block != 0) continue;
            expect_every_cut(random, cipher.id | mode | kNoPadding, key, iv, message,
                             model.run(mode, iv, message, true));
        }
    });
}

// Long enough for every batch and kernel width, with a cut that leaves a partial block in front.
TEST(BlockCipher, LongMessages) {
    for_each_mode(12, [](Random& random, const CipherCase& cipher, uint32_t mode, const Bytes& key,
                         const Bytes& iv) {
        const ModeModel model = model_of(cipher, key);
        const Bytes message = random.bytes(9000 / cipher.block * cipher.block);
        const Bytes expected = model.run(mode, iv, message, true);
        for (const bool encrypt : {true, false}) {
            const CipherUnit unit = cipher_unit(cipher.id | mode | kNoPadding, key, iv, encrypt);
            const Bytes& from = encrypt ? message : expected;
            const Bytes& to = encrypt ? expected : message;
            EXPECT_EQ(to, run_message(unit.get(), from, {3, 8500, 497}).data);
            EXPECT_EQ(to, run_whole(unit.get(), from));
        }
    });
}

TEST(BlockCipher, OneShotInPlace) {
    for_each_mode(13, [](Random& random, const CipherCase& cipher, uint32_t mode, const Bytes& key,
                         const Bytes& iv) {
        for (const int32_t size : {1, 16, 33, 5000}) {
            const Bytes message = random.bytes(static_cast<std::size_t>(size));
            Bytes buffer = message;
            buffer.resize(message.size() + cipher.block);
            const uint32_t id = cipher.id | mode;
            uint32_t length = 0;
            ASSERT_EQ(0U, VRQ_BLOCK_CIPHER(id, 1, key.data(), iv.data(), buffer.data(), size,
                                           buffer.data(), &length));
            const CipherUnit unit = cipher_unit(id, key, iv, true);
            EXPECT_EQ(run_whole(unit.get(), message),
                      Bytes(buffer.begin(), buffer.begin() + length));

            const uint32_t back = is_stream(mode) ? id | kNoPadding : id;
            ASSERT_EQ(0U, VRQ_BLOCK_CIPHER(back, 0, key.data(), iv.data(), buffer.data(),
                                           static_cast<int32_t>(length), buffer.data(), &length));
            EXPECT_EQ(message, Bytes(buffer.begin(), buffer.begin() + length));
        }
    });
}

// A null IV counts from zero.
TEST(BlockCipher, CounterWithoutIv) {
    const Bytes key(16, 7);
    const Bytes message(40, 1);
    const CipherUnit unit = new_cipher_unit();
    ASSERT_EQ(0U, VRQ_Init_BLOCK_CIPHER(unit.get(), VRQ_ID_AES_128 | kCtr, key.data(), nullptr, 1));
    const CipherUnit zero = cipher_unit(VRQ_ID_AES_128 | kCtr, key, Bytes(16), true);
    EXPECT_EQ(run_whole(zero.get(), message), run_whole(unit.get(), message));
}

TEST(BlockCipher, Cfb128IsCfbOnLongBlocks) {
    for (const CipherCase& cipher : kCipherCases) {
        const Bytes key(cipher.key, 9);
        const Bytes iv(cipher.block, 3);
        const CipherUnit unit = new_cipher_unit();
        const uint32_t status = VRQ_Init_BLOCK_CIPHER(unit.get(), cipher.id | VRQ_MODE_CFB128,
                                                      key.data(), iv.data(), 1);
        if (cipher.block == 8) {
            EXPECT_EQ(0x05010023U, status) << cipher.name;
            continue;
        }
        ASSERT_EQ(0U, status) << cipher.name;
        EXPECT_EQ(VRQ_MODE_CFB, unit->mode);
        EXPECT_EQ(cipher.routines->cfb, unit->mode_routine);
    }
}

// Every value of the last plaintext byte, over blocks whose other bytes are right or wrong in one
// place: Final accepts exactly PKCS #7 and returns nothing else.
TEST(BlockCipher, MalformedPaddingIsRefused) {
    for (const uint32_t id : {VRQ_ID_AES_128, VRQ_ID_ARIA_256}) {
        const Bytes key(id == VRQ_ID_AES_128 ? 16 : 32, 0x42);
        const Bytes iv(16, 0x24);
        const CipherUnit raw = cipher_unit(id | kCbc | kNoPadding, key, iv, true);
        const CipherUnit unit = cipher_unit(id | kCbc, key, iv, false);
        for (uint32_t last = 0; last < 256; ++last) {
            for (std::size_t wrong = 0; wrong <= 16; ++wrong) { // 16: none
                Bytes text(32, static_cast<uint8_t>(last));
                if (wrong < 15) text[16 + wrong] ^= 0x80;
                if (wrong == 15) continue;
                const bool is_inside = wrong < 15 && wrong >= 16 - std::min(last, 16U);
                const bool good = last >= 1 && last <= 16 && !is_inside;
                const Outcome outcome = run_message(unit.get(), run_whole(raw.get(), text), {32});
                ASSERT_EQ(good ? 0U : 0x05050009U, outcome.final_status) << last << " " << wrong;
                text.resize(good ? 32 - last : 16);
                ASSERT_EQ(text, outcome.data) << last << " " << wrong;
            }
        }
    }
}

// Ciphertext that does not fill blocks, of every length, with and without padding.
TEST(BlockCipher, DecryptionOfEveryLength) {
    for_each_mode(14, [](Random& random, const CipherCase& cipher, uint32_t mode, const Bytes& key,
                         const Bytes& iv) {
        for (std::size_t size = 1; size <= 3 * cipher.block; ++size) {
            const bool whole = size % cipher.block == 0;
            const Bytes text = random.bytes(size);
            const CipherUnit padded = cipher_unit(cipher.id | mode, key, iv, false);
            const Outcome with = run_message(padded.get(), text, {5});
            if (is_stream(mode) || !whole) {
                EXPECT_EQ(0x05050009U, with.final_status) << size;
            }
            const CipherUnit bare = cipher_unit(cipher.id | mode | kNoPadding, key, iv, false);
            const Outcome without = run_message(bare.get(), text, {5});
            const bool good = is_stream(mode) || whole;
            EXPECT_EQ(good ? 0U : 0x05050009U, without.final_status) << size;
            EXPECT_EQ(good ? size : size / cipher.block * cipher.block, without.data.size());
        }
    });
}

TEST(BlockCipher, FinalWithoutDataAndTwice) {
    const Bytes key(16, 1);
    const Bytes iv(16, 2);
    const CipherUnit unit = cipher_unit(VRQ_ID_AES_128 | kCbc, key, iv, true);
    const Bytes empty = run_whole(unit.get(), {});
    EXPECT_EQ(16U, empty.size()) << "a block of padding";
    EXPECT_EQ(empty, run_whole(unit.get(), {}));
    const CipherUnit back = cipher_unit(VRQ_ID_AES_128 | kCbc, key, iv, false);
    EXPECT_EQ(Bytes{}, run_whole(back.get(), empty));
    EXPECT_EQ(0x05050009U, run_message(back.get(), {}, {1}).final_status) << "nothing held back";
    EXPECT_EQ(Bytes{}, run_whole(back.get(), empty)) << "usable after the failure";

    for (const uint32_t mode : {kCfb, kOfb, kCtr}) {
        const CipherUnit stream = cipher_unit(VRQ_ID_AES_128 | mode, key, iv, true);
        EXPECT_EQ(Bytes{}, run_whole(stream.get(), {}));
        const Bytes message(21, 5);
        EXPECT_EQ(run_whole(stream.get(), message), run_whole(stream.get(), message));
    }
}

// Decryption with padding gives back all blocks but the last until Final.
TEST(BlockCipher, LastBlockIsHeldBack) {
    const Bytes key(16, 1);
    const Bytes iv(16, 2);
    const CipherUnit forward = cipher_unit(VRQ_ID_AES_128 | kCbc, key, iv, true);
    const Bytes cipher = run_whole(forward.get(), Bytes(40, 9)); // three blocks
    const CipherUnit unit = cipher_unit(VRQ_ID_AES_128 | kCbc, key, iv, false);
    struct Step {
        int32_t give;
        uint32_t get;
    };
    uint8_t out[64];
    uint32_t length = 0;
    const uint8_t* in = cipher.data();
    for (const Step& step : {Step{16, 0}, {1, 16}, {15, 0}, {15, 16}, {1, 0}}) {
        ASSERT_EQ(0U, VRQ_Update_BLOCK_CIPHER(unit.get(), out, &length, in, step.give));
        EXPECT_EQ(step.get, length);
        in += step.give;
    }
    ASSERT_EQ(0U, VRQ_Final_BLOCK_CIPHER(unit.get(), out, &length));
    EXPECT_EQ(8U, length);
    EXPECT_EQ(Bytes(8, 9), Bytes(out, out + length));
}

// The fields that callers read, after Init and after Clean.
TEST(BlockCipher, Record) {
    for (const CipherCase& cipher : kCipherCases) {
        const Bytes key(cipher.key, 1);
        const Bytes iv(cipher.block, 2);
        const CipherUnit unit = cipher_unit(cipher.id | kCbc | kNoPadding, key, iv, false);
        const auto block = static_cast<int32_t>(cipher.block);
        EXPECT_EQ(cipher.id, unit->algorithm);
        EXPECT_EQ(block, unit->block_length);
        EXPECT_EQ(static_cast<int32_t>(cipher.key), unit->key_length);
        EXPECT_EQ(block, unit->iv_length);
        EXPECT_EQ(cipher.rc2_bits, unit->rc2_key_bits);
        EXPECT_EQ(kCbc, unit->mode);
        EXPECT_EQ(1, unit->no_padding);
        EXPECT_EQ(cipher.routines->cbc, unit->mode_routine);
        EXPECT_EQ(0, unit->encrypt);
        EXPECT_EQ(iv, Bytes(unit->initial_iv, unit->initial_iv + cipher.block));
        EXPECT_EQ(iv, Bytes(unit->working_iv, unit->working_iv + cipher.block));
        EXPECT_EQ(cipher.schedule, unit->schedule_size);
        EXPECT_EQ(block - 1, unit->block_mask);
        EXPECT_EQ(0xFFFFFFFFU, unit->init_marker);
        EXPECT_EQ(0, unit->proven);
        EXPECT_EQ(cipher.id, VRQ_Get_Block_Alg_ID(unit.get()));

        VRQ_Clean_BLOCK_CIPHER_Unit(unit.get());
        const VRQ_BLOCK_CIPHER_UNIT zero{};
        EXPECT_EQ(0, std::memcmp(&zero, unit.get(), sizeof zero)) << cipher.name;
    }
    const CipherUnit marked(vrq_New_BLOCK_CIPHER_Unit_Ex(5));
    EXPECT_EQ(5, marked->proven);
    VRQ_Clean_BLOCK_CIPHER_Unit(marked.get());
    EXPECT_EQ(5, marked->proven) << "never initialised";
}

} // namespace
