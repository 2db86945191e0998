// Status words inside the library. Each file opens with a short form of make_status for its own
// library, so that a failure names its function and reason at the return.
#pragma once

#include "talvern/status.h"

#include <cstdint>

namespace vrq {

using u8 = std::uint8_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i32 = std::int32_t;

constexpr u32 make_status(u32 library, u32 function, u32 reason) {
    return VRQ_STATUS(library, function, reason);
}

} // namespace vrq
