// Streams: dispatch through the table of operations, reading of lines, and the null stream.
#include "foundation/stream.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

using namespace vrq;

static_assert(std::is_standard_layout_v<VRQ_STREAM> && sizeof(VRQ_STREAM) == 16);
static_assert(offsetof(VRQ_STREAM, error) == 8 && offsetof(VRQ_STREAM, flags) == 12);
static_assert(sizeof(VRQ_STREAM_OPERATIONS) == 48);
static_assert(offsetof(VRQ_STREAM_OPERATIONS, write_ch) == 8 &&
              offsetof(VRQ_STREAM_OPERATIONS, write) == 16 &&
              offsetof(VRQ_STREAM_OPERATIONS, read_ch) == 24 &&
              offsetof(VRQ_STREAM_OPERATIONS, read) == 32 &&
              offsetof(VRQ_STREAM_OPERATIONS, ctrl) == 40);

namespace {

constexpr const char* kSource = "crypto_io.c";
constexpr const char* kStreamIsSet = "stream != ((void *)0)";
constexpr const char* kBufIsSet = "buf != ((void *)0)";

constexpr VRQ_STREAM_OPERATIONS kNullOperations{
    vrq_IO_Null_Close,   vrq_IO_Null_Write_Ch, vrq_IO_Null_Write,
    vrq_IO_Null_Read_Ch, vrq_IO_Null_Read,     vrq_IO_Null_Ctl,
};

// Notes that the null stream cannot do it; result, or the reason for a null pointer.
u32 not_supported(VRQ_STREAM* stream, u32 result) {
    if (stream == nullptr) return VRQ_ERR_NULL_INPUT;
    return finish(*stream, VRQ_ERR_NOT_SUPPORTED, result);
}

} // namespace

u32 vrq::refuse_opening(VRQ_STREAM& stream, u32 reason) {
    stream = {&kNullOperations, reason, VRQ_IO_CLOSED};
    return reason;
}

u32 vrq_IO_Write_Ch(VRQ_STREAM* stream, u8 byte) {
    require(stream != nullptr, kStreamIsSet, kSource);
    return stream->operations->write_ch(stream, byte);
}

u32 vrq_IO_Write(VRQ_STREAM* stream, const u8* buf, u32 length) {
    require(stream != nullptr, kStreamIsSet, kSource);
    return stream->operations->write(stream, buf, length);
}

u32 vrq_IO_Read_Ch(VRQ_STREAM* stream) {
    require(stream != nullptr, kStreamIsSet, kSource);
    return stream->operations->read_ch(stream);
}

u32 vrq_IO_Read(VRQ_STREAM* stream, u8* buf, u32 length) {
    require(stream != nullptr, kStreamIsSet, kSource);
    return stream->operations->read(stream, buf, length);
}

u32 vrq_IO_Read_Ln(VRQ_STREAM* stream, u8* buf, u32 size) {
    require(stream != nullptr, kStreamIsSet, kSource);
    require(buf != nullptr, kBufIsSet, kSource);
    std::memset(buf, 0, size);

    for (u32 stored = 0; u64{stored} + 1 < size;) {
        stream->error = 0; // what an earlier call left must not end the line
        const u32 character = stream->operations->read_ch(stream);
        const bool ended = stream->error == VRQ_ERR_END_OF_STREAM;
        if (ended && stored != 0) return stored;
        if (stream->error != 0) return kTransferFailed;
        buf[stored++] = static_cast<u8>(character);
        if (buf[stored - 1] == '\n') return stored;
    }
    return finish(*stream, VRQ_ERR_BUF_TOO_SMALL, kTransferFailed);
}

u32 vrq_IO_Ctrl(VRQ_STREAM* stream, u32 code, void* ptr) {
    require(stream != nullptr, kStreamIsSet, kSource);
    return stream->operations->ctrl(stream, code, ptr);
}

u32 vrq_IO_Close(VRQ_STREAM* stream) {
    require(stream != nullptr, kStreamIsSet, kSource);
    if ((stream->flags & VRQ_IO_CLOSED) != 0) return 0;
    if (const u32 reason = vrq_IO_Ctrl(stream, VRQ_IO_FLUSH, nullptr); reason != 0) return reason;
    if (const u32 reason = stream->operations->close(stream); reason != 0) return reason;
    stream->flags |= VRQ_IO_CLOSED;
    return 0;
}

u32 vrq_IO_Null_Close(VRQ_STREAM*) { return 0; }

u32 vrq_IO_Null_Write_Ch(VRQ_STREAM* stream, u8) { return not_supported(stream, kTransferFailed); }

u32 vrq_IO_Null_Write(VRQ_STREAM* stream, const u8*, u32) {
    return not_supported(stream, kTransferFailed);
}

u32 vrq_IO_Null_Read_Ch(VRQ_STREAM* stream) { return not_supported(stream, VRQ_ERR_IO_EOF); }

u32 vrq_IO_Null_Read(VRQ_STREAM* stream, u8*, u32) {
    return not_supported(stream, kTransferFailed);
}

u32 vrq_IO_Null_Ctl(VRQ_STREAM*, u32 code, void*) {
    return code == VRQ_IO_FLUSH ? 0 : VRQ_ERR_NOT_SUPPORTED;
}
