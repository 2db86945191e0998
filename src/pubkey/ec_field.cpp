// Montgomery products of prime fields in portable C++, and the choice of kernels.
#include "pubkey/ec_field.h"

#include "foundation/cpu.h"

#include <cstring>

#if defined(__x86_64__) && !defined(TALVERN_PORTABLE)
#define TALVERN_X86_KERNELS
#include "pubkey/x86/ec_field_mulx.h"
#endif

namespace vrq {

namespace {

constexpr u64 high(u128 x) { return static_cast<u64>(x >> 64); }

// Rows of products and reductions in turn (C. K. Koc, T. Acar, B. Kaliski, Analyzing and comparing
// Montgomery multiplication algorithms, 1996: CIOS).
template <std::size_t N>
void mul(u64* r, const u64* a, const u64* b, const u64* p) {
    u64 t[N] = {};
    u64 top = 0;
    for (std::size_t i = 0; i < N; ++i) {
        u64 carry = 0;
#pragma GCC unroll 9
        for (std::size_t j = 0; j < N; ++j) {
            const u128 sum = static_cast<u128>(a[j]) * b[i] + t[j] + carry;
            t[j] = static_cast<u64>(sum);
            carry = high(sum);
        }
        const u128 upper = static_cast<u128>(top) + carry;

        const u64 q = t[0] * p[N];
        carry = high(static_cast<u128>(q) * p[0] + t[0]);
#pragma GCC unroll 9
        for (std::size_t j = 1; j < N; ++j) {
            const u128 sum = static_cast<u128>(q) * p[j] + t[j] + carry;
            t[j - 1] = static_cast<u64>(sum);
            carry = high(sum);
        }
        const u128 last = upper + carry;
        t[N - 1] = static_cast<u64>(last);
        top = high(last);
    }
    field_reduce_once<N>(r, t, static_cast<unsigned char>(top), p);
}

template <std::size_t N>
void sqr(u64* r, const u64* a, const u64* p) {
    mul<N>(r, a, a, p);
}

// 2^521 - 1. Modulo it, upper bits are added to the lower ones, and the division by R = 2^576 is a
// rotation by 55 bits.
constexpr u64 kOnes = ~u64{0};
constexpr u64 kP521[] = {kOnes, kOnes, kOnes, kOnes, kOnes, kOnes, kOnes, kOnes, 0x1FF};
constexpr unsigned kTopBits = 9;

// r = t / R for t below 2^1042.
void reduce_p521(u64* r, const u64 (&t)[18]) {
    u64 s[9];
    unsigned char carry = 0;
#pragma GCC unroll 9
    for (std::size_t i = 0; i < 9; ++i) {
        const u64 low = i < 8 ? t[i] : t[i] & kP521[8];
        carry = add_carry(carry, low, t[i + 8] >> kTopBits | t[i + 9] << (64 - kTopBits), s[i]);
    }
    const u64 above = s[8] >> kTopBits;
    s[8] &= kP521[8];
    carry = add_carry(0, s[0], above, s[0]);
#pragma GCC unroll 9
    for (std::size_t i = 1; i < 9; ++i) carry = add_carry(carry, s[i], 0, s[i]);

    u64 rotated[9];
    const u64 low = s[0] & (kOnes >> kTopBits);
#pragma GCC unroll 9
    for (std::size_t i = 0; i < 8; ++i) rotated[i] = s[i] >> 55 | s[i + 1] << kTopBits;
    rotated[7] |= low << 18;
    rotated[8] = low >> 46;
    field_reduce_once<9>(r, rotated, 0, kP521);
}

void mul_p521(u64* r, const u64* a, const u64* b, const u64*) {
    u64 t[18] = {};
    for (std::size_t i = 0; i < 9; ++i) {
        u64 carry = 0;
#pragma GCC unroll 9
        for (std::size_t j = 0; j < 9; ++j) {
            const u128 sum = static_cast<u128>(a[j]) * b[i] + t[i + j] + carry;
            t[i + j] = static_cast<u64>(sum);
            carry = high(sum);
        }
        t[i + 9] = carry;
    }
    reduce_p521(r, t);
}

// Products of different limbs once, doubled while the squares are added.
void sqr_p521(u64* r, const u64* a, const u64*) {
    u64 t[18] = {};
#pragma GCC unroll 9
    for (std::size_t i = 0; i < 8; ++i) {
        u64 carry = 0;
#pragma GCC unroll 9
        for (std::size_t j = i + 1; j < 9; ++j) {
            const u128 sum = static_cast<u128>(a[i]) * a[j] + t[i + j] + carry;
            t[i + j] = static_cast<u64>(sum);
            carry = high(sum);
        }
        t[i + 9] = carry;
    }
    unsigned char carry = 0;
    u64 below = 0;
#pragma GCC unroll 9
    for (std::size_t i = 0; i < 9; ++i) {
        const u128 square = static_cast<u128>(a[i]) * a[i];
        const u64 even = t[2 * i];
        const u64 odd = t[2 * i + 1];
        carry = add_carry(carry, even << 1 | below >> 63, static_cast<u64>(square), t[2 * i]);
        carry = add_carry(carry, odd << 1 | even >> 63, high(square), t[2 * i + 1]);
        below = odd;
    }
    reduce_p521(r, t);
}

#ifdef TALVERN_X86_KERNELS
constexpr u64 kP256[] = {kOnes, 0xFFFFFFFF, 0, 0xFFFFFFFF00000001};
#endif

constexpr FieldKernel kRows[] = {
#ifdef TALVERN_X86_KERNELS
    {kFieldMulxNeeds, "mulx P-256", 4, kP256, field_mul_p256_mulx, field_sqr_p256_mulx},
    {kFieldMulxNeeds, "mulx", 4, nullptr, field_mul4_mulx, field_sqr4_mulx},
    {kFieldMulxNeeds, "mulx", 6, nullptr, field_mul6_mulx, field_sqr6_mulx},
#endif
    {0, "P-521", 9, kP521, mul_p521, sqr_p521},
    {0, "portable", 4, nullptr, mul<4>, sqr<4>},
    {0, "portable", 6, nullptr, mul<6>, sqr<6>},
    {0, "portable", 8, nullptr, mul<8>, sqr<8>},
    {0, "portable", 9, nullptr, mul<9>, sqr<9>},
};

bool serves(const FieldKernel& row, std::size_t limbs, const u64* modulus) {
    if (row.limbs != limbs || !cpu::has(row.needs)) return false;
    return row.only_for == nullptr ||
           std::memcmp(row.only_for, modulus, limbs * sizeof *modulus) == 0;
}

} // namespace

std::span<const FieldKernel> field_kernels() { return kRows; }

const FieldKernel& field_kernel(std::size_t limbs, const u64* modulus) {
    const FieldKernel* row = kRows;
    while (!serves(*row, limbs, modulus)) ++row;
    return *row;
}

} // namespace vrq
