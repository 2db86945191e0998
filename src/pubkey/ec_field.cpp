// Montgomery products of prime fields in portable C++, and the choice of kernels.
#include "pubkey/ec_field.h"

#include "foundation/cpu.h"

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

constexpr FieldKernel kRows[] = {
#ifdef TALVERN_X86_KERNELS
    {kFieldMulxNeeds, "mulx", 4, field_mul4_mulx, field_sqr4_mulx},
    {kFieldMulxNeeds, "mulx", 6, field_mul6_mulx, field_sqr6_mulx},
#endif
    {0, "portable", 4, mul<4>, sqr<4>},
    {0, "portable", 6, mul<6>, sqr<6>},
    {0, "portable", 8, mul<8>, sqr<8>},
    {0, "portable", 9, mul<9>, sqr<9>},
};

} // namespace

std::span<const FieldKernel> field_kernels() { return kRows; }

const FieldKernel& field_kernel(std::size_t limbs) {
    const FieldKernel* row = kRows;
    while (row->limbs != limbs || !cpu::has(row->needs)) ++row;
    return *row;
}

} // namespace vrq
