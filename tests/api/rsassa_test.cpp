// RSA signatures: known answers, libcrypto in both directions, forgeries, malformed blocks,
// statuses, proven mode.
#include "harness/rsa_cases.h"

#include <set>

namespace {

using namespace test;

constexpr std::size_t kSizes[] = {2041, 2047, 2048, 2049, 3072, 4096};
constexpr uint32_t kDifferentPkcs1 = 0x180D000C;
constexpr uint32_t kDifferentPss = 0x1810005E;
const Bytes kMessage = {'m', 'e', 's', 's', 'a', 'g', 'e'};

TEST(Rsassa, KnownAnswers) {
    const auto keys = load_rsa_keys("pubkey/rsa-sign.vec");
    std::size_t records = 0;
    for (const Record& record : load_vectors("pubkey/rsa-sign.vec")) {
        if (record.name == "RSA-KEY") continue;
        SCOPED_TRACE(record.where);
        ++records;
        const bool is_pss = record.name.rfind("RSA-PSS-", 0) == 0;
        const uint32_t digest = rsa_digest(record.name.substr(is_pss ? 8 : 13));
        const uint32_t mode =
            is_pss ? pss_mode(static_cast<uint32_t>(record.number("salt_length"))) : 1;
        const StoredRsaKey& key = keys.at(record.text("key"));
        const Bytes message = record.bytes("msg");
        const Bytes published = record.bytes("signature");
        const bool passes = record.text("result") == "pass";
        const uint32_t refusal = is_pss ? kDifferentPss : kDifferentPkcs1;
        for (const Parts parts : {Parts::kPublic, Parts::kPrivate, Parts::kCrt}) {
            const RsaUnit unit = key.load(parts);
            EXPECT_EQ(passes ? 0U : refusal, verify(unit.get(), digest, mode, message, published));
            if (parts == Parts::kPublic) continue;
            Bytes signature;
            ASSERT_EQ(0U, sign(unit.get(), digest, mode, message, signature));
            EXPECT_EQ(0U, verify(unit.get(), digest, mode, message, signature));
            EXPECT_EQ(passes && !is_pss, signature == published);
        }
    }
    EXPECT_EQ(15U, records);
}

void set_padding(EVP_PKEY_CTX* context, uint32_t digest, uint32_t mode) {
    const auto set = [&](const char* name, const std::string& value) {
        ASSERT_EQ(1, EVP_PKEY_CTX_ctrl_str(context, name, value.c_str())) << name;
    };
    const bool is_pss = (mode & 0xFF) == VRQ_RSASSA_PSS;
    set("rsa_padding_mode", is_pss ? "pss" : "pkcs1");
    if (!is_pss) return;
    set("rsa_pss_saltlen", std::to_string(mode >> 16 == 0 ? 20 : mode >> 16));
    set("rsa_mgf1_md", peer_digest(digest));
}

Bytes peer_sign(const PeerKey& peer, uint32_t digest, uint32_t mode) {
    const std::unique_ptr<EVP_MD_CTX, PeerFree> context(EVP_MD_CTX_new());
    EVP_PKEY_CTX* key = nullptr;
    EVP_DigestSignInit(context.get(), &key, EVP_get_digestbyname(peer_digest(digest)), nullptr,
                       peer.get());
    set_padding(key, digest, mode);
    Bytes signature(1024);
    std::size_t length = signature.size();
    EXPECT_EQ(1, EVP_DigestSign(context.get(), signature.data(), &length, kMessage.data(),
                                kMessage.size()));
    signature.resize(length);
    return signature;
}

int peer_verify(const PeerKey& peer, uint32_t digest, uint32_t mode, const Bytes& signature) {
    const std::unique_ptr<EVP_MD_CTX, PeerFree> context(EVP_MD_CTX_new());
    EVP_PKEY_CTX* key = nullptr;
    EVP_DigestVerifyInit(context.get(), &key, EVP_get_digestbyname(peer_digest(digest)), nullptr,
                         peer.get());
    set_padding(key, digest, mode);
    return EVP_DigestVerify(context.get(), signature.data(), signature.size(), kMessage.data(),
                            kMessage.size());
}

TEST(Rsassa, TalksToLibcrypto) {
    for (const std::size_t bits : kSizes) {
        const StoredRsaKey& key = rsa_key(bits);
        const PeerKey peer = key.peer();
        const RsaUnit unit = key.load(Parts::kCrt);
        const RsaUnit reader = key.load(Parts::kPublic);
        const auto em = static_cast<uint32_t>((bits - 1 + 7) / 8);
        for (const uint32_t digest : {VRQ_ID_SHA1, VRQ_ID_SHA224, VRQ_ID_SHA256, VRQ_ID_SHA384,
                                      VRQ_ID_SHA512, VRQ_ID_MD5}) {
            if (bits > 2049 && digest != VRQ_ID_SHA256) continue;
            const uint32_t longest = std::min(em - VRQ_Get_DIGEST_Length(digest) - 2, 255U);
            for (const uint32_t mode :
                 {1U, pss_mode(0), pss_mode(1), pss_mode(32), pss_mode(longest)}) {
                SCOPED_TRACE(testing::Message()
                             << bits << " " << std::hex << digest << " " << mode);
                if (mode == 1 && digest == VRQ_ID_SHA224) continue; // has no prefix here
                Bytes signature;
                ASSERT_EQ(0U, sign(unit.get(), digest, mode, kMessage, signature));
                EXPECT_EQ(1, peer_verify(peer, digest, mode, signature));
                signature = peer_sign(peer, digest, mode);
                EXPECT_EQ(0U, verify(reader.get(), digest, mode, kMessage, signature));
            }
            if (longest == 255) continue;
            Bytes signature;
            EXPECT_EQ(0x18060012U,
                      sign(unit.get(), digest, pss_mode(longest + 1), kMessage, signature));
        }
    }
}

TEST(Rsassa, SaltLengthComesFromTheModeWordAlone) {
    const RsaUnit unit = rsa_key(2048).load(Parts::kCrt);
    const PeerKey peer = rsa_key(2048).peer();
    for (const int32_t ignored : {0, 32, 64}) {
        ASSERT_EQ(0U, vrq_Set_RSASSA_PKCS1_PSS_SALT_Length(unit.get(), ignored));
        Bytes signature;
        ASSERT_EQ(0U, sign(unit.get(), VRQ_ID_SHA256, VRQ_RSASSA_PSS, kMessage, signature));
        EXPECT_EQ(1, peer_verify(peer, VRQ_ID_SHA256, pss_mode(20), signature));
        EXPECT_EQ(0U, verify(unit.get(), VRQ_ID_SHA256, pss_mode(20), kMessage, signature));
        EXPECT_EQ(kDifferentPss,
                  verify(unit.get(), VRQ_ID_SHA256, pss_mode(32), kMessage, signature));
    }
    const uint32_t first = VRQ_RSASSA_PSS | 0x200000U;
    ASSERT_EQ(0U, VRQ_Init_RSASSA(unit.get(), VRQ_ID_SHA256, first, 1));
    EXPECT_EQ(VRQ_ID_SHA256 | first, unit->mode);
    ASSERT_EQ(0U, VRQ_Init_RSASSA(unit.get(), VRQ_ID_SHA256, VRQ_ID_SHA1 | first, 1));
    EXPECT_EQ(VRQ_ID_SHA1 | first, unit->mode) << "the digest of the mask";
    ASSERT_EQ(0U, VRQ_Init_RSASSA(unit.get(), VRQ_ID_HMAC | VRQ_ID_SHA256, first, 1));
    EXPECT_EQ(static_cast<uint32_t>(VRQ_ID_SHA256), unit->digest->algorithm);
    EXPECT_EQ(VRQ_ID_HMAC | VRQ_ID_SHA256 | first, unit->mode)
        << "unknown, so the mask takes SHA-1";
}

Bytes plus(Bytes number, int summand) {
    for (std::size_t i = number.size(); i-- > 0 && summand != 0;) {
        const int sum = number[i] + summand;
        number[i] = static_cast<uint8_t>(sum);
        summand = sum >> 8;
    }
    return number;
}

TEST(Rsassa, TrivialValuesNeverVerify) {
    for (const std::size_t bits : {512, 1024, 2041, 2049}) {
        const StoredRsaKey& key = rsa_key(bits);
        const RsaUnit unit = key.load(Parts::kPublic);
        const Bytes n = key.modulus();
        Bytes longer = n;
        longer.insert(longer.begin(), 1);
        struct Row {
            Bytes signature;
            bool is_below;
        };
        const Row rows[] = {{{}, true},
                            {{0}, true},
                            {{1}, true},
                            {{2}, true},
                            {Bytes(n.size()), true},
                            {plus(n, -1), true},
                            {plus(n, -2), true},
                            {n, false},
                            {plus(n, 1), false},
                            {plus(n, 2), false},
                            {longer, false},
                            {Bytes(3 * n.size(), 0xFF), false}};
        for (const uint32_t mode : {0U, 1U, 2U}) {
            const uint32_t refusal = mode == 0   ? 0x1807000EU
                                     : mode == 1 ? kDifferentPkcs1
                                                 : kDifferentPss;
            for (const Row& row : rows) {
                SCOPED_TRACE(testing::Message()
                             << bits << " " << mode << " " << to_hex(row.signature));
                EXPECT_EQ(row.is_below ? refusal : 0x18070055U,
                          verify(unit.get(), VRQ_ID_SHA1, mode, kMessage, row.signature));
            }
        }
    }
}

TEST(Rsassa, ChangedSignaturesAndMessages) {
    const StoredRsaKey& key = rsa_key(1024);
    const RsaUnit unit = key.load(Parts::kCrt);
    for (const uint32_t mode : {0U, 1U, pss_mode(32)}) {
        const uint32_t refusal = mode == 0   ? 0x1807000EU
                                 : mode == 1 ? kDifferentPkcs1
                                             : kDifferentPss;
        Bytes good;
        ASSERT_EQ(0U, sign(unit.get(), VRQ_ID_SHA256, mode, kMessage, good));
        const auto outcome = [&](const Bytes& signature) {
            return verify(unit.get(), VRQ_ID_SHA256, mode, kMessage, signature);
        };
        EXPECT_EQ(0U, outcome(good));
        for (std::size_t bit = 8; bit < 8 * good.size(); bit += 13) {
            Bytes bad = good;
            bad[bit / 8] ^= static_cast<uint8_t>(1U << (bit % 8));
            EXPECT_EQ(refusal, outcome(bad));
        }
        Bytes message = kMessage;
        message.back() ^= 1;
        EXPECT_EQ(refusal, verify(unit.get(), VRQ_ID_SHA256, mode, message, good));
        EXPECT_EQ(refusal, verify(unit.get(), VRQ_ID_SHA256, mode, {}, good));
        EXPECT_NE(0U, verify(unit.get(), VRQ_ID_SHA512, mode, kMessage, good));
        EXPECT_NE(0U, verify(unit.get(), VRQ_ID_SHA256, mode ^ 1, kMessage, good));
        EXPECT_NE(0U, verify(unit.get(), VRQ_ID_SHA256, mode ^ 2, kMessage, good));
        Bytes padded = good;
        padded.insert(padded.begin(), 5, 0);
        EXPECT_EQ(0U, outcome(padded)) << "the value counts, not its leading zeros";
        EXPECT_EQ(refusal, outcome(Bytes(good.begin(), good.end() - 1)));
    }
}

Bytes hash_of(uint32_t digest, const Bytes& message) {
    Bytes out(64);
    uint32_t length = 0;
    EXPECT_EQ(0U, VRQ_DIGEST(digest, message.data(), static_cast<uint32_t>(message.size()),
                             out.data(), &length));
    out.resize(length);
    return out;
}

// Signatures made of blocks by libcrypto's powers, each with one rule broken.
class Blocks {
  public:
    Blocks(std::size_t bits, uint32_t mode)
        : key_(rsa_key(bits)), unit_(key_.load(Parts::kPublic)), mode_(mode) {}

