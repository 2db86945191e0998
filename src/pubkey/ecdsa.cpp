// The ECDSA unit: life cycle, parameters, messages. Signing and verification are in ecdsa_sign.cpp.
#include "talvern/ecdsa.h"
#include "foundation/unit.h"
#include "pubkey/ec_records.h"
#include "pubkey/ecdsa_sign.h"
#include "talvern/module.h"

#include <cstddef>
#include <utility>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_ECDSA, function, reason); }

// The record is part of the interface.
static_assert(sizeof(VRQ_ECDSA_UNIT) == 72 && offsetof(VRQ_ECDSA_UNIT, digest) == 8 &&
              offsetof(VRQ_ECDSA_UNIT, prng) == 16 && offsetof(VRQ_ECDSA_UNIT, xseed) == 24 &&
              offsetof(VRQ_ECDSA_UNIT, xseed_length) == 32 && offsetof(VRQ_ECDSA_UNIT, k) == 40 &&
              offsetof(VRQ_ECDSA_UNIT, R) == 48 && offsetof(VRQ_ECDSA_UNIT, pool) == 56 &&
              offsetof(VRQ_ECDSA_UNIT, direction) == 64);

// Callers compare the status of a failed verification as a number; the reason has no name.
constexpr u32 kVerifyFailed = 0x6B;

// The unit comes without these after a Clean.
bool make_members(VRQ_ECDSA_UNIT& unit) {
    if (unit.key == nullptr) unit.key = VRQ_New_ECC_Key();
    if (unit.pool == nullptr) unit.pool = VRQ_New_BIGINT_Pool();
    if (unit.prng == nullptr) unit.prng = VRQ_New_PRNG_Unit();
    return unit.key != nullptr && unit.pool != nullptr && unit.prng != nullptr;
}

bool same(const VRQ_BIGINT* a, const VRQ_BIGINT* b) {
    return (a == nullptr && b == nullptr) || VRQ_Cmp_BIGINT(a, b) == 0;
}

// The parameters that k and R of the last signature belong to.
bool is_same_group(const VRQ_ECURVE& a, const VRQ_ECURVE& b) {
    return same(a.a, b.a) && same(a.prime, b.prime) && same(a.order, b.order) &&
           vrq_Cmp_ECPOINT(a.G, b.G) == 0;
}

VRQ_ECURVE* copy_of(const VRQ_ECURVE& curve) {
    VRQ_ECURVE* const copy = VRQ_New_ECURVE();
    if (copy == nullptr || VRQ_Set_ECURVE_Params(copy, 0, nullptr, curve.a, curve.b, curve.prime,
                                                 curve.G, curve.order) == 0)
        return copy;
    VRQ_Free_ECURVE(copy);
    return nullptr;
}

} // namespace

VRQ_ECDSA_UNIT* VRQ_New_ECDSA() {
    auto* const unit = new_unit<VRQ_ECDSA_UNIT>();
    if (unit == nullptr || make_members(*unit)) return unit;
    VRQ_Free_ECDSA(unit);
    return nullptr;
}

void VRQ_Clean_ECDSA(VRQ_ECDSA_UNIT* unit) {
    if (unit == nullptr) return;
    VRQ_Free_ECC_Key(unit->key);
    drop(unit->digest);
    drop(unit->prng); // before the pool, which it may share
    wipe_and_release(unit->xseed, unit->xseed_length);
    drop(unit->k);
    drop(unit->R);
    drop(unit->pool);
    clear_record(*unit);
}

void VRQ_Free_ECDSA(VRQ_ECDSA_UNIT* unit) {
    if (unit == nullptr) return;
    VRQ_Clean_ECDSA(unit);
    release(unit);
}

u32 VRQ_Set_ECDSA_Params(VRQ_ECDSA_UNIT* unit, const VRQ_ECURVE* curve, const VRQ_BIGINT* d,
                         const VRQ_ECPOINT* Q) {
    constexpr u32 kFunction = VRQ_F_INIT_ECDSA;
    if (unit == nullptr || curve == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (!make_members(*unit)) return fail(kFunction, VRQ_ERR_MEM_ALLOC);

    VRQ_ECC_KEY& key = *unit->key;
    VRQ_ECURVE* const copy = copy_of(*curve);
    if (copy == nullptr) return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    // d and Q may be values of the unit that go: those of the last curve, k or R.
    VRQ_ECURVE* const last = std::exchange(key.curve, copy);
    const bool copied = put_given(key.d, d) && put_given(key.Q, Q);
    if (last != nullptr && !is_same_group(*last, *copy)) {
        drop(unit->k);
        drop(unit->R);
    }
    VRQ_Free_ECURVE(last);
    return copied ? 0 : fail(kFunction, VRQ_ERR_MEM_ALLOC);
}

u32 VRQ_Init_ECDSA(VRQ_ECDSA_UNIT* unit, u32 algorithm, i32 direction) {
    constexpr u32 kFunction = VRQ_F_INIT_ECDSA;
    if (VRQ_Is_Proven() == 1) return fail(kFunction, VRQ_ERR_NOT_PROVEN_ALGORITHM);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (unit->digest == nullptr) unit->digest = VRQ_New_DIGEST_Unit();
    if (unit->digest == nullptr) return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    if (VRQ_Init_DIGEST(unit->digest, algorithm) != 0)
        return fail(kFunction, VRQ_ERR_INIT_DIGEST_FAIL);
    unit->direction = direction;
    return 0;
}

u32 VRQ_Update_ECDSA(VRQ_ECDSA_UNIT* unit, const u8* data, i32 length) {
    constexpr u32 kFunction = VRQ_F_UPDATE_ECDSA;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (VRQ_Update_DIGEST(unit->digest, data, length) != 0)
        return fail(kFunction, VRQ_ERR_UPDATE_DIGEST_FAIL);
    return 0;
}

u32 VRQ_Final_ECDSA(VRQ_ECDSA_UNIT* unit, u8* r, u32* r_length, u8* s, u32* s_length) {
    constexpr u32 kFunction = VRQ_F_FINAL_ECDSA;
    if (unit == nullptr || r == nullptr || s == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (unit->direction != 1) {
        return r_length != nullptr && s_length != nullptr &&
                       ecdsa_verify(*unit, {r, *r_length}, {s, *s_length})
                   ? 0
                   : fail(kFunction, kVerifyFailed);
    }
    if (unit->key == nullptr || unit->key->d == nullptr)
        return fail(kFunction, VRQ_ERR_NO_PRIVATE_VALUE);
    if (r_length == nullptr || s_length == nullptr ||
        ecdsa_sign(*unit, {r, r_length}, {s, s_length}) != 0)
        return fail(kFunction, VRQ_ERR_SIGN_DSA_FAIL);
    return 0;
}
