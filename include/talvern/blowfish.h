/* Talvern: Blowfish (B. Schneier, Fast Software Encryption 1993).
 *
 * Blocks of 8 bytes, 16 rounds. The block cipher unit (talvern/cipher.h) is the way to use it, with
 * keys of 16 bytes; here are its parts, for callers that keep the key record themselves. Nothing
 * happens when a pointer given to a block function is null.
 */
#ifndef TALVERN_BLOWFISH_H
#define TALVERN_BLOWFISH_H

#include "talvern/cipher.h"

VRQ_BEGIN_C

/* Expanded key, 4168 bytes; it serves both directions. */
typedef struct VRQ_BF_KEY {
    uint32_t p[18];
    uint32_t s[4][256];
} VRQ_BF_KEY;

/* Expands a key: 521 encryptions.
 *   key_length  bytes, 1 or more; bytes behind the 72nd do not count
 * Returns 0, or VRQ_L_BF_INTERFACE / VRQ_F_INIT_BF_KEY with VRQ_ERR_INVALID_INPUT (a length below
 * 1, a null pointer); the record is not changed then. */
VRQ_API uint32_t vrq_Init_Encrypt_BF_Key(const uint8_t* key, int32_t key_length,
                                         VRQ_BF_KEY* record);

/* One block in place, as two words: the words of the bytes in big-endian order. */
VRQ_API void vrq_BF_Encrypt_Block(uint32_t* block, const VRQ_BF_KEY* key);
VRQ_API void vrq_BF_Decrypt_Block(uint32_t* block, const VRQ_BF_KEY* key);

/* Expands a key into the schedule of a unit; encrypt is not looked at.
 * Returns 0, or VRQ_L_BF_INTERFACE / VRQ_F_INIT_BF_KEY with VRQ_ERR_INIT_KEY_FAILURE (null unit or
 * key, a length that vrq_Init_Encrypt_BF_Key refuses). */
VRQ_API uint32_t vrq_Init_BF_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const uint8_t* key, int32_t encrypt);

/* Key set-up of the unit.
 * Returns 0, a self-test status, or VRQ_L_BF_INTERFACE / VRQ_F_INIT_BF with
 * VRQ_ERR_INIT_KEY_FAILURE (null unit, or a failure of vrq_Init_BF_Key). */
VRQ_API VRQ_KEY_SETUP vrq_Init_BF;

/* Mode routines; see VRQ_MODE_ROUTINE. */
VRQ_API VRQ_MODE_ROUTINE vrq_Do_BF_ECB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_BF_CBC;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_BF_CFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_BF_CFBR;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_BF_CFB1;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_BF_CFB8;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_BF_CFB16;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_BF_CFB32;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_BF_OFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_BF_CTR;

VRQ_END_C

#endif /* TALVERN_BLOWFISH_H */
