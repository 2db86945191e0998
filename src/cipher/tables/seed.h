// The S-boxes of SEED (RFC 4269 section 2.2), computed from their definition, and the tables SS0 to
// SS3 that join them with the masks of the function G.
#pragma once

#include "cipher/tables/gf256.h"

namespace vrq::seed {

constexpr u32 kModulus = 0x163; // x^8 + x^6 + x^5 + x + 1

constexpr gf256::Matrix kA1{{0x8A, 0xFE, 0x85, 0x42, 0x45, 0x21, 0x88, 0x14}};
constexpr gf256::Matrix kA2{{0x45, 0x85, 0xFE, 0x21, 0x8A, 0x88, 0x42, 0x14}};

constexpr gf256::SBox kS1 = gf256::affine_of_power(kA1, 247, 0xA9, kModulus);
constexpr gf256::SBox kS2 = gf256::affine_of_power(kA2, 251, 0x38, kModulus);

static_assert(kS1[0] == 0xA9 && kS1[1] == 0x85 && kS1[2] == 0xD6 && kS1[255] == 0x9A);
static_assert(kS2[0] == 0x38 && kS2[1] == 0xE8 && kS2[2] == 0x2D && kS2[255] == 0xB7);

using Tables = std::array<std::array<u32, 256>, 4>;

// An S-box output under the four masks, m0 (FC) in the lowest byte; the other tables hold the same
// words turned by one byte more each.
consteval u32 masked(u32 y) { return (y * 0x01010101U) & 0x3FCFF3FCU; }

consteval u32 rotate(u32 x, u32 n) { return n == 0 ? x : x << n | x >> (32 - n); }

consteval Tables make_tables() {
    Tables tables{};
    for (u32 x = 0; x < 256; ++x) {
        const u32 y1 = masked(kS1[x]);
        const u32 y2 = masked(kS2[x]);
        tables[0][x] = y1;
        tables[1][x] = rotate(y2, 24);
        tables[2][x] = rotate(y1, 16);
        tables[3][x] = rotate(y2, 8);
    }
    return tables;
}

// SS0 to SS3.
alignas(64) constexpr Tables SEED_BOX = make_tables();

static_assert(SEED_BOX[0][0] == 0x2989A1A8 && SEED_BOX[1][0] == 0x38380830);
static_assert(SEED_BOX[2][0] == 0xA1A82989 && SEED_BOX[3][0] == 0x08303838);

} // namespace vrq::seed
