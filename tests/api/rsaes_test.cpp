// RSA encryption and decryption: known answers, libcrypto in both directions, limits, malformed
// blocks, statuses, proven mode.
#include "harness/rsa_cases.h"

namespace {

using namespace test;

constexpr uint32_t kBoth[] = {VRQ_RSAES_OAEP, VRQ_RSAES_OAEP_WITH_ZERO};
constexpr std::size_t kSizes[] = {2041, 2047, 2048, 2049, 3072, 4096};

uint32_t init(const RsaUnit& unit, uint32_t mode, uint32_t direction, uint32_t digest = 0) {
    return VRQ_Init_RSAES(unit.get(), mode, direction, digest);
}

Bytes pattern(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 7 + 1);
    return bytes;
}

// Every record under each layout, with the exponent alone and by the primes.
TEST(Rsaes, KnownAnswers) {
    const auto keys = load_rsa_keys("pubkey/rsa-encrypt.vec");
    std::size_t records = 0;
    for (const Record& record : load_vectors("pubkey/rsa-encrypt.vec")) {
        if (record.name == "RSA-KEY") continue;
        SCOPED_TRACE(record.where);
        ++records;
        const bool is_oaep = record.name.rfind("RSA-OAEP-", 0) == 0;
        const uint32_t digest = is_oaep ? rsa_digest(record.name.substr(9)) : 0;
        const bool passes = record.text("result") == "pass" && !record.text("plaintext").empty();
        for (const Parts parts : {Parts::kPrivate, Parts::kCrt}) {
            const RsaUnit unit = keys.at(record.text("key")).load(parts);
            for (uint32_t mode : kBoth) {
                if (!is_oaep) mode = VRQ_RSAES_PKCS1_V1_5;
                ASSERT_EQ(0U, init(unit, mode, VRQ_RSA_PRIVATE, digest));
                Bytes out;
                EXPECT_EQ(passes ? 0U : 0x180A000EU,
                          decrypt(unit.get(), record.bytes("ciphertext"), out));
                EXPECT_EQ(passes ? record.bytes("plaintext") : Bytes{}, out);
            }
        }
    }
    EXPECT_EQ(23U, records);
}

PeerContext peer_context(const PeerKey& peer, bool encrypts, uint32_t mode, uint32_t digest) {
    PeerContext context(EVP_PKEY_CTX_new(peer.get(), nullptr));
    if (encrypts) {
        EVP_PKEY_encrypt_init(context.get());
    } else {
        EVP_PKEY_decrypt_init(context.get());
    }
    const bool is_pkcs1 = mode == VRQ_RSAES_PKCS1_V1_5;
    set(context, "rsa_padding_mode", is_pkcs1 ? "pkcs1" : "oaep");
    if (is_pkcs1) return context;
    set(context, "rsa_oaep_md", peer_digest(digest));
    set(context, "rsa_mgf1_md", peer_digest(digest));
    return context;
}

void exchange(const StoredRsaKey& key, const PeerKey& peer, uint32_t mode, uint32_t digest,
              std::size_t overhead) {
    const RsaUnit sender = key.load(Parts::kPublic);
    const RsaUnit receiver = key.load(Parts::kCrt);
    ASSERT_EQ(0U, init(sender, mode, VRQ_RSA_PUBLIC, digest));
    ASSERT_EQ(0U, init(receiver, mode, VRQ_RSA_PRIVATE, digest));
    for (const std::size_t length : {std::size_t{1}, std::size_t{32}, key.k() - overhead}) {
        const Bytes message = pattern(length);
        Bytes ciphertext;
        ASSERT_EQ(0U, encrypt(sender.get(), message, ciphertext));
        Bytes out(key.k());
        std::size_t out_length = out.size();
        ASSERT_EQ(1, EVP_PKEY_decrypt(peer_context(peer, false, mode, digest).get(), out.data(),
                                      &out_length, ciphertext.data(), ciphertext.size()));
        out.resize(out_length);
        EXPECT_EQ(message, out);

        std::size_t ciphertext_length = ciphertext.size();
        ASSERT_EQ(1,
                  EVP_PKEY_encrypt(peer_context(peer, true, mode, digest).get(), ciphertext.data(),
                                   &ciphertext_length, message.data(), message.size()));
        ASSERT_EQ(0U, decrypt(receiver.get(), ciphertext, out, length))
            << "room for exactly so many bytes";
        EXPECT_EQ(message, out);
        EXPECT_EQ(0x180A000EU, decrypt(receiver.get(), ciphertext, out, length - 1));
    }
    Bytes ciphertext;
    EXPECT_EQ(0x18090012U, encrypt(sender.get(), pattern(key.k() - overhead + 1), ciphertext));
    EXPECT_EQ(0x18090012U, encrypt(sender.get(), pattern(key.k()), ciphertext));
    EXPECT_EQ(0x1809002BU, encrypt(sender.get(), pattern(key.k() + 1), ciphertext));
}

