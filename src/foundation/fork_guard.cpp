// The mark of a process stands on a page that the kernel empties in forked children
// (MADV_WIPEONFORK, Linux 4.14); where that is not to be had the process id serves.
#include "foundation/fork_guard.h"

#include <atomic>

#include <sys/mman.h>
#include <unistd.h>

namespace vrq {

namespace {

using Mark = std::atomic<u64>;
static_assert(Mark::is_always_lock_free);

constinit std::atomic<u64> g_last_mark{0}; // copied by a fork: a child's marks are new
constinit std::atomic<Mark*> g_page{nullptr};
constinit Mark g_no_page{0}; // stands for "the kernel offers no such page"

// An emulator that accepts any advice would not empty the page either.
bool empties_on_fork(void* page, std::size_t size) {
    constexpr int kNoAdvice = -1;
    return madvise(page, size, kNoAdvice) != 0 && madvise(page, size, MADV_WIPEONFORK) == 0;
}

Mark* make_page() {
    constexpr std::size_t kSize = 4096;
    void* page = mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    Mark* made = &g_no_page;
    if (page != MAP_FAILED && empties_on_fork(page, kSize)) made = static_cast<Mark*>(page);

    Mark* before = nullptr;
    const bool is_first = g_page.compare_exchange_strong(before, made);
    if (page != MAP_FAILED && (!is_first || made == &g_no_page)) munmap(page, kSize);
    return is_first ? made : before;
}

} // namespace

u64 process_mark() {
    Mark* page = g_page.load(std::memory_order_acquire);
    if (page == nullptr) [[unlikely]]
        page = make_page();
    if (page == &g_no_page) return static_cast<u64>(getpid());

    u64 mark = page->load(std::memory_order_acquire);
    if (mark != 0) [[likely]]
        return mark;
    const u64 fresh = g_last_mark.fetch_add(1) + 1;
    return page->compare_exchange_strong(mark, fresh) ? fresh : mark;
}

} // namespace vrq
