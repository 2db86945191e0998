// SHA-256 of many independent one-block messages at once. A single stream is bound by the latency of its
// rounds; interleaved streams, or one stream a vector lane, fill the processor.
#pragma once

#include "foundation/cpu.h"

#include <cstddef>

namespace vrq {

struct Sha256MultiKernel {
    u32 needs; // cpu feature bits
    const char* name;

    // out[i] (32 bytes, big-endian) is the compression of the padded block i (64 bytes) into the
    // initial hash words. Addresses of any alignment; out and blocks do not overlap.
    void (*digest)(const u32* initial, u8* out, const u8* blocks, std::size_t count);
};

void sha256_multi_portable(const u32* initial, u8* out, const u8* blocks, std::size_t count);

#if defined(__x86_64__) && !defined(TALVERN_PORTABLE)

void sha256_multi_ni(const u32* initial, u8* out, const u8* blocks, std::size_t count);

inline constexpr Sha256MultiKernel kSha256MultiKernels[] = {
    {cpu::kShaNi | cpu::kSsse3, "sha-ni", sha256_multi_ni}, {0, "portable", sha256_multi_portable}};

#else

inline constexpr Sha256MultiKernel kSha256MultiKernels[] = {{0, "portable", sha256_multi_portable}};

#endif

// Through the best kernel.
void sha256_multi(const u32* initial, u8* out, const u8* blocks, std::size_t count);

} // namespace vrq
