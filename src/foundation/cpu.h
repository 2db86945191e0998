// Choice of kernels by processor features. A table of rows stands best first and ends with the
// portable row, which needs nothing; pick() takes the first row whose needs are met and remembers
// it. There is no load-time code: detection and choice happen at first use, and racing threads
// store the same value.
#pragma once

#include "foundation/status.h"

#include <atomic>
#include <cstddef>

namespace vrq::cpu {

// Feature bits. A bit is set only when the operating system saves the registers that go with it.
constexpr u32 kSsse3 = 1U << 0;  // SSSE3 and SSE4.1
constexpr u32 kAesNi = 1U << 1;  // AES instructions on 128 bits
constexpr u32 kPclmul = 1U << 2; // carry-less multiplication
constexpr u32 kShaNi = 1U << 3;  // SHA-1 and SHA-256 instructions
constexpr u32 kBmi2 = 1U << 4;   // BMI1 and BMI2: rorx, mulx, andn
constexpr u32 kAdx = 1U << 5;    // adcx, adox
constexpr u32 kAvx2 = 1U << 6;   // AVX and AVX2
constexpr u32 kVaes = 1U << 7;   // AES instructions on 256 and 512 bits
constexpr u32 kGfni = 1U << 8;   // Galois field instructions
constexpr u32 kAvx512 = 1U << 9; // AVX-512 F, BW, DQ, VL
constexpr u32 kVbmi = 1U << 10;  // AVX-512 VBMI and VBMI2
constexpr u32 kIfma = 1U << 11;  // AVX-512 IFMA
constexpr u32 kDetected = 1U << 31;

// Features of this processor; detected at the first call.
u32 features();

inline bool has(u32 needs) { return (features() & needs) == needs; }

// Every row type has a member `u32 needs`.
template <class Row, std::size_t N>
const Row& pick(const Row (&rows)[N], std::atomic<const Row*>& cache) {
    const Row* row = cache.load(std::memory_order_relaxed);
    if (row != nullptr) [[likely]]
        return *row;

    row = rows;
    while (!has(row->needs)) ++row;
    cache.store(row, std::memory_order_relaxed);
    return *row;
}

} // namespace vrq::cpu
