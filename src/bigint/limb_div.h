// Division of limb arrays. Quotients take a time that depends on the numbers: the estimates of
// their limbs are corrected where needed. Remainders alone do not, from moduli of two limbs on.
#pragma once

#include "bigint/limbs.h"

#include <cstddef>

namespace vrq {

// Knuth's algorithm D. u of nu limbs is divided by d of nd limbs, whose top bit is set, where the
// upper nd limbs of u are less than d. The quotient of nu - nd limbs goes to q unless q is null,
// the remainder to the lower nd limbs of u; the rest of u becomes zero.
void limbs_divide_normalized(Limb* q, Limb* u, std::size_t nu, const Limb* d, std::size_t nd);

// u = u / w in place, w not 0; returns the remainder.
u64 limbs_divide_limb(Limb* u, std::size_t n, u64 w);

// r = a mod m. m has n limbs, the top one not zero, and r has n; a has na >= 1. The scratch area
// has limbs_mod_scratch. For n >= 2 the time depends on the lengths and the bit length of m alone.
constexpr std::size_t limbs_mod_scratch(std::size_t na, std::size_t n) {
    return (na > n ? na : n) + 1 + n;
}
void limbs_mod(Limb* r, const Limb* a, std::size_t na, const Limb* m, std::size_t n, Limb* scratch);

} // namespace vrq
