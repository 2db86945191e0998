/* Talvern: what every public header builds on.
 *
 * Conventions that hold for the whole interface:
 *   - Every operation that can fail returns a 32-bit status: 0 for success, otherwise a word that
 *     names library, function and reason (talvern/status.h). Exceptions are stated at the call.
 *   - Lengths are bytes unless a comment says otherwise. Unsigned lengths are uint32_t, lengths
 *     that are checked for being negative are int32_t.
 *   - Outputs go to buffers of the caller. Inputs are never modified unless the caller passes one
 *     buffer as both input and output where the call allows it.
 *   - A unit belongs to one thread at a time; no unit takes a lock.
 *   - Records are complete types so that they can be embedded and inspected. Their fields belong
 *     to the library: read them, but change them only where a comment invites it.
 */
#ifndef TALVERN_BASE_H
#define TALVERN_BASE_H

#include <stddef.h>
#include <stdint.h>

#define VRQ_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define VRQ_BEGIN_C extern "C" {
#define VRQ_END_C }
#else
#define VRQ_BEGIN_C
#define VRQ_END_C
#endif

#endif /* TALVERN_BASE_H */
