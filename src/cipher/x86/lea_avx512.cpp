// LEA on sixteen blocks a set with AVX-512.
#include "cipher/lea_kernels.h"

using namespace vrq;

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx512f,avx512bw,avx512dq,avx512vl"))),        \
                             apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx512f,avx512bw,avx512dq,avx512vl")
#endif

namespace {

using vrq::lea::Key;

#define LEA_LANES 16
#define LEA_SETS 4
#define LEA_MIN_LANES 3
#define LEA_LOW32 0, 16, 1, 17, 4, 20, 5, 21, 8, 24, 9, 25, 12, 28, 13, 29
#define LEA_HIGH32 2, 18, 3, 19, 6, 22, 7, 23, 10, 26, 11, 27, 14, 30, 15, 31
#define LEA_LOW64 0, 8, 2, 10, 4, 12, 6, 14
#define LEA_HIGH64 1, 9, 3, 11, 5, 13, 7, 15
#include "cipher/lea_lanes.inc"

} // namespace

void lea::encrypt_avx512(const Key& key, u8* out, const u8* in, std::size_t blocks) {
    crypt<Encrypt>(key, out, in, blocks);
}

void lea::decrypt_avx512(const Key& key, u8* out, const u8* in, std::size_t blocks) {
    crypt<Decrypt>(key, out, in, blocks);
}

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif
