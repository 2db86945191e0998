// What the public-key schemes share: members of units, numbers in fixed lengths, the stack below them.
#pragma once

#include "bigint/record.h"
#include "foundation/wipe.h"
#include "talvern/bigint.h"
#include "talvern/digest.h"
#include "talvern/random.h"

#include <cstddef>
#include <cstring>

namespace vrq {

// Kernels spill words of private keys and of the secrets of signatures far below the exported function.
inline void wipe_spills() { wipe_stack<4096>(); }
// Drawing from the older generator goes deeper.
inline void wipe_generation_spills() { wipe_stack<8192>(); }

// Wipe, release and null a member.
inline void drop(VRQ_BIGINT*& member) {
    if (member != nullptr) VRQ_Free_BIGINT(member);
    member = nullptr;
}

inline void drop(VRQ_BIGINT_POOL*& member) {
    if (member != nullptr) VRQ_Free_BIGINT_Pool(member);
    member = nullptr;
}

inline void drop(VRQ_DIGEST_UNIT*& member) {
    VRQ_Free_DIGEST_Unit(member);
    member = nullptr;
}

inline void drop(VRQ_PRNG_UNIT*& member) {
    VRQ_Free_PRNG_Unit(member);
    member = nullptr;
}

// Makes a number that is absent.
[[nodiscard]] inline bool make(VRQ_BIGINT*& member) {
    if (member == nullptr) member = VRQ_New_BIGINT();
    return member != nullptr;
}

// Copies a value to a member, which is made when absent.
[[nodiscard]] inline bool put(VRQ_BIGINT*& member, const VRQ_BIGINT* value) {
    return make(member) && VRQ_Copy_BIGINT(member, value) == 0;
}

// The same where null leaves the member as it is.
[[nodiscard]] inline bool put_given(VRQ_BIGINT*& member, const VRQ_BIGINT* value) {
    return value == nullptr || put(member, value);
}

// Whether a unit over a finite field has p, q and g.
template <class Unit>
bool has_domain(const Unit& unit) {
    return unit.p != nullptr && unit.q != nullptr && unit.g != nullptr;
}

// 2 <= y < p. The public keys 0 and 1 protect nothing.
inline bool is_in_key_range(const VRQ_BIGINT& y, const VRQ_BIGINT& p) {
    return value_bits(y) >= 2 && is_below_var(y, p);
}

// Bytes of a value; 0 for null.
inline std::size_t byte_length(const VRQ_BIGINT* a) {
    return a == nullptr ? 0 : (value_bits(*a) + 7) / 8;
}

// The value big-endian, filled up with zeros on the left. False when it is longer. The time depends
// on lengths alone.
[[nodiscard]] inline bool write_padded(u8* out, std::size_t length, const VRQ_BIGINT& a) {
    if (byte_length(&a) > length) return false;
    const std::size_t stored = word_count(a) * 4;
    const std::size_t above = length > stored ? length - stored : 0;
    std::memset(out, 0, above);
    words_to_bytes(out + above, length - above, a.data);
    return true;
}

// A byte string as a number.
[[nodiscard]] inline bool read_number(VRQ_BIGINT& r, const u8* bytes, u32 length) {
    return length <= 0x7FFFFFFF &&
           VRQ_Binary_To_BIGINT(bytes, static_cast<i32>(length), &r) != nullptr;
}

} // namespace vrq
