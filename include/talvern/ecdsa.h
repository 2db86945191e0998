/* Talvern: ECDSA (ANSI X9.62, FIPS 186) over curves that the caller gives. Refused in proven mode.
 *
 * Callers rely on the following, which differs from the standard or endangers the private key:
 *   - One unit signs with k, 2k, 4k, and so on from a single draw of k. TWO SIGNATURES OF ONE UNIT
 *     GIVE THE PRIVATE KEY AWAY. Use a unit for one signature, then VRQ_Clean_ECDSA (or
 *     VRQ_Free_ECDSA) and set the key again.
 *   - k is one output of the older generator over SHA-1, 160 bits at most. With an order of more than
 *     160 bits a few signatures under one key, also by fresh units, suffice to compute that key.
 *   - The digest is reduced modulo the order as a whole, not cut to its length. Signatures agree with
 *     the standard where the digest is not longer than the order.
 *   - The generator is keyed with the private key, of 20 to 64 bytes without leading zeros; keys
 *     outside of that (most keys of 521 bits) cannot sign.
 *
 * Signing: New, Set_Params with d, Init with direction 1, Update..., Final. Verifying: Set_Params with
 * Q, Init with another direction, Update..., Final.
 */
#ifndef TALVERN_ECDSA_H
#define TALVERN_ECDSA_H

#include "talvern/digest.h"
#include "talvern/ec.h"
#include "talvern/random.h"

VRQ_BEGIN_C

/* The ECDSA unit; it owns its members and belongs to one thread at a time. */
typedef struct {
    VRQ_ECC_KEY* key;
    VRQ_DIGEST_UNIT* digest;
    VRQ_PRNG_UNIT* prng;
    uint8_t* xseed;        /* XSEED of the generator, or null; nothing here sets it */
    uint32_t xseed_length; /* bytes */
    VRQ_BIGINT* k;         /* secret of the last signature */
    VRQ_ECPOINT* R;        /* k * G */
    VRQ_BIGINT_POOL* pool;
    int32_t direction; /* 1: sign, otherwise verify */
} VRQ_ECDSA_UNIT;

/* Returns a unit with an empty key, a generator and a pool, or null. */
VRQ_API VRQ_ECDSA_UNIT* VRQ_New_ECDSA(void);

/* Copies a, b, prime, G and order of the curve into a new curve of the unit's key, and d and Q where
 * they are given (null: as they were). On another curve the unit forgets k and R.
 * Returns 0, or VRQ_L_ECDSA / VRQ_F_INIT_ECDSA with VRQ_ERR_NULL_INPUT (unit or curve) or
 * VRQ_ERR_MEM_ALLOC. */
VRQ_API uint32_t VRQ_Set_ECDSA_Params(VRQ_ECDSA_UNIT* unit, const VRQ_ECURVE* curve,
                                      const VRQ_BIGINT* d, const VRQ_ECPOINT* Q);

/* Starts a message.
 *   algorithm  digest identifier
 *   direction  1 signs, anything else verifies
 * Returns VRQ_L_ECDSA / VRQ_F_INIT_ECDSA / VRQ_ERR_NOT_PROVEN_ALGORITHM in proven mode, before
 * anything else; a self-test status; 0; or VRQ_L_ECDSA / VRQ_F_INIT_ECDSA with
 *   VRQ_ERR_NULL_INPUT        null unit
 *   VRQ_ERR_MEM_ALLOC         no memory
 *   VRQ_ERR_INIT_DIGEST_FAIL  the digest refused */
VRQ_API uint32_t VRQ_Init_ECDSA(VRQ_ECDSA_UNIT* unit, uint32_t algorithm, int32_t direction);

/* Feeds the message. Returns 0, or VRQ_L_ECDSA / VRQ_F_UPDATE_ECDSA with VRQ_ERR_NULL_INPUT (unit) or
 * VRQ_ERR_UPDATE_DIGEST_FAIL. */
VRQ_API uint32_t VRQ_Update_ECDSA(VRQ_ECDSA_UNIT* unit, const uint8_t* data, int32_t length);

/* Signs, or verifies the signature given. Never sign twice with one unit: see above.
 *   r, s                big-endian; when signing each has room for as many bytes as the order
 *   r_length, s_length  their bytes, written when signing: r without leading zeros, s padded to the
 *                       bytes of the order. Read when verifying, any padding is accepted.
 * Returns 0, or VRQ_L_ECDSA / VRQ_F_FINAL_ECDSA with
 *   VRQ_ERR_NULL_INPUT        null unit, r or s
 *   VRQ_ERR_NO_PRIVATE_VALUE  signing without d
 *   VRQ_ERR_SIGN_DSA_FAIL     signing failed, for whatever reason; r and s are as they were
 *   0x6B (no name)            the signature does not verify, or could not be checked */
VRQ_API uint32_t VRQ_Final_ECDSA(VRQ_ECDSA_UNIT* unit, uint8_t* r, uint32_t* r_length, uint8_t* s,
                                 uint32_t* s_length);

/* Clean wipes and releases everything, the key and the chained k and R included, and zeroes the unit,
 * which then serves again from VRQ_Set_ECDSA_Params on; Free cleans and releases. Null is ignored. */
VRQ_API void VRQ_Clean_ECDSA(VRQ_ECDSA_UNIT* unit);
VRQ_API void VRQ_Free_ECDSA(VRQ_ECDSA_UNIT* unit);

VRQ_END_C

#endif /* TALVERN_ECDSA_H */