TEST(Rsaes, TalksToLibcryptoUpToTheLongestMessage) {
    for (const std::size_t bits : kSizes) {
        SCOPED_TRACE(bits);
        const StoredRsaKey& key = rsa_key(bits);
        const PeerKey peer = key.peer();
        exchange(key, peer, VRQ_RSAES_PKCS1_V1_5, 0, 11);
        for (const uint32_t mode : kBoth) {
            for (const uint32_t digest : {VRQ_ID_SHA1, VRQ_ID_SHA224, VRQ_ID_SHA256, VRQ_ID_SHA384,
                                          VRQ_ID_SHA512, VRQ_ID_MD5}) {
                if (bits > 2048 && digest != VRQ_ID_SHA256) continue;
                SCOPED_TRACE(digest);
                exchange(key, peer, mode, digest, 2 * VRQ_Get_DIGEST_Length(digest) + 2);
            }
        }
    }
}

TEST(Rsaes, LayoutsOfOaepDecryptEachOther) {
    const RsaUnit unit = rsa_key(1024).load(Parts::kCrt);
    for (const uint32_t written : kBoth) {
        for (const uint32_t read : kBoth) {
            Bytes ciphertext;
            Bytes out;
            ASSERT_EQ(0U, init(unit, written, VRQ_RSA_PUBLIC, VRQ_ID_HAS160));
            ASSERT_EQ(0U, encrypt(unit.get(), {1, 2, 3}, ciphertext));
            ASSERT_EQ(0U, init(unit, read, VRQ_RSA_PRIVATE, VRQ_ID_HAS160));
            EXPECT_EQ(0U, decrypt(unit.get(), ciphertext, out));
            EXPECT_EQ((Bytes{1, 2, 3}), out);
        }
    }
}

// The digest of the mode word masks, the digest argument hashes the label.
TEST(Rsaes, ModeWordNamesTheDigestOfTheMask) {
    const StoredRsaKey& key = rsa_key(1024);
    const RsaUnit unit = key.load(Parts::kCrt);
    const PeerKey peer = key.peer();
    EXPECT_EQ(0U, init(unit, VRQ_RSAES_OAEP, VRQ_RSA_PUBLIC));
    EXPECT_EQ(0x05000108U, unit->mode);
    EXPECT_EQ(0U, init(unit, VRQ_RSAES_OAEP, VRQ_RSA_PUBLIC, VRQ_ID_SHA256));
    EXPECT_EQ(VRQ_ID_SHA256 | 8U, unit->mode);
    EXPECT_EQ(0U, init(unit, VRQ_ID_SHA224 | 8U, VRQ_RSA_PUBLIC, VRQ_ID_SHA256));
    EXPECT_EQ(VRQ_ID_SHA224 | 8U, unit->mode);

    const PeerContext context = peer_context(peer, false, VRQ_RSAES_OAEP, VRQ_ID_SHA256);
    set(context, "rsa_mgf1_md", "SHA224");
    Bytes ciphertext;
    Bytes out(key.k());
    std::size_t length = out.size();
    ASSERT_EQ(0U, encrypt(unit.get(), {9, 8, 7}, ciphertext));
    ASSERT_EQ(1, EVP_PKEY_decrypt(context.get(), out.data(), &length, ciphertext.data(), key.k()));
    EXPECT_EQ((Bytes{9, 8, 7}), Bytes(out.begin(), out.begin() + static_cast<long>(length)));
}

