// Members of curves, points and keys.
#pragma once

#include "pubkey/signature.h"
#include "talvern/ec.h"

namespace vrq {

inline void drop(VRQ_ECPOINT*& member) {
    VRQ_Free_ECPOINT(member);
    member = nullptr;
}

// Copies a value or a point into a member, made when absent. False when memory fails.
[[nodiscard]] inline bool copy_value(VRQ_BIGINT*& member, const VRQ_BIGINT& value) {
    if (member == nullptr) member = VRQ_New_BIGINT();
    return member != nullptr && VRQ_Copy_BIGINT(member, &value) == 0;
}

[[nodiscard]] inline bool copy_value(VRQ_ECPOINT*& member, const VRQ_ECPOINT& value) {
    if (member == nullptr) member = VRQ_New_ECPOINT();
    return member != nullptr && vrq_Copy_ECPOINT(member, &value) == 0;
}

// The same where null leaves the member as it is.
template <class Value>
[[nodiscard]] bool copy_given(Value*& member, const Value* value) {
    return value == nullptr || copy_value(member, *value);
}

// The same where null makes the member absent.
template <class Value>
[[nodiscard]] bool copy_member(Value*& member, const Value* value) {
    if (value != nullptr) return copy_value(member, *value);
    drop(member);
    return true;
}

inline bool has_coordinates(const VRQ_ECPOINT& point) {
    return point.x != nullptr && point.y != nullptr;
}

} // namespace vrq
