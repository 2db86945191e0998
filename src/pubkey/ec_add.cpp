// The affine group law (ANSI X9.62, B.3) and multiplication by it, over any modulus.
#include "bigint/record.h"
#include "bigint/scope.h"
#include "foundation/scope.h"
#include "pubkey/ec_affine.h"
#include "pubkey/ec_records.h"

using namespace vrq;

namespace {

using OwnedPool = Owned<VRQ_BIGINT_POOL, VRQ_Free_BIGINT_Pool>;

// Residues modulo a number above 0. A failure sticks: the operations after it do nothing.
class Residues {
  public:
    Residues(const VRQ_BIGINT& modulus, VRQ_BIGINT_POOL* pool)
        : modulus_(&modulus), pool_(pool), scratch_(pool), ok_(scratch_.open()) {}

    bool ok() const { return ok_; }

    VRQ_BIGINT* take() {
        VRQ_BIGINT* const record = ok_ ? scratch_.take() : nullptr;
        ok_ = record != nullptr;
        return record;
    }

    VRQ_BIGINT* residue(const VRQ_BIGINT& a) {
        VRQ_BIGINT* const r = take();
        check(ok_ && VRQ_Div_BIGINT(nullptr, r, &a, modulus_, pool_) == 0);
        return r;
    }

    void mul(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b) {
        check(ok_ && VRQ_Mod_Mtp_BIGINT(r, a, b, modulus_, pool_) == 0);
    }

    void sub(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b) {
        check(ok_ && VRQ_Mod_Sub_BIGINT(r, a, b, modulus_, pool_) == 0);
    }

    // r = a + b, not reduced.
    void add(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b) {
        check(ok_ && VRQ_Add_BIGINT(r, a, b, pool_) == 0);
    }

    // 0 where there is no inverse.
    void invert(VRQ_BIGINT* r) {
        if (!ok_) return;
        const u32 status = VRQ_Mod_Inverse_BIGINT(r, r, modulus_, pool_);
        if (status == make_status(VRQ_L_BIGINT, VRQ_F_MOD_INVERSE_BIGINT, VRQ_ERR_EUCLID_FAIL)) {
            r->used = 0;
        } else {
            check(status == 0);
        }
    }

    bool equal(const VRQ_BIGINT* a, const VRQ_BIGINT* b) const {
        return ok_ && VRQ_Cmp_BIGINT(a, b) == 0;
    }

  private:
    void check(bool done) { ok_ = ok_ && done; }

    const VRQ_BIGINT* modulus_;
    VRQ_BIGINT_POOL* pool_;
    Scratch<12> scratch_;
    bool ok_;
};

bool set_infinity(VRQ_ECPOINT& out) {
    constexpr VRQ_BIGINT kZero = {};
    return assign_point(out, kZero, kZero);
}

// The slope of the line through P and Q, or of the tangent at P, as numerator and denominator.
struct Slope {
    VRQ_BIGINT* over;
    VRQ_BIGINT* under;
};

void tangent(Residues& field, Slope& slope, const VRQ_BIGINT* x, const VRQ_BIGINT* y,
             const VRQ_BIGINT* a) {
    field.mul(slope.under, x, x);
    field.add(slope.over, slope.under, slope.under);
    field.add(slope.over, slope.over, slope.under);
    field.add(slope.over, slope.over, a);
    field.add(slope.under, y, y);
}

} // namespace

bool vrq::assign_point(VRQ_ECPOINT& out, const VRQ_BIGINT& x, const VRQ_BIGINT& y) {
    if (out.x == nullptr) out.x = VRQ_New_BIGINT();
    if (out.y == nullptr) out.y = VRQ_New_BIGINT();
    if (!has_coordinates(out)) return false;
    if (!grow(*out.x, word_count(x)) || !grow(*out.y, word_count(y))) return false;
    return VRQ_Copy_BIGINT(out.x, &x) == 0 && VRQ_Copy_BIGINT(out.y, &y) == 0;
}

