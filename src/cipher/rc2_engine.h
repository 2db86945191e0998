// RC2 (RFC 2268) as an engine for the modes of operation.
#pragma once

#include "cipher/engine.h"
#include "talvern/rc2.h"

#include <span>

namespace vrq {

struct Rc2Engine {
    using Key = VRQ_RC2_KEY;
    static constexpr u32 kLibrary = VRQ_L_RC2_INTERFACE;
    static constexpr std::size_t kBlock = 8;
    static constexpr ModeCodes kCodes = kModesFrom2;

    // The kernel for this processor.
    static const BlockKernel<Key>& kernel();

    // All rows, best first.
    static std::span<const BlockKernel<Key>> kernels();
};

} // namespace vrq
