// KCDSA domains: the search of TTAK.KO-12.0001, and the stored domains that stand in for it outside
// proven mode.
#include "bigint/scope.h"
#include "foundation/bytes.h"
#include "pubkey/ff_params.h"
#include "pubkey/kcdsa_stored_params.h"
#include "pubkey/signature.h"
#include "talvern/kcdsa.h"
#include "talvern/module.h"
#include "talvern/prime.h"

using namespace vrq;

namespace {

// Counters for one J outside proven mode. About one search in a hundred ends within them.
constexpr u32 kShortLimit = 500;

struct Variant {
    ff::Reporter fail;
    bool checks_mode; // refuses lengths that are not approved
    u32 (*draw_seed)(void* unit, u8* out, u32 length);
};

u32 draw_older_seed(void* unit, u8* out, u32 length) {
    return generate_KCDSA_seeds(static_cast<VRQ_KCDSA_UNIT*>(unit), out, length);
}

constexpr Variant kEx = {{VRQ_L_KCDSA, VRQ_F_GENERATE_KCDSA_PARAMS_EX}, true, ff::draw_random_seed};
constexpr Variant kOlder = {{VRQ_L_KCDSA, VRQ_F_GENERATE_KCDSA_PARAMS}, false, draw_older_seed};

template <std::size_t Words>
[[nodiscard]] bool load(VRQ_BIGINT* r, const u32 (&words)[Words]) {
    u8 bytes[Words * sizeof(u32)];
    for (std::size_t i = 0; i < Words; ++i) store_be(bytes + i * sizeof(u32), words[i]);
    return read_number(*r, bytes, sizeof bytes);
}

template <class Stored>
[[nodiscard]] bool load_domain(VRQ_KCDSA_UNIT& unit, const Stored& stored) {
    return load(unit.p, stored.p) && load(unit.q, stored.q) && load(unit.g, stored.g);
}

// One of the stored domains, tested once more. Returns 0 or the reason.
u32 take_stored(VRQ_KCDSA_UNIT& unit, u32 p_bits) {
    u8 choice = 0;
    if (VRQ_Rand_Bytes(&choice, 1) != 0) return VRQ_ERR_GET_RAND_FAIL;
    const u32 i = choice % kcdsa::kStoredDomains;
    const bool loaded = p_bits == 1024 ? load_domain(unit, kcdsa::kStored1024[i])
                                       : load_domain(unit, kcdsa::kStored2048[i]);
    if (!loaded) return VRQ_ERR_BINARY_TO_BIGINT_FAIL;
    for (const VRQ_BIGINT* n : {unit.q, unit.p}) {
        if (VRQ_Is_BIGINT_Prime_Ex(n, ff::rounds(p_bits), unit.pool) != 1)
            return VRQ_ERR_IS_BIGINT_PRIME;
    }
    return 0;
}

u32 make_domain(VRQ_KCDSA_UNIT& unit, u32 digest, ff::Lengths lengths, const Variant& variant) {
    const bool is_proven = VRQ_Is_Proven() == 1;
    const ff::Domain domain = {unit.p, unit.q,    unit.g,      unit.j,
                               unit.h, unit.seed, &unit.count, unit.pool};
    const ff::Plan plan = {
        variant.fail, lengths, digest,           is_proven ? ff::kFullLimit : kShortLimit,
        is_proven,    &unit,   variant.draw_seed};
    bool exhausted = false;
    if (const u32 s = ff::search(domain, plan, exhausted); s != 0) return s;
    if (!exhausted) return 0;
    const u32 reason = take_stored(unit, lengths.p_bits);
    return reason == 0 ? 0 : variant.fail(reason);
}

u32 generate(VRQ_KCDSA_UNIT* unit, u32 digest, ff::Lengths lengths, const Variant& variant) {
    const ff::Reporter& fail = variant.fail;
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr) return fail(VRQ_ERR_NULL_INPUT);
    if (!ff::is_admitted(lengths)) return fail(VRQ_ERR_NOT_SUPPORTED);
    if (variant.checks_mode && VRQ_Is_Proven() == 1 && !ff::is_proven_length(lengths))
        return fail(VRQ_ERR_NOT_PROVEN_ALGORITHM);

    if (unit->pool == nullptr) unit->pool = VRQ_New_BIGINT_Pool();
    if (unit->pool == nullptr || !frame_available(unit->pool))
        return fail(VRQ_ERR_START_BIGINT_POOL_FAIL);
    for (VRQ_BIGINT** member : {&unit->p, &unit->q, &unit->g, &unit->j, &unit->h}) {
        if (!make(*member)) return fail(VRQ_ERR_NULL_INPUT);
        VRQ_Clear_BIGINT(*member);
    }
    if (!ff::make_seed(unit->seed, unit->seed_length, lengths.q_bits))
        return fail(VRQ_ERR_MEMORY_ALLOC);
    const u32 status = make_domain(*unit, digest, lengths, variant);
    if (status != 0) {
        for (VRQ_BIGINT* member : {unit->p, unit->q, unit->g}) VRQ_Clear_BIGINT(member);
    }
    return status;
}

} // namespace

u32 VRQ_Generate_KCDSA_Params_Ex(VRQ_KCDSA_UNIT* unit, u32 digest, u32 p_bits, u32 q_bits) {
    return generate(unit, digest, {p_bits, q_bits}, kEx);
}

u32 VRQ_Generate_KCDSA_Params(VRQ_KCDSA_UNIT* unit, u32 p_bits, u32 q_bits) {
    return generate(unit, VRQ_ID_HAS160, {p_bits, q_bits}, kOlder);
}

u32 prng_KCDSA_ex(u32 digest, const u8* seed, u32 seed_length, u8* out, u32 bits) {
    return ff::expand(kEx.fail, digest, seed, seed_length, out, bits);
}

u32 prng_KCDSA(const u8* seed, u32 seed_length, u8* out, u32 bits) {
    return ff::expand(kOlder.fail, VRQ_ID_HAS160, seed, seed_length, out, bits);
}

u32 generate_KCDSA_seeds(VRQ_KCDSA_UNIT* unit, u8* seed, u32 length) {
    constexpr ff::Reporter fail = kOlder.fail;
    if (unit == nullptr || seed == nullptr) return fail(VRQ_ERR_NULL_INPUT);
    if (unit->prng == nullptr) unit->prng = VRQ_New_PRNG_Unit();
    if (unit->prng == nullptr) return fail(VRQ_ERR_MEM_ALLOC);
    if (unit->prng->xkey == nullptr &&
        VRQ_Init_PRNG(unit->prng, VRQ_ID_HAS160, nullptr, 0, nullptr, 0, nullptr) != 0)
        return fail(VRQ_ERR_INIT_PRNG_FAIL);
    return VRQ_Get_Rand(unit->prng, seed, length) == 0 ? 0 : fail(VRQ_ERR_RANDOM_GEN_FAILURE);
}
