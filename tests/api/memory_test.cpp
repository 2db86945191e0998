// Fragments, pools and chunked buffers: sizes and addresses, any order of release (the address
// sanitizer watches), and random operations against models.
#include "harness/output.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using test::assertion;

struct Destroy {
    void operator()(VRQ_MEM_POOL* pool) const { vrq_Mem_Pool_Destroy(pool); }
};
using Pool = std::unique_ptr<VRQ_MEM_POOL, Destroy>;

Pool new_pool(uint32_t chunk) { return Pool(vrq_MEM_POOL_INIT(nullptr, chunk)); }

void* alloc(const Pool& pool, uint32_t size) { return vrq_MEM_POOL_ALLOC(pool.get(), size); }

TEST(Memory, WrappersAndFreeEx) {
    VRQ_Free_Ex(nullptr, 0);
    VRQ_Free_Ex(nullptr, 100);
    VRQ_Free_Ex(test_malloc(64), 64);
    VRQ_Free_Ex(VRQ_Malloc(8, "f", 1), -1);
    auto* block = static_cast<uint8_t*>(VRQ_Calloc(3, 5, "f", 1));
    EXPECT_EQ(0, block[14]);
    VRQ_Free(VRQ_Realloc(block, 4000, "f", 1), "f", 1);
}

TEST(Memory, AlignmentCeiling) {
    constexpr uint32_t cases[][2] = {
        {0, 0},          {1, 8},         {8, 8}, {13, 16}, {0xFFFFFFF8, 0xFFFFFFF8},
        {0xFFFFFFF9, 0}, {0xFFFFFFFF, 0}};
    for (const auto& [size, rounded] : cases) EXPECT_EQ(rounded, vrq_Mem_Alignment_Ceiling(size));
}

TEST(MemoryFragment, HandsOutEitherEnd) {
    VRQ_MEM_FRAG* frag = VRQ_MEM_FRAG_ALLOC(24);
    auto* data = reinterpret_cast<uint8_t*>(frag + 1);
    EXPECT_EQ(data, vrq_Mem_Frag_Alloc_Append(frag, 5));
    EXPECT_EQ(data + 5, vrq_Mem_Frag_Alloc_Append(frag, 19));
    EXPECT_EQ(nullptr, vrq_Mem_Frag_Alloc_Append(frag, 1));

    vrq_Mem_Frag_Init(frag, 24);
    EXPECT_EQ(data + 16, vrq_Mem_Frag_Alloc_Prepend(frag, 8));
    EXPECT_EQ(nullptr, vrq_Mem_Frag_Alloc_Prepend(frag, 17));
    EXPECT_EQ(data, vrq_Mem_Frag_Alloc_Prepend(frag, 16));
    EXPECT_EQ(24U, frag->used);
    EXPECT_EQ(0U, frag->avail);
    EXPECT_EQ(nullptr, vrq_Mem_Frag_Alloc_Append(nullptr, 0));
    VRQ_Free(frag, "f", 1);
}

TEST(MemoryPool, ChunkSizes) {
    constexpr uint32_t cases[][2] = {{0, 512}, {1, 8}, {13, 16}, {512, 512}};
    for (const auto& [size, chunk] : cases) {
        const Pool pool = new_pool(size);
        EXPECT_EQ(chunk, vrq_Mem_Pool_Chunk(pool.get()));
        EXPECT_EQ(chunk, vrq_Mem_Pool_Avail(pool.get()));
    }
    EXPECT_EQ(0U, vrq_Mem_Pool_Chunk(nullptr));
    EXPECT_EQ(0U, vrq_Mem_Pool_Avail(nullptr));
}

TEST(MemoryPool, RefusesSizesThatDoNotFit) {
    EXPECT_EQ(nullptr, vrq_MEM_POOL_INIT(nullptr, 0xFFFFFFF9));
    const Pool pool = new_pool(64);
    void* block = alloc(pool, 8);
    std::memcpy(block, "content", 8);
    for (const uint32_t size : {0xFFFFFFF9U, 0xFFFFFFFFU}) {
        EXPECT_EQ(nullptr, alloc(pool, size));
        EXPECT_EQ(nullptr, vrq_MEM_POOL_CALLOC(pool.get(), size));
        EXPECT_EQ(nullptr, vrq_MEM_POOL_REALLOC(pool.get(), block, 8, size));
    }
    EXPECT_STREQ("content", static_cast<char*>(block));
    EXPECT_EQ(static_cast<uint8_t*>(block) + 8, alloc(pool, 8)) << "the block was kept";
}

