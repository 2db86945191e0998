// Arithmetic on big integers: sums, products, squares, division, shifts, single words.
#include "bigint/limb_div.h"
#include "bigint/record.h"
#include "bigint/scope.h"
#include "foundation/status.h"
#include "talvern/bigint.h"

#include <bit>
#include <utility>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_BIGINT, function, reason); }

constexpr bool any_null(const void* a, const void* b, const void* c) {
    return a == nullptr || b == nullptr || c == nullptr;
}

i32 count(std::size_t words) { return static_cast<i32>(words); }

// Copies a value built in a temporary; its array stays with the temporary.
[[nodiscard]] u32 deliver(VRQ_BIGINT& r, const VRQ_BIGINT& built, u32 function) {
    return VRQ_Copy_BIGINT(&r, &built) == 0 ? 0 : fail(function, VRQ_ERR_COPY_BIGINT_FAIL);
}

} // namespace

u32 VRQ_Add_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b, VRQ_BIGINT_POOL*) {
    if (any_null(r, a, b)) return fail(VRQ_F_ADD_BIGINT, VRQ_ERR_NULL_INPUT);

    std::size_t longer = value_words(*a);
    std::size_t shorter = value_words(*b);
    if (longer < shorter) {
        std::swap(a, b);
        std::swap(longer, shorter);
    }
    if (!grow(*r, longer + 1)) return fail(VRQ_F_ADD_BIGINT, VRQ_ERR_INTERNAL);

    u32 carry = vrq_Add_Words(r->data, a->data, b->data, count(shorter));
    carry = words_add_carry(r->data + shorter, a->data + shorter, longer - shorter, carry);
    r->data[longer] = carry;
    set_used(*r, longer + 1);
    return 0;
}

u32 VRQ_Sub_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b, VRQ_BIGINT_POOL*) {
    if (any_null(r, a, b)) return fail(VRQ_F_SUB_BIGINT, VRQ_ERR_NULL_INPUT);

    const std::size_t longer = value_words(*a);
    const std::size_t shorter = value_words(*b);
    if (longer < shorter || !grow(*r, longer)) return fail(VRQ_F_SUB_BIGINT, VRQ_ERR_INTERNAL);

    u32 borrow = vrq_Sub_Words(r->data, a->data, b->data, count(shorter));
    borrow = words_sub_borrow(r->data + shorter, a->data + shorter, longer - shorter, borrow);
    set_used(*r, longer);
    return borrow == 0 ? 0 : fail(VRQ_F_SUB_BIGINT, VRQ_ERR_INTERNAL);
}

u32 VRQ_Mtp_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b, VRQ_BIGINT_POOL* pool) {
    if (any_null(r, a, b)) return fail(VRQ_F_MTP_BIGINT, VRQ_ERR_NULL_INPUT);

    const std::size_t na = value_words(*a);
    const std::size_t nb = value_words(*b);
    if (na == 0 || nb == 0) {
        return store_word(*r, 1) ? 0 : fail(VRQ_F_MTP_BIGINT, VRQ_ERR_SET_BIGINT_FAIL);
    }

    if (!frame_available(pool)) return fail(VRQ_F_MTP_BIGINT, VRQ_ERR_START_BIGINT_POOL_FAIL);
    const bool in_place = r == a || r == b;
    const std::size_t area = limbs_mul_scratch(na / 2, nb / 2);
    if (!in_place && area == 0) {
        if (!grow(*r, na + nb)) return fail(VRQ_F_MTP_BIGINT, VRQ_ERR_EXPAND_BIGINT_WORD);
        words_mul(r->data, a->data, na, b->data, nb, nullptr);
        set_used(*r, na + nb);
        return 0;
    }

    Scratch<2> scratch(pool);
    VRQ_BIGINT* const product = in_place ? scratch.take() : r;
    if (product == nullptr) return fail(VRQ_F_MTP_BIGINT, VRQ_ERR_MEM_ALLOC);
    Limb* const temporary = area != 0 ? scratch.take_limbs(area) : nullptr;
    if (area != 0 && temporary == nullptr) return fail(VRQ_F_MTP_BIGINT, VRQ_ERR_MEM_ALLOC);
    if (!grow(*product, na + nb)) return fail(VRQ_F_MTP_BIGINT, VRQ_ERR_EXPAND_BIGINT_WORD);

    words_mul(product->data, a->data, na, b->data, nb, temporary);
    set_used(*product, na + nb);
    return in_place ? deliver(*r, *product, VRQ_F_MTP_BIGINT) : 0;
}

