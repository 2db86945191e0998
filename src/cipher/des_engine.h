// DES and triple DES (FIPS 46-3) as engines for the modes of operation.
#pragma once

#include "cipher/engine.h"
#include "talvern/des.h"

#include <span>

namespace vrq {

struct DesEngine {
    using Key = VRQ_DES_KEY;
    static constexpr u32 kLibrary = VRQ_L_DES_INTERFACE;
    static constexpr std::size_t kBlock = 8;
    static constexpr ModeCodes kCodes = kModesFrom2;

    // The kernel for this processor.
    static const BlockKernel<Key>& kernel();

    // All rows, best first.
    static std::span<const BlockKernel<Key>> kernels();
};

struct DesEdeEngine {
    using Key = VRQ_DES_EDE_KEY;
    static constexpr u32 kLibrary = VRQ_L_DES_EDE_INTERFACE;
    static constexpr std::size_t kBlock = 8;
    static constexpr ModeCodes kCodes = kModesFrom2;

    static const BlockKernel<Key>& kernel();
    static std::span<const BlockKernel<Key>> kernels();
};

} // namespace vrq
