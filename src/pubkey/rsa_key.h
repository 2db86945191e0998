// The key of an RSA unit inside the library: which parts it has, and the steps of the private
// operation. m = c^d mod n is computed behind a blinding factor r:
//
//   blind(unit, c)             c = c * A mod n for A = r^e, after making r if need be
//   raise_private(unit, m, c)  m = c^d mod n, by the primes where the unit allows it
//   unblind(unit, m)           m = m * r^-1 mod n
//
// key_passes(unit) belongs before or after blind: decryption checks first, signing blinds first.
#pragma once

#include "foundation/status.h"
#include "pubkey/signature.h"
#include "talvern/module.h"
#include "talvern/rsa.h"

namespace vrq::rsa {

constexpr u32 kApprovedBits = 2041;

// Proven mode refuses the loaded modulus. A unit without one is not refused.
bool is_modulus_refused(const VRQ_RSA_UNIT& unit);

// Binds the digest unit, which is made when absent. A new one that refuses the digest is not kept.
[[nodiscard]] bool bind_digest(VRQ_RSA_UNIT& unit, u32 digest);

// Binds mode word and direction; a mode word that names no digest is completed with this one. False
// when the pool is absent and cannot be made.
[[nodiscard]] bool bind_operation(VRQ_RSA_UNIT& unit, u32 mode, u32 direction, u32 digest);

// The unit holds what verify_RSA_KEY needs.
inline bool can_check(const VRQ_RSA_UNIT& unit) {
    return unit.p != nullptr && unit.q != nullptr && unit.n != nullptr && unit.e != nullptr &&
           unit.d != nullptr;
}

// False when the key can be checked and fails the check.
[[nodiscard]] inline bool key_passes(const VRQ_RSA_UNIT& unit) {
    return !can_check(unit) || verify_RSA_KEY(&unit) == 0;
}

// Releases the blinding pair; the next private operation makes another.
void drop_blinding(VRQ_RSA_UNIT& unit);

// Return 0, the status of the function that failed, or 1 when a part of the key is missing. c is
// below n; r may be c.
[[nodiscard]] u32 blind(VRQ_RSA_UNIT& unit, VRQ_BIGINT* c);
[[nodiscard]] u32 raise_private(VRQ_RSA_UNIT& unit, VRQ_BIGINT* r, const VRQ_BIGINT* c);
[[nodiscard]] u32 unblind(VRQ_RSA_UNIT& unit, VRQ_BIGINT* m);

// r = a^e mod n; in a time that depends on e and n, and on the word count of a. r may be a.
[[nodiscard]] u32 raise_public(VRQ_RSA_UNIT& unit, VRQ_BIGINT* r, const VRQ_BIGINT* a);

// The pool outlives the key and its messages: wipes what past operations left in records that are
// not handed out. Null is allowed.
void wipe_idle_words(const VRQ_BIGINT_POOL* pool);

// What an operation left of keys and messages where the guards of its blocks do not reach.
inline void forget(const VRQ_RSA_UNIT& unit) {
    wipe_idle_words(unit.pool);
    wipe_spills();
}

} // namespace vrq::rsa
