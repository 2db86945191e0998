// DES, triple DES, RC2, RC5 and Blowfish below the modes: known answers, every kernel of this
// processor against the block functions, key schedules, statuses, and comparison with libcrypto and
// Crypto++.
#include "cipher/bf_engine.h"
#include "cipher/des_engine.h"
#include "cipher/rc2_engine.h"
#include "cipher/rc5_engine.h"
#include "cipher/tables/bf.h"
#include "cipher/tables/des.h"
#include "foundation/bytes.h"
#include "foundation/cpu.h"
#include "harness/vectors.h"

#include <cryptopp/blowfish.h>
#include <cryptopp/des.h>
#include <cryptopp/rc2.h>
#include <cryptopp/rc5.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/provider.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <utility>

namespace {

using test::Bytes;
using test::from_hex;
using test::to_hex;

constexpr std::size_t kBlock = 8;

Bytes random_bytes(std::size_t size) {
    static std::mt19937 generator{20260102};
    Bytes bytes(size);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(generator());
    return bytes;
}

Bytes xored(Bytes a, const Bytes& b) {
    for (std::size_t i = 0; i < a.size(); ++i) a[i] = static_cast<std::uint8_t>(a[i] ^ b[i]);
    return a;
}

int32_t length_of(const Bytes& bytes) { return static_cast<int32_t>(bytes.size()); }

// The ciphers under one form. Cipher::Key holds the record of each direction.

template <class Record>
struct Records {
    Record encrypt{};
    Record decrypt{};
};

struct Des {
    using Engine = vrq::DesEngine;
    using Key = Records<VRQ_DES_KEY>;
    static constexpr const char* kVectors = "cipher/des.vec";
    static constexpr const char* kPrefix = "DES-ECB";
    static constexpr std::size_t kKeyLengths[] = {8};
    static void set_up(const Bytes& bytes, Key& key) {
        ASSERT_EQ(0U, vrq_Init_Encrypt_DES_Key(bytes.data(), &key.encrypt, 1));
        ASSERT_EQ(0U, vrq_Init_Encrypt_DES_Key(bytes.data(), &key.decrypt, 0));
    }
    static void run(const VRQ_DES_KEY& record, std::uint8_t* block, bool /*encrypt*/) {
        std::uint8_t other[kBlock];
        vrq_DES_Encrypt_Block2(block, other, &record);
        vrq_DES_Encrypt_Block(block, block, &record);
        ASSERT_EQ(0, std::memcmp(other, block, kBlock)) << "the block functions differ";
    }
    static Bytes peer(const Bytes& key, Bytes text) {
        const CryptoPP::DES::Encryption cipher(key.data(), key.size());
        cipher.ProcessBlock(text.data());
        return text;
    }
};

struct DesEde {
    using Engine = vrq::DesEdeEngine;
    using Key = Records<VRQ_DES_EDE_KEY>;
    static constexpr const char* kVectors = "cipher/des.vec";
    static constexpr const char* kPrefix = "DES-EDE";
    static constexpr std::size_t kKeyLengths[] = {16, 24};
    static void set_up(const Bytes& bytes, Key& key) {
        ASSERT_EQ(0U,
                  vrq_Init_Encrypt_DES_EDE_KEY(bytes.data(), length_of(bytes), &key.encrypt, 1));
        ASSERT_EQ(0U,
                  vrq_Init_Encrypt_DES_EDE_KEY(bytes.data(), length_of(bytes), &key.decrypt, 0));
    }
    static void run(const VRQ_DES_EDE_KEY& record, std::uint8_t* block, bool /*encrypt*/) {
        DES_EDE_encrypt_block(block, block, &record);
    }
    static Bytes peer(const Bytes& key, Bytes text) {
        if (key.size() == 24)
            CryptoPP::DES_EDE3::Encryption(key.data(), key.size()).ProcessBlock(text.data());
        else
            CryptoPP::DES_EDE2::Encryption(key.data(), key.size()).ProcessBlock(text.data());
        return text;
    }
};

struct Rc2 {
    using Engine = vrq::Rc2Engine;
    using Key = Records<VRQ_RC2_KEY>;
    static constexpr const char* kVectors = "cipher/rc2.vec";
    static constexpr const char* kPrefix = "RC2-ECB";
    static constexpr std::size_t kKeyLengths[] = {8, 16};
    static void set_up(const Bytes& bytes, Key& key) {
        const auto bits = 8 * static_cast<int64_t>(bytes.size());
        ASSERT_EQ(0U, vrq_Init_Encrypt_RC2_Key(bits, bytes.data(), length_of(bytes), &key.encrypt));
        key.decrypt = key.encrypt;
    }
    static void run(const VRQ_RC2_KEY& record, std::uint8_t* block, bool encrypt) {
        std::uint16_t words[4];
        std::memcpy(words, block, kBlock);
        (encrypt ? vrq_RC2_Encrypt_Block : vrq_RC2_Decrypt_Block)(words, &record);
        std::memcpy(block, words, kBlock);
    }
    static Bytes peer(const Bytes& key, Bytes text) {
        CryptoPP::RC2::Encryption cipher;
        cipher.SetKey(key.data(), key.size(),
                      CryptoPP::MakeParameters("EffectiveKeyLength", 8 * length_of(key)));
        cipher.ProcessBlock(text.data());
        return text;
    }
};

struct Rc5 {
    using Engine = vrq::Rc5Engine;
    using Key = Records<VRQ_RC5_KEY>;
    static constexpr const char* kVectors = "cipher/rc5.vec";
    static constexpr const char* kPrefix = "RC5-ECB";
    static constexpr std::size_t kKeyLengths[] = {16, 1, 7, 103, 105, 255};
    static void set_up(const Bytes& bytes, Key& key) {
        ASSERT_EQ(0U, vrq_Init_Encrypt_RC5_Key(bytes.data(), length_of(bytes), &key.encrypt));
        EXPECT_EQ(12, key.encrypt.rounds);
        key.decrypt = key.encrypt;
    }
    static void run(const VRQ_RC5_KEY& record, std::uint8_t* block, bool encrypt) {
        std::uint32_t words[2];
        std::memcpy(words, block, kBlock);
        (encrypt ? vrq_RC5_Encrypt_Block : vrq_RC5_Decrypt_Block)(words, &record);
        std::memcpy(block, words, kBlock);
    }
    static Bytes peer(const Bytes& key, Bytes text) {
        CryptoPP::RC5::Encryption cipher;
        cipher.SetKey(key.data(), key.size(), CryptoPP::MakeParameters("Rounds", 12));
        cipher.ProcessBlock(text.data());
        return text;
    }
};

struct Blowfish {
    using Engine = vrq::BfEngine;
    using Key = Records<VRQ_BF_KEY>;
    static constexpr const char* kVectors = "cipher/blowfish.vec";
    static constexpr const char* kPrefix = "BLOWFISH-ECB";
    static constexpr std::size_t kKeyLengths[] = {16, 5, 56};
    static void set_up(const Bytes& bytes, Key& key) {
        ASSERT_EQ(0U, vrq_Init_Encrypt_BF_Key(bytes.data(), length_of(bytes), &key.encrypt));
        key.decrypt = key.encrypt;
    }
    static void run(const VRQ_BF_KEY& record, std::uint8_t* block, bool encrypt) {
        std::uint32_t words[2] = {vrq::load_be<std::uint32_t>(block),
                                  vrq::load_be<std::uint32_t>(block + 4)};
        (encrypt ? vrq_BF_Encrypt_Block : vrq_BF_Decrypt_Block)(words, &record);
        vrq::store_be(block, words[0]);
        vrq::store_be(block + 4, words[1]);
    }
    static Bytes peer(const Bytes& key, Bytes text) {
        const CryptoPP::Blowfish::Encryption cipher(key.data(), key.size());
        cipher.ProcessBlock(text.data());
        return text;
    }
};

template <class Cipher>
class Block8 : public testing::Test {
  protected:
    using Key = typename Cipher::Key;

