// The process-wide Hash_DRBG.
#pragma once

#include "random/drbg_hash.h"

#include <pthread.h>

namespace vrq::drbg {

// What outlives a call. All zeros at load and after VRQ_Uninstantiate_DRBG.
struct SavedState {
    u32 hash;
    u8 v[kMaxSeedLength];
    u8 c[kMaxSeedLength];
    u32 is_valid;
    i32 reseed_counter;
    u32 has_lock;
    u8 last_block[kMaxDigestLength];
    u32 last_block_length;
    pthread_mutex_t lock;
};

// For tests of the continuous test and of the reseed interval.
SavedState& saved_state();

} // namespace vrq::drbg
