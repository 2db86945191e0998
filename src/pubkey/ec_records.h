// Members of curves, points and keys.
#pragma once

#include "pubkey/signature.h"
#include "talvern/ec.h"

namespace vrq {

inline void drop(VRQ_ECPOINT*& member) {
    VRQ_Free_ECPOINT(member);
    member = nullptr;
}

[[nodiscard]] inline bool put(VRQ_ECPOINT*& member, const VRQ_ECPOINT* value) {
    if (member == nullptr) member = VRQ_New_ECPOINT();
    return member != nullptr && vrq_Copy_ECPOINT(member, value) == 0;
}

[[nodiscard]] inline bool put_given(VRQ_ECPOINT*& member, const VRQ_ECPOINT* value) {
    return value == nullptr || put(member, value);
}

// Copies a value or a point into a member; null makes it absent.
template <class Value>
[[nodiscard]] bool copy_member(Value*& member, const Value* value) {
    if (value != nullptr) return put(member, value);
    drop(member);
    return true;
}

inline bool has_coordinates(const VRQ_ECPOINT& point) {
    return point.x != nullptr && point.y != nullptr;
}

} // namespace vrq
