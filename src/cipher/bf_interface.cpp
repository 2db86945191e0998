// Blowfish behind the block cipher unit: key set-up and mode routines.
#include "cipher/bf_engine.h"
#include "cipher/key_setup.h"
#include "cipher/mode_exports.h"

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) {
    return make_status(VRQ_L_BF_INTERFACE, function, reason);
}

constexpr KeySetup kPolicy = {
    .null_key = NullKey::kRefuse,
    .on_failure = KeyFailure::kMap,
    .direction = Direction::kBeforeKey,
    .failure = fail(VRQ_F_INIT_BF, VRQ_ERR_INIT_KEY_FAILURE),
    .set_key = vrq_Init_BF_Key,
};

} // namespace

u32 vrq_Init_BF_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, i32 /*encrypt*/) {
    constexpr u32 kFailure = fail(VRQ_F_INIT_BF_KEY, VRQ_ERR_INIT_KEY_FAILURE);
    if (unit == nullptr) return kFailure;

    auto* record = static_cast<VRQ_BF_KEY*>(unit->schedule);
    return vrq_Init_Encrypt_BF_Key(key, unit->key_length, record) == 0 ? 0 : kFailure;
}

u32 vrq_Init_BF(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, const u8* iv, i32 encrypt) {
    return set_up_key(kPolicy, unit, key, iv, encrypt);
}

VRQ_EXPORT_MODES_WITHOUT_CFB64(BF, BfEngine)
