// Streams over a file descriptor. Each transfer is one call of the platform; nothing is buffered.
#include "foundation/stream.h"

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <type_traits>
#include <unistd.h>
#include <utility>

using namespace vrq;

static_assert(std::is_standard_layout_v<VRQ_FILE_STREAM> && sizeof(VRQ_FILE_STREAM) == 24);
static_assert(offsetof(VRQ_FILE_STREAM, descriptor) == 16);

namespace {

constexpr const char* kSource = "file_io.c";
constexpr mode_t kNewFileMode = 0600;

VRQ_FILE_STREAM& self(VRQ_STREAM* stream) { return *reinterpret_cast<VRQ_FILE_STREAM*>(stream); }

bool is_standard(int descriptor) {
    return descriptor >= STDIN_FILENO && descriptor <= STDERR_FILENO;
}

// The platform gives a descriptor up even where close() fails, so its number is forgotten before:
// by the next call it may belong to somebody else.
u32 close_file(VRQ_STREAM* stream) {
    if (stream == nullptr) return VRQ_ERR_NULL_INPUT;
    VRQ_FILE_STREAM& file = self(stream);
    if (is_standard(file.descriptor)) return 0;
    return ::close(std::exchange(file.descriptor, -1)) == 0 ? 0 : VRQ_ERR_CANNOT_CLOSE_STREAM;
}

u32 write_file(VRQ_STREAM* stream, const u8* data, u32 length) {
    require_source(data, length, kSource);
    const ssize_t count = ::write(self(stream).descriptor, data, length);
    if (count < 0) return finish(*stream, VRQ_ERR_INTERNAL, kTransferFailed);
    return finish(*stream, 0, static_cast<u32>(count));
}

u32 write_ch(VRQ_STREAM* stream, u8 byte) { return write_file(stream, &byte, 1); }

u32 read_file(VRQ_STREAM* stream, u8* out, u32 length) {
    require_destination(out, length, kSource);
    const ssize_t count = ::read(self(stream).descriptor, out, length);
    if (count < 0) return finish(*stream, VRQ_ERR_INTERNAL, 0);
    const bool ended = count == 0 && length != 0;
    return finish(*stream, ended ? VRQ_ERR_END_OF_STREAM : 0, static_cast<u32>(count));
}

u32 read_ch(VRQ_STREAM* stream) {
    u8 byte;
    return read_file(stream, &byte, 1) == 1 ? byte : u32{VRQ_ERR_IO_EOF};
}

u32 seek(VRQ_STREAM* stream, off_t offset, int origin, off_t& position) {
    position = ::lseek(self(stream).descriptor, offset, origin);
    if (position >= 0) return 0;
    return errno == ESPIPE ? VRQ_ERR_NOT_SUPPORTED : VRQ_ERR_INTERNAL;
}

u32 rewind(VRQ_STREAM* stream) {
    off_t position;
    if (const u32 reason = seek(stream, 0, SEEK_SET, position); reason != 0) return reason;
    return finish(*stream, 0, 0);
}

u32 tell(VRQ_STREAM* stream, u32* out) {
    if (out == nullptr) return VRQ_ERR_NULL_INPUT;
    off_t position;
    if (const u32 reason = seek(stream, 0, SEEK_CUR, position); reason != 0) return reason;
    if (position > off_t{UINT32_MAX}) return VRQ_ERR_INTERNAL;
    *out = static_cast<u32>(position);
    return 0;
}

u32 skip(VRQ_STREAM* stream, const u32* count) {
    if (count == nullptr) return VRQ_ERR_NULL_INPUT;
    off_t position;
    return seek(stream, off_t{*count}, SEEK_CUR, position);
}

// What readers and writers have in common.
u32 control(VRQ_STREAM* stream, u32 code, void* ptr) {
    switch (code) {
    case VRQ_IO_FLUSH:
        return 0;
    case VRQ_IO_REWIND:
        return rewind(stream);
    case VRQ_IO_TELL:
        return tell(stream, static_cast<u32*>(ptr));
    default:
        return VRQ_ERR_NOT_SUPPORTED;
    }
}

u32 control_reader(VRQ_STREAM* stream, u32 code, void* ptr) {
    if (code == VRQ_IO_SKIP) return skip(stream, static_cast<const u32*>(ptr));
    return control(stream, code, ptr);
}

constexpr VRQ_STREAM_OPERATIONS kReader{
    close_file, vrq_IO_Null_Write_Ch, vrq_IO_Null_Write, read_ch, read_file, control_reader};
constexpr VRQ_STREAM_OPERATIONS kWriter{close_file,          write_ch,         write_file,
                                        vrq_IO_Null_Read_Ch, vrq_IO_Null_Read, control};

u32 open_file(VRQ_FILE_STREAM& file, const VRQ_STREAM& head, const char* path, int mode) {
    file = {head, ::open(path, mode | O_CLOEXEC, kNewFileMode)};
    if (file.descriptor < 0) return refuse_opening(file.stream, VRQ_ERR_CANNOT_OPEN_STREAM);
    return 0;
}

} // namespace

u32 vrq_IO_Open_File_Reader(VRQ_FILE_STREAM* stream, const char* path) {
    if (stream == nullptr) return VRQ_ERR_NULL_INPUT;
    if (path == nullptr) return refuse_opening(stream->stream, VRQ_ERR_NULL_INPUT);
    constexpr u32 flags = VRQ_IO_READABLE | VRQ_IO_POSITIONED | VRQ_IO_SEEKABLE;
    return open_file(*stream, {&kReader, 0, flags}, path, O_RDONLY);
}

u32 vrq_IO_Open_File_Writer(VRQ_FILE_STREAM* stream, const char* path) {
    if (stream == nullptr) return VRQ_ERR_NULL_INPUT;
    // Callers rely on a null path being a failed open here, other than for a reader.
    if (path == nullptr) return refuse_opening(stream->stream, VRQ_ERR_CANNOT_OPEN_STREAM);
    constexpr u32 flags = VRQ_IO_WRITABLE | VRQ_IO_POSITIONED | VRQ_IO_SEEKABLE;
    return open_file(*stream, {&kWriter, 0, flags}, path, O_WRONLY | O_CREAT);
}
