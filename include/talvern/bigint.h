/* Talvern: big integers, their arithmetic, modular arithmetic and the scratch pool.
 *
 * A big integer is a non-negative number in 32-bit words, least significant first. There is no
 * sign: subtraction and comparison work on magnitudes. Outputs are normalised (the top word is not
 * zero, the value 0 has no words) unless a comment says otherwise; inputs need not be. An output may
 * be the same record as an input unless a comment says otherwise.
 *
 * Statuses are those of library VRQ_L_BIGINT with the function's own code; comments name the
 * reasons. A null record gives VRQ_ERR_NULL_INPUT where a status is returned, unless stated.
 *
 * Callers rely on these: a product with a zero factor is 1 (VRQ_Mtp_BIGINT, and nothing else);
 * VRQ_HEX_To_BIGINT keeps leading zeros; the constant zero has one word; VRQ_Get_BIGINT_Word of
 * null is 1.
 */
#ifndef TALVERN_BIGINT_H
#define TALVERN_BIGINT_H

#include "talvern/base.h"

VRQ_BEGIN_C

/* Flags of a record. */
enum {
    VRQ_BIGINT_ALLOCATED = 1, /* made by VRQ_New_BIGINT: VRQ_Free_BIGINT releases the record */
    VRQ_BIGINT_FIXED = 2,     /* the word array is never replaced or grown */
    VRQ_BIGINT_INITIALIZED = 4
};

/* A big integer. It owns its word array. Words from used on are undefined. */
typedef struct {
    uint32_t* data;
    int32_t used;      /* significant words; 0 is the value 0 */
    int32_t allocated; /* words of data; at most 0xFFFFFF, except inside a pool */
    uint32_t flags;
} VRQ_BIGINT;

#define VRQ_BIGINT_POOL_BLOCK_RECORDS 8
#define VRQ_BIGINT_POOL_FRAMES 80

/* A block of pool records. The last record is never handed out. */
typedef struct VRQ_BIGINT_POOL_BLOCK {
    VRQ_BIGINT records[VRQ_BIGINT_POOL_BLOCK_RECORDS + 1];
    struct VRQ_BIGINT_POOL_BLOCK* previous;
    struct VRQ_BIGINT_POOL_BLOCK* next;
} VRQ_BIGINT_POOL_BLOCK;

/* Short-lived big integers in nested frames. A pool belongs to one thread at a time. */
typedef struct {
    VRQ_BIGINT_POOL_BLOCK* first;
    VRQ_BIGINT_POOL_BLOCK* current; /* holds the record handed out next */
    VRQ_BIGINT_POOL_BLOCK* last;
    uint32_t used;     /* records handed out */
    uint32_t capacity; /* records of all blocks */
    uint32_t frame_counts[VRQ_BIGINT_POOL_FRAMES];
    int32_t depth; /* innermost open frame, -1 when none */
} VRQ_BIGINT_POOL;

/* Montgomery context of one odd modulus n, with R = 2^r_bits. */
typedef struct {
    int32_t r_bits; /* bit length of n rounded up to a multiple of 32 */
    VRQ_BIGINT rr;  /* R^2 mod n */
    VRQ_BIGINT n;
    VRQ_BIGINT reserved;
    uint32_t n_prime; /* -n^-1 mod 2^32 */
} VRQ_BIGINT_MONT;

/* ---- Records ---- */

/* Returns a new record of value 0 without words, or null. */
VRQ_API VRQ_BIGINT* VRQ_New_BIGINT(void);

/* Prepares a record that the caller provides: a record with any flag set becomes all zero, whatever
 * it owned; then VRQ_BIGINT_INITIALIZED is set. A record without flags keeps its fields, so zero a
 * new one first. */
VRQ_API uint32_t VRQ_Init_BIGINT(VRQ_BIGINT* a);

/* Wipes and releases the words; drops VRQ_BIGINT_FIXED. Null is ignored. */
VRQ_API void VRQ_Clear_BIGINT(VRQ_BIGINT* a);

