/* Talvern: message digests.
 *
 * A digest unit binds one of eight engines by identifier and is driven through New, Init, any
 * number of Update, Final, Clean, Free; VRQ_DIGEST does all of it in one call. The engines
 * themselves (vrq_Init_SHA256 and so on) are below, for callers that keep the working record
 * themselves.
 *
 *   identifier          standard                    digest  block  approved
 *   VRQ_ID_SHA1         FIPS 180-4                      20     64  no
 *   VRQ_ID_SHA224       FIPS 180-4                      28     64  yes
 *   VRQ_ID_SHA256       FIPS 180-4                      32     64  yes
 *   VRQ_ID_SHA384       FIPS 180-4                      48    128  yes
 *   VRQ_ID_SHA512       FIPS 180-4                      64    128  yes
 *   VRQ_ID_MD5          RFC 1321                        16     64  no
 *   VRQ_ID_HAS160       TTAS.KO-12.0011/R2              20     64  no
 *   VRQ_ID_MDC2         ISO/IEC 10118-2, with DES       16      8  no
 *
 * In proven mode only approved digests can be bound.
 */
#ifndef TALVERN_DIGEST_H
#define TALVERN_DIGEST_H

#include "talvern/base.h"

VRQ_BEGIN_C

enum {
    VRQ_ID_SHA1 = 0x05000100,
    VRQ_ID_SHA224 = 0x05000200,
    VRQ_ID_SHA256 = 0x05000300,
    VRQ_ID_SHA384 = 0x05000400,
    VRQ_ID_SHA512 = 0x05000500,
    VRQ_ID_MD5 = 0x06000100,
    VRQ_ID_HAS160 = 0x07000100,
    VRQ_ID_MDC2 = 0x08000100
};

/* Bytes of the longest digest and of the longest input block. */
enum { VRQ_MAX_DIGEST_LENGTH = 64, VRQ_MAX_DIGEST_BLOCK_LENGTH = 128 };

/* The digest unit. After Final it holds a fresh engine of the same digest, so the next message may
 * follow at once. A unit belongs to one thread at a time. */
typedef struct VRQ_DIGEST_UNIT {
    uint32_t algorithm;     /* identifier, 0 when none is bound */
    uint32_t block_length;  /* of the engine, bytes */
    uint32_t digest_length; /* bytes */
    void* context;          /* working record of the engine, owned */
    int32_t context_size;   /* bytes of it */
    uint32_t (*init)(void* context);
    uint32_t (*update)(void* context, const uint8_t* data, uint32_t length);
    uint32_t (*final)(void* context, uint8_t* out);
    int32_t init_marker; /* -1 once Init has run; Clean acts only then */
    int32_t restricted;  /* non-zero: MDC-2 cannot be bound */
} VRQ_DIGEST_UNIT;

/* Returns a new unit, or null when there is no memory. Release it with VRQ_Free_DIGEST_Unit.
 * The second form marks the unit restricted. The mark lasts until the unit is cleaned, and a second
 * Init cleans: bind a restricted unit once. */
VRQ_API VRQ_DIGEST_UNIT* VRQ_New_DIGEST_Unit(void);
VRQ_API VRQ_DIGEST_UNIT* vrq_New_DIGEST_Unit_Ex(int32_t restricted);

/* Binds a digest and starts a message. A unit that was initialised before is cleaned first.
 * Returns 0, a self-test status, or VRQ_L_DIGEST / VRQ_F_INIT_DIGEST with
 *   VRQ_ERR_NULL_INPUT             null unit
 *   VRQ_ERR_SUB_OPERATION_FAILURE  unknown identifier, or a digest refused in proven mode
 *   VRQ_ERR_INIT_DIGEST_FAIL       no memory, or the engine refused */
VRQ_API uint32_t VRQ_Init_DIGEST(VRQ_DIGEST_UNIT* unit, uint32_t algorithm);

/* Binds a digest without allocating its working record, which becomes null; part of
 * VRQ_Init_DIGEST. A record that the unit holds is forgotten, not released: clean the unit first.
 * Returns 0, a self-test status, or VRQ_L_DIGEST / VRQ_F_INIT_DIGEST_ALG with
 *   VRQ_ERR_NULL_INPUT            null unit
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM  not approved, in proven mode; the algorithm field keeps it
 *   VRQ_ERR_INVALID_ALGORITHM_ID  unknown, or MDC-2 on a restricted unit; the field becomes 0 */
