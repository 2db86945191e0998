// The tables of DES from FIPS 46-3, and what the implementation derives from them.
//
// Both halves of a block are kept rotated left by one bit. Then the 6-bit groups that expansion E
// forms for the even S-boxes stand in the low bits of the four bytes, and rotation right by 4 puts
// the groups of the odd S-boxes there.
#pragma once

#include "cipher/tables/expand.h"
#include "foundation/status.h"

#include <bit>

namespace vrq::des_tables {

// The standard's tables number bits from 1, the leftmost.

// Permuted choice 1 and 2, and the left shifts of each round.

inline constexpr u8 PChoice_1[56] = {57, 49, 41, 33, 25, 17, 9,  1,  58, 50, 42, 34, 26, 18,
                                     10, 2,  59, 51, 43, 35, 27, 19, 11, 3,  60, 52, 44, 36,
                                     63, 55, 47, 39, 31, 23, 15, 7,  62, 54, 46, 38, 30, 22,
                                     14, 6,  61, 53, 45, 37, 29, 21, 13, 5,  28, 20, 12, 4};

inline constexpr u8 PChoice_2[48] = {
    14, 17, 11, 24, 1,  5,  3,  28, 15, 6,  21, 10, 23, 19, 12, 4,  26, 8,  16, 7,  27, 20, 13, 2,
    41, 52, 31, 37, 47, 55, 30, 40, 51, 45, 33, 48, 44, 49, 39, 56, 34, 53, 46, 42, 50, 36, 29, 32};

inline constexpr u8 LCShitSchedule[16] = {1, 1, 2, 2, 2, 2, 2, 2, 1, 2, 2, 2, 2, 2, 2, 1};

// Masks of the bits of a key byte, and of the 24 bits that the S-boxes take from each half.

consteval u8 byte_bit(u32 i) { return static_cast<u8>(0x80U >> i); }
consteval u32 half_bit(u32 i) { return 0x800000U >> i; }

inline constexpr u8 BitArray[8] = {T4(byte_bit, 0), T4(byte_bit, 4)};

inline constexpr u32 bigbyte[24] = {T16(half_bit, 0), T4(half_bit, 16), T4(half_bit, 20)};

inline constexpr u8 kPermutation[32] = {16, 7, 20, 21, 29, 12, 28, 17, 1,  15, 23,
                                        26, 5, 18, 31, 10, 2,  8,  24, 14, 32, 27,
                                        3,  9, 19, 13, 30, 6,  22, 11, 4,  25};

inline constexpr u8 kBoxes[8][64] = {
    {14, 4,  13, 1, 2,  15, 11, 8,  3,  10, 6,  12, 5,  9,  0, 7, //
     0,  15, 7,  4, 14, 2,  13, 1,  10, 6,  12, 11, 9,  5,  3, 8, //
     4,  1,  14, 8, 13, 6,  2,  11, 15, 12, 9,  7,  3,  10, 5, 0, //
     15, 12, 8,  2, 4,  9,  1,  7,  5,  11, 3,  14, 10, 0,  6, 13},
    {15, 1,  8,  14, 6,  11, 3,  4,  9,  7, 2,  13, 12, 0, 5,  10, //
     3,  13, 4,  7,  15, 2,  8,  14, 12, 0, 1,  10, 6,  9, 11, 5,  //
     0,  14, 7,  11, 10, 4,  13, 1,  5,  8, 12, 6,  9,  3, 2,  15, //
     13, 8,  10, 1,  3,  15, 4,  2,  11, 6, 7,  12, 0,  5, 14, 9},
    {10, 0,  9,  14, 6, 3,  15, 5,  1,  13, 12, 7,  11, 4,  2,  8, //
     13, 7,  0,  9,  3, 4,  6,  10, 2,  8,  5,  14, 12, 11, 15, 1, //
     13, 6,  4,  9,  8, 15, 3,  0,  11, 1,  2,  12, 5,  10, 14, 7, //
     1,  10, 13, 0,  6, 9,  8,  7,  4,  15, 14, 3,  11, 5,  2,  12},
    {7,  13, 14, 3, 0,  6,  9,  10, 1,  2, 8, 5,  11, 12, 4,  15, //
     13, 8,  11, 5, 6,  15, 0,  3,  4,  7, 2, 12, 1,  10, 14, 9,  //
     10, 6,  9,  0, 12, 11, 7,  13, 15, 1, 3, 14, 5,  2,  8,  4,  //
     3,  15, 0,  6, 10, 1,  13, 8,  9,  4, 5, 11, 12, 7,  2,  14},
    {2,  12, 4,  1,  7,  10, 11, 6,  8,  5,  3,  15, 13, 0, 14, 9,  //
     14, 11, 2,  12, 4,  7,  13, 1,  5,  0,  15, 10, 3,  9, 8,  6,  //
     4,  2,  1,  11, 10, 13, 7,  8,  15, 9,  12, 5,  6,  3, 0,  14, //
     11, 8,  12, 7,  1,  14, 2,  13, 6,  15, 0,  9,  10, 4, 5,  3},
    {12, 1,  10, 15, 9, 2,  6,  8,  0,  13, 3,  4,  14, 7,  5,  11, //
     10, 15, 4,  2,  7, 12, 9,  5,  6,  1,  13, 14, 0,  11, 3,  8,  //
     9,  14, 15, 5,  2, 8,  12, 3,  7,  0,  4,  10, 1,  13, 11, 6,  //
     4,  3,  2,  12, 9, 5,  15, 10, 11, 14, 1,  7,  6,  0,  8,  13},
    {4,  11, 2,  14, 15, 0, 8,  13, 3,  12, 9, 7,  5,  10, 6, 1, //
     13, 0,  11, 7,  4,  9, 1,  10, 14, 3,  5, 12, 2,  15, 8, 6, //
     1,  4,  11, 13, 12, 3, 7,  14, 10, 15, 6, 8,  0,  5,  9, 2, //
     6,  11, 13, 8,  1,  4, 10, 7,  9,  5,  0, 15, 14, 2,  3, 12},
    {13, 2,  8,  4, 6,  15, 11, 1,  10, 9,  3,  14, 5,  0,  12, 7, //
     1,  15, 13, 8, 10, 3,  7,  4,  12, 5,  6,  11, 0,  14, 9,  2, //
     7,  11, 4,  1, 9,  12, 14, 2,  0,  6,  10, 13, 15, 3,  5,  8, //
     2,  1,  14, 7, 4,  10, 8,  13, 15, 12, 9,  0,  3,  5,  6,  11},
};

// An S-box followed by P, for halves rotated left by one. The outer two of the six input bits
// choose the row, the inner four the column.
template <u32 kBox>
consteval u32 box_entry(u32 input) {
    const u32 row = (input >> 4 & 2) | (input & 1);
    const u32 output = kBoxes[kBox][16 * row + (input >> 1 & 15)];
    u32 word = 0;
    for (u32 i = 0; i < 32; ++i) {
        const u32 source = kPermutation[i] - 1U;
        if (source / 4 == kBox) word |= (output >> (3 - source % 4) & 1) << (31 - i);
    }
    return std::rotl(word, 1);
}

static_assert(box_entry<0>(0) == 0x01010400 && box_entry<7>(63) == 0x10041000);

// The boxes for look-up by whole bytes: the two bits above the group are not looked at, so that
// they need no masking.
struct ByteBoxes {
    u32 box[8][256];
};

template <u32 kBox>
consteval void fill_box(ByteBoxes& boxes) {
    for (u32 i = 0; i < 256; ++i)
        boxes.box[kBox][i] = i < 64 ? box_entry<kBox>(i) : boxes.box[kBox][i - 64];
}

consteval ByteBoxes make_byte_boxes() {
    ByteBoxes boxes{};
    fill_box<0>(boxes);
    fill_box<1>(boxes);
    fill_box<2>(boxes);
    fill_box<3>(boxes);
    fill_box<4>(boxes);
    fill_box<5>(boxes);
    fill_box<6>(boxes);
    fill_box<7>(boxes);
    return boxes;
}

// Permuted choice 2 by pieces of seven bits of the 56-bit key state: what a piece contributes to
// the two words of a round key, the word of the odd boxes in the low half.
struct KeyPieces {
    u64 piece[8][128];
};

consteval KeyPieces make_key_pieces() {
    KeyPieces pieces{};
    for (u32 bit = 0; bit < 48; ++bit) {
        const u32 group = bit / 6;
        const u32 place = 24 - 8 * (group / 2) + 5 - bit % 6 + 32 * (group % 2);
        const u32 source = PChoice_2[bit] - 1U;
        for (u32 value = 0; value < 128; ++value)
            pieces.piece[source / 7][value] |= u64{value >> (6 - source % 7) & 1} << place;
    }
    return pieces;
}

#define DES_BOX(number) inline constexpr u32 SPBox_##number[64] = {T64(box_entry<(number)-1>, 0)}

DES_BOX(1);
DES_BOX(2);
DES_BOX(3);
DES_BOX(4);
DES_BOX(5);
DES_BOX(6);
DES_BOX(7);
DES_BOX(8);

#undef DES_BOX

} // namespace vrq::des_tables
