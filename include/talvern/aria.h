/* Talvern: the ARIA block cipher.
 *
 * ARIA (KS X 1213, RFC 5794): blocks of 16 bytes, keys of 128, 192 or 256 bits with 12, 14 or 16
 * rounds. Most callers use it through the block cipher unit; what is declared here is the engine
 * below it. Block functions take whole blocks of 16 bytes; input and output may be the same buffer.
 */
#ifndef TALVERN_ARIA_H
#define TALVERN_ARIA_H

#include "talvern/base.h"

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

/* Debugging output: bytes in hex on standard output, a blank after every fourth byte but the last,
 * no line end. printBlock prints 16 bytes. A length below 1 or a null pointer prints nothing. */
VRQ_API void printBlockOfLength(const uint8_t* bytes, int32_t length);
VRQ_API void printBlock(const uint8_t* bytes);

VRQ_END_C

#endif /* TALVERN_ARIA_H */
