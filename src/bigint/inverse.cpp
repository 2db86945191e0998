// Division steps (D. J. Bernstein, B.-Y. Yang, Fast constant-time gcd computation and modular
// inversion, 2019): a fixed number of steps takes (f, g) = (m, a) to (+/-gcd, 0). 62 steps at a time
// run on the low words alone and give a 2x2 matrix, which is then applied to f and g and, modulo m,
// to d and e, where f = d * a and g = e * a modulo m throughout.
//
// The numbers f, g, d, e are in signed limbs of 62 bits: all limbs but the top one are in
// [0, 2^62), so that sums of three products fit 128 signed bits.
#include "bigint/inverse.h"

namespace vrq {

namespace {

using i64 = std::int64_t;
__extension__ typedef __int128 i128; // NOLINT(modernize-use-using)

typedef i64 Digit __attribute__((may_alias, aligned(4))); // NOLINT(modernize-use-using)

constexpr int kSteps = 62;
constexpr u64 kMask = ~u64{0} >> 2;

constexpr std::size_t digits_for(std::size_t limbs) { return (64 * limbs + 2) / kSteps + 1; }

// Theorem 11.2 of the paper, the larger of its two bounds.
constexpr std::size_t batches_for(std::size_t bits) {
    return ((49 * bits + 80) / 17 + kSteps) / kSteps;
}

// 2^62 times the transition of 62 steps: rows (u, v) for f and (q, r) for g; |u| + |v| and
// |q| + |r| are at most 2^62.
struct Matrix {
    i64 u;
    i64 v;
    i64 q;
    i64 r;
};

i64 barrier(i64 x) {
    __asm__("" : "+r"(x));
    return x;
}

Matrix divsteps(i64& delta, u64 f, u64 g) {
    u64 u = 1;
    u64 v = 0;
    u64 q = 0;
    u64 r = 1;
    i64 del = delta;
    for (int i = 0; i < kSteps; ++i) {
        const u64 odd = static_cast<u64>(barrier(static_cast<i64>(0 - (g & 1))));
        const u64 positive = static_cast<u64>(barrier(-del >> 63)); // delta > 0
        const u64 swap = odd & positive;

        // g gains f, or -f when delta is positive
        g += ((f ^ positive) - positive) & odd;
        q += ((u ^ positive) - positive) & odd;
        r += ((v ^ positive) - positive) & odd;
        // and f then becomes what g was
        f += g & swap;
        u += q & swap;
        v += r & swap;
        del = static_cast<i64>((static_cast<u64>(del) ^ swap) - swap) + 1;

        g >>= 1;
        u <<= 1;
        v <<= 1;
    }
    delta = del;
    return {static_cast<i64>(u), static_cast<i64>(v), static_cast<i64>(q), static_cast<i64>(r)};
}

// 64-bit limbs to digits and back; the value is not negative.
void to_digits(Digit* r, std::size_t digits, const Limb* a, std::size_t n) {
    for (std::size_t i = 0; i < digits; ++i) {
        const std::size_t limb = i * kSteps / 64;
        const auto shift = static_cast<unsigned>(i * kSteps % 64);
        u64 x = limb < n ? a[limb] >> shift : 0;
        if (shift > 2 && limb + 1 < n) x |= a[limb + 1] << (64 - shift);
        r[i] = static_cast<i64>(x & kMask);
    }
}

void from_digits(Limb* r, std::size_t n, const Digit* a, std::size_t digits) {
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t digit = i * 64 / kSteps;
        const auto shift = static_cast<unsigned>(i * 64 % kSteps);
        u64 x = static_cast<u64>(a[digit]) >> shift;
        if (digit + 1 < digits) x |= static_cast<u64>(a[digit + 1]) << (kSteps - shift);
        if (shift > 60 && digit + 2 < digits) x |= static_cast<u64>(a[digit + 2]) << (124 - shift);
        r[i] = x;
    }
}

// (f, g) = t * (f, g) / 2^62, which is exact.
void update_fg(Digit* f, Digit* g, std::size_t digits, const Matrix& t) {
    i128 cf = static_cast<i128>(t.u) * f[0] + static_cast<i128>(t.v) * g[0];
    i128 cg = static_cast<i128>(t.q) * f[0] + static_cast<i128>(t.r) * g[0];
    cf >>= kSteps;
    cg >>= kSteps;
    for (std::size_t i = 1; i < digits; ++i) {
        const i64 fi = f[i];
        const i64 gi = g[i];
        cf += static_cast<i128>(t.u) * fi + static_cast<i128>(t.v) * gi;
        cg += static_cast<i128>(t.q) * fi + static_cast<i128>(t.r) * gi;
        f[i - 1] = static_cast<i64>(static_cast<u64>(cf) & kMask);
        g[i - 1] = static_cast<i64>(static_cast<u64>(cg) & kMask);
        cf >>= kSteps;
        cg >>= kSteps;
    }
    f[digits - 1] = static_cast<i64>(cf);
    g[digits - 1] = static_cast<i64>(cg);
}

// (d, e) = t * (d, e) / 2^62 modulo m; d and e are in (-2m, m) before and after. m_inverse is
// m^-1 mod 2^62.
void update_de(Digit* d, Digit* e, const Digit* m, std::size_t digits, u64 m_inverse,
               const Matrix& t) {
    // the multiples of m that make negative d and e count as d + m and e + m
    const i64 d_sign = d[digits - 1] >> 63;
    const i64 e_sign = e[digits - 1] >> 63;
    i64 md = (t.u & d_sign) + (t.v & e_sign);
    i64 me = (t.q & d_sign) + (t.r & e_sign);

    i128 cd = static_cast<i128>(t.u) * d[0] + static_cast<i128>(t.v) * e[0];
    i128 ce = static_cast<i128>(t.q) * d[0] + static_cast<i128>(t.r) * e[0];
    // and those that make the low 62 bits zero
    md -= static_cast<i64>((m_inverse * static_cast<u64>(cd) + static_cast<u64>(md)) & kMask);
    me -= static_cast<i64>((m_inverse * static_cast<u64>(ce) + static_cast<u64>(me)) & kMask);
    cd += static_cast<i128>(m[0]) * md;
    ce += static_cast<i128>(m[0]) * me;
    cd >>= kSteps;
    ce >>= kSteps;
    for (std::size_t i = 1; i < digits; ++i) {
        const i64 di = d[i];
        const i64 ei = e[i];
        const i64 mi = m[i];
        cd +=
            static_cast<i128>(t.u) * di + static_cast<i128>(t.v) * ei + static_cast<i128>(mi) * md;
        ce +=
            static_cast<i128>(t.q) * di + static_cast<i128>(t.r) * ei + static_cast<i128>(mi) * me;
        d[i - 1] = static_cast<i64>(static_cast<u64>(cd) & kMask);
        e[i - 1] = static_cast<i64>(static_cast<u64>(ce) & kMask);
        cd >>= kSteps;
        ce >>= kSteps;
    }
    d[digits - 1] = static_cast<i64>(cd);
    e[digits - 1] = static_cast<i64>(ce);
}

// x = (negate ? -x : x) + (add ? m : 0), both masks all ones or zero.
void negate_and_add(Digit* x, const Digit* m, std::size_t digits, i64 negate, i64 add) {
    i64 carry = 0;
    for (std::size_t i = 0; i < digits; ++i) {
        carry += ((x[i] ^ negate) - negate) + (m[i] & add);
        x[i] = i + 1 < digits ? static_cast<i64>(static_cast<u64>(carry) & kMask) : carry;
        carry >>= kSteps;
    }
}

u64 one_or_minus_one_mask(const Digit* x, std::size_t digits) {
    u64 plus = static_cast<u64>(x[0]) ^ 1;
    u64 minus = static_cast<u64>(x[0]) ^ (digits == 1 ? ~u64{0} : kMask);
    for (std::size_t i = 1; i < digits; ++i) {
        plus |= static_cast<u64>(x[i]);
        minus |= static_cast<u64>(x[i]) ^ (i + 1 < digits ? kMask : ~u64{0});
    }
    return mask_if_zero(plus) | mask_if_zero(minus);
}

void clear(Digit* x, std::size_t digits) {
    for (std::size_t i = 0; i < digits; ++i) x[i] = 0;
}

} // namespace