TEST(Rsaes, RawIsThePrimitive) {
    for (const std::size_t bits : {512, 1024, 2041, 2048}) {
        const StoredRsaKey& key = rsa_key(bits);
        const RsaUnit unit = key.load(Parts::kCrt);
        Bytes less_one = key.modulus();
        less_one.back() -= 1;
        Bytes above = key.modulus();
        above[0] += 1;
        for (const char* exponent : {"e", "d"}) {
            const uint32_t direction = *exponent == 'd' ? VRQ_RSA_PRIVATE : VRQ_RSA_PUBLIC;
            ASSERT_EQ(0U, init(unit, VRQ_RSA_RAW, direction));
            Bytes out;
            for (const Bytes& in : {Bytes{0}, Bytes{1}, Bytes{2}, pattern(20), less_one}) {
                EXPECT_EQ(0U, encrypt(unit.get(), in, out));
                EXPECT_EQ(key.power(in, exponent), out);
                Bytes padded(key.k() - in.size());
                padded.insert(padded.end(), in.begin(), in.end());
                Bytes power = key.power(in, exponent);
                power.erase(power.begin(), std::find_if(power.begin(), power.end(),
                                                        [](uint8_t b) { return b != 0; }));
                EXPECT_EQ(power.empty() ? 0x180A000EU : 0U, decrypt(unit.get(), padded, out));
                EXPECT_EQ(power, out) << "without leading zeros";
                if (power.empty()) continue;
                EXPECT_EQ(0x180A000EU, decrypt(unit.get(), padded, out, power.size() - 1));
            }
            EXPECT_EQ(0x18090012U, encrypt(unit.get(), {}, out));
            EXPECT_EQ(0x1809003DU, encrypt(unit.get(), key.modulus(), out));
            EXPECT_EQ(0x1809003DU, encrypt(unit.get(), above, out));
            EXPECT_EQ(0x1809002BU, encrypt(unit.get(), Bytes(key.k() + 1), out));
            EXPECT_EQ(0x180A003DU, decrypt(unit.get(), key.modulus(), out));
            EXPECT_EQ(0x180A003DU, decrypt(unit.get(), above, out));
        }
    }
}

// Type 1 from the private side, read by the public one.
TEST(Rsaes, Pkcs1OfThePrivateSide) {
    const StoredRsaKey& key = rsa_key(1024);
    const RsaUnit unit = key.load(Parts::kCrt);
    ASSERT_EQ(0U, init(unit, VRQ_RSAES_PKCS1_V1_5, VRQ_RSA_PRIVATE));
    Bytes out;
    ASSERT_EQ(0U, encrypt(unit.get(), pattern(100), out));
    Bytes block(key.k() - 100, 0xFF);
    block[0] = 0;
    block[1] = 1;
    block[key.k() - 101] = 0;
    const Bytes message = pattern(100);
    block.insert(block.end(), message.begin(), message.end());
    EXPECT_EQ(key.power(block, "d"), out);
    ASSERT_EQ(0U, init(unit, VRQ_RSAES_PKCS1_V1_5, VRQ_RSA_PUBLIC));
    EXPECT_EQ(0U, decrypt(unit.get(), key.power(block, "d"), out));
    EXPECT_EQ(message, out);
}

// Each rule of the decoding broken alone.
TEST(Rsaes, MalformedPkcs1Blocks) {
    const StoredRsaKey& key = rsa_key(1024);
    const std::size_t k = key.k();
    const RsaUnit unit = key.load(Parts::kCrt);
    ASSERT_EQ(0U, init(unit, VRQ_RSAES_PKCS1_V1_5, VRQ_RSA_PRIVATE));
    Bytes good(k, 0x55);
    good[0] = 0;
    good[1] = 2;
    good[10] = 0;
    const auto outcome = [&](Bytes block) {
        Bytes out;
        const uint32_t status = decrypt(unit.get(), key.power(block, "e"), out);
        if (status == 0) {
            EXPECT_EQ(Bytes(std::find(block.begin() + 2, block.end(), 0) + 1, block.end()), out);
        }
        return status;
    };
    const auto with = [&](std::size_t at, uint8_t value) {
        Bytes block = good;
        block[at] = value;
        return block;
    };
    EXPECT_EQ(0U, outcome(good)) << "eight bytes of padding";
    EXPECT_EQ(0U, outcome(with(1, 1))) << "type 1 with padding that is not 0xFF";
    for (const uint8_t type : Bytes{0, 3, 255}) EXPECT_EQ(0x180A000EU, outcome(with(1, type)));
    EXPECT_EQ(0x180A000EU, outcome(with(0, 1))) << "a first byte";
    EXPECT_EQ(0x180A000EU, outcome(with(10, 1))) << "no zero byte";
    for (std::size_t at = 2; at < 10; ++at) EXPECT_EQ(0x180A000EU, outcome(with(at, 0)));
    Bytes empty(k, 0x55);
    empty[0] = 0;
    empty[1] = 2;
    empty[k - 1] = 0;
    EXPECT_EQ(0x180A000EU, outcome(empty)) << "a message of length 0";
    Bytes shifted = good;
    shifted.insert(shifted.begin(), 0);
    shifted.pop_back();
    EXPECT_EQ(0x180A000EU, outcome(shifted)) << "a well-formed block that is too short";
    EXPECT_EQ(0x180A000EU, outcome({0}));
}

