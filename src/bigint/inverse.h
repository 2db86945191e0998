// Modular inverses and greatest common divisors, in a time that depends on lengths alone.
#pragma once

#include "bigint/limbs.h"

#include <cstddef>

namespace vrq {

// Scratch limbs of the functions below for operands of so many limbs.
std::size_t divsteps_scratch(std::size_t limbs);

// r = a^-1 mod m for odd m and a < m, all of n limbs, m of at most `bits` bits. Returns all ones, or
// zero when there is no inverse (r is undefined then). m = 1 gives 0. r may be a or m.
u64 limbs_inverse_odd(Limb* r, const Limb* a, const Limb* m, std::size_t n, std::size_t bits,
                      Limb* scratch);

// r = gcd(odd, a), all of n limbs, both values of at most `bits` bits. r may be odd or a.
void limbs_gcd_odd(Limb* r, const Limb* odd, const Limb* a, std::size_t n, std::size_t bits,
                   Limb* scratch);

} // namespace vrq
