/* Talvern: block ciphers.
 *
 * A block cipher unit binds an algorithm, a mode of operation and a padding choice by one identifier
 * and is driven through New, Init, any number of Update, Final, Clean, Free; VRQ_BLOCK_CIPHER does
 * all of it in one call. The engines themselves, with their mode routines, are in talvern/aes.h and
 * its neighbours.
 *
 * An identifier is the sum of an algorithm, a mode and VRQ_NO_PADDING or nothing:
 *
 *   VRQ_ID_ARIA_256 + VRQ_MODE_CBC                    CBC with block padding (PKCS #7)
 *   VRQ_ID_AES_128 + VRQ_MODE_CTR + VRQ_NO_PADDING    CTR, for both directions
 *
 * VRQ_NO_PADDING is needed for decryption in CFB, OFB and CTR, whose ciphertext is as long as the
 * plaintext; encryption in these modes accepts both choices and ignores them.
 *
 *   identifier          standard              key  block  IV  approved
 *   VRQ_ID_AES_128      FIPS 197               16     16  16  no
 *   VRQ_ID_AES_192                             24     16  16  no
 *   VRQ_ID_AES_256                             32     16  16  no
 *   VRQ_ID_DES          FIPS 46-3               8      8   8  no
 *   VRQ_ID_DES_EDE                             24      8   8  no
 *   VRQ_ID_DES_EDE2     two keys               16      8   8  no
 *   VRQ_ID_DES_EDE3     as VRQ_ID_DES_EDE      24      8   8  no
 *   VRQ_ID_ARIA_128     KS X 1213, RFC 5794    16     16  16  yes
 *   VRQ_ID_ARIA_192                            24     16  16  yes
 *   VRQ_ID_ARIA_256                            32     16  16  yes
 *   VRQ_ID_SEED_128     RFC 4269               16     16  16  yes
 *   VRQ_ID_SEED_256     24 rounds              32     16  16  no
 *   VRQ_ID_RC5          RFC 2040, 12 rounds    16      8   8  no
 *   VRQ_ID_BLOWFISH                            16      8   8  no
 *   VRQ_ID_RC2_128      RFC 2268               16      8   8  no
 *   VRQ_ID_RC2_40       40 effective bits       5      8   8  no
 *   VRQ_ID_RC2_64       64 effective bits       8      8   8  no
 *   VRQ_ID_LEA_128      ISO/IEC 29192-2        16     16  16  no
 *   VRQ_ID_LEA_192                             24     16  16  no
 *   VRQ_ID_LEA_256                             32     16  16  no
 *
 * In proven mode only the approved ones can be bound, and CTR is refused.
 */
#ifndef TALVERN_CIPHER_H
#define TALVERN_CIPHER_H

#include "talvern/base.h"

VRQ_BEGIN_C

/* The parts of an identifier, in one enumeration so that they combine without a conversion.
 *   ECB, CBC           whole blocks; a message of any length with block padding
 *   CFB, OFB, CTR      byte streams over full blocks. RC2 has no CTR.
 *   CFB128             the same as CFB on 16-byte blocks, refused on 8-byte blocks
 *   CFB1 to CFB64      have names and lengths, but the unit refuses them: the engines' own routines
 *                      offer partial feedback
 *   VRQ_NO_PADDING     no padding and, on decryption, no block held back */
enum {
    VRQ_ID_AES_128 = 0x01000100,
    VRQ_ID_AES_192 = 0x01000200,
    VRQ_ID_AES_256 = 0x01000300,
    VRQ_ID_DES = 0x02000100,
    VRQ_ID_DES_EDE = 0x02000200,
    VRQ_ID_DES_EDE2 = 0x02001200,
    VRQ_ID_DES_EDE3 = 0x02010200,
    VRQ_ID_ARIA_128 = 0x03000100,
    VRQ_ID_ARIA_192 = 0x03000200,
    VRQ_ID_ARIA_256 = 0x03000300,
    VRQ_ID_SEED_128 = 0x04000100,
    VRQ_ID_SEED_256 = 0x04000200,
    VRQ_ID_RC5 = 0x05000100,
    VRQ_ID_BLOWFISH = 0x06000100,
    VRQ_ID_RC2_128 = 0x07000100,
    VRQ_ID_RC2_40 = 0x07000200,
    VRQ_ID_RC2_64 = 0x07000300,
    VRQ_ID_LEA_128 = 0x08000100,
    VRQ_ID_LEA_192 = 0x08000200,
    VRQ_ID_LEA_256 = 0x08000300,

