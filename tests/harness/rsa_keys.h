// RSA keys in tests, made by libcrypto.
#pragma once

#include "harness/bigints.h"
#include "harness/owned.h"
#include "talvern/rsa.h"

#include <openssl/bn.h>

#include <memory>

namespace test {

using RsaUnit = Owned<VRQ_RSA_UNIT>;

inline RsaUnit new_rsa() { return RsaUnit(VRQ_New_RSA()); }

inline BN_CTX* bn_context() {
    static const std::unique_ptr<BN_CTX, BnFree> context(BN_CTX_new());
    return context.get();
}

// All parts of a key.
struct RsaKey {
    Bn n, e, d, p, q, dP, dQ, qInv;

    // From the primes, d modulo (p - 1)(q - 1).
    static RsaKey of(const Bn& p, const Bn& q, unsigned long exponent = 65537) {
        RsaKey key;
        BN_CTX* const context = bn_context();
        BN_copy(key.p, p);
        BN_copy(key.q, q);
        BN_set_word(key.e, exponent);
        BN_mul(key.n, p, q, context);
        const Bn p1;
        const Bn q1;
        const Bn phi;
        BN_sub(p1, p, BN_value_one());
        BN_sub(q1, q, BN_value_one());
        BN_mul(phi, p1, q1, context);
        BN_mod_inverse(key.d, key.e, phi, context);
        BN_mod(key.dP, key.d, p1, context);
        BN_mod(key.dQ, key.d, q1, context);
        BN_mod_inverse(key.qInv, q, p, context);
        return key;
    }

    // A modulus of exactly so many bits.
    static RsaKey random(int bits, unsigned long exponent = 65537) {
        return of(prime((bits + 1) / 2, exponent), prime(bits / 2, exponent), exponent);
    }

    // With the two top bits set, and without a common factor of prime - 1 and exponent.
    static Bn prime(int bits, unsigned long exponent) {
        Bn prime;
        do {
            BN_generate_prime_ex(prime, bits, 0, nullptr, nullptr, nullptr);
        } while (BN_is_bit_set(prime, bits - 2) == 0 || BN_mod_word(prime, exponent) == 1);
        return prime;
    }

    uint32_t load(VRQ_RSA_UNIT* unit) const {
        return VRQ_Set_RSA_Params(unit, Int(n), Int(e), Int(d), Int(p), Int(q), Int(dP), Int(dQ),
                                  Int(qInv));
    }

    uint32_t load_without_primes(VRQ_RSA_UNIT* unit) const {
        return VRQ_Set_RSA_Params(unit, Int(n), Int(e), Int(d), nullptr, nullptr, nullptr, nullptr,
                                  nullptr);
    }

    uint32_t load_public(VRQ_RSA_UNIT* unit) const {
        return VRQ_Set_RSA_Public_Params(unit, Int(n), Int(e));
    }

    // x^d mod n, x^e mod n.
    Bn to_d(const BIGNUM* x) const { return power(x, d); }
    Bn to_e(const BIGNUM* x) const { return power(x, e); }

  private:
    Bn power(const BIGNUM* x, const BIGNUM* exponent) const {
        Bn r;
        BN_mod_exp(r, x, exponent, n, bn_context());
        return r;
    }
};

// A key with n = 61 * 53, or null. Of so small a modulus one blinding factor in 28 shares a prime and has no
// inverse, so that the load fails; another load draws another factor.
inline RsaUnit tiny_rsa() {
    RsaUnit unit = new_rsa();
    for (int attempt = 0; attempt < 100; ++attempt) {
        const uint32_t status = VRQ_Set_RSA_Params(unit.get(), Int("CA1"), Int("11"), Int("AC1"),
                                                   nullptr, nullptr, nullptr, nullptr, nullptr);
        if (status == 0) return unit;
        EXPECT_EQ(0x18010059U, status);
    }
    return nullptr;
}

} // namespace test
