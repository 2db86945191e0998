// What the key schedule of Blowfish starts from.
#pragma once

#include "talvern/blowfish.h"

namespace vrq::bf_tables {

inline constexpr VRQ_BF_KEY bf_init = {
#include "cipher/tables/bf_pi.inc"
};

} // namespace vrq::bf_tables
