// Inside the older generator.
#pragma once

#include "foundation/status.h"
#include "talvern/cipher.h"
#include "talvern/random.h"

#include <algorithm>
#include <cstddef>

namespace vrq {

// Bytes of G over a cipher, and how many of them a step gives out: the cipher's block.
constexpr std::size_t kPrngCipherOutput = 20;
constexpr std::size_t kPrngCipherBlock = 16;

inline bool is_prng_cipher(u32 algorithm) {
    return algorithm == VRQ_ID_ARIA_128 || algorithm == VRQ_ID_ARIA_192 ||
           algorithm == VRQ_ID_ARIA_256 || algorithm == VRQ_ID_SEED_128;
}

// The b of FIPS 186-2, modulo 2^b of which a unit works: the bit length of XKEY. Since a step never
// lengthens XKEY and often shortens it, the length would run down to nothing and the output would
// repeat or follow from what was given out; below 80 bits it stands still.
inline std::size_t prng_bits(const VRQ_PRNG_UNIT& unit) {
    constexpr std::size_t kLeast = 80;
    return std::max(kLeast, std::size_t{VRQ_Get_BIGINT_Bits_Length(unit.xkey)});
}

} // namespace vrq
