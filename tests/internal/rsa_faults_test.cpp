// RSA keys when memory fails, what they leave in freed memory, and the path of the private
// operation.
#include "harness/faults.h"
#include "harness/rsa_keys.h"
#include "pubkey/rsa_key.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using test::Bn;
using test::Int;
using test::new_rsa;
using test::RsaKey;
using test::RsaUnit;
using vrq::u32;

const RsaKey& key512() {
    static const RsaKey key = RsaKey::random(512);
    return key;
}

// The parts of a key as records, so that loading alone allocates.
struct Parts {
    Int n{key512().n}, e{key512().e}, d{key512().d}, p{key512().p}, q{key512().q}, dP{key512().dP},
        dQ{key512().dQ}, qInv{key512().qInv};

    u32 load(VRQ_RSA_UNIT* unit) const {
        return VRQ_Set_RSA_Params(unit, n, e, d, p, q, dP, dQ, qInv);
    }
};

// Words of a private part as they lie in memory.
test::Bytes words_of(const VRQ_BIGINT* a) {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(a->data);
    return {bytes, bytes + 16};
}

// A draw that fails keeps the generator.
void recover() { VRQ_Uninstantiate_DRBG(); }

TEST(RsaFaults, LifeCycle) {
    const RsaUnit full = new_rsa();
    ASSERT_EQ(0U, Parts().load(full.get()));
    test::for_each_allocation_fault([&](std::size_t number) {
        const RsaUnit unit = new_rsa();
        const RsaUnit copy(VRQ_Dup_RSA(full.get()));
        EXPECT_EQ(number > 2 || number == 0, unit != nullptr);
        EXPECT_EQ(number <= 2, copy != nullptr);
    });
}

TEST(RsaFaults, Loading) {
    const Parts parts;
    const std::set<u32> failures = {0x1801003A, 0x18010059};
    test::for_each_allocation_fault([&](std::size_t number) {
        const RsaUnit unit = new_rsa();
        if (unit == nullptr) return;
        const u32 status = parts.load(unit.get());
        if (number != 0) recover();
        // fewer draws than in the unharmed run may do, so that nothing fails
        EXPECT_EQ(status == 0, unit->blind_A != nullptr);
        EXPECT_EQ(status == 0, unit->blind_Ai != nullptr);
        EXPECT_TRUE(status == 0 || failures.count(status) != 0) << std::hex << status;
        EXPECT_TRUE(status != 0 || number == 0 || number > 20) << number;
    });
    const RsaUnit other = new_rsa();
    test::for_each_allocation_fault([&](std::size_t number) {
        const u32 status = VRQ_Set_RSA_Public_Params(other.get(), parts.n, parts.e);
        EXPECT_EQ(number == 0 ? 0U : 0x1802003AU, status);
    });
}

// The steps of a private operation as decryption takes them.
u32 run(VRQ_RSA_UNIT& unit, VRQ_BIGINT* x) {
    if (!vrq::rsa::key_passes(unit)) return 2;
    if (const u32 s = vrq::rsa::blind(unit, x); s != 0) return s;
    if (const u32 s = vrq::rsa::raise_private(unit, x, x); s != 0) return s;
    return vrq::rsa::unblind(unit, x);
}

TEST(RsaFaults, PrivateOperation) {
    const Parts parts;
    const Bn x;
    BN_rand_range(x, key512().n);
    const std::string expected = key512().to_d(x).hex();
    for (const int32_t use_crt : {1, 0}) {
        bool is_done = false;
        for (std::size_t number = 1; !is_done; ++number) {
            const RsaUnit unit = new_rsa();
            const Int value(x);
            parts.load(unit.get());
            vrq::rsa::drop_blinding(*unit);
            unit->mode = VRQ_RSAES_OAEP;
            unit->use_crt = use_crt;
            vrq::testing::fail_allocation(number);
            const u32 status = run(*unit, value);
            is_done = vrq::testing::allocation_count() < number;
            vrq::testing::fail_allocation(0);
            recover();
            EXPECT_EQ(is_done, status == 0) << number;
            // a failure leaves the key whole: the next operation works
            const Int again(x);
            EXPECT_EQ(0U, run(*unit, again));
            EXPECT_EQ(expected, again.hex());
            ASSERT_LT(number, 100U);
        }
    }
}

