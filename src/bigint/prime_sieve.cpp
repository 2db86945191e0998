// The sieve of the prime search. The number is reduced once, modulo products of primes that fill a limb;
// windows of deltas are then struck out prime by prime.
#include "bigint/prime_sieve.h"

#include "foundation/wipe.h"

#include <cstring>

namespace vrq {

namespace {

using small_primes::Group;
using small_primes::kCount;
using small_primes::kGroups;
using small_primes::kPrimes;
using small_primes::reduce;
using small_primes::u16;

} // namespace

// Four groups at a time: each is one long chain of multiplications.
PrimeSieve::PrimeSieve(const Limb* p, std::size_t limbs) {
    constexpr std::size_t kLanes = 4;
    static_assert(small_primes::kMostGroups % kLanes == 0);
    static_assert(kGroups.count + kLanes <= small_primes::kMostGroups);

    residues_[0] = 0;
    for (std::size_t i = 0; i < kGroups.count; i += kLanes) {
        u64 rest[kLanes] = {};
        for (std::size_t limb = limbs; limb-- != 0;) {
            for (std::size_t lane = 0; lane < kLanes; ++lane)
                rest[lane] = reduce(rest[lane], p[limb], kGroups.all[i + lane]);
        }
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            const Group& group = kGroups.all[i + lane]; // those beyond the last have no primes
            for (std::size_t prime = group.first; prime < std::size_t{group.first} + group.count;
                 ++prime)
                residues_[prime] = static_cast<u16>(small_primes::remainder(rest[lane], prime));
        }
    }
}

PrimeSieve::~PrimeSieve() {
    wipe_object(residues_);
    wipe_object(is_struck_);
}

bool PrimeSieve::find(u32& delta) {
    for (u32 start = 0; start < kLimit - 2 * kWindow; start += 2 * kWindow) {
        sieve();
        const void* found = std::memchr(is_struck_, 0, sizeof is_struck_);
        if (found != nullptr) {
            delta = start + 2 * static_cast<u32>(static_cast<const u8*>(found) - is_struck_);
            return true;
        }
        advance();
    }
    return false;
}

void PrimeSieve::sieve() {
    std::memset(is_struck_, 0, sizeof is_struck_);
    for (std::size_t i = 1; i < kCount; ++i) {
        const u32 prime = kPrimes[i];
        const u32 residue = residues_[i];
        strike(residue, prime);
        strike(residue == 0 ? prime - 1 : residue - 1, prime);
    }
}

// Strikes the even deltas with delta + residue a multiple of the prime.
void PrimeSieve::strike(u32 residue, u32 prime) {
    const u32 first = residue == 0 ? 0 : prime - residue;
    const u32 even = first % 2 == 0 ? first : first + prime;
    for (u32 at = even / 2; at < kWindow; at += prime) is_struck_[at] = 1;
}

void PrimeSieve::advance() {
    for (std::size_t i = 1; i < kCount; ++i)
        residues_[i] = static_cast<u16>((residues_[i] + 2 * kWindow) % kPrimes[i]);
}

} // namespace vrq
