// Modular arithmetic on big integers: products, differences, inverses, greatest common divisors.
#include "bigint/inverse.h"
#include "bigint/limb_div.h"
#include "bigint/record.h"
#include "bigint/scope.h"
#include "foundation/status.h"
#include "talvern/bigint.h"

#include <algorithm>
#include <bit>
#include <utility>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_BIGINT, function, reason); }

constexpr bool any_null(const void* a, const void* b, const void* c) {
    return a == nullptr || b == nullptr || c == nullptr;
}

constexpr std::size_t larger(std::size_t a, std::size_t b) { return a > b ? a : b; }

std::size_t significant_limbs(const Limb* a, std::size_t n) {
    return limbs_for(significant_words(words_of(a), 2 * n));
}

// x = a mod m over n limbs. a has na limbs, none for the value 0.
void reduce_operand(Limb* x, const Limb* a, std::size_t na, const Limb* m, std::size_t n,
                    Limb* scratch) {
    if (na == 0) {
        limbs_clear(x, n);
    } else {
        limbs_mod(x, a, na, m, n, scratch);
    }
}

// Scratch limbs of inverse_even.
constexpr std::size_t inverse_even_scratch(std::size_t n) { return 7 * n + 4; }

// r = a^-1 mod m for even m and odd a < m, from u = m^-1 mod a: a * (m u - 1) / a is -1 modulo m,
// so the inverse is m - (m u - 1) / a. False when there is none.
bool inverse_even(Limb* r, const Limb* a, const Limb* m, std::size_t n, Limb* scratch,
                  Limb* divsteps) {
    const std::size_t la = significant_limbs(a, n);
    if (la == 0 || a[0] % 2 == 0) return false;
    if (la == 1 && a[0] == 1) {
        limbs_clear(r, n);
        r[0] = 1;
        return true;
    }

    Limb* const u = scratch;
    Limb* const d = u + la;
    Limb* const t = d + la;         // n + la + 1
    Limb* const q = t + n + la + 1; // n + 1
    limbs_mod(u, m, n, a, la, t);
    if (limbs_inverse_odd(u, u, a, la, kLimbBits * la, divsteps) == 0) return false;

    const auto shift = static_cast<unsigned>(std::countl_zero(static_cast<u64>(a[la - 1])));
    limb_kernel().mul(t, m, n, u, la);
    limbs_sub_limb(t, n + la, 1);
    t[n + la] = limbs_shl(t, t, n + la, shift);
    limbs_shl(d, a, la, shift);
    limbs_divide_normalized(q, t, n + la + 1, d, la);
    limbs_sub(r, m, q, n);
    return true;
}

// Number of low zero bits of a value that is not 0.
std::size_t trailing_zeros(const Limb* a) {
    std::size_t i = 0;
    while (a[i] == 0) ++i;
    return kLimbBits * i + static_cast<std::size_t>(std::countr_zero(static_cast<u64>(a[i])));
}

void shift_down(Limb* a, std::size_t n, std::size_t bits) {
    const std::size_t limbs = bits / kLimbBits;
    limbs_shr(a, a + limbs, n - limbs, bits % kLimbBits);
    limbs_clear(a + n - limbs, limbs);
}

void shift_up(Limb* a, std::size_t n, std::size_t bits) {
    const std::size_t limbs = bits / kLimbBits;
    for (std::size_t i = n; i-- > limbs;) a[i] = a[i - limbs];
    limbs_clear(a, limbs);
    limbs_shl(a, a, n, bits % kLimbBits);
}

// x = gcd(x, y) of n limbs each, both not 0; y is lost. Shared factors of two go first, so that one
// of the two is odd.
void gcd(Limb* x, Limb* y, std::size_t n, Limb* divsteps) {
    const std::size_t twos = std::min(trailing_zeros(x), trailing_zeros(y));
    shift_down(x, n, twos);
    shift_down(y, n, twos);
    if (x[0] % 2 != 0) {
        limbs_gcd_odd(x, x, y, n, kLimbBits * n, divsteps);
    } else {
        limbs_gcd_odd(x, y, x, n, kLimbBits * n, divsteps);
    }
    shift_up(x, n, twos);
}

} // namespace

u32 VRQ_Mod_Mtp_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b, const VRQ_BIGINT* m,
                       VRQ_BIGINT_POOL* pool) {
    constexpr u32 kFunction = VRQ_F_MOD_MTP_BIGINT;
    if (any_null(r, a, b) || m == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (pool == nullptr) return fail(kFunction, VRQ_ERR_START_BIGINT_POOL_FAIL);

    Scratch<1> scratch(pool);
    if (!scratch.open()) return fail(kFunction, VRQ_ERR_START_BIGINT_POOL_FAIL);
    VRQ_BIGINT* const area = scratch.take();
    if (area == nullptr) return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);
    const std::size_t na = value_words(*a);
    const std::size_t nb = value_words(*b);
    const std::size_t nx = larger(limbs_for(na + nb), 1);
    const std::size_t n = value_limbs(*m);
    const std::size_t below = larger(limbs_mul_scratch(na / 2, nb / 2), limbs_mod_scratch(nx, n));
    if (!grow_scratch(*area, nx + 2 * n + below)) {
        return fail(kFunction, a == b ? VRQ_ERR_SQR_BIGINT_FAIL : VRQ_ERR_MTP_BIGINT_FAIL);
    }
    if (n == 0) return fail(kFunction, VRQ_ERR_MOD_BIGINT_FAIL);

    Limb* const x = limbs_of(area->data);
    Limb* const modulus = x + nx;
    Limb* const result = modulus + n;
    load_value(modulus, n, *m);
    x[nx - 1] = 0;
    if (a == b) {
        words_sqr(area->data, a->data, na, result + n);
    } else {
        words_mul(area->data, a->data, na, b->data, nb, result + n);
    }
    limbs_mod(result, x, nx, modulus, n, result + n);
    return store_value(*r, result, n) ? 0 : fail(kFunction, VRQ_ERR_MOD_BIGINT_FAIL);
}

