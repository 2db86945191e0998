// Arithmetic on secret residues of a public odd modulus: no branch, address or division depends on a
// value below the modulus. Operands that are not below it are reduced by division first.
#pragma once

#include "bigint/record.h"

namespace vrq {

// r = a * b, a + b, a - b mod m. False when m is even or memory fails. The pool is not used: what the
// calls leave behind is wiped. r may be an operand.
[[nodiscard]] bool residue_mul(VRQ_BIGINT& r, const VRQ_BIGINT& a, const VRQ_BIGINT& b,
                               const VRQ_BIGINT& m);
[[nodiscard]] bool residue_add(VRQ_BIGINT& r, const VRQ_BIGINT& a, const VRQ_BIGINT& b,
                               const VRQ_BIGINT& m);
[[nodiscard]] bool residue_sub(VRQ_BIGINT& r, const VRQ_BIGINT& a, const VRQ_BIGINT& b,
                               const VRQ_BIGINT& m);

// Gives the value as many words as m has, zeros on top, so that later steps do not see its length.
[[nodiscard]] bool pad_residue(VRQ_BIGINT& a, const VRQ_BIGINT& m);

} // namespace vrq
