/* Talvern: memory services.
 *
 * The allocation wrappers carry the caller's source file and line and otherwise behave as the
 * platform's allocator. They neither zero nor wipe: wiping is the duty of the units that own
 * secrets.
 */
#ifndef TALVERN_MEMORY_H
#define TALVERN_MEMORY_H

#include "talvern/base.h"

VRQ_BEGIN_C

/* malloc, calloc, realloc and free of the platform; file and line name the caller. */
VRQ_API void* VRQ_Malloc(size_t size, const char* file, int line);
VRQ_API void* VRQ_Calloc(size_t count, size_t size, const char* file, int line);
VRQ_API void* VRQ_Realloc(void* memory, size_t size, const char* file, int line);
VRQ_API void VRQ_Free(void* memory, const char* file, int line);

/* Overwrites length bytes with zeros, then frees the block.
 *   memory  block of VRQ_Malloc and its siblings, or null (nothing happens then)
 *   length  bytes to overwrite; nothing is overwritten when it is 0 or negative */
VRQ_API void VRQ_Free_Ex(void* memory, int32_t length);

/* VRQ_Malloc on behalf of the module itself. */
VRQ_API void* test_malloc(size_t size);

VRQ_END_C

#endif /* TALVERN_MEMORY_H */