    static Bytes ecb(const Key& key, Bytes text, bool encrypt) {
        for (std::size_t i = 0; i < text.size(); i += kBlock)
            Cipher::run(encrypt ? key.encrypt : key.decrypt, &text[i], encrypt);
        return text;
    }

    // Runs the check on every kernel that this processor can run, with a zeroed schedule (a unit
    // whose key was never set up) and a key of each length.
    template <class Check>
    static void for_each_kernel(Check check) {
        std::vector<Key> keys(1);
        for (const std::size_t length : Cipher::kKeyLengths)
            Cipher::set_up(random_bytes(length), keys.emplace_back());
        for (const auto& kernel : Cipher::Engine::kernels()) {
            if (!vrq::cpu::has(kernel.needs)) continue;
            SCOPED_TRACE(kernel.name);
            for (const Key& key : keys) check(kernel, key);
        }
    }
};

using Ciphers = testing::Types<Des, DesEde, Rc2, Rc5, Blowfish>;
TYPED_TEST_SUITE(Block8, Ciphers);

TYPED_TEST(Block8, KnownAnswers) {
    int answers = 0;
    for (const test::Record& record : test::load_vectors(TypeParam::kVectors)) {
        const bool is_ecb = record.name.find("-ECB") != std::string::npos;
        if (!is_ecb || record.name.rfind(TypeParam::kPrefix, 0) != 0) continue;
        SCOPED_TRACE(record.where);
        typename TypeParam::Key key;
        TypeParam::set_up(record.bytes("key"), key);
        const Bytes plain = record.bytes("plaintext");
        const Bytes cipher = record.bytes("ciphertext");
        EXPECT_EQ(to_hex(cipher), to_hex(this->ecb(key, plain, true)));
        EXPECT_EQ(to_hex(plain), to_hex(this->ecb(key, cipher, false)));
        ++answers;
    }
    EXPECT_GT(answers, 0);
}

// One run of a kernel from and to misaligned buffers, then in place.
template <class Run, class Record>
void expect_blocks(const Bytes& expected, Run run, const Record& key, const Bytes& text) {
    constexpr std::uint8_t kGuard = 0x5A;
    const std::size_t blocks = text.size() / kBlock;
    const std::size_t offset = 1 + blocks % 15;
    Bytes in(offset + text.size());
    std::copy(text.begin(), text.end(), in.begin() + static_cast<long>(offset));
    Bytes out(offset + text.size() + kBlock, kGuard);
    run(key, &out[offset], in.data() + offset, blocks);
    run(key, in.data() + offset, in.data() + offset, blocks);

    Bytes guarded(offset, kGuard);
    guarded.insert(guarded.end(), expected.begin(), expected.end());
    guarded.insert(guarded.end(), kBlock, kGuard);
    EXPECT_EQ(guarded, out);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), in.data() + offset)) << "in place";
}

