// The entropy test over any source of draws; tests offer sources that repeat themselves.
#pragma once

#include "foundation/status.h"

namespace vrq {

// vrq_Get_ENTROPY_Input_With_Nonce_Input, or what stands in for it.
using EntropySource = u32 (*)(u8** entropy, u32* entropy_length, u8** nonce, u32* nonce_length,
                              i32 strength, i32 level);

[[nodiscard]] u32 check_entropy(EntropySource draw);

} // namespace vrq