/* Clears, and releases the record if VRQ_New_BIGINT made it. */
VRQ_API uint32_t VRQ_Free_BIGINT(VRQ_BIGINT* a);

/* Makes room for so many words; the old array is wiped. Returns the record, also a null one; null
 * when it cannot grow (memory, VRQ_BIGINT_FIXED, more than 0xFFFFFF words). */
VRQ_API VRQ_BIGINT* vrq_Expand_BIGINT(VRQ_BIGINT* a, int32_t words);

/* Copies the value. VRQ_ERR_NULL_INPUT, VRQ_ERR_EXPAND_BIGINT_WORD. */
VRQ_API uint32_t VRQ_Copy_BIGINT(VRQ_BIGINT* to, const VRQ_BIGINT* from);

/* Returns a new record of the same value, or null. */
VRQ_API VRQ_BIGINT* VRQ_Dup_BIGINT(const VRQ_BIGINT* a);

/* Exchanges values, arrays and VRQ_BIGINT_FIXED; the other flags stay. Null is ignored. */
VRQ_API void VRQ_Swap_BIGINT(VRQ_BIGINT* a, VRQ_BIGINT* b);

/* Constants, never to be modified or freed. The zero has one word, so it compares greater than a
 * cleared record. */
VRQ_API const VRQ_BIGINT* VRQ_Value_One_BIGINT(void);
VRQ_API const VRQ_BIGINT* VRQ_Value_Zero_BIGINT(void);

/* ---- Words, bits, comparison ---- */

/* a = word. VRQ_ERR_NULL_INPUT, VRQ_ERR_EXPAND_BIGINT_WORD. */
VRQ_API uint32_t VRQ_Set_BIGINT_Word(VRQ_BIGINT* a, uint32_t word);

/* Returns the value of at most one word, 0xFFFFFFFF for more than one, 1 for null. */
VRQ_API uint32_t VRQ_Get_BIGINT_Word(const VRQ_BIGINT* a);

/* Sets one bit, growing as needed. VRQ_ERR_NULL_INPUT (also for a negative index),
 * VRQ_ERR_EXPAND_BIGINT_WORD. */
VRQ_API uint32_t VRQ_Set_BIGINT_Bit(VRQ_BIGINT* a, int32_t index);

/* Returns 1 or 0; 0 outside the number and for null. */
VRQ_API uint32_t VRQ_Is_BIGINT_Bit_Set(const VRQ_BIGINT* a, int32_t index);

/* Returns the bit length, of the value and of a word; 0 for null. A value that is not normalised
 * counts all its lower words. */
VRQ_API uint32_t VRQ_Get_BIGINT_Bits_Length(const VRQ_BIGINT* a);
VRQ_API uint32_t vrq_Get_BIGINT_Bits_Word(uint32_t word);

/* Returns 1, 0 or -1 for a above, equal to or below b; 1 when one is null. More words alone decide,
 * zeros or not. */
VRQ_API int32_t VRQ_Cmp_BIGINT(const VRQ_BIGINT* a, const VRQ_BIGINT* b);

/* ---- Conversions ---- */

/* Big-endian bytes to a value, in the record given or, when that is null, in a new one.
 * Returns the record; null for null bytes, a negative length or a failed growth. */
VRQ_API VRQ_BIGINT* VRQ_Binary_To_BIGINT(const uint8_t* bytes, int32_t length, VRQ_BIGINT* a);

/* Value to big-endian bytes: ceil(bits / 8) of them, and floor(bits / 8) + 1, so that the first bit
 * is never set. Returns the count; 0 for the value 0 and for null arguments. */
VRQ_API uint32_t VRQ_BIGINT_To_Binary_Unsigned(const VRQ_BIGINT* a, uint8_t* out);
VRQ_API uint32_t VRQ_BIGINT_To_Binary(const VRQ_BIGINT* a, uint8_t* out);

/* Value to text in upper-case hex, in hex behind "0x", and in decimal, without leading zeros. Return
 * a text that the caller releases with VRQ_Free, or null. */
