// Words, bits and comparison of big integers, and their conversion from and to bytes.
#include "bigint/record.h"
#include "foundation/status.h"
#include "talvern/bigint.h"

#include <array>
#include <climits>
#include <cstring>

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_BIGINT, function, reason); }

constexpr unsigned kWordBits = 32;

// Bit lengths of bytes.
consteval std::array<u8, 256> byte_lengths() {
    std::array<u8, 256> lengths{};
    for (unsigned n = 1; n < 256; ++n) lengths[n] = static_cast<u8>(lengths[n / 2] + 1);
    return lengths;
}

constexpr std::array<u8, 256> kByteLengths = byte_lengths();
static_assert(kByteLengths[1] == 1 && kByteLengths[4] == 3 && kByteLengths[255] == 8);

u32 write_bytes(const VRQ_BIGINT& a, u8* out, std::size_t count) {
    // A leading byte of zeros may lie above the words.
    const std::size_t stored = word_count(a) * 4;
    const std::size_t above = count > stored ? count - stored : 0;
    std::memset(out, 0, above);
    words_to_bytes(out + above, count - above, a.data);
    return static_cast<u32>(count);
}

} // namespace

std::size_t vrq::value_bits(const VRQ_BIGINT& a) {
    const std::size_t words = value_words(a);
    if (words == 0) return 0;
    return (words - 1) * kWordBits + vrq_Get_BIGINT_Bits_Word(a.data[words - 1]);
}

u32 VRQ_Set_BIGINT_Word(VRQ_BIGINT* a, u32 word) {
    if (a == nullptr) return fail(VRQ_F_SET_BIGINT_WORD, VRQ_ERR_NULL_INPUT);
    if (!grow(*a, 1)) return fail(VRQ_F_SET_BIGINT_WORD, VRQ_ERR_EXPAND_BIGINT_WORD);
    a->data[0] = word;
    a->used = word != 0 ? 1 : 0;
    return 0;
}

u32 VRQ_Get_BIGINT_Word(const VRQ_BIGINT* a) {
    if (a == nullptr) return 1;
    if (a->used > 1) return 0xFFFFFFFF;
    return a->used == 1 ? a->data[0] : 0;
}

u32 VRQ_Set_BIGINT_Bit(VRQ_BIGINT* a, i32 index) {
    if (a == nullptr || index < 0) return fail(VRQ_F_SET_BIGINT_BIT, VRQ_ERR_NULL_INPUT);

    const std::size_t word = static_cast<u32>(index) / kWordBits;
    const std::size_t used = word_count(*a);
    if (word >= used) {
        if (!grow(*a, word + 1)) return fail(VRQ_F_SET_BIGINT_BIT, VRQ_ERR_EXPAND_BIGINT_WORD);
        std::memset(a->data + used, 0, (word + 1 - used) * sizeof(u32));
        a->used = static_cast<i32>(word + 1);
    }
    a->data[word] |= static_cast<u32>(1) << (static_cast<u32>(index) % kWordBits);
    return 0;
}

u32 VRQ_Is_BIGINT_Bit_Set(const VRQ_BIGINT* a, i32 index) {
    if (a == nullptr || index < 0) return 0;
    const std::size_t word = static_cast<u32>(index) / kWordBits;
    if (word >= word_count(*a)) return 0;
    return a->data[word] >> (static_cast<u32>(index) % kWordBits) & 1;
}

u32 VRQ_Get_BIGINT_Bits_Length(const VRQ_BIGINT* a) {
    if (a == nullptr || a->used <= 0) return 0;
    const std::size_t words = word_count(*a);
    return static_cast<u32>((words - 1) * kWordBits + vrq_Get_BIGINT_Bits_Word(a->data[words - 1]));
}

u32 vrq_Get_BIGINT_Bits_Word(u32 word) {
    if (word >> 24 != 0) return kByteLengths[word >> 24] + 24U;
    if (word >> 16 != 0) return kByteLengths[word >> 16] + 16U;
    if (word >> 8 != 0) return kByteLengths[word >> 8] + 8U;
    return kByteLengths[word];
}

i32 VRQ_Cmp_BIGINT(const VRQ_BIGINT* a, const VRQ_BIGINT* b) {
    if (a == nullptr || b == nullptr) return 1;
    if (a->used != b->used) return a->used > b->used ? 1 : -1;
    if (a->used <= 0) return 0;
    return vrq_Cmp_BIGINT_Words(a->data, b->data, a->used);
}

VRQ_BIGINT* VRQ_Binary_To_BIGINT(const u8* bytes, i32 length, VRQ_BIGINT* a) {
    if (bytes == nullptr || length < 0) return nullptr;
    VRQ_BIGINT* const r = a != nullptr ? a : VRQ_New_BIGINT();
    if (r == nullptr) return nullptr;

    const std::size_t count = static_cast<std::size_t>(length);
    const std::size_t words = (count + 3) / 4;
    if (!grow(*r, words)) {
        if (a == nullptr) VRQ_Free_BIGINT(r);
        return nullptr;
    }
    words_from_bytes(r->data, bytes, count);
    set_used(*r, words);
    return r;
}

u32 VRQ_BIGINT_To_Binary_Unsigned(const VRQ_BIGINT* a, u8* out) {
    if (a == nullptr || out == nullptr || is_zero(*a)) return 0;
    return write_bytes(*a, out, (static_cast<std::size_t>(VRQ_Get_BIGINT_Bits_Length(a)) + 7) / 8);
}

u32 VRQ_BIGINT_To_Binary(const VRQ_BIGINT* a, u8* out) {
    if (a == nullptr || out == nullptr || is_zero(*a)) return 0;
    return write_bytes(*a, out, static_cast<std::size_t>(VRQ_Get_BIGINT_Bits_Length(a)) / 8 + 1);
}
