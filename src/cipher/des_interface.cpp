// DES and triple DES behind the block cipher unit: key set-up and mode routines.
#include "cipher/des_engine.h"
#include "cipher/key_setup.h"
#include "cipher/mode_exports.h"

using namespace vrq;

namespace {

constexpr u32 kDesFailure =
    make_status(VRQ_L_DES_INTERFACE, VRQ_F_INIT_DES_KEY, VRQ_ERR_INIT_KEY_FAILURE);
constexpr u32 kEdeFailure =
    make_status(VRQ_L_DES_EDE_INTERFACE, VRQ_F_INIT_DES_EDE_KEY, VRQ_ERR_INIT_KEY_FAILURE);

constexpr KeySetup policy(u32 failure, u32 (*set_key)(VRQ_BLOCK_CIPHER_UNIT*, const u8*, i32)) {
    return {
        .null_key = NullKey::kSkip,
        .on_failure = KeyFailure::kIgnore,
        .direction = Direction::kAfterKey,
        .failure = failure,
        .set_key = set_key,
    };
}

constexpr KeySetup kDesPolicy = policy(kDesFailure, vrq_Init_DES_Key);
constexpr KeySetup kEdePolicy = policy(kEdeFailure, vrq_Init_DES_EDE_key);

i32 key_direction(const VRQ_BLOCK_CIPHER_UNIT& unit, i32 encrypt) {
    return needs_decryption_key(unit, encrypt) ? 0 : 1;
}

} // namespace

u32 vrq_Init_DES_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, i32 encrypt) {
    if (unit == nullptr || unit->schedule == nullptr || key == nullptr) return kDesFailure;
    auto* record = static_cast<VRQ_DES_KEY*>(unit->schedule);
    return vrq_Init_Encrypt_DES_Key(key, record, key_direction(*unit, encrypt));
}

u32 vrq_Init_DES_EDE_key(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, i32 encrypt) {
    if (unit == nullptr) return kEdeFailure;
    auto* record = static_cast<VRQ_DES_EDE_KEY*>(unit->schedule);
    const i32 direction = key_direction(*unit, encrypt);
    const u32 status = vrq_Init_Encrypt_DES_EDE_KEY(key, unit->key_length, record, direction);
    return status == 0 ? 0 : kEdeFailure;
}

u32 vrq_Init_DES(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, const u8* iv, i32 encrypt) {
    return set_up_key(kDesPolicy, unit, key, iv, encrypt);
}

u32 vrq_Init_DES_EDE(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, const u8* iv, i32 encrypt) {
    return set_up_key(kEdePolicy, unit, key, iv, encrypt);
}

VRQ_EXPORT_MODES_WITHOUT_CFB64(DES, DesEngine)
VRQ_EXPORT_MODES_WITHOUT_CFB64(DES_EDE, DesEdeEngine)
