// LEA on eight blocks a set with AVX2.
#include "cipher/lea_kernels.h"

using namespace vrq;

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2")
#endif

namespace {

using vrq::lea::Key;

#define LEA_LANES 8
#define LEA_SETS 2
#define LEA_MIN_LANES 3
#define LEA_LOW32 0, 8, 1, 9, 4, 12, 5, 13
#define LEA_HIGH32 2, 10, 3, 11, 6, 14, 7, 15
#define LEA_LOW64 0, 4, 2, 6
#define LEA_HIGH64 1, 5, 3, 7
#include "cipher/lea_lanes.inc"

} // namespace

void lea::encrypt_avx2(const Key& key, u8* out, const u8* in, std::size_t blocks) {
    crypt<Encrypt>(key, out, in, blocks);
}

void lea::decrypt_avx2(const Key& key, u8* out, const u8* in, std::size_t blocks) {
    crypt<Decrypt>(key, out, in, blocks);
}

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif
