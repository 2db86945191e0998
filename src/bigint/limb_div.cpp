// Division of limb arrays: D. E. Knuth, The Art of Computer Programming 2, algorithm 4.3.1 D, with
// quotient limbs from precomputed reciprocals (N. Moeller, T. Granlund, Improved division by
// invariant integers, 2011) in place of the divide instruction.
#include "bigint/limb_div.h"

#include <bit>

namespace vrq {

namespace {

constexpr u64 low(u128 x) { return static_cast<u64>(x); }
constexpr u64 high(u128 x) { return static_cast<u64>(x >> 64); }

// floor((2^128 - 1) / d) - 2^64 for d with its top bit set.
u64 reciprocal(u64 d) { return low((static_cast<u128>(~d) << 64 | ~u64{0}) / d); }

// floor((2^192 - 1) / (d1, d0)) - 2^64 for d1 with its top bit set.
u64 reciprocal(u64 d1, u64 d0) {
    u64 v = reciprocal(d1);
    u64 p = d1 * v + d0;
    if (p < d0) {
        v -= 1;
        if (p >= d1) {
            v -= 1;
            p -= d1;
        }
        p -= d1;
    }
    const u128 t = static_cast<u128>(v) * d0;
    p += high(t);
    if (p < high(t)) {
        v -= 1;
        if ((static_cast<u128>(p) << 64 | low(t)) >= (static_cast<u128>(d1) << 64 | d0)) v -= 1;
    }
    return v;
}

struct Step {
    u64 quotient;
    u128 remainder;
};

// (u1, u0) / d for u1 < d.
Step divide_2_by_1(u64 u1, u64 u0, u64 d, u64 v) {
    const u128 estimate = static_cast<u128>(v) * u1 + (static_cast<u128>(u1) << 64 | u0);
    u64 q = high(estimate) + 1;
    u64 r = u0 - q * d;
    if (r > low(estimate)) {
        q -= 1;
        r += d;
    }
    if (r >= d) [[unlikely]] {
        q += 1;
        r -= d;
    }
    return {q, r};
}

// (u2, u1, u0) / (d1, d0) for (u2, u1) < (d1, d0).
Step divide_3_by_2(u64 u2, u64 u1, u64 u0, u64 d1, u64 d0, u64 v) {
    const u128 estimate = static_cast<u128>(v) * u2 + (static_cast<u128>(u2) << 64 | u1);
    const u128 d = static_cast<u128>(d1) << 64 | d0;
    u64 q = high(estimate);
    u128 r = static_cast<u128>(u1 - q * d1) << 64 | u0;
    r -= static_cast<u128>(d0) * q;
    r -= d;
    q += 1;
    if (high(r) >= low(estimate)) {
        q -= 1;
        r += d;
    }
    if (r >= d) [[unlikely]] {
        q += 1;
        r -= d;
    }
    return {q, r};
}

u64 divide_by_normalized_limb(Limb* q, Limb* u, std::size_t nu, u64 d) {
    const u64 v = reciprocal(d);
    u64 rest = u[nu - 1];
    u[nu - 1] = 0;
    for (std::size_t i = nu - 1; i-- > 0;) {
        const Step step = divide_2_by_1(rest, u[i], d, v);
        rest = low(step.remainder);
        u[i] = 0;
        if (q != nullptr) q[i] = step.quotient;
    }
    return rest;
}

// One quotient limb: u of nd + 1 limbs becomes the remainder of its division by d, nd >= 2.
u64 divide_step(Limb* u, const Limb* d, std::size_t nd, u64 v) {
    const LimbKernel& kernel = limb_kernel();
    const u64 d1 = d[nd - 1];
    const u64 d0 = d[nd - 2];
    const u64 u2 = u[nd];
    const u64 u1 = u[nd - 1];
    u[nd] = 0;
    if (u2 == d1 && u1 == d0) [[unlikely]] {
        kernel.mul_sub(u, d, nd, ~u64{0});
        return ~u64{0};
    }

    const Step step = divide_3_by_2(u2, u1, u[nd - 2], d1, d0, v);
    const u64 borrow = kernel.mul_sub(u, d, nd - 2, step.quotient);
    const u128 top = step.remainder - borrow;
    u[nd - 2] = low(top);
    u[nd - 1] = high(top);
    if (step.remainder >= borrow) [[likely]]
        return step.quotient;
    kernel.add(u, u, d, nd);
    return step.quotient - 1;
}

// The same steps for secret numbers: corrections by masks, and a reciprocal without the divide
// instruction.

u64 barrier(u64 x) {
    __asm__("" : "+r"(x));
    return x;
}

u64 mask_of(bool condition) { return barrier(0 - static_cast<u64>(condition)); }
u128 wide(u64 mask) { return static_cast<u128>(mask) << 64 | mask; }

u64 reciprocal_ct(u64 d) {
    u64 rest = ~d;
    u64 v = 0;
    for (unsigned i = 0; i < kLimbBits; ++i) {
        const u64 carry = 0 - (rest >> 63);
        rest = rest << 1 | 1;
        const u64 fits = carry | mask_of(rest >= d);
        rest -= d & fits;
        v = v << 1 | (fits & 1);
    }
    return v;
}

u64 reciprocal_ct(u64 d1, u64 d0) {
    u64 v = reciprocal_ct(d1);
    u64 p = d1 * v + d0;
    const u64 over = mask_of(p < d0);
    const u64 over_twice = over & mask_of(p >= d1);
    v += over + over_twice;
    p -= (d1 & over) + (d1 & over_twice);
    const u128 t = static_cast<u128>(v) * d0;
    p += high(t);
    const u64 carry = mask_of(p < high(t));
    const u128 rest = static_cast<u128>(p) << 64 | low(t);
    return v + carry + (carry & mask_of(rest >= (static_cast<u128>(d1) << 64 | d0)));
}

// The quotient limb of (u2, u1, u0) / (d1, d0), all ones where (u2, u1) = (d1, d0).
u64 quotient_3_by_2_ct(u64 u2, u64 u1, u64 u0, u64 d1, u64 d0, u64 v) {
    const u128 estimate = static_cast<u128>(v) * u2 + (static_cast<u128>(u2) << 64 | u1);
    const u128 d = static_cast<u128>(d1) << 64 | d0;
    u64 q = high(estimate);
    u128 r = static_cast<u128>(u1 - q * d1) << 64 | u0;
    r -= static_cast<u128>(d0) * q;
    r -= d;
    q += 1;
    const u64 over = mask_of(high(r) >= low(estimate));
    q += over;
    r += d & wide(over);
    q -= mask_of(r >= d);
    return q | mask_if_zero((u2 ^ d1) | (u1 ^ d0));
}

// u of nd + 1 limbs becomes the remainder of its division by d, nd >= 2.
void reduce_step_ct(Limb* u, const Limb* d, std::size_t nd, u64 v) {
    const u64 q = quotient_3_by_2_ct(u[nd], u[nd - 1], u[nd - 2], d[nd - 1], d[nd - 2], v);
    const u64 rest = u[nd] - limb_kernel().mul_sub(u, d, nd, q);
    u[nd] = 0;
    const u64 over = ~mask_if_zero(rest);
    u64 carry = 0;
    for (std::size_t i = 0; i < nd; ++i) {
        const u128 sum = static_cast<u128>(u[i]) + (d[i] & over) + carry;
        u[i] = low(sum);
        carry = high(sum);
    }
}

} // namespace

void limbs_divide_normalized(Limb* q, Limb* u, std::size_t nu, const Limb* d, std::size_t nd) {
    if (nd == 1) {
        u[0] = divide_by_normalized_limb(q, u, nu, d[0]);
        return;
    }

    const u64 v = reciprocal(d[nd - 1], d[nd - 2]);
    for (std::size_t j = nu - nd; j-- > 0;) {
        const u64 quotient = divide_step(u + j, d, nd, v);
        if (q != nullptr) q[j] = quotient;
    }
}

u64 limbs_divide_limb(Limb* u, std::size_t n, u64 w) {
    const unsigned shift = static_cast<unsigned>(std::countl_zero(w));
    const u64 d = w << shift;
    const u64 v = reciprocal(d);
    u64 rest = 0;
    u64 above = n != 0 ? u[n - 1] : 0;
    if (shift != 0) rest = above >> (64 - shift);
    for (std::size_t i = n; i-- > 0;) {
        const u64 below = i != 0 ? u[i - 1] : 0;
        const u64 limb = low((static_cast<u128>(above) << 64 | below) << shift >> 64);
        const Step step = divide_2_by_1(rest, limb, d, v);
        u[i] = step.quotient;
        rest = low(step.remainder);
        above = below;
    }
    return rest >> shift;
}

void limbs_mod(Limb* r, const Limb* a, std::size_t na, const Limb* m, std::size_t n,
               Limb* scratch) {
    if (na < n) {
        limbs_copy(r, a, na);
        limbs_clear(r + na, n - na);
        return;
    }
    const unsigned shift = static_cast<unsigned>(std::countl_zero(static_cast<u64>(m[n - 1])));
    Limb* const d = scratch;
    Limb* const u = scratch + n;
    limbs_shl(d, m, n, shift);
    u[na] = limbs_shl(u, a, na, shift);
    if (n == 1) {
        limbs_divide_normalized(nullptr, u, na + 1, d, n);
    } else {
        const u64 v = reciprocal_ct(d[n - 1], d[n - 2]);
        for (std::size_t j = na + 1 - n; j-- > 0;) reduce_step_ct(u + j, d, n, v);
    }
    limbs_shr(r, u, n, shift);
}

} // namespace vrq
