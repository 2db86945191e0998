// Status texts: library, function and reason names of a status word.
#include "foundation/error_tables.h"

#include <cstdio>
#include <cstring>
#include <string_view>

using namespace vrq;

namespace {

constexpr u32 kLibraryMask = 0xFF000000;
constexpr u32 kFunctionMask = 0x00FF0000;
constexpr u32 kReasonMask = 0x0000FFFF;
constexpr u32 kNotFound = 1;
constexpr std::size_t kTextSize = 1024;

constexpr const char* find_name(std::span<const NameRow> rows, u32 code) {
    for (const NameRow& row : rows) {
        if (row.code == code) return row.name;
    }
    return nullptr;
}

constexpr std::size_t longest(std::span<const NameRow> rows) {
    std::size_t length = 0;
    for (const NameRow& row : rows) {
        const std::size_t n = std::string_view(row.name).size();
        if (n > length) length = n;
    }
    return length;
}

static_assert(longest(kLibraryNames) + longest(kFunctionNames) + longest(kReasonNames) + 3 <
              kTextSize);

bool is_mode_reason(u32 status) { return (status & 0xF0) == 0xF0; }

void print_family(u32 status) {
    for (const FamilyNames& family : kFamilies) {
        if (family.library != (status & kLibraryMask)) continue;
        std::printf("%s", family.text);
        const char* function = find_name(family.functions, status & kFunctionMask);
        if (function != nullptr) std::printf("%s ", function);
        return;
    }
}

} // namespace

u32 VRQ_Get_Error_String(u32 status, char* text) {
    const char* library = find_name(kLibraryNames, status & kLibraryMask);
    const char* function = find_name(kFunctionNames, status & kFunctionMask);
    const char* reason = find_name(kReasonNames, status & kReasonMask);
    if (library == nullptr || function == nullptr || reason == nullptr) return kNotFound;

    std::snprintf(text, kTextSize, "%s:%s:%s", library, function, reason);
    return 0;
}

u32 VRQ_Get_Reason_String(u32 status, char* text) {
    const char* reason = find_name(kReasonNames, status & kReasonMask);
    if (text == nullptr || reason == nullptr) return kNotFound;

    std::strcpy(text, reason);
    return 0;
}

i32 VRQ_Print_Error_String(u32 status) {
    char text[kTextSize];
    if (VRQ_Get_Error_String(status, text) != 0) return std::printf("CRYPTO ERROR (unknown)\n");
    return std::printf("CRYPTO ERROR (%d) : %s\n", static_cast<i32>(status), text);
}

i32 GetErrorCode(u32 status) {
    if (is_mode_reason(status)) {
        std::printf(">> ERROR : NON-PROVEN ALGORITM IN PROVEN MODE!! \n");
    } else {
        print_family(status);
    }

    const u32 reason = status & kReasonMask;
    const bool printable =
        reason >= VRQ_ERR_ADD_BIGINT_FAIL && reason <= VRQ_ERR_CONDITION_TEST_FAIL;
    if (!printable) return static_cast<i32>(reason);
    return std::printf("%s", find_name(kReasonNames, reason));
}
