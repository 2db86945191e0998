/* Talvern: the SEED block cipher (KISA, RFC 4269).
 *
 * Blocks of 16 bytes; a 128-bit key and 16 rounds, or a 256-bit key and 24 rounds. The block cipher
 * unit (talvern/cipher.h) is the way to use it; here are its parts, for callers that keep the key
 * record themselves. Input and output of the block functions may be the same buffer.
 */
#ifndef TALVERN_SEED_H
#define TALVERN_SEED_H

#include "talvern/cipher.h"

VRQ_BEGIN_C

/* Expanded key, 196 bytes; it serves both directions. A zeroed record is harmless: the block
 * functions stay within it, but do not encrypt. */
typedef struct VRQ_SEED_KEY {
    uint32_t round_keys[48]; /* two words a round */
    int32_t num_words;       /* 32 for a 128-bit key, 48 for a 256-bit key */
} VRQ_SEED_KEY;

/* The tables SS0 to SS3 of the standard: the S-boxes joined with the masks of the function G. */
VRQ_API extern const uint32_t SEED_BOX[4][256];

/* Expand a key of 16 (32) bytes. Always return 0; nothing happens when a pointer is null. */
VRQ_API uint32_t vrq_Init_Encrypt_SEED_Key(const uint8_t* key, VRQ_SEED_KEY* record);
VRQ_API uint32_t vrq_Init_Encrypt_SEED_Key_256(const uint8_t* key, VRQ_SEED_KEY* record);

/* One block. Nothing happens when a pointer is null. */
VRQ_API void vrq_SEED_Encrypt_Block(const uint8_t* in, uint8_t* out, const VRQ_SEED_KEY* key);
VRQ_API void vrq_SEED_Decrypt_Block(const uint8_t* in, uint8_t* out, const VRQ_SEED_KEY* key);

/* Expands a key into the schedule of a unit; encrypt is not looked at.
 * Returns 0, or VRQ_L_SEED_INTERFACE / VRQ_F_INIT_SEED_KEY with VRQ_ERR_INIT_KEY_FAILURE (null unit
 * or key, a key length other than 16 and 32). */
VRQ_API uint32_t vrq_Init_SEED_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const uint8_t* key,
                                   int32_t encrypt);

/* Key set-up of the unit. A null key is accepted and leaves the schedule as it was allocated: such a
 * unit protects nothing.
 * Returns 0, a self-test status, or VRQ_L_SEED_INTERFACE / VRQ_F_INIT_SEED with VRQ_ERR_INIT_FAILURE
 * (null unit, or a failure of vrq_Init_SEED_Key). */
VRQ_API VRQ_KEY_SETUP vrq_Init_SEED;

/* Mode routines; see VRQ_MODE_ROUTINE. */
VRQ_API VRQ_MODE_ROUTINE vrq_Do_SEED_ECB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_SEED_CBC;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_SEED_CFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_SEED_CFBR;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_SEED_CFB1;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_SEED_CFB8;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_SEED_CFB16;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_SEED_CFB32;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_SEED_CFB64;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_SEED_OFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_SEED_CTR;

VRQ_END_C

#endif /* TALVERN_SEED_H */
