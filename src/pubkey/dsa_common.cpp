// The equations of DSA (FIPS 186-2, sections 5 and 6), over any group of prime order.
#include "pubkey/dsa_common.h"

#include "bigint/residue.h"
#include "bigint/scope.h"
#include "foundation/scope.h"
#include "pubkey/signature.h"

namespace vrq {

namespace {

// An order of 1 gives nothing but 0.
constexpr int kMaxDraws = 64;

} // namespace

bool start_prng(VRQ_PRNG_UNIT*& prng, const VRQ_BIGINT& key, const u8* xseed, u32 xseed_length,
                VRQ_BIGINT_POOL* pool) {
    if (prng == nullptr) prng = VRQ_New_PRNG_Unit();
    const std::size_t length = byte_length(&key);
    SecretHeap xkey(length + 1);
    if (prng == nullptr || !xkey || !write_padded(xkey.data(), length, key)) return false;
    return VRQ_Init_PRNG(prng, VRQ_ID_SHA1, xkey.data(), static_cast<u32>(length), xseed,
                         xseed_length, pool) == 0;
}

bool draw_secret(VRQ_BIGINT& r, VRQ_PRNG_UNIT& prng, const VRQ_BIGINT& n) {
    for (int i = 0; i < kMaxDraws; ++i) {
        if (VRQ_Get_Rand_DSA_BIGINT(&prng, &r, &n) != 0) return false;
        if (!is_zero(r)) return true;
    }
    return false;
}

bool final_residue(VRQ_BIGINT& e, VRQ_DIGEST_UNIT* digest, const VRQ_BIGINT& n,
                   VRQ_BIGINT_POOL* pool) {
    SecretBytes<VRQ_MAX_DIGEST_LENGTH> bytes;
    u32 length = 0;
    return VRQ_Final_DIGEST(digest, bytes.data(), &length) == 0 &&
           read_number(e, bytes.data(), length) && VRQ_Div_BIGINT(nullptr, &e, &e, &n, pool) == 0;
}

bool signature_equation(VRQ_BIGINT& s, const VRQ_BIGINT& k, const VRQ_BIGINT& e,
                        const VRQ_BIGINT& key, const VRQ_BIGINT& r, const VRQ_BIGINT& n,
                        VRQ_BIGINT_POOL* pool) {
    Scratch<1> scratch(pool);
    VRQ_BIGINT* const inverse = scratch.take();
    return inverse != nullptr && VRQ_Mod_Inverse_BIGINT(inverse, &k, &n, pool) == 0 &&
           residue_mul(s, key, r, n) && residue_add(s, s, e, n) && residue_mul(s, s, *inverse, n);
}

bool write_signature(NumberOut r_out, NumberOut s_out, const VRQ_BIGINT& r, const VRQ_BIGINT& s,
                     const VRQ_BIGINT& n) {
    const std::size_t length = byte_length(&n);
    if (byte_length(&r) > length || !write_padded(s_out.bytes, length, s)) return false;
    *r_out.length = VRQ_BIGINT_To_Binary_Unsigned(&r, r_out.bytes);
    *s_out.length = static_cast<u32>(length);
    return true;
}

bool read_half(VRQ_BIGINT& r, NumberIn in, const VRQ_BIGINT& n) {
    return read_number(r, in.bytes, in.length) && !is_zero(r) && is_below(r, n);
}

bool verification_factors(VRQ_BIGINT& u, VRQ_BIGINT& v, const VRQ_BIGINT& e, const VRQ_BIGINT& r,
                          const VRQ_BIGINT& s, const VRQ_BIGINT& n, VRQ_BIGINT_POOL* pool) {
    Scratch<1> scratch(pool);
    VRQ_BIGINT* const inverse = scratch.take();
    return inverse != nullptr && VRQ_Mod_Inverse_BIGINT(inverse, &s, &n, pool) == 0 &&
           VRQ_Mod_Mtp_BIGINT(&u, &e, inverse, &n, pool) == 0 &&
           VRQ_Mod_Mtp_BIGINT(&v, &r, inverse, &n, pool) == 0;
}

} // namespace vrq
