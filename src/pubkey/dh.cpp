// Diffie-Hellman over a subgroup of prime order (ANSI X9.42). Private keys take the exponentiation for
// secret exponents; checks of public values may take the time they need.
#include "talvern/dh.h"
#include "bigint/mod_exp.h"
#include "bigint/residue.h"
#include "bigint/scope.h"
#include "foundation/scope.h"
#include "foundation/unit.h"
#include "pubkey/ff_params.h"
#include "pubkey/signature.h"
#include "talvern/module.h"

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_DH, function, reason); }

// The records are part of the interface.
static_assert(sizeof(VRQ_DH_PARAMS) == 56 && offsetof(VRQ_DH_PARAMS, p) == 8 &&
              offsetof(VRQ_DH_PARAMS, q) == 16 && offsetof(VRQ_DH_PARAMS, g) == 24 &&
              offsetof(VRQ_DH_PARAMS, seed) == 32 && offsetof(VRQ_DH_PARAMS, count) == 44 &&
              offsetof(VRQ_DH_PARAMS, pool) == 48);
static_assert(sizeof(VRQ_DH_UNIT) == 48 && offsetof(VRQ_DH_UNIT, y) == 8 &&
              offsetof(VRQ_DH_UNIT, peer_y) == 16 && offsetof(VRQ_DH_UNIT, secret) == 24 &&
              offsetof(VRQ_DH_UNIT, pool) == 32 && offsetof(VRQ_DH_UNIT, params) == 40);

constexpr u32 kFreeExponentBytes = 32; // private keys where q is not known

void drop(VRQ_DH_PARAMS*& params) {
    VRQ_Free_DH_Params(params);
    params = nullptr;
}

// g^q mod p = 1. Returns 0 or a status.
u32 check_order(const VRQ_BIGINT* p, const VRQ_BIGINT* q, const VRQ_BIGINT* g,
                VRQ_BIGINT_POOL* pool) {
    Scratch<1> scratch(pool);
    VRQ_BIGINT* const power = scratch.take();
    if (power == nullptr || mod_exp_mont_var(power, g, q, p, pool) != 0)
        return fail(VRQ_F_INIT_DH, VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL);
    const bool is_one = VRQ_Get_BIGINT_Word(power) == 1;
    return is_one ? 0 : fail(VRQ_F_INIT_DH, VRQ_ERR_INVALID_KEY_PAIR);
}

// 2 <= y < p, and of order q where q is known.
bool is_public_key(const VRQ_BIGINT& y, const VRQ_BIGINT& p, const VRQ_BIGINT* q,
                   VRQ_BIGINT_POOL* pool) {
    if (!is_in_key_range(y, p)) return false;
    if (q == nullptr) return true;
    Scratch<1> scratch(pool);
    VRQ_BIGINT* const power = scratch.take();
    return power != nullptr && mod_exp_mont_var(power, &y, q, &p, pool) == 0 &&
           VRQ_Get_BIGINT_Word(power) == 1;
}

// x with as many words as its bound has, so that the exponentiation does not see its length.
[[nodiscard]] bool power_of_secret(VRQ_BIGINT* r, const VRQ_BIGINT* base, const VRQ_BIGINT* x,
                                   const VRQ_DH_PARAMS& params, VRQ_BIGINT_POOL* pool) {
    Scratch<1> own(nullptr);
    VRQ_BIGINT* const exponent = own.take();
    if (VRQ_Copy_BIGINT(exponent, x) != 0) return false;
    if (params.q != nullptr && !pad_residue(*exponent, *params.q)) return false;
    return VRQ_Mod_Exp_Mont_BIGINT(r, base, exponent, params.p, pool) == 0;
}

u32 draw_x(VRQ_BIGINT& x, const VRQ_BIGINT* q) {
    if (q != nullptr)
        return ff::draw_below(x, VRQ_ID_SHA256, *q, false) == 0 ? 0 : VRQ_ERR_GET_RAND_FAIL;
    SecretBytes<kFreeExponentBytes> bytes;
    if (VRQ_Rand_Bytes(bytes.data(), kFreeExponentBytes) != 0) return VRQ_ERR_GET_RAND_FAIL;
    return read_number(x, bytes.data(), kFreeExponentBytes) ? 0 : VRQ_ERR_MEMORY_ALLOC;
}

