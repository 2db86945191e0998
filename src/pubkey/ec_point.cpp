// Points: life cycle, copies, comparison, negation.
#include "bigint/record.h"
#include "foundation/unit.h"
#include "pubkey/ec_records.h"
#include "talvern/ec.h"

#include <cstddef>

using namespace vrq;

// The record is part of the interface.
static_assert(sizeof(VRQ_ECPOINT) == 16 && offsetof(VRQ_ECPOINT, y) == 8);

VRQ_ECPOINT* VRQ_New_ECPOINT() { return new_unit<VRQ_ECPOINT>(); }

void VRQ_Clean_ECPOINT(VRQ_ECPOINT* point) {
    if (point == nullptr) return;
    drop(point->x);
    drop(point->y);
}

void VRQ_Free_ECPOINT(VRQ_ECPOINT* point) {
    if (point == nullptr) return;
    VRQ_Clean_ECPOINT(point);
    release(point);
}

u32 VRQ_Zero_Value_ECPOINT(VRQ_ECPOINT* point) {
    if (point == nullptr) return 1;
    constexpr VRQ_BIGINT kZero = {};
    return put(point->x, &kZero) && put(point->y, &kZero) ? 0 : 1;
}

u32 vrq_Copy_ECPOINT(VRQ_ECPOINT* to, const VRQ_ECPOINT* from) {
    if (to == nullptr || from == nullptr) return 1;
    return copy_member(to->x, from->x) && copy_member(to->y, from->y) ? 0 : 1;
}

i32 vrq_Cmp_ECPOINT(const VRQ_ECPOINT* p, const VRQ_ECPOINT* q) {
    if (p == nullptr || q == nullptr) return 1;
    const i32 order = VRQ_Cmp_BIGINT(p->x, q->x);
    return order != 0 ? order : VRQ_Cmp_BIGINT(p->y, q->y);
}

u32 vrq_Is_ECPOINT_Zero(const VRQ_ECPOINT* point) {
    if (point == nullptr || !has_coordinates(*point)) return 0;
    return is_zero(*point->x) && is_zero(*point->y) ? 1 : 0;
}
