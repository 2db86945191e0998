// Chunked buffers: a list of chunks from a pool, filled in order. All positions are bytes.
#include "foundation/alloc.h"
#include "foundation/fatal.h"
#include "foundation/status.h"

#include <algorithm>
#include <cstdio>
#include <type_traits>

using namespace vrq;

static_assert(std::is_standard_layout_v<VRQ_MEM_CHUNK> && sizeof(VRQ_MEM_CHUNK) == 24);
static_assert(offsetof(VRQ_MEM_CHUNK, avail) == 4 && offsetof(VRQ_MEM_CHUNK, data) == 8 &&
              offsetof(VRQ_MEM_CHUNK, next) == 16);
static_assert(std::is_standard_layout_v<VRQ_MEM_BUF> && sizeof(VRQ_MEM_BUF) == 32);
static_assert(offsetof(VRQ_MEM_BUF, first) == 8 && offsetof(VRQ_MEM_BUF, last) == 16 &&
              offsetof(VRQ_MEM_BUF, size) == 24 && offsetof(VRQ_MEM_BUF, chunkSize) == 28);

namespace {

constexpr const char* kSource = "membuf.c";
constexpr const char* kMembufIsSet = "membuf != ((void *)0)";
constexpr u32 kDefaultChunk = 512;

// A chunk of no bytes would never hold anything.
constexpr u32 chunk_or_default(u32 size) { return size == 0 ? kDefaultChunk : size; }

// Copies what fits into the chunk and returns how much that was.
u32 fill(VRQ_MEM_BUF& membuf, VRQ_MEM_CHUNK& chunk, const u8* data, u32 length) {
    const u32 count = std::min(length, chunk.avail);
    if (count == 0) return 0;
    std::memcpy(chunk.data + chunk.used, data, count);
    chunk.used += count;
    chunk.avail -= count;
    membuf.size += count;
    return count;
}

// Links an empty chunk after the last one and returns it, or null.
VRQ_MEM_CHUNK* add_chunk(VRQ_MEM_BUF& membuf) {
    auto* chunk =
        static_cast<VRQ_MEM_CHUNK*>(vrq_MEM_POOL_ALLOC(membuf.pool, sizeof(VRQ_MEM_CHUNK)));
    if (chunk == nullptr) return nullptr;
    const u32 size = chunk_or_default(membuf.chunkSize);
    auto* data = static_cast<u8*>(vrq_MEM_POOL_ALLOC(membuf.pool, size));
    if (data == nullptr) {
        // Gives the record back to the pool, or to the platform without one.
        vrq_MEM_POOL_REALLOC(membuf.pool, chunk, sizeof(VRQ_MEM_CHUNK), 0);
        return nullptr;
    }

    *chunk = {0, size, data, nullptr};
    (membuf.last == nullptr ? membuf.first : membuf.last->next) = chunk;
    membuf.last = chunk;
    return chunk;
}

} // namespace

u32 vrq_Mem_Buf_Init(VRQ_MEM_BUF* buf, VRQ_MEM_POOL* pool, u32 chunk_size) {
    require(buf != nullptr, "buf != ((void *)0)", kSource);
    *buf = {pool, nullptr, nullptr, 0, chunk_or_default(chunk_size)};
    return 0;
}

u32 vrq_Mem_Buf_Update(VRQ_MEM_BUF* membuf, const u8* data, u32 length) {
    require(membuf != nullptr, kMembufIsSet, kSource);
    if (data == nullptr && length != 0) return VRQ_ERR_NULL_INPUT;
    if (length > UINT32_MAX - membuf->size) return VRQ_ERR_MEMORY_ALLOC;

    u32 copied = membuf->last == nullptr ? 0 : fill(*membuf, *membuf->last, data, length);
    while (copied < length) {
        VRQ_MEM_CHUNK* chunk = add_chunk(*membuf);
        if (chunk == nullptr) return VRQ_ERR_MEMORY_ALLOC;
        copied += fill(*membuf, *chunk, data + copied, length - copied);
    }
    require(copied == length, "numCopied == remaining", kSource);
    return 0;
}

u32 vrq_Mem_Buf_To_Array(const VRQ_MEM_BUF* membuf, u8** bufp, u32* lengthp) {
    require(membuf != nullptr, kMembufIsSet, kSource);
    require(bufp != nullptr, "bufp != ((void *)0)", kSource);
    if (lengthp != nullptr) *lengthp = 0;
    *bufp = static_cast<u8*>(vrq_MEM_POOL_ALLOC(membuf->pool, membuf->size));
    if (*bufp == nullptr) return VRQ_ERR_MEMORY_ALLOC;

    u32 length = 0;
    for (const VRQ_MEM_CHUNK* chunk = membuf->first; chunk != nullptr; chunk = chunk->next) {
        require(chunk->used <= membuf->size - length, "*lengthp + chunk->used <= membuf->size",
                kSource);
        std::memcpy(*bufp + length, chunk->data, chunk->used);
        length += chunk->used;
    }
    if (lengthp != nullptr) *lengthp = length;
    return 0;
}

void dumpBuf(const u32* data, i32 count) {
    std::printf("DumpBuf() buf = %p, length = %d\n<<<\n", static_cast<const void*>(data), count);
    for (i32 i = 0; data != nullptr && i < count; ++i) std::putchar(static_cast<u8>(data[i]));
    std::printf("\n>>>");
}
