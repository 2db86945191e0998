// What DSA and ECDSA share: everything but the group. n is the order of the group throughout.
#pragma once

#include "foundation/status.h"
#include "talvern/bigint.h"
#include "talvern/digest.h"
#include "talvern/random.h"

#include <cstddef>

namespace vrq {

struct NumberOut {
    u8* bytes;
    u32* length;
};

struct NumberIn {
    const u8* bytes;
    u32 length;
};

// Secrets come from SHA-1 and have no more bits than its output.
constexpr std::size_t kDsaSecretBits = 160;

// Starts the generator from a private key and an XSEED, null for none; made when absent.
[[nodiscard]] bool start_prng(VRQ_PRNG_UNIT*& prng, const VRQ_BIGINT& key, const u8* xseed,
                              u32 xseed_length, VRQ_BIGINT_POOL* pool);

// r = a secret in 1 to n - 1.
[[nodiscard]] bool draw_secret(VRQ_BIGINT& r, VRQ_PRNG_UNIT& prng, const VRQ_BIGINT& n);

// Ends the message: e = the whole digest modulo n.
[[nodiscard]] bool final_residue(VRQ_BIGINT& e, VRQ_DIGEST_UNIT* digest, const VRQ_BIGINT& n,
                                 VRQ_BIGINT_POOL* pool);

// s = k^-1 (e + key * r) mod n; false when k has no inverse, n is even or memory fails.
[[nodiscard]] bool signature_equation(VRQ_BIGINT& s, const VRQ_BIGINT& k, const VRQ_BIGINT& e,
                                      const VRQ_BIGINT& key, const VRQ_BIGINT& r,
                                      const VRQ_BIGINT& n, VRQ_BIGINT_POOL* pool);

// Writes r without leading zeros and s padded to the bytes of n.
[[nodiscard]] bool write_signature(NumberOut r_out, NumberOut s_out, const VRQ_BIGINT& r,
                                   const VRQ_BIGINT& s, const VRQ_BIGINT& n);

// Reads a half of a signature; false unless it is in 1 to n - 1.
[[nodiscard]] bool read_half(VRQ_BIGINT& r, NumberIn in, const VRQ_BIGINT& n);

// u = e / s and v = r / s mod n; false when s has no inverse or memory fails.
[[nodiscard]] bool verification_factors(VRQ_BIGINT& u, VRQ_BIGINT& v, const VRQ_BIGINT& e,
                                        const VRQ_BIGINT& r, const VRQ_BIGINT& s,
                                        const VRQ_BIGINT& n, VRQ_BIGINT_POOL* pool);

} // namespace vrq