TEST(MemoryPool, LargeBlockGetsAFragmentOfItsOwn) {
    const Pool pool = new_pool(64);
    void* large = alloc(pool, 100);
    EXPECT_EQ(large, pool->frag + 1);
    EXPECT_EQ(104U, pool->frag->used);
    EXPECT_EQ(0U, pool->frag->avail);
    EXPECT_EQ(&pool->fragment, pool->frag->next);
    EXPECT_EQ(&pool->fragment + 1, alloc(pool, 64)) << "the older fragment has the room";
    EXPECT_EQ(0U, vrq_Mem_Pool_Avail(pool.get()));
    alloc(pool, 1);
    EXPECT_EQ(56U, vrq_Mem_Pool_Avail(pool.get())) << "a small block opens a whole chunk";
}

TEST(MemoryPool, Reallocation) {
    const Pool pool = new_pool(64);
    auto* block = static_cast<char*>(alloc(pool, 10));
    std::strcpy(block, "content");
    EXPECT_EQ(block, vrq_MEM_POOL_REALLOC(pool.get(), block, 10, 60)) << "grows in place";
    EXPECT_EQ(0U, vrq_Mem_Pool_Avail(pool.get()));
    EXPECT_EQ(block, vrq_MEM_POOL_REALLOC(pool.get(), block, 60, 9)) << "shrinks in place";
    EXPECT_EQ(48U, vrq_Mem_Pool_Avail(pool.get()));

    auto* moved = static_cast<char*>(vrq_MEM_POOL_REALLOC(pool.get(), block, 9, 65));
    EXPECT_NE(block, moved);
    EXPECT_STREQ("content", moved);
    EXPECT_EQ(block, alloc(pool, 1)) << "the old block was given back";

    EXPECT_EQ(block, vrq_MEM_POOL_REALLOC(pool.get(), block, 8, 3)) << "not the latest, shrinks";
    EXPECT_NE(block, vrq_MEM_POOL_REALLOC(pool.get(), block, 8, 9)) << "not the latest, grows";
    EXPECT_EQ(nullptr, vrq_MEM_POOL_REALLOC(pool.get(), nullptr, 8, 8));
    EXPECT_NE(nullptr, vrq_MEM_POOL_REALLOC(pool.get(), nullptr, 8, 16));
}

TEST(MemoryPool, NullPoolIsThePlatformsAllocator) {
    void* block = vrq_MEM_POOL_CALLOC(nullptr, 100);
    EXPECT_EQ(0, static_cast<uint8_t*>(block)[99]);
    block = vrq_MEM_POOL_REALLOC(nullptr, block, 0, 5000);
    EXPECT_EQ(0, static_cast<uint8_t*>(block)[99]);
    EXPECT_EQ(nullptr, vrq_MEM_POOL_REALLOC(nullptr, block, 5000, 0));
    VRQ_Free(vrq_MEM_POOL_ALLOC(nullptr, 10), "f", 1);
}

// Every live block keeps its own content, so no two overlap.
TEST(MemoryPool, RandomBlocksKeepTheirContent) {
    struct Block {
        uint8_t* data;
        uint32_t size;
        uint8_t fill;
        bool intact() const { return std::string(size, static_cast<char>(fill)) == text(); }
        std::string text() const { return {reinterpret_cast<const char*>(data), size}; }
    };
    std::mt19937 random(1);
    const auto size = [&] { return static_cast<uint32_t>(random() % (random() % 8 ? 80 : 700)); };
    for (const uint32_t chunk : {8U, 200U, 512U}) {
        const Pool pool = new_pool(chunk);
        std::vector<Block> blocks;
        for (int step = 0; step < 4000; ++step) {
            const bool grow = !blocks.empty() && random() % 2 == 0;
            Block& block =
                grow ? blocks[blocks.size() - 1 - random() % std::min<size_t>(3, blocks.size())]
                     : blocks.emplace_back();
            const uint32_t old_size = block.size;
            ASSERT_TRUE(block.intact());
            block.size = size();
            void* data = grow ? vrq_MEM_POOL_REALLOC(pool.get(), block.data, old_size, block.size)
                              : vrq_MEM_POOL_CALLOC(pool.get(), block.size);
            block.data = static_cast<uint8_t*>(data);
            ASSERT_EQ(0U, reinterpret_cast<uintptr_t>(data) % 8);
            const Block kept{block.data, std::min(old_size, block.size), block.fill};
            ASSERT_TRUE(kept.intact());
            block.fill = static_cast<uint8_t>(random());
            std::memset(block.data, block.fill, block.size);

            if (random() % 500 != 0) continue;
            for (const Block& each : blocks) ASSERT_TRUE(each.intact());
            ASSERT_EQ(0U, vrq_Mem_Pool_Clear(pool.get()));
            ASSERT_EQ(vrq_Mem_Pool_Chunk(pool.get()), vrq_Mem_Pool_Avail(pool.get()));
            blocks.clear();
        }
    }
}