std::size_t divsteps_scratch(std::size_t limbs) { return 5 * digits_for(limbs); }

u64 limbs_inverse_odd(Limb* r, const Limb* a, const Limb* m, std::size_t n, std::size_t bits,
                      Limb* scratch) {
    const std::size_t digits = digits_for(n);
    auto* const f = reinterpret_cast<Digit*>(scratch);
    Digit* const g = f + digits;
    Digit* const d = g + digits;
    Digit* const e = d + digits;
    Digit* const modulus = e + digits;
    const u64 m_inverse = 0 - negated_inverse(m[0]);
    to_digits(modulus, digits, m, n);
    to_digits(f, digits, m, n);
    to_digits(g, digits, a, n);
    clear(d, digits);
    clear(e, digits);
    e[0] = 1;

    i64 delta = 1;
    for (std::size_t i = batches_for(bits); i != 0; --i) {
        const Matrix t = divsteps(delta, static_cast<u64>(f[0]) | static_cast<u64>(f[1]) << kSteps,
                                  static_cast<u64>(g[0]) | static_cast<u64>(g[1]) << kSteps);
        update_de(d, e, modulus, digits, m_inverse, t);
        update_fg(f, g, digits, t);
    }

    // d is in (-2m, m) and f is +/-1: bring d * f into [0, m)
    const i64 f_sign = f[digits - 1] >> 63;
    negate_and_add(d, modulus, digits, 0, d[digits - 1] >> 63);
    negate_and_add(d, modulus, digits, f_sign, 0);
    negate_and_add(d, modulus, digits, 0, d[digits - 1] >> 63);
    from_digits(r, n, d, digits);
    return one_or_minus_one_mask(f, digits);
}

void limbs_gcd_odd(Limb* r, const Limb* odd, const Limb* a, std::size_t n, std::size_t bits,
                   Limb* scratch) {
    const std::size_t digits = digits_for(n);
    auto* const f = reinterpret_cast<Digit*>(scratch);
    Digit* const g = f + digits;
    to_digits(f, digits, odd, n);
    to_digits(g, digits, a, n);

    i64 delta = 1;
    for (std::size_t i = batches_for(bits); i != 0; --i) {
        const Matrix t = divsteps(delta, static_cast<u64>(f[0]) | static_cast<u64>(f[1]) << kSteps,
                                  static_cast<u64>(g[0]) | static_cast<u64>(g[1]) << kSteps);
        update_fg(f, g, digits, t);
    }
    negate_and_add(f, f, digits, f[digits - 1] >> 63, 0);
    from_digits(r, n, f, digits);
}

} // namespace vrq
