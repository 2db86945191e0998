// KCDSA: known answers, round trips, forged signatures, keys and domains.
#include "api/kcdsa_cases.h"

namespace {

using test::Bn;
using test::Bytes;
using test::Int;
using test::Kcdsa;
using test::KcdsaDomain;
using test::KcdsaSignature;
using test::new_kcdsa;

constexpr uint32_t kForged = 0x100C005E;
const Bytes kMessage = {'m', 'e', 's', 's', 'a', 'g', 'e'};

uint32_t digest_of(const std::string& name) {
    if (name == "KCDSA-SHA-224") return VRQ_ID_SHA224;
    if (name == "KCDSA-SHA-256") return VRQ_ID_SHA256;
    if (name == "KCDSA-HAS-160") return VRQ_ID_HAS160;
    return 0;
}

// A unit with one of the domains and a fresh key pair.
Kcdsa with_keys(const std::string& domain) {
    Kcdsa unit = new_kcdsa();
    const KcdsaDomain& d = test::kcdsa_domain(domain);
    EXPECT_EQ(0U, VRQ_Set_KCDSA_Params(unit.get(), d.p, d.q, d.g, nullptr, nullptr));
    EXPECT_EQ(0U, VRQ_Generate_KCDSA_Key_Pair_Ex(unit.get()));
    return unit;
}

KcdsaSignature signed_message(VRQ_KCDSA_UNIT* unit, uint32_t digest, const Bytes& message) {
    KcdsaSignature signature;
    EXPECT_EQ(0U, VRQ_Init_KCDSA_Ex(unit, 1, digest));
    EXPECT_EQ(0U, test::update(unit, message));
    EXPECT_EQ(0U, test::sign(unit, signature));
    return signature;
}

uint32_t verified(VRQ_KCDSA_UNIT* unit, uint32_t digest, const Bytes& message,
                  const KcdsaSignature& signature) {
    EXPECT_EQ(0U, VRQ_Init_KCDSA_Ex(unit, 0, digest));
    EXPECT_EQ(0U, test::update(unit, message));
    return test::verify(unit, signature);
}

TEST(Kcdsa, KnownAnswersVerify) {
    std::map<uint32_t, int> seen;
    for (const test::Record& record : test::load_vectors("pubkey/kcdsa.vec")) {
        const uint32_t digest = digest_of(record.name);
        if (digest == 0) continue;
        SCOPED_TRACE(record.where);
        const KcdsaDomain& d = test::kcdsa_domain(record.text("domain"));
        const Kcdsa unit = new_kcdsa();
        ASSERT_EQ(0U,
                  VRQ_Set_KCDSA_Params(unit.get(), d.p, d.q, d.g, nullptr, Int(record.text("y"))));
        const KcdsaSignature signature = {record.bytes("r"), record.bytes("s")};
        EXPECT_EQ(record.text("result") == "pass" ? 0U : kForged,
                  verified(unit.get(), digest, record.bytes("msg"), signature));
        ++seen[digest];
    }
    EXPECT_EQ(3U, seen.size());
}

TEST(Kcdsa, PublicKeyFollowsFromThePrivateOne) {
    for (const test::Record& record : test::load_vectors("pubkey/kcdsa.vec")) {
        if (digest_of(record.name) == 0 || !record.has("x")) continue;
        SCOPED_TRACE(record.where);
        const KcdsaDomain& d = test::kcdsa_domain(record.text("domain"));
        const Kcdsa unit = new_kcdsa();
        ASSERT_EQ(0U,
                  VRQ_Set_KCDSA_Params(unit.get(), d.p, d.q, d.g, Int(record.text("x")), nullptr));
        EXPECT_EQ(Int(record.text("y")).hex(), test::hex_of(unit->y));
        ASSERT_EQ(0U, VRQ_Init_KCDSA_Ex(unit.get(), 1, digest_of(record.name)));
        ASSERT_EQ(0U, test::update(unit.get(), kMessage));
        if (record.has("z")) {
            EXPECT_EQ(Int(record.text("z")).hex(), test::hex_of(unit->z));
        }
    }
}

TEST(Kcdsa, RoundTripsOverDomainsAndDigests) {
    for (const char* domain : {"D1", "D2", "D3"}) {
        const Kcdsa unit = with_keys(domain);
        for (const uint32_t digest : {VRQ_ID_SHA1, VRQ_ID_SHA224, VRQ_ID_SHA256, VRQ_ID_SHA384,
                                      VRQ_ID_SHA512, VRQ_ID_MD5, VRQ_ID_HAS160, VRQ_ID_MDC2}) {
            SCOPED_TRACE(std::string(domain) + ' ' + VRQ_Get_DIGEST_Alg_Name(digest));
            const KcdsaSignature signature = signed_message(unit.get(), digest, kMessage);
            EXPECT_EQ(VRQ_Get_DIGEST_Length(digest), signature.r.size());
            EXPECT_EQ(VRQ_Get_KCDSA_Length(unit.get()), signature.s.size());
            EXPECT_EQ(0U, verified(unit.get(), digest, kMessage, signature));
            EXPECT_EQ(kForged, verified(unit.get(), digest, {'m'}, signature));
        }
    }
}

TEST(Kcdsa, AnyCutOfTheMessageAndManyMessagesOfOneUnit) {
    const Kcdsa unit = with_keys("D3");
    const Bytes message(300, 'x');
    const KcdsaSignature whole = signed_message(unit.get(), VRQ_ID_SHA256, message);
    ASSERT_EQ(0U, VRQ_Init_KCDSA_Ex(unit.get(), 0, VRQ_ID_SHA256));
    for (const int32_t cut : {1, 63, 64, 65, 299}) {
        ASSERT_EQ(0U, VRQ_Update_KCDSA(unit.get(), message.data(), cut));
        ASSERT_EQ(0U, VRQ_Update_KCDSA(unit.get(), message.data() + cut, 300 - cut));
        EXPECT_EQ(0U, test::verify(unit.get(), whole)) << cut;
        EXPECT_EQ(nullptr, unit->z);
    }
    // A second Init drops what was fed, and takes the digest named.
    ASSERT_EQ(0U, test::update(unit.get(), message));
    const KcdsaSignature other = signed_message(unit.get(), VRQ_ID_HAS160, message);
    EXPECT_EQ(20U, other.r.size());
    EXPECT_EQ(0U, verified(unit.get(), VRQ_ID_HAS160, message, other));
}

TEST(Kcdsa, EmptyMessageIsHashedBehindZ) {
    const Kcdsa unit = with_keys("D3");
    const Kcdsa stranger = with_keys("D3");
    ASSERT_EQ(0U, VRQ_Init_KCDSA_Ex(unit.get(), 1, VRQ_ID_SHA256));
    KcdsaSignature signature;
    ASSERT_EQ(0U, test::sign(unit.get(), signature));
    for (const VRQ_KCDSA_UNIT* key : {unit.get(), stranger.get()}) {
        const Kcdsa verifier = new_kcdsa();
        ASSERT_EQ(0U,
                  VRQ_Set_KCDSA_Params(verifier.get(), key->p, key->q, key->g, nullptr, key->y));
        ASSERT_EQ(0U, VRQ_Init_KCDSA_Ex(verifier.get(), 0, VRQ_ID_SHA256));
        EXPECT_EQ(key == unit.get() ? 0U : kForged, test::verify(verifier.get(), signature));
    }
}

TEST(Kcdsa, OlderFormSignsWithHas160) {
    const Kcdsa unit = with_keys("D2");
    KcdsaSignature signature;
    for (const int32_t direction : {1, 0}) {
        ASSERT_EQ(0U, VRQ_Init_KCDSA(unit.get(), direction));
        ASSERT_NE(nullptr, unit->prng->xkey);
        ASSERT_EQ(0U, test::update(unit.get(), kMessage));
        ASSERT_EQ(0U, direction == 1 ? test::sign(unit.get(), signature)
                                     : test::verify(unit.get(), signature));
    }
    EXPECT_EQ(20U, signature.r.size());
    EXPECT_EQ(32U, signature.s.size());
}

TEST(Kcdsa, TwoSignaturesOfOneMessageDiffer) {
    const Kcdsa unit = with_keys("D3");
    const KcdsaSignature first = signed_message(unit.get(), VRQ_ID_HAS160, kMessage);
    const KcdsaSignature second = signed_message(unit.get(), VRQ_ID_HAS160, kMessage);
    EXPECT_NE(first.r, second.r);
    EXPECT_NE(first.s, second.s);
}

TEST(Kcdsa, ForgedSignaturesAreRefused) {
    const Kcdsa unit = with_keys("D3");
    const KcdsaSignature genuine = signed_message(unit.get(), VRQ_ID_HAS160, kMessage);
    const auto expect_forged = [&](const char* what, const KcdsaSignature& forged) {
        EXPECT_EQ(kForged, verified(unit.get(), VRQ_ID_HAS160, kMessage, forged)) << what;
    };
    const auto bytes_of = [](const Bn& n) {
        Bytes out(static_cast<std::size_t>(BN_num_bytes(n)));
        BN_bn2bin(n, out.data());
        return out;
    };
    const Bn q(unit->q);
    const Bn above(unit->q);
    BN_add_word(above, 1);
    const Bn shifted(unit->q); // s + q, the same modulo q
    const Bn s;
    BN_bin2bn(genuine.s.data(), static_cast<int>(genuine.s.size()), s);
    BN_add(shifted, shifted, s);

    expect_forged("s = 0", {genuine.r, Bytes(20, 0)});
    expect_forged("s of no bytes", {genuine.r, {}});
    expect_forged("s = q", {genuine.r, bytes_of(q)});
    expect_forged("s = q + 1", {genuine.r, bytes_of(above)});
    expect_forged("s + q", {genuine.r, bytes_of(shifted)});
    expect_forged("r = 0", {Bytes(20, 0), genuine.s});
    expect_forged("r of no bytes", {{}, genuine.s});
    expect_forged("r = q", {bytes_of(q), genuine.s});
    expect_forged("r = q + 1", {bytes_of(above), genuine.s});
    KcdsaSignature padded = genuine;
    padded.r.insert(padded.r.begin(), 0);
    expect_forged("r longer than the digest", padded);
    padded = genuine;
    padded.s.insert(padded.s.begin(), 0);
    expect_forged("s longer than q", padded);
    expect_forged("r and s swapped", {genuine.s, genuine.r});
    for (std::size_t bit = 0; bit < 160; bit += 7) {
        KcdsaSignature flipped = genuine;
        flipped.r[bit / 8] ^= static_cast<uint8_t>(1U << bit % 8);
        expect_forged("bit of r", flipped);
        flipped = genuine;
        flipped.s[bit / 8] ^= static_cast<uint8_t>(1U << bit % 8);
        expect_forged("bit of s", flipped);
    }
    test::widen(unit->y);
    EXPECT_EQ(0U, verified(unit.get(), VRQ_ID_HAS160, kMessage, genuine));
}

// r and s without leading zero bytes mean the same numbers.
TEST(Kcdsa, ShortComponentsAreFilledUp) {
    const Kcdsa unit = with_keys("D3");
    KcdsaSignature signature;
    do {
        signature = signed_message(unit.get(), VRQ_ID_HAS160, kMessage);
    } while (signature.s.front() != 0 && signature.r.front() != 0);
    for (Bytes* part : {&signature.r, &signature.s}) {
        while (part->front() == 0) part->erase(part->begin());
    }
    EXPECT_EQ(0U, verified(unit.get(), VRQ_ID_HAS160, kMessage, signature));
}

// With y = 0 or 1 and the hash of a constant everybody could sign.
TEST(Kcdsa, PublicKeysOutOfRangeVerifyNothing) {
    const KcdsaDomain& d = test::kcdsa_domain("D3");
    const Kcdsa unit = with_keys("D3");
    const KcdsaSignature genuine = signed_message(unit.get(), VRQ_ID_HAS160, kMessage);
    const Int above;
    ASSERT_EQ(0U, VRQ_Add_BIGINT(above, unit->y, d.p, nullptr));
    for (const Int& y : {Int("0"), Int("1"), Int(d.p), above}) {
        const Kcdsa verifier = new_kcdsa();
        ASSERT_EQ(0U, VRQ_Set_KCDSA_Params(verifier.get(), d.p, d.q, d.g, nullptr, y));
        EXPECT_EQ(kForged, verified(verifier.get(), VRQ_ID_HAS160, kMessage, genuine)) << y.hex();
    }
}

// Neither refuses a good signature nor admits s + q or y + p.
TEST(Kcdsa, LeadingZeroWordsCountForNothing) {
    const KcdsaDomain& d = test::kcdsa_domain("D3");
    const Kcdsa unit = with_keys("D3");
    const auto verdict = [&](const VRQ_BIGINT* y, const KcdsaSignature& signature) {
        const Kcdsa padded = new_kcdsa();
        EXPECT_EQ(0U, VRQ_Set_KCDSA_Params(padded.get(), test::with_leading_zeros(d.p),
                                           test::with_leading_zeros(d.q),
                                           test::with_leading_zeros(d.g), nullptr, y));
        return verified(padded.get(), VRQ_ID_HAS160, kMessage, signature);
    };
    KcdsaSignature good;
    const Int sum;
    do { // until s + q is no longer than q
        good = signed_message(unit.get(), VRQ_ID_HAS160, kMessage);
        VRQ_Add_BIGINT(sum, Int(good.s), d.q, nullptr);
    } while (VRQ_Get_BIGINT_Bits_Length(sum) > 160);
    EXPECT_EQ(0U, verdict(unit->y, good));
    EXPECT_EQ(0U, verdict(test::with_leading_zeros(unit->y), good));
    KcdsaSignature above = good;
    VRQ_BIGINT_To_Binary_Unsigned(sum, above.s.data());
    EXPECT_EQ(kForged, verdict(unit->y, above));
    VRQ_Add_BIGINT(sum, unit->y, d.p, nullptr);
    EXPECT_EQ(kForged, verdict(sum, good));
}

TEST(Kcdsa, KeyPairsOfBothForms) {
    for (const char* domain : {"D1", "D3"}) {
        const KcdsaDomain& d = test::kcdsa_domain(domain);
        for (const auto generate : {VRQ_Generate_KCDSA_Key_Pair, VRQ_Generate_KCDSA_Key_Pair_Ex}) {
            const Kcdsa unit = new_kcdsa();
            ASSERT_EQ(0U, VRQ_Set_KCDSA_Params(unit.get(), d.p, d.q, d.g, nullptr, nullptr));
            ASSERT_EQ(0U, generate(unit.get()));
            const std::string first = test::hex_of(unit->x);
            EXPECT_EQ(-1, VRQ_Cmp_BIGINT(unit->x, unit->q));
            EXPECT_GT(VRQ_Get_BIGINT_Bits_Length(unit->x), 100U);
            const Kcdsa same = new_kcdsa(); // y of its own
            ASSERT_EQ(0U, VRQ_Set_KCDSA_Params(same.get(), d.p, d.q, d.g, unit->x, nullptr));
            EXPECT_EQ(0, VRQ_Cmp_BIGINT(unit->y, same->y));
            ASSERT_EQ(0U, generate(unit.get()));
            EXPECT_NE(first, test::hex_of(unit->x));
        }
    }
}

TEST(Kcdsa, RandomNumbersCoverAllBelowTheBound) {
    const Int out;
    for (const char* bound : {"1", "2", "5", "100", "101"}) {
        const Int q(bound);
        std::map<uint32_t, int> seen;
        const uint32_t limit = VRQ_Get_BIGINT_Word(q);
        for (uint32_t i = 0; i < 24 * limit; ++i) {
            ASSERT_EQ(0U, vrq_Get_Rand_KCDSA_BIGINT(nullptr, VRQ_ID_SHA224, out, q));
            ASSERT_LT(VRQ_Get_BIGINT_Word(out), limit);
            ++seen[VRQ_Get_BIGINT_Word(out)];
        }
        EXPECT_EQ(limit, seen.size());
    }
    const Int& p = test::kcdsa_domain("D2").p; // many blocks of the digest
    ASSERT_EQ(0U, vrq_Get_Rand_KCDSA_BIGINT(nullptr, VRQ_ID_HAS160, out, p));
    EXPECT_EQ(-1, VRQ_Cmp_BIGINT(out, p));
    EXPECT_GT(VRQ_Get_BIGINT_Bits_Length(out), 1900U);
    const Int own(p);
    ASSERT_EQ(0U, vrq_Get_Rand_KCDSA_BIGINT(nullptr, VRQ_ID_SHA256, own, own));
    EXPECT_EQ(-1, VRQ_Cmp_BIGINT(own, p));
}

// The expansion gives J and q of the published domains.
TEST(Kcdsa, ExpansionOfPublishedSeeds) {
    int seen = 0;
    for (const test::Record& record : test::load_vectors("pubkey/kcdsa.vec")) {
        if (record.name.find("PARAMGEN") == std::string::npos) continue;
        SCOPED_TRACE(record.where);
        const std::string hash = record.name.substr(record.name.find("PARAMGEN-") + 9);
        const uint32_t digest = digest_of("KCDSA-" + hash);
        Bytes seed = record.bytes("seed");
        const auto p_bits = static_cast<uint32_t>(record.number("p_bits"));
        const auto q_bits = static_cast<uint32_t>(record.number("q_bits"));
        Bytes j((p_bits - q_bits) / 8);
        const auto length = static_cast<uint32_t>(seed.size());
        ASSERT_EQ(0U, prng_KCDSA_ex(digest, seed.data(), length, j.data(), p_bits - q_bits - 4));
        EXPECT_LT(j.front(), 16);
        j.front() |= 0x80;
        j.back() |= 1;
        EXPECT_EQ(record.text("j"), test::to_hex(j));

        const auto count = static_cast<uint32_t>(record.number("count"));
        for (int shift = 24; shift >= 0; shift -= 8)
            seed.push_back(static_cast<uint8_t>(count >> shift));
        Bytes q(q_bits / 8);
        if (digest == VRQ_ID_HAS160) {
            ASSERT_EQ(0U, prng_KCDSA(seed.data(), length + 4, q.data(), q_bits));
        } else {
            ASSERT_EQ(0U, prng_KCDSA_ex(digest, seed.data(), length + 4, q.data(), q_bits));
        }
        q.front() |= 0x80;
        q.back() |= 1;
        EXPECT_EQ(record.text("q"), test::to_hex(q));
        EXPECT_EQ(0U, vrq_prng_DH_Params(digest, seed.data(), length + 4, q.data(), q_bits));
        ++seen;
    }
    EXPECT_EQ(3, seen);
}

void expect_domain(const VRQ_KCDSA_UNIT* unit, uint32_t p_bits, uint32_t q_bits) {
    EXPECT_EQ(p_bits, VRQ_Get_BIGINT_Bits_Length(unit->p));
    EXPECT_EQ(q_bits, VRQ_Get_BIGINT_Bits_Length(unit->q));
    const Int r;
    ASSERT_EQ(0U, VRQ_Mod_Exp_BIGINT(r, unit->g, unit->q, unit->p, nullptr));
    EXPECT_EQ("1", r.hex());
    EXPECT_NE("1", test::hex_of(unit->g));
    EXPECT_EQ(1, BN_check_prime(Bn(unit->q), nullptr, nullptr));
}

// A stored domain follows the search but for about one in a hundred times, when that finds one itself.
TEST(Kcdsa, StoredDomainsIgnoreTheLengthOfQ) {
    struct Row {
        uint32_t p_bits;
        uint32_t q_bits;
    };
    for (const Row& row : {Row{2048, 224}, Row{1090, 170}}) {
        const Kcdsa unit = new_kcdsa();
        for (int i = 0; i < 8; ++i) {
            ASSERT_EQ(0U, VRQ_Generate_KCDSA_Params_Ex(unit.get(), VRQ_ID_SHA256, row.p_bits,
                                                       row.q_bits));
            EXPECT_EQ(row.q_bits / 8, unit->seed_length);
            if (VRQ_Get_BIGINT_Bits_Length(unit->q) != row.q_bits) break;
            expect_domain(unit.get(), row.p_bits, row.q_bits);
        }
        expect_domain(unit.get(), 2048, 256);
    }
}

TEST(Kcdsa, GeneratedDomainsSign) {
    const Kcdsa unit = new_kcdsa();
    ASSERT_EQ(0U, VRQ_Generate_KCDSA_Params(unit.get(), 1024, 160));
    expect_domain(unit.get(), 1024, 160);
    ASSERT_EQ(0U, VRQ_Generate_KCDSA_Key_Pair(unit.get()));
    const KcdsaSignature signature = signed_message(unit.get(), VRQ_ID_HAS160, kMessage);
    EXPECT_EQ(0U, verified(unit.get(), VRQ_ID_HAS160, kMessage, signature));
    ASSERT_EQ(0U, VRQ_Generate_KCDSA_Params_Ex(unit.get(), VRQ_ID_SHA1, 1024, 160));
    expect_domain(unit.get(), 1024, 160);
}

// The real search, which only proven mode runs to its end.
TEST(ProvenKcdsa, SearchKeepsTheLengths) {
    const Kcdsa unit = new_kcdsa();
    ASSERT_EQ(0U, VRQ_Generate_KCDSA_Params_Ex(unit.get(), VRQ_ID_SHA224, 2048, 224));
    expect_domain(unit.get(), 2048, 224);
    const Int p(test::hex_of(unit->j)); // p = 2 j q + 1
    ASSERT_EQ(0U, VRQ_Mtp_BIGINT(p, p, unit->q, nullptr));
    ASSERT_EQ(0U, vrq_Left_Shift_BIGINT(p, p, 1));
    ASSERT_EQ(0U, VRQ_Add_BIGINT_Word(p, 1));
    EXPECT_EQ(0, VRQ_Cmp_BIGINT(p, unit->p));

    ASSERT_EQ(0U, VRQ_Generate_KCDSA_Key_Pair_Ex(unit.get()));
    const KcdsaSignature signature = signed_message(unit.get(), VRQ_ID_SHA224, kMessage);
    EXPECT_EQ(0U, verified(unit.get(), VRQ_ID_SHA224, kMessage, signature));
}

} // namespace
