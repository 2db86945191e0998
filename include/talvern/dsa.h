/* Talvern: DSA (FIPS 186-2). Refused in proven mode.
 *
 * Callers rely on the following, which differs from later editions of the standard:
 *   - Private keys and per-signature secrets are one output each of the older generator over SHA-1,
 *     160 bits at most. With a q of more than 160 bits a few signatures under one key suffice to
 *     compute that key: use q of 160 bits, or an RSA or KCDSA unit.
 *   - The digest is reduced modulo q as a whole, not cut to its length. Signatures agree with the
 *     standard where the digest is not longer than q.
 *   - The generator is keyed with x, of 20 to 64 bytes without leading zeros; keys outside of that
 *     (one key of 160 bits in 256) cannot sign.
 *
 * New, Set_Params, Init, Update..., Final; New, Generate_Params, Generate_Key_Pair, Init, and so on.
 */
#ifndef TALVERN_DSA_H
#define TALVERN_DSA_H

#include "talvern/bigint.h"
#include "talvern/digest.h"
#include "talvern/random.h"

VRQ_BEGIN_C

/* The DSA unit; it owns its members and belongs to one thread at a time. */
typedef struct {
    VRQ_DIGEST_UNIT* digest;
    VRQ_PRNG_UNIT* prng;
    uint8_t* xseed; /* XSEED of the generator, or null */
    int32_t xseed_length;
    VRQ_BIGINT* p;
    VRQ_BIGINT* q;
    VRQ_BIGINT* g;
    VRQ_BIGINT* y; /* public key, g^x mod p */
    VRQ_BIGINT* x; /* private key, or null */
    VRQ_BIGINT_POOL* pool;
    int32_t direction; /* 1: sign, otherwise verify */
} VRQ_DSA_UNIT;

/* Returns a zeroed unit, or null. Clean wipes and releases every member and zeroes the record; Free
 * cleans and releases. Null is ignored. */
VRQ_API VRQ_DSA_UNIT* VRQ_New_DSA(void);
VRQ_API void VRQ_Clean_DSA(VRQ_DSA_UNIT* unit);
VRQ_API void VRQ_Free_DSA(VRQ_DSA_UNIT* unit);

/* Cleans the unit and copies the domain and the key; x may be null.
 * Returns 0, or VRQ_L_DSA / VRQ_F_SET_DSA_PARAMS with
 *   VRQ_ERR_NULL_INPUT        null unit
 *   VRQ_ERR_INVALID_INPUT     p, q, g or y missing; the unit is as it was
 *   VRQ_ERR_COPY_BIGINT_FAIL  no memory; the unit is as it was */
VRQ_API uint32_t VRQ_Set_DSA_Params(VRQ_DSA_UNIT* unit, const VRQ_BIGINT* p, const VRQ_BIGINT* q,
                                    const VRQ_BIGINT* g, const VRQ_BIGINT* x, const VRQ_BIGINT* y);

/* Starts a message.
 *   algorithm  digest identifier
 *   direction  1 signs, anything else verifies
 *   xseed      XSEED of the generator, copied; none for null or a length below 1
 * Returns VRQ_L_DSA / VRQ_F_INIT_DSA / VRQ_ERR_NOT_PROVEN_ALGORITHM in proven mode, before anything
 * else; a self-test status; 0; or VRQ_L_DSA / VRQ_F_INIT_DSA with
 *   VRQ_ERR_NULL_INPUT        null unit
 *   VRQ_ERR_MEM_ALLOC         no memory
 *   VRQ_ERR_INIT_DIGEST_FAIL  the digest refused */
VRQ_API uint32_t VRQ_Init_DSA(VRQ_DSA_UNIT* unit, uint32_t algorithm, int32_t direction,
                              const uint8_t* xseed, int32_t xseed_length);

/* Feeds the message. Returns 0, or VRQ_L_DSA / VRQ_F_UPDATE_DSA with VRQ_ERR_NULL_INPUT (unit) or
 * VRQ_ERR_UPDATE_DIGEST_FAIL. */
VRQ_API uint32_t VRQ_Update_DSA(VRQ_DSA_UNIT* unit, const uint8_t* data, int32_t length);

/* Signs, or verifies the signature given.
 *   r, s                big-endian; when signing each has room for as many bytes as q
 *   r_length, s_length  their bytes, written when signing: r without leading zeros, s padded to the
 *                       bytes of q. Read when verifying, any padding is accepted.
 * Returns 0; VRQ_L_DSA / VRQ_F_UPDATE_DSA / VRQ_ERR_NULL_INPUT for a null unit, r or s; or VRQ_L_DSA /
 * VRQ_F_FINAL_DSA, for both directions, with
 *   VRQ_ERR_NO_PRIVATE_VALUE  signing without x
 *   VRQ_ERR_SIGN_DSA_FAIL     VRQ_Sign_DSA failed
 *   VRQ_ERR_VERIFY_DSA_FAIL   VRQ_Verify_DSA failed */
