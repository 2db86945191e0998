/* Talvern: the ARIA block cipher (KS X 1213, RFC 5794).
 *
 * Blocks of 16 bytes, keys of 128, 192 or 256 bits with 12, 14 or 16 rounds. The block cipher unit
 * (talvern/cipher.h) is the way to use it; here are its parts, for callers that keep the key record
 * themselves. Input and output of the block functions may be the same buffer.
 */
#ifndef TALVERN_ARIA_H
#define TALVERN_ARIA_H

#include "talvern/cipher.h"

VRQ_BEGIN_C

/* Expanded key, 548 bytes. rounds + 1 round keys of each area are in use; the two setup functions
 * fill one area each. A zeroed record is harmless: the block functions stay within it, but do not
 * encrypt. */
typedef struct VRQ_ARIA_KEY {
    uint8_t encrypt_keys[17][16];
    uint8_t decrypt_keys[17][16];
    int32_t rounds;
} VRQ_ARIA_KEY;

/* Expands a key into round keys for encryption (RFC 5794 section 2.2).
 *   key         16, 24 or 32 bytes
 *   round_keys  room for rounds + 1 round keys of 16 bytes (272 bytes at most)
 *   key_bits    128, 192 or 256
 * Returns the number of rounds, 12, 14 or 16; for another key_bits or a null pointer it returns 0
 * and writes nothing. */
VRQ_API int32_t set_encrypt_key(const uint8_t* key, uint8_t* round_keys, int32_t key_bits);

/* The same for decryption: the round keys in reverse order, the diffusion layer applied to all but
 * the first and the last. */
VRQ_API int32_t set_decrypt_key(const uint8_t* key, uint8_t* round_keys, int32_t key_bits);

/* Set up the encryption (decryption) area of a key record and its rounds; the other area keeps its
 * content.
 *   key_length  bytes: 16, 24 or 32
 * Return 0, or VRQ_L_ARIA_INTERFACE / VRQ_F_INIT_ARIA_KEY with VRQ_ERR_INVALID_INPUT (null key or
 * record, other length). */
VRQ_API uint32_t vrq_Init_Encrypt_ARIA_Key(const uint8_t* key, int32_t key_length,
                                           VRQ_ARIA_KEY* record);
VRQ_API uint32_t vrq_Init_Decrypt_ARIA_Key(const uint8_t* key, int32_t key_length,
                                           VRQ_ARIA_KEY* record);

/* One block, with the encryption (decryption) area of the record. Nothing happens when a pointer is
 * null. */
VRQ_API void vrq_ARIA_Encrypt_Block(const uint8_t* in, uint8_t* out, const VRQ_ARIA_KEY* key);
VRQ_API void vrq_ARIA_Decrypt_Block(const uint8_t* in, uint8_t* out, const VRQ_ARIA_KEY* key);

/* Expands a key into the schedule of a unit, for decryption only when the unit's mode is ECB or CBC
 * and encrypt is 0.
 * Returns 0, or VRQ_L_ARIA_INTERFACE / VRQ_F_INIT_ARIA_KEY with VRQ_ERR_INIT_KEY_FAILURE (null unit
 * or key, a key length that ARIA does not have). */
VRQ_API uint32_t vrq_Init_ARIA_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const uint8_t* key,
                                   int32_t encrypt);

/* Key set-up of the unit. A null key is accepted and leaves the schedule as it was allocated: such a
 * unit protects nothing.
 * Returns 0, a self-test status, or VRQ_L_ARIA_INTERFACE / VRQ_F_INIT_ARIA with VRQ_ERR_INIT_FAILURE
 * (null unit, or a failure of vrq_Init_ARIA_Key). */
VRQ_API VRQ_KEY_SETUP vrq_Init_ARIA;

/* Mode routines; see VRQ_MODE_ROUTINE. */
VRQ_API VRQ_MODE_ROUTINE vrq_Do_ARIA_ECB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_ARIA_CBC;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_ARIA_CFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_ARIA_CFBR;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_ARIA_CFB1;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_ARIA_CFB8;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_ARIA_CFB16;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_ARIA_CFB32;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_ARIA_CFB64;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_ARIA_OFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_ARIA_CTR;

/* Debugging output: bytes in hex on standard output, a blank after every fourth byte but the last,
 * no line end. printBlock prints 16 bytes. A length below 1 or a null pointer prints nothing. */
VRQ_API void printBlockOfLength(const uint8_t* bytes, int32_t length);
VRQ_API void printBlock(const uint8_t* bytes);

VRQ_END_C

#endif /* TALVERN_ARIA_H */