TEST(MemoryPool, ChildrenGoWithTheirParent) {
    const Pool parent = new_pool(0);
    VRQ_MEM_POOL* first = vrq_MEM_POOL_INIT(&parent->children, 16);
    VRQ_MEM_POOL* second = vrq_MEM_POOL_INIT(&parent->children, 16);
    VRQ_MEM_POOL* third = vrq_MEM_POOL_INIT(&parent->children, 16);
    EXPECT_EQ(third, parent->children);
    EXPECT_EQ(&parent->children, third->prev);
    EXPECT_EQ(&third->next, second->prev);

    vrq_Mem_Pool_Destroy(second);
    EXPECT_EQ(first, third->next);
    EXPECT_EQ(&third->next, first->prev);
    vrq_Mem_Pool_Destroy(third);
    EXPECT_EQ(first, parent->children);
    EXPECT_EQ(&parent->children, first->prev);

    vrq_MEM_POOL_INIT(&first->children, 16);
    vrq_MEM_POOL_ALLOC(first, 1000);
    EXPECT_EQ(0U, vrq_Mem_Pool_Clear(parent.get()));
    EXPECT_EQ(nullptr, parent->children);
    vrq_Mem_Pool_Destroy(nullptr);
}

struct TreeNode {
    VRQ_MEM_POOL* pool; // null once it is destroyed
    size_t parent;
};

// Parents stand before their children.
void destroy(std::vector<TreeNode>& tree, size_t victim) {
    vrq_Mem_Pool_Destroy(tree[victim].pool);
    tree[victim].pool = nullptr;
    for (size_t n = 1; n < tree.size(); ++n) {
        if (tree[tree[n].parent].pool == nullptr) tree[n].pool = nullptr;
    }
}

TEST(MemoryPool, TreesInAnyOrderOfDestruction) {
    std::mt19937 random(2);
    for (int round = 0; round < 200; ++round) {
        const Pool root = new_pool(8);
        std::vector<TreeNode> tree{{root.get(), 0}};
        while (tree.size() < 30) {
            const size_t parent = random() % tree.size();
            tree.push_back({vrq_MEM_POOL_INIT(&tree[parent].pool->children, 8), parent});
            vrq_MEM_POOL_ALLOC(tree.back().pool, static_cast<uint32_t>(random() % 40));
        }
        for (int times = 0; times < 5; ++times) destroy(tree, 1 + random() % (tree.size() - 1));
    }
}

TEST(MemoryPool, DepthCostsNoStack) {
    const Pool root = new_pool(8);
    VRQ_MEM_POOL* pool = root.get();
    for (int depth = 0; depth < 300000; ++depth) pool = vrq_MEM_POOL_INIT(&pool->children, 8);
}

std::string joined(const VRQ_MEM_BUF& buf) {
    uint8_t* data = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(0U, vrq_Mem_Buf_To_Array(&buf, &data, &length));
    EXPECT_EQ(buf.size, length);
    std::string text(reinterpret_cast<char*>(data), length);
    if (buf.pool == nullptr) VRQ_Free(data, "f", 1);
    return text;
}