VRQ_API char* VRQ_BIGINT_To_HEX(const VRQ_BIGINT* a);
VRQ_API char* VRQ_Dump_BIGINT(const VRQ_BIGINT* a);
VRQ_API char* VRQ_BIGINT_To_DEC(const VRQ_BIGINT* a);

/* Prints "0x", the hex text and a newline; "0x" alone when the text cannot be made. */
VRQ_API void VRQ_Print_BIGINT(const VRQ_BIGINT* a);

/* The leading hex digits of a text to a new record; "0x" is no prefix but the digit 0. Leading zeros
 * count: the words are as many as the digits need. Returns null for a null or empty text. */
VRQ_API VRQ_BIGINT* VRQ_HEX_To_BIGINT(const char* text);

/* ---- Arithmetic ----
 * A null pool is allowed: temporaries are then made for the call. */

/* r = a + b. VRQ_ERR_INTERNAL: r cannot grow. */
VRQ_API uint32_t VRQ_Add_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b,
                                VRQ_BIGINT_POOL* pool);

/* r = a - b. VRQ_ERR_INTERNAL: r cannot grow, or a < b. */
VRQ_API uint32_t VRQ_Sub_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b,
                                VRQ_BIGINT_POOL* pool);

/* r = a * b, but 1 when a or b is 0: never rely on it for a factor that may be 0.
 * VRQ_ERR_START_BIGINT_POOL_FAIL, VRQ_ERR_MEM_ALLOC (no temporary), VRQ_ERR_EXPAND_BIGINT_WORD,
 * VRQ_ERR_COPY_BIGINT_FAIL, VRQ_ERR_SET_BIGINT_FAIL (result of a zero factor). */
VRQ_API uint32_t VRQ_Mtp_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b,
                                VRQ_BIGINT_POOL* pool);

/* r = a^2. For n words of a, r gets 2n words, one less when the top word of a is below 0x10000.
 * VRQ_ERR_START_BIGINT_POOL_FAIL, VRQ_ERR_GET_BIGINT_POOL_FAIL, VRQ_ERR_EXPAND_BIGINT_WORD,
 * VRQ_ERR_COPY_BIGINT_FAIL. */
VRQ_API uint32_t VRQ_Sqr_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, VRQ_BIGINT_POOL* pool);

/* Quotient and remainder of a / d; a null quotient is not wanted.
 * VRQ_ERR_INTERNAL (d is 0), VRQ_ERR_START_BIGINT_POOL_FAIL, VRQ_ERR_MALLOC. */
VRQ_API uint32_t VRQ_Div_BIGINT(VRQ_BIGINT* quotient, VRQ_BIGINT* remainder, const VRQ_BIGINT* a,
                                const VRQ_BIGINT* d, VRQ_BIGINT_POOL* pool);

/* r = a * 2^bits, r = a / 2^bits. VRQ_ERR_EXPAND_BIGINT_WORD; VRQ_ERR_INVALID_INPUT: bits < 0. */
VRQ_API uint32_t vrq_Left_Shift_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, int32_t bits);
VRQ_API uint32_t vrq_Right_Shift_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, int32_t bits);

/* a += word, a -= word, a *= word. VRQ_ERR_EXPAND_BIGINT_WORD, VRQ_ERR_SET_BIGINT_FAIL (a is 0 and
 * cannot take the word); subtraction VRQ_ERR_INTERNAL when a < word, a unchanged. */
VRQ_API uint32_t VRQ_Add_BIGINT_Word(VRQ_BIGINT* a, uint32_t word);
VRQ_API uint32_t VRQ_Sub_BIGINT_Word(VRQ_BIGINT* a, uint32_t word);
VRQ_API uint32_t VRQ_Mtp_BIGINT_Word(VRQ_BIGINT* a, uint32_t word);

/* a /= word. Returns the remainder; 0xFFFFFFFF for word 0 or a null record, a unchanged. Drops one
 * leading zero word, if there is one. */
