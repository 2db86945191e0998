// Hooks of the static archive that the internal tests link; the shared library has none of this.
#pragma once

#include "foundation/status.h"

#include <cstddef>

namespace vrq::testing {

// Features that cpu::features() hides. Rows already picked stay picked, so tests that compare
// kernels take rows from the kernel tables directly or mask before first use.
void mask_features(u32 features);

// Lets the allocation with this number from now on (1 is the next) fail, and no other; 0 switches
// the fault off.
void fail_allocation(std::size_t number);

// Allocations since the last fail_allocation().
std::size_t allocation_count();

// Called with every block that the library is about to free, while it can still be read.
using FreeObserver = void (*)(const void* memory, std::size_t size);
void observe_frees(FreeObserver observer);

} // namespace vrq::testing
