// The encoding schemes of PKCS #1 v2.2 (RFC 8017) inside the library: what the exported encoders
// and the operations share. k is the byte length of the modulus.
#pragma once

#include "bigint/record.h"
#include "foundation/ct.h"
#include "foundation/status.h"
#include "talvern/rsa.h"

#include <cstddef>

namespace vrq::rsa {

constexpr u32 kModeMask = 0xFF;         // encoding mode in the mode word
constexpr u32 kDigestMask = 0xFF00FF00; // digest identifier in it

inline u32 mode_digest(const VRQ_RSA_UNIT& unit) { return unit.mode & kDigestMask; }

// Of the value: leading zero words make no modulus longer.
inline std::size_t modulus_bits(const VRQ_RSA_UNIT& unit) {
    return unit.n == nullptr ? 0 : value_bits(*unit.n);
}
inline std::size_t modulus_bytes(const VRQ_RSA_UNIT& unit) { return (modulus_bits(unit) + 7) / 8; }

// The value is below n; false without n.
inline bool is_below_modulus(const VRQ_RSA_UNIT& unit, const VRQ_BIGINT& a) {
    return unit.n != nullptr && is_below_var(a, *unit.n);
}

// The value, which fits, in exactly so many bytes; the time depends on lengths alone.
inline void to_octets(u8* out, std::size_t length, const VRQ_BIGINT& a) {
    const std::size_t words = word_count(a);
    for (std::size_t i = 0; i < length; ++i) {
        const u32 word = i / 4 < words ? a.data[i / 4] : 0;
        out[length - 1 - i] = static_cast<u8>(word >> (8 * (i % 4)));
    }
}

// Digest length of the unit's digest unit; 0 when none is bound.
inline std::size_t hash_length(const VRQ_DIGEST_UNIT* digest) {
    return digest == nullptr || digest->context == nullptr ? 0 : digest->digest_length;
}

// data ^= MGF1(seed), RFC 8017 appendix B.2.1. A digest without a known length is taken for SHA-1.
[[nodiscard]] u32 mgf1_xor(u8* data, std::size_t length, const u8* seed, std::size_t seed_length,
                           u32 digest);

// Bytes to be encoded or decoded, with their label.
struct OaepLabel {
    const u8* data;
    std::size_t length;
};

// Where the message begins in an unmasked or decrypted block. No branch and no address depends on
// the block.
struct Unpadded {
    u32 refuse; // all ones when the block is malformed, else zero
    u32 start;  // of the message; within the block or at its end
};

// db: label hash, zeros, the byte 0x01, the message.
Unpadded unpad_oaep(const u8* db, std::size_t length, const u8* label_hash,
                    std::size_t hash_length);

// block: from the block type on.
Unpadded unpad_pkcs1(const u8* block, std::size_t length);

// Both decoders return the message length, 0 when the block is malformed or the message is longer
// than the capacity. They take the same time for every malformed block of a length; refuse is all
// ones when the caller found the block malformed already.

// body: maskedSeed and maskedDB, k - 1 bytes; unmasked in place.
[[nodiscard]] i32 decode_oaep(const VRQ_RSA_UNIT& unit, u8* body, std::size_t body_length, u8* out,
                              std::size_t capacity, OaepLabel label, u32 refuse);

[[nodiscard]] i32 decode_pkcs1(const u8* block, std::size_t length, u8* out, std::size_t capacity,
                               u32 refuse);

} // namespace vrq::rsa
