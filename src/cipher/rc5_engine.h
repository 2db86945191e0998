// RC5-32/12 (RFC 2040) as an engine for the modes of operation.
#pragma once

#include "cipher/engine.h"
#include "talvern/rc5.h"

#include <span>

namespace vrq {

struct Rc5Engine {
    using Key = VRQ_RC5_KEY;
    static constexpr u32 kLibrary = VRQ_L_RC5_INTERFACE;
    static constexpr std::size_t kBlock = 8;
    static constexpr ModeCodes kCodes = kModesFrom2;

    // The kernel for this processor.
    static const BlockKernel<Key>& kernel();

    // All rows, best first.
    static std::span<const BlockKernel<Key>> kernels();
};

} // namespace vrq
