// Module state: three flags that decide whether the self tests have passed and whether only
// approved algorithms may be used. They are constant-initialised, so nothing runs at load.
#include "foundation/status.h"
#include "talvern/module.h"
#include "talvern/selftest.h"

#include <atomic>

using namespace vrq;

namespace {

constinit std::atomic<u8> test_mode{1};       // 0 during a test run and after test mode was chosen
constinit std::atomic<u8> initialize_flag{1}; // 1 until the self tests have passed
constinit std::atomic<u8> statusisproven{1};

static_assert(std::atomic<u8>::is_always_lock_free);

} // namespace

u8 VRQ_Is_Proven() { return statusisproven; }

u32 VRQ_Change_Non_Proven_Mode() {
    if (initialize_flag == 0) {
        return make_status(VRQ_L_FOUNDATION, VRQ_F_CHANGE_NON_PROVENMODE,
                           VRQ_ERR_NOT_CHANGE_NONPROVEN);
    }
    statusisproven = 0;
    return 0;
}

void VRQ_Change_Test_Mode() {
    test_mode = 0;
    initialize_flag = 0;
    statusisproven = 0;
}

u32 VRQ_Crypto_Initialize() {
    // Zero here means a test run in progress (the tests call services themselves) or test mode.
    if (test_mode == 0) return 0;
    if (initialize_flag == 0) return 0;

    test_mode = 0;
    const u32 status = VRQ_Crypto_Self_Test();
    if (status == 0) initialize_flag = 0;
    test_mode = 1;
    return status;
}
