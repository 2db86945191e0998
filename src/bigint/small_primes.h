// The first 2048 primes, and what reduces a big number modulo all the odd ones quickly. All computed by
// the compiler.
#pragma once

#include "foundation/status.h"

#include <array>
#include <cstddef>

namespace vrq::small_primes {

using u16 = std::uint16_t;

constexpr std::size_t kCount = 2048;
constexpr u32 kLargest = 17863;

consteval std::array<u16, kCount> first_primes() {
    std::array<bool, kLargest + 1> is_composite{};
    std::array<u16, kCount> primes{};
    std::size_t count = 0;
    for (u32 n = 2; n <= kLargest; ++n) {
        if (is_composite[n]) continue;
        primes[count++] = static_cast<u16>(n);
        for (u32 multiple = n * n; multiple <= kLargest; multiple += n)
            is_composite[multiple] = true;
    }
    return primes;
}

inline constexpr std::array<u16, kCount> kPrimes = first_primes();
static_assert(kPrimes[0] == 2 && kPrimes[999] == 7919 && kPrimes[kCount - 1] == kLargest);

// floor((2^64 - 1) / p).
consteval std::array<u64, kCount> reciprocals() {
    std::array<u64, kCount> all{};
    for (std::size_t i = 0; i < kCount; ++i) all[i] = ~u64{0} / kPrimes[i];
    return all;
}

inline constexpr std::array<u64, kCount> kReciprocals = reciprocals();

// x mod kPrimes[i]. The quotient estimated is at most one too small.
inline u32 remainder(u64 x, std::size_t i) {
    __extension__ using u128 = unsigned __int128;
    const u64 quotient = static_cast<u64>((static_cast<u128>(x) * kReciprocals[i]) >> 64);
    const u64 p = kPrimes[i];
    const u64 rest = x - quotient * p;
    return static_cast<u32>(rest >= p ? rest - p : rest);
}

// Consecutive odd primes whose product fits a limb, shifted up until the top bit is set: a number
// reduced modulo that keeps its remainders modulo each of them.
struct Group {
    u64 divisor;
    u64 inverse; // floor((2^128 - 1) / divisor) - 2^64
    u16 first;   // index of the first prime
    u16 count;
};

constexpr std::size_t kMostGroups = 600;

struct Groups {
    std::array<Group, kMostGroups> all;
    std::size_t count;
};

consteval Groups make_groups() {
    __extension__ using u128 = unsigned __int128;
    Groups groups{};
    for (std::size_t i = 1; i < kCount;) {
        Group& group = groups.all[groups.count++];
        group.first = static_cast<u16>(i);
        u128 product = 1;
        while (i < kCount && (product * kPrimes[i]) >> 64 == 0) product *= kPrimes[i++];
        group.count = static_cast<u16>(i - group.first);
        while ((product >> 63) == 0) product <<= 1;
        group.divisor = static_cast<u64>(product);
        group.inverse = static_cast<u64>(~u128{0} / product - (u128{1} << 64));
    }
    return groups;
}

inline constexpr Groups kGroups = make_groups();

// high * 2^64 + low modulo the group's divisor, for high below it (Moeller and Granlund, "Improved
// division by invariant integers", algorithm 4).
inline u64 reduce(u64 high, u64 low, const Group& group) {
    __extension__ using u128 = unsigned __int128;
    u128 q = static_cast<u128>(group.inverse) * high;
    q += (static_cast<u128>(high) << 64) | low;
    const u64 quotient = static_cast<u64>(q >> 64) + 1;
    u64 rest = low - quotient * group.divisor;
    rest += group.divisor & (0 - static_cast<u64>(rest > static_cast<u64>(q)));
    rest -= group.divisor & (0 - static_cast<u64>(rest >= group.divisor));
    return rest;
}

} // namespace vrq::small_primes