TYPED_TEST(Block8, KernelsAgreeWithTheBlockFunctions) {
    this->for_each_kernel([](const auto& kernel, const auto& key) {
        for (std::size_t blocks = 0; blocks < 256; blocks += blocks < 100 ? 1 : 5) {
            SCOPED_TRACE(blocks);
            const Bytes text = random_bytes(kBlock * blocks);
            expect_blocks(TestFixture::ecb(key, text, true), kernel.encrypt, key.encrypt, text);
            expect_blocks(TestFixture::ecb(key, text, false), kernel.decrypt, key.decrypt, text);
        }
    });
}

// A chained function of a kernel, out of place and in place, against the definition of the mode in
// SP 800-38A: step takes the chain and a block of input, and gives the chain and a block of output.
template <class Run, class Record, class Step>
void expect_chained(Run run, const Record& key, Bytes chain, std::size_t blocks, Step step) {
    if (run == nullptr) return;
    Bytes text = random_bytes(kBlock * blocks);
    Bytes expected;
    Bytes expected_chain = chain;
    for (auto begin = text.begin(); begin != text.end(); begin += kBlock) {
        const Bytes output = step(expected_chain, Bytes(begin, begin + kBlock));
        expected.insert(expected.end(), output.begin(), output.end());
    }

    Bytes out(text.size());
    Bytes out_chain = chain;
    run(key, out_chain.data(), out.data(), text.data(), blocks);
    run(key, chain.data(), text.data(), text.data(), blocks);
    EXPECT_EQ(expected, out);
    EXPECT_EQ(expected_chain, out_chain);
    EXPECT_EQ(expected, text) << "in place";
    EXPECT_EQ(expected_chain, chain);
}

