// Masks and comparisons whose time does not depend on the data. The barrier keeps the compiler from
// turning a mask back into a branch.
#pragma once

#include "foundation/status.h"

#include <cstddef>

namespace vrq::ct {

template <class Word>
Word barrier(Word word) {
    __asm__("" : "+r"(word));
    return word;
}

// All ones when the word is zero, else zero.
inline u32 is_zero(u32 word) {
    word = barrier(word);
    return barrier(static_cast<u32>(0) - ((~word & (word - 1)) >> 31));
}

// All ones when a equals b, else zero.
inline u32 is_equal(u32 a, u32 b) { return is_zero(a ^ b); }

// All ones when a is below b, else zero.
inline u32 less(u32 a, u32 b) {
    const u64 difference = barrier(u64{a}) - b;
    return barrier(static_cast<u32>(0) - static_cast<u32>(difference >> 63));
}

// a where mask is all ones, b where it is zero.
inline u32 select(u32 mask, u32 a, u32 b) { return b ^ (barrier(mask) & (a ^ b)); }

// True when both regions hold the same bytes.
inline bool equal(const u8* a, const u8* b, std::size_t size) {
    u32 difference = 0;
    for (std::size_t i = 0; i < size; ++i) difference = barrier(difference | (a[i] ^ b[i]));
    return difference == 0;
}

} // namespace vrq::ct
