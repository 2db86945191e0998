// Montgomery products of 4 and 6 limbs in one piece of assembly: the product row by row, its low half
// reduced row by row, the high half added, p taken away where the sum is not below it. In a row the low
// halves go along the carry flag and the high halves along the overflow flag; a register whose limb is
// done takes the highest limb of the next row, so that the names are back in place after as many rows
// as there are registers.
#include "pubkey/x86/ec_field_mulx.h"

#include "pubkey/ec_field.h"

namespace vrq {

namespace {

// Products of all sizes take too many registers for the stack frames of the address sanitizer.
#define TALVERN_FIELD __attribute__((noinline, no_sanitize("address")))

// clang-format off

#define R0 "%%r8"
#define R1 "%%r9"
#define R2 "%%r10"
#define R3 "%%r11"
#define R4 "%%r12"
#define R5 "%%r13"

// Times the limb i at the pointer V: A0 gains the low half, A1 the high half.
#define STEP(V, i, A0, A1)                      \
    "mulxq 8*" #i "(%[" V "]), %%rax, %%rcx\n\t" \
    "adcxq %%rax, " A0 "\n\t"                   \
    "adoxq %%rcx, " A1 "\n\t"

// Times the last limb: A1, done before, takes the high half and both carries.
#define LAST(V, i, A0, A1)                      \
    "mulxq 8*" #i "(%[" V "]), %%rax, " A1 "\n\t" \
    "adcxq %%rax, " A0 "\n\t"                   \
    "movl $0, %%eax\n\t"                        \
    "adcxq %%rax, " A1 "\n\t"                   \
    "adoxq %%rax, " A1 "\n\t"

#define FACTOR(i)                               \
    "movq 8*" #i "(%[b]), %%rdx\n\t"            \
    "xorl %%eax, %%eax\n\t"
#define KEEP(i, A0) "movq " A0 ", 8*" #i "(%[t])\n\t"

// The factor that makes A0 zero; K is the place of -p^-1.
#define FACTOR_REDC(K, A0)                      \
    "movq 8*" #K "(%[p]), %%rdx\n\t"            \
    "imulq " A0 ", %%rdx\n\t"                   \
    "xorl %%eax, %%eax\n\t"

// 4 limbs: the whole product stays in registers.
#define R6 "%%r14"
#define R7 "%%r15"

#define ROW4(i, A0, A1, A2, A3, A4)                                                   \
    FACTOR(i) STEP("a", 0, A0, A1) STEP("a", 1, A1, A2) STEP("a", 2, A2, A3) LAST("a", 3, A3, A4)
#define REDC4(A0, A1, A2, A3)                                                         \
    FACTOR_REDC(4, A0) STEP("p", 0, A0, A1) STEP("p", 1, A1, A2)                      \
    STEP("p", 2, A2, A3) LAST("p", 3, A3, A0)

// For P-256 the factor is A0 itself: A0 * p = A0 * (2^256 - 2^224 + 2^192) + A0 * 2^96 - A0.
#define REDC_P256(A0, A1, A2, A3)                                                     \
    "movq " A0 ", %%rdx\n\t"                                                          \
    "mulxq 24(%[p]), %%rax, %%rcx\n\t"                                                \
    "shlq $32, %%rdx\n\t"                                                             \
    "shrq $32, " A0 "\n\t"                                                            \
    "addq %%rdx, " A1 "\n\t"                                                          \
    "adcq " A0 ", " A2 "\n\t"                                                         \
    "adcq %%rax, " A3 "\n\t"                                                          \
    "adcq $0, %%rcx\n\t"                                                              \
    "movq %%rcx, " A0 "\n\t"

// 6 limbs: the low half of the product waits in memory.
#define ROW6(i, A0, A1, A2, A3, A4, A5)                                               \
    FACTOR(i) STEP("a", 0, A0, A1) KEEP(i, A0) STEP("a", 1, A1, A2)                   \
    STEP("a", 2, A2, A3) STEP("a", 3, A3, A4) STEP("a", 4, A4, A5) LAST("a", 5, A5, A0)
#define REDC6(A0, A1, A2, A3, A4, A5)                                                 \
    FACTOR_REDC(6, A0) STEP("p", 0, A0, A1) STEP("p", 1, A1, A2)                      \
    STEP("p", 2, A2, A3) STEP("p", 3, A3, A4) STEP("p", 4, A4, A5) LAST("p", 5, A5, A0)

#define ZERO(A) "xorl " A "d, " A "d\n\t"
#define MOVE(A, B) "movq " A ", " B "\n\t"
#define ADD(OP, A, B) OP " " A ", " B "\n\t"
#define SWAP_HALF6(i, A) "movq " A ", 48+8*" #i "(%[t])\n\tmovq 8*" #i "(%[t]), " A "\n\t"
#define ADD_HIGH6(OP, i, A) OP " 48+8*" #i "(%[t]), " A "\n\t"
#define STORE(V, i, A) "movq " A ", 8*" #i "(%[" V "])\n\t"
#define SUB_P(OP, i, A) OP " 8*" #i "(%[p]), " A "\n\t"

// The text of a product of 4 limbs with one reduction row or the other. CMOV keeps what was not below p.
#define MUL4(REDC)                                                                    \
    ZERO(R0) ZERO(R1) ZERO(R2) ZERO(R3)                                               \
    ROW4(0, R0, R1, R2, R3, R4) ROW4(1, R1, R2, R3, R4, R5)                           \
    ROW4(2, R2, R3, R4, R5, R6) ROW4(3, R3, R4, R5, R6, R7)                           \
    REDC(R0, R1, R2, R3) REDC(R1, R2, R3, R0) REDC(R2, R3, R0, R1) REDC(R3, R0, R1, R2) \
    "xorl %%ecx, %%ecx\n\t"                                                           \
    ADD("addq", R4, R0) ADD("adcq", R5, R1) ADD("adcq", R6, R2) ADD("adcq", R7, R3)   \
    "adcq $0, %%rcx\n\t"                                                              \
    MOVE(R0, R4) MOVE(R1, R5) MOVE(R2, R6) MOVE(R3, R7)                               \
    SUB_P("subq", 0, R4) SUB_P("sbbq", 1, R5) SUB_P("sbbq", 2, R6) SUB_P("sbbq", 3, R7) \
    "sbbq $0, %%rcx\n\t"                                                              \
    ADD("cmovcq", R0, R4) ADD("cmovcq", R1, R5) ADD("cmovcq", R2, R6) ADD("cmovcq", R3, R7) \
    "movq %[r], %%rax\n\t"                                                            \
    "movq " R4 ", (%%rax)\n\t"                                                        \
    "movq " R5 ", 8(%%rax)\n\t"                                                       \
    "movq " R6 ", 16(%%rax)\n\t"                                                      \
    "movq " R7 ", 24(%%rax)\n\t"

// clang-format on

} // namespace

TALVERN_FIELD void field_mul4_mulx(u64* r, const u64* a, const u64* b, const u64* p) {
    __asm__ volatile(MUL4(REDC4)
                     :
                     : [r] "m"(r), [a] "r"(a), [b] "r"(b), [p] "r"(p)
                     : "rax", "rcx", "rdx", "r8", "r9", "r10", "r11", "r12", "r13", "r14", "r15",
                       "cc", "memory");
}

TALVERN_FIELD void field_mul_p256_mulx(u64* r, const u64* a, const u64* b, const u64* p) {
    __asm__ volatile(MUL4(REDC_P256)
                     :
                     : [r] "m"(r), [a] "r"(a), [b] "r"(b), [p] "r"(p)
                     : "rax", "rcx", "rdx", "r8", "r9", "r10", "r11", "r12", "r13", "r14", "r15",
                       "cc", "memory");
}

void field_sqr_p256_mulx(u64* r, const u64* a, const u64* p) { field_mul_p256_mulx(r, a, a, p); }

void field_sqr4_mulx(u64* r, const u64* a, const u64* p) { field_mul4_mulx(r, a, a, p); }

namespace {

// t = the sum of a * b / R and a multiple of p that is below 2p, in 6 limbs; returns the carry.
TALVERN_FIELD u64 product6(u64 (&area)[12], const u64* a, const u64* b, const u64* p) {
    u64* const t = area;
    u64 carry = 0;
    __asm__ volatile(
        // clang-format off
        ZERO(R0) ZERO(R1) ZERO(R2) ZERO(R3) ZERO(R4) ZERO(R5)
        ROW6(0, R0, R1, R2, R3, R4, R5) ROW6(1, R1, R2, R3, R4, R5, R0)
        ROW6(2, R2, R3, R4, R5, R0, R1) ROW6(3, R3, R4, R5, R0, R1, R2)
        ROW6(4, R4, R5, R0, R1, R2, R3) ROW6(5, R5, R0, R1, R2, R3, R4)
        SWAP_HALF6(0, R0) SWAP_HALF6(1, R1) SWAP_HALF6(2, R2)
        SWAP_HALF6(3, R3) SWAP_HALF6(4, R4) SWAP_HALF6(5, R5)
        REDC6(R0, R1, R2, R3, R4, R5) REDC6(R1, R2, R3, R4, R5, R0)
        REDC6(R2, R3, R4, R5, R0, R1) REDC6(R3, R4, R5, R0, R1, R2)
        REDC6(R4, R5, R0, R1, R2, R3) REDC6(R5, R0, R1, R2, R3, R4)
        ADD_HIGH6("addq", 0, R0) ADD_HIGH6("adcq", 1, R1) ADD_HIGH6("adcq", 2, R2)
        ADD_HIGH6("adcq", 3, R3) ADD_HIGH6("adcq", 4, R4) ADD_HIGH6("adcq", 5, R5)
        "adcq $0, %[carry]\n\t"
        STORE("t", 0, R0) STORE("t", 1, R1) STORE("t", 2, R2)
        STORE("t", 3, R3) STORE("t", 4, R4) STORE("t", 5, R5)
        // clang-format on
        : [carry] "+&r"(carry), "=m"(area)
        : [t] "r"(t), [a] "r"(a), [b] "r"(b), [p] "r"(p)
        : "rax", "rcx", "rdx", "r8", "r9", "r10", "r11", "r12", "r13", "cc", "memory");
    return carry;
}

} // namespace

void field_mul6_mulx(u64* r, const u64* a, const u64* b, const u64* p) {
    u64 t[12];
    const u64 carry = product6(t, a, b, p);
    field_reduce_once<6>(r, t, static_cast<unsigned char>(carry), p);
}

void field_sqr6_mulx(u64* r, const u64* a, const u64* p) { field_mul6_mulx(r, a, a, p); }

} // namespace vrq
