/* Talvern: RC2 (RFC 2268).
 *
 * Blocks of 8 bytes; a key has a length and an effective length, to which the expansion reduces its
 * strength. The block cipher unit (talvern/cipher.h) is the way to use it; here are its parts, for
 * callers that keep the key record themselves. Nothing happens when a pointer given to a block
 * function is null.
 */
#ifndef TALVERN_RC2_H
#define TALVERN_RC2_H

#include "talvern/cipher.h"

VRQ_BEGIN_C

/* Expanded key, 160 bytes; it serves both directions. */
typedef struct VRQ_RC2_KEY {
    uint8_t expanded_key[128]; /* 64 little-endian words of 16 bits */
    int64_t effective_bits;    /* T1 of RFC 2268 */
    int64_t effective_bytes;   /* T8 */
    uint64_t mask;             /* TM */
    uint64_t reserved;         /* 0 */
} VRQ_RC2_KEY;

/* Expands a key.
 *   effective_bits  1 to 1024
 *   key_length      bytes, 1 to 128
 * Returns 0, or VRQ_L_RC2_INTERFACE / VRQ_F_INIT_RC2_KEY with VRQ_ERR_INVALID_INPUT (a length out
 * of range, a null pointer); the record is not changed then. */
VRQ_API uint32_t vrq_Init_Encrypt_RC2_Key(int64_t effective_bits, const uint8_t* key,
                                          int32_t key_length, VRQ_RC2_KEY* record);

/* One block in place, as four 16-bit words: the words of the bytes in little-endian order. */
VRQ_API void vrq_RC2_Encrypt_Block(uint16_t* block, const VRQ_RC2_KEY* key);
VRQ_API void vrq_RC2_Decrypt_Block(uint16_t* block, const VRQ_RC2_KEY* key);

/* One block of 8 bytes with the schedule of a unit; in and out may be the same buffer. */
VRQ_API void RC2_Encrypt(const VRQ_BLOCK_CIPHER_UNIT* unit, const uint8_t* in, uint8_t* out);
VRQ_API void RC2_Decrypt(const VRQ_BLOCK_CIPHER_UNIT* unit, const uint8_t* in, uint8_t* out);

/* Expands a key into the schedule of a unit, by the unit's key length and effective key bits.
 * Returns 0, or VRQ_L_RC2_INTERFACE / VRQ_F_INIT_RC2_KEY with VRQ_ERR_INIT_KEY_FAILURE (null unit
 * or key, lengths that vrq_Init_Encrypt_RC2_Key refuses). */
VRQ_API uint32_t vrq_Init_RC2_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const uint8_t* key);

/* Key set-up of the unit. Returns 0, a self-test status or that of vrq_Init_RC2_Key. */
VRQ_API VRQ_KEY_SETUP vrq_Init_RC2;

/* Mode routines; see VRQ_MODE_ROUTINE. */
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC2_ECB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC2_CBC;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC2_CFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC2_CFBR;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC2_CFB1;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC2_CFB8;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC2_CFB16;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC2_CFB32;

/* OFB of RC2 differs from the other engines and callers rely on it: each call starts the key stream
 * again from the unit's working IV, which it leaves as it is; there is no stream position. So a
 * message must be given in one call, or, through the unit, in one Update of whole blocks: pieces
 * are all enciphered with the same key stream, and so is what Final completes. That gives the
 * exclusive or of the pieces away.
 * Returns 0, or VRQ_L_RC2_INTERFACE, function 5 and VRQ_ERR_INVALID_INPUT for a null argument or a
 * unit without a schedule. */
VRQ_API VRQ_MODE_ROUTINE vrq_Do_RC2_OFB;

/* out[i] = a[i] XOR b[i] over length bytes; out may be a or b. Nothing happens when a pointer is
 * null. */
VRQ_API void BXOR(uint8_t* out, const uint8_t* a, const uint8_t* b, uint32_t length);

VRQ_END_C

#endif /* TALVERN_RC2_H */
