/* Talvern: the LEA block cipher (KS X 3246, ISO/IEC 29192-2).
 *
 * Blocks of 16 bytes, keys of 128, 192 or 256 bits with 24, 28 or 32 rounds of additions, rotations
 * and exclusive ors on 32-bit words. The block cipher unit (talvern/cipher.h) is the way to use it;
 * here are its parts, for callers that keep the key record themselves. Input and output of the block
 * functions may be the same buffer.
 */
#ifndef TALVERN_LEA_H
#define TALVERN_LEA_H

#include "talvern/cipher.h"

VRQ_BEGIN_C

/* Expanded key, 772 bytes; it serves both directions. A zeroed record is harmless: the block
 * functions stay within it, but do not encrypt. */
typedef struct VRQ_LEA_KEY {
    uint32_t round_keys[192]; /* six words a round */
    int32_t rounds;
} VRQ_LEA_KEY;

/* Expands a key.
 *   key_length  bytes: 16, 24 or 32
 * Returns 0, or 1 for another length or a null pointer; the record is not changed then. */
VRQ_API uint32_t vrq_Init_Encrypt_LEA_Key(const uint8_t* key, int32_t key_length,
                                          VRQ_LEA_KEY* record);

/* One block. Nothing happens when a pointer is null. */
VRQ_API void vrq_LEA_Encrypt_Block(const uint8_t* in, uint8_t* out, const VRQ_LEA_KEY* key);
VRQ_API void vrq_LEA_Decrypt_Block(const uint8_t* in, uint8_t* out, const VRQ_LEA_KEY* key);

/* Expands a key into the schedule of a unit; encrypt is not looked at.
 * Returns 0, or VRQ_L_LEA_INTERFACE / VRQ_F_INIT_LEA_KEY with VRQ_ERR_INIT_KEY_FAILURE (null unit or
 * key, a key length that LEA does not have). */
VRQ_API uint32_t vrq_Init_LEA_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const uint8_t* key, int32_t encrypt);

/* Key set-up of the unit. A null key is accepted and leaves the schedule as it was allocated: such a
 * unit protects nothing.
 * Returns 0, a self-test status, or VRQ_L_LEA_INTERFACE / VRQ_F_INIT_LEA with VRQ_ERR_INIT_FAILURE
 * (null unit, or a failure of vrq_Init_LEA_Key). */
VRQ_API VRQ_KEY_SETUP vrq_Init_LEA;

/* Mode routines; see VRQ_MODE_ROUTINE. */
VRQ_API VRQ_MODE_ROUTINE vrq_Do_LEA_ECB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_LEA_CBC;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_LEA_CFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_LEA_CFBR;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_LEA_CFB1;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_LEA_CFB8;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_LEA_CFB16;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_LEA_CFB32;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_LEA_CFB64;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_LEA_OFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_LEA_CTR;

VRQ_END_C

#endif /* TALVERN_LEA_H */
