// Big-integer records: life cycle, growth, copies and the two constants.
#include "talvern/bigint.h"

#include "bigint/record.h"
#include "foundation/alloc.h"
#include "foundation/status.h"
#include "foundation/unit.h"

#include <climits>
#include <cstddef>
#include <cstring>
#include <utility>

using namespace vrq;

static_assert(sizeof(VRQ_BIGINT) == 24);
static_assert(offsetof(VRQ_BIGINT, data) == 0);
static_assert(offsetof(VRQ_BIGINT, used) == 8);
static_assert(offsetof(VRQ_BIGINT, allocated) == 12);
static_assert(offsetof(VRQ_BIGINT, flags) == 16);

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_BIGINT, function, reason); }

constexpr std::size_t kMaxWords = 0xFFFFFF;
constexpr std::size_t kMaxScratchWords = INT_MAX;

constexpr u32 kAnyFlag = VRQ_BIGINT_ALLOCATED | VRQ_BIGINT_FIXED | VRQ_BIGINT_INITIALIZED;

// The records point to words that are never written.
constexpr u32 kOneWord = 1;
constexpr u32 kZeroWord = 0;
constinit const VRQ_BIGINT kOne = {const_cast<u32*>(&kOneWord), 1, 1, VRQ_BIGINT_FIXED};
constinit const VRQ_BIGINT kZero = {const_cast<u32*>(&kZeroWord), 1, 1, VRQ_BIGINT_FIXED};

bool replace_array(VRQ_BIGINT& a, std::size_t words, std::size_t kept) {
    auto* const data = static_cast<u32*>(allocate(words * sizeof(u32)));
    if (data == nullptr) return false;
    if (kept != 0) std::memcpy(data, a.data, kept * sizeof(u32));
    if (a.data != nullptr) {
        wipe_and_release(a.data, static_cast<std::size_t>(a.allocated) * sizeof(u32));
    }
    a.data = data;
    a.allocated = static_cast<i32>(words);
    return true;
}

} // namespace

bool vrq::grow(VRQ_BIGINT& a, std::size_t words) {
    if (a.allocated >= 0 && static_cast<std::size_t>(a.allocated) >= words) return true;
    if (words > kMaxWords || (a.flags & VRQ_BIGINT_FIXED) != 0) return false;
    return replace_array(a, words, word_count(a));
}

bool vrq::grow_scratch(VRQ_BIGINT& a, std::size_t limbs) {
    a.used = 0;
    if (static_cast<std::size_t>(a.allocated) >= 2 * limbs) return true;
    return 2 * limbs <= kMaxScratchWords && replace_array(a, 2 * limbs, 0);
}

bool vrq::store_value(VRQ_BIGINT& r, const Limb* a, std::size_t limbs) {
    const std::size_t words = significant_words(words_of(a), 2 * limbs);
    if (!grow(r, words)) return false;
    if (words != 0) std::memcpy(r.data, a, words * sizeof(u32));
    r.used = static_cast<i32>(words);
    return true;
}

VRQ_BIGINT* VRQ_New_BIGINT() {
    auto* const a = new_unit<VRQ_BIGINT>();
    if (a != nullptr) a->flags = VRQ_BIGINT_ALLOCATED;
    return a;
}

u32 VRQ_Init_BIGINT(VRQ_BIGINT* a) {
    if (a == nullptr) return fail(VRQ_F_INIT_BIGINT, VRQ_ERR_NULL_INPUT);
    if ((a->flags & kAnyFlag) != 0) *a = VRQ_BIGINT{};
    a->flags |= VRQ_BIGINT_INITIALIZED;
    return 0;
}

void VRQ_Clear_BIGINT(VRQ_BIGINT* a) {
    if (a == nullptr) return;
    if (a->data != nullptr) {
        const std::size_t words = a->allocated > 0 ? static_cast<std::size_t>(a->allocated) : 0;
        wipe_and_release(a->data, words * sizeof(u32));
        a->data = nullptr;
        a->flags &= ~static_cast<u32>(VRQ_BIGINT_FIXED);
    }
    a->used = 0;
    a->allocated = 0;
}

u32 VRQ_Free_BIGINT(VRQ_BIGINT* a) {
    if (a == nullptr) return fail(VRQ_F_FREE_BIGINT, VRQ_ERR_NULL_INPUT);
    VRQ_Clear_BIGINT(a);
    if ((a->flags & VRQ_BIGINT_ALLOCATED) != 0) wipe_and_release(a, sizeof *a);
    return 0;
}

VRQ_BIGINT* vrq_Expand_BIGINT(VRQ_BIGINT* a, i32 words) {
    if (a == nullptr || words <= a->allocated) return a;
    return words > 0 && grow(*a, static_cast<std::size_t>(words)) ? a : nullptr;
}

u32 VRQ_Copy_BIGINT(VRQ_BIGINT* to, const VRQ_BIGINT* from) {
    if (to == nullptr || from == nullptr) return fail(VRQ_F_COPY_BIGINT, VRQ_ERR_NULL_INPUT);
    if (to == from) return 0;

    const std::size_t words = word_count(*from);
    if (!grow(*to, words)) return fail(VRQ_F_COPY_BIGINT, VRQ_ERR_EXPAND_BIGINT_WORD);
    if (words != 0) std::memcpy(to->data, from->data, words * sizeof(u32));
    to->used = static_cast<i32>(words);
    return 0;
}

VRQ_BIGINT* VRQ_Dup_BIGINT(const VRQ_BIGINT* a) {
    if (a == nullptr) return nullptr;
    VRQ_BIGINT* const copy = VRQ_New_BIGINT();
    if (copy == nullptr) return nullptr;
    if (VRQ_Copy_BIGINT(copy, a) == 0) return copy;
    VRQ_Free_BIGINT(copy);
    return nullptr;
}

void VRQ_Swap_BIGINT(VRQ_BIGINT* a, VRQ_BIGINT* b) {
    if (a == nullptr || b == nullptr) return;
    std::swap(*a, *b);
    const u32 kept = (a->flags ^ b->flags) & ~static_cast<u32>(VRQ_BIGINT_FIXED);
    a->flags ^= kept;
    b->flags ^= kept;
}

const VRQ_BIGINT* VRQ_Value_One_BIGINT() { return &kOne; }
const VRQ_BIGINT* VRQ_Value_Zero_BIGINT() { return &kZero; }
