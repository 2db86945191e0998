// MGF1, the mask generation function of OAEP and PSS (RFC 8017, appendix B.2.1).
#include "foundation/bytes.h"
#include "foundation/scope.h"
#include "pubkey/rsa_encoding.h"
#include "talvern/digest.h"

#include <algorithm>
#include <cstring>

using namespace vrq;

namespace {

constexpr u32 fail(u32 reason) { return make_status(VRQ_L_RSA, VRQ_F_PKCS1_MGF1, reason); }

using OwnedDigest = Owned<VRQ_DIGEST_UNIT, VRQ_Free_DIGEST_Unit>;

// Hash(seed || counter). MD5 and HAS-160 refuse empty pieces.
u32 mask_block(VRQ_DIGEST_UNIT* unit, const u8* seed, std::size_t seed_length, u32 counter,
               u8* out) {
    u8 count[4];
    store_be(count, counter);
    if (seed_length != 0) {
        if (const u32 s = VRQ_Update_DIGEST(unit, seed, static_cast<i32>(seed_length)); s != 0)
            return s;
    }
    if (const u32 s = VRQ_Update_DIGEST(unit, count, sizeof count); s != 0) return s;
    return VRQ_Final_DIGEST(unit, out, nullptr);
}

} // namespace

u32 rsa::mgf1_xor(u8* data, std::size_t length, const u8* seed, std::size_t seed_length,
                  u32 digest) {
    const OwnedDigest unit(VRQ_New_DIGEST_Unit());
    if (unit == nullptr) return fail(VRQ_ERR_MALLOC);
    const u32 id = VRQ_Get_DIGEST_Length(digest) != 0 ? digest : u32{VRQ_ID_SHA1};
    if (const u32 s = VRQ_Init_DIGEST(unit.get(), id); s != 0) return s;

    SecretBytes<VRQ_MAX_DIGEST_LENGTH> mask;
    u32 counter = 0;
    while (length != 0) {
        if (const u32 s = mask_block(unit.get(), seed, seed_length, counter++, mask.data()); s != 0)
            return s;
        const std::size_t n = std::min<std::size_t>(length, unit->digest_length);
        for (std::size_t i = 0; i < n; ++i) data[i] ^= mask[i];
        data += n;
        length -= n;
    }
    return 0;
}

u32 PKCS1_MGF1(u8* out, i32 out_length, const u8* seed, i32 seed_length, u32 digest) {
    if (out_length <= 0) return 0;
    if (out == nullptr || (seed == nullptr && seed_length != 0)) return fail(VRQ_ERR_NULL_INPUT);
    if (seed_length < 0) return fail(VRQ_ERR_INVALID_INPUT);
    const auto length = static_cast<std::size_t>(out_length);
    std::memset(out, 0, length);
    return rsa::mgf1_xor(out, length, seed, static_cast<std::size_t>(seed_length), digest);
}
