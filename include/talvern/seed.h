/* Talvern: the SEED block cipher.
 *
 * SEED (KISA, RFC 4269): blocks of 16 bytes, a 128-bit key, 16 rounds; and its variant with a
 * 256-bit key and 24 rounds. Most callers use it through the block cipher unit; what is declared
 * here is the engine below it. Block functions take whole blocks of 16 bytes; input and output may
 * be the same buffer.
 */
#ifndef TALVERN_SEED_H
#define TALVERN_SEED_H

#include "talvern/base.h"

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

VRQ_END_C

#endif /* TALVERN_SEED_H */
