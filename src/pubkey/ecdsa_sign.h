// ECDSA on the members of a unit.
#pragma once

#include "pubkey/dsa_common.h"
#include "talvern/ecdsa.h"

namespace vrq {

// 0 or a status of VRQ_F_SIGN_ECDSA. The unit has a private key.
[[nodiscard]] u32 ecdsa_sign(VRQ_ECDSA_UNIT& unit, NumberOut r, NumberOut s);

// Whether the signature verifies.
[[nodiscard]] bool ecdsa_verify(VRQ_ECDSA_UNIT& unit, NumberIn r, NumberIn s);

} // namespace vrq
