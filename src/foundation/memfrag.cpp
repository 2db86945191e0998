// Fragments: a header and a data area in one allocation, handed out from one end.
#include "foundation/alloc.h"
#include "foundation/status.h"

#include <type_traits>

using namespace vrq;

static_assert(std::is_standard_layout_v<VRQ_MEM_FRAG> && sizeof(VRQ_MEM_FRAG) == 16);
static_assert(offsetof(VRQ_MEM_FRAG, used) == 8 && offsetof(VRQ_MEM_FRAG, avail) == 12);

namespace {

u8* data_of(VRQ_MEM_FRAG& frag) { return reinterpret_cast<u8*>(&frag + 1); }

void take(VRQ_MEM_FRAG& frag, u32 size) {
    frag.used += size;
    frag.avail -= size;
}

} // namespace

VRQ_MEM_FRAG* VRQ_MEM_FRAG_ALLOC(u32 size) {
    void* memory = allocate(sizeof(VRQ_MEM_FRAG) + std::size_t{size}, "memfrag.c");
    auto* frag = static_cast<VRQ_MEM_FRAG*>(memory);
    vrq_Mem_Frag_Init(frag, size);
    return frag;
}

void vrq_Mem_Frag_Init(VRQ_MEM_FRAG* frag, u32 size) {
    if (frag == nullptr) return;
    *frag = {nullptr, 0, size};
}

void* vrq_Mem_Frag_Alloc_Append(VRQ_MEM_FRAG* frag, u32 size) {
    if (frag == nullptr || frag->avail < size) return nullptr;
    u8* block = data_of(*frag) + frag->used;
    take(*frag, size);
    return block;
}

void* vrq_Mem_Frag_Alloc_Prepend(VRQ_MEM_FRAG* frag, u32 size) {
    if (frag == nullptr || frag->avail < size) return nullptr;
    u8* block = data_of(*frag) + (frag->avail - size);
    take(*frag, size);
    return block;
}
