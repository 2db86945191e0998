// Tables of the DES inside MDC-2 (FIPS 46-3), computed from those of the standard.
//
// Bits are numbered from 1 at the most significant end, as in the standard. A round works on halves
// rotated left by one bit: the low six bits of each byte are then the inputs of S-boxes 2, 4, 6, 8, and
// after a further rotation right by four those of S-boxes 1, 3, 5, 7.
#pragma once

#include "foundation/status.h"

#include <array>
#include <bit>
#include <cstddef>

namespace vrq::mdc2_des {

inline constexpr u8 kSBoxes[8][64] = {
    {14, 4,  13, 1, 2,  15, 11, 8, 3, 10, 6, 12, 5,  9,  0,  7,  0,  15, 7,  4,  14, 2,
     13, 1,  10, 6, 12, 11, 9,  5, 3, 8,  4, 1,  14, 8,  13, 6,  2,  11, 15, 12, 9,  7,
     3,  10, 5,  0, 15, 12, 8,  2, 4, 9,  1, 7,  5,  11, 3,  14, 10, 0,  6,  13},
    {15, 1,  8,  14, 6,  11, 3,  4, 9,  7,  2, 13, 12, 0,  5,  10, 3,  13, 4,  7, 15, 2,
     8,  14, 12, 0,  1,  10, 6,  9, 11, 5,  0, 14, 7,  11, 10, 4,  13, 1,  5,  8, 12, 6,
     9,  3,  2,  15, 13, 8,  10, 1, 3,  15, 4, 2,  11, 6,  7,  12, 0,  5,  14, 9},
    {10, 0,  9,  14, 6, 3,  15, 5,  1,  13, 12, 7, 11, 4,  2,  8,  13, 7, 0,  9, 3, 4,
     6,  10, 2,  8,  5, 14, 12, 11, 15, 1,  13, 6, 4,  9,  8,  15, 3,  0, 11, 1, 2, 12,
     5,  10, 14, 7,  1, 10, 13, 0,  6,  9,  8,  7, 4,  15, 14, 3,  11, 5, 2,  12},
    {7, 13, 14, 3, 0, 6,  9, 10, 1,  2, 8,  5, 11, 12, 4,  15, 13, 8,  11, 5, 6, 15,
     0, 3,  4,  7, 2, 12, 1, 10, 14, 9, 10, 6, 9,  0,  12, 11, 7,  13, 15, 1, 3, 14,
     5, 2,  8,  4, 3, 15, 0, 6,  10, 1, 13, 8, 9,  4,  5,  11, 12, 7,  2,  14},
    {2,  12, 4, 1,  7,  10, 11, 6, 8, 5,  3, 15, 13, 0,  14, 9,  14, 11, 2,  12, 4,  7,
     13, 1,  5, 0,  15, 10, 3,  9, 8, 6,  4, 2,  1,  11, 10, 13, 7,  8,  15, 9,  12, 5,
     6,  3,  0, 14, 11, 8,  12, 7, 1, 14, 2, 13, 6,  15, 0,  9,  10, 4,  5,  3},
    {12, 1,  10, 15, 9,  2,  6, 8,  0, 13, 3,  4,  14, 7,  5, 11, 10, 15, 4, 2, 7, 12,
     9,  5,  6,  1,  13, 14, 0, 11, 3, 8,  9,  14, 15, 5,  2, 8,  12, 3,  7, 0, 4, 10,
     1,  13, 11, 6,  4,  3,  2, 12, 9, 5,  15, 10, 11, 14, 1, 7,  6,  0,  8, 13},
    {4, 11, 2,  14, 15, 0,  8,  13, 3, 12, 9,  7, 5,  10, 6,  1,  13, 0,  11, 7,  4, 9,
     1, 10, 14, 3,  5,  12, 2,  15, 8, 6,  1,  4, 11, 13, 12, 3,  7,  14, 10, 15, 6, 8,
     0, 5,  9,  2,  6,  11, 13, 8,  1, 4,  10, 7, 9,  5,  0,  15, 14, 2,  3,  12},
    {13, 2, 8,  4, 6, 15, 11, 1,  10, 9,  3, 14, 5,  0,  12, 7,  1,  15, 13, 8, 10, 3,
     7,  4, 12, 5, 6, 11, 0,  14, 9,  2,  7, 11, 4,  1,  9,  12, 14, 2,  0,  6, 10, 13,
     15, 3, 5,  8, 2, 1,  14, 7,  4,  10, 8, 13, 15, 12, 9,  0,  3,  5,  6,  11}};

inline constexpr u8 kPermutation[32] = {16, 7, 20, 21, 29, 12, 28, 17, 1,  15, 23,
                                        26, 5, 18, 31, 10, 2,  8,  24, 14, 32, 27,
                                        3,  9, 19, 13, 30, 6,  22, 11, 4,  25};

// Permuted choice 2: which of the 56 bits of C and D each bit of a round key is.
inline constexpr u8 kChoice2[48] = {14, 17, 11, 24, 1,  5,  3,  28, 15, 6,  21, 10, 23, 19, 12, 4,
                                    26, 8,  16, 7,  27, 20, 13, 2,  41, 52, 31, 37, 47, 55, 30, 40,
                                    51, 45, 33, 48, 44, 49, 39, 56, 34, 53, 46, 42, 50, 36, 29, 32};

// Left rotation of C and D before each round.
inline constexpr int kShifts[16] = {1, 1, 2, 2, 2, 2, 2, 2, 1, 2, 2, 2, 2, 2, 2, 1};

// The output of S-box number `box` (from 0) for a six-bit input, through P, rotated left by one.
consteval u32 sp_entry(std::size_t box, std::size_t in) {
    const std::size_t row = (in >> 4 & 2) | (in & 1);
    const u32 out = static_cast<u32>(kSBoxes[box][row * 16 + (in >> 1 & 15)]) << (28 - 4 * box);
    u32 permuted = 0;
    for (std::size_t bit = 0; bit < 32; ++bit)
        permuted |= (out >> (32 - kPermutation[bit]) & 1) << (31 - bit);
    return std::rotl(permuted, 1);
}

// Where bit `bit` (from 0) of a round key stands in the pair of words, the first word on top.
constexpr int round_key_shift(std::size_t bit) {
    const std::size_t box = bit / 6;
    const std::size_t word = box % 2 == 0 ? 32 : 0;
    return static_cast<int>(word + 24 - 8 * (box / 2) + 5 - bit % 6);
}

using Choice2Table = std::array<std::array<u64, 128>, 8>;

// What each run of seven bits of C (entries 0 to 3) and D (4 to 7) gives to a round key.
consteval Choice2Table choice2_table() {
    Choice2Table table{};
    for (std::size_t bit = 0; bit < 48; ++bit) {
        const std::size_t from = kChoice2[bit] - std::size_t{1};
        const std::size_t mask = std::size_t{64} >> from % 7;
        for (std::size_t run = 0; run < 128; ++run) {
            if ((run & mask) != 0) table[from / 7][run] |= u64{1} << round_key_shift(bit);
        }
    }
    return table;
}

} // namespace vrq::mdc2_des
