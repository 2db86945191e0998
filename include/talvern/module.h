/* Talvern: operating modes, power-up initialisation, version, mutex wrapper.
 *
 * The module starts in proven mode: initialisation calls refuse algorithms and key sizes that are
 * not approved. Before the first service the power-up self tests run; a module whose tests fail
 * serves nothing and runs them again at the next call. A process chooses another mode before its
 * first service call; proven mode cannot be regained.
 */
#ifndef TALVERN_MODULE_H
#define TALVERN_MODULE_H

#include "talvern/base.h"

#include <pthread.h>

VRQ_BEGIN_C

/* Returns 1 in proven mode, else 0. */
VRQ_API uint8_t VRQ_Is_Proven(void);

/* Leaves proven mode, before the first service call of the process.
 * Returns 0, or VRQ_L_FOUNDATION / VRQ_F_CHANGE_NON_PROVENMODE with VRQ_ERR_NOT_CHANGE_NONPROVEN
 * once the module is initialised; nothing changes then. */
VRQ_API uint32_t VRQ_Change_Non_Proven_Mode(void);

/* Switches everything off: no self test ever runs, the mode is non-proven, the module counts as
 * initialised. Meant for tests of the module itself. A product that must run validated never calls
 * it: there is no way back within the process. */
VRQ_API void VRQ_Change_Test_Mode(void);

/* Runs the power-up self tests unless they have passed. Every service calls it first.
 * Returns 0, or the status of the first test that failed (VRQ_L_SELF_TEST); a failure is not
 * remembered, the next call tests again. */
VRQ_API uint32_t VRQ_Crypto_Initialize(void);

/* Returns the version text, "5.2.0". */
VRQ_API const char* VRQ_Get_Crypto_Version(void);

/* Always returns null; kept for callers that link it. */
VRQ_API const char* GetLibraryFileName(void);

/* One POSIX mutex each, for the random generator.
 * Return 0, or VRQ_L_METEX_LOCK with the function's code and
 *   VRQ_ERR_NULL_INPUT       null mutex (Wait and Release; Init does not test, Clear accepts null)
 *   VRQ_ERR_MUTEX_LOCK_FAIL  the platform refused, releasing included */
VRQ_API uint32_t vrq_Init_Lock(pthread_mutex_t* mutex);
VRQ_API uint32_t vrq_Wait_Lock(pthread_mutex_t* mutex);
VRQ_API uint32_t vrq_Release_Lock(pthread_mutex_t* mutex);
VRQ_API uint32_t vrq_Clear_Lock(pthread_mutex_t* mutex);

VRQ_END_C

#endif /* TALVERN_MODULE_H */
