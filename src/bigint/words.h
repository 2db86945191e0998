// Word arrays as records hold them: what the exported kernels do not offer. Lengths count words.
#pragma once

#include "bigint/limbs.h"

#include <cstddef>

namespace vrq {

inline Limb* limbs_of(u32* words) { return reinterpret_cast<Limb*>(words); }
inline const Limb* limbs_of(const u32* words) { return reinterpret_cast<const Limb*>(words); }
inline const u32* words_of(const Limb* limbs) { return reinterpret_cast<const u32*>(limbs); }

constexpr std::size_t limbs_for(std::size_t words) { return (words + 1) / 2; }

// n without leading zero words.
std::size_t significant_words(const u32* a, std::size_t n);

// Words to limbs, filled up with zeros; limbs_for(n) <= limbs.
void words_to_limbs(Limb* r, std::size_t limbs, const u32* a, std::size_t n);

// r = a + carry, r = a - borrow; return the carry or borrow. r may be a.
u32 words_add_carry(u32* r, const u32* a, std::size_t n, u32 carry);
u32 words_sub_borrow(u32* r, const u32* a, std::size_t n, u32 borrow);

// r = a * b, r = a^2; scratch as limbs_mul wants it for the limbs of even length.
void words_mul(u32* r, const u32* a, std::size_t na, const u32* b, std::size_t nb, Limb* scratch);
void words_sqr(u32* r, const u32* a, std::size_t n, Limb* scratch);

// Shifts by any count of bits, over as many words as the result has: na + bits / 32 + 1, and
// na - bits / 32. r may be a.
void words_shl(u32* r, const u32* a, std::size_t na, std::size_t bits);
void words_shr(u32* r, const u32* a, std::size_t na, std::size_t bits);

// a /= w in place, w not 0; returns the remainder.
u32 words_div_word(u32* a, std::size_t n, u32 w);
u32 words_mod_word(const u32* a, std::size_t n, u32 w);

// Big-endian bytes to ceil(length / 4) words, and the low count bytes of a big-endian.
void words_from_bytes(u32* r, const u8* bytes, std::size_t length);
void words_to_bytes(u8* out, std::size_t count, const u32* a);

} // namespace vrq
