// SHA-256 of successive numbers, the output of Hash_DRBG.
#pragma once

#include "digest/sha.h"
#include "foundation/cpu.h"

#include <cstddef>

namespace vrq {

// out[i] (32 bytes) is the compression, into the initial hash words, of the block with the number in
// it raised by i: 55 bytes big-endian, 0x80, the length. The low 24 bits of the number do not
// overflow within a call.
struct HashgenKernel {
    u32 needs; // cpu feature bits
    const char* name;
    std::size_t least; // blocks from which on the kernel pays
    void (*digest)(const u32* initial, u8* out, const u8* block, std::size_t count);
};

void hashgen_portable(const u32* initial, u8* out, const u8* block, std::size_t count);

#if defined(__x86_64__) && !defined(TALVERN_PORTABLE)

void hashgen_avx512(const u32* initial, u8* out, const u8* block, std::size_t count);

inline constexpr HashgenKernel kHashgenKernels[] = {{cpu::kAvx512, "avx512", 10, hashgen_avx512},
                                                    {0, "portable", 1, hashgen_portable}};

#else

inline constexpr HashgenKernel kHashgenKernels[] = {{0, "portable", 1, hashgen_portable}};

#endif

// The best kernel for so many blocks.
const HashgenKernel& hashgen_kernel(std::size_t blocks);

} // namespace vrq
