// ECDSA signatures and their verification (ANSI X9.62, 5.3 and 5.4).
#include "pubkey/ecdsa_sign.h"

#include "bigint/residue.h"
#include "bigint/scope.h"
#include "foundation/scope.h"
#include "pubkey/ec_affine.h"
#include "pubkey/ec_multiply.h"
#include "pubkey/ec_records.h"

#include <algorithm>

namespace vrq {

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_ECDSA, function, reason); }

bool is_complete(const VRQ_ECURVE* curve) {
    return curve != nullptr && has_equation(*curve) && curve->order != nullptr &&
           curve->G != nullptr && has_coordinates(*curve->G) && !is_zero(*curve->order);
}

// The k and R of the next signature: a draw for the first one of a unit, then those of the last one
// doubled. Callers rely on the chain, which lets anyone compute the key from two signatures.
bool next_secret(VRQ_ECDSA_UNIT& unit, VRQ_BIGINT& k, VRQ_ECPOINT& R) {
    const VRQ_ECURVE& curve = *unit.key->curve;
    if (unit.k != nullptr && unit.R != nullptr && has_coordinates(*unit.R)) {
        return VRQ_Add_BIGINT(&k, unit.k, unit.k, unit.pool) == 0 &&
               affine_add(R, curve, *unit.R, *unit.R, unit.pool);
    }
    const std::size_t bits = std::min(value_bits(*curve.order), kDsaSecretBits);
    return draw_secret(k, *unit.prng, *curve.order) && pad_residue(k, *curve.order) &&
           ec_multiply(R, curve, *curve.G, k, bits, unit.pool);
}

bool keep_secret(VRQ_ECDSA_UNIT& unit, const VRQ_BIGINT& k, const VRQ_ECPOINT& R) {
    if (put(unit.k, &k) && put(unit.R, &R)) {
        set_used(*unit.k, word_count(*unit.k));
        return true;
    }
    drop(unit.k);
    drop(unit.R);
    return false;
}

// Whether the point has reduced coordinates that satisfy y^2 = x^3 + a x + b; (0, 0) is infinity.
bool is_on_curve(const VRQ_ECPOINT& point, const VRQ_ECURVE& curve, VRQ_BIGINT_POOL* pool) {
    if (!has_coordinates(point) || curve.b == nullptr || vrq_Is_ECPOINT_Zero(&point) != 0)
        return false;
    const VRQ_BIGINT& p = *curve.prime;
    if (!is_below_var(*point.x, p) || !is_below_var(*point.y, p)) return false;

    Scratch<2> scratch(pool);
    VRQ_BIGINT* const left = scratch.take();
    VRQ_BIGINT* const right = scratch.take();
    if (left == nullptr || right == nullptr) return false;
    return VRQ_Mod_Mtp_BIGINT(left, point.y, point.y, &p, pool) == 0 &&
           VRQ_Mod_Mtp_BIGINT(right, point.x, point.x, &p, pool) == 0 &&
           VRQ_Add_BIGINT(right, right, curve.a, pool) == 0 &&
           VRQ_Mod_Mtp_BIGINT(right, right, point.x, &p, pool) == 0 &&
           VRQ_Add_BIGINT(right, right, curve.b, pool) == 0 &&
           VRQ_Mod_Sub_BIGINT(left, left, right, &p, pool) == 0 && is_zero(*left);
}

} // namespace

u32 ecdsa_sign(VRQ_ECDSA_UNIT& unit, NumberOut r_out, NumberOut s_out) {
    constexpr u32 kFunction = VRQ_F_SIGN_ECDSA;
    const VRQ_ECC_KEY& key = *unit.key;
    if (!is_complete(key.curve)) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    const ScopeExit wiping(wipe_generation_spills);
    if (!start_prng(unit.prng, *key.d, unit.xseed, unit.xseed_length, unit.pool))
        return fail(kFunction, VRQ_ERR_INIT_PRNG_FAIL);

    Scratch<6> scratch(unit.pool);
    if (!scratch.open()) return fail(kFunction, VRQ_ERR_START_BIGINT_POOL_FAIL);
    VRQ_BIGINT* const e = scratch.take();
    VRQ_BIGINT* const k = scratch.take();
    VRQ_BIGINT* const r = scratch.take();
    VRQ_BIGINT* const s = scratch.take();
    VRQ_ECPOINT R = {scratch.take(), scratch.take()};
    if (e == nullptr || k == nullptr || r == nullptr || s == nullptr || !has_coordinates(R))
        return fail(kFunction, VRQ_ERR_GET_BIGINT_POOL_FAIL);

    const VRQ_BIGINT& n = *key.curve->order;
    if (!final_residue(*e, unit.digest, n, unit.pool))
        return fail(kFunction, VRQ_ERR_FINAL_DIGEST_FAIL);
    if (!next_secret(unit, *k, R) || !keep_secret(unit, *k, R))
        return fail(kFunction, VRQ_ERR_GET_RAND_DSA_BIGINT_FAIL);
    if (VRQ_Div_BIGINT(nullptr, r, R.x, &n, unit.pool) != 0)
        return fail(kFunction, VRQ_ERR_MOD_BIGINT_FAIL);
    if (is_zero(*r) || !signature_equation(*s, *k, *e, *key.d, *r, n, unit.pool) || is_zero(*s) ||
        !write_signature(r_out, s_out, *r, *s, n))
        return fail(kFunction, VRQ_ERR_MOD_INVERSE_BIGINT_FAIL);
    return 0;
}

bool ecdsa_verify(VRQ_ECDSA_UNIT& unit, NumberIn r_in, NumberIn s_in) {
    if (unit.key == nullptr || unit.key->Q == nullptr || !is_complete(unit.key->curve))
        return false;

    Scratch<7> scratch(unit.pool);
    VRQ_BIGINT* const e = scratch.take();
    VRQ_BIGINT* const r = scratch.take();
    VRQ_BIGINT* const s = scratch.take();
    VRQ_BIGINT* const u = scratch.take();
    VRQ_BIGINT* const v = scratch.take();
    VRQ_ECPOINT X = {scratch.take(), scratch.take()};
    if (e == nullptr || r == nullptr || s == nullptr || u == nullptr || v == nullptr ||
        !has_coordinates(X))
        return false;

    const VRQ_ECURVE& curve = *unit.key->curve;
    const VRQ_ECPOINT& Q = *unit.key->Q;
    const VRQ_BIGINT& n = *curve.order;
    if (!final_residue(*e, unit.digest, n, unit.pool)) return false;
    if (!read_half(*r, r_in, n) || !read_half(*s, s_in, n)) return false;
    if (!is_on_curve(Q, curve, unit.pool)) return false;
    if (!verification_factors(*u, *v, *e, *r, *s, n, unit.pool)) return false;
    if (!ec_multiply_two_var(X, curve, *u, *curve.G, *v, Q, unit.pool)) return false;
    if (vrq_Is_ECPOINT_Zero(&X) != 0) return false;
    return VRQ_Div_BIGINT(nullptr, u, X.x, &n, unit.pool) == 0 && VRQ_Cmp_BIGINT(u, r) == 0;
}

} // namespace vrq
