/* Talvern: Diffie-Hellman key agreement over a subgroup of prime order modulo p.
 *
 * Parameters p, q, g live in a record of their own; a unit holds a copy of them, the own key pair, the
 * peer's public key and the shared secret. Loading parameters or keys is refused in proven mode.
 *
 * Statuses are those of library VRQ_L_DH with the function's own code unless a comment says otherwise.
 */
#ifndef TALVERN_DH_H
#define TALVERN_DH_H

#include "talvern/bigint.h"

VRQ_BEGIN_C

/* Domain parameters. The record owns what it points to. */
typedef struct VRQ_DH_PARAMS {
    uint32_t user_word;   /* of the caller; the library leaves it alone */
    VRQ_BIGINT* p;        /* prime */
    VRQ_BIGINT* q;        /* prime divisor of p - 1; may be null */
    VRQ_BIGINT* g;        /* generator */
    uint8_t* seed;        /* of parameter generation, with 4 bytes of room for the counter */
    uint32_t seed_length; /* bytes, without that room */
    uint32_t count;       /* counter that gave q */
    VRQ_BIGINT_POOL* pool;
} VRQ_DH_PARAMS;

/* One side of an agreement. The unit owns what it points to and belongs to one thread at a time. */
typedef struct VRQ_DH_UNIT {
    VRQ_BIGINT* x;      /* private key */
    VRQ_BIGINT* y;      /* public key g^x mod p */
    VRQ_BIGINT* peer_y; /* public key of the other side, once a secret is computed */
    VRQ_BIGINT* secret; /* shared secret */
    VRQ_BIGINT_POOL* pool;
    VRQ_DH_PARAMS* params;
} VRQ_DH_UNIT;

/* ---- Parameters ---- */

/* Returns a new record with its pool, or null. Release it with VRQ_Free_DH_Params. */
VRQ_API VRQ_DH_PARAMS* VRQ_New_DH_Params(void);

/* Clean wipes and releases all that the record owns and zeroes it; Free cleans and releases it. Null
 * is ignored. */
VRQ_API void VRQ_Clean_DH_Params(VRQ_DH_PARAMS* params);
VRQ_API void VRQ_Free_DH_Params(VRQ_DH_PARAMS* params);

/* Stores copies of those values that are not null.
 * Returns 0, a self-test status, or
 *   VRQ_F_INIT_DH_PARAMS, VRQ_ERR_INVALID_INPUT      null record; always in proven mode
 *   VRQ_F_INIT_DH_PARAMS, VRQ_ERR_MEMORY_ALLOC       no memory
 *   VRQ_F_INIT_DH, VRQ_ERR_INVALID_KEY_PAIR          all three given, g not 1, g^q mod p not 1
 *   VRQ_F_INIT_DH, VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL  that power: p even or 0, or no memory
 * Callers rely on a g of 1 being stored unchecked: it gives every secret away. The primality of p
 * and q is not tested. */
VRQ_API uint32_t VRQ_Init_DH_Params(VRQ_DH_PARAMS* params, const VRQ_BIGINT* p, const VRQ_BIGINT* q,
                                    const VRQ_BIGINT* g);

/* Bytes of p, the room that a shared secret needs; 0 for null, without p, or when the self tests
 * fail. */
VRQ_API uint32_t VRQ_Get_DH_PARAMS_Length(const VRQ_DH_PARAMS* params);

/* Makes p, q, g, with the seed and counter that prove q, as TTAK.KO-12.0001 makes those of KCDSA: always
 * of the lengths asked for, about a second for 2048 bits.
 *   digest  of the expansion of seeds
 *   p_bits  1024 to 2048;  q_bits  160 to 256; p of 1024 wants q of 160, p of 2048 wants 224 or 256
 * Returns 0, a self-test status, or
 *   VRQ_ERR_NULL_INPUT             null record, or no memory for a number
 *   VRQ_ERR_NOT_SUPPORTED          lengths
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM   lengths other than 2048 with 224 or 256, in proven mode
 *   VRQ_ERR_RANDOM_GEN_FAILURE     no seed
 * or with the other reasons of VRQ_Generate_KCDSA_Params_Ex. After a failure p, q and g are 0. */
