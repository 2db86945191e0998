// The seed pool of the older generator.
#pragma once

#include "foundation/status.h"

#include <cstddef>

namespace vrq {

constexpr std::size_t kSeedPool = 20;

// Polls the system if this process has not polled yet.
void poll_once();

// XSEED for a generator with this XKEY: twenty rounds of stirring one byte of XKEY in and taking one
// out. False when the digest fails.
[[nodiscard]] bool make_xseed(const u8* xkey, u8* xseed);

} // namespace vrq
