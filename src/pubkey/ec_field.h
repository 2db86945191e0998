// Elements of a prime field of at most 576 bits, in N limbs and Montgomery form (R = 2^(64 N)), always
// reduced. Nothing here branches on or addresses by a value.
#pragma once

#include "bigint/limbs.h"

#include <cstddef>
#include <span>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace vrq {

// Limbs of the fields served; a smaller prime takes the next larger size.
constexpr std::size_t kFieldSizes[] = {4, 6, 8, 9};
constexpr std::size_t kMaxFieldLimbs = 9;

// Montgomery products. The modulus p has N limbs, the first one odd, and behind them
// -p^-1 mod 2^64. a and b are below p, and so is the result; r may be a or b.
struct FieldKernel {
    u32 needs; // cpu feature bits
    const char* name;
    std::size_t limbs;   // N
    const u64* only_for; // the modulus that the row is for; null for any
    void (*mul)(u64* r, const u64* a, const u64* b, const u64* p);
    void (*sqr)(u64* r, const u64* a, const u64* p);
};

// All rows, for tests and benchmarks.
std::span<const FieldKernel> field_kernels();

// The first row for a modulus of that many limbs that the processor allows.
const FieldKernel& field_kernel(std::size_t limbs, const u64* modulus);

// out = a + b + carry and a - b - borrow; return carry and borrow.
inline unsigned char add_carry(unsigned char carry, u64 a, u64 b, u64& out) {
#if defined(__x86_64__)
    unsigned long long sum;
    carry = _addcarry_u64(carry, a, b, &sum);
    out = sum;
    return carry;
#else
    const u128 sum = static_cast<u128>(a) + b + carry;
    out = static_cast<u64>(sum);
    return static_cast<unsigned char>(sum >> 64);
#endif
}

inline unsigned char sub_borrow(unsigned char borrow, u64 a, u64 b, u64& out) {
#if defined(__x86_64__)
    unsigned long long difference;
    borrow = _subborrow_u64(borrow, a, b, &difference);
    out = difference;
    return borrow;
#else
    const u128 difference = static_cast<u128>(a) - b - borrow;
    out = static_cast<u64>(difference);
    return static_cast<unsigned char>(difference >> 64) & 1;
#endif
}

inline u64 hidden(u64 mask) {
    __asm__("" : "+r"(mask));
    return mask;
}

// r = a - p if carry:a >= p, else a.
template <std::size_t N>
inline void field_reduce_once(u64* r, const u64* a, unsigned char carry, const u64* p) {
    u64 d[N];
    unsigned char borrow = 0;
#pragma GCC unroll 9
    for (std::size_t i = 0; i < N; ++i) borrow = sub_borrow(borrow, a[i], p[i], d[i]);
    u64 unused;
    borrow = sub_borrow(borrow, carry, 0, unused);
    const u64 keep = hidden(u64{0} - borrow);
#pragma GCC unroll 9
    for (std::size_t i = 0; i < N; ++i) r[i] = (a[i] & keep) | (d[i] & ~keep);
}

template <std::size_t N>
struct Element {
    u64 v[N];
};

template <std::size_t N>
class Field {
  public:
    using E = Element<N>;

    // For an odd modulus above 1 of N limbs, of which `bits` bits count.
    Field(const u64* modulus, std::size_t bits) : kernel_(field_kernel(N, modulus)) {
        for (std::size_t i = 0; i < N; ++i) p_[i] = modulus[i];
        p_[N] = negated_inverse(p_[0]);
        set_powers(bits);
    }

    void mul(E& r, const E& a, const E& b) const { kernel_.mul(r.v, a.v, b.v, p_); }
    void sqr(E& r, const E& a) const { kernel_.sqr(r.v, a.v, p_); }

    void add(E& r, const E& a, const E& b) const {
        u64 sum[N];
        unsigned char carry = 0;
#pragma GCC unroll 9
        for (std::size_t i = 0; i < N; ++i) carry = add_carry(carry, a.v[i], b.v[i], sum[i]);
        field_reduce_once<N>(r.v, sum, carry, p_);
    }

    void twice(E& r, const E& a) const { add(r, a, a); }

    void sub(E& r, const E& a, const E& b) const {
        u64 d[N];
        unsigned char borrow = 0;
#pragma GCC unroll 9
        for (std::size_t i = 0; i < N; ++i) borrow = sub_borrow(borrow, a.v[i], b.v[i], d[i]);
        const u64 wrapped = hidden(u64{0} - borrow);
        unsigned char carry = 0;
#pragma GCC unroll 9
        for (std::size_t i = 0; i < N; ++i) carry = add_carry(carry, d[i], p_[i] & wrapped, r.v[i]);
    }

    void half(E& r, const E& a) const {
        const u64 odd = hidden(u64{0} - (a.v[0] & 1));
        u64 sum[N];
        unsigned char carry = 0;
#pragma GCC unroll 9
        for (std::size_t i = 0; i < N; ++i) carry = add_carry(carry, a.v[i], p_[i] & odd, sum[i]);
#pragma GCC unroll 9
        for (std::size_t i = 0; i + 1 < N; ++i) r.v[i] = sum[i] >> 1 | sum[i + 1] << 63;
        r.v[N - 1] = sum[N - 1] >> 1 | u64{carry} << 63;
    }

    // All ones for zero, else zero.
    static u64 zero_mask(const E& a) {
        u64 any = 0;
        for (std::size_t i = 0; i < N; ++i) any |= a.v[i];
        return mask_if_zero(any);
    }

    // r = a where the mask is all ones; r is unchanged where it is zero.
    static void move_if(E& r, const E& a, u64 mask) {
        for (std::size_t i = 0; i < N; ++i) r.v[i] ^= hidden(mask) & (r.v[i] ^ a.v[i]);
    }

    static bool equal(const E& a, const E& b) {
        u64 difference = 0;
        for (std::size_t i = 0; i < N; ++i) difference |= a.v[i] ^ b.v[i];
        return difference == 0;
    }

    const E& one() const { return one_; }
    const u64* modulus() const { return p_; }
    bool is_reduced(const E& a) const { return limbs_less(a.v, p_, N) != 0; }

    void to_montgomery(E& r, const E& a) const { mul(r, a, rr_); }
    void from_montgomery(E& r, const E& a) const {
        E unit = {};
        unit.v[0] = 1;
        mul(r, a, unit);
    }

  private:
    // R mod p and R^2 mod p without a division: 2^bits - p is 2^bits mod p; doubling it gives first R,
    // then R * 2^k for the odd part k of the bits of R, and squarings double k until it is R.
    void set_powers(std::size_t bits) {
        for (std::size_t i = 0; i < N; ++i) {
            const std::size_t low = 64 * i;
            one_.v[i] = bits >= low && bits < low + 64 ? u64{1} << (bits - low) : 0;
        }
        E p;
        for (std::size_t i = 0; i < N; ++i) p.v[i] = p_[i];
        unsigned char borrow = 0;
        for (std::size_t i = 0; i < N; ++i)
            borrow = sub_borrow(borrow, one_.v[i], p.v[i], one_.v[i]);
        for (std::size_t i = bits; i < 64 * N; ++i) twice(one_, one_);

        std::size_t k = 64 * N;
        while (k % 2 == 0) k /= 2;
        rr_ = one_;
        for (std::size_t i = 0; i < k; ++i) twice(rr_, rr_);
        for (; k < 64 * N; k *= 2) sqr(rr_, rr_);
    }

    const FieldKernel& kernel_;
    u64 p_[N + 1];
    E one_;
    E rr_;
};

} // namespace vrq
