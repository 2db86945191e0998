// The checks of the self tests, called one by one in a module that has passed them.
#include "talvern.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

void expect_every_check_passes() {
    const struct {
        const char* name;
        uint32_t (*run)();
    } checks[] = {
        {"integrity", vrq_Verify_DLL},
        {"context", vrq_Context_Check},
        {"version", vrq_Version_Check},
        {"entropy", vrq_Entropy_Check},
        {"drbg", vrq_DRBG_Check},
        {"hmac", vrq_HMAC_Check},
        {"digest", vrq_DIGEST_Check},
        {"ciphers", vrq_Sym_Check},
        {"rsaes", vrq_RSAES_Check},
        {"rsassa", vrq_RSASSA_Check},
        {"kcdsa", vrq_KCDSA_Check},
        {"key drawing", vrq_Sym_Key_Check},
        {"key generation", vrq_Asym_Key_Check},
    };
    for (const auto& check : checks) EXPECT_EQ(0U, check.run()) << check.name;
}

TEST(ProvenSelfTest, EveryCheckPasses) { expect_every_check_passes(); }

TEST(SelfTest, EveryCheckPasses) { expect_every_check_passes(); }

// The entropy check draws into the process-wide generator and leaves it usable.
TEST(SelfTest, GeneratorServesAfterwards) {
    uint8_t first[32];
    uint8_t second[32];
    ASSERT_EQ(0U, vrq_Entropy_Check());
    ASSERT_EQ(0U, VRQ_Rand_Bytes(first, sizeof first));
    ASSERT_EQ(0U, VRQ_Rand_Bytes(second, sizeof second));
    EXPECT_NE(0, memcmp(first, second, sizeof first));
}

} // namespace