void add_one(Bytes& counter) {
    for (std::size_t i = counter.size(); i-- != 0;) {
        if (++counter[i] != 0) return;
    }
}

TYPED_TEST(Block8, ChainedFunctionsFollowTheModes) {
    this->for_each_kernel([](const auto& kernel, const auto& key) {
        const auto encrypt = [&](const Bytes& text) { return TestFixture::ecb(key, text, true); };
        const auto decrypt = [&](const Bytes& text) { return TestFixture::ecb(key, text, false); };
        const auto& record = key.encrypt;
        for (std::size_t blocks = 0; blocks < 15; ++blocks) {
            SCOPED_TRACE(blocks);
            const Bytes iv = random_bytes(kBlock);
            expect_chained(kernel.cbc_encrypt, record, iv, blocks, [&](Bytes& chain, Bytes in) {
                return chain = encrypt(xored(in, chain));
            });
            expect_chained(kernel.cfb_encrypt, record, iv, blocks, [&](Bytes& chain, Bytes in) {
                return chain = xored(in, encrypt(chain));
            });
            expect_chained(kernel.ofb, record, iv, blocks, [&](Bytes& chain, Bytes in) {
                return xored(in, chain = encrypt(chain));
            });
            expect_chained(kernel.cbc_decrypt, key.decrypt, iv, blocks,
                           [&](Bytes& chain, Bytes in) {
                               return xored(decrypt(in), std::exchange(chain, in));
                           });
            expect_chained(kernel.cfb_decrypt, record, iv, blocks, [&](Bytes& chain, Bytes in) {
                return xored(in, encrypt(std::exchange(chain, in)));
            });
            for (const char* start : {"fffffffffffffffa", "00000000fffffffc", "0123456789abcdef"}) {
                expect_chained(kernel.ctr, record, from_hex(start), blocks,
                               [&](Bytes& chain, Bytes in) {
                                   const Bytes stream = encrypt(chain);
                                   add_one(chain);
                                   return xored(in, stream);
                               });
            }
        }
    });
}

TYPED_TEST(Block8, AgreesWithCryptoPp) {
    for (const std::size_t length : TypeParam::kKeyLengths) {
        for (int i = 0; i < 50; ++i) {
            const Bytes bytes = random_bytes(length);
            const Bytes text = random_bytes(kBlock);
            typename TypeParam::Key key;
            TypeParam::set_up(bytes, key);
            const Bytes expected = TypeParam::peer(bytes, text);
            ASSERT_EQ(expected, this->ecb(key, text, true)) << "key of " << length;
            ASSERT_EQ(text, this->ecb(key, expected, false)) << "key of " << length;
        }
    }
}

// libcrypto with the provider of the old ciphers.
class LibCrypto {
  public:
    LibCrypto() {
        for (std::size_t i = 0; i < 2; ++i)
            providers_[i] = OSSL_PROVIDER_load(context_, i == 0 ? "default" : "legacy");
    }
    ~LibCrypto() {
        for (OSSL_PROVIDER* provider : providers_) OSSL_PROVIDER_unload(provider);
        OSSL_LIB_CTX_free(context_);
    }
    LibCrypto(const LibCrypto&) = delete;
    LibCrypto& operator=(const LibCrypto&) = delete;

