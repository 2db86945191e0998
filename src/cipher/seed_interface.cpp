// SEED behind the block cipher unit: key set-up and mode routines. One schedule serves every mode and
// direction.
#include "cipher/key_setup.h"
#include "cipher/mode_exports.h"
#include "cipher/seed_engine.h"

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) {
    return make_status(VRQ_L_SEED_INTERFACE, function, reason);
}

constexpr KeySetup kPolicy = {
    .null_key = NullKey::kSkip,
    .on_failure = KeyFailure::kMap,
    .direction = Direction::kAfterKey,
    .failure = fail(VRQ_F_INIT_SEED, VRQ_ERR_INIT_FAILURE),
    .set_key = vrq_Init_SEED_Key,
};

} // namespace

u32 vrq_Init_SEED_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, i32 /*encrypt*/) {
    constexpr u32 kFailure = fail(VRQ_F_INIT_SEED_KEY, VRQ_ERR_INIT_KEY_FAILURE);
    if (unit == nullptr || unit->schedule == nullptr || key == nullptr) return kFailure;

    auto* record = static_cast<VRQ_SEED_KEY*>(unit->schedule);
    switch (unit->key_length) {
    case 16:
        return vrq_Init_Encrypt_SEED_Key(key, record);
    case 32:
        return vrq_Init_Encrypt_SEED_Key_256(key, record);
    default:
        return kFailure;
    }
}

u32 vrq_Init_SEED(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, const u8* iv, i32 encrypt) {
    return set_up_key(kPolicy, unit, key, iv, encrypt);
}

VRQ_EXPORT_MODES_FULL(SEED, SeedEngine)
