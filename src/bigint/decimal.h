// Decimal digits of limb arrays.
#pragma once

#include "bigint/limbs.h"

#include <cstddef>

namespace vrq {

// What to_decimal needs for a value of so many limbs: digits that it may write, limbs of scratch.
std::size_t decimal_digits(std::size_t limbs);
std::size_t decimal_scratch(std::size_t limbs);

// Writes the value of n >= 1 limbs in decimal_digits(n) characters, filled up with zeros on the
// left. The value is lost.
void to_decimal(char* out, Limb* a, std::size_t n, Limb* scratch);

} // namespace vrq