    // Empty when the cipher is not there.
    Bytes ecb(const char* name, const Bytes& key, const Bytes& text) const {
        EVP_CIPHER* cipher = EVP_CIPHER_fetch(context_, name, nullptr);
        if (cipher == nullptr) return {};
        EVP_CIPHER_CTX* state = EVP_CIPHER_CTX_new();
        Bytes out(text.size());
        int length = 0;
        EVP_EncryptInit_ex2(state, cipher, key.data(), nullptr, nullptr);
        EVP_CIPHER_CTX_set_padding(state, 0);
        EVP_EncryptUpdate(state, out.data(), &length, text.data(), static_cast<int>(text.size()));
        EVP_CIPHER_CTX_free(state);
        EVP_CIPHER_free(cipher);
        return out;
    }

  private:
    OSSL_LIB_CTX* context_ = OSSL_LIB_CTX_new();
    OSSL_PROVIDER* providers_[2];
};

template <class Cipher>
void expect_as_libcrypto(const LibCrypto& libcrypto, const char* name, std::size_t key_length) {
    for (int i = 0; i < 20; ++i) {
        const Bytes bytes = random_bytes(key_length);
        const Bytes text = random_bytes(37 * kBlock);
        typename Cipher::Key key;
        Cipher::set_up(bytes, key);
        Bytes out(text.size());
        Cipher::Engine::kernel().encrypt(key.encrypt, out.data(), text.data(), 37);
        ASSERT_EQ(libcrypto.ecb(name, bytes, text), out) << name;
        Cipher::Engine::kernel().decrypt(key.decrypt, out.data(), out.data(), 37);
        ASSERT_EQ(text, out) << name;
    }
}

TEST(Block8Peers, AgreesWithLibcrypto) {
    const LibCrypto libcrypto;
    expect_as_libcrypto<Des>(libcrypto, "DES-ECB", 8);
    expect_as_libcrypto<DesEde>(libcrypto, "DES-EDE3-ECB", 24);
    expect_as_libcrypto<DesEde>(libcrypto, "DES-EDE-ECB", 16);
    expect_as_libcrypto<Rc2>(libcrypto, "RC2-ECB", 16);
    expect_as_libcrypto<Blowfish>(libcrypto, "BF-ECB", 16);
}

// FIPS 46-3 bit by bit.
VRQ_DES_KEY expand_by_bits(const Bytes& key) {
    using namespace vrq::des_tables;
    bool chosen[56];
    for (std::size_t i = 0; i < 56; ++i) {
        const std::size_t bit = PChoice_1[i] - 1U;
        chosen[i] = (key[bit / 8] & BitArray[bit % 8]) != 0;
    }
    VRQ_DES_KEY record;
    for (std::size_t round = 0; round < 16; ++round) {
        std::rotate(chosen, chosen + LCShitSchedule[round], chosen + 28);
        std::rotate(chosen + 28, chosen + 28 + LCShitSchedule[round], chosen + 56);
        std::uint32_t groups[2] = {}; // of the S-boxes 1 to 4 and 5 to 8
        for (std::size_t i = 0; i < 48; ++i)
            groups[i / 24] |= chosen[PChoice_2[i] - 1U] ? bigbyte[i % 24] : 0;
        const auto group = [&](std::size_t box) {
            return groups[box / 4] >> (18 - 6 * (box % 4)) & 63;
        };
        for (std::size_t i = 0; i < 2; ++i)
            record.round_keys[round][i] =
                group(i) << 24 | group(i + 2) << 16 | group(i + 4) << 8 | group(i + 6);
    }
    return record;
}

