// ARIA, SEED and LEA below the modes: known answers, every kernel of this processor against the block
// functions, key schedules, statuses, and comparison with libcrypto and Crypto++.
#include "cipher/aria_engine.h"
#include "cipher/lea_engine.h"
#include "cipher/seed_engine.h"
#include "foundation/cpu.h"
#include "harness/vectors.h"

#include <cryptopp/aria.h>
#include <cryptopp/lea.h>
#include <cryptopp/seed.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/provider.h>

#include <cstring>
#include <memory>
#include <random>

namespace {

using test::Bytes;
using test::from_hex;
using test::to_hex;

Bytes random_bytes(std::size_t size) {
    static std::mt19937 generator{20260101};
    Bytes bytes(size);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(generator());
    return bytes;
}

Bytes xored(Bytes a, const Bytes& b) {
    for (std::size_t i = 0; i < a.size(); ++i) a[i] = static_cast<std::uint8_t>(a[i] ^ b[i]);
    return a;
}

// The three ciphers under one form: set_up serves both directions.

struct Aria {
    using Engine = vrq::AriaEngine;
    using Peer = CryptoPP::ARIA;
    using Key = VRQ_ARIA_KEY;
    static constexpr const char* kName = "ARIA";
    static constexpr const char* kVectors = "cipher/aria.vec";
    static constexpr std::size_t kKeyLengths[] = {16, 24, 32};
    static constexpr auto encrypt = vrq_ARIA_Encrypt_Block;
    static constexpr auto decrypt = vrq_ARIA_Decrypt_Block;
    static void set_up(const Bytes& bytes, Key& key) {
        const auto length = static_cast<int32_t>(bytes.size());
        ASSERT_EQ(0U, vrq_Init_Encrypt_ARIA_Key(bytes.data(), length, &key));
        ASSERT_EQ(0U, vrq_Init_Decrypt_ARIA_Key(bytes.data(), length, &key));
    }
};

struct Seed {
    using Engine = vrq::SeedEngine;
    using Peer = CryptoPP::SEED;
    using Key = VRQ_SEED_KEY;
    static constexpr const char* kName = "SEED";
    static constexpr const char* kVectors = "cipher/seed.vec";
    static constexpr std::size_t kKeyLengths[] = {16, 32};
    static constexpr auto encrypt = vrq_SEED_Encrypt_Block;
    static constexpr auto decrypt = vrq_SEED_Decrypt_Block;
    static void set_up(const Bytes& bytes, Key& key) {
        ASSERT_EQ(0U, bytes.size() == 32 ? vrq_Init_Encrypt_SEED_Key_256(bytes.data(), &key)
                                         : vrq_Init_Encrypt_SEED_Key(bytes.data(), &key));
    }
};

struct Lea {
    using Engine = vrq::LeaEngine;
    using Peer = CryptoPP::LEA;
    using Key = VRQ_LEA_KEY;
    static constexpr const char* kName = "LEA";
    static constexpr const char* kVectors = "cipher/lea.vec";
    static constexpr std::size_t kKeyLengths[] = {16, 24, 32};
    static constexpr auto encrypt = vrq_LEA_Encrypt_Block;
    static constexpr auto decrypt = vrq_LEA_Decrypt_Block;
    static void set_up(const Bytes& bytes, Key& key) {
        const auto length = static_cast<int32_t>(bytes.size());
        ASSERT_EQ(0U, vrq_Init_Encrypt_LEA_Key(bytes.data(), length, &key));
    }
};

template <class Cipher>
class Block16 : public testing::Test {
  protected:
    using Key = typename Cipher::Key;
    using Kernel = vrq::BlockKernel<Key>;

    static Bytes ecb(const Key& key, Bytes text, bool encrypt) {
        for (std::size_t i = 0; i < text.size(); i += 16)
            (encrypt ? Cipher::encrypt : Cipher::decrypt)(&text[i], &text[i], &key);
        return text;
    }

