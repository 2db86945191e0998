// The S-boxes of SEED (RFC 4269 section 2.2), computed from their definition, and the tables SS0 to
// SS3 that join them with the masks of the function G.
#pragma once

#include "cipher/tables/gf256.h"

#include <array>

namespace vrq::seed {

constexpr u32 kModulus = 0x163; // x^8 + x^6 + x^5 + x + 1

constexpr gf256::Matrix kA1{{0x8A, 0xFE, 0x85, 0x42, 0x45, 0x21, 0x88, 0x14}};
constexpr gf256::Matrix kA2{{0x45, 0x85, 0xFE, 0x21, 0x8A, 0x88, 0x42, 0x14}};

consteval u8 s1(u32 x) {
    return gf256::apply(kA1, gf256::power(static_cast<u8>(x), 247, kModulus)) ^ 0xA9;
}

consteval u8 s2(u32 x) {
    return gf256::apply(kA2, gf256::power(static_cast<u8>(x), 251, kModulus)) ^ 0x38;
}

static_assert(s1(0) == 0xA9 && s1(1) == 0x85 && s1(2) == 0xD6 && s1(255) == 0x9A);
static_assert(s2(0) == 0x38 && s2(1) == 0xE8 && s2(2) == 0x2D && s2(255) == 0xB7);

struct Tables {
    u32 ss[4][256];
};

// An S-box output under the four masks, m0 (FC) in the lowest byte; the other tables hold the same
// words turned by one byte more each.
consteval u32 masked(u32 y) { return (y * 0x01010101U) & 0x3FCFF3FCU; }

consteval u32 rotate(u32 x, u32 n) { return n == 0 ? x : x << n | x >> (32 - n); }

consteval Tables make_tables() {
    Tables tables{};
    for (u32 x = 0; x < 256; ++x) {
        const u32 y1 = masked(s1(x));
        const u32 y2 = masked(s2(x));
        tables.ss[0][x] = y1;
        tables.ss[1][x] = rotate(y2, 24);
        tables.ss[2][x] = rotate(y1, 16);
        tables.ss[3][x] = rotate(y2, 8);
    }
    return tables;
}

static_assert(make_tables().ss[0][0] == 0x2989A1A8 && make_tables().ss[1][0] == 0x38380830);
static_assert(make_tables().ss[2][0] == 0xA1A82989 && make_tables().ss[3][0] == 0x08303838);

} // namespace vrq::seed
