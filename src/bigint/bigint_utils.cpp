// Big integers to text and back.
#include "bigint/decimal.h"
#include "bigint/record.h"
#include "foundation/alloc.h"
#include "foundation/scope.h"
#include "talvern/bigint.h"

#include <cstdio>
#include <cstring>

using namespace vrq;

namespace {

constexpr std::size_t kWordDigits = 8;

// Value of a hex digit, -1 for any other character.
constexpr int digit_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

void write_hex_word(char* out, u32 word) {
    for (std::size_t i = kWordDigits; i-- > 0; word >>= 4) out[i] = "0123456789ABCDEF"[word & 15];
}

u32 read_hex_word(const char* digits, std::size_t count) {
    u32 word = 0;
    for (std::size_t i = 0; i < count; ++i)
        word = word << 4 | static_cast<u32>(digit_value(digits[i]));
    return word;
}

// Moves a text of digits to its start without leading zeros, keeping the last digit.
void strip_zeros(char* text, std::size_t length) {
    std::size_t zeros = 0;
    while (zeros + 1 < length && text[zeros] == '0') ++zeros;
    std::memmove(text, text + zeros, length - zeros);
    std::memset(text + length - zeros, 0, zeros + 1);
}

void release_text(char* text) { wipe_and_release(text, std::strlen(text)); }

} // namespace

char* VRQ_BIGINT_To_HEX(const VRQ_BIGINT* a) {
    if (a == nullptr) return nullptr;
    const std::size_t words = word_count(*a);
    auto* const text = static_cast<char*>(allocate(words * kWordDigits + 2));
    if (text == nullptr) return nullptr;

    text[0] = '0';
    for (std::size_t i = 0; i < words; ++i)
        write_hex_word(text + i * kWordDigits, a->data[words - 1 - i]);
    strip_zeros(text, words != 0 ? words * kWordDigits : 1);
    return text;
}

char* VRQ_Dump_BIGINT(const VRQ_BIGINT* a) {
    char* const hex = VRQ_BIGINT_To_HEX(a);
    if (hex == nullptr) return nullptr;
    const std::size_t size = std::strlen(hex) + 3;
    auto* const text = static_cast<char*>(allocate_zeroed(size));
    if (text != nullptr) std::snprintf(text, size, "0x%s", hex);
    release_text(hex);
    return text;
}

void VRQ_Print_BIGINT(const VRQ_BIGINT* a) {
    std::fputs("0x", stdout);
    char* const hex = VRQ_BIGINT_To_HEX(a);
    if (hex == nullptr) return;
    std::puts(hex);
    release_text(hex);
}

char* VRQ_BIGINT_To_DEC(const VRQ_BIGINT* a) {
    if (a == nullptr) return nullptr;
    const std::size_t n = is_zero(*a) ? 1 : value_limbs(*a);
    const std::size_t digits = decimal_digits(n);
    SecretHeap area((n + decimal_scratch(n)) * sizeof(Limb));
    auto* const text = static_cast<char*>(allocate(digits + 1));
    if (!area || text == nullptr) {
        release(text);
        return nullptr;
    }

    auto* const value = reinterpret_cast<Limb*>(area.data());
    load_value(value, n, *a);
    to_decimal(text, value, n, value + n);
    strip_zeros(text, digits);
    return text;
}

VRQ_BIGINT* VRQ_HEX_To_BIGINT(const char* text) {
    if (text == nullptr || text[0] == '\0') return nullptr;
    std::size_t digits = 0;
    while (digit_value(text[digits]) >= 0) ++digits;

    const std::size_t words = (digits + kWordDigits - 1) / kWordDigits;
    VRQ_BIGINT* const a = VRQ_New_BIGINT();
    if (a == nullptr || !grow(*a, words)) {
        if (a != nullptr) VRQ_Free_BIGINT(a);
        return nullptr;
    }
    for (std::size_t i = 0; i < words; ++i) {
        const std::size_t end = digits - i * kWordDigits;
        const std::size_t count = end < kWordDigits ? end : kWordDigits;
        a->data[i] = read_hex_word(text + end - count, count);
    }
    a->used = static_cast<i32>(words);
    return a;
}