Bytes mgf1(const Bytes& seed, std::size_t length) {
    Bytes out(length);
    EXPECT_EQ(0U, PKCS1_MGF1(out.data(), static_cast<int32_t>(length), seed.data(),
                             static_cast<int32_t>(seed.size()), VRQ_ID_SHA256));
    return out;
}

void add(Bytes& to, std::size_t at, const Bytes& mask) {
    for (std::size_t i = 0; i < mask.size(); ++i) to[at + i] ^= mask[i];
}

// first || maskedSeed || maskedDB of SHA-256 over a DB given in clear.
Bytes oaep_block(uint8_t first, const Bytes& db) {
    Bytes em(1 + 32, 0x77);
    em[0] = first;
    em.insert(em.end(), db.begin(), db.end());
    add(em, 33, mgf1(Bytes(32, 0x77), db.size()));
    add(em, 1, mgf1(Bytes(em.begin() + 33, em.end()), 32));
    return em;
}

TEST(Rsaes, MalformedOaepBlocks) {
    const StoredRsaKey& key = rsa_key(1024);
    const RsaUnit unit = key.load(Parts::kCrt);
    Bytes good(key.k() - 33);
    ASSERT_EQ(0U, VRQ_DIGEST(VRQ_ID_SHA256, good.data(), 0, good.data(), nullptr));
    good[60] = 1;
    for (std::size_t i = 61; i < good.size(); ++i) good[i] = static_cast<uint8_t>(i);
    for (const uint32_t mode : kBoth) {
        ASSERT_EQ(0U, init(unit, mode, VRQ_RSA_PRIVATE, VRQ_ID_SHA256));
        const auto outcome = [&](const Bytes& em) {
            Bytes out;
            return decrypt(unit.get(), key.power(em, "e"), out);
        };
        const auto with = [&](std::size_t at, uint8_t value) {
            Bytes db = good;
            db[at] = value;
            return oaep_block(0, db);
        };
        EXPECT_EQ(0U, outcome(oaep_block(0, good)));
        for (std::size_t at = 0; at < 32; ++at)
            EXPECT_EQ(0x180A000EU, outcome(with(at, static_cast<uint8_t>(good[at] ^ 0x80))));
        for (std::size_t at = 32; at < 60; ++at) EXPECT_EQ(0x180A000EU, outcome(with(at, 2)));
        EXPECT_EQ(0U, outcome(with(40, 1))) << "an earlier separator: a longer message";
        for (const uint8_t value : Bytes{0, 2, 0x81, 255})
            EXPECT_EQ(0x180A000EU, outcome(with(60, value)));
        Bytes zeros(good.begin(), good.begin() + 32);
        zeros.resize(good.size());
        EXPECT_EQ(0x180A000EU, outcome(oaep_block(0, zeros))) << "no separator";
        zeros.back() = 1;
        EXPECT_EQ(0x180A000EU, outcome(oaep_block(0, zeros))) << "a message of length 0";
        EXPECT_EQ(mode == VRQ_RSAES_OAEP ? 0x180A000EU : 0U, outcome(oaep_block(1, good)))
            << "the layout with a zero byte skips that byte";
        EXPECT_EQ(0x180A000EU, outcome({0}));
        EXPECT_EQ(0x180A000EU, outcome({1}));
    }
}

// Keys too short for an encoding, down to a modulus of two bytes.
TEST(Rsaes, TinyModuli) {
    const RsaUnit unit = test::tiny_rsa();
    ASSERT_NE(nullptr, unit);
    Bytes out;
    for (const uint32_t mode : {8U, 16U, 32U}) {
        for (const uint32_t direction : {0U, 1U}) {
            ASSERT_EQ(0U, init(unit, mode, direction));
            EXPECT_EQ(0x18090012U, encrypt(unit.get(), {1}, out));
            EXPECT_EQ(0x18090012U, encrypt(unit.get(), {}, out));
            EXPECT_EQ(0x1809002BU, encrypt(unit.get(), {1, 2, 3}, out));
            EXPECT_EQ(0x180A000EU, decrypt(unit.get(), {1, 2}, out));
        }
    }
    ASSERT_EQ(0U, init(unit, 0, VRQ_RSA_PUBLIC));
    EXPECT_EQ(0U, encrypt(unit.get(), {0x41}, out));
    EXPECT_EQ((Bytes{0x0A, 0xE6}), out);
    ASSERT_EQ(0U, init(unit, 0, VRQ_RSA_PRIVATE));
    EXPECT_EQ(0U, decrypt(unit.get(), {0x0A, 0xE6}, out));
    EXPECT_EQ((Bytes{0x41}), out);

    ASSERT_EQ(0U, VRQ_Set_RSA_Public_Params(unit.get(), Int("CA2"), Int("11")));
    ASSERT_EQ(0U, init(unit, 0, VRQ_RSA_PUBLIC));
    EXPECT_EQ(0x18090059U, encrypt(unit.get(), {0x41}, out)) << "an even modulus";
    EXPECT_EQ(0x180A0059U, decrypt(unit.get(), {0, 0x41}, out));
}

