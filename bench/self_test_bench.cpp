// The power-up tests, step by step: what the first call of a process pays.
#include "talvern.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

const struct {
    const char* name;
    uint32_t (*run)();
} kSteps[] = {
    {"integrity", vrq_Verify_DLL},  {"units", vrq_Context_Check},
    {"version", vrq_Version_Check}, {"entropy", vrq_Entropy_Check},
    {"DRBG", vrq_DRBG_Check},       {"HMAC", vrq_HMAC_Check},
    {"digests", vrq_DIGEST_Check},  {"ciphers", vrq_Sym_Check},
    {"RSAES", vrq_RSAES_Check},     {"RSASSA", vrq_RSASSA_Check},
    {"KCDSA", vrq_KCDSA_Check},     {"all but entropy", VRQ_Crypto_Self_Test},
};

// In test mode the whole sequence leaves entropy out, as it does out of proven mode.
const int registered = [] {
    for (const auto& step : kSteps) {
        const std::string row = std::string("self test/") + step.name + "/talvern";
        benchmark::RegisterBenchmark(row.c_str(), [&step](benchmark::State& state) {
            VRQ_Change_Test_Mode();
            for (auto _ : state) {
                if (step.run() != 0) state.SkipWithError("failed");
            }
        });
    }
    return 0;
}();

} // namespace
