// The power-up sequence: checks in order, the first failure ends it.
#include "talvern/selftest.h"

#include "foundation/status.h"

#include <array>

using namespace vrq;

namespace {

using Check = u32 (*)();

// Known-answer and integrity checks join here, in the order in which they run.
constexpr std::array<Check, 0> kPowerUpChecks{};

} // namespace

u32 VRQ_Crypto_Self_Test() {
    for (const Check check : kPowerUpChecks) {
        if (const u32 status = check(); status != 0) return status;
    }
    return 0;
}
