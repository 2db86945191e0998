/* Talvern: the AES engine (FIPS 197).
 *
 * The block cipher unit (talvern/cipher.h) is the way to use AES; here are its parts, for callers
 * that keep the key record themselves.
 */
#ifndef TALVERN_AES_H
#define TALVERN_AES_H

#include "talvern/cipher.h"

VRQ_BEGIN_C

/* Expanded key: 4 * (rounds + 1) words, the first key or state byte in the top byte of each. */
typedef struct VRQ_AES_KEY {
    uint32_t round_keys[60];
    int32_t rounds; /* 10, 12 or 14 */
} VRQ_AES_KEY;

/* Expand a key for encryption, or for decryption by the equivalent inverse cipher.
 *   length  16, 24 or 32 bytes
 * Return 0, or VRQ_L_AES_INTERFACE / VRQ_F_INIT_AES_KEY with VRQ_ERR_INVALID_INPUT (null key or
 * record, other length). */
VRQ_API uint32_t vrq_Init_Encrypt_AES_Key(const uint8_t* key, int32_t length, VRQ_AES_KEY* record);
VRQ_API uint32_t vrq_Init_Decrypt_AES_Key(const uint8_t* key, int32_t length, VRQ_AES_KEY* record);

/* One block of 16 bytes; in and out may be the same. A null argument ends the process by a failed
 * assertion. */
VRQ_API void vrq_AES_Encrypt_Block(const uint8_t* in, uint8_t* out, const VRQ_AES_KEY* key);
VRQ_API void vrq_AES_Decrypt_Block(const uint8_t* in, uint8_t* out, const VRQ_AES_KEY* key);

/* Expands a key into the schedule of a unit, for decryption only when the unit's mode is ECB or CBC
 * and encrypt is 0.
 * Returns 0, or VRQ_L_AES_INTERFACE / VRQ_F_INIT_AES_KEY with VRQ_ERR_INIT_KEY_FAILURE (null unit or
 * key, a key length that AES does not have). */
VRQ_API uint32_t vrq_Init_AES_Key(VRQ_BLOCK_CIPHER_UNIT* unit, const uint8_t* key, int32_t encrypt);

/* Key set-up of the unit.
 * Returns 0, a self-test status, or, for a null key or one that vrq_Init_AES_Key refuses,
 * VRQ_L_ARIA_INTERFACE / VRQ_F_INIT_ARIA with VRQ_ERR_INIT_KEY_FAILURE: a status of the ARIA engine,
 * which callers compare with. */
VRQ_API VRQ_KEY_SETUP vrq_Init_AES;

/* Mode routines; see VRQ_MODE_ROUTINE. */
VRQ_API VRQ_MODE_ROUTINE vrq_Do_AES_ECB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_AES_CBC;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_AES_CFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_AES_CFBR;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_AES_CFB1;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_AES_CFB8;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_AES_CFB16;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_AES_CFB32;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_AES_CFB64;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_AES_OFB;
VRQ_API VRQ_MODE_ROUTINE vrq_Do_AES_CTR;

/* Tables of the portable implementation. Lane 0 is the top byte of a word.
 *   E_Table0 to E_Table3      SubBytes, ShiftRows and MixColumns of a byte in lane 0 to 3
 *   E_Table4_0 to E_Table4_3  its S-box value in lane 0 to 3
 *   D_Table0 to D_Table3      the inverse round of a byte in lane 0 to 3
 *   D_Table4                  the inverse S-box
 *   K_Sched0 to K_Sched3      InvMixColumns of a byte in lane 0 to 3 */
VRQ_API extern const uint32_t E_Table0[256];
VRQ_API extern const uint32_t E_Table1[256];
VRQ_API extern const uint32_t E_Table2[256];
VRQ_API extern const uint32_t E_Table3[256];
VRQ_API extern const uint32_t E_Table4_0[256];
VRQ_API extern const uint32_t E_Table4_1[256];
VRQ_API extern const uint32_t E_Table4_2[256];
VRQ_API extern const uint32_t E_Table4_3[256];
VRQ_API extern const uint32_t D_Table0[256];
VRQ_API extern const uint32_t D_Table1[256];
VRQ_API extern const uint32_t D_Table2[256];
VRQ_API extern const uint32_t D_Table3[256];
VRQ_API extern const uint32_t D_Table4[256];
VRQ_API extern const uint32_t K_Sched0[256];
VRQ_API extern const uint32_t K_Sched1[256];
VRQ_API extern const uint32_t K_Sched2[256];
VRQ_API extern const uint32_t K_Sched3[256];

VRQ_END_C

#endif /* TALVERN_AES_H */