bool same(const VRQ_DES_KEY& a, const VRQ_DES_KEY& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(DesKey, ScheduleOfTheStandardInTheOrderOfTheDirection) {
    for (int i = 0; i < 100; ++i) {
        const Bytes bytes = random_bytes(8);
        Des::Key key;
        Des::set_up(bytes, key);
        VRQ_DES_KEY expected = expand_by_bits(bytes);
        ASSERT_TRUE(same(expected, key.encrypt));
        std::reverse(std::begin(expected.round_keys), std::end(expected.round_keys));
        ASSERT_TRUE(same(expected, key.decrypt));

        Bytes other_parity = bytes;
        for (auto& byte : other_parity) byte ^= 1;
        Des::set_up(other_parity, key);
        ASSERT_TRUE(same(expected, key.decrypt)) << "parity bits count";
    }
}

TEST(DesKey, TripleDesIsBuiltFromThreeSchedules) {
    const Bytes bytes = random_bytes(24);
    Des::Key parts[3];
    for (std::size_t i = 0; i < 3; ++i)
        Des::set_up(Bytes(&bytes[8 * i], &bytes[8 * i] + 8), parts[i]);
    DesEde::Key key;
    DesEde::set_up(bytes, key);
    EXPECT_TRUE(same(parts[0].encrypt, key.encrypt.keys[0]));
    EXPECT_TRUE(same(parts[1].decrypt, key.encrypt.keys[1]));
    EXPECT_TRUE(same(parts[2].encrypt, key.encrypt.keys[2]));
    EXPECT_TRUE(same(parts[2].decrypt, key.decrypt.keys[0]));
    EXPECT_TRUE(same(parts[1].encrypt, key.decrypt.keys[1]));
    EXPECT_TRUE(same(parts[0].decrypt, key.decrypt.keys[2]));

    DesEde::set_up(Bytes(bytes.begin(), bytes.begin() + 16), key);
    EXPECT_TRUE(same(parts[0].encrypt, key.encrypt.keys[2])) << "a short key is K1 K2 K1";
    EXPECT_TRUE(same(parts[0].decrypt, key.decrypt.keys[0]));
}

TEST(DesKey, TripleDesWithEqualKeysIsDes) {
    const Bytes bytes = random_bytes(8);
    Bytes three;
    for (int i = 0; i < 3; ++i) three.insert(three.end(), bytes.begin(), bytes.end());
    Des::Key des;
    DesEde::Key ede;
    Des::set_up(bytes, des);
    DesEde::set_up(three, ede);
    Bytes a = random_bytes(kBlock);
    Bytes b = a;
    Des::run(des.encrypt, a.data(), true);
    DesEde::run(ede.encrypt, b.data(), true);
    EXPECT_EQ(a, b);
}

TEST(DesKey, Statuses) {
    const Bytes bytes = random_bytes(24);
    VRQ_DES_KEY des{};
    EXPECT_EQ(0U, vrq_Init_Encrypt_DES_Key(nullptr, &des, 1));
    EXPECT_EQ(0U, vrq_Init_Encrypt_DES_Key(bytes.data(), nullptr, 1));
    EXPECT_TRUE(same(VRQ_DES_KEY{}, des));

    VRQ_DES_EDE_KEY ede{};
    constexpr uint32_t kInvalid = 0x0807002B;
    for (const int32_t length : {8, 0, -24, 23, 25, 32})
        EXPECT_EQ(kInvalid, vrq_Init_Encrypt_DES_EDE_KEY(bytes.data(), length, &ede, 1)) << length;
    EXPECT_EQ(kInvalid, vrq_Init_Encrypt_DES_EDE_KEY(nullptr, 24, &ede, 1));
    EXPECT_EQ(kInvalid, vrq_Init_Encrypt_DES_EDE_KEY(bytes.data(), 24, nullptr, 0));
    for (const VRQ_DES_KEY& key : ede.keys) EXPECT_TRUE(same(VRQ_DES_KEY{}, key));
}

TEST(Rc2Key, EffectiveLengthsOfRfc2268) {
    struct Row {
        int64_t bits;
        const char* key;
        const char* plain;
        const char* cipher;
        int64_t bytes;
        uint64_t mask;
    };
    // RFC 2268 section 5
    const Row rows[] = {
        {63, "0000000000000000", "0000000000000000", "ebb773f993278eff", 8, 0x7F},
        {64, "88", "0000000000000000", "61a8a244adacccf0", 8, 0xFF},
        {64, "88bca90e90875a", "0000000000000000", "6ccf4308974c267f", 8, 0xFF},
        {64, "88bca90e90875a7f0f79c384627bafb2", "0000000000000000", "1a807d272bbe5db1", 8, 0xFF},
        {129, "88bca90e90875a7f0f79c384627bafb216f80a6f85920584c42fceb0be255daf1e",
         "0000000000000000", "5b78d3a43dfff1f1", 17, 0x01},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.cipher);
        const Bytes bytes = from_hex(row.key);
        VRQ_RC2_KEY key;
        ASSERT_EQ(0U, vrq_Init_Encrypt_RC2_Key(row.bits, bytes.data(), length_of(bytes), &key));
        EXPECT_EQ(row.bits, key.effective_bits);
        EXPECT_EQ(row.bytes, key.effective_bytes);
        EXPECT_EQ(row.mask, key.mask);
        Bytes block = from_hex(row.plain);
        Rc2::run(key, block.data(), true);
        EXPECT_EQ(row.cipher, to_hex(block));
    }
}