    // Runs the check on every kernel that this processor can run, for every key length.
    template <class Check>
    static void for_each_kernel(Check check) {
        for (const std::size_t length : Cipher::kKeyLengths) {
            Key key{};
            Cipher::set_up(random_bytes(length), key);
            for (const Kernel& kernel : Cipher::Engine::kernels()) {
                if (!vrq::cpu::has(kernel.needs)) continue;
                SCOPED_TRACE(std::string(kernel.name) + ", key of " + std::to_string(length));
                check(kernel, key);
            }
        }
    }
};

using Ciphers = testing::Types<Aria, Seed, Lea>;
TYPED_TEST_SUITE(Block16, Ciphers);

TYPED_TEST(Block16, KnownAnswers) {
    std::map<std::size_t, int> answers;
    for (const test::Record& record : test::load_vectors(TypeParam::kVectors)) {
        if (record.name.find("-ECB") == std::string::npos) continue;
        SCOPED_TRACE(record.where);
        const Bytes key_bytes = record.bytes("key");
        typename TypeParam::Key key{};
        TypeParam::set_up(key_bytes, key);
        EXPECT_EQ(record.text("ciphertext"),
                  to_hex(this->ecb(key, record.bytes("plaintext"), true)));
        EXPECT_EQ(record.text("plaintext"),
                  to_hex(this->ecb(key, record.bytes("ciphertext"), false)));
        ++answers[key_bytes.size()];
    }
    for (const std::size_t length : TypeParam::kKeyLengths)
        EXPECT_GT(answers[length], 0) << "no vector for a key of " << length;
}

// One run of a kernel from and to misaligned buffers, then in place.
template <class Run, class Key>
void expect_blocks(const Bytes& expected, Run run, const Key& key, const Bytes& text) {
    constexpr std::uint8_t kGuard = 0x5A;
    const std::size_t offset = 1 + text.size() / 16 % 15;
    Bytes in(offset + text.size());
    std::copy(text.begin(), text.end(), in.begin() + static_cast<long>(offset));
    Bytes out(offset + text.size() + 16, kGuard);
    run(key, &out[offset], in.data() + offset, text.size() / 16);
    run(key, in.data() + offset, in.data() + offset, text.size() / 16);

    Bytes guarded(offset, kGuard);
    guarded.insert(guarded.end(), expected.begin(), expected.end());
    guarded.insert(guarded.end(), 16, kGuard);
    EXPECT_EQ(guarded, out);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), in.data() + offset)) << "in place";
}

TYPED_TEST(Block16, KernelsAgreeWithTheBlockFunctions) {
    this->for_each_kernel([](const auto& kernel, const auto& key) {
        for (std::size_t blocks = 0; blocks < 256; ++blocks) {
            SCOPED_TRACE(blocks);
            const Bytes text = random_bytes(16 * blocks);
            expect_blocks(TestFixture::ecb(key, text, true), kernel.encrypt, key, text);
            expect_blocks(TestFixture::ecb(key, text, false), kernel.decrypt, key, text);
        }
    });
}

enum class Mode { kCbc, kCfb, kOfb };

// Whole blocks in a serial mode, as SP 800-38A defines it.
template <class Encrypt>
Bytes chained(Mode mode, Bytes& chain, const Bytes& text, Encrypt encrypt) {
    Bytes result;
    for (auto begin = text.begin(); begin != text.end(); begin += 16) {
        const Bytes block(begin, begin + 16);
        chain = encrypt(mode == Mode::kCbc ? xored(chain, block) : chain);
        const Bytes output = mode == Mode::kCbc ? chain : xored(chain, block);
        if (mode == Mode::kCfb) chain = output;
        result.insert(result.end(), output.begin(), output.end());
    }
    return result;
}

template <class Run, class Key, class Encrypt>
void expect_chained(Mode mode, Run run, const Key& key, std::size_t blocks, Encrypt encrypt) {
    Bytes text = random_bytes(16 * blocks);
    Bytes chain = random_bytes(16);
    Bytes out(text.size());
    Bytes out_chain = chain;
    run(key, out_chain.data(), out.data(), text.data(), blocks);
    Bytes expected_chain = chain;
    const Bytes expected = chained(mode, expected_chain, text, encrypt);
    run(key, chain.data(), text.data(), text.data(), blocks);
    EXPECT_EQ(expected, out);
    EXPECT_EQ(expected_chain, out_chain);
    EXPECT_EQ(expected, text) << "in place";
    EXPECT_EQ(expected_chain, chain);
}

TYPED_TEST(Block16, SerialFunctionsChainAsDefined) {
    this->for_each_kernel([](const auto& kernel, const auto& key) {
        const auto encrypt = [&key](const Bytes& text) {
            return TestFixture::ecb(key, text, true);
        };
        for (std::size_t blocks = 0; blocks < 6; ++blocks) {
            expect_chained(Mode::kCbc, kernel.cbc_encrypt, key, blocks, encrypt);
            expect_chained(Mode::kCfb, kernel.cfb_encrypt, key, blocks, encrypt);
            expect_chained(Mode::kOfb, kernel.ofb, key, blocks, encrypt);
        }
    });
}

