// Allocation failures in the memory services and the utilities: the documented result, nothing
// lost (the leak sanitizer watches), and the object usable afterwards.
#include "harness/faults.h"
#include "harness/temp_file.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using test::for_each_allocation_fault;

TEST(MemoryFaults, PoolAndFragments) {
    for_each_allocation_fault([](std::size_t number) {
        VRQ_MEM_POOL* parent = vrq_MEM_POOL_INIT(nullptr, 16);
        EXPECT_EQ(number == 1, parent == nullptr);
        if (parent == nullptr) return;
        VRQ_MEM_POOL* child = vrq_MEM_POOL_INIT(&parent->children, 16);
        EXPECT_EQ(number == 2, child == nullptr);
        EXPECT_EQ(child, parent->children);

        auto* block = static_cast<char*>(vrq_MEM_POOL_ALLOC(parent, 16));
        std::strcpy(block, "content");
        EXPECT_EQ(number == 3, vrq_MEM_POOL_REALLOC(parent, block, 16, 24) == nullptr);
        EXPECT_STREQ("content", block);
        EXPECT_EQ(number == 3 ? 0U : 16U, vrq_Mem_Pool_Avail(parent)) << "given back when moved";
        EXPECT_EQ(number == 4, vrq_MEM_POOL_CALLOC(parent, 100) == nullptr);
        VRQ_MEM_FRAG* frag = VRQ_MEM_FRAG_ALLOC(8);
        EXPECT_EQ(number == 5, frag == nullptr);
        VRQ_Free(frag, "f", 1);
        vrq_Mem_Pool_Destroy(parent);
    });
}

// Fills a buffer and joins it. A failed call is followed by one that goes on where it stopped.
void fill_and_join(VRQ_MEM_POOL* pool, bool harmed) {
    const std::string text(50, 'x');
    const auto* data = reinterpret_cast<const uint8_t*>(text.data());
    VRQ_MEM_BUF buf;
    vrq_Mem_Buf_Init(&buf, pool, 20);
    const uint32_t filling = vrq_Mem_Buf_Update(&buf, data, 50);
    EXPECT_EQ(filling == 0 ? 50U : 60U, filling == 0 ? buf.size : filling);
    EXPECT_EQ(0U, vrq_Mem_Buf_Update(&buf, data, 50 - buf.size));
    EXPECT_EQ(50U, buf.size);

    uint8_t* joined = nullptr;
    uint32_t length = 99;
    const uint32_t joining = vrq_Mem_Buf_To_Array(&buf, &joined, &length);
    EXPECT_EQ(joining == 0 ? 50U : 0U, length);
    EXPECT_EQ(joining == 0 ? text : "", std::string(reinterpret_cast<char*>(joined), length));
    EXPECT_EQ(joining == 0 ? 0U : 60U, joining);
    EXPECT_EQ(harmed, filling != 0 || joining != 0);
    if (pool != nullptr) return;
    VRQ_Free(joined, "f", 1);
    while (VRQ_MEM_CHUNK* chunk = buf.first) {
        buf.first = chunk->next;
        VRQ_Free(chunk->data, "f", 1);
        VRQ_Free(chunk, "f", 1);
    }
}

TEST(MemoryFaults, ChunkedBuffer) {
    for_each_allocation_fault([](std::size_t number) { fill_and_join(nullptr, number != 0); });
    for_each_allocation_fault([](std::size_t number) {
        VRQ_MEM_POOL* pool = vrq_MEM_POOL_INIT(nullptr, 24);
        if (pool == nullptr) return;
        fill_and_join(pool, number != 0);
        vrq_Mem_Pool_Destroy(pool);
    });
}

TEST(MemoryFaults, Utilities) {
    const test::TempFile file("content");
    for_each_allocation_fault([&](std::size_t number) {
        const uint8_t bytes[] = {1, 2};
        char* text = vrq_Dump_HEX(bytes, 2);
        EXPECT_EQ(number == 1, text == nullptr);
        VRQ_Free(text, "f", 1);
        uint8_t* data = nullptr;
        EXPECT_EQ(number == 2 ? -1 : 7, vrq_File_To_Binary(file.path(), &data));
        VRQ_Free(data, "f", 1);
    });
}

} // namespace
