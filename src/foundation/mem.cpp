// Allocation wrappers over the platform's allocator.
#include "foundation/alloc.h"
#include "foundation/status.h"

#include <cstdlib>

#ifdef TALVERN_TEST_HOOKS
#include "foundation/test_hooks.h"

#include <atomic>
#include <malloc.h>
#endif

using namespace vrq;

namespace {

#ifdef TALVERN_TEST_HOOKS

std::atomic<std::size_t> g_failing{0};
std::atomic<std::size_t> g_allocations{0};
std::atomic<testing::FreeObserver> g_observer{nullptr};

bool may_allocate() { return ++g_allocations != g_failing; }

void about_to_free(const void* memory) {
    const testing::FreeObserver observer = g_observer;
    if (observer != nullptr && memory != nullptr)
        observer(memory, malloc_usable_size(const_cast<void*>(memory)));
}

#else

constexpr bool may_allocate() { return true; }
void about_to_free(const void*) {}

#endif

} // namespace

#ifdef TALVERN_TEST_HOOKS

namespace vrq::testing {

void fail_allocation(std::size_t number) {
    g_allocations = 0;
    g_failing = number;
}

std::size_t allocation_count() { return g_allocations; }
void observe_frees(FreeObserver observer) { g_observer = observer; }

} // namespace vrq::testing

#endif

void* VRQ_Malloc(std::size_t size, const char*, int) {
    return may_allocate() ? std::malloc(size) : nullptr;
}

void* VRQ_Calloc(std::size_t count, std::size_t size, const char*, int) {
    return may_allocate() ? std::calloc(count, size) : nullptr;
}

void* VRQ_Realloc(void* memory, std::size_t size, const char*, int) {
    about_to_free(memory);
    return may_allocate() ? std::realloc(memory, size) : nullptr;
}

void VRQ_Free(void* memory, const char*, int) {
    about_to_free(memory);
    std::free(memory);
}

void VRQ_Free_Ex(void* memory, i32 length) {
    if (memory == nullptr) return;
    if (length > 0) wipe(memory, static_cast<std::size_t>(length));
    release(memory);
}

void* test_malloc(std::size_t size) { return VRQ_Malloc(size, "mem.c", 302); }
