// LEA behind the block cipher unit: key set-up and mode routines. One schedule serves every mode and
// direction.
#include "cipher/key_setup.h"
#include "cipher/lea_engine.h"
#include "cipher/mode_exports.h"

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) {
    return make_status(VRQ_L_LEA_INTERFACE, function, reason);
}

constexpr KeySetup kPolicy = {
    .null_key = NullKey::kSkip,
    .on_failure = KeyFailure::kMap,
    .direction = Direction::kAfterKey,
    .failure = fail(VRQ_F_INIT_LEA, VRQ_ERR_INIT_FAILURE),
    .set_key = vrq_Init_LEA_Key,
};

} // namespace

u32 vrq_Init_LEA_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, i32 /*encrypt*/) {
    constexpr u32 kFailure = fail(VRQ_F_INIT_LEA_KEY, VRQ_ERR_INIT_KEY_FAILURE);
    if (unit == nullptr) return kFailure;

    auto* record = static_cast<VRQ_LEA_KEY*>(unit->schedule);
    return vrq_Init_Encrypt_LEA_Key(key, unit->key_length, record) == 0 ? 0 : kFailure;
}

u32 vrq_Init_LEA(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, const u8* iv, i32 encrypt) {
    return set_up_key(kPolicy, unit, key, iv, encrypt);
}

VRQ_EXPORT_MODES_FULL(LEA, LeaEngine)
