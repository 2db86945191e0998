/* Talvern: DES (FIPS 46-3) and triple DES (SP 800-67) with two or three keys.
 *
 * Blocks of 8 bytes. The block cipher unit (talvern/cipher.h) is the way to use them; here are
 * their parts, for callers that keep the key record themselves. Input and output of the block
 * functions may be the same buffer; nothing happens when a pointer is null.
 */
#ifndef TALVERN_DES_H
#define TALVERN_DES_H

#include "talvern/cipher.h"

VRQ_BEGIN_C

/* Expanded DES key, 128 bytes. A round key is two words that hold the 6-bit groups of the S-boxes
 * 1, 3, 5, 7 and 2, 4, 6, 8, each in the low bits of a byte, from the top byte down. The order of
 * the round keys makes the direction: one block function serves both. */
typedef struct VRQ_DES_KEY {
    uint32_t round_keys[16][2];
} VRQ_DES_KEY;

/* Expanded triple-DES key, 384 bytes: what is applied first, second and third. */
typedef struct VRQ_DES_EDE_KEY {
    VRQ_DES_KEY keys[3];
} VRQ_DES_EDE_KEY;

/* Expands a key of 8 bytes. Parity bits are ignored, weak keys are not refused.
 *   direction  1: for encryption, 0: for decryption
 * Returns 0, also for a null pointer: nothing is written then. */
VRQ_API uint32_t vrq_Init_Encrypt_DES_Key(const uint8_t* key, VRQ_DES_KEY* record,
                                          int32_t direction);

/* Expands a triple-DES key.
 *   key_length  bytes: 24, or 16 for the third key the same as the first
 *   direction   1: for encryption, 0: for decryption
 * Returns 0, or VRQ_L_DES_INTERFACE / VRQ_F_INIT_ENCRYPT_DES_EDE_KEY with VRQ_ERR_INVALID_INPUT
 * (another length, a null pointer); the record is not changed then. */
VRQ_API uint32_t vrq_Init_Encrypt_DES_EDE_KEY(const uint8_t* key, int32_t key_length,
                                              VRQ_DES_EDE_KEY* record, int32_t direction);

/* One block of DES, in the direction of the record. The second form needs less room for tables (2
 * KiB in place of 8) and more time. */
VRQ_API void vrq_DES_Encrypt_Block(const uint8_t* in, uint8_t* out, const VRQ_DES_KEY* key);
VRQ_API void vrq_DES_Encrypt_Block2(const uint8_t* in, uint8_t* out, const VRQ_DES_KEY* key);

/* One block of triple DES, in the direction of the record. */
VRQ_API void DES_EDE_encrypt_block(const uint8_t* in, uint8_t* out, const VRQ_DES_EDE_KEY* key);

/* Expand a key into the schedule of a unit, for decryption only when the unit's mode is ECB or CBC
 * and encrypt is 0.
 * Return 0, or with VRQ_ERR_INIT_KEY_FAILURE (null unit or key, a key length that the cipher does
 * not have) VRQ_L_DES_INTERFACE / VRQ_F_INIT_DES_KEY or VRQ_L_DES_EDE_INTERFACE /
 * VRQ_F_INIT_DES_EDE_KEY. */
VRQ_API uint32_t vrq_Init_DES_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const uint8_t* key, int32_t encrypt);
VRQ_API uint32_t vrq_Init_DES_EDE_key(VRQ_BLOCK_CIPHER_UNIT* unit, const uint8_t* key,
                                      int32_t encrypt);

/* Key set-up of the unit. A null key, and one that the functions above refuse, leaves the schedule
 * as it was allocated: callers rely on success, but such a unit protects nothing.
 * Return 0, a self-test status, or for a null unit the status of vrq_Init_DES_Key or
 * vrq_Init_DES_EDE_key. */
VRQ_API VRQ_KEY_SETUP vrq_Init_DES;
VRQ_API VRQ_KEY_SETUP vrq_Init_DES_EDE;

/* Mode routines; see VRQ_MODE_ROUTINE. */
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_ECB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_CBC;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_CFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_CFBR;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_CFB1;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_CFB8;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_CFB16;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_CFB32;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_OFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_CTR;

VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_EDE_ECB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_EDE_CBC;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_EDE_CFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_EDE_CFBR;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_EDE_CFB1;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_EDE_CFB8;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_EDE_CFB16;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_EDE_CFB32;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_EDE_OFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_DES_EDE_CTR;

VRQ_END_C

#endif /* TALVERN_DES_H */
