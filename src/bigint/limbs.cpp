// Limb arithmetic in portable C++, the choice of kernels, and Karatsuba's method on top of them.
#include "bigint/limbs.h"

#include "foundation/cpu.h"

#if defined(__x86_64__) && !defined(TALVERN_PORTABLE)
#define TALVERN_X86_KERNELS
#include "bigint/x86/limbs_mulx.h"
#endif

namespace vrq {

namespace {

constexpr u64 low(u128 x) { return static_cast<u64>(x); }
constexpr u64 high(u128 x) { return static_cast<u64>(x >> 64); }

u64 mul_add(Limb* r, const Limb* a, std::size_t n, u64 w) {
    u64 carry = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const u128 sum = static_cast<u128>(a[i]) * w + r[i] + carry;
        r[i] = low(sum);
        carry = high(sum);
    }
    return carry;
}

u64 mul_sub(Limb* r, const Limb* a, std::size_t n, u64 w) {
    u64 borrow = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const u128 product = static_cast<u128>(a[i]) * w + borrow;
        const u64 before = r[i];
        r[i] = before - low(product);
        borrow = high(product) + (before < low(product) ? 1 : 0);
    }
    return borrow;
}

u64 add(Limb* r, const Limb* a, const Limb* b, std::size_t n) {
    u64 carry = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const u128 sum = static_cast<u128>(a[i]) + b[i] + carry;
        r[i] = low(sum);
        carry = high(sum);
    }
    return carry;
}

u64 sub(Limb* r, const Limb* a, const Limb* b, std::size_t n) {
    u64 borrow = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const u128 difference = static_cast<u128>(a[i]) - b[i] - borrow;
        r[i] = low(difference);
        borrow = high(difference) & 1;
    }
    return borrow;
}

void mul(Limb* r, const Limb* a, std::size_t na, const Limb* b, std::size_t nb) {
    limbs_clear(r, na);
    for (std::size_t i = 0; i < nb; ++i) r[i + na] = mul_add(r + i, a, na, b[i]);
}

void sqr(Limb* r, const Limb* a, std::size_t n) {
    limbs_clear(r, n);
    for (std::size_t i = 0; i < n; ++i)
        r[i + n] = mul_add(r + 2 * i + 1, a + i + 1, n - i - 1, a[i]);

    u64 carry = 0;
    u64 below = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const u128 square = static_cast<u128>(a[i]) * a[i];
        const u64 r0 = r[2 * i];
        const u64 r1 = r[2 * i + 1];
        const u128 s0 = static_cast<u128>(r0 << 1 | below >> 63) + low(square) + carry;
        const u128 s1 = static_cast<u128>(r1 << 1 | r0 >> 63) + high(square) + high(s0);
        r[2 * i] = low(s0);
        r[2 * i + 1] = low(s1);
        carry = high(s1);
        below = r1;
    }
}

u64 redc(Limb* t, const Limb* n, std::size_t n_len, std::size_t steps, u64 k0) {
    u64 top = 0;
    for (std::size_t i = 0; i < steps; ++i) {
        const u64 carry = mul_add(t + i, n, n_len, t[i] * k0);
        const u128 sum = static_cast<u128>(t[i + n_len]) + carry + top;
        t[i + n_len] = low(sum);
        top = high(sum);
    }
    return top;
}

void reduce_once(Limb* r, const Limb* t, const Limb* n, std::size_t len, u64 carry) {
    const u64 less = limbs_less(t, n, len);
    const u64 mask = mask_if_zero(less & (carry ^ 1));
    u64 borrow = 0;
    for (std::size_t i = 0; i < len; ++i) {
        const u128 difference = static_cast<u128>(t[i]) - (n[i] & mask) - borrow;
        r[i] = low(difference);
        borrow = high(difference) & 1;
    }
}

void gather(Limb* r, const Limb* table, std::size_t entries, std::size_t len, u64 index) {
    limbs_clear(r, len);
    for (std::size_t k = 0; k < entries; ++k) {
        const u64 mask = mask_if_zero(k ^ index);
        for (std::size_t i = 0; i < len; ++i) r[i] |= table[k * len + i] & mask;
    }
}

constexpr LimbKernel kPortable = {"portable", mul, sqr,  mul_add,     mul_sub,
                                  add,        sub, redc, reduce_once, gather};

constexpr LimbKernelRow kRows[] = {
#ifdef TALVERN_X86_KERNELS
    {kMulxNeeds, &kMulxLimbs},
#endif
    {0, &kPortable},
};

constinit std::atomic<const LimbKernelRow*> g_row{nullptr};

// Lengths from which a product is split, the longer operand given first.
constexpr bool is_split(std::size_t na, std::size_t nb) {
    return nb >= kKaratsubaLimbs && na - nb <= 1;
}

// d = |a - b| for a of na limbs and b of nb <= na limbs; all ones when a < b, else zero.
u64 absolute_difference(Limb* d, const Limb* a, std::size_t na, const Limb* b, std::size_t nb) {
    u64 borrow = limbs_sub(d, a, b, nb);
    limbs_copy(d + nb, a + nb, na - nb);
    borrow = limbs_sub_limb(d + nb, na - nb, borrow);
    for (std::size_t i = 0; i < na; ++i) d[i] ^= 0 - borrow;
    limbs_add_limb(d, na, borrow);
    return 0 - borrow;
}

