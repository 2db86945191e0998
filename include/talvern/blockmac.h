/* Talvern: message authentication codes over block ciphers.
 *
 * CBC-MAC (ISO/IEC 9797-1, MAC algorithm 1) over any block cipher of talvern/cipher.h, and a
 * DES-MAC. Both are refused in proven mode. Plain CBC-MAC is sound only for messages of one fixed
 * length: whoever may choose the length can forge. Use HMAC (talvern/mac.h) for anything new.
 */
#ifndef TALVERN_BLOCKMAC_H
#define TALVERN_BLOCKMAC_H

#include "talvern/base.h"
#include "talvern/cipher.h"

VRQ_BEGIN_C

/* The CBC-MAC unit. It belongs to one thread at a time. */
typedef struct VRQ_CBC_MAC_UNIT {
    VRQ_BLOCK_CIPHER_UNIT* cipher; /* owned */
    uint8_t chain[64];             /* the last cipher output; zeros at the start */
    uint8_t pending[64];           /* input that does not fill a block yet */
    int32_t pending_count;         /* bytes in pending */
} VRQ_CBC_MAC_UNIT;

/* Returns a new unit, or null when there is no memory. Release it with VRQ_Free_CBC_MAC_Unit. */
VRQ_API VRQ_CBC_MAC_UNIT* VRQ_New_CBC_MAC_Unit(void);

/* Sets cipher and key and starts a message.
 *   algorithm  block cipher identifier; its mode and padding are ignored
 *   key        of the cipher's key length
 * Returns 0, a self-test status, or VRQ_L_CBC_MAC / VRQ_F_INIT_CBC_MAC with
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM   in proven mode, before any other check
 *   VRQ_ERR_NULL_INPUT             null unit or key
 *   VRQ_ERR_INIT_BLOCKCIPHER_FAIL  the cipher unit refused */
VRQ_API uint32_t VRQ_Init_CBC_MAC(VRQ_CBC_MAC_UNIT* unit, uint32_t algorithm, const uint8_t* key);

/* Feeds data. Whole blocks, in one call or several, give the standard MAC. Bytes that do not fill a
 * block are held; the bytes that complete them later are combined with the first bytes of the
 * chain, the held ones with none: such a MAC is of this library alone and depends on the cuts.
 *   length  bytes; 0 and less add nothing
 * Returns 0, or VRQ_L_CBC_MAC / VRQ_F_UPDATE_CBC_MAC with
 *   VRQ_ERR_NULL_INPUT               null unit, or null data with a length above 0
 *   VRQ_ERR_UPDATE_BLOCKCIPHER_FAIL  the cipher failed, or none is set */
VRQ_API uint32_t VRQ_Update_CBC_MAC(VRQ_CBC_MAC_UNIT* unit, const uint8_t* data, int32_t length);

/* Writes the MAC, one block of the cipher. Held bytes are completed with the chain bytes of the
 * same positions and encrypted. Init starts the next message.
 *   out_length  receives the block length
 * Returns 0, or VRQ_L_CBC_MAC / VRQ_F_FINAL_CBC_MAC with
 *   VRQ_ERR_NULL_INPUT               null argument
 *   VRQ_ERR_UPDATE_BLOCKCIPHER_FAIL  the cipher failed, or none is set */
VRQ_API uint32_t VRQ_Final_CBC_MAC(VRQ_CBC_MAC_UNIT* unit, uint8_t* out, uint32_t* out_length);

/* Cleans the cipher unit and wipes chain and held bytes. Null is allowed. */
VRQ_API void VRQ_Clean_CBC_MAC_Unit(VRQ_CBC_MAC_UNIT* unit);

/* Cleans and releases the unit. Null is allowed. */
VRQ_API void VRQ_Free_CBC_MAC_Unit(VRQ_CBC_MAC_UNIT* unit);

/* CBC-MAC of one message.
 * Returns 0, or VRQ_L_CBC_MAC / VRQ_F_CBC_MAC with
 *   VRQ_ERR_MEM_ALLOC       no memory for the unit
 *   VRQ_ERR_INIT_FAILURE    VRQ_Init_CBC_MAC failed, for whatever reason
 *   VRQ_ERR_UPDATE_FAILURE  VRQ_Update_CBC_MAC failed
 *   VRQ_ERR_FINAL_FAILURE   VRQ_Final_CBC_MAC failed */
VRQ_API uint32_t VRQ_CBC_MAC(uint32_t algorithm, const uint8_t* key, const uint8_t* data,
                             int32_t length, uint8_t* out, uint32_t* out_length);

/* DES-MAC of one message: block by block, each added to the encryption of what came before. A
 * partial block counts as completed with zeros. A message of whole blocks is followed by an empty
 * one, so the result is the encryption of the CBC-MAC (FIPS 113) of the message.
 *   key     8 bytes
 *   length  bytes, 1 or more
 *   out     8 bytes
 * Returns 0, a self-test status, or VRQ_L_DES_MAC / VRQ_F_DES_MAC with
 *   VRQ_ERR_MEMORY_ALLOC             no memory for the cipher unit
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM     in proven mode
 *   VRQ_ERR_NULL_INPUT               null argument, length below 1
 *   VRQ_ERR_INIT_BLOCKCIPHER_FAIL, VRQ_ERR_UPDATE_BLOCKCIPHER_FAIL, VRQ_ERR_FINAL_BLOCKCIPHER_FAIL
 *                                    that step of the cipher failed */
VRQ_API uint32_t VRQ_DES_MAC(const uint8_t* key, const uint8_t* data, int32_t length, uint8_t* out);

VRQ_END_C

#endif /* TALVERN_BLOCKMAC_H */