// Returns 0 or the reason.
u32 make_key_pair(VRQ_DH_UNIT& unit) {
    const VRQ_DH_PARAMS& params = *unit.params;
    if (!frame_available(unit.pool)) return VRQ_ERR_START_BIGINT_POOL_FAIL;
    if (!make(unit.x) || !make(unit.y)) return VRQ_ERR_MEMORY_ALLOC;
    if (const u32 reason = draw_x(*unit.x, params.q); reason != 0) return reason;
    if (!power_of_secret(unit.y, params.g, unit.x, params, unit.pool))
        return VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL;
    return is_public_key(*unit.y, *params.p, params.q, unit.pool) ? 0 : VRQ_ERR_INVALID_KEY_PAIR;
}

constexpr ff::Reporter kGenerate = {VRQ_L_DH, VRQ_F_GENERATE_DH_PARAMS};

u32 search_params(VRQ_DH_PARAMS& params, u32 digest, ff::Lengths lengths) {
    if (params.pool == nullptr) params.pool = VRQ_New_BIGINT_Pool();
    if (params.pool == nullptr || !frame_available(params.pool))
        return kGenerate(VRQ_ERR_START_BIGINT_POOL_FAIL);
    for (VRQ_BIGINT** member : {&params.p, &params.q, &params.g}) {
        if (!make(*member)) return kGenerate(VRQ_ERR_NULL_INPUT);
        VRQ_Clear_BIGINT(*member);
    }
    if (!ff::make_seed(params.seed, params.seed_length, lengths.q_bits))
        return kGenerate(VRQ_ERR_MEMORY_ALLOC);

    Scratch<2> scratch(params.pool);
    const ff::Domain domain = {params.p,       params.q,    params.g,      scratch.take(),
                               scratch.take(), params.seed, &params.count, params.pool};
    if (domain.j == nullptr || domain.h == nullptr) return kGenerate(VRQ_ERR_NULL_INPUT);
    const ff::Plan plan = {kGenerate,           lengths, digest, ff::kFullLimit, true, nullptr,
                           ff::draw_random_seed};
    bool exhausted = false; // never: a new seed follows
    return ff::search(domain, plan, exhausted);
}

} // namespace

VRQ_DH_PARAMS* VRQ_New_DH_Params() {
    auto* params = new_unit<VRQ_DH_PARAMS>();
    if (params == nullptr) return nullptr;
    params->pool = VRQ_New_BIGINT_Pool();
    if (params->pool != nullptr) return params;
    release(params);
    return nullptr;
}

void VRQ_Clean_DH_Params(VRQ_DH_PARAMS* params) {
    if (params == nullptr) return;
    for (VRQ_BIGINT** member : {&params->p, &params->q, &params->g}) vrq::drop(*member);
    ff::drop_seed(params->seed, params->seed_length);
    vrq::drop(params->pool);
    clear_record(*params);
}

void VRQ_Free_DH_Params(VRQ_DH_PARAMS* params) {
    if (params == nullptr) return;
    VRQ_Clean_DH_Params(params);
    release(params);
}

