// Blowfish as an engine for the modes of operation.
#pragma once

#include "cipher/engine.h"
#include "talvern/blowfish.h"

#include <span>

namespace vrq {

struct BfEngine {
    using Key = VRQ_BF_KEY;
    static constexpr u32 kLibrary = VRQ_L_BF_INTERFACE;
    static constexpr std::size_t kBlock = 8;
    static constexpr ModeCodes kCodes = kModesFrom3;

    // The kernel for this processor.
    static const BlockKernel<Key>& kernel();

    // All rows, best first.
    static std::span<const BlockKernel<Key>> kernels();
};

} // namespace vrq
