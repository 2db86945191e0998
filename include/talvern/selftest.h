/* Talvern: power-up self tests. */
#ifndef TALVERN_SELFTEST_H
#define TALVERN_SELFTEST_H

#include "talvern/base.h"

VRQ_BEGIN_C

/* Runs the power-up sequence, stopping at the first failure. VRQ_Crypto_Initialize calls it;
 * calling it directly runs the tests again. Returns 0, or the status of the test that failed
 * (VRQ_L_SELF_TEST). */
VRQ_API uint32_t VRQ_Crypto_Self_Test(void);

VRQ_END_C

#endif /* TALVERN_SELFTEST_H */
