// Allocation inside the library: everything goes through the exported wrappers, with the file and
// line of the caller. Every result is tested by its caller; there is no new and no throwing
// container.
#pragma once

#include "foundation/wipe.h"
#include "talvern/memory.h"

#include <cstddef>

namespace vrq {

[[nodiscard]] inline void* allocate(std::size_t size, const char* file = __builtin_FILE(),
                                    int line = __builtin_LINE()) {
    return VRQ_Malloc(size, file, line);
}

// The platform's calloc passes by its per-thread cache; for records this is faster.
[[nodiscard]] inline void* allocate_zeroed(std::size_t size, const char* file = __builtin_FILE(),
                                           int line = __builtin_LINE()) {
    void* memory = VRQ_Malloc(size, file, line);
    if (memory != nullptr) std::memset(memory, 0, size);
    return memory;
}

// Null is allowed.
inline void release(void* memory, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE()) {
    VRQ_Free(memory, file, line);
}

// Wipes size bytes and releases the block. Null is allowed.
inline void wipe_and_release(void* memory, std::size_t size, const char* file = __builtin_FILE(),
                             int line = __builtin_LINE()) {
    if (memory == nullptr) return;
    wipe(memory, size);
    release(memory, file, line);
}

} // namespace vrq
