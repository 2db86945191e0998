// Affine point arithmetic modulo any number: slow, and in a time that depends on the values.
#pragma once

#include "foundation/status.h"
#include "talvern/ec.h"

namespace vrq {

// Makes out the point (x, y), or leaves it as it was when memory fails.
[[nodiscard]] bool assign_point(VRQ_ECPOINT& out, const VRQ_BIGINT& x, const VRQ_BIGINT& y);

// out = P + Q for points with coordinates. False when memory fails or a doubling lacks the coefficient
// a; out is then as it was.
[[nodiscard]] bool affine_add(VRQ_ECPOINT& out, const VRQ_ECURVE& curve, const VRQ_ECPOINT& P,
                              const VRQ_ECPOINT& Q, VRQ_BIGINT_POOL* pool);

// out = k * P for k > 0, addition by addition; otherwise the same.
[[nodiscard]] bool affine_multiply(VRQ_ECPOINT& out, const VRQ_ECURVE& curve, const VRQ_ECPOINT& P,
                                   const VRQ_BIGINT& k, VRQ_BIGINT_POOL* pool);

} // namespace vrq
