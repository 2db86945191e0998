// The life-cycle idiom of units: New allocates a zeroed record, Clean wipes and releases what the
// unit owns, Free is a null test, Clean and the release of the record. Clean is written out per
// record: which members it drops, and when, differs between units and callers depend on it.
#pragma once

#include "foundation/alloc.h"

#include <type_traits>

namespace vrq {

// A zeroed record, or null.
template <class Unit>
[[nodiscard]] Unit* new_unit(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    static_assert(std::is_trivial_v<Unit>);
    return static_cast<Unit*>(allocate_zeroed(sizeof(Unit), file, line));
}

// Wipes the whole record.
template <class Unit>
void clear_record(Unit& unit) {
    wipe_object(unit);
}

// Marks a unit whose Init has run; Clean leaves a record without it alone.
constexpr int kInitialized = -1;

} // namespace vrq
