// Module state: whether the self tests are armed, whether they have passed, and whether only approved
// algorithms may be used. All of it starts as zeros, so that no byte of the library file stands for it: a
// damaged one could keep the tests, which would find it, from running.
#include "foundation/fork_guard.h"
#include "foundation/status.h"
#include "talvern/module.h"
#include "talvern/selftest.h"

#include <atomic>

using namespace vrq;

namespace {

// The process whose test run is in progress. A fork in the middle copies it but not the thread that runs the
// tests, so the child finds a mark that is not its own and tests for itself.
constinit std::atomic<u64> tested_by{0};
constinit std::atomic<u8> is_initialized{0}; // the tests have passed, or test mode was chosen
constinit std::atomic<u8> is_open{0};        // out of proven mode

static_assert(std::atomic<u64>::is_always_lock_free);

} // namespace

u8 VRQ_Is_Proven() { return is_open == 0 ? 1 : 0; }

u32 VRQ_Change_Non_Proven_Mode() {
    if (is_initialized != 0) {
        return make_status(VRQ_L_FOUNDATION, VRQ_F_CHANGE_NON_PROVENMODE,
                           VRQ_ERR_NOT_CHANGE_NONPROVEN);
    }
    is_open = 1;
    return 0;
}

void VRQ_Change_Test_Mode() {
    is_initialized = 1;
    is_open = 1;
}

u32 VRQ_Crypto_Initialize() {
    if (is_initialized != 0) return 0;
    const u64 process = process_mark();
    if (tested_by == process) return 0; // the tests call services themselves

    tested_by = process;
    const u32 status = VRQ_Crypto_Self_Test();
    if (status == 0) is_initialized = 1;
    tested_by = 0;
    return status;
}
