/* Talvern: KCDSA, the Korean certificate-based digital signature algorithm (TTAK.KO-12.0001).
 *
 * A unit goes through New, Set_KCDSA_Params (or Generate), Init, any number of Update, Final. With
 * domain p, q, g and private key x the public key is y = g^(x^-1 mod q) mod p. The message is hashed
 * behind z, the low block of y, as long as the input block of the digest. A signature is r, as long as the
 * digest, and s, as long as q.
 *
 * In proven mode only SHA-224 and SHA-256, x of 209 bits and y of 2033 bits at least serve.
 *
 * Statuses are those of library VRQ_L_KCDSA with the function's own code; comments name the
 * reasons.
 */
#ifndef TALVERN_KCDSA_H
#define TALVERN_KCDSA_H

#include "talvern/bigint.h"
#include "talvern/digest.h"
#include "talvern/random.h"

VRQ_BEGIN_C

/* The KCDSA unit. It owns what it points to and belongs to one thread at a time. */
typedef struct VRQ_KCDSA_UNIT {
    VRQ_DIGEST_UNIT* digest; /* of z and the message */
    VRQ_PRNG_UNIT* prng;     /* older generator: seeds of VRQ_Generate_KCDSA_Params */
    VRQ_BIGINT* p;           /* prime */
    VRQ_BIGINT* q;           /* prime divisor of p - 1 */
    VRQ_BIGINT* g;           /* generator of the subgroup of order q */
    VRQ_BIGINT* x;           /* private key, 0 < x < q; null without one */
    VRQ_BIGINT* y;           /* public key */
    VRQ_BIGINT* z;           /* null until the first Update of a message */
    int32_t direction;       /* 1 signs, 0 verifies */
    VRQ_BIGINT_POOL* pool;
    uint8_t* seed;        /* of parameter generation, with 4 bytes of room for the counter */
    uint32_t seed_length; /* bytes, without that room */
    uint32_t count;       /* counter that gave q; above its limit after stored parameters */
    VRQ_BIGINT* j;        /* prime (p - 1) / 2q */
    VRQ_BIGINT* h;        /* g = h^(2j) mod p */
} VRQ_KCDSA_UNIT;

/* Returns a new unit with its pool and generator unit, or null. Release it with VRQ_Free_KCDSA. */
VRQ_API VRQ_KCDSA_UNIT* VRQ_New_KCDSA(void);

/* Clean wipes and releases the numbers and the seed and ends a message that was begun. Direction, digest,
 * generator and pool stay, so Init may come before the keys are loaded. Free wipes and releases
 * everything. Null is ignored. */
VRQ_API void VRQ_Clean_KCDSA(VRQ_KCDSA_UNIT* unit);
VRQ_API void VRQ_Free_KCDSA(VRQ_KCDSA_UNIT* unit);

/* Cleans the unit, then stores copies of domain and keys; they may be those of the unit itself.
 *   p, q, g  required
 *   x, y     may be null; with x alone y is computed
 * Nothing is checked: take a domain that was proven, and 0 < x < q.
 * Returns 0, a self-test status, or
 *   VRQ_ERR_NULL_INPUT                 null unit
 *   VRQ_ERR_INVALID_INPUT              p, q or g null; the unit is cleaned
 *   VRQ_ERR_MEMORY_ALLOC               no memory
 *   VRQ_ERR_SUB_OPERATION_FAILURE      x has no inverse modulo q
 *   VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL   y: p even or 0, or no memory
 * After a failure the unit is clean, too. */
VRQ_API uint32_t VRQ_Set_KCDSA_Params(VRQ_KCDSA_UNIT* unit, const VRQ_BIGINT* p,
                                      const VRQ_BIGINT* q, const VRQ_BIGINT* g, const VRQ_BIGINT* x,
                                      const VRQ_BIGINT* y);

/* Bytes of q, the room that s needs; 0 for a null unit, without q, or when the self tests fail. r needs
 * the digest length: VRQ_MAX_DIGEST_LENGTH serves both. */
VRQ_API uint32_t VRQ_Get_KCDSA_Length(const VRQ_KCDSA_UNIT* unit);

