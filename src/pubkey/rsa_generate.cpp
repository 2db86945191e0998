// RSA key generation: two random probable primes (FIPS 186-4, B.3.3, without its bounds on the
// distance of the primes and on d) and a pairwise consistency test. Plain and _Ex functions share
// one body.
#include "bigint/record.h"
#include "bigint/scope.h"
#include "foundation/scope.h"
#include "foundation/status.h"
#include "pubkey/rsa_key.h"
#include "pubkey/signature.h"
#include "talvern/digest.h"
#include "talvern/module.h"
#include "talvern/prime.h"
#include "talvern/rsa.h"

#include <cstring>

using namespace vrq;

namespace {

struct Variant {
    u32 function;
    i32 least_approved_bits; // in proven mode
    u32 test_digest;         // of the pairwise test; 0 means SHA-1
    i32 (*is_prime)(const VRQ_BIGINT* n, i32 rounds, VRQ_BIGINT_POOL* pool);
    u32 (*generate_prime)(VRQ_BIGINT* p, u32 bits, VRQ_BIGINT_POOL* pool);
};

i32 is_prime_legacy(const VRQ_BIGINT* n, i32 rounds, VRQ_BIGINT_POOL* pool) {
    return VRQ_Is_BIGINT_Prime(n, rounds, pool, 0);
}

u32 generate_prime_legacy(VRQ_BIGINT* p, u32 bits, VRQ_BIGINT_POOL* pool) {
    return VRQ_Generate_BIGINT_Prime(p, bits, pool, 0);
}

constexpr Variant kLegacy = {VRQ_F_GENERATE_RSA_PARAMS, 0, 0, is_prime_legacy,
                             generate_prime_legacy};
constexpr Variant kDrbg = {VRQ_F_GENERATE_RSA_PARAMS_EX, 2048, VRQ_ID_SHA256,
                           VRQ_Is_BIGINT_Prime_Ex, VRQ_Generate_BIGINT_Prime_Ex};

constexpr i32 kLeastBits = 8;
constexpr i32 kExponentRounds = 10;
constexpr int kMostEqualDraws = 3;

enum : i32 { kInverseOfPhi = 1, kInverseOfLambda = 2 };

// One generation under way.
struct Generation {
    const Variant& variant;
    VRQ_RSA_UNIT& unit;
    u32 bits;
    i32 d_rule;
    VRQ_BIGINT* p_less_one;
    VRQ_BIGINT* q_less_one;
    VRQ_BIGINT* modulus; // of d
    VRQ_BIGINT* divisor;