VRQ_API uint32_t VRQ_Div_BIGINT_Word(VRQ_BIGINT* a, uint32_t word);

/* Returns a mod divisor; 0xFFFFFFFF for divisor 0 or a null record. */
VRQ_API uint32_t VRQ_Mod_BIGINT_Word(const VRQ_BIGINT* a, uint32_t divisor);

/* ---- Word arrays ----
 * Kernels on arrays of 32-bit words. Lengths count words, none is negative; r does not overlap the
 * inputs unless stated. */

/* Compares n words: 1, 0 or -1; 1 when one is null. */
VRQ_API int32_t vrq_Cmp_BIGINT_Words(const uint32_t* a, const uint32_t* b, int32_t n);

/* Compares a and b that have n words in common; a has difference more of them, or b -difference. */
VRQ_API int32_t vrq_Cmp_Parts(const uint32_t* a, const uint32_t* b, int32_t n, int32_t difference);

/* r = a + b and r = a - b over n words; return carry and borrow. r may be a or b. */
VRQ_API uint32_t vrq_Add_Words(uint32_t* r, const uint32_t* a, const uint32_t* b, int32_t n);
VRQ_API uint32_t vrq_Sub_Words(uint32_t* r, const uint32_t* a, const uint32_t* b, int32_t n);

/* r = a - b for lengths as in vrq_Cmp_Parts, r as long as the longer; returns the borrow. */
VRQ_API uint32_t vrq_Sub_Part_Words(uint32_t* r, const uint32_t* a, const uint32_t* b, int32_t n,
                                    int32_t difference);

/* r = a * w and r += a * w over n words; return the carry word. r may be a. */
VRQ_API uint32_t vrq_Mtp_Words(uint32_t* r, const uint32_t* a, int32_t n, uint32_t w);
VRQ_API uint32_t vrq_Mtp_Add_Words(uint32_t* r, const uint32_t* a, int32_t n, uint32_t w);

/* r[2i], r[2i + 1] = a[i]^2 for each of n words. */
VRQ_API void vrq_Sqr_Words(uint32_t* r, const uint32_t* a, int32_t n);

/* Returns the low word of (high * 2^32 + low) / d; 0xFFFFFFFF for d = 0. */
VRQ_API uint32_t vrq_Div_Words(uint32_t high, uint32_t low, uint32_t d);

/* r = a * b, na + nb words. */
VRQ_API void vrq_Mtp_Word_Base(uint32_t* r, const uint32_t* a, int32_t na, const uint32_t* b,
                               int32_t nb);

/* r = a^2, 2n words; temp has 2n words. */
VRQ_API void vrq_Sqr_Word_Base(uint32_t* r, const uint32_t* a, int32_t n, uint32_t* temp);

/* Products and squares of 4 words, and of 8 words. */
VRQ_API void vrq_Mtp_Base(uint32_t* r, const uint32_t* a, const uint32_t* b);
VRQ_API void vrq_Sqr_Base(uint32_t* r, const uint32_t* a);
VRQ_API void vrq_Mtp_Base_Ex(uint32_t* r, const uint32_t* a, const uint32_t* b);
VRQ_API void vrq_Sqr_Base_Ex(uint32_t* r, const uint32_t* a);

/* r = a * b for a of n + da and b of n + db words, n a power of two; r has the sum of those lengths.
 * In the first da and db are 0 or negative and temp has 4n words; in the second, for longer
 * operands, da and db are 0 to n and temp has 8n words. */
VRQ_API void vrq_Mtp_Recursive(uint32_t* r, const uint32_t* a, const uint32_t* b, int32_t n,
                               int32_t da, int32_t db, uint32_t* temp);
VRQ_API void vrq_Mtp_Recursive_P(uint32_t* r, const uint32_t* a, const uint32_t* b, int32_t n,
                                 int32_t da, int32_t db, uint32_t* temp);