/* Start a message.
 *   direction  1 to sign, 0 to verify
 *   digest     identifier; the first form takes HAS-160 and readies the generator unit for it
 * Return 0, a self-test status, or
 *   VRQ_ERR_NULL_INPUT            null unit
 *   VRQ_ERR_NOT_SUPPORTED         proven mode: key of the direction too short; _Ex only
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM  proven mode: digest; _Ex only
 *   VRQ_ERR_MEM_ALLOC             no memory for a member
 *   VRQ_ERR_INIT_DIGEST_FAIL      the digest could not be bound; always for HAS-160 in proven mode
 *   VRQ_ERR_INIT_PRNG_FAIL        the generator unit refused; first form only */
VRQ_API uint32_t VRQ_Init_KCDSA(VRQ_KCDSA_UNIT* unit, int32_t direction);
VRQ_API uint32_t VRQ_Init_KCDSA_Ex(VRQ_KCDSA_UNIT* unit, int32_t direction, uint32_t digest);

/* Feeds a piece of the message; before the first piece z, which needs y also when signing.
 * Returns 0 or
 *   VRQ_ERR_NULL_INPUT             null unit or data, no Init, length 0
 *   VRQ_ERR_SUB_OPERATION_FAILURE  no y
 *   VRQ_ERR_MALLOC                 no memory
 *   VRQ_ERR_UPDATE_DIGEST_FAIL     negative length, or the digest refused */
VRQ_API uint32_t VRQ_Update_KCDSA(VRQ_KCDSA_UNIT* unit, const uint8_t* data, int32_t length);

/* Ends the message and signs it, direction 1, or verifies its signature; the next message may follow.
 *   r         digest length, bytes
 *   s         bytes of q
 *   r_length  length of r, bytes: out when signing, in when verifying; s_length likewise
 * Returns 0 when signed or genuine, or
 *   VRQ_ERR_NULL_INPUT     null unit, r or s
 *   VRQ_ERR_NOT_SUPPORTED  proven mode: key of the direction too short
 * or what VRQ_Sign_KCDSA and VRQ_Verify_KCDSA return. */
VRQ_API uint32_t VRQ_Final_KCDSA(VRQ_KCDSA_UNIT* unit, uint8_t* r, uint32_t* r_length, uint8_t* s,
                                 uint32_t* s_length);

/* The two halves of Final, without its test of key lengths. Every signature draws a new secret. A null
 * pointer, a missing number or a unit without Init is VRQ_ERR_NULL_INPUT. Return 0 or
 *   both    VRQ_ERR_GET_BIGINT_POOL_FAIL, VRQ_ERR_FINAL_DIGEST_FAIL, VRQ_ERR_UPDATE_DIGEST_FAIL,
 *           VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL (p even or 0, or no memory), VRQ_ERR_BINARY_TO_BIGINT_FAIL,
 *           and for a message without Update the statuses of its first one
 *   sign    VRQ_ERR_GET_RAND_FAIL (q below 2, too), VRQ_ERR_MOD_MTP_BIGINT_FAIL (q even),
 *           VRQ_ERR_SUB_BIGINT_FAIL
 *   verify  VRQ_ERR_VERIFY_FAILURE: the signature is not genuine, r or s is too long or out of range,
 *           or y is below 2 or not below p */
VRQ_API uint32_t VRQ_Sign_KCDSA(VRQ_KCDSA_UNIT* unit, uint8_t* r, uint32_t* r_length, uint8_t* s,
                                uint32_t* s_length);
VRQ_API uint32_t VRQ_Verify_KCDSA(VRQ_KCDSA_UNIT* unit, const uint8_t* r, const uint32_t* r_length,
                                  const uint8_t* s, const uint32_t* s_length);

/* Make a domain p, q, g in the unit, with the seed, counter, j and h that prove it. The first form takes
 * the digest named and seeds from the process-wide Hash_DRBG, the second one HAS-160 and seeds from
 * the older generator.
 *   p_bits  1024 to 2048;  q_bits  160 to 256; p of 1024 wants q of 160, p of 2048 wants 224 or 256
 * Callers rely on this: outside proven mode the search gives up after 500 counters for one j, and one
 * of 100 stored domains is taken instead: of 1024 and 160 bits when p_bits is 1024, otherwise of 2048
 * and 256 bits, whatever was asked for. That is the usual outcome. In proven mode the search goes on
 * to the end, about a second for 2048 bits.
 * Return 0, a self-test status, or
 *   VRQ_ERR_NULL_INPUT             null unit, or no memory for a number
 *   VRQ_ERR_NOT_SUPPORTED          lengths
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM   lengths other than 2048 with 224 or 256, in proven mode; _Ex only
 *   VRQ_ERR_MEMORY_ALLOC           no memory for the seed
 *   VRQ_ERR_START_BIGINT_POOL_FAIL, VRQ_ERR_RANDOM_GEN_FAILURE (seed),
 *   VRQ_ERR_SUB_OPERATION_FAILURE (expansion: the digest was refused), VRQ_ERR_BINARY_TO_BIGINT_FAIL,
 *   VRQ_ERR_IS_BIGINT_PRIME (a number could not be tested), VRQ_ERR_MTP_BIGINT_FAIL,
 *   VRQ_ERR_LEFT_SHIFT_BIGINT_FAIL, VRQ_ERR_GET_RAND_FAIL (h, or the choice of a stored domain),
 *   VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL
 * After a failure p, q and g are 0. Keys are left as they are: make new ones. */
