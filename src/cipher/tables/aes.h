// The AES tables from the formulas of FIPS 197: inversion in GF(2^8) modulo x^8+x^4+x^3+x+1 and the
// affine map (5.1.1), MixColumns (5.1.3) and InvMixColumns (5.3.3).
#pragma once

#include "foundation/status.h"

namespace vrq::aes_tables {

constexpr u32 times(u32 a, u32 b) {
    u32 product = 0;
    for (; b != 0; b >>= 1) {
        if ((b & 1) != 0) product ^= a;
        a = (a << 1) ^ ((a >> 7) * 0x11B);
    }
    return product;
}

struct SBoxes {
    u8 forward[256];
    u8 inverse[256];
};

// Powers of the generator 3 give the inverses: 3^i and 3^(255-i).
consteval SBoxes make_sboxes() {
    u8 powers[255] = {};
    u32 power = 1;
    for (u8& entry : powers) {
        entry = static_cast<u8>(power);
        power = times(power, 3);
    }

    SBoxes boxes{};
    for (u32 i = 0; i <= 255; ++i) {
        const u32 x = i == 255 ? 0 : powers[i];
        const u32 inverse = i == 255 ? 0 : powers[(255 - i) % 255];
        const u32 repeated = inverse * 0x0101; // rotations become shifts
        const u32 s =
            0x63 ^ inverse ^ (repeated >> 4) ^ (repeated >> 5) ^ (repeated >> 6) ^ (repeated >> 7);
        boxes.forward[x] = static_cast<u8>(s);
        boxes.inverse[s & 0xFF] = static_cast<u8>(x);
    }
    return boxes;
}

inline constexpr SBoxes kBoxes = make_sboxes();
static_assert(kBoxes.forward[0x00] == 0x63 && kBoxes.forward[0x53] == 0xED);
static_assert(kBoxes.inverse[0x63] == 0x00 && kBoxes.inverse[0xED] == 0x53);

// A column of MixColumns coefficients times a byte, turned so that the byte comes from this lane.
constexpr u32 column(u32 byte, u32 c0, u32 c1, u32 c2, u32 c3, u32 lane) {
    const u32 word =
        times(byte, c0) << 24 | times(byte, c1) << 16 | times(byte, c2) << 8 | times(byte, c3);
    return lane == 0 ? word : word >> (8 * lane) | word << (32 - 8 * lane);
}

template <u32 kLane>
consteval u32 encrypt_entry(u32 byte) {
    return column(kBoxes.forward[byte], 2, 1, 1, 3, kLane);
}

template <u32 kLane>
consteval u32 encrypt_last_entry(u32 byte) {
    return static_cast<u32>(kBoxes.forward[byte]) << (24 - 8 * kLane);
}

template <u32 kLane>
consteval u32 inverse_mix_entry(u32 byte) {
    return column(byte, 14, 9, 13, 11, kLane);
}

template <u32 kLane>
consteval u32 decrypt_entry(u32 byte) {
    return inverse_mix_entry<kLane>(kBoxes.inverse[byte]);
}

consteval u32 decrypt_last_entry(u32 byte) { return kBoxes.inverse[byte]; }

static_assert(encrypt_entry<0>(0) == 0xC66363A5 && encrypt_entry<1>(0) == 0xA5C66363);
static_assert(decrypt_entry<0>(0) == 0x51F4A750);

} // namespace vrq::aes_tables
