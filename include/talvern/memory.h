/* Talvern: memory services.
 *
 * Three layers: allocation wrappers, pools that hand out many small blocks and release them all at
 * once, and chunked buffers that grow by appending. None of them zeroes or wipes unless a call says
 * so: wiping is the duty of the units that own secrets. Pools and buffers take no lock.
 *
 * Programming errors (stated at the calls) stop the process as a failed assertion does, in every
 * build type.
 */
#ifndef TALVERN_MEMORY_H
#define TALVERN_MEMORY_H

#include "talvern/base.h"

VRQ_BEGIN_C

/* A fragment: this header, then its data area of used + avail bytes in the same allocation. */
typedef struct VRQ_MEM_FRAG {
    struct VRQ_MEM_FRAG* next; /* next older fragment of the pool, or null */
    uint32_t used;             /* bytes handed out */
    uint32_t avail;            /* bytes still free */
} VRQ_MEM_FRAG;

/* A pool: one allocation that holds the record and the data area of its first fragment. */
typedef struct VRQ_MEM_POOL {
    struct VRQ_MEM_POOL* children; /* head of the list of child pools */
    struct VRQ_MEM_POOL* next;     /* next sibling */
    struct VRQ_MEM_POOL** prev;    /* the link that points at this pool, or null */
    VRQ_MEM_FRAG* frag;            /* newest fragment */
    VRQ_MEM_FRAG fragment;         /* the first fragment; used + avail is the chunk size */
} VRQ_MEM_POOL;

/* A chunk of a chunked buffer. */
typedef struct VRQ_MEM_CHUNK {
    uint32_t used;  /* bytes stored */
    uint32_t avail; /* bytes still free */
    uint8_t* data;
    struct VRQ_MEM_CHUNK* next;
} VRQ_MEM_CHUNK;

/* A chunked buffer. */
typedef struct VRQ_MEM_BUF {
    VRQ_MEM_POOL* pool; /* null: the platform's allocator */
    VRQ_MEM_CHUNK* first;
    VRQ_MEM_CHUNK* last;
    uint32_t size;      /* bytes stored in all chunks */
    uint32_t chunkSize; /* bytes of a chunk's data area */
} VRQ_MEM_BUF;

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

/* Returns a new fragment with a data area of size bytes, or null. Release it with VRQ_Free. */
VRQ_API VRQ_MEM_FRAG* VRQ_MEM_FRAG_ALLOC(uint32_t size);

/* Makes a fragment empty: next null, used 0, avail the size of its data area. */
VRQ_API void vrq_Mem_Frag_Init(VRQ_MEM_FRAG* frag, uint32_t size);

/* Hand out size bytes of a fragment, from the front or from the end of its data area; no alignment
 * is added. The counters do not tell the two ends apart: a fragment serves one of the two calls
 * only, blocks of both would overlap.
 * Return the block, or null when fewer bytes are free. */
VRQ_API void* vrq_Mem_Frag_Alloc_Append(VRQ_MEM_FRAG* frag, uint32_t size);
VRQ_API void* vrq_Mem_Frag_Alloc_Prepend(VRQ_MEM_FRAG* frag, uint32_t size);

/* Returns size rounded up to a multiple of 8; 0 when that does not fit 32 bits. */
VRQ_API uint32_t vrq_Mem_Alignment_Ceiling(uint32_t size);

/* Makes a pool.
 *   parent_link  &parent->children to destroy it with that pool, or null
 *   chunk_size   bytes of a fragment, rounded up to a multiple of 8; 0 means 512
 * Returns the pool, or null. */
VRQ_API VRQ_MEM_POOL* vrq_MEM_POOL_INIT(VRQ_MEM_POOL** parent_link, uint32_t chunk_size);

/* Hand out size bytes, aligned to 8; CALLOC zeroes them. They live until the pool is cleared or
 * destroyed. With a null pool they come from VRQ_Malloc and are released with VRQ_Free.
 * Return the block, or null. */
VRQ_API void* vrq_MEM_POOL_ALLOC(VRQ_MEM_POOL* pool, uint32_t size);
VRQ_API void* vrq_MEM_POOL_CALLOC(VRQ_MEM_POOL* pool, uint32_t size);

/* Changes the size of a block of the pool: in place while it is the latest block and its fragment
 * has room, else by moving it when it grows.
 *   memory    block of this pool; with a null pool, of VRQ_Malloc and its siblings
 *   old_size  the size it was asked for with; not used with a null pool
 *   new_size  with a null pool 0 releases the block and gives null
 * Returns the block, or null; the old block is then as it was. */
VRQ_API void* vrq_MEM_POOL_REALLOC(VRQ_MEM_POOL* pool, void* memory, uint32_t old_size,
                                   uint32_t new_size);

/* Returns the bytes free in the emptiest fragment; 0 for null. */
VRQ_API uint32_t vrq_Mem_Pool_Avail(const VRQ_MEM_POOL* pool);

/* Returns the chunk size; 0 for null. */
VRQ_API uint32_t vrq_Mem_Pool_Chunk(const VRQ_MEM_POOL* pool);

/* Releases all blocks of a pool and destroys its child pools. Returns 0; a null pool stops the
 * process. */
VRQ_API uint32_t vrq_Mem_Pool_Clear(VRQ_MEM_POOL* pool);

/* Takes a pool out of its parent's list and releases it with its child pools. Null is allowed. */
VRQ_API void vrq_Mem_Pool_Destroy(VRQ_MEM_POOL* pool);

/* Makes an empty chunked buffer.
 *   buf         must not be null
 *   pool        serves its chunks, which live as long as the pool's blocks. With null they come
 *               from VRQ_Malloc, and the caller releases the data and the record of every chunk
 *   chunk_size  bytes of a chunk; 0 means 512
 * Returns 0. */
VRQ_API uint32_t vrq_Mem_Buf_Init(VRQ_MEM_BUF* buf, VRQ_MEM_POOL* pool, uint32_t chunk_size);

/* Appends bytes.
 *   membuf  must not be null
 *   data    length bytes; may be null when length is 0
 * Returns 0 or a bare reason:
 *   VRQ_ERR_MEMORY_ALLOC  no memory, the bytes that found room are stored; or the buffer would
 *                         exceed 2^32 - 1 bytes, nothing is stored
 *   VRQ_ERR_NULL_INPUT    null data with a length */
VRQ_API uint32_t vrq_Mem_Buf_Update(VRQ_MEM_BUF* membuf, const uint8_t* data, uint32_t length);

/* Joins all chunks in one block of the buffer's pool.
 *   membuf   must not be null
 *   bufp     must not be null; gets the block (null on failure)
 *   lengthp  gets its length; may be null
 * Returns 0, or VRQ_ERR_MEMORY_ALLOC as a bare reason. */
VRQ_API uint32_t vrq_Mem_Buf_To_Array(const VRQ_MEM_BUF* membuf, uint8_t** bufp, uint32_t* lengthp);

/* Prints address and count, then one character for each of count 32-bit elements (its low byte)
 * between lines "<<<" and ">>>", to standard output; no newline at the end. Meant for debugging. */
VRQ_API void dumpBuf(const uint32_t* data, int32_t count);

VRQ_END_C

#endif /* TALVERN_MEMORY_H */