    uint32_t outcome(const Bytes& block) const {
        return verify(unit_.get(), VRQ_ID_SHA256, mode_, kMessage, key_.power(block, "d"));
    }

  private:
    const StoredRsaKey& key_;
    RsaUnit unit_;
    uint32_t mode_;
};

TEST(Rsassa, MalformedPkcs1Blocks) {
    const std::size_t k = 128;
    const Blocks blocks(1024, 1);
    Bytes info = from_hex("3031300d060960864801650304020105000420");
    const Bytes hash = hash_of(VRQ_ID_SHA256, kMessage);
    info.insert(info.end(), hash.begin(), hash.end());
    Bytes good(k, 0xFF);
    good[0] = 0;
    good[1] = 1;
    good[k - info.size() - 1] = 0;
    std::copy(info.begin(), info.end(), good.end() - static_cast<long>(info.size()));
    EXPECT_EQ(0U, blocks.outcome(good));
    for (std::size_t i = 0; i < k; ++i) {
        Bytes bad = good;
        bad[i] ^= 1;
        EXPECT_EQ(kDifferentPkcs1, blocks.outcome(bad)) << i;
    }

    // Short padding with the rest of the block free, behind the hash or before it.
    for (const std::size_t padding : {0U, 1U, 8U, 40U}) {
        Bytes head = {0, 1};
        head.insert(head.end(), padding, 0xFF);
        head.push_back(0);
        head.insert(head.end(), info.begin(), info.end());
        Bytes bad = head;
        bad.resize(k);
        EXPECT_EQ(kDifferentPkcs1, blocks.outcome(bad));
        bad.assign(k - head.size(), 0);
        bad.insert(bad.end(), head.begin(), head.end());
        EXPECT_EQ(kDifferentPkcs1, blocks.outcome(bad));
    }
    Bytes without_null = from_hex("302f300b0609608648016503040201"
                                  "0420");
    without_null.insert(without_null.end(), hash.begin(), hash.end());
    Bytes bad(k, 0xFF);
    bad[0] = 0;
    bad[1] = 1;
    bad[k - without_null.size() - 1] = 0;
    std::copy(without_null.begin(), without_null.end(),
              bad.end() - static_cast<long>(without_null.size()));
    EXPECT_EQ(kDifferentPkcs1, blocks.outcome(bad));
    bad = good;
    bad[1] = 2;
    EXPECT_EQ(kDifferentPkcs1, blocks.outcome(bad));
}

// EMSA-PSS of the message over SHA-256, in parts that a test may change.
struct PssParts {
    PssParts(std::size_t bits, uint8_t salt_byte)
        : em_length((bits - 1 + 7) / 8),
          lead((bits + 7) / 8 - em_length),
          top_mask(static_cast<uint8_t>(0xFF >> (8 * em_length - (bits - 1)))),
          db(em_length - 33 - 33) {
        const Bytes salt(32, salt_byte);
        Bytes salted(8);
        for (const Bytes& part : {hash_of(VRQ_ID_SHA256, kMessage), salt})
            salted.insert(salted.end(), part.begin(), part.end());
        h = hash_of(VRQ_ID_SHA256, salted);
        db.push_back(1);
        db.insert(db.end(), salt.begin(), salt.end());
    }

