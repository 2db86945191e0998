// Round keys of the DES inside MDC-2: the one part of it that special instructions speed up.
#pragma once

#include "foundation/cpu.h"
#include "talvern/digest.h"

namespace vrq {

struct RoundKeyKernel {
    u32 needs; // cpu feature bits
    const char* name;
    void (*set)(VRQ_MDC2_DES_KEY& key, u64 user_key); // of a key loaded little-endian
};

void mdc2_round_keys_portable(VRQ_MDC2_DES_KEY& key, u64 user_key);

#if defined(__x86_64__) && !defined(TALVERN_PORTABLE)

void mdc2_round_keys_vbmi(VRQ_MDC2_DES_KEY& key, u64 user_key);

inline constexpr RoundKeyKernel kRoundKeyKernels[] = {
    {cpu::kAvx512 | cpu::kVbmi, "vbmi", mdc2_round_keys_vbmi},
    {0, "portable", mdc2_round_keys_portable}};

#else

inline constexpr RoundKeyKernel kRoundKeyKernels[] = {{0, "portable", mdc2_round_keys_portable}};

#endif

} // namespace vrq