VRQ_API uint32_t vrq_Init_DIGEST_Alg(VRQ_DIGEST_UNIT* unit, uint32_t algorithm);

/* Feeds data to the unit.
 *   data    not null even when length is 0
 *   length  bytes
 * Returns 0, or VRQ_L_DIGEST / VRQ_F_UPDATE_DIGEST with
 *   VRQ_ERR_NULL_INPUT          null unit or data, or a unit without a digest
 *   VRQ_ERR_INVALID_INPUT       negative length
 *   VRQ_ERR_UPDATE_DIGEST_FAIL  the engine refused; MD5 and HAS-160 refuse length 0 */
VRQ_API uint32_t VRQ_Update_DIGEST(VRQ_DIGEST_UNIT* unit, const uint8_t* data, int32_t length);

/* Ends the message and starts the next one.
 *   out         digest length of the unit, bytes
 *   out_length  receives the digest length; may be null
 * Returns 0, or VRQ_L_DIGEST / VRQ_F_FINAL_DIGEST with
 *   VRQ_ERR_NULL_INPUT         null unit or out, or a unit without a digest
 *   VRQ_ERR_FINAL_DIGEST_FAIL  the engine refused */
VRQ_API uint32_t VRQ_Final_DIGEST(VRQ_DIGEST_UNIT* unit, uint8_t* out, uint32_t* out_length);

/* Wipes and releases what the unit holds and zeroes the record; a unit that was never initialised
 * is left as it is. */
VRQ_API void VRQ_Clean_DIGEST_Unit(VRQ_DIGEST_UNIT* unit);

/* Cleans and releases the unit. Null is allowed. */
VRQ_API void VRQ_Free_DIGEST_Unit(VRQ_DIGEST_UNIT* unit);

/* Digest of one message.
 *   data        not null even when length is 0
 *   length      bytes, below 2^31; MD5 and HAS-160 refuse 0
 *   out         digest length, bytes
 *   out_length  receives the digest length; may be null
 * Returns 0, or VRQ_L_DIGEST / VRQ_F_DIGEST with
 *   VRQ_ERR_NULL_INPUT          null data
 *   VRQ_ERR_MALLOC              reserved; the call needs no memory
 *   VRQ_ERR_INIT_DIGEST_FAIL    VRQ_Init_DIGEST failed, for whatever reason
 *   VRQ_ERR_UPDATE_DIGEST_FAIL  VRQ_Update_DIGEST failed
 *   VRQ_ERR_FINAL_DIGEST_FAIL   VRQ_Final_DIGEST failed, null out included */
VRQ_API uint32_t VRQ_DIGEST(uint32_t algorithm, const uint8_t* data, uint32_t length, uint8_t* out,
                            uint32_t* out_length);

/* Digest length in bytes; 0 for an unknown identifier or when the self tests fail. */
VRQ_API uint32_t VRQ_Get_DIGEST_Length(uint32_t algorithm);

/* Names: "SHA1", "SHA224", "SHA256", "SHA384", "SHA512", "MD5", "HAS160", "MDC2". The first returns
 * null, the second 0, for what is unknown or null or when the self tests fail. Looking up by name
 * ignores case and accepts no other spelling. */
VRQ_API const char* VRQ_Get_DIGEST_Alg_Name(uint32_t algorithm);
VRQ_API uint32_t VRQ_Get_DIGEST_Alg_ID_By_Name(const char* name);

/* The identifier bound to a unit; 0 for null or none or when the self tests fail. */
VRQ_API uint32_t VRQ_Get_DIGEST_Alg_ID(const VRQ_DIGEST_UNIT* unit);

/* ---- Engines ----
 *
 * Each engine has Init (context), Update (context, data, length in bytes) and Final (context, out
 * of digest length). The context parameter is void* so that a digest unit can hold the functions;
 * it points to the record named at the engine. Update collects input in the staging buffer of the
 * record; Final pads in the block buffer. Final leaves a used record behind: initialise it before
 * the next message.
 */