    VRQ_MODE_ECB = 0x00,
    VRQ_MODE_CBC = 0x20,
    VRQ_MODE_CFB = 0x40,
    VRQ_MODE_CFB1 = 0x42,
    VRQ_MODE_CFB8 = 0x44,
    VRQ_MODE_CFB16 = 0x46,
    VRQ_MODE_CFB32 = 0x48,
    VRQ_MODE_CFB64 = 0x4A,
    VRQ_MODE_CFB128 = 0x4C,
    VRQ_MODE_OFB = 0x60,
    VRQ_MODE_CTR = 0x80,

    VRQ_NO_PADDING = 0x01
};

enum { VRQ_MAX_BLOCK_LENGTH = 16, VRQ_BINARY_KEY_LENGTH = 896 };

typedef struct VRQ_BLOCK_CIPHER_UNIT VRQ_BLOCK_CIPHER_UNIT;

/* Key set-up of an engine: copies the IV (when not null) into the unit's initial IV and the initial
 * IV into the working IV, stores the direction and expands the key into the unit's schedule. */
typedef uint32_t VRQ_KEY_SETUP(VRQ_BLOCK_CIPHER_UNIT* unit, const uint8_t* key, const uint8_t* iv,
                               int32_t encrypt);

/* Mode routine of an engine (vrq_Do_AES_CBC and so on): processes a run of data with the unit's
 * schedule, direction, working IV and stream position.
 *   out, in  may be the same buffer, but do not overlap otherwise
 *   length   bytes; in CFB1 bits; in CFBR the width r of one segment in bits, 1 to 128
 *
 *   ECB      whole blocks; trailing bytes are neither read nor written
 *   CBC      whole blocks. Encryption completes a trailing partial block with zero bytes, so out
 *            takes the length rounded up to whole blocks; decryption leaves trailing bytes alone.
 *   CFB, OFB, CTR
 *            any length; the next call goes on within the block
 *   CFBR     one segment of r bits in (r + 7) / 8 bytes, the first bit in the top bit of the first
 *            byte; SP 800-38A section 6.3. All bits of the last byte are processed, those behind the
 *            segment do not enter the feedback. Over a block of 8 bytes, r above 64 takes the rest
 *            of the key stream from the upper half of the working IV as it stands there.
 *   CFB8 to CFB64
 *            consecutive segments; a trailing partial segment counts as completed with zero bytes
 *   CFB1     single bits, top bit first; the unused bits of the last byte of out become zero
 *
 * Returns 0, or the engine's library code, the routine's function code (all of CFB under one code)
 * and VRQ_ERR_INVALID_INPUT for a null argument, a unit without a schedule or r out of range. */
typedef uint32_t VRQ_MODE_ROUTINE(VRQ_BLOCK_CIPHER_UNIT* unit, uint8_t* out, const uint8_t* in,
                                  uint32_t length);

/* The block cipher unit. A unit belongs to one thread at a time. */
struct VRQ_BLOCK_CIPHER_UNIT {
    uint32_t algorithm;             /* identifier with the low byte cleared; 0 when none is bound */
    int32_t block_length;           /* bytes */
    int32_t key_length;             /* bytes */
    int32_t iv_length;              /* bytes */
    int64_t rc2_key_bits;           /* effective key length of RC2, else 0 */
    uint8_t mode;                   /* VRQ_MODE_... */
    uint8_t no_padding;             /* 1: VRQ_NO_PADDING was given */
    VRQ_KEY_SETUP* key_setup;       /* of the engine */
    VRQ_MODE_ROUTINE* mode_routine; /* of the engine */
    int32_t encrypt;                /* 1: encrypt, 0: decrypt */
    uint8_t initial_iv[16];         /* where each message starts */
    uint8_t working_iv[16];         /* CBC chain, CFB or OFB register, CTR counter block */
    uint8_t pending[32];            /* input that does not fill a block yet */
    uint8_t keystream[32];          /* CTR: the current encrypted counter block */
    int32_t pending_count;          /* bytes in pending, below the block length */
    int32_t position;               /* next unused byte of the current key-stream block; 0: none */
    void* schedule;                 /* key record of the engine, owned */
    int32_t schedule_size;          /* bytes of it */
    int32_t has_held_back;          /* 1: held_back holds the last decrypted block */
    int32_t block_mask;             /* block length - 1 */
    uint8_t held_back[32];
    uint32_t init_marker; /* 0xFFFFFFFF once Init has run; Clean acts only then */
    int32_t proven;       /* VRQ_Is_Proven at Init */
};

