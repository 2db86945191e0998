// The process-wide Hash_DRBG.
#pragma once

#include "random/drbg_hash.h"

namespace vrq::drbg {

// What outlives a call, beside the mutex that guards it. All zeros at load and after
// VRQ_Uninstantiate_DRBG.
struct SavedState {
    u32 hash;
    u8 v[kMaxSeedLength];
    u8 c[kMaxSeedLength];
    u32 is_valid;
    i32 reseed_counter;
    u8 last_block[kMaxDigestLength];
    u32 last_block_length;
};

// For tests of the continuous test and of the reseed interval.
SavedState& saved_state();

} // namespace vrq::drbg
