// Checks of key generation, outside the power-up sequence.
#include "foundation/scope.h"
#include "selftest/kat.h"
#include "talvern/cipher.h"
#include "talvern/random.h"
#include "talvern/selftest.h"

using namespace vrq;

namespace {

constexpr u32 kMaxKeyLength = 1024;

} // namespace

u32 vrq_Sym_Key_Check() {
    constexpr u32 kFailure = kat::failure(VRQ_F_SYMMETIC_KEY_CHECK);
    for (const u32 cipher : {VRQ_ID_ARIA_128, VRQ_ID_ARIA_192, VRQ_ID_ARIA_256, VRQ_ID_SEED_128}) {
        SecretBytes<kMaxKeyLength> key;
        const u32 length = VRQ_Get_Key_Length(cipher);
        if (length == 0 || length > key.size()) return kFailure; // 0 when the self tests fail
        if (VRQ_Rand_Bytes(key.data(), static_cast<i32>(length)) != 0) {
            VRQ_Uninstantiate_DRBG(); // a failed draw keeps the generator locked
            return kFailure;
        }
    }
    return 0;
}
