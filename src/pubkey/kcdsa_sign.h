// A KCDSA signature with a given secret; apart from its caller, for tests with published secrets.
#pragma once

#include "foundation/status.h"
#include "talvern/kcdsa.h"

namespace vrq::kcdsa {

using Digest = u8[VRQ_MAX_DIGEST_LENGTH];

// r and s for the digest v of z and the message. The unit has been initialised and has domain and private
// key; 0 < k < q. s may come out 0: such a k does not serve. Returns 0 or a status of VRQ_Sign_KCDSA.
[[nodiscard]] u32 sign_with(VRQ_KCDSA_UNIT& unit, const VRQ_BIGINT& k, const Digest& v, Digest& r,
                            VRQ_BIGINT& s);

} // namespace vrq::kcdsa
