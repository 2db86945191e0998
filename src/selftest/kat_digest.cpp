// Power-up tests of the SHA-2 digests (FIPS 180-4) and of HMAC over them (FIPS 198-1).
#include "foundation/scope.h"
#include "selftest/kat.h"
#include "talvern/digest.h"
#include "talvern/mac.h"
#include "talvern/selftest.h"

using namespace vrq;

namespace {

struct HmacVector {
    u32 digest;
    kat::Hex<131> key;
    kat::Hex<152> message;
    kat::Hex<64> mac;
};

struct DigestVector {
    u32 digest;
    kat::Hex<64> expected;
};

constexpr HmacVector kHmacVectors[] = {
#include "selftest/vectors/hmac.inc"
};

constexpr u8 kMessage[] = {'T', 'a', 'l', 'v', 'e', 'r', 'n', ' ', 'p', 'o',
                           'w', 'e', 'r', '-', 'u', 'p', ' ', 'K', 'A', 'T'};
static_assert(sizeof kMessage == 20);

constexpr DigestVector kDigestVectors[] = {
#include "selftest/vectors/digest.inc"
};

bool passes(VRQ_HMAC_UNIT* unit, const HmacVector& row) {
    u8 mac[VRQ_MAX_DIGEST_LENGTH];
    u32 length = 0;
    return VRQ_Init_HMAC(unit, row.digest, row.key.data, row.key.length) == 0 &&
           VRQ_Update_HMAC(unit, row.message.data, row.message.signed_length()) == 0 &&
           VRQ_Final_HMAC(unit, mac, &length) == 0 && row.mac.is(mac, length);
}

bool passes(VRQ_DIGEST_UNIT* unit, const DigestVector& row) {
    u8 digest[VRQ_MAX_DIGEST_LENGTH];
    u32 length = 0;
    return VRQ_Init_DIGEST(unit, row.digest) == 0 &&
           VRQ_Update_DIGEST(unit, kMessage, sizeof kMessage) == 0 &&
           VRQ_Final_DIGEST(unit, digest, &length) == 0 && row.expected.is(digest, length);
}

} // namespace

u32 vrq_HMAC_Check() {
    const Owned<VRQ_HMAC_UNIT, VRQ_Free_HMAC_Unit> unit(VRQ_New_HMAC_Unit());
    if (!unit) return kat::failure(VRQ_F_HMAC_CHECK);
    for (const HmacVector& row : kHmacVectors) {
        if (!passes(unit.get(), row)) return kat::failure(VRQ_F_HMAC_CHECK);
    }
    return 0;
}

u32 vrq_DIGEST_Check() {
    const Owned<VRQ_DIGEST_UNIT, VRQ_Free_DIGEST_Unit> unit(VRQ_New_DIGEST_Unit());
    if (!unit) return kat::failure(VRQ_F_DIGEST_CHECK);
    for (const DigestVector& row : kDigestVectors) {
        if (!passes(unit.get(), row)) return kat::failure(VRQ_F_DIGEST_CHECK);
    }
    return 0;
}
