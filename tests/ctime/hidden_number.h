// Numbers whose values count as undefined for memcheck. Lengths are public, so the top word stays known.
#pragma once

#include "talvern/bigint.h"

#include <valgrind/memcheck.h>

#include <cstddef>
#include <cstdint>

namespace memcheck {

inline void hide(const VRQ_BIGINT* a) {
    const auto words = static_cast<std::size_t>(a->used);
    VALGRIND_MAKE_MEM_UNDEFINED(a->data, (words - 1) * sizeof(std::uint32_t));
}

inline void show(const VRQ_BIGINT* a) {
    VALGRIND_MAKE_MEM_DEFINED(a->data,
                              static_cast<std::size_t>(a->allocated) * sizeof(std::uint32_t));
}

} // namespace memcheck
