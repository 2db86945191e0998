// The noise sources. Clocks are read as the low half of the time-stamp counter; values are added in
// the machine's byte order.
#include "foundation/bytes.h"
#include "foundation/scope.h"
#include "random/counter_tables.h"
#include "random/noise.h"
#include "random/system_file.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/sysinfo.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__x86_64__)
#include <x86intrin.h>
#endif

namespace vrq::noise {

namespace {

u32 ticks() {
#if defined(__x86_64__)
    return static_cast<u32>(__rdtsc());
#else
    u64 count;
    __asm__ __volatile__("mrs %0, cntvct_el0" : "=r"(count));
    return static_cast<u32>(count);
#endif
}

bool starts_with(const char* line, const char* word) {
    return std::strncmp(line, word, std::strlen(word)) == 0;
}

// The second field of a line as the low 32 bits that "%d" stores.
void add_second_field(const Sink& sink, const char* line, u32 credit) {
    u64 value;
    if (second_field(line, value)) sink(static_cast<u32>(value), credit);
}

void add_first_number(const Sink& sink, const char* path) {
    SystemFile file(path);
    char line[257];
    const WipeOnExit wiped(line);
    u64 value;
    if (!file.is_open() || !file.line(line, sizeof line)) return;
    const char* text = line;
    if (take_decimal(text, value) && value != 0) sink(value, 1);
}

// Waits for this child alone, whatever the host does with SIGCHLD: when it is ignored or another
// wait took the child, waitpid says so instead of blocking. A child that was stopped is ended.
void wait_for(pid_t child) {
    for (;;) {
        int status;
        const pid_t found = waitpid(child, &status, WUNTRACED | WCONTINUED);
        if (found < 0 && errno == EINTR) continue;
        if (found < 0 || WIFEXITED(status) || WIFSIGNALED(status)) return;
        if (WIFSTOPPED(status)) kill(child, SIGKILL);
    }
}

} // namespace

void current_process(const Sink& sink) {
    const pid_t id = getpid();
    if (id != 0) sink(id, 2);
}

void current_time(const Sink& sink) {
    timespec now;
    const WipeOnExit wiped(now);
    if (clock_gettime(CLOCK_REALTIME, &now) == 0) sink(now, 5);
}

void system_rng(const Sink& sink, i32 count, const char* path) {
    const u32 wanted = count < 1 ? 64 : static_cast<u32>(count);
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return;

    // Callers rely on the device being left alone when it took the place of a standard stream.
    if (descriptor >= 3) {
        SecretHeap bytes(wanted);
        const std::size_t got = bytes ? read_once(descriptor, bytes.data(), bytes.size()) : 0;
        if (got != 0) sink.add(sink.owner, bytes.data(), static_cast<u32>(got), wanted);
    }
    close(descriptor);
}

void system_memory(const Sink& sink, const char* path) {
    SystemFile file(path);
    char line[81];
    const WipeOnExit wiped(line);
    while (file.is_open() && file.line(line, sizeof line)) {
        const bool is_free = starts_with(line, "MemFree:");
        if (is_free || starts_with(line, "MemTotal:")) add_second_field(sink, line, 1);
        if (is_free) return;
    }
}

void system_stat(const Sink& sink, const char* path) {
    SystemFile file(path);
    char line[256];
    const WipeOnExit wiped(line);
    while (file.is_open() && file.line(line, sizeof line)) {
        if (std::strstr(line, "ctxt") != nullptr || std::strstr(line, "processes") != nullptr)
            add_second_field(sink, line, 2);
    }
}

void network_traffic(const Sink& sink, const char* netstat, const char* snmp) {
    Counters counters;
    const WipeOnExit wiped(counters);
    counters.count = 0;
    load_counters(netstat, counters);
    load_counters(snmp, counters);
    // The newest entry of the table stands first.
    while (counters.count != 0) sink(counters.values[--counters.count], 2);
}

void disk(const Sink& sink, const char* path) {
    struct statvfs figures;
    if (statvfs(path, &figures) != 0) return;
    const u64 total = u64{figures.f_bsize} * figures.f_blocks;
    const u64 available = u64{figures.f_bsize} * figures.f_bfree;
    if (total != 0) sink(total, 2);
    if (available != 0) sink(available, 2);
}

void cpu(const Sink& sink, const char* path) {
    SystemFile file(path);
    u8 record[132];
    const WipeOnExit wiped(record);
    while (file.is_open() && file.record(record, sizeof record)) {
        const u32 first = load_le<u32>(record + 52);
        if (first == 0) continue;
        sink(first, 1);
        sink(load_le<u32>(record + 108), 1);
        return;
    }
}

void system(const Sink& sink) {
    struct sysinfo info;
    if (sysinfo(&info) != 0) return;
    sink(info.uptime, 2);
    sink(info.totalram, 1);
    sink(info.freeram, 1);
    sink(info.sharedram, 1);
    sink(info.bufferram, 1);
    sink(info.totalswap, 1);
    sink(info.freeswap, 1);
    sink(info.procs, 1);
}

void process_task(const Sink& sink, const char* path) {
    struct stat entry;
    if (stat(path, &entry) != 0) return;
    sink(u64{entry.st_ino}, 1);
    sink(entry.st_atim.tv_sec, 1);
    sink(entry.st_mtim.tv_sec, 1);
    sink(entry.st_mtim.tv_sec, 1);
}

void process_stat(const Sink& sink) {
    char path[32];
    std::snprintf(path, sizeof path, "/proc/%d/stat", static_cast<int>(getpid()));
    process_stat(sink, path);
}

// Callers rely on this source contributing nothing: it asks for as many fields as the kernel's
// table once had, and scans fewer.
void process_stat(const Sink& sink, const char* path) {
    constexpr int kFields = 42;

    SystemFile file(path);
    char line[1024];
    if (!file.is_open() || !file.line(line, sizeof line)) return;

    char name[256];
    char state;
    int d[5];
    unsigned long u[7];
    long s[6];
    unsigned long sizes[2]; // virtual, resident
    const int scanned = std::sscanf(
        line,
        "%d %255s %c %d %d %d %d %d %lu %lu %lu %lu %lu %lu %lu %ld %ld %ld %ld %ld %ld %lu %lu",
        &d[0], name, &state, &d[0], &d[1], &d[2], &d[3], &d[4], &u[0], &u[1], &u[2], &u[3], &u[4],
        &u[5], &u[6], &s[0], &s[1], &s[2], &s[3], &s[4], &s[5], &sizes[0], &sizes[1]);
    if (scanned != kFields) return;
    sink(sizes[0], 1);
    sink(sizes[1], 1);
}

void sleep_time(const Sink& sink) {
    const u32 before = ticks();
    sleep(0);
    const u64 difference = ticks() - before;
    if (difference != 0) sink(difference, 2);
}

void cpu_speed(const Sink& sink) {
    timeval now;
    gettimeofday(&now, nullptr);
    const u32 before = ticks();
    gettimeofday(&now, nullptr);
    usleep(0);
    gettimeofday(&now, nullptr);
    const u32 difference = ticks() - before;
    gettimeofday(&now, nullptr);
    if (difference != 0) sink(difference, 3);
}

void shared_memory(const Sink& sink, const char* shmall, const char* shmmax) {
    add_first_number(sink, shmall);
    add_first_number(sink, shmmax);
}

// A bare clone: the fork of the C library would run handlers of the host (pthread_atfork), and one that
// draws random bytes would wait for the lock its own thread holds, or in the child fork again, for ever.
void fork_response(const Sink& sink) {
    const u32 before = ticks();
    const long child = syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr);
    if (child == 0) {
        // Only what is safe after a fork in a process with threads: no allocator, no exit handlers.
        if (sink.forget != nullptr) sink.forget(sink.owner);
        _exit(0);
    }
    if (child < 0) std::exit(1); // callers rely on this hard exit

    wait_for(static_cast<pid_t>(child));
    const u64 difference = ticks() - before;
    if (difference >= 1) sink(difference, 4);
}

} // namespace vrq::noise
