// Run under valgrind memcheck: base, exponent and modulus count as undefined, so that memcheck
// reports every branch and every address that depends on them. valgrind hides ADX from CPUID but
// runs it, so the rows are chosen by the kernel's own list of features.
#include "bigint/inverse.h"
#include "bigint/mod_exp.h"

#include <valgrind/memcheck.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace {

using Limbs = std::vector<vrq::u64>;

void hide(Limbs& x) { VALGRIND_MAKE_MEM_UNDEFINED(x.data(), x.size() * sizeof x[0]); }
void show(Limbs& x) { VALGRIND_MAKE_MEM_DEFINED(x.data(), x.size() * sizeof x[0]); }

Limbs random_limbs(std::size_t n, unsigned seed) {
    std::mt19937_64 random(seed);
    Limbs out(n);
    for (vrq::u64& x : out) x = random();
    return out;
}

// base^exponent modulo an odd number of n limbs, with everything but the modulus hidden or not.
Limbs exponentiate(const vrq::LimbKernel& kernel, std::size_t n, bool hidden) {
    Limbs base = random_limbs(2 * n, 1);
    Limbs exponent = random_limbs(2, 2);
    Limbs modulus = random_limbs(n, 3);
    modulus[0] |= 1;
    modulus[n - 1] |= vrq::u64{1} << 63;
    Limbs r(n);
    const vrq::ModExp job = {
        r.data(), base.data(), base.size(), exponent.data(), 128, modulus.data(), n, 64 * n, false};
    Limbs scratch(vrq::mod_exp_kernels().back().scratch(job));
    if (hidden) {
        hide(base);
        hide(exponent);
        hide(modulus);
    }
    vrq::mod_exp_with(kernel, job, scratch.data());
    show(r);
    return r;
}

Limbs invert(std::size_t n, bool hidden) {
    Limbs a = random_limbs(n, 4);
    a[n - 1] >>= 1;
    Limbs modulus = random_limbs(n, 5);
    modulus[0] |= 1;
    modulus[n - 1] |= vrq::u64{1} << 63;
    Limbs r(n);
    Limbs scratch(vrq::divsteps_scratch(n));
    if (hidden) {
        hide(a);
        hide(modulus);
    }
    Limbs found(1);
    found[0] =
        vrq::limbs_inverse_odd(r.data(), a.data(), modulus.data(), n, 64 * n, scratch.data());
    show(r);
    show(found);
    r.push_back(found[0]);
    return r;
}

bool host_lists_adx() {
    std::ifstream file("/proc/cpuinfo");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return text.find(" adx ") != std::string::npos;
}

} // namespace

int main() {
    for (const vrq::LimbKernelRow& row : vrq::limb_kernel_rows()) {
        if (row.needs != 0 && !host_lists_adx()) continue;
        for (const std::size_t n : {4U, 8U, 12U, 16U}) {
            if (exponentiate(*row.kernel, n, false) != exponentiate(*row.kernel, n, true)) return 1;
        }
        std::printf("exponentiation over %s\n", row.kernel->name);
    }
    return invert(4, false) == invert(4, true) ? 0 : 1;
}