TEST(Rc2Key, Statuses) {
    const Bytes bytes = random_bytes(129);
    VRQ_RC2_KEY key{};
    constexpr uint32_t kInvalid = 0x1501002B;
    EXPECT_EQ(kInvalid, vrq_Init_Encrypt_RC2_Key(64, nullptr, 8, &key));
    EXPECT_EQ(kInvalid, vrq_Init_Encrypt_RC2_Key(64, bytes.data(), 8, nullptr));
    for (const int32_t length : {-1, 0, 129, INT32_MIN})
        EXPECT_EQ(kInvalid, vrq_Init_Encrypt_RC2_Key(64, bytes.data(), length, &key)) << length;
    for (const int64_t bits : {int64_t{-8}, int64_t{0}, int64_t{1025}, int64_t{64} << 32})
        EXPECT_EQ(kInvalid, vrq_Init_Encrypt_RC2_Key(bits, bytes.data(), 8, &key)) << bits;
    EXPECT_EQ(0, key.effective_bits);
    EXPECT_EQ(0U, vrq_Init_Encrypt_RC2_Key(1, bytes.data(), 1, &key));
    EXPECT_EQ(0U, vrq_Init_Encrypt_RC2_Key(1024, bytes.data(), 128, &key));
    EXPECT_EQ(0, std::memcmp(key.expanded_key + 1, &bytes[1], 127)) << "nothing to reduce";
}

TEST(Rc5Key, Statuses) {
    const Bytes bytes = random_bytes(256);
    VRQ_RC5_KEY key{};
    constexpr uint32_t kInvalid = 0x1701002B;
    EXPECT_EQ(kInvalid, vrq_Init_Encrypt_RC5_Key(nullptr, 16, &key));
    EXPECT_EQ(kInvalid, vrq_Init_Encrypt_RC5_Key(bytes.data(), 16, nullptr));
    for (const int32_t length : {-16, 0, 256, INT32_MAX})
        EXPECT_EQ(kInvalid, vrq_Init_Encrypt_RC5_Key(bytes.data(), length, &key)) << length;
    EXPECT_EQ(0, key.rounds);
}

