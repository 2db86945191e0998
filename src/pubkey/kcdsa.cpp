// KCDSA (TTAK.KO-12.0001): the unit, loading of domain and keys, key pairs.
#include "talvern/kcdsa.h"
#include "bigint/residue.h"
#include "bigint/scope.h"
#include "foundation/scope.h"
#include "foundation/unit.h"
#include "pubkey/ff_params.h"
#include "pubkey/signature.h"
#include "talvern/module.h"

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_KCDSA, function, reason); }

// The record is part of the interface.
static_assert(sizeof(VRQ_KCDSA_UNIT) == 112 && offsetof(VRQ_KCDSA_UNIT, prng) == 8 &&
              offsetof(VRQ_KCDSA_UNIT, p) == 16 && offsetof(VRQ_KCDSA_UNIT, q) == 24 &&
              offsetof(VRQ_KCDSA_UNIT, g) == 32 && offsetof(VRQ_KCDSA_UNIT, x) == 40 &&
              offsetof(VRQ_KCDSA_UNIT, y) == 48 && offsetof(VRQ_KCDSA_UNIT, z) == 56 &&
              offsetof(VRQ_KCDSA_UNIT, direction) == 64 && offsetof(VRQ_KCDSA_UNIT, pool) == 72 &&
              offsetof(VRQ_KCDSA_UNIT, seed) == 80 && offsetof(VRQ_KCDSA_UNIT, count) == 92 &&
              offsetof(VRQ_KCDSA_UNIT, j) == 96 && offsetof(VRQ_KCDSA_UNIT, h) == 104);

// y = g^(x^-1 mod q) mod p, without a trace of x. Returns 0 or the reason.
u32 compute_y(VRQ_KCDSA_UNIT& unit) {
    Scratch<1> own(nullptr);
    VRQ_BIGINT* const inverse = own.take();
    if (VRQ_Mod_Inverse_BIGINT(inverse, unit.x, unit.q, nullptr) != 0)
        return VRQ_ERR_SUB_OPERATION_FAILURE;
    if (!make(unit.y) || !pad_residue(*inverse, *unit.q)) return VRQ_ERR_MEMORY_ALLOC;
    return VRQ_Mod_Exp_Mont_BIGINT(unit.y, unit.g, inverse, unit.p, unit.pool) == 0
               ? 0
               : VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL;
}

// A message that was begun ends; the unit stays initialised.
void forget_message(VRQ_KCDSA_UNIT& unit) {
    if (unit.digest != nullptr && VRQ_Init_DIGEST(unit.digest, unit.digest->algorithm) != 0)
        drop(unit.digest);
}

// Where a key pair comes from.
struct KeySource {
    u32 function;
    u32 digest;
};

u32 make_key_pair(VRQ_KCDSA_UNIT& unit, const KeySource& source) {
    if (!make(unit.x) || !make(unit.y)) return VRQ_ERR_MEMORY_ALLOC;
    if (ff::draw_below(*unit.x, source.digest, *unit.q, false) != 0) return VRQ_ERR_GET_RAND_FAIL;
    return compute_y(unit);
}

u32 generate_key_pair(VRQ_KCDSA_UNIT* unit, const KeySource& source) {
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr || !has_domain(*unit)) return fail(source.function, VRQ_ERR_NULL_INPUT);
    const ScopeExit wiping(wipe_spills);
    const u32 reason = make_key_pair(*unit, source);
    if (reason == 0) return 0;
    VRQ_Clear_BIGINT(unit->x);
    VRQ_Clear_BIGINT(unit->y);
    return fail(source.function, reason);
}

} // namespace

VRQ_KCDSA_UNIT* VRQ_New_KCDSA() {
    auto* unit = new_unit<VRQ_KCDSA_UNIT>();
    if (unit == nullptr) return nullptr;
    unit->pool = VRQ_New_BIGINT_Pool();
    unit->prng = VRQ_New_PRNG_Unit();
    if (unit->pool != nullptr && unit->prng != nullptr) return unit;
    VRQ_Free_KCDSA(unit);
    return nullptr;
}

void VRQ_Clean_KCDSA(VRQ_KCDSA_UNIT* unit) {
    if (unit == nullptr) return;
    if (unit->z != nullptr) forget_message(*unit);
    for (VRQ_BIGINT** member :
         {&unit->p, &unit->q, &unit->g, &unit->x, &unit->y, &unit->z, &unit->j, &unit->h})
        drop(*member);
    ff::drop_seed(unit->seed, unit->seed_length);
    unit->count = 0;
}

void VRQ_Free_KCDSA(VRQ_KCDSA_UNIT* unit) {
    if (unit == nullptr) return;
    VRQ_Clean_KCDSA(unit);
    drop(unit->digest);
    drop(unit->prng);
    drop(unit->pool);
    release(unit);
}

u32 VRQ_Set_KCDSA_Params(VRQ_KCDSA_UNIT* unit, const VRQ_BIGINT* p, const VRQ_BIGINT* q,
                         const VRQ_BIGINT* g, const VRQ_BIGINT* x, const VRQ_BIGINT* y) {
    constexpr u32 kFunction = VRQ_F_SET_KCDSA_PARAMS;
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    const bool is_complete = p != nullptr && q != nullptr && g != nullptr;

    const ScopeExit wiping(wipe_spills);
    // The values may be those that cleaning the unit releases.
    VRQ_KCDSA_UNIT next{};
    u32 reason = is_complete ? 0 : VRQ_ERR_INVALID_INPUT;
    if (is_complete) {
        const bool copied = put(next.p, p) && put(next.q, q) && put(next.g, g) &&
                            put_given(next.x, x) && put_given(next.y, y);
        if (!copied) reason = VRQ_ERR_MEMORY_ALLOC;
        if (copied && x != nullptr && y == nullptr) reason = compute_y(next);
    }
    VRQ_Clean_KCDSA(unit);
    if (reason != 0) {
        VRQ_Clean_KCDSA(&next);
        return fail(kFunction, reason);
    }
    unit->p = next.p;
    unit->q = next.q;
    unit->g = next.g;
    unit->x = next.x;
    unit->y = next.y;
    return 0;
}

u32 VRQ_Get_KCDSA_Length(const VRQ_KCDSA_UNIT* unit) {
    if (VRQ_Crypto_Initialize() != 0 || unit == nullptr) return 0;
    return static_cast<u32>(byte_length(unit->q));
}

u32 VRQ_Generate_KCDSA_Key_Pair_Ex(VRQ_KCDSA_UNIT* unit) {
    return generate_key_pair(unit, {VRQ_F_GENERATE_KCDSA_KEY_PAIR_EX, VRQ_ID_SHA256});
}

u32 VRQ_Generate_KCDSA_Key_Pair(VRQ_KCDSA_UNIT* unit) {
    return generate_key_pair(unit, {VRQ_F_GENERATE_KCDSA_KEY_PAIR, VRQ_ID_HAS160});
}

u32 vrq_Get_Rand_KCDSA_BIGINT(VRQ_KCDSA_UNIT*, u32 digest, VRQ_BIGINT* out, const VRQ_BIGINT* q) {
    return ff::draw({VRQ_L_KCDSA, VRQ_F_GET_RAND_KCDSA_BIGINT}, digest, out, q);
}
