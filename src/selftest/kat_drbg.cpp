// Power-up test of Hash_DRBG (NIST SP 800-90A) with prediction resistance, over the four approved
// hashes.
#include "foundation/scope.h"
#include "selftest/kat.h"
#include "talvern/digest.h"
#include "talvern/random.h"
#include "talvern/selftest.h"

using namespace vrq;

namespace {

constexpr u32 kTypeHash = 0;
constexpr u32 kPredictionResistance = 1;
constexpr i32 kLevel = 3; // of collection; never used, since entropy is given

// What one generate call takes.
struct DrbgInput {
    kat::Hex<32> additional;
    kat::Hex<32> entropy;
};

struct DrbgVector {
    u32 hash;
    kat::Hex<32> entropy;
    kat::Hex<16> nonce;
    kat::Hex<32> personalization;
    DrbgInput calls[2];
    kat::Hex<256> second_output;
};

constexpr DrbgVector kDrbgVectors[] = {
#include "selftest/vectors/drbg.inc"
};

bool passes(VRQ_DRBG_UNIT* unit, const DrbgVector& row) {
    const u32 strength_of_the_hash = 0;
    if (vrq_Init_DRBG(unit, row.hash, kTypeHash, kPredictionResistance, kLevel) != 0) return false;
    if (vrq_Set_Instantiate_DRBG_Param(unit, row.entropy.data, row.entropy.length, row.nonce.data,
                                       row.nonce.length, row.personalization.data,
                                       row.personalization.length) != 0 ||
        vrq_Instantiate_DRBG(unit, strength_of_the_hash) != 0)
        return false;

    u8 output[sizeof row.second_output.data];
    for (const DrbgInput& call : row.calls) {
        if (vrq_Set_Generate_DRBG_Param(unit, call.additional.data, call.additional.length,
                                        call.entropy.data, call.entropy.length) != 0 ||
            vrq_Generate_DRBG(unit, output, row.second_output.signed_length()) != 0)
            return false;
    }
    return row.second_output.is(output, row.second_output.length);
}

} // namespace

u32 vrq_DRBG_Check() {
    const Owned<VRQ_DRBG_UNIT, vrq_Free_DRBG_Unit> unit(vrq_New_DRBG_Unit());
    if (!unit) return kat::failure(VRQ_F_DRBG_CHECK);
    for (const DrbgVector& row : kDrbgVectors) {
        if (!passes(unit.get(), row)) return kat::failure(VRQ_F_DRBG_CHECK);
    }
    return 0;
}
