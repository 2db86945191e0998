// Limb kernels with MULX and the two carry chains of ADCX and ADOX.
#pragma once

#include "bigint/limbs.h"
#include "foundation/cpu.h"

namespace vrq {

constexpr u32 kMulxNeeds = cpu::kBmi2 | cpu::kAdx | cpu::kAvx2;
extern const LimbKernel kMulxLimbs; // NOLINT(bugprone-dynamic-static-initializers)

} // namespace vrq
