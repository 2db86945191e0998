// The mutex wrapper of the random generator.
#include "foundation/status.h"
#include "talvern/module.h"

using namespace vrq;

namespace {

constexpr u32 fail(u32 function, u32 reason) {
    return make_status(VRQ_L_METEX_LOCK, function, reason);
}

} // namespace

u32 vrq_Init_Lock(pthread_mutex_t* mutex) {
    if (pthread_mutex_init(mutex, nullptr) != 0)
        return fail(VRQ_F_INIT_LOCK, VRQ_ERR_MUTEX_LOCK_FAIL);
    return 0;
}

u32 vrq_Wait_Lock(pthread_mutex_t* mutex) {
    if (mutex == nullptr) return fail(VRQ_F_WAIT_LOCK, VRQ_ERR_NULL_INPUT);
    if (pthread_mutex_lock(mutex) != 0) return fail(VRQ_F_WAIT_LOCK, VRQ_ERR_MUTEX_LOCK_FAIL);
    return 0;
}

u32 vrq_Release_Lock(pthread_mutex_t* mutex) {
    if (mutex == nullptr) return fail(VRQ_F_RELEASE_LOCK, VRQ_ERR_NULL_INPUT);
    // Callers rely on the lock reason here too, not on the unlock one.
    if (pthread_mutex_unlock(mutex) != 0) return fail(VRQ_F_RELEASE_LOCK, VRQ_ERR_MUTEX_LOCK_FAIL);
    return 0;
}

u32 vrq_Clear_Lock(pthread_mutex_t* mutex) {
    if (mutex == nullptr) return 0;
    if (pthread_mutex_destroy(mutex) != 0) return fail(VRQ_F_CLEAR_LOCK, VRQ_ERR_MUTEX_LOCK_FAIL);
    return 0;
}