/* SHA-1. */
typedef struct VRQ_SHA1_CTX {
    uint64_t bit_count;    /* bits compressed; the whole message after Final */
    uint32_t block_fill;   /* bytes in the block buffer */
    uint32_t hash[5];      /* H0 to H4 */
    uint8_t block[64];     /* the block that Final pads */
    uint8_t staging[64];   /* input not yet compressed */
    uint32_t staging_fill; /* bytes of it */
} VRQ_SHA1_CTX;

/* SHA-256 and SHA-224. */
typedef struct VRQ_SHA256_CTX {
    uint64_t bit_count;
    uint32_t block_fill;
    uint32_t hash[8];
    uint8_t block[64];
    uint8_t staging[64];
    uint32_t staging_fill;
} VRQ_SHA256_CTX;

/* SHA-512 and SHA-384. The upper half of the 128-bit length is always zero. */
typedef struct VRQ_SHA512_CTX {
    uint64_t bit_count;
    uint32_t block_fill;
    uint64_t hash[8];
    uint8_t block[128];
    uint8_t staging[128];
    uint32_t staging_fill;
} VRQ_SHA512_CTX;

/* The SHA engines. Init returns a self-test status if the self tests fail.
 * Return 0, or VRQ_L_SHA with the function's code and
 *   VRQ_ERR_NULL_INPUT             null context, data (also for length 0) or out; Update of SHA-1
 *                                  and SHA-512 also: block fill above the block length
 *   VRQ_ERR_BUF_TOO_SMALL          block fill above 64 in Update of SHA-256, above 63 in Final of
 *                                  SHA-1
 *   VRQ_ERR_SUB_OPERATION_FAILURE  staging fill above the block length; Final of SHA-256 and
 *                                  SHA-512 also: block fill not below it
 *   VRQ_ERR_UPDATE_FAILURE         SHA-224 and SHA-384: the wider engine's Update failed
 *   VRQ_ERR_FINAL_FAILURE          SHA-224: SHA-256's Final failed; SHA-384 passes on the status of
 *                                  SHA-512's Final, with its function code */
VRQ_API uint32_t vrq_Init_SHA1(void* context);
VRQ_API uint32_t vrq_Update_SHA1(void* context, const uint8_t* data, uint32_t length);
VRQ_API uint32_t vrq_Final_SHA1(void* context, uint8_t* out);
VRQ_API uint32_t vrq_Init_SHA224(void* context);
VRQ_API uint32_t vrq_Update_SHA224(void* context, const uint8_t* data, uint32_t length);
VRQ_API uint32_t vrq_Final_SHA224(void* context, uint8_t* out);
VRQ_API uint32_t vrq_Init_SHA256(void* context);
VRQ_API uint32_t vrq_Update_SHA256(void* context, const uint8_t* data, uint32_t length);
VRQ_API uint32_t vrq_Final_SHA256(void* context, uint8_t* out);
VRQ_API uint32_t vrq_Init_SHA384(void* context);
VRQ_API uint32_t vrq_Update_SHA384(void* context, const uint8_t* data, uint32_t length);
VRQ_API uint32_t vrq_Final_SHA384(void* context, uint8_t* out);
VRQ_API uint32_t vrq_Init_SHA512(void* context);
VRQ_API uint32_t vrq_Update_SHA512(void* context, const uint8_t* data, uint32_t length);
VRQ_API uint32_t vrq_Final_SHA512(void* context, uint8_t* out);

/* Compress one block (64 bytes, SHA-512: 128) into the hash words; no count changes.
 * Return 0, or VRQ_ERR_NULL_INPUT with VRQ_F_COMP_SHA1, VRQ_F_COMP_SHA256, VRQ_F_UPDATE_SHA512. */
VRQ_API uint32_t comp_SHA1(VRQ_SHA1_CTX* context, const uint8_t* block);
VRQ_API uint32_t comp_SHA256(VRQ_SHA256_CTX* context, const uint8_t* block);
VRQ_API uint32_t comp_SHA512(VRQ_SHA512_CTX* context, const uint8_t* block);

/* MD5. */
typedef struct VRQ_MD5_CTX {
    uint8_t block[64];
    uint64_t bit_count;
    uint32_t block_fill;
    uint32_t state[4]; /* A to D */
    uint8_t staging[64];
    uint32_t staging_fill;
} VRQ_MD5_CTX;