VRQ_API uint32_t VRQ_Final_DSA(VRQ_DSA_UNIT* unit, uint8_t* r, uint32_t* r_length, uint8_t* s,
                               uint32_t* s_length);

/* What Final calls. Returns 0, or VRQ_L_DSA / VRQ_F_SIGN_DSA with
 *   VRQ_ERR_NULL_INPUT                an argument, the digest, the domain or x is missing
 *   VRQ_ERR_INIT_PRNG_FAIL            the generator refused x or xseed, or no memory
 *   VRQ_ERR_START_BIGINT_POOL_FAIL    the pool refused
 *   VRQ_ERR_FINAL_DIGEST_FAIL         the digest refused
 *   VRQ_ERR_GET_RAND_DSA_BIGINT_FAIL  no secret could be drawn
 *   VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL, VRQ_ERR_MOD_INVERSE_BIGINT_FAIL, VRQ_ERR_MOD_MTP_BIGINT_FAIL
 *                                     the domain is none, or no memory */
VRQ_API uint32_t VRQ_Sign_DSA(VRQ_DSA_UNIT* unit, uint8_t* r, uint32_t* r_length, uint8_t* s,
                              uint32_t* s_length);

/* What Final calls. Returns 0, or VRQ_L_DSA / VRQ_F_VERIFY_DSA with
 *   VRQ_ERR_NULL_INPUT              an argument, the digest, the domain or y is missing
 *   VRQ_ERR_START_BIGINT_POOL_FAIL  the pool refused
 *   VRQ_ERR_FINAL_DIGEST_FAIL       the digest refused
 *   VRQ_ERR_COMPARE_FAIL            r or s not in 1 to q - 1, or the signature does not verify
 *   VRQ_ERR_INVALID_KEY_PAIR        y not in 2 to p - 2
 *   the last three of VRQ_Sign_DSA  the domain is none, or no memory */
VRQ_API uint32_t VRQ_Verify_DSA(VRQ_DSA_UNIT* unit, const uint8_t* r, const uint32_t* r_length,
                                const uint8_t* s, const uint32_t* s_length);

/* Makes p, q and g after FIPS 186-2, appendix 2.2: SHA-1, q of 160 bits.
 *   seed         at least 20 bytes, for exactly the search that starts there; null draws seeds until
 *                the search succeeds
 *   seed_length  bytes; ignored for a null seed
 *   p_bits       512 at least (less counts as 512), rounded up to a multiple of 64, up to 16384
 *   counter      receives the number of candidates for p before the one taken; may be null
 * The key of the unit is dropped, p, q and g replaced; after a failure the unit is as it was.
 * Returns 0, a self-test status, or VRQ_L_DSA / VRQ_F_GENERATE_DSA_PARAMS with
 *   VRQ_ERR_NULL_INPUT              null unit
 *   VRQ_ERR_INVALID_INPUT           seed too short or not below 2^31 bytes, p too long
 *   VRQ_ERR_START_BIGINT_POOL_FAIL  no pool
 *   VRQ_ERR_GET_BIGINT_POOL_FAIL, VRQ_ERR_MEM_ALLOC  no memory
 *   VRQ_ERR_GET_RAND_FAIL           no seed could be drawn, or no witness: always in proven mode
 *   VRQ_ERR_DIGEST_FAIL             SHA-1 refused
 *   VRQ_ERR_NOT_FOUNDED             the seed gives no prime q, or no p within 4096 candidates */
VRQ_API uint32_t VRQ_Generate_DSA_Params(VRQ_DSA_UNIT* unit, const uint8_t* seed,
                                         uint32_t seed_length, uint32_t p_bits, uint32_t* counter);

/* Makes x and y for the domain of the unit.
 * Returns 0, a self-test status, VRQ_L_DSA / VRQ_F_GENERATE_DSA_KEY /
 * VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL when y could not be computed (callers rely on the function code,
 * which is not that of the rest), or VRQ_L_DSA / VRQ_F_GENERATE_DSA_KEY_PAIR with
 *   VRQ_ERR_NULL_INPUT                null unit, or p, q or g missing
 *   VRQ_ERR_MEMORY_ALLOC              no memory
 *   VRQ_ERR_INIT_PRNG_FAIL            the generator refused: always in proven mode
 *   VRQ_ERR_GET_RAND_DSA_BIGINT_FAIL  no x could be drawn */
VRQ_API uint32_t VRQ_Generate_DSA_Key_Pair(VRQ_DSA_UNIT* unit);

VRQ_END_C

#endif /* TALVERN_DSA_H */
