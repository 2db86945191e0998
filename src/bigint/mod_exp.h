// Modular exponentiation on limbs. One call owns the whole exponentiation: it converts its operands
// once in and once out and works in one area that it wipes.
//
// Base, exponent and modulus may be secret; lengths, and the bit length of the modulus, are public.
// The variants named _var are for public exponents and moduli: their time depends on both.
#pragma once

#include "bigint/limbs.h"
#include "talvern/bigint.h"

#include <cstddef>
#include <span>

namespace vrq {

struct ModExp {
    Limb* r;          // len limbs
    const Limb* base; // base_len >= 1 limbs, any value
    std::size_t base_len;
    const Limb* exponent; // exponent_bits bits, of which the upper ones may be zero; 1 or more
    std::size_t exponent_bits;
    const Limb* modulus; // len limbs, more than 1
    std::size_t len;
    std::size_t modulus_bits;
    bool is_public; // exponent and modulus: the time may depend on them
};

// A way to compute a whole exponentiation for odd moduli.
struct ModExpKernel {
    u32 needs; // cpu feature bits
    const char* name;
    bool (*takes)(const ModExp& job);
    std::size_t (*scratch)(const ModExp& job); // limbs
    void (*run)(const ModExp& job, Limb* scratch);
};

// All rows, best first; the last one needs nothing and takes every job.
std::span<const ModExpKernel> mod_exp_kernels();

// The first row that the processor allows and that takes the job.
const ModExpKernel& mod_exp_kernel(const ModExp& job);

// The last row with the limb kernel chosen by the caller; for tests.
void mod_exp_with(const LimbKernel& kernel, const ModExp& job, Limb* scratch);

// The same for any modulus, by division.
std::size_t mod_exp_any_scratch(const ModExp& job);
void mod_exp_any(const ModExp& job, Limb* scratch);

// r = a^e mod m for odd m and a public exponent: VRQ_Mod_Exp_Mont_BIGINT, statuses and all, in a
// time that depends on e, m and the word count of a. e = 65537 takes 17 Montgomery products between
// the conversions.
[[nodiscard]] u32 mod_exp_mont_var(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* e,
                                   const VRQ_BIGINT* m, VRQ_BIGINT_POOL* pool);

// r = a^e * b^f mod m for odd m with everything public: both powers share their squarings. Statuses
// and their function code are those of VRQ_Mod_Exp_Mont_BIGINT.
[[nodiscard]] u32 mod_exp2_mont_var(VRQ_BIGINT* r, const VRQ_BIGINT* a, const VRQ_BIGINT* e,
                                    const VRQ_BIGINT* b, const VRQ_BIGINT* f, const VRQ_BIGINT* m,
                                    VRQ_BIGINT_POOL* pool);

// The same on limbs.
struct ModExp2 {
    Limb* r;             // len limbs
    const Limb* base[2]; // base_len >= 1 limbs, any value
    std::size_t base_len[2];
    const Limb* exponent[2]; // exponent_bits bits, the top one set, or none for the exponent 0
    std::size_t exponent_bits[2];
    const Limb* modulus; // odd, len limbs, more than 1
    std::size_t len;
};

std::size_t mod_exp2_scratch(const ModExp2& job);
void mod_exp2(const ModExp2& job, Limb* scratch);

} // namespace vrq