u32 VRQ_Init_DH_Params(VRQ_DH_PARAMS* params, const VRQ_BIGINT* p, const VRQ_BIGINT* q,
                       const VRQ_BIGINT* g) {
    constexpr u32 kFunction = VRQ_F_INIT_DH_PARAMS;
    if (VRQ_Is_Proven() == 1 || params == nullptr) return fail(kFunction, VRQ_ERR_INVALID_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (p != nullptr && q != nullptr && g != nullptr && VRQ_Get_BIGINT_Word(g) != 1) {
        if (const u32 s = check_order(p, q, g, params->pool); s != 0) return s;
    }
    const bool copied =
        put_given(params->p, p) && put_given(params->q, q) && put_given(params->g, g);
    return copied ? 0 : fail(kFunction, VRQ_ERR_MEMORY_ALLOC);
}

u32 VRQ_Get_DH_PARAMS_Length(const VRQ_DH_PARAMS* params) {
    if (VRQ_Crypto_Initialize() != 0 || params == nullptr) return 0;
    return static_cast<u32>(byte_length(params->p));
}

u32 VRQ_Generate_DH_Params(VRQ_DH_PARAMS* params, u32 digest, u32 p_bits, u32 q_bits) {
    const ff::Lengths lengths = {p_bits, q_bits};
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (params == nullptr) return kGenerate(VRQ_ERR_NULL_INPUT);
    if (!ff::is_admitted(lengths)) return kGenerate(VRQ_ERR_NOT_SUPPORTED);
    if (VRQ_Is_Proven() == 1 && !ff::is_proven_length(lengths))
        return kGenerate(VRQ_ERR_NOT_PROVEN_ALGORITHM);
    const u32 status = search_params(*params, digest, lengths);
    if (status != 0) {
        for (VRQ_BIGINT* member : {params->p, params->q, params->g}) VRQ_Clear_BIGINT(member);
    }
    return status;
}

u32 vrq_prng_DH_Params(u32 digest, const u8* seed, u32 seed_length, u8* out, u32 bits) {
    return ff::expand(kGenerate, digest, seed, seed_length, out, bits);
}

u32 vrq_Get_Rand_DH_Params_BIGINT(VRQ_DH_PARAMS*, u32 digest, VRQ_BIGINT* out,
                                  const VRQ_BIGINT* q) {
    return ff::draw(kGenerate, digest, out, q);
}

u32 vrq_DH_Pub_Key_Validation(const VRQ_BIGINT* y, const VRQ_DH_PARAMS* params) {
    if (y == nullptr || params == nullptr || params->p == nullptr || params->g == nullptr) return 1;
    return is_public_key(*y, *params->p, params->q, params->pool) ? 0 : 1;
}

VRQ_DH_UNIT* VRQ_New_DH() {
    auto* unit = new_unit<VRQ_DH_UNIT>();
    if (unit == nullptr) return nullptr;
    unit->pool = VRQ_New_BIGINT_Pool();
    if (unit->pool != nullptr) return unit;
    release(unit);
    return nullptr;
}

void VRQ_Clean_DH(VRQ_DH_UNIT* unit) {
    if (unit == nullptr) return;
    for (VRQ_BIGINT** member : {&unit->x, &unit->y, &unit->peer_y, &unit->secret})
        vrq::drop(*member);
    drop(unit->params);
    vrq::drop(unit->pool);
    clear_record(*unit);
}

void VRQ_Free_DH(VRQ_DH_UNIT* unit) {
    if (unit == nullptr) return;
    VRQ_Clean_DH(unit);
    release(unit);
}

u32 VRQ_Init_DH(VRQ_DH_UNIT* unit, const VRQ_BIGINT* x, const VRQ_BIGINT* y,
                const VRQ_DH_PARAMS* params) {
    constexpr u32 kFunction = VRQ_F_INIT_DH;
    if (VRQ_Is_Proven() == 1) return fail(kFunction, VRQ_ERR_NOT_PROVEN_ALGORITHM);
    if (unit == nullptr || params == nullptr) return fail(kFunction, VRQ_ERR_INVALID_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (!put_given(unit->x, x) || !put_given(unit->y, y))
        return fail(kFunction, VRQ_ERR_MEMORY_ALLOC);
    if (unit->params == nullptr) unit->params = VRQ_New_DH_Params();
    if (unit->params == nullptr) return fail(kFunction, VRQ_ERR_MEMORY_ALLOC);
    return VRQ_Init_DH_Params(unit->params, params->p, params->q, params->g) == 0
               ? 0
               : fail(kFunction, VRQ_ERR_SUB_OPERATION_FAILURE);
}

u32 VRQ_Generate_DH_Key_Pair(VRQ_DH_UNIT* unit) {
    constexpr u32 kFunction = VRQ_F_GENERATE_DH_KEY_PAIR;
    if (unit == nullptr || unit->params == nullptr || unit->params->p == nullptr ||
        unit->params->g == nullptr)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    const ScopeExit wiping(wipe_spills);
    const u32 reason = make_key_pair(*unit);
    if (reason == 0) return 0;
    VRQ_Clear_BIGINT(unit->x);
    VRQ_Clear_BIGINT(unit->y);
    return fail(kFunction, reason);
}

u32 VRQ_Compute_Key(VRQ_DH_UNIT* unit, const VRQ_BIGINT* peer_y, u8* out, u32* out_length) {
    constexpr u32 kFunction = VRQ_F_COMPUTE_KEY;
    if (unit == nullptr || peer_y == nullptr || out == nullptr || out_length == nullptr ||
        unit->x == nullptr || unit->y == nullptr || unit->params == nullptr ||
        unit->params->p == nullptr)
        return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;

    const ScopeExit wiping(wipe_spills);
    const VRQ_DH_PARAMS& params = *unit->params;
    // Without q the range is all that can be tested.
    if (!is_public_key(*peer_y, *params.p, params.q, unit->pool))
        return fail(kFunction, VRQ_ERR_INVALID_KEY_PAIR);
    if (!make(unit->secret) || !put(unit->peer_y, peer_y))
        return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    if (!power_of_secret(unit->secret, unit->peer_y, unit->x, params, unit->pool))
        return fail(kFunction, VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL);
    *out_length = VRQ_BIGINT_To_Binary_Unsigned(unit->secret, out);
    return 0;
}