u32 VRQ_Mod_Sub_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b, const VRQ_BIGINT* m,
                       VRQ_BIGINT_POOL* pool) {
    constexpr u32 kFunction = VRQ_F_MOD_SUB_BIGINT;
    if (any_null(r, a, b) || m == nullptr || pool == nullptr) {
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    }
    const std::size_t n = value_limbs(*m);
    if (n == 0) {
        r->used = 0;
        return 0;
    }

    Scratch<1> scratch(pool);
    const std::size_t na = value_limbs(*a);
    const std::size_t nb = value_limbs(*b);
    const std::size_t longest = larger(na, nb);
    Limb* const x = scratch.take_limbs(3 * n + longest + limbs_mod_scratch(longest, n));
    if (x == nullptr) return fail(kFunction, VRQ_ERR_MALLOC);
    Limb* const y = x + n;
    Limb* const modulus = y + n;
    Limb* const operand = modulus + n;
    Limb* const below = operand + longest;
    load_value(modulus, n, *m);
    load_value(operand, na, *a);
    reduce_operand(x, operand, na, modulus, n, below);
    load_value(operand, nb, *b);
    reduce_operand(y, operand, nb, modulus, n, below);

    const u64 borrow = limbs_sub(x, x, y, n);
    limbs_add(y, x, modulus, n);
    limbs_move_if(x, y, n, 0 - borrow);
    return store_value(*r, x, n) ? 0 : fail(kFunction, VRQ_ERR_MALLOC);
}

u32 VRQ_Mod_Inverse_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* m,
                           VRQ_BIGINT_POOL* pool) {
    constexpr u32 kFunction = VRQ_F_MOD_INVERSE_BIGINT;
    if (any_null(r, a, m)) return fail(kFunction, VRQ_ERR_NULL_INPUT);

    Scratch<1> scratch(pool);
    if (!scratch.open()) return fail(kFunction, VRQ_ERR_START_BIGINT_POOL_FAIL);
    const std::size_t n = value_limbs(*m);
    if (n == 0) return fail(kFunction, VRQ_ERR_EUCLID_FAIL);
    const std::size_t na = value_limbs(*a);
    const std::size_t below = larger(limbs_mod_scratch(na, n), inverse_even_scratch(n));
    Limb* const modulus = scratch.take_limbs(3 * n + na + below + divsteps_scratch(n));
    if (modulus == nullptr) return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);
    Limb* const x = modulus + n;
    Limb* const result = x + n;
    Limb* const operand = result + n;
    Limb* const area = operand + na;
    Limb* const divsteps = area + below;
    load_value(modulus, n, *m);
    load_value(operand, na, *a);
    reduce_operand(x, operand, na, modulus, n, area);

    const bool found = is_odd(*m)
                           ? limbs_inverse_odd(result, x, modulus, n, value_bits(*m), divsteps) != 0
                           : inverse_even(result, x, modulus, n, area, divsteps);
    if (!found) return fail(kFunction, VRQ_ERR_EUCLID_FAIL);
    return store_value(*r, result, n) ? 0 : fail(kFunction, VRQ_ERR_COPY_BIGINT_FAIL);
}

VRQ_BIGINT* vrq_Euclid(VRQ_BIGINT* a, VRQ_BIGINT* b, VRQ_BIGINT_POOL* pool) {
    if (a == nullptr || b == nullptr) return nullptr;
    if (is_zero(*b) || is_zero(*a)) {
        if (is_zero(*a) && VRQ_Copy_BIGINT(a, b) != 0) return nullptr;
        set_used(*a, word_count(*a));
        return a;
    }

    Scratch<1> scratch(pool);
    const std::size_t n = larger(value_limbs(*a), value_limbs(*b));
    Limb* const x = scratch.take_limbs(2 * n + divsteps_scratch(n));
    if (x == nullptr) return nullptr;
    Limb* const y = x + n;
    load_value(x, n, *a);
    load_value(y, n, *b);
    gcd(x, y, n, y + n);
    return store_value(*a, x, n) ? a : nullptr;
}

u32 vrq_Gcd_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b, VRQ_BIGINT_POOL* pool) {
    constexpr u32 kFunction = VRQ_F_GCD_BIGINT;
    if (any_null(r, a, b)) return fail(kFunction, VRQ_ERR_NULL_INPUT);

    Scratch<2> scratch(pool);
    if (!scratch.open()) return fail(kFunction, VRQ_ERR_START_BIGINT_POOL_FAIL);
    VRQ_BIGINT* const x = scratch.take();
    VRQ_BIGINT* const y = scratch.take();
    if (x == nullptr || y == nullptr) return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);
    if (VRQ_Copy_BIGINT(x, a) != 0 || VRQ_Copy_BIGINT(y, b) != 0) {
        return fail(kFunction, VRQ_ERR_COPY_BIGINT_FAIL);
    }
    const VRQ_BIGINT* const divisor = vrq_Euclid(x, y, pool);
    if (divisor == nullptr) return fail(kFunction, VRQ_ERR_EUCLID_FAIL);
    return VRQ_Copy_BIGINT(r, divisor) == 0 ? 0 : fail(kFunction, VRQ_ERR_COPY_BIGINT_FAIL);
}
