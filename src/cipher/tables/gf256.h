// Arithmetic in the field of 256 elements, for S-boxes computed at compile time.
#pragma once

#include "foundation/status.h"

#include <array>

namespace vrq::gf256 {

// The product of two polynomials over GF(2) modulo the given one of degree 8.
consteval u8 multiply(u8 a, u8 b, u32 modulus) {
    u32 shifted = a;
    u32 product = 0;
    for (u32 bits = b; bits != 0; bits >>= 1) {
        if ((bits & 1) != 0) product ^= shifted;
        shifted <<= 1;
        if ((shifted & 0x100) != 0) shifted ^= modulus;
    }
    return static_cast<u8>(product);
}

consteval u8 power(u8 base, u32 exponent, u32 modulus) {
    u8 result = 1;
    for (; exponent != 0; exponent >>= 1) {
        if ((exponent & 1) != 0) result = multiply(result, base, modulus);
        base = multiply(base, base, modulus);
    }
    return result;
}

// A matrix over GF(2), one byte a row: entry i of the product is the parity of rows[i] & x, counted
// from the most significant bit of the result.
struct Matrix {
    u8 rows[8];
};

consteval u8 apply(const Matrix& matrix, u8 x) {
    u32 result = 0;
    for (const u8 row : matrix.rows)
        result = result << 1 | static_cast<u32>(__builtin_parity(static_cast<u32>(row & x)));
    return static_cast<u8>(result);
}

using SBox = std::array<u8, 256>;

// An S-box of the form x^exponent under an affine map. The inverse is x^254, with 0 for 0.
consteval SBox affine_of_power(const Matrix& matrix, u32 exponent, u8 constant, u32 modulus) {
    SBox box{};
    for (u32 x = 0; x < 256; ++x)
        box[x] = apply(matrix, power(static_cast<u8>(x), exponent, modulus)) ^ constant;
    return box;
}

consteval SBox inverse(const SBox& box) {
    SBox result{};
    for (u32 x = 0; x < 256; ++x) result[box[x]] = static_cast<u8>(x);
    return result;
}

// The field, the affine map and the S-boxes of AES (FIPS 197, 5.1.1 and 5.3.2). ARIA shares them.
constexpr u32 kAesModulus = 0x11B; // x^8 + x^4 + x^3 + x + 1
constexpr Matrix kAesMatrix{{0xF8, 0x7C, 0x3E, 0x1F, 0x8F, 0xC7, 0xE3, 0xF1}};
constexpr SBox kAesBox = affine_of_power(kAesMatrix, 254, 0x63, kAesModulus);
constexpr SBox kAesInverseBox = inverse(kAesBox);

static_assert(kAesBox[0] == 0x63 && kAesBox[1] == 0x7C && kAesBox[0x53] == 0xED &&
              kAesBox[255] == 0x16);
static_assert(kAesInverseBox[0] == 0x52 && kAesInverseBox[1] == 0x09 &&
              kAesInverseBox[255] == 0x7D);

} // namespace vrq::gf256
