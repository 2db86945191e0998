// Round keys of the DES inside MDC-2 with AVX-512 VBMI. Each bit of the key becomes a byte; a byte
// permutation then puts any choice of bits together, so a round key is one permutation.
#include "digest/mdc2_des.h"
#include "digest/mdc2_kernels.h"
#include "digest/x86/target.h"

#include <immintrin.h>

namespace vrq {

namespace {

// For each bit of a round key, as its two words lie in memory, the bit of the key that goes there.
using Sources = std::array<std::array<u8, 64>, 16>;

consteval Sources sources() {
    Sources out{};
    int shift = 0;
    for (std::size_t round = 0; round < 16; ++round) {
        shift += mdc2_des::kShifts[round];
        for (std::size_t bit = 0; bit < 48; ++bit) {
            const std::size_t place = mdc2_des::kChoice2[bit] - std::size_t{1};
            const std::size_t half = place / 28 * 28;
            const std::size_t rotated =
                half + (place - half + static_cast<std::size_t>(shift)) % 28;
            const std::size_t from = mdc2_des::kChoice1[rotated] - std::size_t{1};
            const auto at = static_cast<std::size_t>(mdc2_des::round_key_shift(bit)) ^ 32;
            // Key bits are numbered from the top of each byte, the key is loaded little-endian.
            out[round][at] = static_cast<u8>(from ^ 7);
        }
    }
    return out;
}

alignas(64) constinit const Sources kSources = sources();

constexpr u64 kUsedBits = 0x3F3F3F3F3F3F3F3F;
constexpr __mmask64 kAll = ~__mmask64{0}; // g++ 12 warns of the form without a mask

TALVERN_TARGET("avx512f,avx512bw,avx512vbmi")
void round_keys(VRQ_MDC2_DES_KEY& key, u64 user_key) {
    const __m512i bits = _mm512_movm_epi8(user_key);
    for (std::size_t round = 0; round < 16; ++round) {
        const __m512i from = _mm512_load_si512(kSources[round].data());
        const u64 chosen =
            _mm512_movepi8_mask(_mm512_maskz_permutexvar_epi8(kAll, from, bits)) & kUsedBits;
        __builtin_memcpy(key.round_key[round], &chosen, sizeof chosen);
    }
}

} // namespace

void mdc2_round_keys_vbmi(VRQ_MDC2_DES_KEY& key, u64 user_key) { round_keys(key, user_key); }

} // namespace vrq