/* Returns a new unit, or null when there is no memory. Release it with VRQ_Free_BLOCK_CIPHER_Unit.
 * The second form stores its argument as the proven flag, which Init overwrites. */
VRQ_API VRQ_BLOCK_CIPHER_UNIT* VRQ_New_BLOCK_CIPHER_Unit(void);
VRQ_API VRQ_BLOCK_CIPHER_UNIT* vrq_New_BLOCK_CIPHER_Unit_Ex(int32_t proven);

/* Wipes and releases the schedule and zeroes the record; a unit that was never initialised is left
 * as it is. Null is allowed. */
VRQ_API void VRQ_Clean_BLOCK_CIPHER_Unit(VRQ_BLOCK_CIPHER_UNIT* unit);

/* Cleans and releases the unit. Null is allowed. */
VRQ_API void VRQ_Free_BLOCK_CIPHER_Unit(VRQ_BLOCK_CIPHER_UNIT* unit);

/* Binds algorithm, mode, padding, key, IV and direction. A unit that was initialised before is
 * cleaned first; after a failure, Init must succeed before the unit is used.
 *   identifier  see above
 *   key         of the algorithm's key length. AES, Blowfish, RC5 and RC2 refuse null; the other
 *               engines accept it and leave a schedule of zeros, which protects nothing.
 *   iv          of the block length; null for ECB, and for CTR to count from zero
 *   encrypt     1 to encrypt, 0 to decrypt
 * Returns 0, a self-test status, or VRQ_L_BLOCK_CIPHER / VRQ_F_INIT_BLOCKCIPHER with
 *   VRQ_ERR_INVALID_INPUT           null unit
 *   VRQ_ERR_INIT_FAILURE            unknown identifier, mode not offered or algorithm not approved
 *                                   in proven mode, key set-up refused
 *   VRQ_ERR_MALLOC                  no memory for the schedule
 *   VRQ_ERR_NULL_IV_VALUE           null IV in CBC, CFB or OFB
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM    CTR in proven mode
 *   VRQ_ERR_INVALID_IV_LENGTH, VRQ_ERR_INVALID_OPERATION_MASK
 *                                   a table entry that does not fit the unit; never seen */
VRQ_API uint32_t VRQ_Init_BLOCK_CIPHER(VRQ_BLOCK_CIPHER_UNIT* unit, uint32_t identifier,
                                       const uint8_t* key, const uint8_t* iv, int32_t encrypt);

/* Processes a piece of the message.
 *   out         room for length bytes and one block. The same buffer as in is allowed when the unit
 *               holds nothing back from an earlier call, so for a message given in one piece or, on
 *               encryption and without padding, in whole blocks.
 *   out_length  receives the bytes written; 0 after a failure
 *   length      bytes, 1 or more
 * With padding, decryption holds the last block back until more data or Final comes.
 * Returns 0, or VRQ_L_BLOCK_CIPHER with
 *   VRQ_F_UPDATE_BLOCKCIPHER / VRQ_ERR_INVALID_INPUT  null unit or out_length, length below 1
 *   VRQ_F_UPDATE_ENCRYPTION / VRQ_ERR_OPERATE_FUNCTION
 *                                                    null in or out, or a unit that is not bound
 *   VRQ_F_UPDATE_DECRYPTION / VRQ_ERR_UPDATE_FAILURE  the same, decrypting with padding
 *   VRQ_F_UPDATE_ENCRYPTION / VRQ_ERR_CIPHER_ENCRYPT_FAILURE,
 *   VRQ_F_UPDATE_DECRYPTION / VRQ_ERR_CIPHER_DECRYPT_FAILURE
 *                                                    a record whose lengths were changed */