TEST(Rsaes, Statuses) {
    const StoredRsaKey& key = rsa_key(512);
    RsaUnit unit(VRQ_New_RSA());
    uint8_t out[64];
    uint32_t length = 0;
    const uint8_t in[64] = {};
    EXPECT_EQ(0x18080049U, VRQ_Init_RSAES(nullptr, 8, 0, 0));
    EXPECT_EQ(0x18080059U, init(unit, 8, 0, 0x12345600));
    EXPECT_EQ(nullptr, unit->digest) << "a new digest unit is not kept";
    EXPECT_EQ(0U, init(unit, 8, 0));
    EXPECT_EQ(0x18080059U, init(unit, 8, 0, 0x12345600));
    EXPECT_NE(nullptr, unit->digest);

    EXPECT_EQ(0x18090049U, VRQ_Encrypt_RSAES(nullptr, out, &length, in, 1));
    EXPECT_EQ(0x1809002BU, VRQ_Encrypt_RSAES(unit.get(), out, &length, nullptr, 1));
    EXPECT_EQ(0x1809002BU, VRQ_Encrypt_RSAES(unit.get(), out, &length, in, -1));
    EXPECT_EQ(0x1809002BU, VRQ_Encrypt_RSAES(unit.get(), nullptr, &length, in, 1));
    EXPECT_EQ(0x1809002BU, VRQ_Encrypt_RSAES(unit.get(), out, nullptr, in, 1));
    EXPECT_EQ(0x180A0049U, VRQ_Decrypt_RSAES(nullptr, out, &length, in, 64));
    EXPECT_EQ(0x180A002BU, VRQ_Decrypt_RSAES(unit.get(), out, &length, nullptr, 64));
    EXPECT_EQ(0x180A002BU, VRQ_Decrypt_RSAES(unit.get(), nullptr, &length, in, 64));
    EXPECT_EQ(0x180A002BU, VRQ_Decrypt_RSAES(unit.get(), out, nullptr, in, 64));
    EXPECT_EQ(0x180A002BU, VRQ_Decrypt_RSAES(unit.get(), out, &length, in, -1));

    struct Flags {
        int32_t flags;
        uint32_t encrypt_public, encrypt_private, decrypt_public, decrypt_private;
    };
    // Without an integer behind the bits; 0x1809002B: longer than a modulus of no bytes.
    for (const Flags& row : {Flags{0, 0x18090046, 0x18090045, 0x180A0045, 0x180A0046},
                             Flags{1, 0x1809002B, 0x1809002B, 0x180A003D, 0x180A003D},
                             Flags{2, 0x1809002B, 0x18090045, 0x180A0045, 0x180A003D},
                             Flags{4, 0x18090046, 0x1809002B, 0x180A003D, 0x180A0046},
                             Flags{8, 0x18090046, 0x18090045, 0x180A0045, 0x180A0046}}) {
        SCOPED_TRACE(row.flags);
        unit->key_flags = row.flags;
        unit->direction = 0;
        EXPECT_EQ(row.encrypt_public, VRQ_Encrypt_RSAES(unit.get(), out, &length, in, 1));
        EXPECT_EQ(row.decrypt_public, VRQ_Decrypt_RSAES(unit.get(), out, &length, in, 64));
        unit->direction = 1;
        EXPECT_EQ(row.encrypt_private, VRQ_Encrypt_RSAES(unit.get(), out, &length, in, 1));
        EXPECT_EQ(row.decrypt_private, VRQ_Decrypt_RSAES(unit.get(), out, &length, in, 64));
    }

    unit = key.load(Parts::kPublic);
    ASSERT_EQ(0U, init(unit, 0, VRQ_RSA_PRIVATE));
    EXPECT_EQ(0x18090059U, VRQ_Encrypt_RSAES(unit.get(), out, &length, in, 1)) << "no d";
    EXPECT_EQ(0x180A0059U, VRQ_Decrypt_RSAES(unit.get(), out, &length, in, 64));
    for (const uint32_t mode : {1U, 2U, 7U, 9U, 64U, 255U}) {
        ASSERT_EQ(0U, init(unit, mode, VRQ_RSA_PUBLIC));
        EXPECT_EQ(0x18090033U, VRQ_Encrypt_RSAES(unit.get(), out, &length, in, 1));
        EXPECT_EQ(0x180A0033U, VRQ_Decrypt_RSAES(unit.get(), out, &length, in, 64));
    }
    unit = key.load(Parts::kCrt);
    ASSERT_EQ(0U, init(unit, 0, VRQ_RSA_PRIVATE));
    VRQ_Add_BIGINT_Word(unit->d, 2);
    drop_blinding(unit.get());
    EXPECT_EQ(0x180A002EU, VRQ_Decrypt_RSAES(unit.get(), out, &length, in, 64));
    EXPECT_EQ(nullptr, unit->blind_A) << "checked before the blinding";
    VRQ_Sub_BIGINT_Word(unit->d, 2);
    ASSERT_EQ(0U, generate_RSA_BLINDING(unit.get()));
    VRQ_Free_BIGINT(unit->blind_Ai);
    unit->blind_Ai = nullptr;
    EXPECT_EQ(0x18060059U, VRQ_Decrypt_RSAES(unit.get(), out, &length, in, 64));
}

