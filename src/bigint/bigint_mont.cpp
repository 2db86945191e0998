// Montgomery contexts of big integers and the single steps over them, with R = 2^(32 k) for moduli
// of k words.
#include "bigint/limb_div.h"
#include "bigint/record.h"
#include "bigint/scope.h"
#include "foundation/status.h"
#include "foundation/unit.h"
#include "talvern/bigint.h"

#include <cstddef>

using namespace vrq;

static_assert(sizeof(VRQ_BIGINT_MONT) == 88);
static_assert(offsetof(VRQ_BIGINT_MONT, r_bits) == 0);
static_assert(offsetof(VRQ_BIGINT_MONT, rr) == 8);
static_assert(offsetof(VRQ_BIGINT_MONT, n) == 32);
static_assert(offsetof(VRQ_BIGINT_MONT, reserved) == 56);
static_assert(offsetof(VRQ_BIGINT_MONT, n_prime) == 80);

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_BIGINT, function, reason); }

bool has_modulus(const VRQ_BIGINT_MONT& context) {
    return is_odd(context.n) &&
           static_cast<std::size_t>(context.r_bits) == 32 * value_words(context.n);
}

// Limbs for reducing a number of nx limbs.
std::size_t reduce_scratch(const VRQ_BIGINT_MONT& context, std::size_t nx) {
    const std::size_t n_len = value_limbs(context.n);
    return 4 * n_len + limbs_mod_scratch(nx, n_len);
}

// r = x * R^-1 mod n; false when r cannot grow. The limbs have a radix of their own: for odd k it is
// R * 2^32, and x is taken times 2^32.
bool reduce(VRQ_BIGINT& r, const Limb* x, std::size_t nx, const VRQ_BIGINT_MONT& context,
            Limb* scratch) {
    const std::size_t k = value_words(context.n);
    const std::size_t n_len = limbs_for(k);
    Limb* const n = scratch;
    Limb* const t = n + n_len;
    Limb* const below = t + 2 * n_len;
    load_value(n, n_len, context.n);

    const u32* const x_words = words_of(x);
    std::size_t words = significant_words(x_words, 2 * nx);
    const Limb* reduced = x;
    if (words > 2 * k) {
        limbs_mod(below, x, nx, n, n_len, below + n_len);
        reduced = below;
        words = k;
    }
    limbs_clear(t, 2 * n_len);
    words_to_limbs(limbs_of(reinterpret_cast<u32*>(t) + k % 2), limbs_for(words), words_of(reduced),
                   words);

    const LimbKernel& kernel = limb_kernel();
    const u64 carry = kernel.redc(t, n, n_len, n_len, negated_inverse(n[0]));
    Limb* const result = t + n_len;
    kernel.reduce_once(result, result, n, n_len, carry);
    // Only operands that were not below n come this far.
    if (limbs_less(result, n, n_len) == 0) limbs_mod(result, result, n_len, n, n_len, below);
    return store_value(r, result, n_len);
}

} // namespace

VRQ_BIGINT_MONT* vrq_New_BIGINT_MONT() { return new_unit<VRQ_BIGINT_MONT>(); }

u32 vrq_Init_BIGINT_MONT(VRQ_BIGINT_MONT* context) {
    if (context == nullptr) return fail(VRQ_F_INIT_BIGINT, VRQ_ERR_NULL_INPUT);
    clear_record(*context);
    return 0;
}

u32 vrq_Free_BIGINT_MONT(VRQ_BIGINT_MONT* context) {
    if (context == nullptr) return fail(VRQ_F_FREE_BIGINT_MONT, VRQ_ERR_NULL_INPUT);
    VRQ_Clear_BIGINT(&context->rr);
    VRQ_Clear_BIGINT(&context->n);
    VRQ_Clear_BIGINT(&context->reserved);
    wipe_and_release(context, sizeof *context);
    return 0;
}