TEST(BlowfishKey, VectorsOfOtherKeyLengths) {
    struct Row {
        const char* key;
        const char* plain;
        const char* cipher;
    };
    // E. Young's list, as published with the cipher
    const Row rows[] = {
        {"0000000000000000", "0000000000000000", "4ef997456198dd78"},
        {"ffffffffffffffff", "ffffffffffffffff", "51866fd5b85ecb8a"},
        {"3000000000000000", "1000000000000001", "7d856f9a613063f2"},
        {"f0", "fedcba9876543210", "f9ad597c49db005e"},
        {"f0e1", "fedcba9876543210", "e91d21c1d961a6d6"},
        {"f0e1d2c3b4a5968778695a4b3c2d1e0f0011223344556677", "fedcba9876543210",
         "05044b62fa52d080"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.key);
        Blowfish::Key key;
        Blowfish::set_up(from_hex(row.key), key);
        Bytes block = from_hex(row.plain);
        Blowfish::run(key.encrypt, block.data(), true);
        EXPECT_EQ(row.cipher, to_hex(block));
    }
}

TEST(BlowfishKey, BytesAreCycledOverTheFirst72) {
    const Bytes once = random_bytes(16);
    Bytes cycled;
    while (cycled.size() < 72) cycled.push_back(once[cycled.size() % once.size()]);
    cycled.push_back(0xA5);
    VRQ_BF_KEY expected;
    VRQ_BF_KEY key;
    ASSERT_EQ(0U, vrq_Init_Encrypt_BF_Key(once.data(), 16, &expected));
    ASSERT_EQ(0U, vrq_Init_Encrypt_BF_Key(cycled.data(), 73, &key));
    EXPECT_EQ(0, std::memcmp(&expected, &key, sizeof key));
}

TEST(BlowfishKey, Statuses) {
    const Bytes bytes = random_bytes(16);
    auto key = std::make_unique<VRQ_BF_KEY>();
    constexpr uint32_t kInvalid = 0x0301002B;
    EXPECT_EQ(kInvalid, vrq_Init_Encrypt_BF_Key(nullptr, 16, key.get()));
    EXPECT_EQ(kInvalid, vrq_Init_Encrypt_BF_Key(bytes.data(), 0, key.get()));
    EXPECT_EQ(kInvalid, vrq_Init_Encrypt_BF_Key(bytes.data(), -1, key.get()));
    EXPECT_EQ(kInvalid, vrq_Init_Encrypt_BF_Key(bytes.data(), 16, nullptr));
    EXPECT_EQ(0U, key->p[0]);
    EXPECT_EQ(0x243F6A88U, vrq::bf_tables::bf_init.p[0]);
    EXPECT_EQ(0x3AC372E6U, vrq::bf_tables::bf_init.s[3][255]);
}

template <class Word, class Record>
void expect_nothing_done(void (*function)(Word*, const Record*)) {
    const auto record = std::make_unique<Record>();
    Word block[4] = {1, 2, 3, 4};
    function(nullptr, record.get());
    function(block, nullptr);
    EXPECT_EQ(1, block[0]);
    EXPECT_EQ(2, block[1]);
}

TEST(Block8Null, BlockFunctionsDoNothing) {
    expect_nothing_done(vrq_RC2_Encrypt_Block);
    expect_nothing_done(vrq_RC2_Decrypt_Block);
    expect_nothing_done(vrq_RC5_Encrypt_Block);
    expect_nothing_done(vrq_RC5_Decrypt_Block);
    expect_nothing_done(vrq_BF_Encrypt_Block);
    expect_nothing_done(vrq_BF_Decrypt_Block);

    const VRQ_DES_EDE_KEY key{};
    std::uint8_t block[kBlock] = {1};
    for (const auto function : {vrq_DES_Encrypt_Block, vrq_DES_Encrypt_Block2}) {
        function(nullptr, block, key.keys);
        function(block, nullptr, key.keys);
        function(block, block, nullptr);
    }
    DES_EDE_encrypt_block(nullptr, block, &key);
    DES_EDE_encrypt_block(block, nullptr, &key);
    DES_EDE_encrypt_block(block, block, nullptr);
    EXPECT_EQ(1, block[0]);
}

} // namespace
