// The RSA private operation: key check, blinding, Chinese remainder theorem. Its temporaries are
// records of their own, wiped at once: words in the pool would stay until the next operation.
#include "bigint/mod_exp.h"
#include "bigint/record.h"
#include "bigint/scope.h"
#include "foundation/scope.h"
#include "foundation/status.h"
#include "pubkey/rsa_key.h"
#include "pubkey/signature.h"
#include "talvern/random.h"
#include "talvern/rsa.h"

using namespace vrq;

namespace {

// The result, not a status, of a function that lacks a part of the key or a frame of the pool.
constexpr u32 kMissing = 1;

// Draws that may fall below the lower bound before the bound is built into the draw.
constexpr int kPlainDraws = 64;

// The product is 1 modulo prime - 1.
bool is_one_modulo_less_one(const VRQ_BIGINT* product, const VRQ_BIGINT* prime,
                            VRQ_BIGINT_POOL* pool) {
    Scratch<2> temporaries(nullptr);
    VRQ_BIGINT* const less_one = temporaries.take();
    VRQ_BIGINT* const rest = temporaries.take();
    return VRQ_Copy_BIGINT(less_one, prime) == 0 && VRQ_Sub_BIGINT_Word(less_one, 1) == 0 &&
           !is_zero(*less_one) &&
           VRQ_Mod_Sub_BIGINT(rest, product, VRQ_Value_One_BIGINT(), less_one, pool) == 0 &&
           is_zero(*rest);
}

// r = a * b + c, with a zero factor too. r is none of them.
u32 multiply_and_add(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b, const VRQ_BIGINT* c,
                     VRQ_BIGINT_POOL* pool) {
    if (is_zero(*a) || is_zero(*b)) return VRQ_Copy_BIGINT(r, c);
    if (const u32 s = VRQ_Mtp_BIGINT(r, a, b, pool); s != 0) return s;
    return VRQ_Add_BIGINT(r, r, c, pool);
}

// r = lowest + x for a random x that is at most 2^bits - 1 - lowest.
u32 draw_above(VRQ_BIGINT* r, const VRQ_BIGINT* lowest, u32 bits) {
    Scratch<2> temporaries(nullptr);
    VRQ_BIGINT* const span = temporaries.take();
    VRQ_BIGINT* const x = temporaries.take();
    if (const u32 s = VRQ_Set_BIGINT_Bit(span, static_cast<i32>(bits)); s != 0) return s;
    if (const u32 s = VRQ_Sub_BIGINT(span, span, lowest, nullptr); s != 0) return s;
    if (const u32 s = VRQ_Sub_BIGINT_Word(span, 1); s != 0) return s;
    if (is_zero(*span)) return VRQ_Copy_BIGINT(r, lowest);
    do {
        if (const u32 s = VRQ_Get_Rand_BIGINT_Ex(x, VRQ_Get_BIGINT_Bits_Length(span)); s != 0)
            return s;
    } while (VRQ_Cmp_BIGINT(x, span) > 0);
    return VRQ_Add_BIGINT(r, lowest, x, nullptr);
}

// A random r of as many bits as lowest that is not below lowest. Where the room above lowest is
// narrow, drawing until one falls there would not end; then the draw is made there at once, which
// gives the same distribution.
u32 draw_factor(VRQ_BIGINT* r, const VRQ_BIGINT* lowest) {
    const u32 bits = VRQ_Get_BIGINT_Bits_Length(lowest);
    for (int i = 0; i < kPlainDraws; ++i) {
        if (const u32 s = VRQ_Get_Rand_BIGINT_Ex(r, bits); s != 0) return s;
        if (VRQ_Cmp_BIGINT(lowest, r) <= 0) return 0;
    }
    return draw_above(r, lowest, bits);
}

u32 make_pair(VRQ_RSA_UNIT& unit) {
    Scratch<2> temporaries(nullptr);
    VRQ_BIGINT* const less_one = temporaries.take();
    VRQ_BIGINT* const r = temporaries.take();
    if (const u32 s = VRQ_Copy_BIGINT(less_one, unit.n); s != 0) return s;
    if (const u32 s = VRQ_Sub_BIGINT_Word(less_one, 1); s != 0) return s;
    if (const u32 s = draw_factor(r, less_one); s != 0) return s;
    if (const u32 s = mod_exp_mont_var(unit.blind_A, r, unit.e, unit.n, unit.pool); s != 0)
        return s;
    return VRQ_Mod_Inverse_BIGINT(unit.blind_Ai, r, unit.n, unit.pool);
}

bool has_crt(const VRQ_RSA_UNIT& unit) {
    return unit.p != nullptr && unit.q != nullptr && unit.dP != nullptr && unit.dQ != nullptr &&
           unit.qInv != nullptr;
}

// Callers rely on numbers of hardly more bits than qInv to be raised to d itself.
bool takes_crt(const VRQ_RSA_UNIT& unit, const VRQ_BIGINT* c) {
    return unit.use_crt != 0 && (unit.key_flags & VRQ_RSA_HAS_CRT) != 0 && has_crt(unit) &&
           (unit.mode & 0xFF) != VRQ_RSA_RAW &&
           VRQ_Get_BIGINT_Bits_Length(c) > VRQ_Get_BIGINT_Bits_Length(unit.qInv) + 8;
}

} // namespace