    constexpr u32 fail(u32 reason) const {
        return make_status(VRQ_L_RSA, variant.function, reason);
    }
};

// What a step leaves behind: the key goes on, or the function ends with a status that may be 0.
struct Outcome {
    bool is_over;
    u32 status;
};

constexpr Outcome kGoesOn = {false, 0};
constexpr Outcome ends_with(u32 status) { return {true, status}; }
constexpr Outcome ends_if(u32 status) { return {status != 0, status}; }

[[nodiscard]] bool make_fields(VRQ_RSA_UNIT& unit) {
    VRQ_BIGINT** const fields[] = {&unit.e,  &unit.d, &unit.n,  &unit.p,
                                   &unit.dP, &unit.q, &unit.dQ, &unit.qInv};
    for (VRQ_BIGINT** const field : fields) {
        if (!make(*field)) return false;
    }
    return true;
}

// Every odd prime has primes p with gcd(p - 1, e) = 1; 2 has none, so that the search would not
// end.
bool is_exponent(const Generation& g) {
    return is_odd(*g.unit.e) && g.variant.is_prime(g.unit.e, kExponentRounds, g.unit.pool) == 1;
}

// Divisor becomes gcd(a, e).
u32 divide_common(const Generation& g, const VRQ_BIGINT* a) {
    return vrq_Gcd_BIGINT(g.divisor, a, g.unit.e, g.unit.pool);
}

bool is_coprime(const Generation& g) { return VRQ_Get_BIGINT_Word(g.divisor) == 1; }

// Divisor becomes gcd(prime - 1, e) for a fresh prime.
u32 draw_prime(const Generation& g, VRQ_BIGINT* prime, VRQ_BIGINT* less_one, u32 bits) {
    if (const u32 s = g.variant.generate_prime(prime, bits, g.unit.pool); s != 0) return s;
    if (const u32 s = VRQ_Copy_BIGINT(less_one, prime); s != 0) return s;
    if (const u32 s = VRQ_Sub_BIGINT_Word(less_one, 1); s != 0) return s;
    return divide_common(g, less_one);
}

Outcome draw_p(const Generation& g) {
    do {
        const u32 s = draw_prime(g, g.unit.p, g.p_less_one, (g.bits + 1) / 2);
        if (s != 0) return ends_with(s);
    } while (!is_coprime(g));
    return kGoesOn;
}

// Callers rely on the function to end with 0 when q comes out equal to p three times in a row.
Outcome draw_q(const Generation& g) {
    int equal_draws = 0;
    do {
        const u32 s = draw_prime(g, g.unit.q, g.q_less_one, g.bits / 2);
        if (s != 0) return ends_with(s);
        equal_draws = VRQ_Cmp_BIGINT(g.unit.p, g.unit.q) == 0 ? equal_draws + 1 : 0;
        if (equal_draws == kMostEqualDraws) return ends_with(0);
    } while (equal_draws != 0 || !is_coprime(g));
    if (VRQ_Cmp_BIGINT(g.unit.p, g.unit.q) < 0) {
        VRQ_Swap_BIGINT(g.unit.p, g.unit.q);
        VRQ_Swap_BIGINT(g.p_less_one, g.q_less_one);
    }
    return ends_if(VRQ_Mtp_BIGINT(g.unit.n, g.unit.p, g.unit.q, g.unit.pool));
}

// Modulus becomes (p - 1)(q - 1), or that divided by the gcd of its factors.
u32 set_modulus_of_d(const Generation& g) {
    VRQ_BIGINT_POOL* const pool = g.unit.pool;
    if (const u32 s = VRQ_Mtp_BIGINT(g.modulus, g.p_less_one, g.q_less_one, pool); s != 0) return s;
    if (g.d_rule == kInverseOfPhi) return 0;
    if (const u32 s = vrq_Gcd_BIGINT(g.divisor, g.p_less_one, g.q_less_one, pool); s != 0) return s;
    return VRQ_Div_BIGINT(g.modulus, g.unit.d, g.modulus, g.divisor, pool); // d: scratch so far
}

// r = a mod m in constant time.
u32 reduce(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* m, VRQ_BIGINT_POOL* pool) {
    return VRQ_Mod_Sub_BIGINT(r, a, VRQ_Value_Zero_BIGINT(), m, pool);
}

// Callers rely on the function to end with 0 when e has no inverse.
Outcome derive_exponents(const Generation& g) {
    VRQ_RSA_UNIT& unit = g.unit;
    if (const u32 s = set_modulus_of_d(g); s != 0) return ends_with(s);
    if (const u32 s = divide_common(g, g.modulus); s != 0) return ends_with(s);
    if (!is_coprime(g)) return ends_with(0);
    if (const u32 s = VRQ_Mod_Inverse_BIGINT(unit.d, unit.e, g.modulus, unit.pool); s != 0)
        return ends_with(s);
    if (const u32 s = reduce(unit.dP, unit.d, g.p_less_one, unit.pool); s != 0) return ends_with(s);
    if (const u32 s = reduce(unit.dQ, unit.d, g.q_less_one, unit.pool); s != 0) return ends_with(s);
    return ends_if(VRQ_Mod_Inverse_BIGINT(unit.qInv, unit.q, unit.p, unit.pool));
}

// Encrypts a message with the public half and decrypts it with the private one.
u32 test_pair(const Generation& g) {
    constexpr u8 kMessage[] = {'a', 'b', 'c'};
    constexpr i32 kLength = sizeof kMessage;
    VRQ_RSA_UNIT* const unit = &g.unit;
    const u32 digest = g.variant.test_digest;
    const u32 k = VRQ_Get_RSA_Length(unit);
    SecretHeap encrypted(k);
    SecretHeap decrypted(k);
    if (!encrypted || !decrypted) return g.fail(VRQ_ERR_MALLOC);

    u32 length = 0;
    if (VRQ_Init_RSAES(unit, VRQ_RSAES_OAEP, VRQ_RSA_PUBLIC, digest) != 0 ||
        VRQ_Encrypt_RSAES(unit, encrypted.data(), &length, kMessage, kLength) != 0 ||
        VRQ_Init_RSAES(unit, VRQ_RSAES_OAEP, VRQ_RSA_PRIVATE, digest) != 0 ||
        VRQ_Decrypt_RSAES(unit, decrypted.data(), &length, encrypted.data(), static_cast<i32>(k)) !=
            0)
        return g.fail(VRQ_ERR_KEY_GEN_FAIL);
    if (length != sizeof kMessage || std::memcmp(decrypted.data(), kMessage, sizeof kMessage) != 0)
        return g.fail(VRQ_ERR_CONDITION_TEST_FAIL);
    return 0;
}

u32 run(const Generation& g) {
    for (const auto step : {draw_p, draw_q, derive_exponents}) {
        if (const Outcome outcome = step(g); outcome.is_over) return outcome.status;
    }
    g.unit.key_flags = 31;
    if (const u32 s = generate_RSA_BLINDING(&g.unit); s != 0) return s;
    return test_pair(g);
}

u32 generate(VRQ_RSA_UNIT* unit, const VRQ_BIGINT* e, i32 bits, i32 d_rule,
             const Variant& variant) {
    const auto fail = [&variant](u32 reason) {
        return make_status(VRQ_L_RSA, variant.function, reason);
    };
    // Callers rely on this code from both functions.
    if (bits < 0) return make_status(VRQ_L_RSA, VRQ_F_GENERATE_RSA_PARAMS, VRQ_ERR_INVALID_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (bits < variant.least_approved_bits && VRQ_Is_Proven() == 1)
        return fail(VRQ_ERR_NOT_SUPPORTED);
    if (unit == nullptr || e == nullptr || bits < kLeastBits ||
        (d_rule != kInverseOfPhi && d_rule != kInverseOfLambda))
        return fail(VRQ_ERR_INVALID_INPUT);

    if (unit->pool == nullptr) return fail(VRQ_ERR_GET_BIGINT_POOL_FAIL);
    const ScopeExit forgetting([unit] { rsa::forget(*unit); });
    Scratch<4> scratch(unit->pool);
    const Generation g = {variant,        *unit,          static_cast<u32>(bits), d_rule,
                          scratch.take(), scratch.take(), scratch.take(),         scratch.take()};
    if (g.divisor == nullptr) return fail(VRQ_ERR_GET_BIGINT_POOL_FAIL);
    if (!make_fields(*unit) || VRQ_Copy_BIGINT(unit->e, e) != 0) return fail(VRQ_ERR_MALLOC);
    rsa::drop_blinding(*unit); // of an earlier key
    if (!is_exponent(g)) return fail(VRQ_ERR_IS_BIGINT_PRIME);
    const u32 status = run(g);
    wipe_generation_spills();
    return status;
}

} // namespace

u32 VRQ_Generate_RSA_Params(VRQ_RSA_UNIT* unit, const VRQ_BIGINT* e, i32 bits, i32 d_rule) {
    return generate(unit, e, bits, d_rule, kLegacy);
}

u32 VRQ_Generate_RSA_Params_Ex(VRQ_RSA_UNIT* unit, const VRQ_BIGINT* e, i32 bits, i32 d_rule) {
    return generate(unit, e, bits, d_rule, kDrbg);
}
