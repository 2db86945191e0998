/* Talvern: power-up self tests.
 *
 * Before its first service the module tests itself: its own file, the units it serves with, the
 * entropy it collects, and each approved algorithm against known answers. A module that fails
 * serves nothing: every call runs the tests again and returns the status of the one that failed.
 */
#ifndef TALVERN_SELFTEST_H
#define TALVERN_SELFTEST_H

#include "talvern/base.h"

VRQ_BEGIN_C

/* Runs the power-up sequence, stopping at the first failure. VRQ_Crypto_Initialize calls it;
 * calling it directly runs the tests again. Returns 0, or the status of the test that failed
 * (VRQ_L_SELF_TEST). */
VRQ_API uint32_t VRQ_Crypto_Self_Test(void);

/* The checks of the sequence, in its order. Each can be called at any time; in a module that has not
 * passed the sequence yet, the first service that a check uses runs the sequence before.
 * Each returns 0, or VRQ_L_SELF_TEST with its function code and VRQ_ERR_SUB_OPERATION_FAILURE; the
 * first and the fourth have statuses of their own.
 *
 *   vrq_Verify_DLL     the library file against the digest in it: VRQ_F_LIB_INTEGRITY_CHECK with
 *                      VRQ_ERR_READ_FROM_FILE (not found, not readable, shorter than it was, no
 *                      memory) or VRQ_ERR_COMPARE_FAIL (changed, or without a digest)
 *   vrq_Context_Check  each kind of unit can be made: VRQ_F_CONTEXT_CHECK
 *   vrq_Version_Check  there is a version text: VRQ_F_VERSION_CHECK
 *   vrq_Entropy_Check  two draws of the collector differ, and the second seeds the process-wide
 *                      generator: VRQ_F_ENTROPY_CHECK with VRQ_ERR_ENTROPY_FAIL, or the status of
 *                      the call that failed. It forks twice; the sequence runs it in proven mode
 *                      only.
 *   vrq_DRBG_Check     Hash_DRBG over SHA-224, SHA-256, SHA-384, SHA-512 (NIST SP 800-90A):
 *                      VRQ_F_DRBG_CHECK
 *   vrq_HMAC_Check     HMAC over the same (FIPS 198-1): VRQ_F_HMAC_CHECK
 *   vrq_DIGEST_Check   these digests (FIPS 180-4): VRQ_F_DIGEST_CHECK
 *   vrq_Sym_Check      SEED-128 and ARIA in ECB, CBC, CFB and OFB (RFC 4269, RFC 5794):
 *                      VRQ_F_SYMMETIC_ALGORITHM_CHECK
 *   vrq_RSAES_Check    RSA-OAEP, 2048 bits, over SHA-224 and SHA-256, there and back (RFC 8017):
 *                      VRQ_F_RSAES_OAEP_CHECK
 *   vrq_RSASSA_Check   RSA-PSS, 2048 bits, over the same, signed and verified: VRQ_F_RSASSA_CHECK
 *   vrq_KCDSA_Check    KCDSA, p of 2048 bits, q of 224 and 256 bits (TTAK.KO-12.0001): function
 *                      code 13, which has no name */
VRQ_API uint32_t vrq_Verify_DLL(void);
VRQ_API uint32_t vrq_Context_Check(void);
VRQ_API uint32_t vrq_Version_Check(void);
VRQ_API uint32_t vrq_Entropy_Check(void);
VRQ_API uint32_t vrq_DRBG_Check(void);
VRQ_API uint32_t vrq_HMAC_Check(void);
VRQ_API uint32_t vrq_DIGEST_Check(void);
VRQ_API uint32_t vrq_Sym_Check(void);
VRQ_API uint32_t vrq_RSAES_Check(void);
VRQ_API uint32_t vrq_RSASSA_Check(void);
VRQ_API uint32_t vrq_KCDSA_Check(void);

/* Checks of key generation, not part of the sequence. Each returns 0, or VRQ_L_SELF_TEST with its
 * function code and VRQ_ERR_SUB_OPERATION_FAILURE.
 *   vrq_Sym_Key_Check   keys for ARIA and SEED-128 can be drawn: VRQ_F_SYMMETIC_KEY_CHECK
 *   vrq_Asym_Key_Check  a new RSA key of 2048 bits verifies what it signs:
 *                       VRQ_F_ASYMMETIC_KEY_CHECK. It takes as long as making the key does. */
VRQ_API uint32_t vrq_Sym_Key_Check(void);
VRQ_API uint32_t vrq_Asym_Key_Check(void);

VRQ_END_C

#endif /* TALVERN_SELFTEST_H */
