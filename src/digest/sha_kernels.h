// Compression functions of the SHA family, one row a kernel, best first.
#pragma once

#include "foundation/cpu.h"

#include <array>
#include <cstddef>

namespace vrq {

// Round constants (FIPS 180-4, 4.2.2 and 4.2.3).
extern const std::array<u32, 64> K_256;
extern const std::array<u64, 80> K_512;

// compress() takes whole blocks from any address.
template <class Word>
struct HashKernel {
    u32 needs; // cpu feature bits
    const char* name;
    void (*compress)(Word* state, const u8* data, std::size_t blocks);
};

void sha1_portable(u32* state, const u8* data, std::size_t blocks);
void sha256_portable(u32* state, const u8* data, std::size_t blocks);
void sha512_portable(u64* state, const u8* data, std::size_t blocks);

#if defined(__x86_64__) && !defined(TALVERN_PORTABLE)

void sha1_ni(u32* state, const u8* data, std::size_t blocks);
void sha256_ni(u32* state, const u8* data, std::size_t blocks);
void sha512_avx2(u64* state, const u8* data, std::size_t blocks);
void sha512_avx512(u64* state, const u8* data, std::size_t blocks);

inline constexpr HashKernel<u32> kSha1Kernels[] = {{cpu::kShaNi | cpu::kSsse3, "sha-ni", sha1_ni},
                                                   {0, "portable", sha1_portable}};
inline constexpr HashKernel<u32> kSha256Kernels[] = {
    {cpu::kShaNi | cpu::kSsse3, "sha-ni", sha256_ni}, {0, "portable", sha256_portable}};
inline constexpr HashKernel<u64> kSha512Kernels[] = {{cpu::kAvx2 | cpu::kBmi2, "avx2", sha512_avx2},
                                                     {0, "portable", sha512_portable}};

#else

inline constexpr HashKernel<u32> kSha1Kernels[] = {{0, "portable", sha1_portable}};
inline constexpr HashKernel<u32> kSha256Kernels[] = {{0, "portable", sha256_portable}};
inline constexpr HashKernel<u64> kSha512Kernels[] = {{0, "portable", sha512_portable}};

#endif

} // namespace vrq
