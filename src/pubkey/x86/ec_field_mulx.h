// Montgomery products of prime fields with MULX, ADCX and ADOX.
#pragma once

#include "foundation/cpu.h"

namespace vrq {

constexpr u32 kFieldMulxNeeds = cpu::kBmi2 | cpu::kAdx;

void field_mul4_mulx(u64* r, const u64* a, const u64* b, const u64* p);
void field_sqr4_mulx(u64* r, const u64* a, const u64* p);
// For p = 2^256 - 2^224 + 2^192 + 2^96 - 1 alone.
void field_mul_p256_mulx(u64* r, const u64* a, const u64* b, const u64* p);
void field_sqr_p256_mulx(u64* r, const u64* a, const u64* p);

void field_mul6_mulx(u64* r, const u64* a, const u64* b, const u64* p);
void field_sqr6_mulx(u64* r, const u64* a, const u64* p);

} // namespace vrq
