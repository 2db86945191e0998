// Power-up test of the entropy collector: two draws must differ, and the second one must seed the
// process-wide generator. Each draw forks once.
#include "selftest/entropy_check.h"

#include "foundation/scope.h"
#include "talvern/digest.h"
#include "talvern/random.h"
#include "talvern/selftest.h"

#include <cstring>

using namespace vrq;

namespace {

constexpr u32 kFailure = make_status(VRQ_L_SELF_TEST, VRQ_F_ENTROPY_CHECK, VRQ_ERR_ENTROPY_FAIL);
constexpr i32 kStrength = 16; // bytes, that of SHA-256
constexpr i32 kLevel = 3;     // every source

using Input = Owned<VRQ_DRBG_ENTROPY_INPUT, vrq_Free_DRBG_ENTROPY_Input>;

bool differ(const u8* a, u32 a_len, const u8* b, u32 b_len) {
    return a_len != b_len || std::memcmp(a, b, a_len) != 0;
}

u32 take(EntropySource draw, VRQ_DRBG_ENTROPY_INPUT& input) {
    return draw(&input.entropy, &input.entropy_length, &input.nonce, &input.nonce_length, kStrength,
                kLevel);
}

} // namespace

u32 vrq::check_entropy(EntropySource draw) {
    const Input first(vrq_New_DRBG_ENTROPY_Input());
    const Input second(vrq_New_DRBG_ENTROPY_Input());
    if (!first || !second) return kFailure;
    if (const u32 s = take(draw, *first); s != 0) return s;
    if (const u32 s = take(draw, *second); s != 0) return s;

    if (!differ(first->entropy, first->entropy_length, second->entropy, second->entropy_length) ||
        !differ(first->nonce, first->nonce_length, second->nonce, second->nonce_length))
        return kFailure;

    SecretBytes<32> out;
    const u32 status =
        vrq_Get_Rand_Bytes_DRBG(out.data(), sizeof out, 0, VRQ_ID_SHA256, 0, second.get());
    // A failed draw keeps the generator locked, and the next run of the tests would wait for it.
    if (status != 0) VRQ_Uninstantiate_DRBG();
    return status;
}

u32 vrq_Entropy_Check() { return check_entropy(vrq_Get_ENTROPY_Input_With_Nonce_Input); }