// Whatever fails: a status, or a key that works. The count of allocations is as random as the
// primes.
TEST(RsaFaults, Generation) {
    const Int e("10001");
    for (const auto generate : {VRQ_Generate_RSA_Params, VRQ_Generate_RSA_Params_Ex}) {
        bool is_done = false;
        std::set<u32> failures;
        for (std::size_t number = 1; !is_done; number += 1 + number / 16) {
            const RsaUnit unit = new_rsa();
            vrq::testing::fail_allocation(number);
            const u32 status = generate(unit.get(), e, 560, 2);
            is_done = vrq::testing::allocation_count() < number;
            vrq::testing::fail_allocation(0);
            recover();
            if (status == 0) {
                EXPECT_EQ(0U, verify_RSA_KEY(unit.get()));
                EXPECT_EQ(1, VRQ_Is_BIGINT_Prime_Ex(unit->p, 10, nullptr));
                EXPECT_EQ(1, VRQ_Is_BIGINT_Prime_Ex(unit->q, 10, nullptr));
            }
            failures.insert(status);
            ASSERT_LT(number, 20000U);
        }
        EXPECT_GT(failures.size(), 4U);
    }
}

TEST(RsaPrivate, PathByTable) {
    const RsaUnit unit = new_rsa();
    ASSERT_EQ(0U, Parts().load(unit.get()));
    const std::string right = key512().to_d(Bn(Int("1234567"))).hex();
    const Bn large;
    BN_sub(large, key512().n, Bn(Int("12345")));
    const uint32_t inverse_bits = VRQ_Get_BIGINT_Bits_Length(unit->qInv);
    const Bn edge;
    BN_set_bit(edge, static_cast<int>(inverse_bits) + 7); // bits(qInv) + 8 bits
    const Bn beyond;
    BN_set_bit(beyond, static_cast<int>(inverse_bits) + 8);

    struct Row {
        const char* name;
        uint32_t mode;
        int32_t use_crt;
        int32_t flags;
        const Bn& value;
        bool takes_crt;
    };
    const Row rows[] = {
        {"all hold", 8, 1, 15, large, true},
        {"signature modes", 2, 1, 15, large, true},
        {"any use_crt but 0", 8, -1, 15, large, true},
        {"use_crt", 8, 0, 15, large, false},
        {"raw", 0, 1, 15, large, false},
        {"raw with a digest", 0x05000300, 1, 15, large, false},
        {"flag", 8, 1, 7, large, false},
        {"generated", 8, 1, 31, large, true},
        {"edge", 8, 1, 15, edge, false},
        {"beyond the edge", 8, 1, 15, beyond, true},
    };
    unit->dP->data[0] ^= 2; // the primes give another result than d
    for (const Row& row : rows) {
        unit->mode = row.mode;
        unit->use_crt = row.use_crt;
        unit->key_flags = row.flags;
        const Int out;
        ASSERT_EQ(0U, vrq::rsa::raise_private(*unit, out, Int(row.value))) << row.name;
        EXPECT_EQ(row.takes_crt, out.hex() != key512().to_d(row.value).hex()) << row.name;
    }
}

TEST(RsaPrivate, ZeroStaysZero) {
    const RsaUnit unit = new_rsa();
    ASSERT_EQ(0U, Parts().load(unit.get()));
    unit->mode = VRQ_RSAES_OAEP;
    const Int x("0");
    ASSERT_EQ(0U, run(*unit, x));
    EXPECT_EQ("0", x.hex());
}

TEST(RsaWiping, FreedMemoryHoldsNoPrivateValues) {
    const Parts parts;
    const VRQ_BIGINT* const secrets[] = {parts.d, parts.p, parts.q, parts.dP, parts.dQ, parts.qInv};
    for (const VRQ_BIGINT* secret : secrets) {
        const Int x(key512().dP);
        const RsaUnit other = new_rsa();
        VRQ_RSA_UNIT* const unit = VRQ_New_RSA();
        const test::FreedMemoryWatch watch(words_of(secret));
        ASSERT_EQ(0U, parts.load(unit));
        ASSERT_EQ(0U, parts.load(unit)); // over a key
        unit->mode = VRQ_RSAES_OAEP;
        ASSERT_EQ(0U, run(*unit, x));
        VRQ_Free_RSA(VRQ_Dup_RSA(unit));
        VRQ_Free_RSA(unit);
        EXPECT_GT(watch.frees(), 20U);
        EXPECT_FALSE(watch.found());
    }
}

