/* The tests that the first call of a process runs, once more one by one with their times. */
#include "demo.h"

static const struct {
    const char* name;
    uint32_t (*run)(void);
} kChecks[] = {
    {"library file", vrq_Verify_DLL}, {"units", vrq_Context_Check},
    {"version", vrq_Version_Check},   {"entropy", vrq_Entropy_Check},
    {"Hash_DRBG", vrq_DRBG_Check},    {"HMAC", vrq_HMAC_Check},
    {"digests", vrq_DIGEST_Check},    {"ARIA and SEED", vrq_Sym_Check},
    {"RSA OAEP", vrq_RSAES_Check},    {"RSA PSS", vrq_RSASSA_Check},
    {"KCDSA", vrq_KCDSA_Check},
};

int show_power_up(void) {
    double start = seconds();
    uint32_t status = VRQ_Crypto_Initialize();
    size_t i;

    if (status != 0) return failed("power-up tests", status);
    print_time("first call", seconds() - start, ", all tests passed; one by one:");
    for (i = 0; i < sizeof kChecks / sizeof kChecks[0]; ++i) {
        start = seconds();
        status = kChecks[i].run();
        if (status != 0) return failed(kChecks[i].name, status);
        print_time(kChecks[i].name, seconds() - start, "");
    }
    return 0;
}
