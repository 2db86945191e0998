// The older generator of FIPS 186-2.
#include "harness/owned.h"
#include "harness/vectors.h"
#include "talvern.h"

#include <gtest/gtest.h>
#include <openssl/bn.h>

#include <cstring>
#include <memory>
#include <set>
#include <thread>

namespace {

using test::Bytes;

struct Free {
    void operator()(BIGNUM* number) const { BN_free(number); }
};
using Unit = test::Owned<VRQ_PRNG_UNIT>;
using Number = test::Owned<VRQ_BIGINT>;
using Bn = std::unique_ptr<BIGNUM, Free>;

uint32_t size(const Bytes& bytes) { return static_cast<uint32_t>(bytes.size()); }

Unit unit_of(uint32_t algorithm, const Bytes& xkey, const Bytes& xseed) {
    Unit unit(VRQ_New_PRNG_Unit());
    EXPECT_EQ(0U, VRQ_Init_PRNG(unit.get(), algorithm, xkey.data(), size(xkey), xseed.data(),
                                size(xseed), nullptr));
    return unit;
}

std::string hex(const VRQ_BIGINT* number) {
    Bytes bytes(VRQ_Get_BIGINT_Bits_Length(number) / 8 + 1);
    bytes.resize(VRQ_BIGINT_To_Binary_Unsigned(number, bytes.data()));
    return test::to_hex(bytes);
}

Number number_of(const Bytes& bytes) {
    return Number(VRQ_Binary_To_BIGINT(bytes.data(), static_cast<int32_t>(bytes.size()), nullptr));
}

// The private key of the worked example in FIPS 186-2, appendix 5.
TEST(Prng, ExampleOfTheStandard) {
    const Unit unit = unit_of(
        VRQ_ID_SHA1, test::from_hex("bd029bbe7f51960bcf9edb2b61f06f0feb5a38b6"), Bytes(1, 0));
    const Number q = number_of(test::from_hex("c773218c737ec8ee993b4f2ded30f48edace915f"));
    const Number x(VRQ_New_BIGINT());
    ASSERT_EQ(0U, VRQ_Get_Rand_DSA_BIGINT(unit.get(), x.get(), q.get()));
    EXPECT_EQ("2070b3223dba372fde1c0ffc7b2e3b498b260614", hex(x.get()));
}

// The generator over libcrypto's numbers, G over the digest engines and ciphers of the library.
class Model {
  public:
    Model(uint32_t algorithm, const Bytes& xkey, const Bytes& xseed)
        : xkey_(to_bn(xkey)), xseed_(to_bn(xseed)), algorithm_(algorithm) {
        switch (algorithm) {
        case VRQ_ID_SHA1:
            vrq_Init_SHA1(&sha1_);
            break;
        case VRQ_ID_SHA224:
            vrq_Init_SHA224(&sha256_);
            break;
        case VRQ_ID_SHA256:
            vrq_Init_SHA256(&sha256_);
            break;
        case VRQ_ID_SHA384:
            vrq_Init_SHA384(&sha512_);
            break;
        case VRQ_ID_SHA512:
            vrq_Init_SHA512(&sha512_);
            break;
        case VRQ_ID_HAS160:
            vrq_Init_HAS160(&has160_);
            break;
        default:
            break;
        }
    }

    Bytes step(const BIGNUM* q = nullptr) {
        const int b = std::max(80, BN_num_bits(xkey_.get()));
        const Bn v(BN_new());
        BN_add(v.get(), xkey_.get(), xseed_.get());
        mask(v.get(), b);
        Bytes x = (algorithm_ >> 24) <= 4 ? cipher(to_bytes(v.get(), 80))
                                          : digest(to_bytes(v.get(), (b + 7) / 8));
        const Bn r = to_bn(x);
        if (q != nullptr) {
            const std::unique_ptr<BN_CTX, void (*)(BN_CTX*)> context(BN_CTX_new(), BN_CTX_free);
            BN_mod(r.get(), r.get(), q, context.get());
            x = to_bytes(r.get(), static_cast<int>(x.size()));
        }
        BN_add(xkey_.get(), xkey_.get(), r.get());
        BN_add_word(xkey_.get(), 1);
        mask(xkey_.get(), b);
        return x;
    }

