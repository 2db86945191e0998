// The constants of the SHA-2 family (FIPS 180-4, 4.2 and 5.3): fractional parts of the cube roots of the
// first primes (round constants) and of their square roots (initial hash values), computed here.
#pragma once

#include "foundation/status.h"

#include <array>
#include <cstddef>

namespace vrq::sha_constants {

__extension__ using u128 = unsigned __int128;

constexpr std::size_t kPrimes = 80;

consteval std::array<u64, kPrimes> first_primes() {
    std::array<u64, kPrimes> primes{};
    std::size_t count = 0;
    for (u64 n = 2; count < kPrimes; ++n) {
        bool is_prime = true;
        for (u64 d = 2; d * d <= n; ++d) is_prime = is_prime && n % d != 0;
        if (is_prime) primes[count++] = n;
    }
    return primes;
}

inline constexpr std::array<u64, kPrimes> kFirstPrimes = first_primes();

// Powers of whole + fraction / 2^64, in units of 2^-112. What is cut off is below 2^-110, far less than
// the 2^-62 by which the power grows from one fraction to the next.
consteval u128 squared(u64 whole, u64 fraction) {
    const u128 square = static_cast<u128>(fraction) * fraction; // units of 2^-128
    return (static_cast<u128>(whole * whole) << 112) +
           ((static_cast<u128>(fraction) * 2 * whole) << 48) + (square >> 16);
}

consteval u128 cubed(u64 whole, u64 fraction) {
    const u128 square = static_cast<u128>(fraction) * fraction;
    const u128 cube = (square >> 64) * fraction +
                      ((static_cast<u64>(square) * static_cast<u128>(fraction)) >> 64);
    return (static_cast<u128>(whole * whole * whole) << 112) +
           ((static_cast<u128>(fraction) * 3 * whole * whole) << 48) +
           ((square >> 16) * 3 * whole) + (cube >> 16);
}

// The first 64 bits of the fractional part of the root of n.
consteval u64 root_fraction(u64 n, u128 (*power)(u64 whole, u64 fraction)) {
    const u128 wanted = static_cast<u128>(n) << 112;
    u64 whole = 1;
    while (power(whole + 1, 0) <= wanted) ++whole;
    u64 fraction = 0;
    for (u64 bit = u64{1} << 63; bit != 0; bit >>= 1) {
        if (power(whole, fraction | bit) <= wanted) fraction |= bit;
    }
    return fraction;
}

consteval std::array<u64, 80> round_constants_512() {
    std::array<u64, 80> k{};
    for (std::size_t i = 0; i < k.size(); ++i) k[i] = root_fraction(kFirstPrimes[i], cubed);
    return k;
}

consteval std::array<u32, 64> round_constants_256() {
    std::array<u32, 64> k{};
    for (std::size_t i = 0; i < k.size(); ++i)
        k[i] = static_cast<u32>(root_fraction(kFirstPrimes[i], cubed) >> 32);
    return k;
}

struct InitialValues {
    u32 sha224[8];
    u32 sha256[8];
    u64 sha384[8];
    u64 sha512[8];
};

consteval InitialValues initial_values() {
    InitialValues h{};
    for (std::size_t i = 0; i < 8; ++i) {
        h.sha512[i] = root_fraction(kFirstPrimes[i], squared);
        h.sha384[i] = root_fraction(kFirstPrimes[i + 8], squared);
        h.sha256[i] = static_cast<u32>(h.sha512[i] >> 32);
        h.sha224[i] = static_cast<u32>(h.sha384[i]);
    }
    return h;
}

} // namespace vrq::sha_constants
