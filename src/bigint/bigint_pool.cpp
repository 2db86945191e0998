// Scratch pool: short-lived big integers in nested frames.
//
// Records lie in blocks of eight that are never moved. `used` counts the records handed out; the
// current block holds the last of them, and is whatever the list says while none is out.
#include "foundation/alloc.h"
#include "foundation/status.h"
#include "foundation/unit.h"
#include "talvern/bigint.h"

#include <cstddef>

using namespace vrq;

static_assert(sizeof(VRQ_BIGINT_POOL_BLOCK) == 9 * sizeof(VRQ_BIGINT) + 16);
static_assert(offsetof(VRQ_BIGINT_POOL_BLOCK, previous) == 216);
static_assert(offsetof(VRQ_BIGINT_POOL_BLOCK, next) == 224);
static_assert(sizeof(VRQ_BIGINT_POOL) == 360);
static_assert(offsetof(VRQ_BIGINT_POOL, first) == 0);
static_assert(offsetof(VRQ_BIGINT_POOL, current) == 8);
static_assert(offsetof(VRQ_BIGINT_POOL, last) == 16);
static_assert(offsetof(VRQ_BIGINT_POOL, used) == 24);
static_assert(offsetof(VRQ_BIGINT_POOL, capacity) == 28);
static_assert(offsetof(VRQ_BIGINT_POOL, frame_counts) == 32);
static_assert(offsetof(VRQ_BIGINT_POOL, depth) == 352);

namespace {

constexpr u32 fail(u32 function, u32 reason) { return make_status(VRQ_L_BIGINT, function, reason); }

constexpr u32 kBlockRecords = VRQ_BIGINT_POOL_BLOCK_RECORDS;

bool append_block(VRQ_BIGINT_POOL& pool) {
    auto* const block = new_unit<VRQ_BIGINT_POOL_BLOCK>();
    if (block == nullptr) return false;
    for (VRQ_BIGINT& record : block->records) VRQ_Init_BIGINT(&record);

    block->previous = pool.last;
    (pool.last != nullptr ? pool.last->next : pool.first) = block;
    pool.last = block;
    pool.current = block;
    pool.capacity += kBlockRecords;
    return true;
}

bool has_open_frame(const VRQ_BIGINT_POOL& pool) {
    return pool.depth >= 0 && pool.depth < VRQ_BIGINT_POOL_FRAMES;
}

// Makes the block current that holds the next record, appending one when all are handed out.
bool advance(VRQ_BIGINT_POOL& pool) {
    if (pool.used == pool.capacity) return append_block(pool);
    if (pool.used == 0) {
        pool.current = pool.first;
    } else if (pool.used % kBlockRecords == 0) {
        pool.current = pool.current->next;
    }
    return true;
}

} // namespace

VRQ_BIGINT_POOL* VRQ_New_BIGINT_Pool() {
    auto* const pool = new_unit<VRQ_BIGINT_POOL>();
    if (pool != nullptr) pool->depth = -1;
    return pool;
}

u32 vrq_Init_BIGINT_Pool(VRQ_BIGINT_POOL* pool) {
    if (pool == nullptr) return 1;
    clear_record(*pool);
    pool->depth = -1;
    return 0;
}

u32 VRQ_Start_BIGINT_Pool(VRQ_BIGINT_POOL* pool) {
    if (pool == nullptr) return fail(VRQ_F_START_BIGINT_POOL, VRQ_ERR_NULL_INPUT);
    if (pool->depth < -1 || pool->depth >= VRQ_BIGINT_POOL_FRAMES - 1) {
        return fail(VRQ_F_START_BIGINT_POOL, VRQ_ERR_INTERNAL);
    }
    pool->depth += 1;
    pool->frame_counts[pool->depth] = 0;
    return 0;
}

VRQ_BIGINT* VRQ_Get_BIGINT_Pool(VRQ_BIGINT_POOL* pool) {
    if (pool == nullptr || !has_open_frame(*pool)) return nullptr;
    if (pool->capacity != 0 && pool->first == nullptr) return nullptr; // cleared
    if (!advance(*pool)) return nullptr;

    VRQ_BIGINT* const record = &pool->current->records[pool->used % kBlockRecords];
    if (record->data != nullptr) VRQ_Set_BIGINT_Word(record, 0);
    pool->used += 1;
    pool->frame_counts[pool->depth] += 1;
    return record;
}

u32 VRQ_Finish_BIGINT_Pool(VRQ_BIGINT_POOL* pool) {
    if (pool == nullptr) return fail(VRQ_F_FINISH_BIGINT_POOL, VRQ_ERR_NULL_INPUT);
    if (!has_open_frame(*pool)) return fail(VRQ_F_FINISH_BIGINT_POOL, VRQ_ERR_INTERNAL);

    u32& count = pool->frame_counts[pool->depth];
    vrq_Release_BIGINT_POOL(pool, count);
    count = 0;
    pool->depth -= 1;
    return 0;
}

u32 vrq_Release_BIGINT_POOL(VRQ_BIGINT_POOL* pool, u32 n) {
    if (pool == nullptr) return fail(VRQ_F_RELEASE_BIGINT_POOL, VRQ_ERR_NULL_INPUT);
    if (n > pool->used) return fail(VRQ_F_RELEASE_BIGINT_POOL, VRQ_ERR_INTERNAL);

    for (; n != 0; --n) {
        pool->used -= 1;
        if (pool->used % kBlockRecords == 0 && pool->current != nullptr) {
            pool->current = pool->current->previous;
        }
    }
    return 0;
}

u32 VRQ_Clear_BIGINT_Pool(VRQ_BIGINT_POOL* pool) {
    if (pool == nullptr) return fail(VRQ_F_CLEAR_BIGINT_POOL, VRQ_ERR_NULL_INPUT);
    for (VRQ_BIGINT_POOL_BLOCK* block = pool->first; block != nullptr;) {
        VRQ_BIGINT_POOL_BLOCK* const next = block->next;
        for (u32 i = 0; i < kBlockRecords; ++i) VRQ_Clear_BIGINT(&block->records[i]);
        release(block);
        block = next;
    }
    pool->first = nullptr;
    pool->current = nullptr;
    pool->last = nullptr;
    return 0;
}

u32 VRQ_Free_BIGINT_Pool(VRQ_BIGINT_POOL* pool) {
    if (pool == nullptr) return fail(VRQ_F_FREE_BIGINT_POOL, VRQ_ERR_NULL_INPUT);
    VRQ_Clear_BIGINT_Pool(pool);
    release(pool);
    return 0;
}
