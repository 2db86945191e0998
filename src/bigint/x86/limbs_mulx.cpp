// Limb kernels with MULX, ADCX and ADOX (Intel 64 and AMD64 from 2014 on).
//
// Products and reductions run in digits of 8 (or 4) limbs: a digit of one factor is multiplied into
// the other factor block by block while the upper limbs of the running sum stay in registers. A row
// multiplies a block by one limb, adds the low halves along the carry flag and the high halves along
// the overflow flag, and retires the lowest register, which then becomes the highest one of the next
// row; after as many rows as there are registers the names are back in place. Compilers keep one
// carry chain at best, hence assembly.
#include "bigint/x86/limbs_mulx.h"

#include <immintrin.h>

namespace vrq {

namespace {

#define TALVERN_MULX __attribute__((target("bmi2,adx,avx2")))

// A digit takes every register but the stack and frame pointers: no register is left for the stack
// frames of the address sanitizer.
#define TALVERN_DIGIT __attribute__((noinline, no_sanitize("address")))

// clang-format off

#define R0 "%%r8"
#define R1 "%%r9"
#define R2 "%%r10"
#define R3 "%%r11"
#define R4 "%%r12"
#define R5 "%%r13"
#define R6 "%%r14"
#define R7 "%%r15"

// Times a[i]: A0 gains the low half, A1 the high half.
#define STEP(i, A0, A1)                        \
    "mulxq 8*" #i "(%[a]), %%rax, %%rcx\n\t"   \
    "adcxq %%rax, " A0 "\n\t"                  \
    "adoxq %%rcx, " A1 "\n\t"

// Times the last limb of a: A1, retired before, takes the high half and both carries.
#define LAST(i, A0, A1)                        \
    "mulxq 8*" #i "(%[a]), %%rax, " A1 "\n\t"  \
    "adcxq %%rax, " A0 "\n\t"                  \
    "movl $0, %%eax\n\t"                       \
    "adcxq %%rax, " A1 "\n\t"                  \
    "adoxq %%rax, " A1 "\n\t"

// The factor of a row, both carry flags clear.
#define FACTOR(i)                              \
    "movq 8*" #i "(%[b]), %%rdx\n\t"           \
    "xorl %%eax, %%eax\n\t"

// The factor that makes column A0 zero in a Montgomery reduction; kept in the place of that column.
#define FACTOR_REDC(i, A0)                     \
    "movq %[k0], %%rdx\n\t"                    \
    "imulq " A0 ", %%rdx\n\t"                  \
    "movq %%rdx, 8*" #i "(%[b])\n\t"           \
    "xorl %%eax, %%eax\n\t"

#define LOAD_Z(i, A) "movq 8*" #i "(%[z]), " A "\n\t"
#define STORE_Z(i, A) "movq " A ", 8*" #i "(%[z])\n\t"
#define ADC_Z(i, A) "adcq 8*" #i "(%[z]), " A "\n\t"
#define ADC_0(i, A) "adcq $0, " A "\n\t"
#define ZERO(i, A) "xorl " A "d, " A "d\n\t"

// z[i] and the registers = registers + a * b[i].
#define ROW8(i, A0, A1, A2, A3, A4, A5, A6, A7)                                            \
    FACTOR(i) STEP(0, A0, A1) STORE_Z(i, A0) STEP(1, A1, A2) STEP(2, A2, A3)               \
    STEP(3, A3, A4) STEP(4, A4, A5) STEP(5, A5, A6) STEP(6, A6, A7) LAST(7, A7, A0)
#define ROW4(i, A0, A1, A2, A3)                                                            \
    FACTOR(i) STEP(0, A0, A1) STORE_Z(i, A0) STEP(1, A1, A2) STEP(2, A2, A3) LAST(3, A3, A0)

#define REDC_ROW8(i, A0, A1, A2, A3, A4, A5, A6, A7)                                       \
    FACTOR_REDC(i, A0) STEP(0, A0, A1) STEP(1, A1, A2) STEP(2, A2, A3)                     \
    STEP(3, A3, A4) STEP(4, A4, A5) STEP(5, A5, A6) STEP(6, A6, A7) LAST(7, A7, A0)
#define REDC_ROW4(i, A0, A1, A2, A3)                                                       \
    FACTOR_REDC(i, A0) STEP(0, A0, A1) STEP(1, A1, A2) STEP(2, A2, A3) LAST(3, A3, A0)

#define ROWS8(ROW)                             \
    ROW(0, R0, R1, R2, R3, R4, R5, R6, R7)     \
    ROW(1, R1, R2, R3, R4, R5, R6, R7, R0)     \
    ROW(2, R2, R3, R4, R5, R6, R7, R0, R1)     \
    ROW(3, R3, R4, R5, R6, R7, R0, R1, R2)     \
    ROW(4, R4, R5, R6, R7, R0, R1, R2, R3)     \
    ROW(5, R5, R6, R7, R0, R1, R2, R3, R4)     \
    ROW(6, R6, R7, R0, R1, R2, R3, R4, R5)     \
    ROW(7, R7, R0, R1, R2, R3, R4, R5, R6)
#define ROWS4(ROW)                             \
    ROW(0, R0, R1, R2, R3)                     \
    ROW(1, R1, R2, R3, R0)                     \
    ROW(2, R2, R3, R0, R1)                     \
    ROW(3, R3, R0, R1, R2)

#define COLUMNS8(OP) \
    OP(0, R0) OP(1, R1) OP(2, R2) OP(3, R3) OP(4, R4) OP(5, R5) OP(6, R6) OP(7, R7)
#define COLUMNS4(OP) OP(0, R0) OP(1, R1) OP(2, R2) OP(3, R3)

// Products of different limbs inside one block, a[i] * a[j] for i < j, added to the registers, which
// hold columns 0 to 7; leaves columns 8 to 15 there and the lower ones in z. Column c is in register
// c mod 8.
#define TRIANGLE8                                                                          \
    FACTOR(0) STORE_Z(0, R0) STEP(1, R1, R2) STORE_Z(1, R1) STEP(2, R2, R3) STORE_Z(2, R2) \
    STEP(3, R3, R4) STEP(4, R4, R5) STEP(5, R5, R6) STEP(6, R6, R7) LAST(7, R7, R0)        \
    FACTOR(1) STEP(2, R3, R4) STORE_Z(3, R3) STEP(3, R4, R5) STORE_Z(4, R4)                \
    STEP(4, R5, R6) STEP(5, R6, R7) STEP(6, R7, R0) LAST(7, R0, R1)                        \
    FACTOR(2) STEP(3, R5, R6) STORE_Z(5, R5) STEP(4, R6, R7) STORE_Z(6, R6)                \
    STEP(5, R7, R0) STEP(6, R0, R1) LAST(7, R1, R2)                                        \
    FACTOR(3) STEP(4, R7, R0) STORE_Z(7, R7) STEP(5, R0, R1) STEP(6, R1, R2) LAST(7, R2, R3) \
    FACTOR(4) STEP(5, R1, R2) STEP(6, R2, R3) LAST(7, R3, R4)                              \
    FACTOR(5) STEP(6, R3, R4) LAST(7, R4, R5)                                              \
    FACTOR(6) LAST(7, R5, R6) ZERO(7, R7)
#define TRIANGLE4                                                                          \
    FACTOR(0) STORE_Z(0, R0) STEP(1, R1, R2) STORE_Z(1, R1) STEP(2, R2, R3) STORE_Z(2, R2) \
    LAST(3, R3, R0)                                                                        \
    FACTOR(1) STEP(2, R3, R0) STORE_Z(3, R3) LAST(3, R0, R1)                               \
    FACTOR(2) LAST(3, R1, R2) ZERO(3, R3)

// The carry that a block leaves for the next lies in memory as 0 or -1; doubling it sets the flag.
#define CARRY_IN                               \
    "movq %[carry], %%rax\n\t"                 \
    "addq %%rax, %%rax\n\t"
#define CARRY_OUT                              \
    "sbbq %%rax, %%rax\n\t"                    \
    "movq %%rax, %[carry]\n\t"

#define NEXT_BLOCK(BYTES)                      \
    "addq $" BYTES ", %[a]\n\t"                \
    "addq $" BYTES ", %[z]\n\t"

// For each of the blocks: z and registers = z + registers + block * digit.
#define FOR_BLOCKS(COLUMNS, ROWS, ROW, BYTES)                                              \
    "jmp 2f\n\t"                                                                           \
    "1:\n\t"                                                                               \
    CARRY_IN COLUMNS(ADC_Z) CARRY_OUT ROWS(ROW) NEXT_BLOCK(BYTES)                          \
    "2:\n\t"                                                                               \
    "subq $1, %[blocks]\n\t"                                                               \
    "jnc 1b\n\t"

#define STORE_TOP(COLUMNS) CARRY_IN COLUMNS(ADC_0) COLUMNS(STORE_Z)

// The upper limbs of z gain registers, carry and top, and give the new top.
#define ADD_TOP(COLUMNS)                       \
    CARRY_IN                                   \
    COLUMNS(ADC_Z)                             \
    "sbbq %%rcx, %%rcx\n\t"                    \
    "negq %[top]\n\t"                          \
    COLUMNS(ADC_0)                             \
    "sbbq $0, %%rcx\n\t"                       \
    "negq %%rcx\n\t"                           \
    "movq %%rcx, %[top]\n\t"                   \
    COLUMNS(STORE_Z)

#define CLOBBERS8                                                                          \
    "rax", "rcx", "rdx", "r8", "r9", "r10", "r11", "r12", "r13", "r14", "r15", "cc", "memory"
#define CLOBBERS4 "rax", "rcx", "rdx", "r8", "r9", "r10", "r11", "cc", "memory"

// clang-format on

// With W limbs to a block: z += a * b for a of W * blocks limbs and b of W limbs; the W limbs of z
// above those of a are written, not read.
TALVERN_DIGIT void mul_digit8(Limb* z, const Limb* a, const Limb* b, u64 blocks) {
    u64 carry = 0;
    __asm__ volatile(COLUMNS8(ZERO) FOR_BLOCKS(COLUMNS8, ROWS8, ROW8, "64") STORE_TOP(COLUMNS8)
                     : [z] "+&r"(z), [a] "+&r"(a), [blocks] "+m"(blocks), [carry] "+m"(carry)
                     : [b] "r"(b)
                     : CLOBBERS8);
}

TALVERN_DIGIT void mul_digit4(Limb* z, const Limb* a, const Limb* b, u64 blocks) {
    u64 carry = 0;
    __asm__ volatile(COLUMNS4(ZERO) FOR_BLOCKS(COLUMNS4, ROWS4, ROW4, "32") STORE_TOP(COLUMNS4)
                     : [z] "+&r"(z), [a] "+&r"(a), [blocks] "+m"(blocks), [carry] "+m"(carry)
                     : [b] "r"(b)
                     : CLOBBERS4);
}

// z = a * b for one block each.
TALVERN_DIGIT void mul_block8(Limb* z, const Limb* a, const Limb* b) {
    __asm__ volatile(COLUMNS8(ZERO) ROWS8(ROW8) NEXT_BLOCK("64") COLUMNS8(STORE_Z)
                     : [z] "+&r"(z), [a] "+&r"(a)
                     : [b] "r"(b)
                     : CLOBBERS8);
}

TALVERN_DIGIT void mul_block4(Limb* z, const Limb* a, const Limb* b) {
    __asm__ volatile(COLUMNS4(ZERO) ROWS4(ROW4) NEXT_BLOCK("32") COLUMNS4(STORE_Z)
                     : [z] "+&r"(z), [a] "+&r"(a)
                     : [b] "r"(b)
                     : CLOBBERS4);
}

// One digit of a square: z += a_0 * (a_1, ..., a_blocks) above column W plus the products of
// different limbs of a_0, where a_i are the blocks of a; the uppermost W limbs are written, not
// read.
TALVERN_DIGIT void sqr_digit8(Limb* z, const Limb* a, u64 blocks) {
    const Limb* digit = a;
    u64 carry = 0;
    __asm__ volatile(COLUMNS8(LOAD_Z) TRIANGLE8 NEXT_BLOCK("64")
                         FOR_BLOCKS(COLUMNS8, ROWS8, ROW8, "64") STORE_TOP(COLUMNS8)
                     : [z] "+&r"(z), [a] "+&r"(a), [blocks] "+m"(blocks), [carry] "+m"(carry)
                     : [b] "r"(digit)
                     : CLOBBERS8);
}

TALVERN_DIGIT void sqr_digit4(Limb* z, const Limb* a, u64 blocks) {
    const Limb* digit = a;
    u64 carry = 0;
    __asm__ volatile(COLUMNS4(LOAD_Z) TRIANGLE4 NEXT_BLOCK("32")
                         FOR_BLOCKS(COLUMNS4, ROWS4, ROW4, "32") STORE_TOP(COLUMNS4)
                     : [z] "+&r"(z), [a] "+&r"(a), [blocks] "+m"(blocks), [carry] "+m"(carry)
                     : [b] "r"(digit)
                     : CLOBBERS4);
}

// One digit of a Montgomery reduction: t += q * n for n of W * (1 + blocks) limbs and the digit q
// that makes the low W limbs zero; q itself is left there. Takes the carry of the digit before into
// the uppermost W limbs and returns the carry out of them.
TALVERN_DIGIT u64 redc_digit8(Limb* t, const Limb* n, u64 k0, u64 blocks, u64 top) {
    Limb* digit = t;
    u64 carry = 0;
    __asm__ volatile(
        COLUMNS8(LOAD_Z) ROWS8(REDC_ROW8) NEXT_BLOCK("64") FOR_BLOCKS(COLUMNS8, ROWS8, ROW8, "64")
            ADD_TOP(COLUMNS8)
        : [z] "+&r"(t), [a] "+&r"(n), [blocks] "+m"(blocks), [carry] "+m"(carry), [top] "+m"(top)
        : [b] "r"(digit), [k0] "m"(k0)
        : CLOBBERS8);
    return top;
}

TALVERN_DIGIT u64 redc_digit4(Limb* t, const Limb* n, u64 k0, u64 blocks, u64 top) {
    Limb* digit = t;
    u64 carry = 0;
    __asm__ volatile(
        COLUMNS4(LOAD_Z) ROWS4(REDC_ROW4) NEXT_BLOCK("32") FOR_BLOCKS(COLUMNS4, ROWS4, ROW4, "32")
            ADD_TOP(COLUMNS4)
        : [z] "+&r"(t), [a] "+&r"(n), [blocks] "+m"(blocks), [carry] "+m"(carry), [top] "+m"(top)
        : [b] "r"(digit), [k0] "m"(k0)
        : CLOBBERS4);
    return top;
}

// clang-format off

// One limb of a row into memory, OP applied to r before and after; the carry limb passes from HI to
// LO alternately.
#define ROW_LIMB(i, OP, LO, HI, IN)            \
    "mulxq 8*" #i "(%[a]), " LO ", " HI "\n\t" \
    "movq 8*" #i "(%[r]), %%rcx\n\t"           \
    OP                                         \
    "adcxq " IN ", " LO "\n\t"                 \
    "adoxq " LO ", %%rcx\n\t"                  \
    OP                                         \
    "movq %%rcx, 8*" #i "(%[r])\n\t"

#define FOR_LIMBS4(OP)                                                                     \
    "jmp 2f\n\t"                                                                           \
    "1:\n\t"                                                                               \
    "xorl %%eax, %%eax\n\t"                                                                \
    ROW_LIMB(0, OP, "%%rax", "%%r8", "%[carry]")                                           \
    ROW_LIMB(1, OP, "%%rax", "%%r9", "%%r8")                                               \
    ROW_LIMB(2, OP, "%%rax", "%%r8", "%%r9")                                               \
    ROW_LIMB(3, OP, "%%rax", "%[carry]", "%%r8")                                           \
    "movl $0, %%eax\n\t"                                                                   \
    "adcxq %%rax, %[carry]\n\t"                                                            \
    "adoxq %%rax, %[carry]\n\t"                                                            \
    "addq $32, %[a]\n\t"                                                                   \
    "addq $32, %[r]\n\t"                                                                   \
    "2:\n\t"                                                                               \
    "subq $1, %[blocks]\n\t"                                                               \
    "jnc 1b\n\t"

// clang-format on

u64 mul_add(Limb* r, const Limb* a, std::size_t n, u64 w) {
    u64 carry = 0;
    u64 blocks = n / 4;
    __asm__ volatile(FOR_LIMBS4("")
                     : [r] "+&r"(r), [a] "+&r"(a), [blocks] "+r"(blocks), [carry] "+r"(carry)
                     : "d"(w)
                     : "rax", "rcx", "r8", "r9", "cc", "memory");
    for (std::size_t i = 0; i < n % 4; ++i) {
        const u128 sum = static_cast<u128>(a[i]) * w + r[i] + carry;
        r[i] = static_cast<u64>(sum);
        carry = static_cast<u64>(sum >> 64);
    }
    return carry;
}

// r - p is the complement of (complement of r) + p, which leaves both carry chains to the product.
u64 mul_sub(Limb* r, const Limb* a, std::size_t n, u64 w) {
    u64 carry = 0;
    u64 blocks = n / 4;
    __asm__ volatile(FOR_LIMBS4("notq %%rcx\n\t")
                     : [r] "+&r"(r), [a] "+&r"(a), [blocks] "+r"(blocks), [carry] "+r"(carry)
                     : "d"(w)
                     : "rax", "rcx", "r8", "r9", "cc", "memory");
    for (std::size_t i = 0; i < n % 4; ++i) {
        const u128 sum = static_cast<u128>(a[i]) * w + ~r[i] + carry;
        r[i] = ~static_cast<u64>(sum);
        carry = static_cast<u64>(sum >> 64);
    }
    return carry;
}

void mul(Limb* r, const Limb* a, std::size_t na, const Limb* b, std::size_t nb) {
    if (na == 4 && nb == 4) return mul_block4(r, a, b);
    if (na == 8 && nb == 8) return mul_block8(r, a, b);
    if (na % 4 != 0 && nb % 4 == 0) return mul(r, b, nb, a, na);

    limbs_clear(r, na);
    std::size_t i = 0;
    if (na % 8 == 0) {
        for (; i + 8 <= nb; i += 8) mul_digit8(r + i, a, b + i, na / 8);
    }
    if (na % 4 == 0) {
        for (; i + 4 <= nb; i += 4) mul_digit4(r + i, a, b + i, na / 4);
    }
    for (; i < nb; ++i) r[i + na] = mul_add(r + i, a, na, b[i]);
}

// r = 2r + sum of a[i]^2 * 2^(128 i): doubling along the carry flag, squares along the overflow flag.
// Neither LEA nor JRCXZ touches the flags.
void double_and_add_squares(Limb* r, const Limb* a, std::size_t n) {
    __asm__ volatile("xorl %%eax, %%eax\n\t"
                     "1:\n\t"
                     "movq (%[a]), %%rdx\n\t"
                     "movq (%[r]), %%r8\n\t"
                     "movq 8(%[r]), %%r9\n\t"
                     "mulxq %%rdx, %%rax, %%rdx\n\t"
                     "adcxq %%r8, %%r8\n\t"
                     "adoxq %%rax, %%r8\n\t"
                     "adcxq %%r9, %%r9\n\t"
                     "adoxq %%rdx, %%r9\n\t"
                     "movq %%r8, (%[r])\n\t"
                     "movq %%r9, 8(%[r])\n\t"
                     "leaq 8(%[a]), %[a]\n\t"
                     "leaq 16(%[r]), %[r]\n\t"
                     "leaq -1(%%rcx), %%rcx\n\t"
                     "jrcxz 2f\n\t"
                     "jmp 1b\n\t"
                     "2:\n\t"
                     : [r] "+&r"(r), [a] "+&r"(a), "+&c"(n)
                     :
                     : "rax", "rdx", "r8", "r9", "cc", "memory");
}

// clang-format off

#define ADD_LIMB(i, OP)                        \
    "movq 8*" #i "(%[a]), %%rax\n\t"           \
    OP " 8*" #i "(%[b]), %%rax\n\t"            \
    "movq %%rax, 8*" #i "(%[r])\n\t"

// Sums or differences of 4 limbs a turn; leaves the flag in the low byte of carry.
#define ADD_LIMBS(OP)                                                                      \
    "xorl %%eax, %%eax\n\t"                                                                \
    "jrcxz 2f\n\t"                                                                         \
    "1:\n\t"                                                                               \
    ADD_LIMB(0, OP) ADD_LIMB(1, OP) ADD_LIMB(2, OP) ADD_LIMB(3, OP)                        \
    "leaq 32(%[a]), %[a]\n\t"                                                              \
    "leaq 32(%[b]), %[b]\n\t"                                                              \
    "leaq 32(%[r]), %[r]\n\t"                                                              \
    "leaq -1(%%rcx), %%rcx\n\t"                                                            \
    "jrcxz 2f\n\t"                                                                         \
    "jmp 1b\n\t"                                                                           \
    "2:\n\t"                                                                               \
    "setc %b[carry]\n\t"

// clang-format on

u64 add(Limb* r, const Limb* a, const Limb* b, std::size_t n) {
    u64 carry = 0;
    u64 blocks = n / 4;
    __asm__ volatile(ADD_LIMBS("adcq")
                     : [r] "+&r"(r), [a] "+&r"(a), [b] "+&r"(b), [carry] "+&q"(carry), "+&c"(blocks)
                     :
                     : "rax", "cc", "memory");
    for (std::size_t i = 0; i < n % 4; ++i) {
        const u128 sum = static_cast<u128>(a[i]) + b[i] + carry;
        r[i] = static_cast<u64>(sum);
        carry = static_cast<u64>(sum >> 64);
    }
    return carry;
}

u64 sub(Limb* r, const Limb* a, const Limb* b, std::size_t n) {
    u64 borrow = 0;
    u64 blocks = n / 4;
    __asm__ volatile(ADD_LIMBS("sbbq")
                     : [r] "+&r"(r), [a] "+&r"(a), [b] "+&r"(b), [carry] "+&q"(borrow),
                       "+&c"(blocks)
                     :
                     : "rax", "cc", "memory");
    for (std::size_t i = 0; i < n % 4; ++i) {
        const u128 difference = static_cast<u128>(a[i]) - b[i] - borrow;
        r[i] = static_cast<u64>(difference);
        borrow = static_cast<u64>(difference >> 64) & 1;
    }
    return borrow;
}

void sqr(Limb* r, const Limb* a, std::size_t n) {
    if (n == 4) return mul_block4(r, a, a);

    if (n % 4 != 0) {
        limbs_clear(r, n);
        for (std::size_t i = 0; i < n; ++i) {
            r[i + n] = mul_add(r + 2 * i + 1, a + i + 1, n - i - 1, a[i]);
        }
    } else if (n % 8 != 0) {
        limbs_clear(r, n);
        for (std::size_t i = 0; i < n; i += 4) sqr_digit4(r + 2 * i, a + i, (n - i) / 4 - 1);
    } else {
        limbs_clear(r, n);
        for (std::size_t i = 0; i < n; i += 8) sqr_digit8(r + 2 * i, a + i, (n - i) / 8 - 1);
    }
    double_and_add_squares(r, a, n);
}

u64 redc(Limb* t, const Limb* n, std::size_t n_len, std::size_t steps, u64 k0) {
    u64 top = 0;
    std::size_t i = 0;
    if (n_len % 8 == 0) {
        for (; i + 8 <= steps; i += 8) top = redc_digit8(t + i, n, k0, n_len / 8 - 1, top);
    }
    if (n_len % 4 == 0) {
        for (; i + 4 <= steps; i += 4) top = redc_digit4(t + i, n, k0, n_len / 4 - 1, top);
    }
    for (; i < steps; ++i) {
        const u128 sum =
            static_cast<u128>(t[i + n_len]) + mul_add(t + i, n, n_len, t[i] * k0) + top;
        t[i + n_len] = static_cast<u64>(sum);
        top = static_cast<u64>(sum >> 64);
    }
    return top;
}

TALVERN_MULX void reduce_once(Limb* r, const Limb* t, const Limb* n, std::size_t len, u64 carry) {
    unsigned char borrow = 0;
    std::size_t i = 0;
    for (; i + 4 <= len; i += 4) {
        unsigned long long unused;
        borrow = _subborrow_u64(borrow, t[i], n[i], &unused);
        borrow = _subborrow_u64(borrow, t[i + 1], n[i + 1], &unused);
        borrow = _subborrow_u64(borrow, t[i + 2], n[i + 2], &unused);
        borrow = _subborrow_u64(borrow, t[i + 3], n[i + 3], &unused);
    }
    for (; i < len; ++i) {
        unsigned long long unused;
        borrow = _subborrow_u64(borrow, t[i], n[i], &unused);
    }
    u64 mask = 0 - (carry | (borrow ^ 1U));
    __asm__("" : "+r"(mask));

    borrow = 0;
    for (i = 0; i + 4 <= len; i += 4) {
        unsigned long long d0;
        unsigned long long d1;
        unsigned long long d2;
        unsigned long long d3;
        borrow = _subborrow_u64(borrow, t[i], n[i] & mask, &d0);
        borrow = _subborrow_u64(borrow, t[i + 1], n[i + 1] & mask, &d1);
        borrow = _subborrow_u64(borrow, t[i + 2], n[i + 2] & mask, &d2);
        borrow = _subborrow_u64(borrow, t[i + 3], n[i + 3] & mask, &d3);
        r[i] = d0;
        r[i + 1] = d1;
        r[i + 2] = d2;
        r[i + 3] = d3;
    }
    for (; i < len; ++i) {
        unsigned long long d;
        borrow = _subborrow_u64(borrow, t[i], n[i] & mask, &d);
        r[i] = d;
    }
}

TALVERN_MULX void gather(Limb* r, const Limb* table, std::size_t entries, std::size_t len,
                         u64 index) {
    const __m256i wanted = _mm256_set1_epi64x(static_cast<long long>(index));
    const __m256i one = _mm256_set1_epi64x(1);
    std::size_t i = 0;
    for (; i + 16 <= len; i += 16) {
        __m256i x0 = _mm256_setzero_si256();
        __m256i x1 = x0;
        __m256i x2 = x0;
        __m256i x3 = x0;
        __m256i entry = x0;
        const Limb* row = table + i;
        for (std::size_t k = 0; k < entries; ++k, row += len) {
            const __m256i mask = _mm256_cmpeq_epi64(entry, wanted);
            const auto* in = reinterpret_cast<const __m256i*>(row);
            x0 = _mm256_or_si256(x0, _mm256_and_si256(mask, _mm256_loadu_si256(in)));
            x1 = _mm256_or_si256(x1, _mm256_and_si256(mask, _mm256_loadu_si256(in + 1)));
            x2 = _mm256_or_si256(x2, _mm256_and_si256(mask, _mm256_loadu_si256(in + 2)));
            x3 = _mm256_or_si256(x3, _mm256_and_si256(mask, _mm256_loadu_si256(in + 3)));
            entry = _mm256_add_epi64(entry, one);
        }
        auto* out = reinterpret_cast<__m256i*>(r + i);
        _mm256_storeu_si256(out, x0);
        _mm256_storeu_si256(out + 1, x1);
        _mm256_storeu_si256(out + 2, x2);
        _mm256_storeu_si256(out + 3, x3);
    }
    for (; i + 4 <= len; i += 4) {
        __m256i x = _mm256_setzero_si256();
        __m256i entry = x;
        const Limb* row = table + i;
        for (std::size_t k = 0; k < entries; ++k, row += len) {
            const __m256i mask = _mm256_cmpeq_epi64(entry, wanted);
            const auto* in = reinterpret_cast<const __m256i*>(row);
            x = _mm256_or_si256(x, _mm256_and_si256(mask, _mm256_loadu_si256(in)));
            entry = _mm256_add_epi64(entry, one);
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(r + i), x);
    }
    for (; i < len; ++i) {
        u64 x = 0;
        for (std::size_t k = 0; k < entries; ++k) x |= table[k * len + i] & mask_if_zero(k ^ index);
        r[i] = x;
    }
}

} // namespace

constinit const LimbKernel kMulxLimbs = {"mulx", mul, sqr,  mul_add,     mul_sub,
                                         add,    sub, redc, reduce_once, gather};

} // namespace vrq
