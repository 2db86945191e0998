// The counter tables under /proc/net: pairs of lines, names above values.
#pragma once

#include "foundation/status.h"

#include <cstddef>

namespace vrq::noise {

// Values of the counters that the collector wants, in the order of reading.
struct Counters {
    static constexpr std::size_t kMost = 32; // the kernel's files hold seven
    u64 values[kMost];
    std::size_t count;
};

// Appends the wanted counters of a file that are not zero. A missing file has none; a malformed one
// aborts the process.
void load_counters(const char* path, Counters& counters);

} // namespace vrq::noise
