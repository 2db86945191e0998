// Search for numbers p + delta, delta even, such that neither p + delta nor p + delta - 1 has an odd
// factor among the first 2048 primes.
#pragma once

#include "bigint/limbs.h"
#include "bigint/small_primes.h"

#include <cstddef>

namespace vrq {

class PrimeSieve {
  public:
    // p in limbs, least significant first.
    PrimeSieve(const Limb* p, std::size_t limbs);
    ~PrimeSieve();
    PrimeSieve(const PrimeSieve&) = delete;
    PrimeSieve& operator=(const PrimeSieve&) = delete;

    // The least delta. False when there is none that the interface allows.
    [[nodiscard]] bool find(u32& delta);

  private:
    static constexpr u32 kWindow = 512; // deltas sieved at once
    static constexpr u32 kLimit = 0xFFFFFFFF - (small_primes::kLargest - 2);

    void sieve();
    void strike(u32 residue, u32 prime);
    void advance();

    small_primes::u16 residues_[small_primes::kCount]; // of p + delta of the window's start
    u8 is_struck_[kWindow];
};

} // namespace vrq
