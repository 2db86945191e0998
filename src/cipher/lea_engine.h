// LEA (KS X 3246) as an engine for the modes of operation.
#pragma once

#include "cipher/engine.h"
#include "talvern/lea.h"

#include <span>

namespace vrq {

struct LeaEngine {
    using Key = VRQ_LEA_KEY;
    static constexpr u32 kLibrary = VRQ_L_LEA_INTERFACE;
    static constexpr std::size_t kBlock = 16;
    static constexpr ModeCodes kCodes = kModesFrom3;

    // The kernel for this processor.
    static const BlockKernel<Key>& kernel();

    // All rows, best first.
    static std::span<const BlockKernel<Key>> kernels();
};

} // namespace vrq