    static Bn to_bn(const Bytes& bytes) {
        return Bn(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
    }

  private:
    static void mask(BIGNUM* number, int bits) {
        if (BN_num_bits(number) > bits) BN_mask_bits(number, bits);
    }
    static Bytes to_bytes(const BIGNUM* number, int length) {
        Bytes bytes(static_cast<std::size_t>(length));
        EXPECT_EQ(length, BN_bn2binpad(number, bytes.data(), length));
        return bytes;
    }

    template <class Word, std::size_t N>
    static Bytes words(const Word (&words)[N], std::size_t length) {
        Bytes out;
        for (const Word word : words) {
            for (int shift = sizeof(Word) * 8 - 8; shift >= 0; shift -= 8)
                out.push_back(static_cast<uint8_t>(word >> shift));
        }
        out.resize(length);
        return out;
    }

    Bytes digest(Bytes block) {
        block.resize(64, 0);
        switch (algorithm_) {
        case VRQ_ID_SHA1:
            comp_SHA1(&sha1_, block.data());
            return words(sha1_.hash, 20);
        case VRQ_ID_HAS160:
            comp_HAS160(&has160_, block.data());
            return words(has160_.state, 20);
        case VRQ_ID_SHA224:
        case VRQ_ID_SHA256:
            comp_SHA256(&sha256_, block.data());
            return words(sha256_.hash, algorithm_ == VRQ_ID_SHA224 ? 28 : 32);
        default:
            // Two blocks of 64 bytes make one.
            half_.insert(half_.end(), block.begin(), block.end());
            if (half_.size() == 128) {
                comp_SHA512(&sha512_, half_.data());
                half_.clear();
            }
            return words(sha512_.hash, algorithm_ == VRQ_ID_SHA384 ? 48 : 64);
        }
    }

    // Indices from 1 to 5 as in the standard's text.
    Bytes cipher(const Bytes& v) {
        static constexpr uint32_t t[6] = {0,          0x67452301, 0xefcdab89,
                                          0x98badcfe, 0x10325476, 0xc3d2e1f0};
        uint32_t c[6] = {};
        uint32_t x[6] = {};
        uint32_t y[6][3] = {};
        for (std::size_t i = 0; i < 20; ++i) {
            for (std::size_t j = 0; j < 4; ++j)
                c[1 + i % 5] ^= uint32_t{v[4 * i + j]} << (24 - 8 * j);
        }
        for (int i = 1; i <= 5; ++i) x[i] = t[i] ^ c[i];
        for (int i = 1; i <= 5; ++i) {
            const uint32_t b[] = {c[(i + 3) % 5 + 1], c[(i + 2) % 5 + 1]};
            const uint32_t a[] = {x[i], x[i % 5 + 1] ^ x[(i + 3) % 5 + 1]};
            Bytes key = words(b, 8);
            Bytes block = words(a, 8);
            for (int n = 0; n < 3; ++n) key.insert(key.end(), key.begin(), key.begin() + 8);
            block.insert(block.end(), block.begin(), block.begin() + 8);
            encrypt(key, block);
            for (int j = 0; j < 2; ++j) {
                for (int k = 0; k < 4; ++k) y[i][j + 1] = y[i][j + 1] << 8 | block[4 * j + k];
            }
        }
        uint32_t z[5];
        for (int i = 1; i <= 5; ++i)
            z[i - 1] = y[i][1] ^ y[(i + 1) % 5 + 1][2] ^ y[(i + 2) % 5 + 1][1];
        return words(z, 20);
    }

    void encrypt(const Bytes& key, Bytes& block) const {
        if (algorithm_ == VRQ_ID_SEED_128) {
            VRQ_SEED_KEY schedule;
            vrq_Init_Encrypt_SEED_Key(key.data(), &schedule);
            vrq_SEED_Encrypt_Block(block.data(), block.data(), &schedule);
            return;
        }
        VRQ_ARIA_KEY schedule{};
        vrq_Init_Encrypt_ARIA_Key(key.data(), static_cast<int32_t>(8 + 8 * (algorithm_ >> 8 & 3)),
                                  &schedule);
        vrq_ARIA_Encrypt_Block(block.data(), block.data(), &schedule);
    }

    Bn xkey_;
    Bn xseed_;
    uint32_t algorithm_;
    VRQ_SHA1_CTX sha1_;
    VRQ_SHA256_CTX sha256_;
    VRQ_SHA512_CTX sha512_;
    VRQ_HAS160_CTX has160_;
    Bytes half_;
};

constexpr uint32_t kDigests[] = {VRQ_ID_SHA1,   VRQ_ID_SHA224, VRQ_ID_SHA256,
                                 VRQ_ID_SHA384, VRQ_ID_SHA512, VRQ_ID_HAS160};
constexpr uint32_t kCiphers[] = {VRQ_ID_ARIA_128, VRQ_ID_ARIA_192, VRQ_ID_ARIA_256,
                                 VRQ_ID_SEED_128};

std::vector<uint32_t> all_algorithms() {
    std::vector<uint32_t> all(std::begin(kDigests), std::end(kDigests));
    all.insert(all.end(), std::begin(kCiphers), std::end(kCiphers));
    return all;
}

// XKEYs of every kind of length, one with a leading zero bit, one that starts near the top so that
// the sums wrap; long enough for XKEY to run down to its least length.
TEST(Prng, StepsOfEveryAlgorithmAgreeWithTheModel) {
    for (const uint32_t algorithm : all_algorithms()) {
        for (const std::size_t length : {20, 21, 37, 64}) {
            Bytes xkey(length, 0xFF);
            xkey[0] = length == 37 ? 0x01 : 0xFE;
            const Bytes xseed(length == 21 ? 70 : 20, 0xC3);
            SCOPED_TRACE(std::to_string(algorithm) + " " + std::to_string(length));
            const Unit unit = unit_of(algorithm, xkey, xseed);
            Model model(algorithm, xkey, xseed);
            for (int i = 0; i < 300; ++i) {
                Bytes out(64, 0xAA);
                uint32_t got = 99;
                if (algorithm == VRQ_ID_SHA224) {
                    ASSERT_EQ(0U, get_inner_rand(unit.get(), out.data(), &got));
                    ASSERT_EQ(99U, got);
                    ASSERT_EQ(Bytes(64, 0xAA), out);
                    break;
                }
                ASSERT_EQ(0U, get_inner_rand(unit.get(), out.data(), &got));
                Bytes expected = model.step();
                if ((algorithm >> 24) <= 4) expected.resize(16);
                out.resize(got);
                ASSERT_EQ(test::to_hex(expected), test::to_hex(out)) << "step " << i;
            }
        }
    }
}

TEST(Prng, DsaNumbersAgreeWithTheModel) {
    const Bytes order = test::from_hex("c773218c737ec8ee993b4f2ded30f48edace915f");
    const Number q = number_of(order);
    const Bn bn_q = Model::to_bn(order);
    for (const uint32_t algorithm : all_algorithms()) {
        const Bytes xkey(30, 0x77);
        const Bytes xseed(20, 0x88);
        const Unit unit = unit_of(algorithm, xkey, xseed);
        Model model(algorithm, xkey, xseed);
        const Number r(VRQ_New_BIGINT());
        for (int i = 0; i < 10; ++i) {
            const bool is_reduced = i % 2 == 0;
            ASSERT_EQ(0U,
                      VRQ_Get_Rand_DSA_BIGINT(unit.get(), r.get(), is_reduced ? q.get() : nullptr));
            const Bytes x = model.step(is_reduced ? bn_q.get() : nullptr);
            EXPECT_EQ(hex(number_of(x).get()), hex(r.get()));
        }
    }
}

// What a draw keeps back, compares and gives out.
TEST(Prng, DrawsKeepTheFirstOutputsBack) {
    const Bytes xkey(40, 0x12);
    const Bytes xseed(20, 0x34);
    for (const uint32_t n : {1U, 19U, 20U, 21U, 40U, 41U, 100U}) {
        Model model(VRQ_ID_SHA1, xkey, xseed);
        model.step();
        if (n == 20) model.step();
        Bytes expected;
        while (expected.size() < n) {
            const Bytes x = model.step();
            expected.insert(expected.end(), x.begin(), x.end());
        }
        expected.resize(n);
        Bytes out(n);
        ASSERT_EQ(0U, VRQ_Get_Rand(unit_of(VRQ_ID_SHA1, xkey, xseed).get(), out.data(), n));
        EXPECT_EQ(expected, out) << n;
    }
}

// Half a block a step: the first output is the initial value, then all come twice.
TEST(Prng, WideDigestsGiveEveryValueTwice) {
    uint8_t out[200];
    Unit unit = unit_of(VRQ_ID_SHA512, Bytes(20, 1), Bytes(20, 2));
    uint32_t length;
    ASSERT_EQ(0U, get_inner_rand(unit.get(), out, &length));
    EXPECT_EQ(test::to_hex(test::from_hex("6a09e667f3bcc908")), test::to_hex(Bytes(out, out + 8)));
    unit = unit_of(VRQ_ID_SHA512, Bytes(20, 1), Bytes(20, 2));
    EXPECT_EQ(0x14040014U, VRQ_Get_Rand(unit.get(), out, 64));
    unit = unit_of(VRQ_ID_SHA512, Bytes(20, 1), Bytes(20, 2));
    ASSERT_EQ(0U, VRQ_Get_Rand(unit.get(), out, 128));
    EXPECT_EQ(0, std::memcmp(out, out + 64, 64));
}

TEST(Prng, Sha224UnitsGiveNothing) {
    const Unit unit = unit_of(VRQ_ID_SHA224, Bytes(20, 1), Bytes(20, 2));
    uint8_t out[64];
    for (const uint32_t n : {0U, 1U, 28U, 64U})
        EXPECT_EQ(0x14040014U, VRQ_Get_Rand(unit.get(), out, n)) << n;
    const Number r(VRQ_New_BIGINT());
    VRQ_Set_BIGINT_Word(r.get(), 5);
    EXPECT_EQ(0U, VRQ_Get_Rand_BIGINT(unit.get(), r.get(), 32));
    EXPECT_EQ(5U, VRQ_Get_BIGINT_Word(r.get())) << "a failed draw leaves it";
}

TEST(Prng, MakesWhatIsNotGiven) {
    std::set<std::string> seen;
    for (int i = 0; i < 50; ++i) {
        const Unit unit(VRQ_New_PRNG_Unit());
        ASSERT_EQ(0U, VRQ_Init_PRNG(unit.get(), VRQ_ID_SHA256, nullptr, 0, nullptr, 0, nullptr));
        EXPECT_LE(VRQ_Get_BIGINT_Bits_Length(unit->xkey), 512U);
        EXPECT_GT(VRQ_Get_BIGINT_Bits_Length(unit->xkey), 128U);
        EXPECT_LE(VRQ_Get_BIGINT_Bits_Length(unit->xseed), 160U);
        EXPECT_NE(0, VRQ_Cmp_BIGINT(unit->xkey, unit->xseed));
        seen.insert(hex(unit->xkey) + hex(unit->xseed));
    }
    EXPECT_EQ(50U, seen.size());

    // Equal ones: XSEED gives way.
    const Bytes same(20, 0x99);
    const Unit unit = unit_of(VRQ_ID_SHA1, same, same);
    EXPECT_EQ(test::to_hex(same), hex(unit->xkey));
    EXPECT_NE(test::to_hex(same), hex(unit->xseed));
}

TEST(Prng, NumbersHaveAtMostTheBitsAskedFor) {
    const Unit unit = unit_of(VRQ_ID_SHA1, Bytes(64, 0x21), Bytes(20, 0x22));
    const Number r(VRQ_New_BIGINT());
    for (const uint32_t bits : {1U, 7U, 8U, 9U, 12U, 100U, 161U, 1000U}) {
        uint32_t most = 0;
        for (int i = 0; i < 30; ++i) {
            ASSERT_EQ(0U, VRQ_Get_Rand_BIGINT(unit.get(), r.get(), bits));
            most = std::max(most, VRQ_Get_BIGINT_Bits_Length(r.get()));
        }
        EXPECT_EQ(bits, most);
        most = 0;
        for (int i = 0; i < 30; ++i) {
            ASSERT_EQ(0U, VRQ_Get_Rand_BIGINT_Ex(r.get(), bits));
            most = std::max(most, VRQ_Get_BIGINT_Bits_Length(r.get()));
        }
        EXPECT_EQ(bits, most);
    }
    EXPECT_EQ(0U, VRQ_Get_Rand_BIGINT(unit.get(), r.get(), 0));
    EXPECT_EQ(0, r->used);
}

TEST(Prng, InitialisesAgainAndWithAPoolOfTheCaller) {
    VRQ_BIGINT_POOL* pool = VRQ_New_BIGINT_Pool();
    VRQ_PRNG_UNIT* unit = VRQ_New_PRNG_Unit();
    const Bytes key(20, 1);
    uint8_t out[32];
    for (const uint32_t algorithm : all_algorithms()) {
        for (VRQ_BIGINT_POOL* each : {static_cast<VRQ_BIGINT_POOL*>(nullptr), pool}) {
            ASSERT_EQ(0U, VRQ_Init_PRNG(unit, algorithm, key.data(), 20, nullptr, 0, each));
            EXPECT_EQ(each == nullptr ? 1 : 0, unit->pool_owned);
            uint32_t length;
            uint8_t step[64];
            EXPECT_EQ(0U, get_inner_rand(unit, step, &length));
        }
    }
    EXPECT_EQ(16, unit->engine_size) << "SEED's";
    // Its own pool, given back to it.
    ASSERT_EQ(0U, VRQ_Init_PRNG(unit, VRQ_ID_SHA1, key.data(), 20, nullptr, 0, nullptr));
    ASSERT_EQ(0U, VRQ_Init_PRNG(unit, VRQ_ID_SHA1, key.data(), 20, nullptr, 0, unit->pool));
    EXPECT_EQ(1, unit->pool_owned);
    EXPECT_EQ(0U, VRQ_Get_Rand(unit, out, 32));
    VRQ_Clean_PRNG_Unit(unit);
    const VRQ_PRNG_UNIT zero{};
    EXPECT_EQ(0, std::memcmp(&zero, unit, sizeof zero));
    EXPECT_EQ(0x1404004EU, VRQ_Get_Rand(unit, out, 1)) << "no XKEY";
    VRQ_Free_PRNG_Unit(unit);
    VRQ_Free_BIGINT_Pool(pool);
    EXPECT_EQ(0U, VRQ_Rand_Bytes_PRNG(out, 32));
}

TEST(Prng, Statuses) {
    const Bytes key(70, 1);
    uint8_t out[64];
    uint32_t length;
    const Number r(VRQ_New_BIGINT());
    const Unit unit(VRQ_New_PRNG_Unit());
    VRQ_PRNG_UNIT* u = unit.get();
    EXPECT_EQ(0x14010049U, VRQ_Init_PRNG(nullptr, VRQ_ID_SHA1, nullptr, 0, nullptr, 0, nullptr));
    EXPECT_EQ(0x14010023U, VRQ_Init_PRNG(u, VRQ_ID_SHA1, key.data(), 19, nullptr, 0, nullptr));
    EXPECT_EQ(0, u->init_marker);
    EXPECT_EQ(0x14010023U, VRQ_Init_PRNG(u, VRQ_ID_SHA1, key.data(), 65, nullptr, 0, nullptr));
    EXPECT_EQ(0U, VRQ_Init_PRNG(u, VRQ_ID_SHA1, key.data(), 64, nullptr, 0, nullptr));
    EXPECT_EQ(0U, VRQ_Init_PRNG(u, VRQ_ID_SHA1, key.data(), 20, nullptr, 0, nullptr));
    EXPECT_EQ(0x14010023U, VRQ_Init_PRNG(u, VRQ_ID_SHA1, key.data(), 65, nullptr, 0, nullptr));
    EXPECT_EQ(0, u->xkey->used) << "cleared";
    for (const uint32_t algorithm : {0, int{VRQ_ID_MD5}, int{VRQ_ID_MDC2}, int{VRQ_ID_SEED_256},
                                     int{VRQ_ID_ARIA_128 + 0x20}}) {
        EXPECT_EQ(0x14010023U, VRQ_Init_PRNG(u, algorithm, key.data(), 20, nullptr, 0, nullptr));
        EXPECT_EQ(0U, u->algorithm);
    }
    EXPECT_EQ(0U, VRQ_Init_PRNG(u, VRQ_ID_SHA1, key.data(), 20, nullptr, 0, nullptr));

    EXPECT_EQ(0x14030049U, get_inner_rand(nullptr, out, &length));
    EXPECT_EQ(0x14030049U, get_inner_rand(u, nullptr, &length));
    EXPECT_EQ(0x14040049U, VRQ_Get_Rand(nullptr, out, 1));
    EXPECT_EQ(0x14040049U, VRQ_Get_Rand(u, nullptr, 1));
    EXPECT_EQ(0x14050049U, VRQ_Get_Rand_BIGINT(nullptr, r.get(), 8));
    EXPECT_EQ(0x14050049U, VRQ_Get_Rand_BIGINT(u, nullptr, 8));
    EXPECT_EQ(0x14030049U, VRQ_Get_Rand_DSA_BIGINT(nullptr, r.get(), nullptr));
    EXPECT_EQ(0x14030049U, VRQ_Get_Rand_DSA_BIGINT(u, nullptr, nullptr));
    EXPECT_EQ(0x0B060049U, VRQ_Get_Rand_BIGINT_Ex(nullptr, 8));
    EXPECT_EQ(0x1406001DU, VRQ_Rand_Bytes_PRNG(nullptr, 8));

    const Unit fresh(VRQ_New_PRNG_Unit());
    EXPECT_EQ(0x1403004BU, get_inner_rand(fresh.get(), out, &length));
    EXPECT_EQ(0x1404004BU, VRQ_Get_Rand_DSA_BIGINT(fresh.get(), r.get(), nullptr));

    for (int depth = 0; depth < VRQ_BIGINT_POOL_FRAMES; ++depth) VRQ_Start_BIGINT_Pool(u->pool);
    EXPECT_EQ(0x14030057U, VRQ_Get_Rand_DSA_BIGINT(u, r.get(), nullptr));
    EXPECT_EQ(0x14030057U, get_inner_rand(u, out, &length));
    VRQ_Clean_PRNG_Unit(nullptr);
    VRQ_Free_PRNG_Unit(nullptr);
}

TEST(Prng, SeedPoolServesManyThreads) {
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (int i = 0; i < 6; ++i)
        threads.emplace_back([&failures] {
            uint8_t out[32];
            for (int n = 0; n < 20; ++n) {
                if (VRQ_Rand_Bytes_PRNG(out, 32) != 0) ++failures;
            }
            vrq_SEED_Poll();
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, failures);
    SEED_poll_slow();
    SEED_add(nullptr, 5);
}

TEST(ProvenPrng, IsRefused) {
    const Unit unit(VRQ_New_PRNG_Unit());
    const Bytes key(20, 1);
    EXPECT_EQ(0x140100F0U,
              VRQ_Init_PRNG(unit.get(), VRQ_ID_SHA256, key.data(), 20, nullptr, 0, nullptr));
    EXPECT_EQ(0x140100F0U, VRQ_Init_PRNG(unit.get(), 0, key.data(), 5, nullptr, 0, nullptr));
    uint8_t out[8];
    EXPECT_EQ(0x14060025U, VRQ_Rand_Bytes_PRNG(out, 8));
}

} // namespace