// Last step of Karatsuba's method: r holds the product of the low halves in 2h limbs and that of the
// high halves above it, n limbs in all; middle the product of the differences of the halves in 2h
// limbs, negative when sign is all ones. Adds low + high - middle at limb h.
void add_middle(Limb* r, std::size_t n, std::size_t h, Limb* middle, u64 sign) {
    const std::size_t high_len = n - 2 * h;
    u64 top = ~sign;
    for (std::size_t i = 0; i < 2 * h; ++i) middle[i] ^= ~sign;
    top += limbs_add_limb(middle, 2 * h, ~sign & 1);
    top += limbs_add(middle, middle, r, 2 * h);
    const u64 carry = limbs_add(middle, middle, r + 2 * h, high_len);
    top += limbs_add_limb(middle + high_len, 2 * h - high_len, carry);

    top += limbs_add(r + h, r + h, middle, 2 * h);
    limbs_add_limb(r + 3 * h, n - 3 * h, top);
}

void mul_split(const LimbKernel& kernel, Limb* r, const Limb* a, std::size_t na, const Limb* b,
               std::size_t nb, Limb* scratch) {
    if (!is_split(na, nb)) return kernel.mul(r, a, na, b, nb);

    const std::size_t h = (na + 1) / 2;
    Limb* const middle = scratch;
    Limb* const below = scratch + 2 * h;
    u64 sign = absolute_difference(r, a, h, a + h, na - h);
    sign ^= absolute_difference(r + h, b, h, b + h, nb - h);
    mul_split(kernel, middle, r, h, r + h, h, below);

    mul_split(kernel, r, a, h, b, h, below);
    mul_split(kernel, r + 2 * h, a + h, na - h, b + h, nb - h, below);
    add_middle(r, na + nb, h, middle, sign);
}

void sqr_split(const LimbKernel& kernel, Limb* r, const Limb* a, std::size_t n, Limb* scratch) {
    if (!is_split(n, n)) return kernel.sqr(r, a, n);

    const std::size_t h = (n + 1) / 2;
    Limb* const middle = scratch;
    Limb* const below = scratch + 2 * h;
    absolute_difference(r, a, h, a + h, n - h);
    sqr_split(kernel, middle, r, h, below);

    sqr_split(kernel, r, a, h, below);
    sqr_split(kernel, r + 2 * h, a + h, n - h, below);
    add_middle(r, 2 * n, h, middle, 0);
}

} // namespace

const LimbKernel& limb_kernel() { return *cpu::pick(kRows, g_row).kernel; }

std::span<const LimbKernelRow> limb_kernel_rows() { return kRows; }

u64 limbs_add(Limb* r, const Limb* a, const Limb* b, std::size_t n) {
    return limb_kernel().add(r, a, b, n);
}

u64 limbs_sub(Limb* r, const Limb* a, const Limb* b, std::size_t n) {
    return limb_kernel().sub(r, a, b, n);
}

u64 limbs_add_limb(Limb* r, std::size_t n, u64 w) {
    for (std::size_t i = 0; i < n; ++i) {
        const u128 sum = static_cast<u128>(r[i]) + w;
        r[i] = low(sum);
        w = high(sum);
    }
    return w;
}

u64 limbs_sub_limb(Limb* r, std::size_t n, u64 w) {
    for (std::size_t i = 0; i < n; ++i) {
        const u128 difference = static_cast<u128>(r[i]) - w;
        r[i] = low(difference);
        w = high(difference) & 1;
    }
    return w;
}

u64 limbs_shl(Limb* r, const Limb* a, std::size_t n, unsigned bits) {
    u64 below = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const u128 pair = static_cast<u128>(a[i]) << bits;
        r[i] = low(pair) | below;
        below = high(pair);
    }
    return below;
}

void limbs_shr(Limb* r, const Limb* a, std::size_t n, unsigned bits) {
    for (std::size_t i = 0; i < n; ++i) {
        const u64 above = i + 1 < n ? a[i + 1] : 0;
        r[i] = low((static_cast<u128>(above) << 64 | a[i]) >> bits);
    }
}

void limbs_move_if(Limb* r, const Limb* a, std::size_t n, u64 mask) {
    for (std::size_t i = 0; i < n; ++i) r[i] = (r[i] & ~mask) | (a[i] & mask);
}

u64 limbs_less(const Limb* a, const Limb* b, std::size_t n) {
    u64 borrow = 0;
    for (std::size_t i = 0; i < n; ++i) borrow = high(static_cast<u128>(a[i]) - b[i] - borrow) & 1;
    return borrow;
}

u64 limbs_zero_mask(const Limb* a, std::size_t n) {
    u64 bits = 0;
    for (std::size_t i = 0; i < n; ++i) bits |= a[i];
    return mask_if_zero(bits);
}

u64 negated_inverse(u64 n) {
    u64 x = n * 3 ^ 2; // right in 5 bits; each step doubles them
    for (int i = 0; i < 4; ++i) x *= 2 - n * x;
    return 0 - x;
}

std::size_t limbs_mul_scratch(std::size_t na, std::size_t nb) {
    if (na < nb) return limbs_mul_scratch(nb, na);
    std::size_t size = 0;
    while (is_split(na, nb)) {
        na = (na + 1) / 2;
        nb = na;
        size += 2 * na;
    }
    return size;
}

void limbs_mul(Limb* r, const Limb* a, std::size_t na, const Limb* b, std::size_t nb,
               Limb* scratch) {
    if (na < nb) return mul_split(limb_kernel(), r, b, nb, a, na, scratch);
    mul_split(limb_kernel(), r, a, na, b, nb, scratch);
}

void limbs_sqr(Limb* r, const Limb* a, std::size_t n, Limb* scratch) {
    sqr_split(limb_kernel(), r, a, n, scratch);
}

} // namespace vrq
