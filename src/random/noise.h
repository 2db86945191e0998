// Noise sources of a Linux system. Each reads something that the kernel or the processor exposes and
// hands its bytes, with a credit, to a sink: the entropy collector and the legacy generator's seed
// pool share them. A source that cannot open or read its input adds nothing. Paths are arguments so
// that tests can offer files of their own.
#pragma once

#include "foundation/status.h"

#include <cstddef>

namespace vrq::noise {

struct Sink {
    void* owner;
    void (*add)(void* owner, const u8* data, u32 length, u32 credit);
    void (*forget)(void* owner); // wipes what the owner holds, in a forked child; may be null

    // Adds the bytes of a value in the machine's order.
    template <class T>
    void operator()(const T& value, u32 credit) const {
        add(owner, reinterpret_cast<const u8*>(&value), sizeof value, credit);
    }
};

void current_process(const Sink& sink);
void current_time(const Sink& sink);
void system_rng(const Sink& sink, i32 count, const char* path = "/dev/urandom");
void system_memory(const Sink& sink, const char* path = "/proc/meminfo");
void system_stat(const Sink& sink, const char* path = "/proc/stat");
void network_traffic(const Sink& sink, const char* netstat = "/proc/net/netstat",
                     const char* snmp = "/proc/net/snmp");
void disk(const Sink& sink, const char* path = "/");
void cpu(const Sink& sink, const char* path = "/proc/cpuinfo");
void system(const Sink& sink);
void process_task(const Sink& sink, const char* path = "/proc/self/task");
void process_stat(const Sink& sink); // never adds anything
void process_stat(const Sink& sink, const char* path);
void sleep_time(const Sink& sink);
void cpu_speed(const Sink& sink);
void shared_memory(const Sink& sink, const char* shmall = "/proc/sys/kernel/shmall",
                   const char* shmmax = "/proc/sys/kernel/shmmax");

// Times a child that ends at once. Exits the process with status 1 when it cannot fork.
void fork_response(const Sink& sink);

// Nothing to read on Linux; they keep their places in the lists.
inline void process_status(const Sink&) {}
inline void battery(const Sink&) {}

} // namespace vrq::noise
