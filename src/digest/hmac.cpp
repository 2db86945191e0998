// HMAC (FIPS 198-1, RFC 2104) over the digest unit. The engine records that have absorbed the key block
// are kept as two states, so that a message costs its own blocks and one outer hash.
#include "foundation/scope.h"
#include "foundation/unit.h"
#include "talvern/mac.h"
#include "talvern/module.h"

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_HMAC, function, reason); }

// The record is part of the interface.
static_assert(sizeof(VRQ_HMAC_UNIT) == 184 && offsetof(VRQ_HMAC_UNIT, digest) == 8 &&
              offsetof(VRQ_HMAC_UNIT, inner_state) == 16 &&
              offsetof(VRQ_HMAC_UNIT, outer_state) == 24 &&
              offsetof(VRQ_HMAC_UNIT, state_size) == 32 &&
              offsetof(VRQ_HMAC_UNIT, key_block) == 36 &&
              offsetof(VRQ_HMAC_UNIT, key_length) == 164 && offsetof(VRQ_HMAC_UNIT, phase) == 168 &&
              offsetof(VRQ_HMAC_UNIT, init_marker) == 172 &&
              offsetof(VRQ_HMAC_UNIT, restricted) == 176);

using OwnedUnit = Owned<VRQ_HMAC_UNIT, VRQ_Free_HMAC_Unit>;

constexpr u8 kInnerPad = 0x36;
constexpr u8 kOuterPad = 0x5C;
constexpr char kNamePrefix[] = "HMAC_";

enum Phase : u32 { kInitialised = 1, kUpdating = 2, kFinalised = 3 };

// Fills the key block; a key longer than a block is replaced by its digest.
u32 set_key_block(VRQ_HMAC_UNIT& unit, const u8* key, u32 key_length) {
    // Lengths of 2^31 and more count as negative: they are not hashed but refused.
    const auto signed_length = static_cast<i32>(key_length);
    if (signed_length > static_cast<i32>(unit.digest->block_length)) {
        if (VRQ_Update_DIGEST(unit.digest, key, signed_length) != 0)
            return fail(VRQ_F_INIT_HMAC, VRQ_ERR_UPDATE_DIGEST_FAIL);
        if (VRQ_Final_DIGEST(unit.digest, unit.key_block, &unit.key_length) != 0)
            return fail(VRQ_F_INIT_HMAC, VRQ_ERR_FINAL_DIGEST_FAIL);
        return 0;
    }
    if (key_length > sizeof unit.key_block)
        return fail(VRQ_F_INIT_HMAC, VRQ_ERR_SUB_OPERATION_FAILURE);
    std::memcpy(unit.key_block, key, key_length);
    unit.key_length = key_length;
    return 0;
}

// Feeds the first block of the key block XOR pad to the engine and copies its record.
bool absorb_key(VRQ_HMAC_UNIT& unit, u8 pad, void* state) {
    SecretBytes<sizeof unit.key_block> block;
    for (std::size_t i = 0; i < block.size(); ++i)
        block[i] = static_cast<u8>(unit.key_block[i] ^ pad);
    const auto length = static_cast<i32>(unit.digest->block_length);
    if (VRQ_Update_DIGEST(unit.digest, block.data(), length) != 0) return false;
    std::memcpy(state, unit.digest->context, unit.state_size);
    return true;
}

// The two keyed states; the digest unit is left holding the inner one.
u32 make_states(VRQ_HMAC_UNIT& unit, const u8* key, u32 key_length) {
    const u32 block_length = unit.digest->block_length;
    if (block_length > sizeof unit.key_block)
        return fail(VRQ_F_INIT_HMAC, VRQ_ERR_SUB_OPERATION_FAILURE);
    if (const u32 s = set_key_block(unit, key, key_length); s != 0) return s;
    // MDC-2 has a digest longer than its block: only the first block of it is used.
    if (unit.key_length < block_length)
        std::memset(unit.key_block + unit.key_length, 0, block_length - unit.key_length);

    if (!absorb_key(unit, kOuterPad, unit.outer_state))
        return fail(VRQ_F_INIT_HMAC, VRQ_ERR_UPDATE_DIGEST_FAIL);
    unit.digest->init(unit.digest->context);
    if (!absorb_key(unit, kInnerPad, unit.inner_state))
        return fail(VRQ_F_INIT_HMAC, VRQ_ERR_UPDATE_DIGEST_FAIL);
    return 0;
}

// Without its states a unit is refused by Update and Final.
void drop_states(VRQ_HMAC_UNIT& unit) {
    wipe_and_release(unit.inner_state, unit.state_size);
    wipe_and_release(unit.outer_state, unit.state_size);
    unit.inner_state = nullptr;
    unit.outer_state = nullptr;
}

// Continues from a kept state.
void resume(VRQ_HMAC_UNIT& unit, const void* state) {
    std::memcpy(unit.digest->context, state, unit.state_size);
}

bool is_ready(const VRQ_HMAC_UNIT* unit) {
    return unit != nullptr && unit->inner_state != nullptr && unit->outer_state != nullptr;
}

} // namespace

VRQ_HMAC_UNIT* VRQ_New_HMAC_Unit() { return new_unit<VRQ_HMAC_UNIT>(); }

VRQ_HMAC_UNIT* vrq_New_HMAC_Unit_Ex(i32 restricted) {
    VRQ_HMAC_UNIT* unit = VRQ_New_HMAC_Unit();
    if (unit != nullptr) unit->restricted = restricted;
    return unit;
}

