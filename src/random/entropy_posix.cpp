// The seed pool of the older generator: 20 bytes, stirred with SHA-1. It lives as long as the process and
// is shared by all threads, so it is changed under a lock; the lock names the process, so that one
// held by another thread at a fork does not stop the child.
#include "digest/sha.h"
#include "foundation/fork_guard.h"
#include "foundation/scope.h"
#include "random/seed_pool.h"
#include "talvern/digest.h"
#include "talvern/module.h"
#include "talvern/random.h"

#include <atomic>
#include <cstring>

#include <sched.h>

using namespace vrq;

namespace {

constinit u8 internal_seed[kSeedPool] = {};
constinit std::atomic<u64> initialized{0}; // mark of the process that has polled
constinit std::atomic<u64> g_holder{0};    // mark of the process that holds the lock

class PoolLock {
  public:
    PoolLock() {
        const u64 ours = process_mark();
        for (u64 holder = 0; !g_holder.compare_exchange_weak(holder, ours);) {
            if (holder != ours) continue; // nobody, or a process that this one was forked from
            sched_yield();
            holder = 0;
        }
    }
    ~PoolLock() { g_holder.store(0, std::memory_order_release); }
    PoolLock(const PoolLock&) = delete;
    PoolLock& operator=(const PoolLock&) = delete;
};

} // namespace

// internal_seed = SHA-1(internal_seed || data).
void SEED_add(const u8* data, u32 length) {
    if (data == nullptr || length == 0) return;

    const PoolLock lock;
    VRQ_SHA1_CTX context;
    const WipeOnExit wiped(context);
    using Hash = BlockHash<Sha1>;
    Hash::init(context, Sha1::kInitial);
    // A record in order is never refused.
    if (Hash::update(context, internal_seed, sizeof internal_seed) &&
        Hash::update(context, data, length) && Hash::finish(context))
        Hash::put_digest(context.hash, internal_seed, sizeof internal_seed);
}

void vrq_SEED_Poll_Fast() {
    vrq_Get_Current_Process_Info();
    vrq_Get_Current_Time_Info();
    vrq_Get_System_RNG_Info(64);
}

void vrq_SEED_Poll() {
    vrq_Get_Process_Stat_Info();
    vrq_Get_Process_Status_Info();
    vrq_Get_Process_Task_Info();
    vrq_Get_System_Info();
    vrq_Get_System_Stat_Info();
    vrq_Get_CPU_Info();
    vrq_Get_Disk_Info();
    vrq_Get_Sleep_Time_Info();
    vrq_Get_CPU_Speed_Info();
    vrq_Get_System_Memory_Info();
    vrq_Get_Network_Traffic_Info();
    vrq_SEED_Poll_Fast();
}

void SEED_poll_slow() {
    vrq_Get_Battery_Info();
    vrq_Get_Shared_Memory_Info();
    vrq_Get_Fork_Response_Info();
    vrq_SEED_Poll();
}

namespace vrq {

// A forked child polls again: it must not go on with the pool of its parent.
void poll_once() {
    const u64 ours = process_mark();
    if (initialized == ours) return;
    if (VRQ_Is_Proven() == 1) {
        vrq_SEED_Poll();
    } else {
        vrq_SEED_Poll_Fast();
    }
    initialized = ours;
}

bool make_xseed(const u8* xkey, u8* xseed) {
    const PoolLock lock;
    for (std::size_t i = 0; i < kSeedPool; ++i) {
        SecretBytes<kSeedPool> next;
        internal_seed[i] ^= xkey[i];
        if (VRQ_DIGEST(VRQ_ID_SHA1, internal_seed, kSeedPool, next.data(), nullptr) != 0)
            return false;
        std::memcpy(internal_seed, next.data(), kSeedPool);
        xseed[i] = internal_seed[i];
    }
    return true;
}

} // namespace vrq
