// Memory pools: chained fragments that are released together, and child pools that go with their
// parent. Sizes are computed in 64 bits; what does not fit a fragment's 32-bit counters is refused.
#include "foundation/alloc.h"
#include "foundation/fatal.h"
#include "foundation/status.h"

#include <algorithm>
#include <type_traits>

using namespace vrq;

static_assert(std::is_standard_layout_v<VRQ_MEM_POOL> && sizeof(VRQ_MEM_POOL) == 48);
static_assert(offsetof(VRQ_MEM_POOL, children) == 0 && offsetof(VRQ_MEM_POOL, next) == 8 &&
              offsetof(VRQ_MEM_POOL, prev) == 16 && offsetof(VRQ_MEM_POOL, frag) == 24 &&
              offsetof(VRQ_MEM_POOL, fragment) == 32);

namespace {

constexpr const char* kSource = "mempool.c";
constexpr u64 kAlignment = 8;
constexpr u64 kLargest = UINT32_MAX;
constexpr u32 kDefaultChunk = 512;

constexpr u64 round_up(u64 size) { return (size + kAlignment - 1) & ~(kAlignment - 1); }

// Leaves the pool with its embedded fragment alone.
void release_fragments(VRQ_MEM_POOL& pool) {
    while (pool.frag != &pool.fragment) {
        VRQ_MEM_FRAG* frag = pool.frag;
        pool.frag = frag->next;
        release(frag, kSource, 102);
    }
}

// Releases a pool that stands in no list, and all below it. The walk keeps the way back to the
// parent in the next field, so that the depth of the tree costs no stack.
void destroy_tree(VRQ_MEM_POOL* pool) {
    pool->next = nullptr;
    while (pool != nullptr) {
        if (VRQ_MEM_POOL* child = pool->children; child != nullptr) {
            pool->children = child->next;
            child->next = pool;
            pool = child;
            continue;
        }
        VRQ_MEM_POOL* parent = pool->next;
        release_fragments(*pool);
        release(pool, kSource, 120);
        pool = parent;
    }
}

void destroy_children(VRQ_MEM_POOL& pool) {
    while (VRQ_MEM_POOL* child = pool.children) {
        pool.children = child->next;
        destroy_tree(child);
    }
}

void link_to_parent(VRQ_MEM_POOL& pool, VRQ_MEM_POOL** link) {
    pool.prev = link;
    pool.next = *link;
    *link = &pool;
    if (pool.next != nullptr) pool.next->prev = &pool.next;
}

void unlink(VRQ_MEM_POOL& pool) {
    if (pool.prev != nullptr) *pool.prev = pool.next;
    if (pool.next == nullptr) return;
    require(pool.next->prev == &pool.next, "pool->next->prev == &pool->next", kSource);
    pool.next->prev = pool.prev;
}

// The newest fragment with room for size bytes; a new one when none has. Null without memory.
VRQ_MEM_FRAG* fragment_for(VRQ_MEM_POOL& pool, u32 size) {
    for (VRQ_MEM_FRAG* frag = pool.frag; frag != nullptr; frag = frag->next) {
        if (frag->avail >= size) return frag;
    }

    VRQ_MEM_FRAG* frag = VRQ_MEM_FRAG_ALLOC(std::max(size, vrq_Mem_Pool_Chunk(&pool)));
    if (frag == nullptr) return nullptr;
    frag->next = pool.frag;
    pool.frag = frag;
    return frag;
}

// True when the block of size bytes is the latest one of the fragment.
bool is_latest(const VRQ_MEM_FRAG& frag, const void* memory, u64 size) {
    if (size > frag.used) return false;
    return memory == reinterpret_cast<const u8*>(&frag + 1) + (frag.used - size);
}

// Gives the latest block of a fragment another size, for which there must be room.
void resize_latest(VRQ_MEM_FRAG& frag, u64 old_size, u64 new_size) {
    const u64 total = u64{frag.used} + frag.avail;
    frag.used = static_cast<u32>(frag.used - old_size + new_size);
    frag.avail = static_cast<u32>(total - frag.used);
}

void* resize_platform_block(void* memory, u32 size) {
    if (size != 0) return VRQ_Realloc(memory, size, kSource, 191);
    release(memory, kSource, 194);
    return nullptr;
}

} // namespace

