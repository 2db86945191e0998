// Modular exponentiation of big integers.
#include "bigint/mod_exp.h"
#include "bigint/record.h"
#include "bigint/scope.h"
#include "foundation/status.h"
#include "foundation/wipe.h"
#include "talvern/bigint.h"

#include <algorithm>
#include <utility>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_BIGINT, function, reason); }

// A modulus that no Montgomery context takes: the inverse that it is built on does not exist.
constexpr u32 kNoContext = fail(VRQ_F_SET_BIGINT_MONT, VRQ_ERR_MOD_INVERSE_BIGINT_FAIL);

constexpr bool any_null(const void* r, const void* a, const void* e, const void* m) {
    return r == nullptr || a == nullptr || e == nullptr || m == nullptr;
}

struct Operands {
    const VRQ_BIGINT& base;
    const VRQ_BIGINT& exponent;
    const VRQ_BIGINT& modulus;
    bool is_public; // exponent and modulus
};

enum class Outcome { kDone, kNoMemory, kNotStored };

// Kernels like whole blocks of 4 limbs, and a Montgomery radix only has to be above the modulus.
constexpr std::size_t round_up_to_4(std::size_t n) { return (n + 3) & ~std::size_t{3}; }

// r = base^exponent mod modulus for an exponent that is not 0 and a modulus above 1. The area holds
// copies of the operands, so r may be one of them; it is wiped at the end.
Outcome power(VRQ_BIGINT& r, const Operands& in, VRQ_BIGINT& area) {
    const bool odd = is_odd(in.modulus);
    const std::size_t modulus_words = value_words(in.modulus);
    const std::size_t base_words = in.is_public ? value_words(in.base) : word_count(in.base);
    const std::size_t exponent_words = word_count(in.exponent);
    const std::size_t exponent_len = limbs_for(exponent_words);

    ModExp job = {};
    job.base_len = base_words != 0 ? limbs_for(base_words) : 1;
    job.exponent_bits = in.is_public ? value_bits(in.exponent) : 32 * exponent_words;
    job.len = odd ? round_up_to_4(limbs_for(modulus_words)) : limbs_for(modulus_words);
    job.modulus_bits = value_bits(in.modulus);
    job.is_public = in.is_public;
    const ModExpKernel& kernel = mod_exp_kernel(job);
    const std::size_t operands = 2 * job.len + job.base_len + exponent_len;
    const std::size_t size = operands + (odd ? kernel.scratch(job) : mod_exp_any_scratch(job));
    if (!grow_scratch(area, size)) return Outcome::kNoMemory;

    Limb* const modulus = limbs_of(area.data);
    Limb* const base = modulus + job.len;
    Limb* const exponent = base + job.base_len;
    Limb* const scratch = modulus + operands;
    words_to_limbs(modulus, job.len, in.modulus.data, modulus_words);
    words_to_limbs(base, job.base_len, in.base.data, base_words);
    words_to_limbs(exponent, exponent_len, in.exponent.data, exponent_words);
    job.modulus = modulus;
    job.base = base;
    job.exponent = exponent;
    job.r = exponent + exponent_len;
    if (odd) {
        kernel.run(job, scratch);
    } else {
        mod_exp_any(job, scratch);
    }
    const bool stored = store_value(r, job.r, job.len);
    wipe(area.data, size * sizeof(Limb));
    return stored ? Outcome::kDone : Outcome::kNotStored;
}

using Pair = const VRQ_BIGINT* const[2];

// r = base[0]^exponent[0] * base[1]^exponent[1] mod m for an odd modulus above 1, all public.
bool power2(VRQ_BIGINT& r, const Pair& base, const Pair& exponent, const VRQ_BIGINT& m,
            VRQ_BIGINT& area) {
    ModExp2 job = {};
    job.len = round_up_to_4(value_limbs(m));
    std::size_t operands = 2 * job.len;
    std::size_t exponent_len[2];
    for (int i = 0; i < 2; ++i) {
        job.base_len[i] = std::max<std::size_t>(value_limbs(*base[i]), 1);
        job.exponent_bits[i] = value_bits(*exponent[i]);
        exponent_len[i] = value_limbs(*exponent[i]);
        operands += job.base_len[i] + exponent_len[i];
    }
    if (!grow_scratch(area, operands + mod_exp2_scratch(job))) return false;

    Limb* const modulus = limbs_of(area.data);
    load_value(modulus, job.len, m);
    job.modulus = modulus;
    job.r = modulus + job.len;
    Limb* next = job.r + job.len;
    for (int i = 0; i < 2; ++i) {
        load_value(next, job.base_len[i], *base[i]);
        job.base[i] = std::exchange(next, next + job.base_len[i]);
        load_value(next, exponent_len[i], *exponent[i]);
        job.exponent[i] = std::exchange(next, next + exponent_len[i]);
    }
    mod_exp2(job, next);
    return store_value(r, job.r, job.len);
}

