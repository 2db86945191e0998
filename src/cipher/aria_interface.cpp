// ARIA behind the block cipher unit: key set-up and mode routines.
#include "cipher/aria_engine.h"
#include "cipher/key_setup.h"
#include "cipher/mode_exports.h"

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) {
    return make_status(VRQ_L_ARIA_INTERFACE, function, reason);
}

constexpr KeySetup kPolicy = {
    .null_key = NullKey::kSkip,
    .on_failure = KeyFailure::kMap,
    .direction = Direction::kAfterKey,
    .failure = fail(VRQ_F_INIT_ARIA, VRQ_ERR_INIT_FAILURE),
    .set_key = vrq_Init_ARIA_Key,
};

} // namespace

u32 vrq_Init_ARIA_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, i32 encrypt) {
    if (unit == nullptr) return fail(VRQ_F_INIT_ARIA_KEY, VRQ_ERR_INIT_KEY_FAILURE);

    auto* record = static_cast<VRQ_ARIA_KEY*>(unit->schedule);
    const u32 status = needs_decryption_key(*unit, encrypt)
                           ? vrq_Init_Decrypt_ARIA_Key(key, unit->key_length, record)
                           : vrq_Init_Encrypt_ARIA_Key(key, unit->key_length, record);
    return status == 0 ? 0 : fail(VRQ_F_INIT_ARIA_KEY, VRQ_ERR_INIT_KEY_FAILURE);
}

u32 vrq_Init_ARIA(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, const u8* iv, i32 encrypt) {
    return set_up_key(kPolicy, unit, key, iv, encrypt);
}

VRQ_EXPORT_MODES_FULL(ARIA, AriaEngine)
