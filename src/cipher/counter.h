// Counter blocks: big-endian numbers of a whole block.
#pragma once

#include "foundation/bytes.h"

namespace vrq {

// Adds one; all ones wrap to zero.
template <std::size_t kBlock>
void increment_counter(u8* block) {
    static_assert(kBlock % sizeof(u64) == 0);
    for (std::size_t at = kBlock; at != 0;) {
        at -= sizeof(u64);
        const u64 word = load_be<u64>(block + at) + 1;
        store_be(block + at, word);
        if (word != 0) return;
    }
}

// Writes consecutive counter blocks and leaves the one that follows them in counter.
template <std::size_t kBlock>
void fill_counters(u8* counter, u8* out, std::size_t blocks) {
    static_assert(kBlock == 8 || kBlock == 16);
    u64 high = load_be<u64>(counter);
    u64 low = load_be<u64>(counter + kBlock - sizeof(u64));
    for (std::size_t i = 0; i < blocks; ++i, ++low, out += kBlock) {
        store_be(out + kBlock - sizeof(u64), low);
        if constexpr (kBlock == 8) continue;
        store_be(out, high);
        if (low == ~u64{0}) ++high;
    }
    if constexpr (kBlock == 16) store_be(counter, high);
    store_be(counter + kBlock - sizeof(u64), low);
}

} // namespace vrq
