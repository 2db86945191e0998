// RSA units and keys: life cycle, loading, blinding pair, key check, Chinese remainder theorem.
#include "harness/rsa_keys.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <array>
#include <numeric>

namespace {

using test::Bn;
using test::Int;
using test::new_rsa;
using test::RsaKey;
using test::RsaUnit;

const RsaKey& key512() {
    static const RsaKey key = RsaKey::random(512);
    return key;
}

std::string hex(const VRQ_BIGINT* a) {
    return a == nullptr ? "(null)" : test::text_of(VRQ_BIGINT_To_HEX, a);
}

Bn product_mod(const BIGNUM* a, const BIGNUM* b, const BIGNUM* m) {
    Bn r;
    BN_mod_mul(r, a, b, m, test::bn_context());
    return r;
}

// ---- Life cycle ----

TEST(RsaUnit, CleanKeepsWhatIsNoKey) {
    const RsaUnit unit = new_rsa();
    ASSERT_NE(nullptr, unit);
    EXPECT_EQ(1, unit->use_crt);
    EXPECT_EQ(0, unit->key_flags);
    ASSERT_NE(nullptr, unit->pool);
    ASSERT_EQ(0U, key512().load(unit.get()));
    unit->mode = 0x05000308;
    unit->direction = 1;
    unit->use_crt = 0;
    EXPECT_EQ(0U, vrq_Set_RSASSA_PKCS1_PSS_SALT_Length(unit.get(), 32));
    unit->digest = VRQ_New_DIGEST_Unit();
    const VRQ_BIGINT_POOL* const pool = unit->pool;

    VRQ_Clean_RSA(unit.get());
    for (const void* part : std::initializer_list<const void*>{
             unit->n, unit->e, unit->d, unit->p, unit->q, unit->dP, unit->dQ, unit->qInv,
             unit->blind_A, unit->blind_Ai, unit->digest})
        EXPECT_EQ(nullptr, part);
    EXPECT_EQ(0x05000308U, unit->mode);
    EXPECT_EQ(15, unit->key_flags);
    EXPECT_EQ(1U, unit->direction);
    EXPECT_EQ(0, unit->use_crt);
    EXPECT_EQ(32, unit->pss_salt_length);
    EXPECT_EQ(pool, unit->pool);
    VRQ_Clean_RSA(nullptr);
    VRQ_Free_RSA(nullptr);
}

TEST(RsaUnit, DuplicateHasTheKeyAlone) {
    const RsaUnit unit = new_rsa();
    ASSERT_EQ(0U, key512().load(unit.get()));
    unit->mode = 0x05000308;
    unit->direction = 1;
    unit->use_crt = 0;
    unit->pss_salt_length = 32;
    unit->digest = VRQ_New_DIGEST_Unit();

    const RsaUnit copy(VRQ_Dup_RSA(unit.get()));
    ASSERT_NE(nullptr, copy);
    EXPECT_EQ(unit->mode, copy->mode);
    EXPECT_EQ(unit->key_flags, copy->key_flags);
    EXPECT_EQ(unit->direction, copy->direction);
    EXPECT_EQ(unit->use_crt, copy->use_crt);
    constexpr VRQ_BIGINT* VRQ_RSA_UNIT::*kParts[] = {
        &VRQ_RSA_UNIT::n, &VRQ_RSA_UNIT::e,  &VRQ_RSA_UNIT::d,  &VRQ_RSA_UNIT::p,
        &VRQ_RSA_UNIT::q, &VRQ_RSA_UNIT::dP, &VRQ_RSA_UNIT::dQ, &VRQ_RSA_UNIT::qInv};
    for (const auto part : kParts) {
        EXPECT_EQ(hex(unit.get()->*part), hex(copy.get()->*part));
        EXPECT_NE(unit.get()->*part, copy.get()->*part);
    }
    EXPECT_EQ(nullptr, copy->blind_A);
    EXPECT_EQ(nullptr, copy->blind_Ai);
    EXPECT_EQ(nullptr, copy->digest);
    EXPECT_EQ(0, copy->pss_salt_length);
    EXPECT_NE(unit->pool, copy->pool);
    EXPECT_EQ(nullptr, VRQ_Dup_RSA(nullptr));
}

TEST(RsaUnit, SaltLengthSetter) {
    const RsaUnit unit = new_rsa();
    EXPECT_EQ(1U, vrq_Set_RSASSA_PKCS1_PSS_SALT_Length(nullptr, 20));
    EXPECT_EQ(1U, vrq_Set_RSASSA_PKCS1_PSS_SALT_Length(unit.get(), -1));
    EXPECT_EQ(0U, vrq_Set_RSASSA_PKCS1_PSS_SALT_Length(unit.get(), 0));
}

TEST(RsaUnit, LengthInBytes) {
    const RsaUnit unit = new_rsa();
    EXPECT_EQ(0U, VRQ_Get_RSA_Length(unit.get()));
    EXPECT_EQ(0U, VRQ_Get_RSA_Length(nullptr));
    for (const int32_t bits : {1, 8, 9, 2040, 2041, 2047, 2048, 2049}) {
        const Int n;
        ASSERT_EQ(0U, VRQ_Set_BIGINT_Bit(n, bits - 1));
        ASSERT_EQ(0U, VRQ_Set_RSA_Public_Params(unit.get(), n, Int("10001")));
        EXPECT_EQ(static_cast<uint32_t>(bits + 7) / 8, VRQ_Get_RSA_Length(unit.get())) << bits;
    }
}

// ---- Loading ----

// Loads the parts named by letters: n, e, d, and c for all five of the primes' parts; a capital C
// lacks qInv. "P" loads n and e as a public key.
uint32_t load(VRQ_RSA_UNIT* unit, const std::string& parts) {
    const RsaKey& key = key512();
    if (parts == "P") return key.load_public(unit);
    const auto has = [&parts](char part) { return parts.find(part) != std::string::npos; };
    const auto given = [](bool wanted, const Int& a) -> const VRQ_BIGINT* {
        return wanted ? static_cast<VRQ_BIGINT*>(a) : nullptr;
    };
    const bool primes = has('c') || has('C');
    return VRQ_Set_RSA_Params(unit, given(has('n'), Int(key.n)), given(has('e'), Int(key.e)),
                              given(has('d'), Int(key.d)), given(primes, Int(key.p)),
                              given(primes, Int(key.q)), given(primes, Int(key.dP)),
                              given(primes, Int(key.dQ)), given(has('c'), Int(key.qInv)));
}

struct LoadRow {
    const char* before; // loaded first, or null
    int32_t flags;      // then set by hand, unless -1
    const char* parts;
    uint32_t status;
    int32_t flags_after;
    bool has_pair;
};

constexpr uint32_t kNoPair = 0x18010059;

TEST(RsaKeys, LoadingFlagsByTable) {
    const LoadRow rows[] = {
        {nullptr, -1, "n", 0, 1, false},
        {nullptr, -1, "ne", 0, 3, false},
        {nullptr, -1, "P", 0, 3, false},
        {nullptr, -1, "ned", 0, 7, true},
        {nullptr, -1, "nedc", 0, 15, true},
        {nullptr, -1, "nec", 0, 11, true},
        {nullptr, -1, "nedC", 0, 7, true},
        {nullptr, -1, "nd", kNoPair, 5, false}, // the pair needs e
        {nullptr, -1, "ndc", kNoPair, 13, false},
        {nullptr, -1, "edc", 0x1801002B, 0, false},
        // bits of earlier keys survive in words of several bits
        {"nedc", -1, "ne", 0, 15, true},
        {"ned", -1, "ne", 0, 7, true},
        {"ned", -1, "P", 0, 7, false},
        {"nedc", -1, "edc", 0x1801002B, 15, false},
        {"ned", -1, "nec", 0, 11, true}, // all five primes' parts set the word
        {"ne", -1, "n", 0, 3, false},
        {"ned", -1, "n", kNoPair, 7, false},
        // and go where they are alone in it
        {nullptr, 8, "ne", 0, 3, false},
        {nullptr, 8, "neC", 0, 3, false},
        {nullptr, 4, "ne", 0, 3, false},
        {nullptr, 2, "n", 0, 1, false},
        {nullptr, 8, "ned", 0, 7, true},
        {nullptr, 4, "ned", 0, 7, true},
        {nullptr, 6, "ne", 0, 7, true},
        {nullptr, 8, "P", 0, 11, false},
    };
    for (const LoadRow& row : rows) {
        SCOPED_TRACE(std::string(row.before == nullptr ? "" : row.before) + " " +
                     std::to_string(row.flags) + " " + row.parts);
        const RsaUnit unit = new_rsa();
        if (row.before != nullptr) {
            ASSERT_EQ(0U, load(unit.get(), row.before));
        }
        if (row.flags >= 0) unit->key_flags = row.flags;
        EXPECT_EQ(row.status, load(unit.get(), row.parts));
        EXPECT_EQ(row.flags_after, unit->key_flags);
        EXPECT_EQ(row.has_pair, unit->blind_A != nullptr);
        EXPECT_EQ(row.has_pair, unit->blind_Ai != nullptr);
        const std::string parts = row.parts;
        const bool is_loaded = row.status != 0x1801002B;
        EXPECT_EQ(is_loaded, unit->n != nullptr);
        EXPECT_EQ(is_loaded && parts.find('c') != std::string::npos, unit->qInv != nullptr);
        EXPECT_EQ(is_loaded && parts.find('d') != std::string::npos, unit->d != nullptr);
    }
}

TEST(RsaKeys, RefusedArguments) {
    const RsaUnit unit = new_rsa();
    const Int one("1");
    EXPECT_EQ(0x1801002BU, VRQ_Set_RSA_Params(nullptr, one, one, nullptr, nullptr, nullptr, nullptr,
                                              nullptr, nullptr));
    EXPECT_EQ(0x1802002BU, VRQ_Set_RSA_Public_Params(nullptr, one, one));
    ASSERT_EQ(0U, key512().load(unit.get()));
    unit->direction = 1;
    EXPECT_EQ(0x1802002BU, VRQ_Set_RSA_Public_Params(unit.get(), one, nullptr));
    EXPECT_EQ(0U, unit->direction);
    EXPECT_EQ(nullptr, unit->n); // cleaned before it is refused
    unit->direction = 1;
    EXPECT_EQ(0x1802002BU, VRQ_Set_RSA_Public_Params(unit.get(), nullptr, one));
    EXPECT_EQ(0U, unit->direction);
}

TEST(RsaKeys, ArgumentsMayBeTheUnitsOwn) {
    const RsaUnit unit = new_rsa();
    ASSERT_EQ(0U, key512().load(unit.get()));
    ASSERT_EQ(0U, VRQ_Set_RSA_Params(unit.get(), unit->n, unit->e, unit->d, unit->p, unit->q,
                                     unit->dP, unit->dQ, unit->qInv));
    EXPECT_EQ(key512().n.hex(), hex(unit->n));
    EXPECT_EQ(key512().qInv.hex(), hex(unit->qInv));
    ASSERT_EQ(0U, VRQ_Set_RSA_Public_Params(unit.get(), unit->n, unit->e));
    EXPECT_EQ(key512().n.hex(), hex(unit->n));
}

TEST(RsaKeys, LeadingZerosDoNotCount) {
    const RsaUnit unit = new_rsa();
    const auto padded = [](const char* digits) {
        return VRQ_HEX_To_BIGINT((std::string(24, '0') + digits).c_str());
    };
    VRQ_BIGINT* const n = padded("C5A1");
    VRQ_BIGINT* const e = padded("3");
    ASSERT_EQ(0U, VRQ_Set_RSA_Public_Params(unit.get(), n, e));
    EXPECT_EQ(2U, VRQ_Get_RSA_Length(unit.get()));
    VRQ_Free_BIGINT(n);
    VRQ_Free_BIGINT(e);
}

// ---- Blinding pair ----

// r^e and r^-1 belong together, and r modulo n is n - 1 or at most 2^bits(n - 1) - 1 - n.
void expect_pair(const VRQ_RSA_UNIT& unit, const RsaKey& key) {
    ASSERT_NE(nullptr, unit.blind_A);
    ASSERT_NE(nullptr, unit.blind_Ai);
    const Bn a(unit.blind_A);
    const Bn inverse(unit.blind_Ai);
    EXPECT_EQ("1", product_mod(a, key.to_e(inverse), key.n).hex());

    const Bn r;
    const Bn room;
    ASSERT_NE(nullptr, BN_mod_inverse(r, inverse, key.n, test::bn_context()));
    BN_set_bit(room, BN_num_bits(key.n));
    BN_sub(room, room, key.n);
    const Bn less_one;
    BN_sub(less_one, key.n, BN_value_one());
    EXPECT_TRUE(BN_cmp(r, less_one) == 0 || BN_cmp(r, room) < 0) << r.hex();
}

TEST(RsaBlinding, PairOfOneFactorFromNLessOneUp) {
    for (const int bits : {64, 127, 512}) {
        const RsaKey key = RsaKey::random(bits, 17);
        const RsaUnit unit = new_rsa();
        ASSERT_EQ(0U, key.load(unit.get()));
        expect_pair(*unit, key);
        const std::string first = hex(unit->blind_A);
        ASSERT_EQ(0U, generate_RSA_BLINDING(unit.get()));
        expect_pair(*unit, key);
        EXPECT_NE(first, hex(unit->blind_A));
    }
}

// The prime next below 2^bits.
Bn top_prime(int bits, int skipped) {
    Bn p;
    BN_set_bit(p, bits);
    BN_sub_word(p, 1);
    for (;; BN_sub_word(p, 2)) {
        if (BN_check_prime(p, test::bn_context(), nullptr) == 1 && skipped-- == 0) return p;
    }
}

TEST(RsaBlinding, EndsWhereTheRoomIsNarrow) {
    // rejection alone would draw 2^200 times
    const RsaKey key = RsaKey::of(top_prime(256, 0), top_prime(256, 1));
    const RsaUnit unit = new_rsa();
    ASSERT_EQ(0U, key.load(unit.get()));
    expect_pair(*unit, key);
}

TEST(RsaBlinding, ModuliWithoutPair) {
    struct Row {
        const char* n;
        uint32_t status;
    };
    const Row rows[] = {
        {"0", 0x04040028},               // n - 1 fails
        {"1", 1},                        // a draw of 0 bits would keep the generator locked
        {"100000000000000", 0x04090041}, // even; the only r is n - 1
        {"FFFFFFFFFFFFFFFE", 0x04090041},
    };
    for (const Row& row : rows) {
        const RsaUnit unit = new_rsa();
        ASSERT_EQ(0U, VRQ_Set_RSA_Public_Params(unit.get(), Int(row.n), Int("3"))) << row.n;
        EXPECT_EQ(row.status, generate_RSA_BLINDING(unit.get())) << row.n;
        EXPECT_EQ(nullptr, unit->blind_A);
        EXPECT_EQ(nullptr, unit->blind_Ai);
        uint8_t byte = 0;
        EXPECT_EQ(0U, VRQ_Rand_Bytes(&byte, 1)); // not locked
    }
    const RsaUnit unit = new_rsa();
    EXPECT_EQ(1U, generate_RSA_BLINDING(nullptr));
    EXPECT_EQ(1U, generate_RSA_BLINDING(unit.get()));
}

// ---- Key check ----

struct SmallKey {
    uint32_t p, q, e, d;
};

// The check word for word, over small numbers.
bool passes(const SmallKey& key) {
    if (key.p == 0 || key.q == 0) return false;
    const uint64_t p1 = key.p - 1;
    const uint64_t q1 = key.q - 1;
    const uint64_t product = uint64_t{key.e} * key.d;
    if (p1 * q1 == 0) return false;
    return product % (p1 * q1) == 1 || product % std::lcm(p1, q1) == 1;
}

uint32_t check(VRQ_RSA_UNIT* unit, const SmallKey& key) {
    VRQ_Set_BIGINT_Word(unit->p, key.p);
    VRQ_Set_BIGINT_Word(unit->q, key.q);
    VRQ_Set_BIGINT_Word(unit->e, key.e);
    VRQ_Set_BIGINT_Word(unit->d, key.d);
    return verify_RSA_KEY(unit);
}

TEST(RsaKeyCheck, SmallKeysAgreeWithTheDefinition) {
    const RsaUnit unit = new_rsa();
    ASSERT_EQ(0U, key512().load(unit.get()));
    int passed = 0;
    for (uint32_t p = 0; p < 14; ++p) {
        for (uint32_t q = 0; q < 14; ++q) {
            for (uint32_t e = 0; e < 8; ++e) {
                for (uint32_t d = 0; d < 40; ++d) {
                    const SmallKey key = {p, q, e, d};
                    const bool expected = passes(key);
                    passed += expected ? 1 : 0;
                    ASSERT_EQ(expected ? 0U : 1U, check(unit.get(), key))
                        << p << " " << q << " " << e << " " << d;
                }
            }
        }
    }
    EXPECT_GT(passed, 1000);
}

TEST(RsaKeyCheck, DamagedComponentsFail) {
    const RsaKey& key = key512();
    constexpr VRQ_BIGINT* VRQ_RSA_UNIT::*kChecked[] = {&VRQ_RSA_UNIT::e, &VRQ_RSA_UNIT::d,
                                                       &VRQ_RSA_UNIT::p, &VRQ_RSA_UNIT::q};
    for (const auto part : kChecked) {
        const RsaUnit unit = new_rsa();
        ASSERT_EQ(0U, key.load(unit.get()));
        EXPECT_EQ(0U, verify_RSA_KEY(unit.get()));
        (unit.get()->*part)->data[0] ^= 4;
        EXPECT_EQ(1U, verify_RSA_KEY(unit.get()));
        VRQ_Free_BIGINT(unit.get()->*part);
        unit.get()->*part = nullptr;
        EXPECT_EQ(1U, verify_RSA_KEY(unit.get()));
    }
    // n takes no part in it, but has to be there
    const RsaUnit unit = new_rsa();
    ASSERT_EQ(0U, key.load(unit.get()));
    unit->n->data[0] ^= 4;
    EXPECT_EQ(0U, verify_RSA_KEY(unit.get()));
    VRQ_Free_BIGINT(unit->n);
    unit->n = nullptr;
    EXPECT_EQ(1U, verify_RSA_KEY(unit.get()));
    EXPECT_EQ(1U, verify_RSA_KEY(nullptr));
}

TEST(RsaKeyCheck, AnyInverseOfEPasses) {
    const RsaKey& key = key512();
    const RsaUnit unit = new_rsa();
    ASSERT_EQ(0U, key.load(unit.get()));
    const Bn p1;
    const Bn q1;
    const Bn lambda;
    const Bn divisor;
    BN_sub(p1, key.p, BN_value_one());
    BN_sub(q1, key.q, BN_value_one());
    BN_gcd(divisor, p1, q1, test::bn_context());
    BN_mul(lambda, p1, q1, test::bn_context());
    BN_div(lambda, nullptr, lambda, divisor, test::bn_context());
    const Bn d;
    BN_mod_inverse(d, key.e, lambda, test::bn_context());
    for (int i = 0; i < 4; ++i) {
        VRQ_Copy_BIGINT(unit->d, Int(d));
        EXPECT_EQ(0U, verify_RSA_KEY(unit.get()));
        BN_add(d, d, lambda);
    }
}

// ---- Chinese remainder theorem ----

TEST(RsaCrt, AgreesWithLibcrypto) {
    for (const auto& [p_bits, q_bits] :
         {std::array{256, 256}, {255, 257}, {300, 200}, {200, 300}, {512, 511}, {33, 47}}) {
        const RsaKey key = RsaKey::of(RsaKey::prime(p_bits, 17), RsaKey::prime(q_bits, 17), 17);
        const RsaUnit unit = new_rsa();
        ASSERT_EQ(0U, key.load(unit.get()));
        Bn x;
        for (int i = 0; i < 12; ++i) {
            if (i == 0) BN_zero(static_cast<BIGNUM*>(x));
            if (i == 1) BN_one(x); // equal residues: their difference is 0
            if (i == 2) BN_copy(x, key.p);
            if (i == 3) BN_copy(x, key.q);
            if (i == 4) BN_sub(x, key.n, BN_value_one());
            if (i > 4) BN_rand_range(x, key.n);
            const Int in(x);
            const Int out;
            ASSERT_EQ(0U, crt_RSA(unit.get(), out, in));
            EXPECT_EQ(key.to_d(x).hex(), out.hex()) << p_bits << " " << q_bits << " " << i;
            ASSERT_EQ(0U, crt_RSA(unit.get(), in, in));
            EXPECT_EQ(out.hex(), in.hex());
        }
    }
}

TEST(RsaCrt, MissingPartsAndFailures) {
    const RsaKey& key = key512();
    const RsaUnit unit = new_rsa();
    ASSERT_EQ(0U, key.load(unit.get()));
    const Int x("12345");
    EXPECT_EQ(1U, crt_RSA(nullptr, x, x));
    EXPECT_EQ(1U, crt_RSA(unit.get(), nullptr, x));
    EXPECT_EQ(1U, crt_RSA(unit.get(), x, nullptr));
    unit->p->data[0] ^= 1; // even
    EXPECT_EQ(0x04090041U, crt_RSA(unit.get(), x, x));
    constexpr VRQ_BIGINT* VRQ_RSA_UNIT::*kNeeded[] = {&VRQ_RSA_UNIT::p, &VRQ_RSA_UNIT::q,
                                                      &VRQ_RSA_UNIT::dP, &VRQ_RSA_UNIT::dQ,
                                                      &VRQ_RSA_UNIT::qInv};
    for (const auto part : kNeeded) {
        VRQ_BIGINT* const kept = unit.get()->*part;
        unit.get()->*part = nullptr;
        EXPECT_EQ(1U, crt_RSA(unit.get(), x, x));
        unit.get()->*part = kept;
    }
}

} // namespace