TEST(ChunkedBuffer, RandomUpdatesAgainstAString) {
    std::mt19937 random(3);
    for (const uint32_t chunk : {0U, 1U, 13U, 100U}) {
        const Pool pool = new_pool(0);
        VRQ_MEM_BUF buf;
        ASSERT_EQ(0U, vrq_Mem_Buf_Init(&buf, pool.get(), chunk));
        EXPECT_EQ(chunk == 0 ? 512U : chunk, buf.chunkSize);
        EXPECT_EQ("", joined(buf));
        std::string model;
        for (int step = 0; step < 60; ++step) {
            std::string piece(random() % 250, '\0');
            for (char& c : piece) c = static_cast<char>(random());
            const auto* data = reinterpret_cast<const uint8_t*>(piece.data());
            ASSERT_EQ(0U, vrq_Mem_Buf_Update(&buf, data, static_cast<uint32_t>(piece.size())));
            model += piece;
        }
        EXPECT_EQ(model, joined(buf));
    }
}

TEST(ChunkedBuffer, WithoutAPoolTheCallerReleasesTheChunks) {
    VRQ_MEM_BUF buf{}; // never initialised: counts as the default chunk size
    ASSERT_EQ(0U, vrq_Mem_Buf_Update(&buf, reinterpret_cast<const uint8_t*>("abc"), 3));
    EXPECT_EQ("abc", joined(buf));
    EXPECT_EQ(509U, buf.first->avail);
    VRQ_Free(buf.first->data, "f", 1);
    VRQ_Free(buf.first, "f", 1);
}

TEST(ChunkedBuffer, Refusals) {
    const Pool pool = new_pool(0);
    VRQ_MEM_BUF buf;
    vrq_Mem_Buf_Init(&buf, pool.get(), 0);
    EXPECT_EQ(0U, vrq_Mem_Buf_Update(&buf, nullptr, 0));
    EXPECT_EQ(73U, vrq_Mem_Buf_Update(&buf, nullptr, 1));
    buf.size = 0xFFFFFFFE;
    const uint8_t bytes[2] = {1, 2};
    EXPECT_EQ(60U, vrq_Mem_Buf_Update(&buf, bytes, 2)) << "the size would wrap";
    EXPECT_EQ(nullptr, buf.first);
    buf.size = 0xFFFFFFFF;
    uint8_t* data = nullptr;
    EXPECT_EQ(60U, vrq_Mem_Buf_To_Array(&buf, &data, nullptr));
}

TEST(ChunkedBuffer, DumpTakesTheLowByteOfEachElement) {
    const uint32_t cells[] = {0x11111161, 0x00000062, 0xFFFFFF63};
    char first[64];
    std::snprintf(first, sizeof first, "DumpBuf() buf = %p, length = 3\n",
                  static_cast<const void*>(cells));
    EXPECT_EQ(std::string(first) + "<<<\nabc\n>>>", test::output_of([&] { dumpBuf(cells, 3); }));
    EXPECT_EQ("DumpBuf() buf = (nil), length = -1\n<<<\n\n>>>",
              test::output_of([] { dumpBuf(nullptr, -1); }));
}

TEST(MemoryDeathTest, ProgrammingErrorsStopTheProcess) {
    EXPECT_DEATH(vrq_Mem_Pool_Clear(nullptr), assertion("mempool.c", "pool != ((void *)0)"));
    const auto destroy_unlinked = [] {
        const Pool parent = new_pool(0);
        vrq_MEM_POOL_INIT(&parent->children, 0);
        VRQ_MEM_POOL* newer = vrq_MEM_POOL_INIT(&parent->children, 0);
        newer->next->prev = &parent->children;
        vrq_Mem_Pool_Destroy(newer);
    };
    EXPECT_DEATH(destroy_unlinked(), assertion("mempool.c", "pool->next->prev == &pool->next"));

    VRQ_MEM_BUF buf;
    uint8_t* out = nullptr;
    EXPECT_DEATH(vrq_Mem_Buf_Init(nullptr, nullptr, 0),
                 assertion("membuf.c", "buf != ((void *)0)"));
    EXPECT_DEATH(vrq_Mem_Buf_Update(nullptr, nullptr, 0),
                 assertion("membuf.c", "membuf != ((void *)0)"));
    vrq_Mem_Buf_Init(&buf, nullptr, 0);
    EXPECT_DEATH(vrq_Mem_Buf_To_Array(&buf, nullptr, nullptr),
                 assertion("membuf.c", "bufp != ((void *)0)"));
    VRQ_MEM_CHUNK chunk{1, 0, nullptr, nullptr};
    buf.first = &chunk;
    EXPECT_DEATH(vrq_Mem_Buf_To_Array(&buf, &out, nullptr),
                 assertion("membuf.c", "*lengthp + chunk->used <= membuf->size"));
}

} // namespace