bool vrq::affine_add(VRQ_ECPOINT& out, const VRQ_ECURVE& curve, const VRQ_ECPOINT& P,
                     const VRQ_ECPOINT& Q, VRQ_BIGINT_POOL* pool) {
    if (vrq_Is_ECPOINT_Zero(&P) != 0) return assign_point(out, *Q.x, *Q.y);
    if (vrq_Is_ECPOINT_Zero(&Q) != 0) return assign_point(out, *P.x, *P.y);
    if (is_zero(*curve.prime)) return set_infinity(out); // nothing is defined modulo 0

    Residues field(*curve.prime, pool);
    const VRQ_BIGINT* const x1 = field.residue(*P.x);
    const VRQ_BIGINT* const y1 = field.residue(*P.y);
    const VRQ_BIGINT* const x2 = field.residue(*Q.x);
    const VRQ_BIGINT* const y2 = field.residue(*Q.y);
    Slope slope = {field.take(), field.take()};
    VRQ_BIGINT* const zero = field.take();
    VRQ_BIGINT* const x3 = field.take();
    VRQ_BIGINT* const y3 = field.take();
    field.sub(y3, zero, y2);
    if (field.equal(x1, x2) && field.equal(y1, y3)) return set_infinity(out);

    if (field.equal(x1, x2) && field.equal(y1, y2)) {
        if (curve.a == nullptr) return false;
        tangent(field, slope, x1, y1, curve.a);
    } else {
        field.sub(slope.over, y2, y1);
        field.sub(slope.under, x2, x1);
    }
    VRQ_BIGINT* const lambda = slope.over;
    field.invert(slope.under);
    field.mul(lambda, slope.over, slope.under);
    field.mul(x3, lambda, lambda);
    field.sub(x3, x3, x1);
    field.sub(x3, x3, x2);
    field.sub(y3, x1, x3);
    field.mul(y3, y3, lambda);
    field.sub(y3, y3, y1);
    return field.ok() && assign_point(out, *x3, *y3);
}

// Signed binary method (ANSI X9.62, D.3.2): the digits are those of 3k - k.
bool vrq::affine_multiply(VRQ_ECPOINT& out, const VRQ_ECURVE& curve, const VRQ_ECPOINT& P,
                          const VRQ_BIGINT& k, VRQ_BIGINT_POOL* pool) {
    Scratch<4> scratch(pool);
    VRQ_BIGINT* const h = scratch.take();
    VRQ_ECPOINT sum = {scratch.take(), scratch.take()};
    const VRQ_ECPOINT minus_p = {P.x, scratch.take()};
    if (h == nullptr || !has_coordinates(sum) || minus_p.y == nullptr) return false;
    VRQ_BIGINT* const zero = h;
    if (VRQ_Mod_Sub_BIGINT(minus_p.y, zero, P.y, curve.prime, pool) != 0) return false;
    if (VRQ_Copy_BIGINT(h, &k) != 0 || VRQ_Mtp_BIGINT_Word(h, 3) != 0) return false;
    if (!assign_point(sum, *P.x, *P.y)) return false;

    for (auto i = static_cast<i32>(value_bits(*h)) - 2; i > 0; --i) {
        if (!affine_add(sum, curve, sum, sum, pool)) return false;
        const u32 in_h = VRQ_Is_BIGINT_Bit_Set(h, i);
        const u32 in_k = VRQ_Is_BIGINT_Bit_Set(&k, i);
        if (in_h == in_k) continue;
        if (!affine_add(sum, curve, sum, in_h != 0 ? P : minus_p, pool)) return false;
    }
    return assign_point(out, *sum.x, *sum.y);
}

u32 vrq_Negate_ECC(VRQ_ECPOINT* out, const VRQ_ECURVE* curve, const VRQ_ECPOINT* P) {
    if (out == nullptr || curve == nullptr || P == nullptr) return 1;
    if (curve->prime == nullptr || !has_coordinates(*P)) return 1;

    const OwnedPool pool(VRQ_New_BIGINT_Pool());
    Scratch<1> scratch(pool.get());
    constexpr VRQ_BIGINT kZero = {};
    VRQ_BIGINT* const y = scratch.take();
    if (pool == nullptr || y == nullptr) return 1;
    if (VRQ_Mod_Sub_BIGINT(y, &kZero, P->y, curve->prime, pool.get()) != 0) return 1;
    return assign_point(*out, *P->x, *y) ? 0 : 1;
}

u32 vrq_Add_Fp_ECC(VRQ_ECPOINT* out, const VRQ_ECURVE* curve, const VRQ_ECPOINT* P,
                   const VRQ_ECPOINT* Q) {
    if (out == nullptr || curve == nullptr || P == nullptr || Q == nullptr) return 1;
    if (curve->prime == nullptr) return 1;
    if (!has_coordinates(*P)) {
        return has_coordinates(*Q) && assign_point(*out, *Q->x, *Q->y) ? 0 : 1;
    }
    if (!has_coordinates(*Q)) return assign_point(*out, *P->x, *P->y) ? 0 : 1;

    const OwnedPool pool(VRQ_New_BIGINT_Pool());
    if (pool == nullptr) return 1;
    return affine_add(*out, *curve, *P, *Q, pool.get()) ? 0 : 1;
}
