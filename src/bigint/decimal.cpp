// Decimal conversion by halves: a long value is divided by the power of ten in its middle, and both
// parts are converted alike (D. E. Knuth, The Art of Computer Programming 2, section 4.4). Dividing
// the whole value by one limb again and again would take a chain of dependent products for every
// limb of every group of digits.
#include "bigint/decimal.h"

#include "bigint/limb_div.h"

#include <array>
#include <bit>
#include <cstring>

namespace vrq {

namespace {

constexpr u64 kGroup = 10'000'000'000'000'000'000U; // 10^19, a limb with its top bit set
constexpr std::size_t kGroupDigits = 19;
constexpr unsigned kMaxLevels = 32;
constexpr unsigned kWholeLevel = 3; // 8 groups and fewer go limb by limb

// 10^(19 * 2^level), shifted left until its top bit is set.
struct Power {
    const Limb* limbs;
    std::size_t len;
    unsigned shift;
};

using Powers = std::array<Power, kMaxLevels>;

// The least level whose 2^level groups hold n limbs: 10^19 is above 2^63, and 63 * 65 / 64 < 64.
constexpr unsigned level_for(std::size_t n) {
    return static_cast<unsigned>(std::bit_width(n + n / 32));
}

std::size_t significant(const Limb* a, std::size_t n) {
    while (n != 0 && a[n - 1] == 0) --n;
    return n;
}

void write_group(char* out, u64 group) {
    for (std::size_t i = kGroupDigits; i-- > 0; group /= 10)
        out[i] = static_cast<char>('0' + group % 10);
}

void convert(char* out, unsigned level, Limb* a, std::size_t n, const Powers& powers,
             Limb* scratch) {
    if (level <= kWholeLevel) {
        for (std::size_t i = std::size_t{1} << level; i-- > 0; n = significant(a, n))
            write_group(out + i * kGroupDigits, limbs_divide_limb(a, n, kGroup));
        return;
    }

    const Power& power = powers[level - 1];
    const std::size_t half = kGroupDigits << (level - 1);
    if (n < power.len) {
        std::memset(out, '0', half);
        convert(out + half, level - 1, a, n, powers, scratch);
        return;
    }
    Limb* const u = scratch;
    Limb* const q = u + n + 1;
    const std::size_t q_len = n + 1 - power.len;
    Limb* const below = q + q_len;
    u[n] = limbs_shl(u, a, n, power.shift);
    limbs_divide_normalized(q, u, n + 1, power.limbs, power.len);
    limbs_shr(u, u, power.len, power.shift);
    convert(out, level - 1, q, significant(q, q_len), powers, below);
    convert(out + half, level - 1, u, significant(u, power.len), powers, below);
}

// Powers of levels 0 to levels - 1, one after the other in the area; returns what is left of it.
Limb* make_powers(Powers& powers, unsigned levels, Limb* area) {
    if (levels == 0) return area;
    area[0] = kGroup;
    powers[0] = {area, 1, 0};
    Limb* next = area + 1;
    for (unsigned i = 1; i < levels; ++i) {
        const Power& root = powers[i - 1];
        const std::size_t len = 2 * root.len;
        // The square of a shifted power is shifted twice as far, and by one bit more at most.
        limbs_sqr(next, root.limbs, root.len, next + len);
        const unsigned more =
            static_cast<unsigned>(std::countl_zero(static_cast<u64>(next[len - 1])));
        limbs_shl(next, next, len, more);
        unsigned shift = 2 * root.shift + more;
        std::size_t dropped = 0;
        for (; shift >= kLimbBits; shift -= kLimbBits) ++dropped;
        powers[i] = {next + dropped, len - dropped, shift};
        next += len;
    }
    return next;
}

} // namespace

std::size_t decimal_digits(std::size_t limbs) { return kGroupDigits << level_for(limbs); }

// Powers take 2^level limbs, the division at each level twice its value and a little.
std::size_t decimal_scratch(std::size_t limbs) {
    return (std::size_t{8} << level_for(limbs)) + 4 * kMaxLevels;
}

void to_decimal(char* out, Limb* a, std::size_t n, Limb* scratch) {
    Powers powers;
    const unsigned level = level_for(n);
    Limb* const below = make_powers(powers, level, scratch);
    convert(out, level, a, n, powers, below);
}

} // namespace vrq
