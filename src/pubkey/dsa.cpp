// The DSA unit: life cycle, domain and key, messages.
#include "talvern/dsa.h"
#include "foundation/unit.h"
#include "pubkey/signature.h"
#include "talvern/module.h"

#include <cstddef>
#include <cstring>
#include <utility>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_DSA, function, reason); }

// The record is part of the interface.
static_assert(sizeof(VRQ_DSA_UNIT) == 88 && offsetof(VRQ_DSA_UNIT, prng) == 8 &&
              offsetof(VRQ_DSA_UNIT, xseed) == 16 && offsetof(VRQ_DSA_UNIT, xseed_length) == 24 &&
              offsetof(VRQ_DSA_UNIT, p) == 32 && offsetof(VRQ_DSA_UNIT, q) == 40 &&
              offsetof(VRQ_DSA_UNIT, g) == 48 && offsetof(VRQ_DSA_UNIT, y) == 56 &&
              offsetof(VRQ_DSA_UNIT, x) == 64 && offsetof(VRQ_DSA_UNIT, pool) == 72 &&
              offsetof(VRQ_DSA_UNIT, direction) == 80);

void drop_xseed(VRQ_DSA_UNIT& unit) {
    const std::size_t length =
        unit.xseed_length > 0 ? static_cast<std::size_t>(unit.xseed_length) : 0;
    wipe_and_release(unit.xseed, length);
    unit.xseed = nullptr;
    unit.xseed_length = 0;
}

// The bytes may be those of the unit.
[[nodiscard]] bool set_xseed(VRQ_DSA_UNIT& unit, const u8* xseed, i32 length) {
    const bool is_given = xseed != nullptr && length > 0;
    u8* copy = nullptr;
    if (is_given) {
        const auto size = static_cast<std::size_t>(length);
        copy = static_cast<u8*>(allocate(size));
        if (copy != nullptr) std::memcpy(copy, xseed, size);
    }
    drop_xseed(unit);
    unit.xseed = copy;
    unit.xseed_length = copy != nullptr ? length : 0;
    return !is_given || copy != nullptr;
}

// A freshly made digest unit that the digest refuses is freed again.
u32 init_digest(VRQ_DSA_UNIT& unit, u32 algorithm) {
    const bool is_fresh = unit.digest == nullptr;
    if (is_fresh) unit.digest = VRQ_New_DIGEST_Unit();
    if (unit.digest == nullptr) return fail(VRQ_F_INIT_DSA, VRQ_ERR_MEM_ALLOC);
    if (VRQ_Init_DIGEST(unit.digest, algorithm) == 0) return 0;
    if (is_fresh) drop(unit.digest);
    return fail(VRQ_F_INIT_DSA, VRQ_ERR_INIT_DIGEST_FAIL);
}

} // namespace

VRQ_DSA_UNIT* VRQ_New_DSA() { return new_unit<VRQ_DSA_UNIT>(); }

void VRQ_Clean_DSA(VRQ_DSA_UNIT* unit) {
    if (unit == nullptr) return;
    drop(unit->digest);
    drop(unit->prng); // before the pool, which it shares
    drop_xseed(*unit);
    drop(unit->p);
    drop(unit->q);
    drop(unit->g);
    drop(unit->y);
    drop(unit->x);
    drop(unit->pool);
    clear_record(*unit);
}

void VRQ_Free_DSA(VRQ_DSA_UNIT* unit) {
    if (unit == nullptr) return;
    VRQ_Clean_DSA(unit);
    release(unit);
}

u32 VRQ_Set_DSA_Params(VRQ_DSA_UNIT* unit, const VRQ_BIGINT* p, const VRQ_BIGINT* q,
                       const VRQ_BIGINT* g, const VRQ_BIGINT* x, const VRQ_BIGINT* y) {
    constexpr u32 kFunction = VRQ_F_SET_DSA_PARAMS;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (p == nullptr || q == nullptr || g == nullptr || y == nullptr)
        return fail(kFunction, VRQ_ERR_INVALID_INPUT);

    // Copied first: the values may be those of the unit.
    VRQ_DSA_UNIT fresh = {};
    const bool copied = put(fresh.p, p) && put(fresh.q, q) && put(fresh.g, g) && put(fresh.y, y) &&
                        put_given(fresh.x, x);
    if (copied) {
        VRQ_Clean_DSA(unit);
        std::swap(*unit, fresh);
    }
    VRQ_Clean_DSA(&fresh);
    return copied ? 0 : fail(kFunction, VRQ_ERR_COPY_BIGINT_FAIL);
}

u32 VRQ_Init_DSA(VRQ_DSA_UNIT* unit, u32 algorithm, i32 direction, const u8* xseed,
                 i32 xseed_length) {
    constexpr u32 kFunction = VRQ_F_INIT_DSA;
    if (VRQ_Is_Proven() == 1) return fail(kFunction, VRQ_ERR_NOT_PROVEN_ALGORITHM);
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (const u32 s = init_digest(*unit, algorithm); s != 0) return s;
    if (unit->pool == nullptr) unit->pool = VRQ_New_BIGINT_Pool();
    if (unit->pool == nullptr || !set_xseed(*unit, xseed, xseed_length))
        return fail(kFunction, VRQ_ERR_MEM_ALLOC);
    unit->direction = direction;
    return 0;
}

u32 VRQ_Update_DSA(VRQ_DSA_UNIT* unit, const u8* data, i32 length) {
    constexpr u32 kFunction = VRQ_F_UPDATE_DSA;
    if (unit == nullptr) return fail(kFunction, VRQ_ERR_NULL_INPUT);
    if (VRQ_Update_DIGEST(unit->digest, data, length) != 0)
        return fail(kFunction, VRQ_ERR_UPDATE_DIGEST_FAIL);
    return 0;
}

u32 VRQ_Final_DSA(VRQ_DSA_UNIT* unit, u8* r, u32* r_length, u8* s, u32* s_length) {
    // Callers rely on the function code of Update here.
    if (unit == nullptr || r == nullptr || s == nullptr)
        return fail(VRQ_F_UPDATE_DSA, VRQ_ERR_NULL_INPUT);
    constexpr u32 kFunction = VRQ_F_FINAL_DSA;
    if (unit->direction != 1) {
        return VRQ_Verify_DSA(unit, r, r_length, s, s_length) == 0
                   ? 0
                   : fail(kFunction, VRQ_ERR_VERIFY_DSA_FAIL);
    }
    if (unit->x == nullptr) return fail(kFunction, VRQ_ERR_NO_PRIVATE_VALUE);
    return VRQ_Sign_DSA(unit, r, r_length, s, s_length) == 0
               ? 0
               : fail(kFunction, VRQ_ERR_SIGN_DSA_FAIL);
}
