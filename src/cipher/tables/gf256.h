// Arithmetic in the field of 256 elements, for S-boxes computed at compile time.
#pragma once

#include "foundation/status.h"

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

} // namespace vrq::gf256