/* Init returns a self-test status if the self tests fail.
 * Return 0, or VRQ_L_MD5 with the function's code and
 *   VRQ_ERR_NULL_INPUT             null context, data or out
 *   VRQ_ERR_INVALID_INPUT          Update of length 0
 *   VRQ_ERR_SUB_OPERATION_FAILURE  a fill field beyond its buffer
 * comp_MD5 compresses one block of 64 bytes and reports null as Update does. */
VRQ_API uint32_t vrq_Init_MD5(void* context);
VRQ_API uint32_t vrq_Update_MD5(void* context, const uint8_t* data, uint32_t length);
VRQ_API uint32_t vrq_Final_MD5(void* context, uint8_t* out);
VRQ_API uint32_t comp_MD5(VRQ_MD5_CTX* context, const uint8_t* block);

/* HAS-160. The fill of the block buffer is the bit count / 8 mod 64. */
typedef struct VRQ_HAS160_CTX {
    uint32_t state[5];
    uint32_t bit_count_low;
    uint32_t bit_count_high;
    uint8_t block[64];
} VRQ_HAS160_CTX;

/* Init returns a self-test status if the self tests fail.
 * Return 0, or VRQ_L_HAS160 with the function's code and
 *   VRQ_ERR_NULL_INPUT     null context, data or out
 *   VRQ_ERR_INVALID_INPUT  Update of length 0 (whatever the data pointer)
 * Final does not wipe the record: a caller that hashed a secret wipes it.
 * comp_HAS160 compresses one block of 64 bytes and reports null as Update does. */
VRQ_API uint32_t vrq_Init_HAS160(void* context);
VRQ_API uint32_t vrq_Update_HAS160(void* context, const uint8_t* data, uint32_t length);
VRQ_API uint32_t vrq_Final_HAS160(void* context, uint8_t* out);
VRQ_API uint32_t comp_HAS160(VRQ_HAS160_CTX* context, const uint8_t* block);

/* MDC-2 with DES. */
typedef struct VRQ_MDC2_CTX {
    uint32_t fill;         /* pending bytes */
    uint8_t pending[8];    /* input not yet compressed */
    uint8_t h[8];          /* first half of the chaining value */
    uint8_t hh[8];         /* second half */
    uint32_t padding_type; /* 1 after Init: zeros, and no block when nothing is pending;
                              a caller may set 2 before Final: the byte 0x80, then zeros */
} VRQ_MDC2_CTX;

/* Return 0, or VRQ_L_MDC2 with the function's code and
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM   Init in proven mode, before anything else
 *   VRQ_ERR_NULL_INPUT             null context, data (also for length 0) or out
 *   VRQ_ERR_SUB_OPERATION_FAILURE  more pending bytes than the buffer holds
 * Init returns a self-test status if the self tests fail.
 * mdc2_comp compresses one block of 8 bytes and reports null as Update does. */
VRQ_API uint32_t vrq_Init_MDC2(void* context);
VRQ_API uint32_t vrq_Update_MDC2(void* context, const uint8_t* data, uint32_t length);
VRQ_API uint32_t vrq_Final_MDC2(void* context, uint8_t* out);
VRQ_API uint32_t mdc2_comp(VRQ_MDC2_CTX* context, const uint8_t* block);

/* The DES of MDC-2 (FIPS 46-3), independent of the block cipher engines. A round key is eight
 * groups of six bits, one a byte: from the top byte of the first word down for S-boxes 1, 3, 5, 7,
 * of the second word for S-boxes 2, 4, 6, 8. */
typedef struct VRQ_MDC2_DES_KEY {
    uint32_t round_key[16][2];
} VRQ_MDC2_DES_KEY;

/* init makes the round keys of an 8-byte key (parity bits are ignored); encrypt enciphers the block
 * in place, given as two words that hold its bytes in little-endian order. Null arguments are
 * ignored. */
VRQ_API void init_MDC2_DES_KEY(VRQ_MDC2_DES_KEY* key, const uint8_t* user_key);
VRQ_API void encrypt_MDC2_DES_Block(uint32_t* block, const VRQ_MDC2_DES_KEY* key);

VRQ_END_C

#endif /* TALVERN_DIGEST_H */
