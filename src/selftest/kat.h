// Known answers of the power-up tests. Their bytes lie inside the rows, without pointers, so that
// the tables need no relocation and stand in memory that is never writable.
#pragma once

#include "foundation/status.h"

#include <cstddef>
#include <cstring>

namespace vrq::kat {

// Declared only: naming it in a constant expression stops the compiler.
void not_whole_bytes_in_hex();

constexpr u8 hex_digit(char c) {
    if (c >= '0' && c <= '9') return static_cast<u8>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<u8>(c - 'a' + 10);
    not_whole_bytes_in_hex();
    return 0;
}

// Up to N bytes, written as lower-case hex.
template <std::size_t N>
struct Hex {
    u8 data[N]{};
    u32 length = 0;

    template <std::size_t Size>
    constexpr Hex(const char (&text)[Size]) { // rows are written as plain text
        if (Size % 2 == 0 || Size / 2 > N) not_whole_bytes_in_hex();
        for (; length < Size / 2; ++length) {
            const u8 high = hex_digit(text[2 * length]);
            data[length] = static_cast<u8>(high << 4 | hex_digit(text[2 * length + 1]));
        }
    }

    i32 signed_length() const { return static_cast<i32>(length); }

    // What was computed is this answer. Compilers must not take its bytes into their instructions: the
    // answer is what stands in memory.
    bool is(const u8* bytes, u32 count) const {
        const u8* answer = data;
        __asm__("" : "+r"(answer));
        return count == length && std::memcmp(answer, bytes, length) == 0;
    }
};

// The status that every check but two reports for whatever went wrong.
constexpr u32 failure(u32 function) {
    return make_status(VRQ_L_SELF_TEST, function, VRQ_ERR_SUB_OPERATION_FAILURE);
}

} // namespace vrq::kat
