// SEED (RFC 4269) as an engine for the modes of operation.
#pragma once

#include "cipher/engine.h"
#include "talvern/seed.h"

#include <span>

namespace vrq {

struct SeedEngine {
    using Key = VRQ_SEED_KEY;
    static constexpr u32 kLibrary = VRQ_L_SEED_INTERFACE;
    static constexpr std::size_t kBlock = 16;
    static constexpr ModeCodes kCodes = kModesOfSeed;

    // The kernel for this processor.
    static const BlockKernel<Key>& kernel();

    // All rows, best first.
    static std::span<const BlockKernel<Key>> kernels();
};

} // namespace vrq
