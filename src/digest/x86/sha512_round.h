// One round of SHA-512 (FIPS 180-4, 6.4) with rorx, the text that the kernels share. Before it includes
// this file, a kernel defines SHA512_FEATURES, its instruction sets, BMI2 among them.
#pragma once

#include "digest/x86/target.h"
#include "foundation/status.h"

namespace vrq {

namespace {

// One round; the caller renames the variables. On entry bc is B ^ C, on exit A ^ B, the next round's B ^
// C. Written in assembler to keep the sums as they stand: one instruction more than needed in each, but
// only four cycles from E to the next E and from A to the next A. The choice is ((F ^ G) & E) ^ G, the
// majority (B & C) + (A & (B ^ C)).
TALVERN_INLINE_TARGET(SHA512_FEATURES)
void round(u64 a, u64 b, u64 c, u64& d, u64 e, u64 f, u64 g, u64& h, u64& bc, const u64& input) {
    u64 sigma;
    u64 rotated;
    u64 x;
    __asm__(
        "addq %[input], %[h]\n\t"
        "rorx $14, %[e], %[sigma]\n\t"
        "rorx $18, %[e], %[rotated]\n\t"
        "addq %[h], %[d]\n\t"
        "movq %[f], %[x]\n\t"
        "xorq %[g], %[x]\n\t"
        "andq %[e], %[x]\n\t"
        "xorq %[rotated], %[sigma]\n\t"
        "rorx $41, %[e], %[rotated]\n\t"
        "xorq %[g], %[x]\n\t"
        "addq %[x], %[d]\n\t"
        "xorq %[rotated], %[sigma]\n\t"
        "addq %[sigma], %[d]\n\t"
        "addq %[x], %[h]\n\t"
        "addq %[sigma], %[h]\n\t"
        "movq %[b], %[x]\n\t"
        "andq %[c], %[x]\n\t"
        "addq %[x], %[h]\n\t"
        "andq %[a], %[bc]\n\t"
        "rorx $28, %[a], %[sigma]\n\t"
        "rorx $34, %[a], %[rotated]\n\t"
        "addq %[bc], %[h]\n\t"
        "xorq %[rotated], %[sigma]\n\t"
        "rorx $39, %[a], %[rotated]\n\t"
        "movq %[a], %[bc]\n\t"
        "xorq %[rotated], %[sigma]\n\t"
        "addq %[sigma], %[h]\n\t"
        "xorq %[b], %[bc]"
        : [d] "+&r"(d), [h] "+&r"(h), [bc] "+&r"(bc), [sigma] "=&r"(sigma),
          [rotated] "=&r"(rotated), [x] "=&r"(x)
        : [a] "r"(a), [b] "r"(b), [c] "r"(c), [e] "r"(e), [f] "r"(f), [g] "r"(g), [input] "m"(input)
        : "cc");
}

} // namespace

} // namespace vrq
