// Big-integer records inside the library: values in, values out. Words are handled in words.h.
#pragma once

#include "bigint/words.h"
#include "talvern/bigint.h"

#include <cstddef>

namespace vrq {

// Used words, as the record counts them.
inline std::size_t word_count(const VRQ_BIGINT& a) {
    return a.used > 0 ? static_cast<std::size_t>(a.used) : 0;
}

// Used words without leading zeros; 0 for the value 0 however it is stored.
inline std::size_t value_words(const VRQ_BIGINT& a) {
    return significant_words(a.data, word_count(a));
}

inline std::size_t value_limbs(const VRQ_BIGINT& a) { return limbs_for(value_words(a)); }
inline bool is_zero(const VRQ_BIGINT& a) { return value_words(a) == 0; }
inline bool is_odd(const VRQ_BIGINT& a) { return word_count(a) != 0 && (a.data[0] & 1) != 0; }

// Bit length of the value; not the count of VRQ_Get_BIGINT_Bits_Length for leading zero words.
std::size_t value_bits(const VRQ_BIGINT& a);

// a < b by value, whatever zero words lead either. The time depends on both.
inline bool is_below(const VRQ_BIGINT& a, const VRQ_BIGINT& b) {
    const std::size_t a_words = value_words(a);
    const std::size_t b_words = value_words(b);
    if (a_words != b_words) return a_words < b_words;
    for (std::size_t i = a_words; i-- > 0;) {
        if (a.data[i] != b.data[i]) return a.data[i] < b.data[i];
    }
    return false;
}

inline void set_used(VRQ_BIGINT& a, std::size_t words) {
    a.used = static_cast<i32>(significant_words(a.data, words));
}

// Room for so many words, within the limit of the interface.
[[nodiscard]] bool grow(VRQ_BIGINT& a, std::size_t words);

// Room for scratch limbs in a record of a pool, beyond that limit where need be. The value is lost.
[[nodiscard]] bool grow_scratch(VRQ_BIGINT& a, std::size_t limbs);

// The value in limbs, filled up with zeros; value_limbs(a) <= limbs.
inline void load_value(Limb* r, std::size_t limbs, const VRQ_BIGINT& a) {
    words_to_limbs(r, limbs, a.data, value_words(a));
}

// Limbs to a normalised value; false when r cannot grow.
[[nodiscard]] bool store_value(VRQ_BIGINT& r, const Limb* a, std::size_t limbs);

[[nodiscard]] inline bool store_word(VRQ_BIGINT& r, u32 word) {
    return VRQ_Set_BIGINT_Word(&r, word) == 0;
}

} // namespace vrq