/* r = a^2 for n words, a power of two; temp has 4n words. */
VRQ_API void vrq_Sqr_Recursive(uint32_t* r, const uint32_t* a, int32_t n, uint32_t* temp);

/* ---- Modular arithmetic ---- */

/* r = a * b mod m, the mathematical result also for zero factors. The pool is required.
 * VRQ_ERR_START_BIGINT_POOL_FAIL, VRQ_ERR_GET_BIGINT_POOL_FAIL, VRQ_ERR_SQR_BIGINT_FAIL,
 * VRQ_ERR_MTP_BIGINT_FAIL, VRQ_ERR_MOD_BIGINT_FAIL (m is 0). */
VRQ_API uint32_t VRQ_Mod_Mtp_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b,
                                    const VRQ_BIGINT* m, VRQ_BIGINT_POOL* pool);

/* r = (a - b) mod m. VRQ_ERR_NULL_INPUT (the pool included), VRQ_ERR_MALLOC. m = 0 is not reported
 * and gives 0. */
VRQ_API uint32_t VRQ_Mod_Sub_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b,
                                    const VRQ_BIGINT* m, VRQ_BIGINT_POOL* pool);

/* r = a^-1 mod m; 0 for m = 1. The time depends on the lengths alone when m is odd. The pool may be
 * null. VRQ_ERR_EUCLID_FAIL (no inverse, r as it was), VRQ_ERR_START_BIGINT_POOL_FAIL,
 * VRQ_ERR_GET_BIGINT_POOL_FAIL, VRQ_ERR_COPY_BIGINT_FAIL. */
VRQ_API uint32_t VRQ_Mod_Inverse_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* m,
                                        VRQ_BIGINT_POOL* pool);

/* Leaves gcd(a, b) in a and returns a, or null when memory fails; the content of b is lost. a and b
 * are different records. The pool may be null. */
VRQ_API VRQ_BIGINT* vrq_Euclid(VRQ_BIGINT* a, VRQ_BIGINT* b, VRQ_BIGINT_POOL* pool);

/* r = gcd(a, b); the pool may be null. VRQ_ERR_START_BIGINT_POOL_FAIL,
 * VRQ_ERR_GET_BIGINT_POOL_FAIL, VRQ_ERR_EUCLID_FAIL (memory), VRQ_ERR_COPY_BIGINT_FAIL. */
VRQ_API uint32_t vrq_Gcd_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* b,
                                VRQ_BIGINT_POOL* pool);

/* r = a^e mod m for odd m; 1 when e is 0, whatever m is. The time depends on the word counts of a
 * and e and the bit length of m alone, so all may be secret. The pool may be null.
 * VRQ_ERR_GET_BIGINT_POOL_FAIL, VRQ_ERR_MALLOC; for m even or 0 VRQ_F_SET_BIGINT_MONT with
 * VRQ_ERR_MOD_INVERSE_BIGINT_FAIL. */
VRQ_API uint32_t VRQ_Mod_Exp_Mont_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* e,
                                         const VRQ_BIGINT* m, VRQ_BIGINT_POOL* pool);

/* r = a^e mod m for any m; 1 when e is 0. The pool may be null.
 * VRQ_ERR_START_BIGINT_POOL_FAIL, VRQ_ERR_GET_BIGINT_POOL_FAIL, VRQ_ERR_MOD_BIGINT_FAIL (m is 0),
 * VRQ_ERR_SET_BIGINT_FAIL (the result cannot be stored). */
VRQ_API uint32_t VRQ_Mod_Exp_BIGINT(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* e,
                                    const VRQ_BIGINT* m, VRQ_BIGINT_POOL* pool);

/* ---- Montgomery steps ---- */

/* Returns a new context without a modulus, or null. */
VRQ_API VRQ_BIGINT_MONT* vrq_New_BIGINT_MONT(void);

/* Zeroes a context that the caller provides. Null: VRQ_F_INIT_BIGINT with VRQ_ERR_NULL_INPUT. */
VRQ_API uint32_t vrq_Init_BIGINT_MONT(VRQ_BIGINT_MONT* context);

