// The S-boxes of ARIA (RFC 5794 section 2.4.2), computed from their definition, and the tables that
// join them with the diffusion layer.
#pragma once

#include "cipher/tables/gf256.h"

namespace vrq::aria {

// S2 is x^247 under an affine map.
constexpr gf256::Matrix kS2Matrix{{0xCB, 0xBA, 0x81, 0x34, 0xB9, 0xEB, 0xBC, 0x7A}};

// S1 is the AES S-box.
constexpr gf256::SBox kS1 = gf256::kAesBox;
constexpr gf256::SBox kS2 = gf256::affine_of_power(kS2Matrix, 247, 0xE2, gf256::kAesModulus);
constexpr gf256::SBox kX1 = gf256::kAesInverseBox;
constexpr gf256::SBox kX2 = gf256::inverse(kS2);

static_assert(kS2[0] == 0xE2 && kS2[1] == 0x4E && kS2[2] == 0x54 && kS2[255] == 0x81);
static_assert(kX2[0] == 0x30 && kX2[1] == 0x68 && kX2[0xE2] == 0x00);

// Words are little-endian here: lane 0 is the first byte. The diffusion layer starts by replacing
// each byte of a word by the sum of the other three, so entry x of a table holds its S-box's x in
// every lane but the table's own.
using Table = std::array<u32, 256>;

consteval Table spread(const gf256::SBox& box, u32 lane) {
    Table table{};
    for (u32 x = 0; x < 256; ++x) table[x] = box[x] * (0x01010101U ^ 1U << 8 * lane);
    return table;
}

alignas(64) constexpr std::array<Table, 4> kSpread = {spread(kS1, 0), spread(kS2, 1),
                                                      spread(kX1, 2), spread(kX2, 3)};

} // namespace vrq::aria
