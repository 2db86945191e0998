/* Talvern: random big integers, primality, prime generation.
 *
 * Each operation comes twice. The _Ex form draws from the process-wide Hash_DRBG (VRQ_Rand_Bytes);
 * the plain one from the older generator over a digest, which proven mode refuses. Otherwise the two
 * forms behave alike. A null pool is allowed: temporaries are then made for the call.
 */
#ifndef TALVERN_PRIME_H
#define TALVERN_PRIME_H

#include "talvern/bigint.h"

VRQ_BEGIN_C

/* r = a random number of at most so many bits; 0 for bits 0.
 *   top     0: the top bit is set; 1: the two top bits; -1: neither
 *   bottom  non-zero: the number is odd
 *   hash    digest of the older generator; 0 means SHA-1
 * Returns 0, or VRQ_L_BIGINT / VRQ_F_RAND_BIGINT or VRQ_F_RAND_BIGINT_EX with
 *   VRQ_ERR_NULL_INPUT             null r
 *   VRQ_ERR_MEM_ALLOC              no memory
 *   VRQ_ERR_INIT_PRNG_FAIL         the older generator refused: proven mode, hash
 *   VRQ_ERR_GET_RAND_FAIL          drawing failed
 *   VRQ_ERR_BINARY_TO_BIGINT_FAIL  r cannot grow */
VRQ_API uint32_t VRQ_Rand_BIGINT(VRQ_BIGINT* r, uint32_t bits, int32_t top, int32_t bottom,
                                 VRQ_BIGINT_POOL* pool, uint32_t hash);
VRQ_API uint32_t VRQ_Rand_BIGINT_Ex(VRQ_BIGINT* r, uint32_t bits, int32_t top, int32_t bottom,
                                    VRQ_BIGINT_POOL* pool);

/* Miller-Rabin with random witnesses (FIPS 186-4, C.3.1).
 * Returns 1 for a probable prime, -1 for a composite number, 0 when nothing was tested: n even (2 is
 * a prime), null, or a failure on the way.
 * Callers rely on one witness less than rounds: with rounds 1 or less every odd number counts as
 * composite. For an error below 4^-k pass k + 1. */
VRQ_API int32_t VRQ_Is_BIGINT_Prime(const VRQ_BIGINT* n, int32_t rounds, VRQ_BIGINT_POOL* pool,
                                    uint32_t hash);
VRQ_API int32_t VRQ_Is_BIGINT_Prime_Ex(const VRQ_BIGINT* n, int32_t rounds, VRQ_BIGINT_POOL* pool);

/* p = a random prime of so many bits such that neither p nor p - 1 has an odd factor up to 17863;
 * below 16 bits there is none, and p becomes longer. 0 bits give the prime 2.
 *
 *   bits   from 1300  850  650  550  450  400  350  300  250  200  150  0
 *   tests           3   4    5    6    7    8    9   10   13   16   20  38
 *
 * Returns 0, or VRQ_L_BIGINT / VRQ_F_GENERATE_BIGINT_PRIME with
 *   VRQ_ERR_START_BIGINT_POOL_FAIL  the pool refused
 *   VRQ_ERR_GET_BIGINT_POOL_FAIL    no memory for a temporary
 *   VRQ_ERR_RAND_BIGINT_FAIL        drawing failed
 *   VRQ_ERR_ADD_BIGINT_FAIL         p cannot grow
 * Callers rely on 0 also when a test could not be made for want of memory: then p is not proven
 * prime. Where memory may fail, test p once more. */
VRQ_API uint32_t VRQ_Generate_BIGINT_Prime(VRQ_BIGINT* p, uint32_t bits, VRQ_BIGINT_POOL* pool,
                                           uint32_t hash);
VRQ_API uint32_t VRQ_Generate_BIGINT_Prime_Ex(VRQ_BIGINT* p, uint32_t bits, VRQ_BIGINT_POOL* pool);

VRQ_END_C

#endif /* TALVERN_PRIME_H */
