/* Talvern: RC5-32/12 (R. Rivest, Fast Software Encryption 1994; RFC 2040).
 *
 * Blocks of 8 bytes, 12 rounds. The block cipher unit (talvern/cipher.h) is the way to use it; here
 * are its parts, for callers that keep the key record themselves. Nothing happens when a pointer
 * given to a block function is null.
 */
#ifndef TALVERN_RC5_H
#define TALVERN_RC5_H

#include "talvern/cipher.h"

VRQ_BEGIN_C

/* Expanded key, 140 bytes; it serves both directions. */
typedef struct VRQ_RC5_KEY {
    uint32_t table[34]; /* S, of which 26 words are used */
    int32_t rounds;     /* 12 */
} VRQ_RC5_KEY;

/* Expands a key.
 *   key_length  bytes, 1 to 255
 * Returns 0, or VRQ_L_RC5_INTERFACE / VRQ_F_INIT_RC5_KEY with VRQ_ERR_INVALID_INPUT (another
 * length, a null pointer); the record is not changed then. */
VRQ_API uint32_t vrq_Init_Encrypt_RC5_Key(const uint8_t* key, int32_t key_length,
                                          VRQ_RC5_KEY* record);

/* One block in place, as two words: the words of the bytes in little-endian order. Always 12
 * rounds. */
VRQ_API void vrq_RC5_Encrypt_Block(uint32_t* block, const VRQ_RC5_KEY* key);
VRQ_API void vrq_RC5_Decrypt_Block(uint32_t* block, const VRQ_RC5_KEY* key);

/* Expands a key into the schedule of a unit.
 * Returns 0, or VRQ_L_RC5_INTERFACE / VRQ_F_INIT_RC5_KEY with VRQ_ERR_INIT_KEY_FAILURE (null unit
 * or key, a length that vrq_Init_Encrypt_RC5_Key refuses). */
VRQ_API uint32_t vrq_Init_RC5_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const uint8_t* key);

/* Key set-up of the unit. Returns 0, a self-test status or that of vrq_Init_RC5_Key. */
VRQ_API VRQ_KEY_SETUP vrq_Init_RC5;

/* Mode routines; see VRQ_MODE_ROUTINE. */
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC5_ECB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC5_CBC;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC5_CFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC5_CFBR;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC5_CFB1;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC5_CFB8;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC5_CFB16;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC5_CFB32;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC5_CFB64;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC5_OFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC5_CTR;

VRQ_END_C

#endif /* TALVERN_RC5_H */
