// Processor features, read once from CPUID and XCR0.
#include "foundation/cpu.h"

#ifdef TALVERN_TEST_HOOKS
#include "foundation/test_hooks.h"
#endif

#if defined(__x86_64__)
#include <cpuid.h>
#endif

namespace vrq::cpu {

namespace {

constinit std::atomic<u32> g_features{0};

#if defined(__x86_64__) && !defined(TALVERN_PORTABLE)

// XCR0 bits: XMM and YMM state; opmask, upper ZMM and high ZMM state.
constexpr u32 kYmmState = 0x06;
constexpr u32 kZmmState = 0xE0;

u32 read_xcr0() {
    u32 low;
    u32 high;
    __asm__ __volatile__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

constexpr bool all(u32 word, u32 bits) { return (word & bits) == bits; }

u32 detect() {
    u32 a;
    u32 b;
    u32 c;
    u32 d;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0) return 0;

    u32 found = 0;
    if (all(c, bit_SSSE3 | bit_SSE4_1)) found |= kSsse3;
    if (all(c, bit_AES)) found |= kAesNi;
    if (all(c, bit_PCLMUL)) found |= kPclmul;

    const bool has_avx = all(c, bit_OSXSAVE | bit_AVX);
    const u32 xcr0 = has_avx ? read_xcr0() : 0;
    const bool has_ymm = all(xcr0, kYmmState);
    const bool has_zmm = has_ymm && all(xcr0, kZmmState);

    if (__get_cpuid_count(7, 0, &a, &b, &c, &d) == 0) return found;
    if (all(b, bit_SHA)) found |= kShaNi;
    if (all(b, bit_BMI | bit_BMI2)) found |= kBmi2;
    if (all(b, bit_ADX)) found |= kAdx;
    if (all(c, bit_GFNI)) found |= kGfni;
    if (has_ymm && all(b, bit_AVX2)) found |= kAvx2;
    if (has_ymm && all(c, bit_VAES)) found |= kVaes;
    if (!has_zmm || !all(b, bit_AVX512F | bit_AVX512BW | bit_AVX512DQ | bit_AVX512VL)) return found;
    found |= kAvx512;
    if (all(c, bit_AVX512VBMI | bit_AVX512VBMI2)) found |= kVbmi;
    if (all(b, bit_AVX512IFMA)) found |= kIfma;
    return found;
}

#else

u32 detect() { return 0; }

#endif

#ifdef TALVERN_TEST_HOOKS
constinit std::atomic<u32> g_masked{0};
u32 masked() { return g_masked; }
#else
constexpr u32 masked() { return 0; }
#endif

} // namespace

u32 features() {
    u32 known = g_features.load(std::memory_order_relaxed);
    if (known == 0) {
        known = detect() | kDetected;
        g_features.store(known, std::memory_order_relaxed);
    }
    return known & ~masked();
}

} // namespace vrq::cpu

#ifdef TALVERN_TEST_HOOKS
void vrq::testing::mask_features(u32 features) { cpu::g_masked = features; }
#endif