VRQ_API uint32_t VRQ_Generate_DH_Params(VRQ_DH_PARAMS* params, uint32_t digest, uint32_t p_bits,
                                        uint32_t q_bits);

/* The expansion of prng_KCDSA_ex. Null: VRQ_F_GENERATE_DH_PARAMS with VRQ_ERR_NULL_INPUT. */
VRQ_API uint32_t vrq_prng_DH_Params(uint32_t digest, const uint8_t* seed, uint32_t seed_length,
                                    uint8_t* out, uint32_t bits);

/* out = a random number below q, as vrq_Get_Rand_KCDSA_BIGINT draws it; statuses with
 * VRQ_F_GENERATE_DH_PARAMS. The record may be null. */
VRQ_API uint32_t vrq_Get_Rand_DH_Params_BIGINT(VRQ_DH_PARAMS* params, uint32_t digest,
                                               VRQ_BIGINT* out, const VRQ_BIGINT* q);

/* Returns 0 for a valid public key, 2 <= y < p and, with q present, y^q mod p = 1; else 1, also when
 * an argument, p or g is missing. Without q, p - 1 passes, a key of order 2. */
VRQ_API uint32_t vrq_DH_Pub_Key_Validation(const VRQ_BIGINT* y, const VRQ_DH_PARAMS* params);

/* ---- Units ---- */

/* Returns a new unit with its pool, or null. Release it with VRQ_Free_DH. */
VRQ_API VRQ_DH_UNIT* VRQ_New_DH(void);

/* Clean wipes and releases all that the unit owns, its parameters included, and zeroes it; Free cleans
 * and releases it. Null is ignored. */
VRQ_API void VRQ_Clean_DH(VRQ_DH_UNIT* unit);
VRQ_API void VRQ_Free_DH(VRQ_DH_UNIT* unit);

/* Stores copies of the parameters, and of x and y where they are not null.
 * Returns 0, a self-test status, or
 *   VRQ_ERR_NOT_PROVEN_ALGORITHM   always in proven mode
 *   VRQ_ERR_INVALID_INPUT          null unit or parameters
 *   VRQ_ERR_MEMORY_ALLOC           no memory
 *   VRQ_ERR_SUB_OPERATION_FAILURE  VRQ_Init_DH_Params refused the parameters */
VRQ_API uint32_t VRQ_Init_DH(VRQ_DH_UNIT* unit, const VRQ_BIGINT* x, const VRQ_BIGINT* y,
                             const VRQ_DH_PARAMS* params);

/* Makes x and y: 0 < x < q, or x of 256 bits without q.
 * Returns 0, a self-test status, or
 *   VRQ_ERR_NULL_INPUT                null unit, or no parameters, p or g
 *   VRQ_ERR_START_BIGINT_POOL_FAIL    the pool refused
 *   VRQ_ERR_MEMORY_ALLOC              no memory
 *   VRQ_ERR_GET_RAND_FAIL             drawing failed; q below 2
 *   VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL  p even or 0, or no memory
 *   VRQ_ERR_INVALID_KEY_PAIR          y is not valid
 * After a failure x and y are 0. */
VRQ_API uint32_t VRQ_Generate_DH_Key_Pair(VRQ_DH_UNIT* unit);

/* Computes the shared secret Z = peer_y^x mod p and keeps it in the unit with peer_y.
 *   out         Z big-endian, up to the bytes of p
 *   out_length  receives the bytes written
 * Callers rely on leading zero bytes being left out: about one secret in 256 is shorter than p. A
 * protocol of fixed length pads it on the left.
 * Returns 0, a self-test status, or
 *   VRQ_ERR_NULL_INPUT                a null argument, or the unit lacks x, y or p
 *   VRQ_ERR_INVALID_KEY_PAIR          peer_y is out of range or, with q, not of order q
 *   VRQ_ERR_MEM_ALLOC                 no memory
 *   VRQ_ERR_MOD_EXP_MONT_BIGINT_FAIL  p even or 0, or no memory */
VRQ_API uint32_t VRQ_Compute_Key(VRQ_DH_UNIT* unit, const VRQ_BIGINT* peer_y, uint8_t* out,
                                 uint32_t* out_length);

VRQ_END_C

#endif /* TALVERN_DH_H */
