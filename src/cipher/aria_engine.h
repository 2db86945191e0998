// ARIA (RFC 5794) as an engine for the modes of operation.
#pragma once

#include "cipher/engine.h"
#include "talvern/aria.h"

#include <span>

namespace vrq {

struct AriaEngine {
    using Key = VRQ_ARIA_KEY;
    static constexpr u32 kLibrary = VRQ_L_ARIA_INTERFACE;
    static constexpr std::size_t kBlock = 16;
    static constexpr ModeCodes kCodes = kModesFrom3;

    // The kernel for this processor.
    static const BlockKernel<Key>& kernel();

    // All rows, best first.
    static std::span<const BlockKernel<Key>> kernels();
};

} // namespace vrq
