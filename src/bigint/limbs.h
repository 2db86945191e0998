// Arithmetic on 64-bit limbs, least significant first, over the memory of 32-bit word arrays.
//
// Nothing here branches on or addresses by the value of a limb; lengths are public. Lengths count
// limbs. The functions that carry the time come in rows by processor; the first row that the
// processor allows is picked at first use.
#pragma once

#include "foundation/status.h"

#include <cstddef>
#include <span>

namespace vrq {

// A limb as it lies in a word array: such arrays are aligned to words only, and hold u32 objects.
typedef u64 Limb __attribute__((may_alias, aligned(4))); // NOLINT(modernize-use-using)

__extension__ typedef unsigned __int128 u128; // NOLINT(modernize-use-using)

constexpr unsigned kLimbBits = 64;

// Outputs do not overlap inputs except where a comment allows it.
struct LimbKernel {
    const char* name; // for tests and benchmarks

    // r = a * b, na + nb limbs; na and nb at least 1.
    void (*mul)(Limb* r, const Limb* a, std::size_t na, const Limb* b, std::size_t nb);

    // r = a^2, 2n limbs; n at least 1.
    void (*sqr)(Limb* r, const Limb* a, std::size_t n);

    // r += a * w over n limbs; returns the carry limb.
    u64 (*mul_add)(Limb* r, const Limb* a, std::size_t n, u64 w);

    // r -= a * w over n limbs; returns the borrow limb.
    u64 (*mul_sub)(Limb* r, const Limb* a, std::size_t n, u64 w);

    // r = a + b, r = a - b over n limbs; return carry and borrow. r may be a or b.
    u64 (*add)(Limb* r, const Limb* a, const Limb* b, std::size_t n);
    u64 (*sub)(Limb* r, const Limb* a, const Limb* b, std::size_t n);

    // Montgomery reduction: t += q * n for the q of `steps` limbs that makes the low limbs of t
    // zero, where t has n_len + steps limbs and k0 = -n^-1 mod 2^64. Those low limbs come out with
    // any content. Returns the carry out of t, 0 or 1.
    u64 (*redc)(Limb* t, const Limb* n, std::size_t n_len, std::size_t steps, u64 k0);

    // r = t - n if carry:t >= n, else r = t. r may be t.
    void (*reduce_once)(Limb* r, const Limb* t, const Limb* n, std::size_t len, u64 carry);

    // r = table[index] of entries of len limbs each; reads the whole table.
    void (*gather)(Limb* r, const Limb* table, std::size_t entries, std::size_t len, u64 index);
};

// The row in use.
const LimbKernel& limb_kernel();

struct LimbKernelRow {
    u32 needs; // cpu feature bits
    const LimbKernel* kernel;
};

// All rows, for tests and benchmarks; the last one is portable.
std::span<const LimbKernelRow> limb_kernel_rows();

// All ones when x is zero, else zero.
inline u64 mask_if_zero(u64 x) {
    __asm__("" : "+r"(x));
    return ((x | (0 - x)) >> 63) - 1;
}

// The additions of the row in use.
u64 limbs_add(Limb* r, const Limb* a, const Limb* b, std::size_t n);
u64 limbs_sub(Limb* r, const Limb* a, const Limb* b, std::size_t n);

// r += w, r -= w over n limbs; return carry and borrow.
u64 limbs_add_limb(Limb* r, std::size_t n, u64 w);
u64 limbs_sub_limb(Limb* r, std::size_t n, u64 w);

// r = a * 2^bits, r = a / 2^bits over n limbs, bits 0 to 63; the first returns the bits shifted
// out. r may be a.
u64 limbs_shl(Limb* r, const Limb* a, std::size_t n, unsigned bits);
void limbs_shr(Limb* r, const Limb* a, std::size_t n, unsigned bits);

// r = a where the mask is all ones; r is unchanged where it is zero.
void limbs_move_if(Limb* r, const Limb* a, std::size_t n, u64 mask);

// 1 when a < b, else 0.
u64 limbs_less(const Limb* a, const Limb* b, std::size_t n);

// All ones when every limb is zero, else zero.
u64 limbs_zero_mask(const Limb* a, std::size_t n);

inline void limbs_clear(Limb* r, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) r[i] = 0;
}

inline void limbs_copy(Limb* r, const Limb* a, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) r[i] = a[i];
}

// -n^-1 mod 2^64 for odd n.
u64 negated_inverse(u64 n);

// Products of any lengths. From kKaratsubaLimbs on, operands of nearly equal length are split in
// halves; the scratch area has mul_scratch limbs and is not needed (null) where that is 0.
constexpr std::size_t kKaratsubaLimbs = 64;
std::size_t limbs_mul_scratch(std::size_t na, std::size_t nb);
void limbs_mul(Limb* r, const Limb* a, std::size_t na, const Limb* b, std::size_t nb,
               Limb* scratch);
void limbs_sqr(Limb* r, const Limb* a, std::size_t n, Limb* scratch);

} // namespace vrq
