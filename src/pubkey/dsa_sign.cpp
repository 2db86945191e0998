// DSA key pairs, signatures and their verification (FIPS 186-2, sections 4 to 6).
#include "bigint/mod_exp.h"
#include "bigint/residue.h"
#include "bigint/scope.h"
#include "foundation/scope.h"
#include "pubkey/dsa_common.h"
#include "pubkey/signature.h"
#include "talvern/dsa.h"
#include "talvern/module.h"

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_DSA, function, reason); }

bool any_null(const VRQ_DSA_UNIT* unit, const void* r, const void* r_length, const void* s,
              const void* s_length) {
    return unit == nullptr || r == nullptr || r_length == nullptr || s == nullptr ||
           s_length == nullptr || unit->digest == nullptr || !has_domain(*unit);
}

// r = (g^k mod p) mod q.
bool commitment(VRQ_BIGINT& r, const VRQ_DSA_UNIT& unit, const VRQ_BIGINT& k) {
    return VRQ_Mod_Exp_Mont_BIGINT(&r, unit.g, &k, unit.p, unit.pool) == 0 &&
           VRQ_Div_BIGINT(nullptr, &r, &r, unit.q, unit.pool) == 0;
}

// 2 <= y <= p - 2 (SP 800-89, section 5.3.1): keys of order 1 or 2 let everybody sign.
bool is_public_key(const VRQ_BIGINT& y, const VRQ_BIGINT& p, VRQ_BIGINT_POOL* pool) {
    if (!is_in_key_range(y, p)) return false;
    Scratch<1> scratch(pool);
    VRQ_BIGINT* const above = scratch.take();
    return above != nullptr && VRQ_Sub_BIGINT(above, &p, &y, pool) == 0 && value_bits(*above) >= 2;
}

} // namespace

u32 VRQ_Sign_DSA(VRQ_DSA_UNIT* unit, u8* r_out, u32* r_length, u8* s_out, u32* s_length) {
    constexpr u32 kFunction = VRQ_F_SIGN_DSA;
    if (any_null(unit, r_out, r_length, s_out, s_length) || unit->x == nullptr)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    const ScopeExit wiping(wipe_generation_spills);
    if (!start_prng(unit->prng, *unit->x, unit->xseed, static_cast<u32>(unit->xseed_length),
                    unit->pool))
        return fail(kFunction, VRQ_ERR_INIT_PRNG_FAIL);

    Scratch<4> scratch(unit->pool);
    VRQ_BIGINT* const e = scratch.take();
    VRQ_BIGINT* const k = scratch.take();
    VRQ_BIGINT* const r = scratch.take();
    VRQ_BIGINT* const s = scratch.take();
    if (e == nullptr || k == nullptr || r == nullptr || s == nullptr)
        return fail(kFunction, VRQ_ERR_START_BIGINT_POOL_FAIL);

    if (!final_residue(*e, unit->digest, *unit->q, unit->pool))
        return fail(kFunction, VRQ_ERR_FINAL_DIGEST_FAIL);
    if (!draw_secret(*k, *unit->prng, *unit->q))
        return fail(kFunction, VRQ_ERR_GET_RAND_DSA_BIGINT_FAIL);
    if (!commitment(*r, *unit, *k)) return fail(kFunction, VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL);
    if (!signature_equation(*s, *k, *e, *unit->x, *r, *unit->q, unit->pool))
        return fail(kFunction, VRQ_ERR_MOD_INVERSE_BIGINT_FAIL);
    if (is_zero(*r) || is_zero(*s) ||
        !write_signature({r_out, r_length}, {s_out, s_length}, *r, *s, *unit->q))
        return fail(kFunction, VRQ_ERR_MOD_MTP_BIGINT_FAIL);
    return 0;
}

u32 VRQ_Verify_DSA(VRQ_DSA_UNIT* unit, const u8* r_in, const u32* r_length, const u8* s_in,
                   const u32* s_length) {
    constexpr u32 kFunction = VRQ_F_VERIFY_DSA;
    if (any_null(unit, r_in, r_length, s_in, s_length) || unit->y == nullptr)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);

    Scratch<5> scratch(unit->pool);
    VRQ_BIGINT* const e = scratch.take();
    VRQ_BIGINT* const r = scratch.take();
    VRQ_BIGINT* const s = scratch.take();
    VRQ_BIGINT* const u = scratch.take();
    VRQ_BIGINT* const v = scratch.take();
    if (e == nullptr || r == nullptr || s == nullptr || u == nullptr || v == nullptr)
        return fail(kFunction, VRQ_ERR_START_BIGINT_POOL_FAIL);

    const VRQ_BIGINT& q = *unit->q;
    if (!final_residue(*e, unit->digest, q, unit->pool))
        return fail(kFunction, VRQ_ERR_FINAL_DIGEST_FAIL);
    if (!read_half(*r, {r_in, *r_length}, q) || !read_half(*s, {s_in, *s_length}, q))
        return fail(kFunction, VRQ_ERR_COMPARE_FAIL);
    if (!is_public_key(*unit->y, *unit->p, unit->pool))
        return fail(kFunction, VRQ_ERR_INVALID_KEY_PAIR);
    if (!verification_factors(*u, *v, *e, *r, *s, q, unit->pool))
        return fail(kFunction, VRQ_ERR_MOD_INVERSE_BIGINT_FAIL);
    if (mod_exp2_mont_var(s, unit->g, u, unit->y, v, unit->p, unit->pool) != 0)
        return fail(kFunction, VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL);
    if (VRQ_Div_BIGINT(nullptr, s, s, &q, unit->pool) != 0)
        return fail(kFunction, VRQ_ERR_MOD_MTP_BIGINT_FAIL);
    return VRQ_Cmp_BIGINT(s, r) == 0 ? 0 : fail(kFunction, VRQ_ERR_COMPARE_FAIL);
}

u32 VRQ_Generate_DSA_Key_Pair(VRQ_DSA_UNIT* unit) {
    constexpr u32 kFunction = VRQ_F_GENERATE_DSA_KEY_PAIR;
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr || !has_domain(*unit)) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (unit->pool == nullptr) unit->pool = VRQ_New_BIGINT_Pool();
    if (unit->prng == nullptr) unit->prng = VRQ_New_PRNG_Unit();
    if (!make(unit->x) || !make(unit->y) || unit->pool == nullptr || unit->prng == nullptr)
        return fail(kFunction, VRQ_ERR_MEMORY_ALLOC);

    const ScopeExit wiping(wipe_generation_spills);
    if (VRQ_Init_PRNG(unit->prng, VRQ_ID_SHA1, nullptr, 0, nullptr, 0, unit->pool) != 0)
        return fail(kFunction, VRQ_ERR_INIT_PRNG_FAIL);
    if (!draw_secret(*unit->x, *unit->prng, *unit->q))
        return fail(kFunction, VRQ_ERR_GET_RAND_DSA_BIGINT_FAIL);
    // Callers rely on the other function code of this status.
    if (VRQ_Mod_Exp_Mont_BIGINT(unit->y, unit->g, unit->x, unit->p, unit->pool) != 0)
        return fail(VRQ_F_GENERATE_DSA_KEY, VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL);
    return 0;
}
