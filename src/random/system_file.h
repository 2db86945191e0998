// Reading the kernel's information files: unbuffered descriptors, opened close-on-exec, and a buffer
// of our own, because what stdio reads stays behind in memory that it frees.
#pragma once

#include "foundation/scope.h"
#include "foundation/status.h"

#include <cstddef>

namespace vrq {

class SystemFile {
  public:
    explicit SystemFile(const char* path);
    ~SystemFile();
    SystemFile(const SystemFile&) = delete;
    SystemFile& operator=(const SystemFile&) = delete;

    bool is_open() const { return descriptor_ >= 0; }

    // The next line with its newline, or the next size - 1 characters of a longer one; always
    // terminated. False at the end of the file.
    bool line(char* out, std::size_t size);

    // The next `size` bytes. False when there are fewer.
    bool record(u8* out, std::size_t size);

  private:
    bool next(u8& byte);

    int descriptor_;
    std::size_t at_ = 0;
    std::size_t filled_ = 0;
    SecretBytes<1024> buffer_;
};

// One read() of at most size bytes that an interrupt does not end; the count, or 0.
std::size_t read_once(int descriptor, u8* out, std::size_t size);

// A decimal number behind blanks and an optional sign, modulo 2^64, saturated like strtoul. Leaves
// `text` behind it. False when there is no digit.
bool take_decimal(const char*& text, u64& value);

// The number behind the first word of a line.
bool second_field(const char* line, u64& value);

} // namespace vrq
