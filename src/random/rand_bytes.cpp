// Random bytes from the process-wide Hash_DRBG. Its state is kept from call to call under a mutex that
// the first call makes. A forked child finds a mark that is not its own, forgets what it inherited
// and makes a mutex of its own, since the inherited one may be held by a thread it does not have.
//
// Callers rely on this: a draw that fails after taking the mutex keeps it, until the generator is
// uninstantiated.
#include "foundation/fork_guard.h"
#include "foundation/scope.h"
#include "random/drbg_state.h"
#include "talvern/digest.h"
#include "talvern/module.h"

#include <atomic>
#include <cstring>

#include <pthread.h>
#include <sched.h>
#include <sys/random.h>

using namespace vrq;

namespace {

constexpr u32 fail(u32 reason) { return make_status(VRQ_L_DRBG, VRQ_F_RAND_BYTES_DRBG, reason); }

constinit drbg::SavedState g_saved{};
constinit pthread_mutex_t g_mutex = PTHREAD_MUTEX_INITIALIZER;
constinit std::atomic<bool> g_is_kept{false}; // a failed draw keeps the mutex

// Who made the mutex: 0 nobody, twice the mark of the process, or one more while that is under way.
constinit std::atomic<u64> g_lock_owner{0};

// Makes the mutex at the first call of a process, then takes it.
u32 lock() {
    const u64 ours = process_mark() * 2;
    u64 owner = g_lock_owner.load(std::memory_order_acquire);
    while (owner != ours) {
        if (owner == ours + 1) {
            sched_yield(); // another thread is at it
            owner = g_lock_owner.load(std::memory_order_acquire);
            continue;
        }
        if (!g_lock_owner.compare_exchange_weak(owner, ours + 1)) continue;

        wipe_object(g_saved);
        g_is_kept = false;
        if (vrq_Init_Lock(&g_mutex) != 0) {
            g_lock_owner = 0;
            return fail(VRQ_ERR_MUTEX_LOCK_FAIL);
        }
        g_lock_owner.store(ours, std::memory_order_release);
        owner = ours;
    }
    return vrq_Wait_Lock(&g_mutex) == 0 ? 0 : fail(VRQ_ERR_MUTEX_LOCK_FAIL);
}

u32 keep_lock(u32 status) {
    g_is_kept = true;
    return status;
}

u32 unlock() {
    return vrq_Release_Lock(&g_mutex) == 0 ? 0 : keep_lock(fail(VRQ_ERR_MUTEX_UNLOCK_FAIL));
}

std::size_t seed_length(const drbg::HashRow& row) {
    return static_cast<std::size_t>(row.seed_length);
}

// The usual draw: the saved state serves and no reseeding is due. Works on a copy, so that a failure
// leaves the state as it was. Allocates nothing.
u32 draw(const drbg::HashRow& row, u8* out, i32 length) {
    SecretBytes<drbg::kMaxSeedLength> v;
    SecretBytes<drbg::kMaxDigestLength> last_block;
    i32 counter = g_saved.reseed_counter;
    std::memcpy(v.data(), g_saved.v, seed_length(row));
    std::memcpy(last_block.data(), g_saved.last_block, sizeof g_saved.last_block);

    const drbg::State state{&row, v.data(), g_saved.c, &counter, last_block.data()};
    const drbg::Outcome outcome = drbg::generate(state, out, static_cast<std::size_t>(length));
    if (outcome == drbg::Outcome::kRepeatedBlock) return fail(VRQ_ERR_CONDITION_TEST_FAIL);
    if (outcome != drbg::Outcome::kDone) return fail(VRQ_ERR_GENERATE_DRBG_FAIL);

    std::memcpy(g_saved.v, v.data(), seed_length(row));
    std::memcpy(g_saved.last_block, last_block.data(), sizeof g_saved.last_block);
    g_saved.reseed_counter = counter;
    return 0;
}

// A thread cancelled while it reads the noise sources would take the mutex along for good.
class NoCancellation {
  public:
    NoCancellation() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
    ~NoCancellation() { pthread_setcancelstate(before_, nullptr); }
    NoCancellation(const NoCancellation&) = delete;
    NoCancellation& operator=(const NoCancellation&) = delete;