VRQ_API uint32_t VRQ_Update_BLOCK_CIPHER(VRQ_BLOCK_CIPHER_UNIT* unit, uint8_t* out,
                                         uint32_t* out_length, const uint8_t* in, int32_t length);

/* Ends the message; the unit is then ready for the next one with the same key and IV, whatever the
 * result. Change the IV by a new Init: two messages under one key and IV are safe in no mode.
 *   out         room for one block; may be null when nothing is to be written
 *   out_length  receives the bytes written; 0 after a failure
 * Returns 0, or VRQ_L_BLOCK_CIPHER / VRQ_F_FINAL_BLOCKCIPHER with
 *   VRQ_ERR_INVALID_INPUT           null unit or out_length
 *   VRQ_ERR_CIPHER_ENCRYPT_FAILURE  encrypting without padding, the message does not fill blocks
 *   VRQ_ERR_CIPHER_DECRYPT_FAILURE  the same, decrypting; malformed padding; a stream mode with
 *                                   padding
 * The status tells whether padding was well-formed. Whoever decrypts data that an attacker may have
 * changed checks a MAC before, or a padding oracle is open. */
VRQ_API uint32_t VRQ_Final_BLOCK_CIPHER(VRQ_BLOCK_CIPHER_UNIT* unit, uint8_t* out,
                                        uint32_t* out_length);

/* One message in one call.
 *   in          not null, 1 byte or more
 *   out         room for length bytes and one block; may be the same buffer as in
 *   out_length  receives the bytes written; unchanged after a failure
 * Returns 0, or VRQ_L_BLOCK_CIPHER / VRQ_F_BLOCKCIPHER with
 *   VRQ_ERR_MEM_ALLOC                no memory for the unit
 *   VRQ_ERR_INIT_BLOCKCIPHER_FAIL    VRQ_Init_BLOCK_CIPHER failed, for whatever reason
 *   VRQ_ERR_UPDATE_BLOCKCIPHER_FAIL  VRQ_Update_BLOCK_CIPHER failed; null out_length
 *   VRQ_ERR_FINAL_BLOCKCIPHER_FAIL   VRQ_Final_BLOCK_CIPHER failed */
VRQ_API uint32_t VRQ_BLOCK_CIPHER(uint32_t identifier, int32_t encrypt, const uint8_t* key,
                                  const uint8_t* iv, const uint8_t* in, int32_t length,
                                  uint8_t* out, uint32_t* out_length);

/* Writes an initialised unit as a flat record of VRQ_BINARY_KEY_LENGTH bytes, which serves any
 * number of messages, from several threads at once. The record holds an expanded key and two code
 * addresses: it is a cache within one process, not a form for storage or transport, and must be
 * wiped like a key.
 *   binary_key         output
 *   binary_key_length  the room in bytes; receives VRQ_BINARY_KEY_LENGTH
 * Returns 0, or VRQ_L_BLOCK_CIPHER / VRQ_F_INIT_ADVANCED_BLOCKCIPHER with
 *   VRQ_ERR_NULL_INPUT             null key, record or length
 *   VRQ_ERR_NOT_SUPPORTED          Blowfish, whose schedule does not fit
 *   VRQ_ERR_BUF_TOO_SMALL          less room than VRQ_BINARY_KEY_LENGTH
 *   VRQ_ERR_INIT_BLOCKCIPHER_FAIL  VRQ_Init_BLOCK_CIPHER failed, for whatever reason
 *   VRQ_ERR_SUB_OPERATION_FAILURE  the record could not be written */
VRQ_API uint32_t VRQ_Init_Advanced_BLOCK_CIPHER(uint32_t identifier, const uint8_t* key,
                                                const uint8_t* iv, int32_t encrypt,
                                                uint8_t* binary_key, int32_t* binary_key_length);