/* Clears and releases a context of vrq_New_BIGINT_MONT. */
VRQ_API uint32_t vrq_Free_BIGINT_MONT(VRQ_BIGINT_MONT* context);

/* Sets the modulus. VRQ_ERR_START_BIGINT_POOL_FAIL, VRQ_ERR_GET_BIGINT_POOL_FAIL,
 * VRQ_ERR_COPY_BIGINT_FAIL, VRQ_ERR_MOD_INVERSE_BIGINT_FAIL (n is even or 0),
 * VRQ_ERR_LEFT_SHIFT_BIGINT_FAIL, VRQ_ERR_MOD_BIGINT_FAIL (memory). */
VRQ_API uint32_t vrq_Set_BIGINT_MONT(VRQ_BIGINT_MONT* context, const VRQ_BIGINT* n,
                                     VRQ_BIGINT_POOL* pool);

/* r = a * R^-1 mod n. VRQ_ERR_START_BIGINT_POOL_FAIL, VRQ_ERR_GET_BIGINT_POOL_FAIL,
 * VRQ_ERR_EXPAND_BIGINT_WORD, VRQ_ERR_INTERNAL (context without a modulus). */
VRQ_API uint32_t vrq_BIGINT_from_Montgomery(VRQ_BIGINT* r, const VRQ_BIGINT* a,
                                            const VRQ_BIGINT_MONT* context, VRQ_BIGINT_POOL* pool);

/* r = a * b * R^-1 mod n. VRQ_ERR_START_BIGINT_POOL_FAIL, VRQ_ERR_GET_BIGINT_POOL_FAIL,
 * VRQ_ERR_SQR_BIGINT_FAIL, VRQ_ERR_MTP_BIGINT_FAIL, VRQ_ERR_BIGINT_FROM_MONTGOMERY_FAIL. */
VRQ_API uint32_t vrq_Mod_Mul_BIGINT_Montgomery(VRQ_BIGINT* r, const VRQ_BIGINT* a,
                                               const VRQ_BIGINT* b, const VRQ_BIGINT_MONT* context,
                                               VRQ_BIGINT_POOL* pool);

/* ---- Scratch pool ----
 * Start opens a frame, Get hands out records that live until Finish closes it. Records keep their
 * arrays, so after warm-up nothing is allocated. */

/* Returns a new pool, or null. */
VRQ_API VRQ_BIGINT_POOL* VRQ_New_BIGINT_Pool(void);

/* Zeroes a pool that the caller provides. Returns 0, or 1 for null. */
VRQ_API uint32_t vrq_Init_BIGINT_Pool(VRQ_BIGINT_POOL* pool);

/* Opens a frame. VRQ_ERR_INTERNAL: 80 are open. */
VRQ_API uint32_t VRQ_Start_BIGINT_Pool(VRQ_BIGINT_POOL* pool);

/* Returns the next free record, of value 0; null for a null pool, outside a frame or when memory
 * fails. */
VRQ_API VRQ_BIGINT* VRQ_Get_BIGINT_Pool(VRQ_BIGINT_POOL* pool);

/* Closes the innermost frame and takes its records back. VRQ_ERR_INTERNAL: none is open. */
VRQ_API uint32_t VRQ_Finish_BIGINT_Pool(VRQ_BIGINT_POOL* pool);

/* Takes back the last n records. VRQ_ERR_INTERNAL: fewer are out. */
VRQ_API uint32_t vrq_Release_BIGINT_POOL(VRQ_BIGINT_POOL* pool, uint32_t n);

/* Wipes and releases all records; only VRQ_Free_BIGINT_Pool may follow. */
VRQ_API uint32_t VRQ_Clear_BIGINT_Pool(VRQ_BIGINT_POOL* pool);

/* Clears and releases the pool. */
VRQ_API uint32_t VRQ_Free_BIGINT_Pool(VRQ_BIGINT_POOL* pool);

VRQ_END_C

#endif /* TALVERN_BIGINT_H */