u32 VRQ_Sqr_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, VRQ_BIGINT_POOL* pool) {
    if (r == nullptr || a == nullptr) return fail(VRQ_F_SQR_BIGINT, VRQ_ERR_NULL_INPUT);
    if (is_zero(*a)) {
        r->used = 0;
        return 0;
    }

    if (!frame_available(pool)) return fail(VRQ_F_SQR_BIGINT, VRQ_ERR_START_BIGINT_POOL_FAIL);
    const std::size_t n = word_count(*a);
    const i32 used = count(a->data[n - 1] < 0x10000 ? 2 * n - 1 : 2 * n);
    const std::size_t area = limbs_mul_scratch(n / 2, n / 2);
    if (r != a && area == 0) {
        if (!grow(*r, 2 * n)) return fail(VRQ_F_SQR_BIGINT, VRQ_ERR_EXPAND_BIGINT_WORD);
        words_sqr(r->data, a->data, n, nullptr);
        r->used = used;
        return 0;
    }

    Scratch<2> scratch(pool);
    VRQ_BIGINT* const square = r == a ? scratch.take() : r;
    if (square == nullptr) return fail(VRQ_F_SQR_BIGINT, VRQ_ERR_GET_BIGINT_POOL_FAIL);
    Limb* const temporary = area != 0 ? scratch.take_limbs(area) : nullptr;
    if (area != 0 && temporary == nullptr) {
        return fail(VRQ_F_SQR_BIGINT, VRQ_ERR_GET_BIGINT_POOL_FAIL);
    }
    if (!grow(*square, 2 * n)) return fail(VRQ_F_SQR_BIGINT, VRQ_ERR_EXPAND_BIGINT_WORD);

    words_sqr(square->data, a->data, n, temporary);
    square->used = used;
    return square == r ? 0 : deliver(*r, *square, VRQ_F_SQR_BIGINT);
}

u32 VRQ_Div_BIGINT(VRQ_BIGINT* quotient, VRQ_BIGINT* remainder, const VRQ_BIGINT* a,
                   const VRQ_BIGINT* d, VRQ_BIGINT_POOL* pool) {
    if (any_null(remainder, a, d)) return fail(VRQ_F_DIV_BIGINT, VRQ_ERR_NULL_INPUT);
    const std::size_t na = value_limbs(*a);
    const std::size_t nd = value_limbs(*d);
    if (nd == 0) return fail(VRQ_F_DIV_BIGINT, VRQ_ERR_INTERNAL);

    Scratch<1> scratch(pool);
    if (!scratch.open()) return fail(VRQ_F_DIV_BIGINT, VRQ_ERR_START_BIGINT_POOL_FAIL);
    const std::size_t nu = (na > nd ? na : nd) + 1;
    Limb* const u = scratch.take_limbs(nu + nd + (nu - nd));
    if (u == nullptr) return fail(VRQ_F_DIV_BIGINT, VRQ_ERR_MALLOC);
    Limb* const divisor = u + nu;
    Limb* const q = divisor + nd;

    load_value(divisor, nd, *d);
    load_value(u, nu, *a);
    const auto shift = static_cast<unsigned>(std::countl_zero(static_cast<u64>(divisor[nd - 1])));
    limbs_shl(divisor, divisor, nd, shift);
    limbs_shl(u, u, nu, shift);
    limbs_divide_normalized(q, u, nu, divisor, nd);
    limbs_shr(u, u, nd, shift);

    if (quotient != nullptr && !store_value(*quotient, q, nu - nd)) {
        return fail(VRQ_F_DIV_BIGINT, VRQ_ERR_MALLOC);
    }
    return store_value(*remainder, u, nd) ? 0 : fail(VRQ_F_DIV_BIGINT, VRQ_ERR_MALLOC);
}