// The least common multiple of p - 1 and q - 1 divides e * d - 1 exactly when both of them do, so
// that it need not be computed; the multiple 1, of p = q = 2, has no residue 1.
u32 verify_RSA_KEY(const VRQ_RSA_UNIT* unit) {
    constexpr u32 kPassed = 0;
    constexpr u32 kFailed = 1;
    if (unit == nullptr || !rsa::can_check(*unit) || is_zero(*unit->e) || is_zero(*unit->d))
        return kFailed;
    if (VRQ_Get_BIGINT_Word(unit->p) == 2 && VRQ_Get_BIGINT_Word(unit->q) == 2) return kFailed;

    const ScopeExit forgetting([unit] { rsa::forget(*unit); });
    Scratch<1> temporaries(nullptr);
    VRQ_BIGINT* const product = temporaries.take();
    if (VRQ_Mtp_BIGINT(product, unit->e, unit->d, unit->pool) != 0) return kFailed;
    return is_one_modulo_less_one(product, unit->p, unit->pool) &&
                   is_one_modulo_less_one(product, unit->q, unit->pool)
               ? kPassed
               : kFailed;
}

u32 crt_RSA(VRQ_RSA_UNIT* unit, VRQ_BIGINT* out, const VRQ_BIGINT* in) {
    if (unit == nullptr || out == nullptr || in == nullptr || !has_crt(*unit)) return kMissing;

    VRQ_BIGINT_POOL* const pool = unit->pool;
    const ScopeExit forgetting([unit] { rsa::forget(*unit); });
    Scratch<4> temporaries(nullptr);
    VRQ_BIGINT* const m1 = temporaries.take();
    VRQ_BIGINT* const m2 = temporaries.take();
    VRQ_BIGINT* const h = temporaries.take();
    VRQ_BIGINT* const sum = temporaries.take();
    if (const u32 s = VRQ_Mod_Exp_Mont_BIGINT(m1, in, unit->dP, unit->p, pool); s != 0) return s;
    if (const u32 s = VRQ_Mod_Exp_Mont_BIGINT(m2, in, unit->dQ, unit->q, pool); s != 0) return s;
    if (const u32 s = VRQ_Mod_Sub_BIGINT(h, m1, m2, unit->p, pool); s != 0) return s;
    if (const u32 s = VRQ_Mod_Mtp_BIGINT(h, h, unit->qInv, unit->p, pool); s != 0) return s;
    if (const u32 s = multiply_and_add(sum, h, unit->q, m2, pool); s != 0) return s;
    return VRQ_Copy_BIGINT(out, sum);
}

u32 generate_RSA_BLINDING(VRQ_RSA_UNIT* unit) {
    if (unit == nullptr || unit->n == nullptr || unit->e == nullptr || unit->pool == nullptr ||
        VRQ_Get_BIGINT_Word(unit->n) == 1 || !frame_available(unit->pool))
        return kMissing;
    u32 status = kMissing;
    if (make(unit->blind_A) && make(unit->blind_Ai)) status = make_pair(*unit);
    if (status != 0) rsa::drop_blinding(*unit);
    rsa::forget(*unit);
    return status;
}

void vrq::rsa::drop_blinding(VRQ_RSA_UNIT& unit) {
    drop(unit.blind_A);
    drop(unit.blind_Ai);
}

u32 vrq::rsa::blind(VRQ_RSA_UNIT& unit, VRQ_BIGINT* c) {
    if (unit.blind_A == nullptr) {
        if (const u32 s = generate_RSA_BLINDING(&unit); s != 0) return s;
    }
    return VRQ_Mod_Mtp_BIGINT(c, c, unit.blind_A, unit.n, unit.pool);
}

u32 vrq::rsa::raise_private(VRQ_RSA_UNIT& unit, VRQ_BIGINT* r, const VRQ_BIGINT* c) {
    if (takes_crt(unit, c)) return crt_RSA(&unit, r, c);
    return VRQ_Mod_Exp_Mont_BIGINT(r, c, unit.d, unit.n, unit.pool);
}

u32 vrq::rsa::unblind(VRQ_RSA_UNIT& unit, VRQ_BIGINT* m) {
    return VRQ_Mod_Mtp_BIGINT(m, m, unit.blind_Ai, unit.n, unit.pool);
}

u32 vrq::rsa::raise_public(VRQ_RSA_UNIT& unit, VRQ_BIGINT* r, const VRQ_BIGINT* a) {
    return mod_exp_mont_var(r, a, unit.e, unit.n, unit.pool);
}
