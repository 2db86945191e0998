// Overwriting secrets so that the compiler keeps the stores. A plain memset before free or before
// the end of a scope is removed as a dead store.
#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace vrq {

inline void wipe(void* data, std::size_t size) {
    if (size == 0) return;
    std::memset(data, 0, size);
    __asm__ __volatile__("" : : "r"(data) : "memory");
}

// Wipes one object or array of plain data.
template <class T>
void wipe_object(T& object) {
    static_assert(std::is_trivially_copyable_v<T>);
    wipe(&object, sizeof object);
}

// Wipes the stack below the caller's frame: there, functions that have returned may have kept words of a
// secret for which they had no register. 1 KiB covers the hash functions and the calls that lead to them.
template <std::size_t Size = 1024>
[[gnu::noinline]] void wipe_stack() {
    unsigned char below[Size];
    wipe(below, sizeof below);
}

} // namespace vrq
