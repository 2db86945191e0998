// Loads and stores of words in either byte order, from addresses of any alignment.
#pragma once

#include "foundation/status.h"

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstring>

namespace vrq {

static_assert(std::endian::native == std::endian::little, "64-bit little-endian Linux only");

constexpr u32 byte_swap(u32 x) { return __builtin_bswap32(x); }
constexpr u64 byte_swap(u64 x) { return __builtin_bswap64(x); }

template <std::unsigned_integral Word>
Word load_le(const u8* in) {
    Word word;
    std::memcpy(&word, in, sizeof word);
    return word;
}

template <std::unsigned_integral Word>
Word load_be(const u8* in) {
    return byte_swap(load_le<Word>(in));
}

template <std::unsigned_integral Word>
void store_le(u8* out, Word word) {
    std::memcpy(out, &word, sizeof word);
}

template <std::unsigned_integral Word>
void store_be(u8* out, Word word) {
    store_le(out, byte_swap(word));
}

} // namespace vrq
