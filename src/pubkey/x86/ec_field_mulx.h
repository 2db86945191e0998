// Montgomery products of prime fields with MULX, ADCX and ADOX.
#pragma once

#include "foundation/cpu.h"

namespace vrq {

constexpr u32 kFieldMulxNeeds = cpu::kBmi2 | cpu::kAdx;

void field_mul4_mulx(u64* r, const u64* a, const u64* b, const u64* p);
void field_sqr4_mulx(u64* r, const u64* a, const u64* p);
void field_mul6_mulx(u64* r, const u64* a, const u64* b, const u64* p);
void field_sqr6_mulx(u64* r, const u64* a, const u64* p);

} // namespace vrq
