// Power-up test of KCDSA (TTAK.KO-12.0001): the public key follows from the private one, and the
// stored signature verifies, for q of 224 and of 256 bits.
#include "foundation/scope.h"
#include "selftest/kat_integer.h"
#include "talvern/bigint.h"
#include "talvern/digest.h"
#include "talvern/kcdsa.h"
#include "talvern/selftest.h"

#include <cstring>

using namespace vrq;

namespace {

constexpr u32 kKcdsaCheck = 13; // the function tables have no name for it

constexpr i32 kVerify = 0;

struct KcdsaVector {
    u32 digest;
    kat::Hex<256> p;
    kat::Hex<32> q;
    kat::Hex<256> g;
    kat::Hex<32> x;
    kat::Hex<256> y;
    kat::Hex<128> message;
    kat::Hex<32> r;
    kat::Hex<32> s;
};

constexpr KcdsaVector kKcdsaVectors[] = {
#include "selftest/vectors/kcdsa.inc"
};

// Given x alone, the unit makes y.
bool load(VRQ_KCDSA_UNIT* unit, const KcdsaVector& row) {
    const kat::Integer p = kat::integer(row.p);
    const kat::Integer q = kat::integer(row.q);
    const kat::Integer g = kat::integer(row.g);
    const kat::Integer x = kat::integer(row.x);
    const kat::Integer y = kat::integer(row.y);
    return p && q && g && x && y &&
           VRQ_Set_KCDSA_Params(unit, p.get(), q.get(), g.get(), x.get(), nullptr) == 0 &&
           VRQ_Cmp_BIGINT(unit->y, y.get()) == 0;
}

bool passes(const KcdsaVector& row) {
    const Owned<VRQ_KCDSA_UNIT, VRQ_Free_KCDSA> unit(VRQ_New_KCDSA());
    if (!unit || !load(unit.get(), row)) return false;

    u8 r[sizeof row.r.data];
    u8 s[sizeof row.s.data];
    u32 r_len = row.r.length;
    u32 s_len = row.s.length;
    std::memcpy(r, row.r.data, sizeof r);
    std::memcpy(s, row.s.data, sizeof s);
    return VRQ_Init_KCDSA_Ex(unit.get(), kVerify, row.digest) == 0 &&
           VRQ_Update_KCDSA(unit.get(), row.message.data, row.message.signed_length()) == 0 &&
           VRQ_Final_KCDSA(unit.get(), r, &r_len, s, &s_len) == 0;
}

} // namespace

u32 vrq_KCDSA_Check() {
    for (const KcdsaVector& row : kKcdsaVectors) {
        if (!passes(row)) return kat::failure(kKcdsaCheck);
    }
    return 0;
}
