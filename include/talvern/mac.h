/* Talvern: message authentication codes.
 *
 * HMAC (FIPS 198-1, RFC 2104) over any digest of talvern/digest.h. Init makes the two keyed states
 * once; one unit then serves any number of messages under its key: Init, Update, Final, Update,
 * Final, and so on.
 *
 * CBC-MAC (ISO/IEC 9797-1, MAC algorithm 1) over any block cipher of talvern/cipher.h, and a DES-MAC. Both
 * are refused in proven mode. Plain CBC-MAC is sound only for messages of one fixed length: whoever may
 * choose the length can forge. Use HMAC for anything new.
 */
#ifndef TALVERN_MAC_H
#define TALVERN_MAC_H

#include "talvern/base.h"
#include "talvern/cipher.h"
#include "talvern/digest.h"

VRQ_BEGIN_C

/* An HMAC identifier is that of the digest with this bit. */
#define VRQ_ID_HMAC ((uint32_t)0x10000000)

/* The HMAC unit. It belongs to one thread at a time. */
typedef struct VRQ_HMAC_UNIT {
    uint32_t algorithm;      /* HMAC identifier */
    VRQ_DIGEST_UNIT* digest; /* the working hash, owned */
    void* inner_state;       /* engine record after the key block XOR 0x36, owned */
    void* outer_state;       /* engine record after the key block XOR 0x5C, owned */
    uint32_t state_size;     /* bytes of each of the two */
    uint8_t key_block[128];  /* the key, or its digest when longer than a block, then zeros */
    uint32_t key_length;     /* bytes of key material in it */
    uint32_t phase;          /* 1 after Init, 2 after Update, 3 after Final */
    int32_t init_marker;     /* -1 once Init has run; Clean acts only then */
    int32_t restricted;      /* handed to the digest unit, which then refuses MDC-2 */
} VRQ_HMAC_UNIT;

/* Returns a new unit, or null when there is no memory. Release it with VRQ_Free_HMAC_Unit.
 * The second form marks the unit restricted. The mark lasts until the unit is cleaned, and a second
 * Init cleans: initialise a restricted unit once. */
VRQ_API VRQ_HMAC_UNIT* VRQ_New_HMAC_Unit(void);
VRQ_API VRQ_HMAC_UNIT* vrq_New_HMAC_Unit_Ex(int32_t restricted);

/* Sets digest and key. A unit that was initialised before is cleaned first.
 *   algorithm   digest identifier, without VRQ_ID_HMAC
 *   key         not null even when key_length is 0
 *   key_length  bytes, below 2^31
 * Returns 0, a self-test status, or VRQ_L_HMAC / VRQ_F_INIT_HMAC with
 *   VRQ_ERR_NULL_INPUT             null unit or key
 *   VRQ_ERR_INIT_DIGEST_FAIL       the digest could not be initialised (unknown, refused in proven
 *                                  mode, no memory)
 *   VRQ_ERR_SUB_OPERATION_FAILURE  key too long, or no memory for the keyed states
 *   VRQ_ERR_UPDATE_DIGEST_FAIL, VRQ_ERR_FINAL_DIGEST_FAIL  the digest refused */
VRQ_API uint32_t VRQ_Init_HMAC(VRQ_HMAC_UNIT* unit, uint32_t algorithm, const uint8_t* key,
                               uint32_t key_length);

/* Feeds data; the first call after Final starts the next message under the same key.
 * Callers rely on an empty update being refused: for the MAC of an empty message call Final right
 * after Init.
 * Returns 0, or VRQ_L_HMAC / VRQ_F_UPDATE_HMAC with
 *   VRQ_ERR_NULL_INPUT          null unit, or one never initialised
 *   VRQ_ERR_INVALID_INPUT       length 0 or negative
 *   VRQ_ERR_UPDATE_DIGEST_FAIL  null data, or the digest refused */
VRQ_API uint32_t VRQ_Update_HMAC(VRQ_HMAC_UNIT* unit, const uint8_t* data, int32_t length);

/* Ends the message.
 *   out         digest length, bytes
 *   out_length  receives the digest length; may be null
 * Only Update restores the keyed state: a Final that follows a Final with no Update between is not
 * the MAC of the empty message, its inner hash is unkeyed. Callers rely on that value; never take
 * it for a MAC. After a failure the unit stands inside the outer hash: initialise it again.
 * Returns 0, or VRQ_L_HMAC / VRQ_F_FINAL_HMAC with
 *   VRQ_ERR_NULL_INPUT          null unit, or one never initialised
 *   VRQ_ERR_FINAL_DIGEST_FAIL   null out, or the digest refused
 *   VRQ_ERR_UPDATE_DIGEST_FAIL  the digest refused the inner hash */
VRQ_API uint32_t VRQ_Final_HMAC(VRQ_HMAC_UNIT* unit, uint8_t* out, uint32_t* out_length);

/* Wipes and releases what the unit holds and zeroes the record; null, or a unit that was never
 * initialised, is left as it is. */
VRQ_API void VRQ_Clean_HMAC_Unit(VRQ_HMAC_UNIT* unit);

/* Cleans and releases the unit. Null is allowed. */
VRQ_API void VRQ_Free_HMAC_Unit(VRQ_HMAC_UNIT* unit);

/* MAC of one message. An empty message fails, as an empty update does; use a unit for it.
 * Returns 0, or VRQ_L_HMAC / VRQ_F_HMAC with
 *   VRQ_ERR_MEM_ALLOC       no memory for the unit
 *   VRQ_ERR_INIT_FAILURE    VRQ_Init_HMAC failed, for whatever reason
 *   VRQ_ERR_UPDATE_FAILURE  VRQ_Update_HMAC failed; data_length must be 1 to 2^31 - 1
 *   VRQ_ERR_FINAL_FAILURE   VRQ_Final_HMAC failed, null out included */
VRQ_API uint32_t VRQ_HMAC(uint32_t algorithm, const uint8_t* key, uint32_t key_length,
                          const uint8_t* data, uint32_t data_length, uint8_t* out,
                          uint32_t* out_length);

/* "HMAC_" and the name of the digest, for example "HMAC_SHA256", as a new text that the caller
 * releases with VRQ_Free; null for an identifier without VRQ_ID_HMAC, an unknown digest, no memory,
 * or when the self tests fail. */
VRQ_API char* VRQ_Get_HMAC_Name(uint32_t algorithm);

/* ---- MACs over block ciphers ---- */

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
 *   VRQ_ERR_NULL_INPUT               null unit, a unit without cipher, or null data with a length
 *                                    above 0
 *   VRQ_ERR_UPDATE_BLOCKCIPHER_FAIL  the cipher failed */
VRQ_API uint32_t VRQ_Update_CBC_MAC(VRQ_CBC_MAC_UNIT* unit, const uint8_t* data, int32_t length);

/* Writes the MAC, one block of the cipher. Held bytes are completed with the chain bytes of the
 * same positions and encrypted. Init starts the next message.
 *   out_length  receives the block length
 * Returns 0, or VRQ_L_CBC_MAC / VRQ_F_FINAL_CBC_MAC with
 *   VRQ_ERR_NULL_INPUT               null argument, or a unit without cipher
 *   VRQ_ERR_UPDATE_BLOCKCIPHER_FAIL  the cipher failed */
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

#endif /* TALVERN_MAC_H */
