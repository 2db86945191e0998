// Lines, records and numbers of the kernel's information files.
#include "random/system_file.h"

#include <cerrno>
#include <cstring>
#include <limits>

#include <fcntl.h>
#include <unistd.h>

using namespace vrq;

namespace {

bool is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }

} // namespace

namespace vrq {

SystemFile::SystemFile(const char* path) : descriptor_(open(path, O_RDONLY | O_CLOEXEC)) {}

SystemFile::~SystemFile() {
    if (is_open()) close(descriptor_);
}

bool SystemFile::next(u8& byte) {
    if (at_ == filled_) {
        filled_ = read_once(descriptor_, buffer_.data(), buffer_.size());
        at_ = 0;
        if (filled_ == 0) return false;
    }
    byte = buffer_[at_++];
    return true;
}

bool SystemFile::line(char* out, std::size_t size) {
    std::size_t length = 0;
    u8 byte;
    while (length + 1 < size && next(byte)) {
        out[length++] = static_cast<char>(byte);
        if (byte == '\n') break;
    }
    out[length] = '\0';
    return length != 0;
}

bool SystemFile::record(u8* out, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        if (!next(out[i])) return false;
    }
    return true;
}

std::size_t read_once(int descriptor, u8* out, std::size_t size) {
    ssize_t count;
    do {
        count = read(descriptor, out, size);
    } while (count < 0 && errno == EINTR);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

bool take_decimal(const char*& text, u64& value) {
    constexpr u64 kMost = std::numeric_limits<u64>::max();

    while (is_blank(*text)) ++text;
    const bool is_negative = *text == '-';
    if (*text == '-' || *text == '+') ++text;
    if (!is_digit(*text)) return false;

    value = 0;
    bool fits = true;
    for (; is_digit(*text); ++text) {
        const u64 digit = static_cast<u64>(*text - '0');
        fits = fits && value <= (kMost - digit) / 10;
        value = value * 10 + digit;
    }
    if (!fits) {
        value = kMost;
    } else if (is_negative) {
        value = 0 - value;
    }
    return true;
}

bool second_field(const char* line, u64& value) {
    while (is_blank(*line)) ++line;
    while (*line != '\0' && !is_blank(*line)) ++line;
    return take_decimal(line, value);
}

} // namespace vrq