TYPED_TEST(Block16, AgreesWithCryptoPp) {
    for (const std::size_t length : TypeParam::kKeyLengths) {
        if (!typename TypeParam::Peer::Encryption().IsValidKeyLength(length)) continue;
        for (int i = 0; i < 200; ++i) {
            const Bytes key_bytes = random_bytes(length);
            const Bytes text = random_bytes(16);
            typename TypeParam::Key key{};
            TypeParam::set_up(key_bytes, key);
            Bytes expected(16);
            typename TypeParam::Peer::Encryption(key_bytes.data(), length)
                .ProcessBlock(text.data(), expected.data());
            ASSERT_EQ(expected, this->ecb(key, text, true));
            ASSERT_EQ(text, this->ecb(key, expected, false));
        }
    }
}

// A unit whose key was never set up works on a zeroed schedule, and a record may hold any count of
// rounds: nothing outside it is touched and the output depends on the input alone.
TYPED_TEST(Block16, AnyRoundCountStaysInsideTheRecord) {
    for (const int32_t rounds : {0, 1, 2, 13, 15, 17, 33, 49, -1, INT32_MAX, INT32_MIN}) {
        SCOPED_TRACE(rounds);
        auto key = std::make_unique<typename TypeParam::Key>();
        constexpr std::size_t kRoundsAt = sizeof *key - sizeof rounds;
        std::memcpy(reinterpret_cast<std::uint8_t*>(key.get()) + kRoundsAt, &rounds, sizeof rounds);
        const Bytes text = random_bytes(16 * 70);
        for (const auto& kernel : TypeParam::Engine::kernels()) {
            if (!vrq::cpu::has(kernel.needs)) continue;
            expect_blocks(this->ecb(*key, text, true), kernel.encrypt, *key, text);
            expect_blocks(this->ecb(*key, text, false), kernel.decrypt, *key, text);
        }
    }
}

TYPED_TEST(Block16, NullArgumentsOfTheBlockFunctionsDoNothing) {
    const typename TypeParam::Key key{};
    const Bytes in = random_bytes(16);
    Bytes out(16, 0x5A);
    for (const auto function : {TypeParam::encrypt, TypeParam::decrypt}) {
        function(nullptr, out.data(), &key);
        function(in.data(), nullptr, &key);
        function(in.data(), out.data(), nullptr);
    }
    EXPECT_EQ(Bytes(16, 0x5A), out);
}

