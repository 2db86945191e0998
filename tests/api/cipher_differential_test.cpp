// The block cipher unit against libcrypto and Crypto++: random keys, lengths and cuts.
#include "harness/cipher_peers.h"

#include "api/cipher_cases.h"

namespace {

using namespace test;

// One message in libcrypto, padded where the mode pads.
Bytes run_evp(const CipherCase& cipher, const EVP_CIPHER* evp, const Bytes& key, const Bytes& iv,
              const Bytes& text, bool encrypt) {
    const EvpContext context = evp_context(cipher, evp, encrypt);
    EXPECT_EQ(1,
              EVP_CipherInit_ex2(context.get(), nullptr, key.data(), iv.data(), encrypt, nullptr));
    Bytes out(text.size() + 32);
    int updated = 0;
    int finished = 0;
    EXPECT_EQ(1, EVP_CipherUpdate(context.get(), out.data(), &updated, text.data(),
                                  static_cast<int>(text.size())));
    EXPECT_EQ(1, EVP_CipherFinal_ex(context.get(), out.data() + updated, &finished));
    out.resize(static_cast<std::size_t>(updated + finished));
    return out;
}

// Runs the check for every algorithm and mode that the unit offers, with a random key and IV.
template <class Check>
void for_each_mode(Random& random, Check check) {
    for (const CipherCase& cipher : kCipherCases) {
        for (std::size_t m = 0; m < std::size(kUnitModes); ++m) {
            if (!offers(cipher, kUnitModes[m])) continue;
            SCOPED_TRACE(std::string(cipher.name) + " " + kUnitModeNames[m]);
            for (uint32_t i = 0; i < 40; ++i) {
                const uint32_t longest = i % 4 == 0 ? 2000 : 100;
                check(cipher, m, random.bytes(cipher.key), random.bytes(cipher.block),
                      random.bytes(1 + random.below(longest)));
            }
        }
    }
}

TEST(CipherDifferential, UnitAgreesWithLibcrypto) {
    Random random(51);
    LibCrypto libcrypto;
    std::map<std::string, const EVP_CIPHER*> compared;
    for_each_mode(random, [&](const CipherCase& cipher, std::size_t m, const Bytes& key,
                              const Bytes& iv, const Bytes& text) {
        const std::string name = std::string(cipher.name) + kUnitModeNames[m];
        if (compared.count(name) == 0) compared[name] = libcrypto.find(cipher, kUnitModeNames[m]);
        const EVP_CIPHER* evp = compared[name];
        if (evp == nullptr) return;

        const uint32_t id = cipher.id | kUnitModes[m];
        const CipherUnit forward = cipher_unit(id, key, iv, true);
        const Outcome out = run_message(forward.get(), text, random_cut(random, text.size(), 64));
        ASSERT_EQ(run_evp(cipher, evp, key, iv, text, true), out.data);

        const CipherUnit back =
            cipher_unit(is_stream(kUnitModes[m]) ? id | kNoPadding : id, key, iv, false);
        const Outcome plain =
            run_message(back.get(), out.data, random_cut(random, out.data.size(), 64));
        ASSERT_EQ(0U, plain.final_status);
        ASSERT_EQ(text, plain.data);
        ASSERT_EQ(text, run_evp(cipher, evp, key, iv, out.data, false));
    });
    std::erase_if(compared, [](const auto& entry) { return entry.second == nullptr; });
    EXPECT_GE(compared.size(), 34U);
}

// Crypto++ has what libcrypto lacks: LEA, RC5 and more CTR. Whole blocks.
TEST(CipherDifferential, UnitAgreesWithCryptoPp) {
    Random random(52);
    for_each_mode(random, [&](const CipherCase& cipher, std::size_t m, const Bytes& key,
                              const Bytes& iv, Bytes text) {
        text.resize((text.size() + 15) / 16 * 16);
        for (const bool encrypt : {true, false}) {
            const auto peer =
                CryptoPpMode::make(cipher, kUnitModes[m], key.data(), iv.data(), encrypt);
            if (peer == nullptr) return;
            Bytes expected(text.size());
            peer->run(iv.data(), expected.data(), text.data(), text.size());
            const CipherUnit unit =
                cipher_unit(cipher.id | kUnitModes[m] | kNoPadding, key, iv, encrypt);
            ASSERT_EQ(expected, run_whole(unit.get(), text));
        }
    });
}

// CFB8 and CFB1 of the engines.
TEST(CipherDifferential, PartialFeedbackAgreesWithLibcrypto) {
    Random random(53);
    LibCrypto libcrypto;
    int compared = 0;
    for (const CipherCase& cipher : kCipherCases) {
        const std::pair<const char*, ModeRoutine> rows[] = {{"CFB8", cipher.routines->cfb_8},
                                                            {"CFB1", cipher.routines->cfb_1}};
        for (const auto& [mode, routine] : rows) {
            const EVP_CIPHER* evp = libcrypto.find(cipher, mode);
            if (evp == nullptr) continue;
            SCOPED_TRACE(std::string(cipher.name) + " " + mode);
            ++compared;
            for (const bool encrypt : {true, false}) {
                const Bytes key = random.bytes(cipher.key);
                const Bytes iv = random.bytes(cipher.block);
                const Bytes text = random.bytes(1 + random.below(60));
                const CipherUnit unit = cipher_unit(cipher.id | kCfb, key, iv, encrypt);
                const auto count =
                    static_cast<uint32_t>(text.size()) * (mode == std::string("CFB1") ? 8 : 1);
                Bytes out(text.size());
                ASSERT_EQ(0U, routine(unit.get(), out.data(), text.data(), count));
                EXPECT_EQ(run_evp(cipher, evp, key, iv, text, encrypt), out);
            }
        }
    }
    EXPECT_GE(compared, 12);
}

} // namespace