/* One message under a record, which is not modified.
 *   binary_key_length  not looked at
 *   out                room for length bytes and one block
 *   out_length         receives the bytes written; unchanged after a failure
 * Returns 0, or VRQ_L_BLOCK_CIPHER / VRQ_F_DO_FINAL_ADVANCED_BLOCKCIPHER with
 *   VRQ_ERR_NULL_INPUT               null record, out or out_length
 *   VRQ_ERR_SUB_OPERATION_FAILURE    no memory for the schedule, or the record is damaged
 *   VRQ_ERR_UPDATE_BLOCKCIPHER_FAIL  VRQ_Update_BLOCK_CIPHER failed
 *   VRQ_ERR_FINAL_BLOCKCIPHER_FAIL   VRQ_Final_BLOCK_CIPHER failed */
VRQ_API uint32_t VRQ_DoFinal_Advanced_BLOCK_CIPHER(const uint8_t* binary_key,
                                                   uint32_t binary_key_length, const uint8_t* in,
                                                   uint32_t length, uint8_t* out,
                                                   uint32_t* out_length);

/* The copies between unit and record. The second gives the unit a schedule of the recorded size and
 * ignores the length; the first stores VRQ_BINARY_KEY_LENGTH through its length unless it is null.
 * Return 0, or 1 for a null unit or record, a schedule that does not fit the record, or no memory. */
VRQ_API uint32_t blockcipher_Unit_to_BinaryKey(const VRQ_BLOCK_CIPHER_UNIT* unit,
                                               uint8_t* binary_key, int32_t* length);
VRQ_API uint32_t blockcipher_BinaryKey_to_Unit(const uint8_t* binary_key, uint32_t length,
                                               VRQ_BLOCK_CIPHER_UNIT* unit);

/* The algorithm of a unit; 0 for null, when none is bound or when the self tests fail. */
VRQ_API uint32_t VRQ_Get_Block_Alg_ID(const VRQ_BLOCK_CIPHER_UNIT* unit);

/* Name of an identifier's algorithm ("AES_128", "VRQ_SEED", ...) or mode ("CBC", ...); null when
 * unknown or when the self tests fail. */
VRQ_API const char* VRQ_Get_Block_Alg_Name(uint32_t identifier);
VRQ_API const char* VRQ_Get_Mode_Name(uint32_t identifier);

/* Lengths of an identifier's algorithm in bytes; 0 when unknown. VRQ_ID_SEED_256 counts as unknown
 * here, though the unit supports it; callers rely on it. When the self tests fail the first two
 * return 0, the third 0xFFFFFFFF. */
VRQ_API uint32_t VRQ_Get_Key_Length(uint32_t identifier);
VRQ_API uint32_t VRQ_Get_Block_Length(uint32_t identifier);
VRQ_API uint32_t VRQ_Get_IV_Length(uint32_t identifier);

/* Bytes that the unit's mode feeds back at a time: the block length, or 1 to 16 in the partial
 * feedback modes; 0 for null, an unknown mode or when the self tests fail. */
VRQ_API uint32_t vrq_Get_Mode_Length(const VRQ_BLOCK_CIPHER_UNIT* unit);

/* Looks an identifier up and stores what it determines in the unit: algorithm, lengths, RC2 key
 * bits, mode, key set-up, mode routine, schedule size. The schedule becomes null: a unit that has
 * one is cleaned first. Part of VRQ_Init_BLOCK_CIPHER.
 * Returns 0, a self-test status, or VRQ_L_BLOCK_CIPHER / VRQ_F_INIT_ALGORITHM with
 *   VRQ_ERR_INVALID_INPUT         null unit
 *   VRQ_ERR_INVALID_ALGORITHM_ID  unknown, or the algorithm does not offer the mode
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM  algorithm not approved, in proven mode
 * The algorithm field is 0 after a failure. */
VRQ_API uint32_t vrq_Init_Block_Alg(VRQ_BLOCK_CIPHER_UNIT* unit, uint32_t identifier);

/* Stores the effective key length of RC2, in bits, for a key set-up that follows. */
VRQ_API void set_RC2KeyLength(VRQ_BLOCK_CIPHER_UNIT* unit, int64_t bits);

/* Adds one to a counter block of 16 bytes, a big-endian number that wraps to zero. */
VRQ_API void vrq_Increase_Counter(uint8_t* block);

VRQ_END_C

#endif /* TALVERN_CIPHER_H */