u32 vrq_Mem_Alignment_Ceiling(u32 size) { return static_cast<u32>(round_up(size)); }

VRQ_MEM_POOL* vrq_MEM_POOL_INIT(VRQ_MEM_POOL** parent_link, u32 chunk_size) {
    const u64 chunk = round_up(chunk_size == 0 ? kDefaultChunk : chunk_size);
    if (chunk > kLargest) return nullptr;
    auto* pool = static_cast<VRQ_MEM_POOL*>(allocate(sizeof(VRQ_MEM_POOL) + chunk, kSource, 46));
    if (pool == nullptr) return nullptr;

    *pool = {};
    pool->frag = &pool->fragment;
    vrq_Mem_Frag_Init(pool->frag, static_cast<u32>(chunk));
    if (parent_link != nullptr) link_to_parent(*pool, parent_link);
    return pool;
}

void* vrq_MEM_POOL_ALLOC(VRQ_MEM_POOL* pool, u32 size) {
    if (pool == nullptr) return allocate(size, kSource, 249);
    const u64 rounded = round_up(size);
    if (rounded > kLargest) return nullptr;

    const auto bytes = static_cast<u32>(rounded);
    VRQ_MEM_FRAG* frag = fragment_for(*pool, bytes);
    if (frag == nullptr) return nullptr;
    require(frag->avail >= bytes, "frag->avail >= size", kSource);
    void* result = vrq_Mem_Frag_Alloc_Append(frag, bytes);
    require(result != nullptr, "result != ((void *)0)", kSource);
    return result;
}

void* vrq_MEM_POOL_CALLOC(VRQ_MEM_POOL* pool, u32 size) {
    void* result = vrq_MEM_POOL_ALLOC(pool, size);
    if (result != nullptr) std::memset(result, 0, size);
    return result;
}

void* vrq_MEM_POOL_REALLOC(VRQ_MEM_POOL* pool, void* memory, u32 old_size, u32 new_size) {
    if (pool == nullptr) return resize_platform_block(memory, new_size);
    const u64 old_bytes = round_up(old_size);
    const u64 new_bytes = round_up(new_size);
    VRQ_MEM_FRAG& frag = *pool->frag;
    const bool latest = is_latest(frag, memory, old_bytes);
    if (latest && frag.avail + old_bytes >= new_bytes) {
        resize_latest(frag, old_bytes, new_bytes);
        return memory;
    }
    if (new_bytes <= old_bytes) return memory;

    // The fragment that ends with the old block has no room for the new one, so the old block can
    // be given back after the move; until then a failure changes nothing.
    void* result = vrq_MEM_POOL_ALLOC(pool, new_size);
    if (result == nullptr) return nullptr;
    if (memory != nullptr) std::memmove(result, memory, old_bytes);
    if (latest) resize_latest(frag, old_bytes, 0);
    return result;
}

u32 vrq_Mem_Pool_Avail(const VRQ_MEM_POOL* pool) {
    if (pool == nullptr) return 0;
    u32 avail = 0;
    for (const VRQ_MEM_FRAG* frag = pool->frag; frag != nullptr; frag = frag->next)
        avail = std::max(avail, frag->avail);
    return avail;
}

u32 vrq_Mem_Pool_Chunk(const VRQ_MEM_POOL* pool) {
    return pool == nullptr ? 0 : pool->fragment.used + pool->fragment.avail;
}

u32 vrq_Mem_Pool_Clear(VRQ_MEM_POOL* pool) {
    require(pool != nullptr, "pool != ((void *)0)", kSource);
    const u32 chunk = vrq_Mem_Pool_Chunk(pool);
    release_fragments(*pool);
    vrq_Mem_Frag_Init(&pool->fragment, chunk);
    destroy_children(*pool);
    require(pool->frag == &pool->fragment, "pool->frag == &pool->fragment", kSource);
    require(pool->frag->next == nullptr, "pool->frag->next == ((void *)0)", kSource);
    require(pool->frag->used == 0, "pool->frag->used == 0", kSource);
    return 0;
}

void vrq_Mem_Pool_Destroy(VRQ_MEM_POOL* pool) {
    if (pool == nullptr) return;
    unlink(*pool);
    destroy_tree(pool);
}