u32 vrq_Left_Shift_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, i32 bits) {
    if (r == nullptr || a == nullptr) return fail(VRQ_F_LEFT_SHIFT_BIGINT, VRQ_ERR_NULL_INPUT);
    if (bits < 0) return fail(VRQ_F_LEFT_SHIFT_BIGINT, VRQ_ERR_INVALID_INPUT);

    const std::size_t n = value_words(*a);
    const std::size_t words = n == 0 ? 0 : n + static_cast<u32>(bits) / 32 + 1;
    if (!grow(*r, words)) return fail(VRQ_F_LEFT_SHIFT_BIGINT, VRQ_ERR_EXPAND_BIGINT_WORD);
    if (n != 0) words_shl(r->data, a->data, n, static_cast<u32>(bits));
    set_used(*r, words);
    return 0;
}

u32 vrq_Right_Shift_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, i32 bits) {
    if (r == nullptr || a == nullptr) return fail(VRQ_F_RIGHT_SHIFT_BIGINT, VRQ_ERR_NULL_INPUT);
    if (bits < 0) return fail(VRQ_F_RIGHT_SHIFT_BIGINT, VRQ_ERR_INVALID_INPUT);

    const std::size_t n = value_words(*a);
    const std::size_t dropped = static_cast<u32>(bits) / 32;
    const std::size_t words = n > dropped ? n - dropped : 0;
    if (!grow(*r, words)) return fail(VRQ_F_RIGHT_SHIFT_BIGINT, VRQ_ERR_EXPAND_BIGINT_WORD);
    words_shr(r->data, a->data, n, static_cast<u32>(bits));
    set_used(*r, words);
    return 0;
}

u32 VRQ_Add_BIGINT_Word(VRQ_BIGINT* a, u32 word) {
    if (a == nullptr) return fail(VRQ_F_ADD_BIGINT_WORD, VRQ_ERR_NULL_INPUT);
    const std::size_t n = value_words(*a);
    if (n == 0) {
        return store_word(*a, word) ? 0 : fail(VRQ_F_ADD_BIGINT_WORD, VRQ_ERR_SET_BIGINT_FAIL);
    }
    if (word == 0) {
        a->used = count(n);
        return 0;
    }
    if (!grow(*a, n + 1)) return fail(VRQ_F_ADD_BIGINT_WORD, VRQ_ERR_EXPAND_BIGINT_WORD);

    a->data[n] = words_add_carry(a->data, a->data, n, word);
    set_used(*a, n + 1);
    return 0;
}

u32 VRQ_Sub_BIGINT_Word(VRQ_BIGINT* a, u32 word) {
    if (a == nullptr) return fail(VRQ_F_SUB_BIGINT_WORD, VRQ_ERR_NULL_INPUT);
    const std::size_t n = value_words(*a);
    const u32 lowest = n != 0 ? a->data[0] : 0;
    if (n <= 1 && lowest < word) return fail(VRQ_F_SUB_BIGINT_WORD, VRQ_ERR_INTERNAL);
    words_sub_borrow(a->data, a->data, n, word);
    set_used(*a, n);
    return 0;
}

u32 VRQ_Mtp_BIGINT_Word(VRQ_BIGINT* a, u32 word) {
    if (a == nullptr) return fail(VRQ_F_MTP_BIGINT_WORD, VRQ_ERR_NULL_INPUT);
    const std::size_t n = value_words(*a);
    if (n == 0 || word == 0) {
        a->used = 0;
        return 0;
    }
    if (!grow(*a, n + 1)) return fail(VRQ_F_MTP_BIGINT_WORD, VRQ_ERR_EXPAND_BIGINT_WORD);
    a->data[n] = vrq_Mtp_Words(a->data, a->data, count(n), word);
    set_used(*a, n + 1);
    return 0;
}

u32 VRQ_Div_BIGINT_Word(VRQ_BIGINT* a, u32 word) {
    if (a == nullptr || word == 0) return 0xFFFFFFFF;
    const std::size_t n = word_count(*a);
    if (n == 0) return 0;
    const u32 remainder = words_div_word(a->data, n, word);
    if (a->data[n - 1] == 0) a->used -= 1;
    return remainder;
}

u32 VRQ_Mod_BIGINT_Word(const VRQ_BIGINT* a, u32 divisor) {
    if (a == nullptr || divisor == 0) return 0xFFFFFFFF;
    return words_mod_word(a->data, word_count(*a), divisor);
}
