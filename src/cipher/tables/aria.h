// The S-boxes of ARIA (RFC 5794 section 2.4.2), computed from their definition, and the tables that
// join them with the diffusion layer.
#pragma once

#include "cipher/tables/gf256.h"

#include <array>

namespace vrq::aria {

using SBox = std::array<u8, 256>;

constexpr u32 kModulus = 0x11B; // x^8 + x^4 + x^3 + x + 1

// S1 is the AES S-box: the inverse under an affine map.
constexpr gf256::Matrix kS1Matrix{{0xF8, 0x7C, 0x3E, 0x1F, 0x8F, 0xC7, 0xE3, 0xF1}};

// S2 is x^247 under an affine map.
constexpr gf256::Matrix kS2Matrix{{0xCB, 0xBA, 0x81, 0x34, 0xB9, 0xEB, 0xBC, 0x7A}};

consteval SBox affine_of_power(const gf256::Matrix& matrix, u32 exponent, u8 constant) {
    SBox box{};
    for (u32 x = 0; x < 256; ++x) {
        const u8 y = gf256::power(static_cast<u8>(x), exponent, kModulus);
        box[x] = gf256::apply(matrix, y) ^ constant;
    }
    return box;
}

consteval SBox inverse(const SBox& box) {
    SBox result{};
    for (u32 x = 0; x < 256; ++x) result[box[x]] = static_cast<u8>(x);
    return result;
}

constexpr SBox kS1 = affine_of_power(kS1Matrix, 254, 0x63);
constexpr SBox kS2 = affine_of_power(kS2Matrix, 247, 0xE2);
constexpr SBox kX1 = inverse(kS1);
constexpr SBox kX2 = inverse(kS2);

static_assert(kS1[0] == 0x63 && kS1[1] == 0x7C && kS1[0x53] == 0xED && kS1[255] == 0x16);
static_assert(kS2[0] == 0xE2 && kS2[1] == 0x4E && kS2[2] == 0x54 && kS2[255] == 0x81);
static_assert(kX1[0] == 0x52 && kX1[1] == 0x09 && kX1[255] == 0x7D);
static_assert(kX2[0] == 0x30 && kX2[1] == 0x68 && kX2[0xE2] == 0x00);

// Words are little-endian here: lane 0 is the first byte. The diffusion layer starts by replacing
// each byte of a word by the sum of the other three, so entry x of a table holds its S-box's x in
// every lane but the table's own.
using Table = std::array<u32, 256>;

consteval Table spread(const SBox& box, u32 lane) {
    Table table{};
    for (u32 x = 0; x < 256; ++x) table[x] = box[x] * (0x01010101U ^ 1U << 8 * lane);
    return table;
}

alignas(64) constexpr std::array<Table, 4> kSpread = {spread(kS1, 0), spread(kS2, 1),
                                                      spread(kX1, 2), spread(kX2, 3)};

} // namespace vrq::aria