  private:
    int before_ = PTHREAD_CANCEL_ENABLE;
};

// Null when the draw needs a unit: to be seeded, reseeded or refused.
const drbg::HashRow* usual_draw(const u8* out, i32 length, u32 hash, u32 prediction) {
    if (g_saved.is_valid == 0 || prediction != 0 || out == nullptr || length < 1) return nullptr;
    if (g_saved.reseed_counter > drbg::kReseedInterval) return nullptr;
    const drbg::HashRow* row = drbg::find_hash(hash);
    if (row == nullptr || g_saved.last_block_length != static_cast<u32>(row->digest_length))
        return nullptr;
    return row;
}

// Gives the unit the saved state. False when there is no memory.
bool load(VRQ_DRBG_UNIT& unit) {
    unit.v = static_cast<u8*>(allocate_zeroed(drbg::kMaxSeedLength));
    unit.c = static_cast<u8*>(allocate_zeroed(drbg::kMaxSeedLength));
    if (unit.v == nullptr || unit.c == nullptr) return false;
    std::memcpy(unit.v, g_saved.v, sizeof g_saved.v);
    std::memcpy(unit.c, g_saved.c, sizeof g_saved.c);
    std::memcpy(unit.last_block, g_saved.last_block, sizeof unit.last_block);
    unit.last_block_length = g_saved.last_block_length;
    unit.reseed_counter = g_saved.reseed_counter;
    unit.instantiated = 1;
    return true;
}

void save(const VRQ_DRBG_UNIT& unit) {
    std::memcpy(g_saved.v, unit.v, sizeof g_saved.v);
    std::memcpy(g_saved.c, unit.c, sizeof g_saved.c);
    std::memcpy(g_saved.last_block, unit.last_block, sizeof g_saved.last_block);
    g_saved.last_block_length = unit.last_block_length;
    g_saved.hash = unit.hash;
    g_saved.reseed_counter = unit.reseed_counter;
    g_saved.is_valid = 1;
}

// Where the random device cannot be opened (no descriptor left, an empty root directory) the sources
// of the collector are poor. The kernel's bytes need no file; as a personalization string (SP
// 800-90A, 8.7.1) they can only help, and early in a boot they may be missing.
void personalize(VRQ_DRBG_UNIT& unit) {
    SecretBytes<32> bytes;
    if (getrandom(bytes.data(), 32, GRND_NONBLOCK) != 32) return;
    vrq_Set_Instantiate_DRBG_Param(&unit, nullptr, 0, nullptr, 0, bytes.data(), 32);
}

bool instantiate(VRQ_DRBG_UNIT& unit, const VRQ_DRBG_ENTROPY_INPUT* input) {
    if (input == nullptr) {
        personalize(unit);
    } else if (vrq_Set_Instantiate_DRBG_Param(&unit, input->entropy, input->entropy_length,
                                              input->nonce, input->nonce_length, nullptr, 0) != 0) {
        return false;
    }
    return vrq_Instantiate_DRBG(&unit, unit.strength) == 0;
}

u32 draw_with_unit(u8* out, i32 length, u32 hash, u32 prediction,
                   const VRQ_DRBG_ENTROPY_INPUT* input) {
    const Owned<VRQ_DRBG_UNIT, vrq_Free_DRBG_Unit> unit(vrq_New_DRBG_Unit());
    if (!unit) return fail(VRQ_ERR_MEM_ALLOC);
    const i32 level = VRQ_Is_Proven() == 1 ? 3 : 1;
    if (vrq_Init_DRBG(unit.get(), hash, 0, prediction, level) != 0)
        return fail(VRQ_ERR_INIT_DRBG_FAIL);

    const bool is_seeded = g_saved.is_valid != 0 ? load(*unit) : instantiate(*unit, input);
    if (!is_seeded) return fail(VRQ_ERR_INSTANTIATE_DRBG_FAIL);
    const u32 status = vrq_Generate_DRBG(unit.get(), out, length);
    if ((status & 0xFFFF) == VRQ_ERR_CONDITION_TEST_FAIL) return fail(VRQ_ERR_CONDITION_TEST_FAIL);
    if (status != 0) return fail(VRQ_ERR_GENERATE_DRBG_FAIL);
    save(*unit);
    return 0;
}

} // namespace

drbg::SavedState& vrq::drbg::saved_state() { return g_saved; }

u32 vrq_Get_Rand_Bytes_DRBG(u8* out, i32 length, u32 type, u32 hash, u32 prediction,
                            const VRQ_DRBG_ENTROPY_INPUT* input) {
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (const u32 s = lock(); s != 0) return s;

    if (type != 0) return keep_lock(fail(VRQ_ERR_NOT_SUPPORTED));
    if (hash != g_saved.hash) g_saved.is_valid = 0;
    u32 status;
    if (const drbg::HashRow* row = usual_draw(out, length, hash, prediction); row != nullptr) {
        status = draw(*row, out, length);
    } else {
        const NoCancellation held;
        status = draw_with_unit(out, length, hash, prediction, input);
    }
    return status != 0 ? keep_lock(status) : unlock();
}

u32 VRQ_Rand_Bytes_DRBG(u8* out, i32 length, u32 type, u32 hash, u32 prediction) {
    return vrq_Get_Rand_Bytes_DRBG(out, length, type, hash, prediction, nullptr);
}

u32 VRQ_Rand_Bytes(u8* out, i32 length) {
    return VRQ_Rand_Bytes_DRBG(out, length, 0, VRQ_ID_SHA256, 0);
}

u32 VRQ_Get_Rand_BIGINT_Ex(VRQ_BIGINT* r, u32 bits) {
    constexpr auto failed = [](u32 reason) {
        return make_status(VRQ_L_DRBG, VRQ_F_GET_RAND_BIGINT_EX, reason);
    };
    if (const u32 s = VRQ_Crypto_Initialize(); s != 0) return s;
    if (r == nullptr) return failed(VRQ_ERR_NULL_INPUT);

    const u32 length = bits / 8 + (bits % 8 != 0 ? 1 : 0);
    SecretHeap bytes(length + 1);
    if (!bytes || VRQ_Rand_Bytes(bytes.data(), static_cast<i32>(length)) != 0)
        return failed(VRQ_ERR_GET_RAND_FAIL);
    bytes.data()[0] = static_cast<u8>(bytes.data()[0] >> (length * u64{8} - bits));
    if (VRQ_Binary_To_BIGINT(bytes.data(), static_cast<i32>(length), r) == nullptr)
        return failed(VRQ_ERR_BINARY_TO_BIGINT_FAIL);
    return 0;
}

void VRQ_Uninstantiate_DRBG() {
    const bool is_kept = g_lock_owner == process_mark() * 2 && g_is_kept.exchange(false);
    if (!is_kept && lock() != 0) return;
    wipe_object(g_saved);
    unlock();
}