// libcrypto with the provider that has SEED.
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
    Bytes ecb(const std::string& name, const Bytes& key, const Bytes& text) const {
        EVP_CIPHER* cipher = EVP_CIPHER_fetch(context_, name.c_str(), nullptr);
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

TEST(Block16Peers, AriaAndSeedAgreeWithLibcrypto) {
    const LibCrypto libcrypto;
    for (int i = 0; i < 100; ++i) {
        const Bytes text = random_bytes(16 * 5);
        for (const std::size_t length : Aria::kKeyLengths) {
            const Bytes bytes = random_bytes(length);
            const std::string name = "ARIA-" + std::to_string(8 * length) + "-ECB";
            VRQ_ARIA_KEY key{};
            Aria::set_up(bytes, key);
            Bytes out(text.size());
            vrq::AriaEngine::kernel().encrypt(key, out.data(), text.data(), 5);
            ASSERT_EQ(libcrypto.ecb(name, bytes, text), out);
        }
        const Bytes bytes = random_bytes(16);
        VRQ_SEED_KEY key{};
        Seed::set_up(bytes, key);
        Bytes out(text.size());
        vrq::SeedEngine::kernel().encrypt(key, out.data(), text.data(), 5);
        ASSERT_EQ(libcrypto.ecb("SEED-ECB", bytes, text), out);
    }
}

const Bytes kCounting =
    from_hex("000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f");

TEST(AriaKey, ScheduleOfTheStandard) {
    VRQ_ARIA_KEY key{};
    const auto round_key = [](const std::uint8_t(&k)[16]) { return to_hex(Bytes(k, k + 16)); };

    // RFC 5794 appendix A.1
    ASSERT_EQ(0U, vrq_Init_Encrypt_ARIA_Key(kCounting.data(), 16, &key));
    EXPECT_EQ(12, key.rounds);
    EXPECT_EQ("d415a75c794b85c5e0d2a0b3cb793bf6", round_key(key.encrypt_keys[0]));
    EXPECT_EQ("0f0aa16daee61bd7dfee5a599970fb35", round_key(key.encrypt_keys[12]));
    EXPECT_EQ(std::string(32, '0'), round_key(key.encrypt_keys[13]));
}

TEST(AriaKey, EachSetUpZeroesAndFillsItsOwnArea) {
    VRQ_ARIA_KEY key;
    std::memset(&key, 0xA5, sizeof key);
    const Bytes untouched(272, 0xA5);
    ASSERT_EQ(0U, vrq_Init_Decrypt_ARIA_Key(kCounting.data(), 24, &key));
    EXPECT_EQ(0, std::memcmp(key.encrypt_keys, untouched.data(), 272));
    EXPECT_EQ(14, key.rounds);
    EXPECT_EQ(0, key.decrypt_keys[15][0]) << "beyond the rounds";

    const VRQ_ARIA_KEY before = key;
    ASSERT_EQ(0U, vrq_Init_Encrypt_ARIA_Key(kCounting.data(), 16, &key));
    EXPECT_EQ(0, std::memcmp(key.decrypt_keys, before.decrypt_keys, 272));
    EXPECT_EQ(12, key.rounds);
    EXPECT_EQ(0, key.encrypt_keys[13][0]) << "beyond the rounds";
}

TEST(AriaKey, RoundKeyFunctions) {
    std::uint8_t area[272];
    VRQ_ARIA_KEY key{};
    for (const int32_t bits : {128, 192, 256}) {
        const int32_t rounds = 8 + bits / 32;
        const auto used = 16 * static_cast<std::size_t>(rounds + 1);
        Aria::set_up(Bytes(kCounting.begin(), kCounting.begin() + bits / 8), key);
        EXPECT_EQ(rounds, set_encrypt_key(kCounting.data(), area, bits));
        EXPECT_EQ(0, std::memcmp(area, key.encrypt_keys, used));
        EXPECT_EQ(rounds, set_decrypt_key(kCounting.data(), area, bits));
        EXPECT_EQ(0, std::memcmp(area, key.decrypt_keys, used));
    }
    EXPECT_EQ(0, std::memcmp(key.decrypt_keys[0], key.encrypt_keys[16], 16));
    EXPECT_EQ(0, std::memcmp(key.decrypt_keys[16], key.encrypt_keys[0], 16));

    std::uint8_t kept[sizeof area];
    std::memcpy(kept, area, sizeof area);
    for (const int32_t bits : {0, 16, 160, 512, -128}) {
        EXPECT_EQ(0, set_encrypt_key(kCounting.data(), area, bits));
        EXPECT_EQ(0, set_decrypt_key(kCounting.data(), area, bits));
    }
    EXPECT_EQ(0, set_encrypt_key(nullptr, area, 128));
    EXPECT_EQ(0, set_decrypt_key(kCounting.data(), nullptr, 128));
    EXPECT_EQ(0, std::memcmp(kept, area, sizeof area));
}

TEST(AriaKey, Statuses) {
    VRQ_ARIA_KEY key{};
    constexpr uint32_t kInvalid = 0x0201002B;
    for (const auto init : {vrq_Init_Encrypt_ARIA_Key, vrq_Init_Decrypt_ARIA_Key}) {
        EXPECT_EQ(kInvalid, init(nullptr, 16, &key));
        EXPECT_EQ(kInvalid, init(kCounting.data(), 16, nullptr));
        for (const int32_t length : {-16, 0, 15, 20, 33, 128})
            EXPECT_EQ(kInvalid, init(kCounting.data(), length, &key));
    }
    EXPECT_EQ(0, key.rounds);
}

TEST(AriaPrint, GroupsOfFourBytes) {
    const std::pair<int32_t, std::string> cases[] = {{-1, ""},           {0, ""},
                                                     {1, "00"},          {4, "00010203"},
                                                     {5, "00010203 04"}, {8, "00010203 04050607"}};
    const auto printed = [](auto print) {
        testing::internal::CaptureStdout();
        print();
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    };
    for (const auto& [length, text] : cases)
        EXPECT_EQ(text, printed([n = length] { printBlockOfLength(kCounting.data(), n); }));
    EXPECT_EQ("00010203 04050607 08090a0b 0c0d0e0f", printed([] { printBlock(kCounting.data()); }));
    EXPECT_EQ("", printed([] { printBlock(nullptr); }));
}

TEST(SeedKey, Schedules) {
    // RFC 4269 appendix B.1
    VRQ_SEED_KEY key{};
    EXPECT_EQ(0U, vrq_Init_Encrypt_SEED_Key(Bytes(16).data(), &key));
    EXPECT_EQ(32, key.num_words);
    EXPECT_EQ(0x7C8F8C7EU, key.round_keys[0]);
    EXPECT_EQ(0xC737A22CU, key.round_keys[1]);
    EXPECT_EQ(0x71891150U, key.round_keys[30]);
    EXPECT_EQ(0x98B255B0U, key.round_keys[31]);
    EXPECT_EQ(0U, key.round_keys[32]);

    // The 256-bit schedule: the rotations show in the words after the first two.
    EXPECT_EQ(0U, vrq_Init_Encrypt_SEED_Key_256(kCounting.data(), &key));
    EXPECT_EQ(48, key.num_words);
    const std::pair<std::size_t, std::uint32_t> words[] = {
        {0, 0x2E718749}, {1, 0x902D320D},  {2, 0xEFDE7513},  {3, 0xB60BB99A},  {4, 0x298B1317},
        {5, 0xC88CD282}, {44, 0x8FFDD4C0}, {45, 0x189BF4FB}, {46, 0xEE79B026}, {47, 0x23E47DE9}};
    for (const auto& [index, word] : words) EXPECT_EQ(word, key.round_keys[index]) << index;

    const VRQ_SEED_KEY before = key;
    for (const auto init : {vrq_Init_Encrypt_SEED_Key, vrq_Init_Encrypt_SEED_Key_256}) {
        EXPECT_EQ(0U, init(nullptr, &key));
        EXPECT_EQ(0U, init(kCounting.data(), nullptr));
    }
    EXPECT_EQ(0, std::memcmp(&before, &key, sizeof key));
}

TEST(SeedBox, HoldsTheTablesOfTheStandard) {
    // RFC 4269 appendix A: the first and last entry of each table
    const std::uint32_t ends[4][2] = {{0x2989A1A8, 0x1A8A9298},
                                      {0x38380830, 0xB43787B3},
                                      {0xA1A82989, 0x92981A8A},
                                      {0x08303838, 0x87B3B437}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(ends[i][0], SEED_BOX[i][0]);
        EXPECT_EQ(ends[i][1], SEED_BOX[i][255]);
    }
}

TEST(LeaKey, Schedules) {
    // Annex of KS X 3246: first and last round of each key length
    const Bytes bytes =
        from_hex("0f1e2d3c4b5a69788796a5b4c3d2e1f0f0e1d2c3b4a5968778695a4b3c2d1e0f");
    struct Case {
        int32_t length;
        int32_t rounds;
        std::uint32_t first[6];
        std::uint32_t last[6];
    };
    const Case cases[] = {
        {16,
         24,
         {0x003A0FD4, 0x02497010, 0x194F7DB1, 0x02497010, 0x090D0883, 0x02497010},
         {0x0BF6ADBA, 0xDF69029D, 0x5B72305A, 0xDF69029D, 0xCB47C19F, 0xDF69029D}},
        {24,
         28,
         {0x003A0FD4, 0x02497010, 0x194F7DB1, 0x090D0883, 0x2FF5805A, 0xC2580B27},
         {0xBD948525, 0x2C75004D, 0xC52486D5, 0x0F07E2FA, 0x1963E1FD, 0x882719C3}},
        {32,
         32,
         {0x003A0FD4, 0x02497010, 0x194F7DB1, 0x090D0883, 0x2FF5805A, 0xC2580B27},
         {0x71C683E8, 0x8069DFD0, 0x6C1A501D, 0x00699418, 0x262142F0, 0xA91A7393}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.length);
        VRQ_LEA_KEY key{};
        ASSERT_EQ(0U, vrq_Init_Encrypt_LEA_Key(bytes.data(), c.length, &key));
        EXPECT_EQ(c.rounds, key.rounds);
        EXPECT_EQ(0, std::memcmp(c.first, key.round_keys, sizeof c.first));
        EXPECT_EQ(0, std::memcmp(c.last, key.round_keys + 6 * (c.rounds - 1), sizeof c.last));
    }
}

TEST(LeaKey, RefusesOtherLengthsAndNull) {
    VRQ_LEA_KEY key{};
    for (const int32_t length : {-16, 0, 15, 20, 33})
        EXPECT_EQ(1U, vrq_Init_Encrypt_LEA_Key(kCounting.data(), length, &key));
    EXPECT_EQ(1U, vrq_Init_Encrypt_LEA_Key(nullptr, 16, &key));
    EXPECT_EQ(1U, vrq_Init_Encrypt_LEA_Key(kCounting.data(), 16, nullptr));
    EXPECT_EQ(0, key.rounds);
}

} // namespace