u32 VRQ_Init_HMAC(VRQ_HMAC_UNIT* unit, u32 algorithm, const u8* key, u32 key_length) {
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (unit == nullptr || key == nullptr) return fail(VRQ_F_INIT_HMAC, VRQ_ERR_NULL_INPUT);
    VRQ_Clean_HMAC_Unit(unit);
    unit->init_marker = kInitialized;
    unit->algorithm = algorithm | VRQ_ID_HMAC;

    unit->digest = vrq_New_DIGEST_Unit_Ex(unit->restricted);
    unit->phase = kInitialised;
    if (VRQ_Init_DIGEST(unit->digest, algorithm) != 0)
        return fail(VRQ_F_INIT_HMAC, VRQ_ERR_INIT_DIGEST_FAIL);

    unit->state_size = static_cast<u32>(unit->digest->context_size);
    unit->inner_state = allocate(unit->state_size);
    unit->outer_state = allocate(unit->state_size);
    if (!is_ready(unit)) return fail(VRQ_F_INIT_HMAC, VRQ_ERR_SUB_OPERATION_FAILURE);

    const u32 s = make_states(*unit, key, key_length);
    if (s != 0) drop_states(*unit);
    return s;
}

u32 VRQ_Update_HMAC(VRQ_HMAC_UNIT* unit, const u8* data, i32 length) {
    if (!is_ready(unit)) return fail(VRQ_F_UPDATE_HMAC, VRQ_ERR_NULL_INPUT);
    if (length <= 0) return fail(VRQ_F_UPDATE_HMAC, VRQ_ERR_INVALID_INPUT);
    if (unit->phase == kFinalised) {
        resume(*unit, unit->inner_state);
        unit->phase = kInitialised;
    }
    if (VRQ_Update_DIGEST(unit->digest, data, length) != 0)
        return fail(VRQ_F_UPDATE_HMAC, VRQ_ERR_UPDATE_DIGEST_FAIL);
    unit->phase = kUpdating;
    return 0;
}

u32 VRQ_Final_HMAC(VRQ_HMAC_UNIT* unit, u8* out, u32* out_length) {
    if (!is_ready(unit)) return fail(VRQ_F_FINAL_HMAC, VRQ_ERR_NULL_INPUT);

    SecretBytes<VRQ_MAX_DIGEST_LENGTH> inner;
    u32 inner_length = 0;
    if (VRQ_Final_DIGEST(unit->digest, inner.data(), &inner_length) != 0)
        return fail(VRQ_F_FINAL_HMAC, VRQ_ERR_FINAL_DIGEST_FAIL);
    resume(*unit, unit->outer_state);
    if (VRQ_Update_DIGEST(unit->digest, inner.data(), static_cast<i32>(inner_length)) != 0)
        return fail(VRQ_F_FINAL_HMAC, VRQ_ERR_UPDATE_DIGEST_FAIL);
    if (VRQ_Final_DIGEST(unit->digest, out, out_length) != 0)
        return fail(VRQ_F_FINAL_HMAC, VRQ_ERR_FINAL_DIGEST_FAIL);
    // Only Update restores the inner state; callers rely on what a second Final gives.
    unit->phase = kFinalised;
    return 0;
}

void VRQ_Clean_HMAC_Unit(VRQ_HMAC_UNIT* unit) {
    if (unit == nullptr || unit->init_marker != kInitialized) return;
    VRQ_Free_DIGEST_Unit(unit->digest);
    drop_states(*unit);
    clear_record(*unit);
}

void VRQ_Free_HMAC_Unit(VRQ_HMAC_UNIT* unit) {
    if (unit == nullptr) return;
    VRQ_Clean_HMAC_Unit(unit);
    release(unit);
}

u32 VRQ_HMAC(u32 algorithm, const u8* key, u32 key_length, const u8* data, u32 data_length, u8* out,
             u32* out_length) {
    const OwnedUnit unit(VRQ_New_HMAC_Unit());
    if (unit == nullptr) return fail(VRQ_F_HMAC, VRQ_ERR_MEM_ALLOC);
    if (VRQ_Init_HMAC(unit.get(), algorithm, key, key_length) != 0)
        return fail(VRQ_F_HMAC, VRQ_ERR_INIT_FAILURE);
    if (VRQ_Update_HMAC(unit.get(), data, static_cast<i32>(data_length)) != 0)
        return fail(VRQ_F_HMAC, VRQ_ERR_UPDATE_FAILURE);
    if (VRQ_Final_HMAC(unit.get(), out, out_length) != 0)
        return fail(VRQ_F_HMAC, VRQ_ERR_FINAL_FAILURE);
    return 0;
}

char* VRQ_Get_HMAC_Name(u32 algorithm) {
    if (VRQ_Crypto_Initialize() != 0) return nullptr;
    if ((algorithm & VRQ_ID_HMAC) == 0) return nullptr;
    const char* digest = VRQ_Get_DIGEST_Alg_Name(algorithm ^ VRQ_ID_HMAC);
    if (digest == nullptr) return nullptr;

    const std::size_t length = std::strlen(digest);
    auto* name = static_cast<char*>(allocate(sizeof kNamePrefix + length));
    if (name == nullptr) return nullptr;
    std::memcpy(name, kNamePrefix, sizeof kNamePrefix - 1);
    std::memcpy(name + sizeof kNamePrefix - 1, digest, length + 1);
    return name;
}