    Bytes block() const {
        Bytes mask(db.size());
        EXPECT_EQ(0U, PKCS1_MGF1(mask.data(), static_cast<int32_t>(mask.size()), h.data(),
                                 static_cast<int32_t>(h.size()), VRQ_ID_SHA256));
        Bytes em(lead);
        for (std::size_t i = 0; i < db.size(); ++i) em.push_back(db[i] ^ mask[i]);
        em[lead] &= top_mask;
        em.insert(em.end(), h.begin(), h.end());
        em.push_back(trailer);
        return em;
    }

    std::size_t em_length;
    std::size_t lead; // zero bytes before the encoded message
    uint8_t top_mask;
    Bytes db;
    Bytes h;
    uint8_t trailer = 0xBC;
};

TEST(Rsassa, MalformedPssBlocks) {
    // No bit above the encoded message but a byte; one bit.
    for (const std::size_t bits : {2041, 1024}) {
        SCOPED_TRACE(bits);
        const Blocks blocks(bits, pss_mode(32));
        const PssParts good(bits, 0x5A);
        ASSERT_EQ(0U, blocks.outcome(good.block()));
        const auto refuses = [&](Bytes PssParts::*part, std::size_t at, uint8_t value) {
            PssParts bad = good;
            (bad.*part)[at] = value;
            EXPECT_EQ(kDifferentPss, blocks.outcome(bad.block())) << at;
        };
        const std::size_t separator = good.db.size() - 33;
        for (std::size_t at = 1; at < separator; at += 7) refuses(&PssParts::db, at, 1);
        refuses(&PssParts::db, separator - 1, 1); // a longer salt
        for (const uint8_t value : Bytes{0, 2, 3, 0x81}) refuses(&PssParts::db, separator, value);
        refuses(&PssParts::db, separator + 1, 0);
        refuses(&PssParts::db, good.db.size() - 1, 0);
        for (std::size_t at = 0; at < 32; ++at)
            refuses(&PssParts::h, at, static_cast<uint8_t>(good.h[at] ^ 4));
        for (const uint8_t trailer : Bytes{0, 0xBD, 0xCC, 0x3C}) {
            PssParts bad = good;
            bad.trailer = trailer;
            EXPECT_EQ(kDifferentPss, blocks.outcome(bad.block()));
        }
        const Bytes block = good.block();
        EXPECT_EQ(kDifferentPss, blocks.outcome(Bytes(block.begin(), block.end() - 1)));
        EXPECT_EQ(kDifferentPss, blocks.outcome({0xBC}));
    }
}

// Something above the bits of the encoded message; the salt is chosen so that the block is below n.
TEST(Rsassa, PssBlocksWithTooManyBits) {
    for (const std::size_t bits : {2041, 2047, 2048, 2049}) {
        SCOPED_TRACE(bits);
        Bytes bad = rsa_key(bits).modulus();
        for (int salt = 0; salt < 256 && bad >= rsa_key(bits).modulus(); ++salt) {
            const PssParts good(bits, static_cast<uint8_t>(salt));
            bad = good.block();
            bad[0] |= static_cast<uint8_t>(good.lead != 0 ? 1 : good.top_mask + 1);
        }
        ASSERT_LT(bad, rsa_key(bits).modulus());
        EXPECT_EQ(kDifferentPss, Blocks(bits, pss_mode(32)).outcome(bad));
    }
}

// The shortest moduli, down to two bytes, and digests longer than they are.
TEST(Rsassa, TinyModuli) {
    const RsaUnit unit = test::tiny_rsa();
    ASSERT_NE(nullptr, unit);
    Bytes signature;
    for (const uint32_t digest : {VRQ_ID_MD5, VRQ_ID_SHA1, VRQ_ID_SHA512}) {
        EXPECT_EQ(0x1806003DU, sign(unit.get(), digest, 0, kMessage, signature));
        for (const uint32_t mode : {1U, 2U, pss_mode(255)}) {
            EXPECT_EQ(0x18060012U, sign(unit.get(), digest, mode, kMessage, signature));
            for (const Bytes& value :
                 {Bytes{0}, Bytes{1}, Bytes{2}, Bytes{0x0A, 0xE6}, Bytes{0x0C, 0xA0}})
                EXPECT_NE(0U, verify(unit.get(), digest, mode, kMessage, value));
        }
    }
    // PKCS #1 v1.5 takes a hash that leaves no padding; PSS takes one byte more than it has.
    const RsaUnit small = rsa_key(512).load(Parts::kCrt);
    EXPECT_EQ(0x18060012U, sign(small.get(), VRQ_ID_SHA384, 1, kMessage, signature));
    EXPECT_EQ(0U, sign(small.get(), VRQ_ID_SHA256, 1, kMessage, signature));
    EXPECT_EQ(0U, verify(small.get(), VRQ_ID_SHA256, 1, kMessage, signature));
    EXPECT_EQ(0U, sign(small.get(), VRQ_ID_SHA256, pss_mode(30), kMessage, signature));
    EXPECT_EQ(0U, verify(small.get(), VRQ_ID_SHA256, pss_mode(30), kMessage, signature));
    EXPECT_EQ(0x18060012U, sign(small.get(), VRQ_ID_SHA256, pss_mode(31), kMessage, signature));
}

TEST(Rsassa, Statuses) {
    RsaUnit unit(VRQ_New_RSA());
    uint8_t out[64] = {};
    uint32_t length = 64;
    EXPECT_EQ(0x18030049U, VRQ_Init_RSASSA(nullptr, VRQ_ID_SHA1, 1, 0));
    for (const uint32_t digest : {0U, 0x12345600U}) {
        EXPECT_EQ(0x18030059U, VRQ_Init_RSASSA(unit.get(), digest, 1, 0));
        EXPECT_EQ(nullptr, unit->digest) << "a new digest unit is not kept";
    }
    EXPECT_EQ(0x18040049U, VRQ_Update_RSASSA(nullptr, out, 1));
    EXPECT_EQ(0x18040059U, VRQ_Update_RSASSA(unit.get(), out, 1)) << "no digest unit";
    EXPECT_EQ(0U, VRQ_Init_RSASSA(unit.get(), VRQ_ID_SHA1, 1, 0));
    EXPECT_EQ(0x18030023U, VRQ_Init_RSASSA(unit.get(), 0x12345600, 1, 0));
    EXPECT_EQ(0x18040059U, VRQ_Update_RSASSA(unit.get(), out, 1)) << "the unit lost its digest";
    EXPECT_EQ(0U, VRQ_Init_RSASSA(unit.get(), VRQ_ID_SHA1, 1, 0));
    EXPECT_EQ(0x18040059U, VRQ_Update_RSASSA(unit.get(), nullptr, 1));
    EXPECT_EQ(0x18040059U, VRQ_Update_RSASSA(unit.get(), out, -1));

    EXPECT_EQ(0x18050049U, VRQ_Final_RSASSA(nullptr, out, &length));
    EXPECT_EQ(0x18050049U, VRQ_Final_RSASSA(unit.get(), nullptr, &length));
    EXPECT_EQ(0x18050049U, VRQ_Final_RSASSA(unit.get(), out, nullptr));
    EXPECT_EQ(0x18060049U, VRQ_Sign_RSASSA(nullptr, out, &length));
    EXPECT_EQ(0x18060049U, VRQ_Sign_RSASSA(unit.get(), nullptr, &length));
    EXPECT_EQ(0x18060049U, VRQ_Sign_RSASSA(unit.get(), out, nullptr));
    EXPECT_EQ(0x18070049U, VRQ_Verify_RSASSA(nullptr, out, 64));
    EXPECT_EQ(0x18070049U, VRQ_Verify_RSASSA(unit.get(), nullptr, 64));
    EXPECT_EQ(0x1807002BU, VRQ_Verify_RSASSA(unit.get(), out, -1));
    EXPECT_EQ(0x18070055U, VRQ_Verify_RSASSA(unit.get(), out, 64)) << "no modulus";
    EXPECT_EQ(0x18060012U, VRQ_Sign_RSASSA(unit.get(), out, &length));

    for (const int32_t flags : {0, 1, 2, 3, 4, 15}) {
        unit->key_flags = flags;
        unit->direction = 1;
        EXPECT_EQ(flags > 3 ? 0x18060012U : 0x18050045U,
                  VRQ_Final_RSASSA(unit.get(), out, &length));
        unit->direction = 0;
        EXPECT_EQ(flags > 2 ? 0x18070055U : 0x18050046U,
                  VRQ_Final_RSASSA(unit.get(), out, &length));
    }

    unit = rsa_key(512).load(Parts::kPublic);
    EXPECT_EQ(0x18060059U, VRQ_Sign_RSASSA(unit.get(), out, &length)) << "no digest unit";
    EXPECT_EQ(0x18070059U, VRQ_Verify_RSASSA(unit.get(), out, 64));
    ASSERT_EQ(0U, VRQ_Init_RSASSA(unit.get(), VRQ_ID_SHA1, 1, 1));
    EXPECT_EQ(0x18050045U, VRQ_Final_RSASSA(unit.get(), out, &length));
    EXPECT_EQ(0x18060059U, VRQ_Sign_RSASSA(unit.get(), out, &length)) << "no d";
    for (const uint32_t mode : {3U, 8U, 32U, 255U}) {
        ASSERT_EQ(0U, VRQ_Init_RSASSA(unit.get(), VRQ_ID_SHA1, mode, 1));
        EXPECT_EQ(0x1806002AU, VRQ_Sign_RSASSA(unit.get(), out, &length));
        EXPECT_EQ(0x1807000EU, VRQ_Verify_RSASSA(unit.get(), out, 64));
    }
    ASSERT_EQ(0U, VRQ_Init_RSASSA(unit.get(), VRQ_ID_SHA224, 1, 1));
    EXPECT_EQ(0x18060012U, VRQ_Sign_RSASSA(unit.get(), out, &length)) << "no prefix";
    EXPECT_EQ(0x180D0012U, VRQ_Verify_RSASSA(unit.get(), out, 64));

    unit = rsa_key(512).load(Parts::kCrt);
    Bytes signature;
    VRQ_Add_BIGINT_Word(unit->d, 2);
    drop_blinding(unit.get());
    EXPECT_EQ(0x1806002EU, sign(unit.get(), VRQ_ID_SHA1, 1, kMessage, signature));
    EXPECT_NE(nullptr, unit->blind_A) << "blinded before the key check";
    VRQ_Sub_BIGINT_Word(unit->d, 2);
    VRQ_Set_BIGINT_Word(unit->blind_Ai, 0);
    EXPECT_EQ(0x18060054U, sign(unit.get(), VRQ_ID_SHA1, 1, kMessage, signature));
    VRQ_Free_BIGINT(unit->blind_Ai);
    unit->blind_Ai = nullptr;
    EXPECT_EQ(0x18060059U, sign(unit.get(), VRQ_ID_SHA1, 1, kMessage, signature));
    unit->n->data[0] &= ~1U;
    EXPECT_EQ(0x18070059U, verify(unit.get(), VRQ_ID_SHA1, 1, kMessage, {1, 2, 3}));
}

TEST(ProvenRsassa, ApprovedSizesModesAndDigests) {
    uint8_t out[300] = {};
    uint32_t length = 300;
    RsaUnit unit = rsa_key(2040).load(Parts::kCrt);
    EXPECT_EQ(0x18030048U, VRQ_Init_RSASSA(unit.get(), VRQ_ID_SHA256, 2, 1));
    EXPECT_EQ(0x18050048U, VRQ_Final_RSASSA(unit.get(), out, &length));
    EXPECT_EQ(0x18060048U, VRQ_Sign_RSASSA(unit.get(), out, &length));
    EXPECT_EQ(0x18070048U, VRQ_Verify_RSASSA(unit.get(), out, 255));
    ASSERT_NE(nullptr, vrq_Expand_BIGINT(unit->n, 70));
    for (; unit->n->used < 70; ++unit->n->used) unit->n->data[unit->n->used] = 0;
    EXPECT_EQ(0x18060048U, VRQ_Sign_RSASSA(unit.get(), out, &length)) << "zeros make it no longer";
    for (const std::size_t bits : {2041, 2048}) {
        unit = rsa_key(bits).load(Parts::kCrt);
        EXPECT_EQ(0x180300F0U, VRQ_Init_RSASSA(unit.get(), VRQ_ID_SHA256, 1, 1));
        for (const uint32_t digest :
             {0U, 0x05000100U, 0x05000400U, 0x05000500U, 0x06000100U, 0x15000300U})
            EXPECT_EQ(0x180300F0U, VRQ_Init_RSASSA(unit.get(), digest, 2, 1));
        for (const uint32_t digest : {VRQ_ID_SHA224, VRQ_ID_SHA256}) {
            for (const uint32_t mode : {pss_mode(0), pss_mode(32)}) {
                Bytes signature;
                EXPECT_EQ(0U, sign(unit.get(), digest, mode, kMessage, signature));
                EXPECT_EQ(0U, verify(unit.get(), digest, mode, kMessage, signature));
                signature[7] ^= 1;
                EXPECT_EQ(kDifferentPss, verify(unit.get(), digest, mode, kMessage, signature));
            }
        }
        ASSERT_EQ(0U, VRQ_Init_RSASSA(unit.get(), VRQ_ID_SHA256, 0, 1)) << "raw is refused later";
        EXPECT_EQ(0x180600F0U, VRQ_Sign_RSASSA(unit.get(), out, &length));
        EXPECT_EQ(0x1807000EU, VRQ_Verify_RSASSA(unit.get(), out, 200));
        unit->mode |= 1;
        EXPECT_EQ(0x180600F0U, VRQ_Sign_RSASSA(unit.get(), out, &length));
        EXPECT_EQ(0x180700F0U, VRQ_Verify_RSASSA(unit.get(), out, 200));
        // Bound by the encryption side, which admits more digests.
        ASSERT_EQ(0U, VRQ_Init_RSAES(unit.get(), 8, 1, VRQ_ID_SHA512));
        unit->mode = VRQ_ID_SHA512 | 2U;
        EXPECT_EQ(0x180600F0U, VRQ_Sign_RSASSA(unit.get(), out, &length));
        EXPECT_EQ(0x180700F0U, VRQ_Verify_RSASSA(unit.get(), out, 200));
    }
}

} // namespace
