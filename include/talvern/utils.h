/* Talvern: bytes as hexadecimal text, whole files to and from memory. */
#ifndef TALVERN_UTILS_H
#define TALVERN_UTILS_H

#include "talvern/base.h"

VRQ_BEGIN_C

/* Print bytes to standard output as two upper-case digits each, with colons between them ("01:AB").
 * Nothing is printed for a null pointer or a length below 1.
 *   No_Nl  without a newline at the end
 *   HEX    with a newline
 *   Nl     with a newline, also for a length of exactly 0, where it prints just the newline */
VRQ_API void vrq_Print_HEX_No_Nl(const uint8_t* bytes, int32_t length);
VRQ_API void vrq_Print_HEX(const uint8_t* bytes, int32_t length);
VRQ_API void vrq_Print_HEX_Nl(const uint8_t* bytes, int32_t length);

/* Returns the text that vrq_Print_HEX_No_Nl prints, terminated, in a new block of 3 * length bytes
 * that the caller releases with VRQ_Free. Returns null for a null pointer, for a length below 1 and
 * when no memory is left. */
VRQ_API char* vrq_Dump_HEX(const uint8_t* bytes, int32_t length);

/* Writes bytes to a file, which is created or overwritten.
 *   bytes   offset + count bytes; the first offset of them are left out
 *   offset  0 or more, less than count
 *   count   bytes to write, 1 or more
 *   path    name of the file
 * Returns the bytes written, or -1 for a wrong argument or a file that cannot be opened. A result
 * below count means that the file is not complete. */
VRQ_API int32_t vrq_Binary_To_File(const uint8_t* bytes, int32_t offset, int32_t count,
                                   const char* path);

/* Reads a whole file into a new block that the caller releases with VRQ_Free.
 *   path  name of a file of 1 byte to 2 GiB - 1
 *   out   gets the block; untouched on failure
 * Returns the size, or -1 for a null argument, a file that cannot be opened, measured or read to
 * its end, one of another size, and when no memory is left. */
VRQ_API int32_t vrq_File_To_Binary(const char* path, uint8_t** out);

VRQ_END_C

#endif /* TALVERN_UTILS_H */
