// Telling a process from its forked children without a system call.
#pragma once

#include "foundation/status.h"

namespace vrq {

// A number that is the same in every thread of a process and another one in each of its forked
// children; never 0.
u64 process_mark();

} // namespace vrq