u32 vrq_Set_BIGINT_MONT(VRQ_BIGINT_MONT* context, const VRQ_BIGINT* n, VRQ_BIGINT_POOL* pool) {
    constexpr u32 kFunction = VRQ_F_SET_BIGINT_MONT;
    if (context == nullptr || n == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);

    Scratch<1> scratch(pool);
    if (!scratch.open()) return fail(kFunction, VRQ_ERR_START_BIGINT_POOL_FAIL);
    VRQ_BIGINT* const area = scratch.take();
    if (area == nullptr) return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);
    if (VRQ_Copy_BIGINT(&context->n, n) != 0) return fail(kFunction, VRQ_ERR_COPY_BIGINT_FAIL);
    const std::size_t k = value_words(context->n);
    context->n.used = static_cast<i32>(k);
    context->r_bits = static_cast<i32>(32 * k);
    if (!is_odd(context->n)) return fail(kFunction, VRQ_ERR_MOD_INVERSE_BIGINT_FAIL);
    context->n_prime = static_cast<u32>(negated_inverse(context->n.data[0]));

    // R^2 has 2k words and one bit.
    const std::size_t n_len = limbs_for(k);
    const std::size_t square_len = k + 1;
    if (!grow_scratch(*area, 2 * n_len + square_len + limbs_mod_scratch(square_len, n_len))) {
        return fail(kFunction, VRQ_ERR_LEFT_SHIFT_BIGINT_FAIL);
    }
    Limb* const modulus = limbs_of(area->data);
    Limb* const rr = modulus + n_len;
    Limb* const square = rr + n_len;
    load_value(modulus, n_len, context->n);
    limbs_clear(square, k);
    square[k] = 1;
    limbs_mod(rr, square, square_len, modulus, n_len, square + square_len);
    return store_value(context->rr, rr, n_len) ? 0 : fail(kFunction, VRQ_ERR_MOD_BIGINT_FAIL);
}

u32 vrq_BIGINT_from_Montgomery(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT_MONT* context,
                               VRQ_BIGINT_POOL* pool) {
    constexpr u32 kFunction = VRQ_F_BIGINT_FROM_MONTGOMERY;
    if (r == nullptr || a == nullptr || context == nullptr) {
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    }
    if (!has_modulus(*context)) return fail(kFunction, VRQ_ERR_INTERNAL);

    Scratch<1> scratch(pool);
    if (!scratch.open()) return fail(kFunction, VRQ_ERR_START_BIGINT_POOL_FAIL);
    VRQ_BIGINT* const area = scratch.take();
    if (area == nullptr) return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);
    const std::size_t nx = value_limbs(*a);
    if (!grow_scratch(*area, nx + reduce_scratch(*context, nx))) {
        return fail(kFunction, VRQ_ERR_EXPAND_BIGINT_WORD);
    }
    Limb* const x = limbs_of(area->data);
    load_value(x, nx, *a);
    return reduce(*r, x, nx, *context, x + nx) ? 0 : fail(kFunction, VRQ_ERR_EXPAND_BIGINT_WORD);
}

u32 vrq_Mod_Mul_BIGINT_Montgomery(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b,
                                  const VRQ_BIGINT_MONT* context, VRQ_BIGINT_POOL* pool) {
    constexpr u32 kFunction = VRQ_F_MOD_MUL_BIGINT_MONTGOMERY;
    if (r == nullptr || a == nullptr || b == nullptr || context == nullptr) {
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    }
    if (!has_modulus(*context)) return fail(kFunction, VRQ_ERR_BIGINT_FROM_MONTGOMERY_FAIL);

    Scratch<1> scratch(pool);
    if (!scratch.open()) return fail(kFunction, VRQ_ERR_START_BIGINT_POOL_FAIL);
    VRQ_BIGINT* const area = scratch.take();
    if (area == nullptr) return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);
    const std::size_t na = value_words(*a);
    const std::size_t nb = value_words(*b);
    const std::size_t nx = limbs_for(na + nb);
    const std::size_t split = limbs_mul_scratch(na / 2, nb / 2);
    const std::size_t below = reduce_scratch(*context, nx);
    if (!grow_scratch(*area, nx + (split > below ? split : below))) {
        return fail(kFunction, a == b ? VRQ_ERR_SQR_BIGINT_FAIL : VRQ_ERR_MTP_BIGINT_FAIL);
    }
    Limb* const x = limbs_of(area->data);
    if (nx != 0) x[nx - 1] = 0;
    if (a == b) {
        words_sqr(area->data, a->data, na, x + nx);
    } else {
        words_mul(area->data, a->data, na, b->data, nb, x + nx);
    }
    return reduce(*r, x, nx, *context, x + nx)
               ? 0
               : fail(kFunction, VRQ_ERR_BIGINT_FROM_MONTGOMERY_FAIL);
}