u32 mod_exp_mont(VRQ_BIGINT& r, const Operands& in, VRQ_BIGINT_POOL* pool) {
    constexpr u32 kFunction = VRQ_F_MOD_EXP_MONT_BIGINT;
    Scratch<1> scratch(pool);
    if (!scratch.open()) return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);
    if (is_zero(in.exponent)) return store_word(r, 1) ? 0 : fail(kFunction, VRQ_ERR_MALLOC);
    if (!is_odd(in.modulus)) return kNoContext;
    if (value_bits(in.modulus) == 1) {
        r.used = 0;
        return 0;
    }

    VRQ_BIGINT* const area = scratch.take();
    if (area == nullptr) return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);
    return power(r, in, *area) == Outcome::kDone ? 0 : fail(kFunction, VRQ_ERR_MALLOC);
}

} // namespace

u32 VRQ_Mod_Exp_Mont_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* e,
                            const VRQ_BIGINT* m, VRQ_BIGINT_POOL* pool) {
    if (any_null(r, a, e, m)) return fail(VRQ_F_MOD_EXP_MONT_BIGINT, VRQ_ERR_NULL_INPUT);
    return mod_exp_mont(*r, {*a, *e, *m, false}, pool);
}

u32 vrq::mod_exp_mont_var(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* e,
                          const VRQ_BIGINT* m, VRQ_BIGINT_POOL* pool) {
    if (any_null(r, a, e, m)) return fail(VRQ_F_MOD_EXP_MONT_BIGINT, VRQ_ERR_NULL_INPUT);
    return mod_exp_mont(*r, {*a, *e, *m, true}, pool);
}

u32 vrq::mod_exp2_mont_var(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* e,
                           const VRQ_BIGINT* b, const VRQ_BIGINT* f, const VRQ_BIGINT* m,
                           VRQ_BIGINT_POOL* pool) {
    constexpr u32 kFunction = VRQ_F_MOD_EXP_MONT_BIGINT;
    if (any_null(r, a, e, m) || b == nullptr || f == nullptr)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (!is_odd(*m)) return kNoContext;
    if (value_bits(*m) == 1) {
        r->used = 0;
        return 0;
    }
    Scratch<1> scratch(pool);
    VRQ_BIGINT* const area = scratch.take();
    if (area == nullptr) return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);
    return power2(*r, {a, b}, {e, f}, *m, *area) ? 0 : fail(kFunction, VRQ_ERR_MALLOC);
}

u32 VRQ_Mod_Exp_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* e, const VRQ_BIGINT* m,
                       VRQ_BIGINT_POOL* pool) {
    constexpr u32 kFunction = VRQ_F_MOD_EXP_BIGINT;
    if (any_null(r, a, e, m)) return fail(kFunction, VRQ_ERR_NULL_INPUT);

    Scratch<1> scratch(pool);
    if (!scratch.open()) return fail(kFunction, VRQ_ERR_START_BIGINT_POOL_FAIL);
    if (is_zero(*e)) return store_word(*r, 1) ? 0 : fail(kFunction, VRQ_ERR_SET_BIGINT_FAIL);
    if (is_zero(*m)) return fail(kFunction, VRQ_ERR_MOD_BIGINT_FAIL);
    if (value_bits(*m) == 1) {
        r->used = 0;
        return 0;
    }

    VRQ_BIGINT* const area = scratch.take();
    if (area == nullptr) return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);
    switch (power(*r, {*a, *e, *m, false}, *area)) {
    case Outcome::kDone:
        return 0;
    case Outcome::kNoMemory:
        return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);
    case Outcome::kNotStored:
        break;
    }
    return fail(kFunction, VRQ_ERR_SET_BIGINT_FAIL);
}
