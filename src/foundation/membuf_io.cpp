// Streams over a chunked buffer, which stays the caller's.
#include "foundation/stream.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>

using namespace vrq;

static_assert(std::is_standard_layout_v<VRQ_MEM_BUF_READER> && sizeof(VRQ_MEM_BUF_READER) == 40);
static_assert(offsetof(VRQ_MEM_BUF_READER, membuf) == 16 &&
              offsetof(VRQ_MEM_BUF_READER, chunk) == 24 &&
              offsetof(VRQ_MEM_BUF_READER, chunkOffset) == 32);
static_assert(std::is_standard_layout_v<VRQ_MEM_BUF_WRITER> && sizeof(VRQ_MEM_BUF_WRITER) == 24);
static_assert(offsetof(VRQ_MEM_BUF_WRITER, membuf) == 16);

namespace {

constexpr const char* kSource = "membuf_io.c";
constexpr const char* kMembufIsSet = "membuf != ((void *)0)";

VRQ_MEM_BUF_READER& reader_of(VRQ_STREAM* stream) {
    return *reinterpret_cast<VRQ_MEM_BUF_READER*>(stream);
}

// Moves to the chunk of the next byte; false at the end of the data. The reader may have been
// opened before the first chunk came, and chunks may come after the end was reached.
bool find_data(VRQ_MEM_BUF_READER& reader) {
    if (reader.membuf->size == 0) return false;
    if (reader.chunk == nullptr) reader.chunk = reader.membuf->first;
    require(reader.chunk != nullptr, "reader->chunk != ((void *)0)", kSource);

    while (reader.chunkOffset == reader.chunk->used) {
        if (reader.chunk->next == nullptr) return false;
        reader.chunk = reader.chunk->next;
        reader.chunkOffset = 0;
    }
    require(reader.chunkOffset < reader.chunk->used, "reader->chunkOffset < reader->chunk->used",
            kSource);
    return true;
}

u32 close(VRQ_STREAM*) { return 0; }

u32 read(VRQ_STREAM* stream, u8* out, u32 length) {
    require_destination(out, length, kSource);
    VRQ_MEM_BUF_READER& reader = reader_of(stream);
    if (!find_data(reader)) return finish(*stream, VRQ_ERR_END_OF_STREAM, 0);

    u32 copied = 0;
    while (copied < length && find_data(reader)) {
        const u32 count = std::min(length - copied, reader.chunk->used - reader.chunkOffset);
        std::memcpy(out + copied, reader.chunk->data + reader.chunkOffset, count);
        reader.chunkOffset += count;
        copied += count;
    }
    return finish(*stream, 0, copied);
}

u32 read_ch(VRQ_STREAM* stream) {
    u8 byte;
    return read(stream, &byte, 1) == 1 ? byte : u32{VRQ_ERR_IO_EOF};
}

u32 write(VRQ_STREAM* stream, const u8* data, u32 length) {
    require_source(data, length, kSource);
    VRQ_MEM_BUF* membuf = reinterpret_cast<VRQ_MEM_BUF_WRITER*>(stream)->membuf;
    const u32 reason = vrq_Mem_Buf_Update(membuf, data, length);
    return finish(*stream, reason, reason == 0 ? length : kTransferFailed);
}

u32 write_ch(VRQ_STREAM* stream, u8 byte) { return write(stream, &byte, 1); }

constexpr VRQ_STREAM_OPERATIONS kReader{close, vrq_IO_Null_Write_Ch, vrq_IO_Null_Write, read_ch,
                                        read,  vrq_IO_Null_Ctl};
constexpr VRQ_STREAM_OPERATIONS kWriter{
    close, write_ch, write, vrq_IO_Null_Read_Ch, vrq_IO_Null_Read, vrq_IO_Null_Ctl};

} // namespace

u32 vrq_IO_Open_Mem_Buf_Reader(VRQ_MEM_BUF_READER* reader, const VRQ_MEM_BUF* membuf) {
    require(reader != nullptr, "reader != ((void *)0)", kSource);
    require(membuf != nullptr, kMembufIsSet, kSource);
    *reader = {{&kReader, 0, VRQ_IO_READABLE | VRQ_IO_POSITIONED}, membuf, membuf->first, 0};
    return 0;
}

u32 vrq_IO_Open_Mem_Buf_Writer(VRQ_MEM_BUF_WRITER* writer, VRQ_MEM_BUF* membuf) {
    require(writer != nullptr, "writer != ((void *)0)", kSource);
    require(membuf != nullptr, kMembufIsSet, kSource);
    *writer = {{&kWriter, 0, VRQ_IO_WRITABLE}, membuf};
    return 0;
}
