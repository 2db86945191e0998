/* Talvern: elliptic curves over prime fields.
 *
 * Short Weierstrass curves y^2 = x^3 + a x + b modulo an odd prime (SEC 1, ANSI X9.62) in affine
 * coordinates. No curve is built in: the caller gives every parameter, and nothing here tests that
 * the prime is prime, that the order is that of the base point or that a point is on the curve.
 *
 * The point at infinity is (0, 0), both coordinates present with the value 0. A point of which a
 * coordinate is absent (null) counts as infinity where points are added. On a curve with b = 0 the
 * point (0, 0) of order 2 therefore cannot be told from infinity.
 *
 * Functions that return a status give 0, or 1 for a missing argument or parameter and for want of
 * memory; out is then as it was, but a copy may have been made in part. out may be one of the inputs.
 */
#ifndef TALVERN_EC_H
#define TALVERN_EC_H

#include "talvern/bigint.h"

VRQ_BEGIN_C

/* A point; it owns its coordinates. */
typedef struct {
    VRQ_BIGINT* x;
    VRQ_BIGINT* y;
} VRQ_ECPOINT;

#define VRQ_ECURVE_NAME_SIZE 32

/* Domain parameters; the curve owns them. */
typedef struct {
    uint32_t curve_id; /* the caller's number */
    VRQ_BIGINT* a;
    VRQ_BIGINT* b;
    VRQ_BIGINT* prime;
    VRQ_ECPOINT* G;    /* base point */
    VRQ_BIGINT* order; /* of the base point */
    char name[VRQ_ECURVE_NAME_SIZE];
} VRQ_ECURVE;

/* A key; it owns its members. */
typedef struct {
    VRQ_ECURVE* curve;
    VRQ_ECPOINT* Q; /* public key, d * G */
    VRQ_BIGINT* d;  /* private key, or null */
} VRQ_ECC_KEY;

/* ---- Curves ---- */

/* Returns an empty curve, or null. Clean wipes and releases the parameters and zeroes the record;
 * Free cleans and releases. Null is ignored. */
VRQ_API VRQ_ECURVE* VRQ_New_ECURVE(void);
VRQ_API void VRQ_Clean_ECURVE(VRQ_ECURVE* curve);
VRQ_API void VRQ_Free_ECURVE(VRQ_ECURVE* curve);

/* Sets the number and copies what is given; what is null stays as it is. A name is cut to 31
 * characters. Returns 0, or 1 for a null curve and when a copy fails; some parameters may then have
 * been set. */
VRQ_API uint32_t VRQ_Set_ECURVE_Params(VRQ_ECURVE* curve, uint32_t curve_id, const char* name,
                                       const VRQ_BIGINT* a, const VRQ_BIGINT* b,
                                       const VRQ_BIGINT* prime, const VRQ_ECPOINT* G,
                                       const VRQ_BIGINT* order);

/* ---- Points ---- */

/* Returns a point without coordinates, or null. Clean wipes and releases the coordinates; Free cleans
 * and releases. Null is ignored. */
VRQ_API VRQ_ECPOINT* VRQ_New_ECPOINT(void);
VRQ_API void VRQ_Clean_ECPOINT(VRQ_ECPOINT* point);
VRQ_API void VRQ_Free_ECPOINT(VRQ_ECPOINT* point);

/* Makes it the point at infinity. */
VRQ_API uint32_t VRQ_Zero_Value_ECPOINT(VRQ_ECPOINT* point);

/* Copies a point; a coordinate that is absent becomes absent. */
VRQ_API uint32_t vrq_Copy_ECPOINT(VRQ_ECPOINT* to, const VRQ_ECPOINT* from);

/* Returns 0 when both coordinates are equal, else 1 or -1 (VRQ_Cmp_BIGINT of the first that differs);
 * 1 when a point or coordinate is absent. */
VRQ_API int32_t vrq_Cmp_ECPOINT(const VRQ_ECPOINT* p, const VRQ_ECPOINT* q);

/* Returns 1 for (0, 0), else 0; 0 also for an absent point or coordinate. */
VRQ_API uint32_t vrq_Is_ECPOINT_Zero(const VRQ_ECPOINT* point);

/* ---- Arithmetic ---- */

/* out = -P = (x, -y mod prime). */
VRQ_API uint32_t vrq_Negate_ECC(VRQ_ECPOINT* out, const VRQ_ECURVE* curve, const VRQ_ECPOINT* P);

/* out = P + Q by the affine rules. When P lacks a coordinate out = Q, when Q does out = P; 1 when both
 * do. Where the slope has no value (points that are not on one curve, a composite prime) its
 * denominator counts as having the inverse 0, and the status is 0. The time depends on the values. */
VRQ_API uint32_t vrq_Add_Fp_ECC(VRQ_ECPOINT* out, const VRQ_ECURVE* curve, const VRQ_ECPOINT* P,
                                const VRQ_ECPOINT* Q);

/* out = k * P, as repeated affine addition gives it: also for points off the curve and multiples of
 * any order. k = 0 leaves out as it was.
 * For odd primes up to 576 bits the time depends on the word counts of prime and k alone, but for
 * points of small order, a sum of equal points on the way, and b = 0. Other moduli are served by
 * affine additions, whose number depends on k. */
VRQ_API uint32_t vrq_Mtp_Fp_ECC(VRQ_ECPOINT* out, const VRQ_ECURVE* curve, const VRQ_ECPOINT* P,
                                const VRQ_BIGINT* k);

/* ---- Keys ---- */

/* Returns an empty key, or null. Clean wipes and releases what it holds; Free cleans and releases.
 * Null is ignored. */
VRQ_API VRQ_ECC_KEY* VRQ_New_ECC_Key(void);
VRQ_API void VRQ_Clean_ECC_Key(VRQ_ECC_KEY* key);
VRQ_API void VRQ_Free_ECC_Key(VRQ_ECC_KEY* key);

/* Copies a key; a member that is absent becomes absent. */
VRQ_API uint32_t vrq_Copy_ECC_Key(VRQ_ECC_KEY* to, const VRQ_ECC_KEY* from);

VRQ_END_C

#endif /* TALVERN_EC_H */
