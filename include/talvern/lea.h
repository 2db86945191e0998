/* Talvern: the LEA block cipher.
 *
 * LEA (KS X 3246, ISO/IEC 29192-2): blocks of 16 bytes, keys of 128, 192 or 256 bits with 24, 28 or
 * 32 rounds of additions, rotations and exclusive ors on 32-bit words. Most callers use it through
 * the block cipher unit; what is declared here is the engine below it. Block functions take whole
 * blocks of 16 bytes; input and output may be the same buffer.
 */
#ifndef TALVERN_LEA_H
#define TALVERN_LEA_H

#include "talvern/base.h"

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

VRQ_END_C

#endif /* TALVERN_LEA_H */
