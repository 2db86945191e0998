// AES behind the block cipher unit: key set-up and mode routines.
#include "cipher/aes_engine.h"
#include "cipher/key_setup.h"
#include "cipher/mode_exports.h"

using namespace vrq;

namespace {

// Callers compare with this status of another engine.
constexpr KeySetup kPolicy = {
    .null_key = NullKey::kRefuse,
    .on_failure = KeyFailure::kMap,
    .direction = Direction::kBeforeKey,
    .failure = make_status(VRQ_L_ARIA_INTERFACE, VRQ_F_INIT_ARIA, VRQ_ERR_INIT_KEY_FAILURE),
    .set_key = vrq_Init_AES_Key,
};

} // namespace

u32 vrq_Init_AES_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, i32 encrypt) {
    constexpr u32 kFailure =
        make_status(VRQ_L_AES_INTERFACE, VRQ_F_INIT_AES_KEY, VRQ_ERR_INIT_KEY_FAILURE);
    if (unit == nullptr) return kFailure;

    // Unlike the other engines AES inverts its schedule for the direction 0 alone.
    auto* record = static_cast<VRQ_AES_KEY*>(unit->schedule);
    const u32 status = encrypt == 0 && needs_decryption_key(*unit, encrypt)
                           ? vrq_Init_Decrypt_AES_Key(key, unit->key_length, record)
                           : vrq_Init_Encrypt_AES_Key(key, unit->key_length, record);
    return status == 0 ? 0 : kFailure;
}

u32 vrq_Init_AES(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, const u8* iv, i32 encrypt) {
    return set_up_key(kPolicy, unit, key, iv, encrypt);
}

VRQ_EXPORT_MODES_FULL(AES, AesEngine)