VRQ_API uint32_t VRQ_Generate_KCDSA_Params_Ex(VRQ_KCDSA_UNIT* unit, uint32_t digest,
                                              uint32_t p_bits, uint32_t q_bits);
VRQ_API uint32_t VRQ_Generate_KCDSA_Params(VRQ_KCDSA_UNIT* unit, uint32_t p_bits, uint32_t q_bits);

/* Make x, 0 < x < q, and y. The first form expands random bytes with SHA-256, the second one with
 * HAS-160, which proven mode refuses.
 * Return 0, a self-test status, or
 *   VRQ_ERR_NULL_INPUT                null unit, or no domain
 *   VRQ_ERR_MEMORY_ALLOC              no memory
 *   VRQ_ERR_GET_RAND_FAIL             drawing failed; q below 2
 *   VRQ_ERR_SUB_OPERATION_FAILURE     x has no inverse: q is not prime
 *   VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL  p even or 0, or no memory
 * After a failure x and y are 0. */
VRQ_API uint32_t VRQ_Generate_KCDSA_Key_Pair_Ex(VRQ_KCDSA_UNIT* unit);
VRQ_API uint32_t VRQ_Generate_KCDSA_Key_Pair(VRQ_KCDSA_UNIT* unit);

/* out = a random number below q, every one as likely: bytes of the Hash_DRBG expanded with the digest,
 * drawn again until below q. The unit may be null, and out may be q.
 * Returns 0, a self-test status, or
 *   VRQ_ERR_NULL_INPUT             null out or q
 *   VRQ_ERR_INVALID_INPUT          q is 0
 *   VRQ_ERR_MEMORY_ALLOC           no memory
 *   VRQ_ERR_RANDOM_GEN_FAILURE     the Hash_DRBG failed
 *   VRQ_ERR_SUB_OPERATION_FAILURE  the digest was refused
 *   VRQ_ERR_BINARY_TO_BIGINT_FAIL  out cannot grow */
VRQ_API uint32_t vrq_Get_Rand_KCDSA_BIGINT(VRQ_KCDSA_UNIT* unit, uint32_t digest, VRQ_BIGINT* out,
                                           const VRQ_BIGINT* q);

/* The expansion PRNG of the standard: ceil(bits / 8) bytes to out from seed, the low bits of a number whose
 * lowest block is the digest of the seed and a byte 0, the next one with a byte 1, and so on. The second
 * form takes HAS-160.
 * Return 0, VRQ_ERR_NULL_INPUT (VRQ_F_GENERATE_KCDSA_PARAMS_EX, VRQ_F_GENERATE_KCDSA_PARAMS) for a null
 * pointer, or the status of the digest. */
VRQ_API uint32_t prng_KCDSA_ex(uint32_t digest, const uint8_t* seed, uint32_t seed_length,
                               uint8_t* out, uint32_t bits);
VRQ_API uint32_t prng_KCDSA(const uint8_t* seed, uint32_t seed_length, uint8_t* out, uint32_t bits);

/* Fills seed from the unit's older generator over HAS-160, which it readies where need be.
 * Returns 0, or VRQ_F_GENERATE_KCDSA_PARAMS with VRQ_ERR_NULL_INPUT, VRQ_ERR_MEM_ALLOC,
 * VRQ_ERR_INIT_PRNG_FAIL (always in proven mode) or VRQ_ERR_RANDOM_GEN_FAILURE. */
VRQ_API uint32_t generate_KCDSA_seeds(VRQ_KCDSA_UNIT* unit, uint8_t* seed, uint32_t length);

VRQ_END_C

#endif /* TALVERN_KCDSA_H */
