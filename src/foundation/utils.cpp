// Bytes as hexadecimal text, whole files to and from memory.
#include "talvern/utils.h"
#include "foundation/alloc.h"
#include "foundation/status.h"

#include <cstdio>
#include <memory>

using namespace vrq;

namespace {

constexpr const char* kSource = "utils.c";
constexpr i32 kFailed = -1;

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Without a buffer of the platform: no copy of a key stays behind in it, and what has been written
// is in the file when the count is returned.
File open_file(const char* path, const char* mode) {
    File file(std::fopen(path, mode));
    if (file != nullptr) std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

// The size of a file of 1 byte to 2 GiB - 1, else -1. Leaves the position at the start.
i32 measure(std::FILE* file) {
    if (std::fseek(file, 0, SEEK_END) != 0) return kFailed;
    const long size = std::ftell(file);
    if (size < 1 || size > INT32_MAX) return kFailed;
    if (std::fseek(file, 0, SEEK_SET) != 0) return kFailed;
    return static_cast<i32>(size);
}

void print_hex(const u8* bytes, i32 length, const char* end) {
    if (bytes == nullptr || length < 1) return;
    for (i32 i = 0; i < length - 1; ++i) std::printf("%02X:", bytes[i]);
    std::printf("%02X%s", bytes[length - 1], end);
}

} // namespace

void vrq_Print_HEX_No_Nl(const u8* bytes, i32 length) { print_hex(bytes, length, ""); }

void vrq_Print_HEX(const u8* bytes, i32 length) { print_hex(bytes, length, "\n"); }

void vrq_Print_HEX_Nl(const u8* bytes, i32 length) {
    if (length == 0) std::putchar('\n');
    print_hex(bytes, length, "\n");
}

char* vrq_Dump_HEX(const u8* bytes, i32 length) {
    if (bytes == nullptr || length < 1) return nullptr;
    const std::size_t size = std::size_t{3} * static_cast<u32>(length);
    auto* text = static_cast<char*>(allocate_zeroed(size, kSource));
    if (text == nullptr) return nullptr;

    constexpr char digits[] = "0123456789ABCDEF";
    char* out = text;
    for (i32 i = 0; i < length; ++i) {
        *out++ = digits[bytes[i] >> 4];
        *out++ = digits[bytes[i] & 15];
        *out++ = ':';
    }
    out[-1] = '\0';
    return text;
}

i32 vrq_Binary_To_File(const u8* bytes, i32 offset, i32 count, const char* path) {
    if (path == nullptr || bytes == nullptr || count < 1) return kFailed;
    if (offset < 0 || offset >= count) return kFailed;
    const File file = open_file(path, "wbe");
    if (file == nullptr) return kFailed;
    return static_cast<i32>(
        std::fwrite(bytes + offset, 1, static_cast<std::size_t>(count), file.get()));
}

i32 vrq_File_To_Binary(const char* path, u8** out) {
    if (path == nullptr || out == nullptr) return kFailed;
    const File file = open_file(path, "rbe");
    if (file == nullptr) return kFailed;
    const i32 size = measure(file.get());
    if (size == kFailed) return kFailed;

    const auto length = static_cast<std::size_t>(size);
    auto* data = static_cast<u8*>(allocate(length, kSource));
    if (data == nullptr) return kFailed;
    if (std::fread(data, 1, length, file.get()) != length) {
        wipe_and_release(data, length, kSource);
        return kFailed;
    }
    *out = data;
    return size;
}
