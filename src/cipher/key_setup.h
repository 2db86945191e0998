// The key set-up that the unit calls at Init: gate, IV copies, direction, schedule. What differs
// between the engines is data.
#pragma once

#include "foundation/status.h"
#include "talvern/cipher.h"
#include "talvern/module.h"

#include <cstring>

namespace vrq {

enum class NullKey {
    kSkip,  // leaves the schedule as it was allocated
    kRefuse // counts as a failure of the schedule
};

enum class KeyFailure {
    kMap,   // reported as the policy's status
    kPass,  // reported as it is
    kIgnore // not reported
};

enum class Direction {
    kBeforeKey, // stored even when the schedule fails
    kAfterKey
};

struct KeySetup {
    NullKey null_key;
    KeyFailure on_failure;
    Direction direction;
    u32 failure; // the status of kMap and of a null unit

    // The engine's vrq_Init_<X>_Key. It refuses a unit without a schedule and, where null_key is
    // kRefuse, a null key.
    u32 (*set_key)(VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key, i32 encrypt);
};

// The only modes that run the inverse cipher, and so the only ones that need its schedule. Their
// routines decrypt unless the direction is 1: asking for 0 here would leave them, for any other
// value, a schedule of zeros.
inline bool needs_decryption_key(const VRQ_BLOCK_CIPHER_UNIT& unit, i32 encrypt) {
    return encrypt != 1 && (unit.mode == VRQ_MODE_ECB || unit.mode == VRQ_MODE_CBC);
}

inline u32 set_up_key(const KeySetup& policy, VRQ_BLOCK_CIPHER_UNIT* unit, const u8* key,
                      const u8* iv, i32 encrypt) {
    if (const u32 status = VRQ_Crypto_Initialize(); status != 0) return status;
    if (unit == nullptr) return policy.failure;

    // An IV length that does not fit the fields can only come from a caller's own record.
    const bool fits = unit->iv_length >= 0 && unit->iv_length <= VRQ_MAX_BLOCK_LENGTH;
    if (iv != nullptr && fits)
        std::memcpy(unit->initial_iv, iv, static_cast<std::size_t>(unit->iv_length));
    std::memcpy(unit->working_iv, unit->initial_iv, sizeof unit->working_iv);
    if (policy.direction == Direction::kBeforeKey) unit->encrypt = encrypt;

    const bool has_key = key != nullptr || policy.null_key == NullKey::kRefuse;
    const u32 status = has_key ? policy.set_key(unit, key, encrypt) : 0;
    if (status != 0 && policy.on_failure == KeyFailure::kMap) return policy.failure;
    if (status != 0 && policy.on_failure == KeyFailure::kPass) return status;

    unit->encrypt = encrypt;
    return 0;
}

} // namespace vrq