// p - 1 and q - 1, in which the key check works, are no words of the key itself.
TEST(RsaWiping, KeyCheckLeavesNothing) {
    const Parts parts;
    const RsaUnit unit = new_rsa();
    ASSERT_EQ(0U, parts.load(unit.get()));
    const Int less_one(parts.p);
    VRQ_Sub_BIGINT_Word(less_one, 1);
    const test::FreedMemoryWatch watch(words_of(less_one));
    ASSERT_EQ(0U, verify_RSA_KEY(unit.get()));
    EXPECT_GT(watch.frees(), 0U);
    EXPECT_FALSE(watch.found());
}

// All words of the pool, of which none is handed out between operations.
uint32_t idle_words(const VRQ_RSA_UNIT& unit) {
    uint32_t any = 0;
    for (const auto* block = unit.pool->first; block != nullptr; block = block->next) {
        for (const VRQ_BIGINT& record : block->records) {
            for (int32_t i = 0; i < record.allocated; ++i) any |= record.data[i];
        }
    }
    return any;
}

// The pool outlives a clean; its words do not hold what an operation left there.
TEST(RsaWiping, CleaningWipesThePool) {
    const RsaUnit unit = new_rsa();
    ASSERT_EQ(0U, Parts().load(unit.get()));
    unit->mode = VRQ_RSAES_OAEP;
    const Int x(key512().dP);
    ASSERT_EQ(0U, run(*unit, x));
    EXPECT_NE(0U, idle_words(*unit));
    VRQ_Clean_RSA(unit.get());
    EXPECT_EQ(0U, idle_words(*unit));
}

u32 decrypt_malformed(VRQ_RSA_UNIT* unit) {
    const test::Bytes block(64, 0x01);
    test::Bytes out(64);
    uint32_t length = 0;
    VRQ_Init_RSAES(unit, VRQ_RSAES_OAEP, VRQ_RSA_PRIVATE, VRQ_ID_SHA1);
    return VRQ_Decrypt_RSAES(unit, out.data(), &length, block.data(), 64);
}

u32 sign_nothing(VRQ_RSA_UNIT* unit) {
    test::Bytes out(64);
    uint32_t length = 0;
    VRQ_Init_RSASSA(unit, VRQ_ID_SHA256, VRQ_RSASSA_PSS, VRQ_RSA_PRIVATE);
    return VRQ_Final_RSASSA(unit, out.data(), &length);
}

TEST(RsaWiping, OperationsWipeThePool) {
    const struct {
        const char* name;
        u32 status;
        u32 (*run)(VRQ_RSA_UNIT* unit);
    } rows[] = {
        {"loading", 0, [](VRQ_RSA_UNIT* unit) { return Parts().load(unit); }},
        {"check", 0, [](VRQ_RSA_UNIT* unit) { return verify_RSA_KEY(unit); }},
        {"blinding", 0, [](VRQ_RSA_UNIT* unit) { return generate_RSA_BLINDING(unit); }},
        {"primes", 0,
         [](VRQ_RSA_UNIT* unit) {
             const Int x("1234567");
             return crt_RSA(unit, x, x);
         }},
        {"decryption", 0x180A000E, decrypt_malformed},
        {"signature", 0, sign_nothing},
        {"older generation", 0,
         [](VRQ_RSA_UNIT* unit) { return VRQ_Generate_RSA_Params(unit, Int("10001"), 560, 1); }},
        {"generation", 0,
         [](VRQ_RSA_UNIT* unit) { return VRQ_Generate_RSA_Params_Ex(unit, Int("10001"), 560, 2); }},
        {"generation of a short key", 0x180B0038,
         [](VRQ_RSA_UNIT* unit) { return VRQ_Generate_RSA_Params_Ex(unit, Int("10001"), 256, 1); }},
    };
    for (const auto& row : rows) {
        const RsaUnit unit = new_rsa();
        ASSERT_EQ(0U, Parts().load(unit.get()));
        EXPECT_EQ(row.status, row.run(unit.get())) << row.name;
        EXPECT_NE(nullptr, unit->pool->first) << row.name;
        EXPECT_EQ(0U, idle_words(*unit)) << row.name;
    }
}

} // namespace
