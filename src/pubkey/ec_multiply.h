// Multiples of points and sums of two multiples, with the results of the affine rules.
#pragma once

#include "foundation/status.h"
#include "talvern/ec.h"

#include <cstddef>

namespace vrq {

// What the curve must have for the functions below.
inline bool has_equation(const VRQ_ECURVE& curve) {
    return curve.prime != nullptr && curve.a != nullptr;
}

// out = k * P for 0 < k < 2^bits; the time depends on bits, not on k, as the header of the interface
// says. False when memory fails; out is then as it was.
[[nodiscard]] bool ec_multiply(VRQ_ECPOINT& out, const VRQ_ECURVE& curve, const VRQ_ECPOINT& P,
                               const VRQ_BIGINT& k, std::size_t bits, VRQ_BIGINT_POOL* pool);

// out = u * P + v * Q for public numbers and points.
[[nodiscard]] bool ec_multiply_two_var(VRQ_ECPOINT& out, const VRQ_ECURVE& curve,
                                       const VRQ_BIGINT& u, const VRQ_ECPOINT& P,
                                       const VRQ_BIGINT& v, const VRQ_ECPOINT& Q,
                                       VRQ_BIGINT_POOL* pool);

} // namespace vrq