TEST(ProvenRsaes, ApprovedSizesAndModes) {
    uint8_t out[300];
    uint32_t length = 0;
    const uint8_t in[300] = {};
    RsaUnit unit = rsa_key(2040).load(Parts::kCrt);
    for (const uint32_t mode : {0U, 8U, 16U, 32U})
        EXPECT_EQ(0x18080048U, init(unit, mode, 0, VRQ_ID_SHA256));
    for (const uint32_t direction : {0U, 1U}) {
        unit->direction = direction;
        EXPECT_EQ(0x18090048U, VRQ_Encrypt_RSAES(unit.get(), out, &length, in, 1));
        EXPECT_EQ(0x180A0048U, VRQ_Decrypt_RSAES(unit.get(), out, &length, in, 300));
    }
    for (const std::size_t bits : {2041, 2048}) {
        unit = rsa_key(bits).load(Parts::kCrt);
        EXPECT_EQ(0x180800F0U, init(unit, 0, 0, VRQ_ID_SHA256));
        EXPECT_EQ(0x180800F0U, init(unit, 32, 0, VRQ_ID_SHA256));
        EXPECT_EQ(0x18080059U, init(unit, 8, 0)) << "SHA-1";
        for (const uint32_t mode : {0U, 32U}) {
            unit->mode = mode;
            EXPECT_EQ(0x180900F0U, VRQ_Encrypt_RSAES(unit.get(), out, &length, in, 1));
            EXPECT_EQ(0x180A00F0U, VRQ_Decrypt_RSAES(unit.get(), out, &length, in, 300));
        }
        for (const uint32_t mode : kBoth) {
            for (const uint32_t digest :
                 {VRQ_ID_SHA224, VRQ_ID_SHA256, VRQ_ID_SHA384, VRQ_ID_SHA512}) {
                Bytes ciphertext;
                Bytes message;
                EXPECT_EQ(0U, init(unit, mode, 0, digest));
                EXPECT_EQ(0U, encrypt(unit.get(), {4, 5, 6}, ciphertext));
                EXPECT_EQ(0U, init(unit, mode, 1, digest));
                EXPECT_EQ(0U, decrypt(unit.get(), ciphertext, message));
                EXPECT_EQ((Bytes{4, 5, 6}), message);
            }
        }
    }
    // A unit without a key is not refused; the key may come after Init, and then counts.
    unit.reset(VRQ_New_RSA());
    EXPECT_EQ(0U, init(unit, 8, 0, VRQ_ID_SHA256));
    const StoredRsaKey& small = rsa_key(2040);
    EXPECT_EQ(0U, VRQ_Set_RSA_Public_Params(unit.get(), small.part("n"), small.part("e")));
    EXPECT_EQ(0x18090048U, VRQ_Encrypt_RSAES(unit.get(), out, &length, in, 1));
}

} // namespace
