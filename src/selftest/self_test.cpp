// The power-up sequence: checks in order, the first failure ends it.
#include "talvern/selftest.h"

#include "foundation/scope.h"
#include "selftest/kat.h"
#include "talvern/cipher.h"
#include "talvern/digest.h"
#include "talvern/dsa.h"
#include "talvern/kcdsa.h"
#include "talvern/mac.h"
#include "talvern/module.h"
#include "talvern/random.h"
#include "talvern/rsa.h"

using namespace vrq;

namespace {

struct Check {
    u32 (*run)();
    bool in_proven_mode_only;
};

constexpr Check kPowerUpChecks[] = {
    {vrq_Verify_DLL, false},   {vrq_Context_Check, false}, {vrq_Version_Check, false},
    {vrq_Entropy_Check, true}, {vrq_DRBG_Check, false},    {vrq_HMAC_Check, false},
    {vrq_DIGEST_Check, false}, {vrq_Sym_Check, false},     {vrq_RSAES_Check, false},
    {vrq_RSASSA_Check, false}, {vrq_KCDSA_Check, false},
};

template <auto New, auto Free>
bool can_be_made() {
    auto* unit = New();
    Free(unit);
    return unit != nullptr;
}

} // namespace

u32 VRQ_Crypto_Self_Test() {
    for (const Check& check : kPowerUpChecks) {
        if (check.in_proven_mode_only && VRQ_Is_Proven() == 0) continue;
        if (const u32 status = check.run(); status != 0) return status;
    }
    return 0;
}

// DSA is not approved; its units are made out of proven mode only.
u32 vrq_Context_Check() {
    const bool all_made = can_be_made<vrq_New_DRBG_Unit, vrq_Free_DRBG_Unit>() &&
                          can_be_made<VRQ_New_HMAC_Unit, VRQ_Free_HMAC_Unit>() &&
                          can_be_made<VRQ_New_DIGEST_Unit, VRQ_Free_DIGEST_Unit>() &&
                          can_be_made<VRQ_New_BLOCK_CIPHER_Unit, VRQ_Free_BLOCK_CIPHER_Unit>() &&
                          can_be_made<VRQ_New_RSA, VRQ_Free_RSA>() &&
                          can_be_made<VRQ_New_KCDSA, VRQ_Free_KCDSA>() &&
                          (VRQ_Is_Proven() == 1 || can_be_made<VRQ_New_DSA, VRQ_Free_DSA>());
    return all_made ? 0 : kat::failure(VRQ_F_CONTEXT_CHECK);
}

u32 vrq_Version_Check() {
    const char* version = VRQ_Get_Crypto_Version();
    if (version == nullptr || version[0] == '\0') return kat::failure(VRQ_F_VERSION_CHECK);
    return 0;
}
