/* Talvern: the RC4 stream cipher.
 *
 * RC4 has a unit of its own. It is not approved, but the calls do not look at the operating mode
 * and run no self test: proven mode does not keep a caller from them. New, Init, any number of Do,
 * Clean, Free.
 */
#ifndef TALVERN_RC4_H
#define TALVERN_RC4_H

#include "talvern/base.h"

VRQ_BEGIN_C

typedef struct VRQ_RC4_UNIT {
    uint32_t x;
    uint32_t y;
    uint32_t state[256]; /* a permutation of 0 to 255 */
} VRQ_RC4_UNIT;

/* Returns a new unit with undefined content, or null when there is no memory. Init comes first.
 * Release it with VRQ_Free_RC4_Unit. */
VRQ_API VRQ_RC4_UNIT* VRQ_New_RC4_Unit(void);

/* Sets a key and starts its key stream.
 *   length  bytes, 1 or more; those behind the 256th have no effect
 * Returns 0, or VRQ_L_RC4_INTERFACE, function 0, VRQ_ERR_INVALID_INPUT for a null argument or a
 * length below 1; the unit is unchanged then. */
VRQ_API uint32_t VRQ_Init_RC4(VRQ_RC4_UNIT* unit, const uint8_t* key, int32_t length);

/* Encrypts or decrypts; the next call goes on in the key stream.
 *   in, out  may be the same buffer, but do not overlap otherwise
 *   length   bytes, 1 or more
 * Returns 0, or VRQ_L_RC4_INTERFACE, function 0, VRQ_ERR_INVALID_INPUT for a null argument or
 * length 0; the unit is unchanged then. */
VRQ_API uint32_t VRQ_Do_RC4(VRQ_RC4_UNIT* unit, const uint8_t* in, uint32_t length, uint8_t* out);

/* Wipes the unit. Null is allowed. */
VRQ_API void VRQ_Clean_RC4_Unit(VRQ_RC4_UNIT* unit);

/* Cleans and releases the unit. Null is allowed. */
VRQ_API void VRQ_Free_RC4_Unit(VRQ_RC4_UNIT* unit);

VRQ_END_C

#endif /* TALVERN_RC4_H */
