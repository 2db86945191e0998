// Streams over a buffer of 32-bit cells. The character calls use one cell a character; the block
// calls copy adjacent bytes and still pass over one cell a character. No call leaves the buffer:
// with p characters passed, at most length - p bytes are copied to or from byte 4 * p of
// 4 * length.
#include "foundation/stream.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>

using namespace vrq;

static_assert(std::is_standard_layout_v<VRQ_BUF_STREAM> && sizeof(VRQ_BUF_STREAM) == 56);
static_assert(offsetof(VRQ_BUF_STREAM, length) == 16 && offsetof(VRQ_BUF_STREAM, start) == 24 &&
              offsetof(VRQ_BUF_STREAM, position) == 32 && offsetof(VRQ_BUF_STREAM, current) == 40 &&
              offsetof(VRQ_BUF_STREAM, user) == 48);

namespace {

constexpr const char* kSource = "buf_io.c";

VRQ_BUF_STREAM& self(VRQ_STREAM* stream) { return *reinterpret_cast<VRQ_BUF_STREAM*>(stream); }

u32 left(const VRQ_BUF_STREAM& buf) { return buf.length - buf.position; }

void pass_over(VRQ_BUF_STREAM& buf, u32 characters) {
    buf.position += characters;
    buf.current += characters;
}

u32 close(VRQ_STREAM*) { return 0; }

u32 write_ch(VRQ_STREAM* stream, u8 byte) {
    VRQ_BUF_STREAM& buf = self(stream);
    if (left(buf) == 0) return finish(*stream, VRQ_ERR_END_OF_STREAM, 0);
    const u32 cell = byte;
    std::memcpy(buf.current, &cell, sizeof cell);
    pass_over(buf, 1);
    return finish(*stream, 0, 1);
}

u32 write(VRQ_STREAM* stream, const u8* data, u32 length) {
    require_source(data, length, kSource);
    VRQ_BUF_STREAM& buf = self(stream);
    if (left(buf) == 0) return finish(*stream, VRQ_ERR_END_OF_STREAM, 0);
    const u32 count = std::min(length, left(buf));
    if (count != 0) std::memmove(buf.current, data, count);
    pass_over(buf, count);
    return finish(*stream, 0, count);
}

u32 read_ch(VRQ_STREAM* stream) {
    VRQ_BUF_STREAM& buf = self(stream);
    if (left(buf) == 0) return finish(*stream, VRQ_ERR_END_OF_STREAM, VRQ_ERR_IO_EOF);
    u32 cell;
    std::memcpy(&cell, buf.current, sizeof cell);
    pass_over(buf, 1);
    return finish(*stream, 0, cell);
}

u32 read(VRQ_STREAM* stream, u8* out, u32 length) {
    require_destination(out, length, kSource);
    VRQ_BUF_STREAM& buf = self(stream);
    if (left(buf) == 0) return finish(*stream, VRQ_ERR_END_OF_STREAM, 0);
    const u32 count = std::min(length, left(buf));
    if (count != 0) std::memmove(out, buf.current, count);
    pass_over(buf, count);
    return finish(*stream, 0, count);
}

// What readers and writers have in common.
u32 control(VRQ_STREAM* stream, u32 code, void* ptr) {
    VRQ_BUF_STREAM& buf = self(stream);
    switch (code) {
    case VRQ_IO_FLUSH:
        return 0;
    case VRQ_IO_REWIND:
        buf.position = 0;
        buf.current = buf.start;
        return finish(*stream, 0, 0);
    case VRQ_IO_TELL:
        if (ptr == nullptr) return VRQ_ERR_NULL_INPUT;
        *static_cast<u32*>(ptr) = buf.position;
        return 0;
    default:
        return VRQ_ERR_NOT_SUPPORTED;
    }
}

u32 control_reader(VRQ_STREAM* stream, u32 code, void* ptr) {
    VRQ_BUF_STREAM& buf = self(stream);
    if (code == VRQ_IO_SKIP) {
        if (ptr == nullptr) return VRQ_ERR_NULL_INPUT;
        pass_over(buf, std::min(*static_cast<const u32*>(ptr), left(buf)));
        return 0;
    }
    if (code == VRQ_IO_CURRENT) {
        require(ptr != nullptr, "ptr != ((void *)0)", kSource);
        *static_cast<const u32**>(ptr) = buf.current;
        return 0;
    }
    return control(stream, code, ptr);
}

constexpr VRQ_STREAM_OPERATIONS kReader{close, vrq_IO_Null_Write_Ch, vrq_IO_Null_Write, read_ch,
                                        read,  control_reader};
constexpr VRQ_STREAM_OPERATIONS kWriter{
    close, write_ch, write, vrq_IO_Null_Read_Ch, vrq_IO_Null_Read, control};

u32 open(VRQ_BUF_STREAM* stream, const VRQ_STREAM& head, u32* buffer, u32 length, u32 user) {
    if (stream == nullptr) return VRQ_ERR_NULL_INPUT;
    const bool missing = buffer == nullptr && length != 0;
    *stream = {head, missing ? 0 : length, buffer, 0, buffer, user};
    return missing ? refuse_opening(stream->stream, VRQ_ERR_NULL_INPUT) : 0;
}

} // namespace

u32 vrq_IO_Open_Buf_Reader(VRQ_BUF_STREAM* stream, const u32* buffer, u32 length, u32 user) {
    constexpr u32 flags = VRQ_IO_READABLE | VRQ_IO_POSITIONED | VRQ_IO_SEEKABLE;
    return open(stream, {&kReader, 0, flags}, const_cast<u32*>(buffer), length, user);
}

u32 vrq_IO_Open_Buf_Writer(VRQ_BUF_STREAM* stream, u32* buffer, u32 length) {
    constexpr u32 flags = VRQ_IO_WRITABLE | VRQ_IO_POSITIONED | VRQ_IO_SEEKABLE;
    return open(stream, {&kWriter, 0, flags}, buffer, length, 0);
}
