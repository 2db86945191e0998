// RC5 behind the block cipher unit: key set-up and mode routines.
#include "cipher/key_setup.h"
#include "cipher/mode_exports.h"
#include "cipher/rc5_engine.h"

using namespace vrq;

namespace {

constexpr u32 kFailure =
    make_status(VRQ_L_RC5_INTERFACE, VRQ_F_INIT_RC5_KEY, VRQ_ERR_INIT_KEY_FAILURE);

// One schedule serves both directions.
u32 set_key(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, i32 /*encrypt*/) {
    return vrq_Init_RC5_Key(unit, key);
}

constexpr KeySetup kPolicy = {
    .null_key = NullKey::kRefuse,
    .on_failure = KeyFailure::kPass,
    .direction = Direction::kBeforeKey,
    .failure = kFailure,
    .set_key = set_key,
};

} // namespace

u32 vrq_Init_RC5_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key) {
    if (unit == nullptr) return kFailure;
    auto* record = static_cast<VRQ_RC5_KEY*>(unit->schedule);
    return vrq_Init_Encrypt_RC5_Key(key, unit->key_length, record) == 0 ? 0 : kFailure;
}

u32 vrq_Init_RC5(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, const u8* iv, i32 encrypt) {
    return set_up_key(kPolicy, unit, key, iv, encrypt);
}

VRQ_EXPORT_MODES_FULL(RC5, Rc5Engine)
