// Status words and their texts.
#include "harness/output.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using test::output_of;

struct Text {
    uint32_t status;
    const char* error_string; // null: no text
    const char* code_output;
};

// Texts under their global first match; GetErrorCode under the library's own names, slips included.
constexpr Text kTexts[] = {
    {0, nullptr, ""},
    {VRQ_STATUS(VRQ_L_DIGEST, VRQ_F_INIT_DIGEST, VRQ_ERR_NULL_INPUT),
     "VRQ_L_DIGEST:VRQ_F_DES_MAC:VRQ_ERR_NULL_INPUT",
     ">> ERROR : VRQ_L_DIGEST VRQ_F_INIT_DIGEST VRQ_ERR_NULL_INPUT"},
    {0x0A0400F0, "VRQ_L_DIGEST:VRQ_F_CBC_MAC:VRQ_ERR_NOT_PROVEN_ALGORITHM",
     ">> ERROR : NON-PROVEN ALGORITM IN PROVEN MODE!! \n"},
    {0x0D0100F1, "VRQ_L_FOUNDATION:VRQ_F_DES_MAC:VRQ_ERR_NOT_CHANGE_NONPROVEN",
     ">> ERROR : NON-PROVEN ALGORITM IN PROVEN MODE!! \n"},
    {0x0B050049, nullptr, ">> ERROR : VRQ_L_DRBG VRQ_F_RAND_BYTES_DRBG VRQ_ERR_NULL_INPUT"},
    {0x1B040000, nullptr, ">> ERROR : VRQ_L_SHA VRQ_F_COMP_SHA1 "},
    {0x1B210059, "VRQ_L_SHA:VRQ_F_FINAL_SHA512:VRQ_ERR_SUB_OPERATION_FAILURE",
     ">> ERROR : VRQ_L_SHA VRQ_F_FINAL_SHA512 VRQ_ERR_SUB_OPERATION_FAILURE"},
    {0x19030003, "VRQ_L_SEED_INTERFACE:VRQ_F_ADD_BIGINT_WORD:VRQ_ERR_BIGINT_MEM_EXPAND_FAILURE",
     ">> ERROR : F_INIT_SEED_KEY VRQ_F_DO_SEED_CBC VRQ_ERR_BIGINT_MEM_EXPAND_FAILURE"},
    {0x20020049, "VRQ_L_DH:VRQ_F_CONTEXT_CHECK:VRQ_ERR_NULL_INPUT",
     ">> ERROR : VRQ_L_ENTROPY VRQ_F_INIT_DH_PARAMS VRQ_ERR_NULL_INPUT"},
    {0x21010067, "VRQ_L_ECDSA:VRQ_F_DES_MAC:VRQ_ERR_CONDITION_TEST_FAIL",
     ">> ERROR : VRQ_F_INIT_ECDSA VRQ_F_INIT_DH VRQ_ERR_CONDITION_TEST_FAIL"},
    {0x1600002B, nullptr, ">> ERROR : VRQ_L_RC4_INTERFACE VRQ_ERR_INVALID_INPUT"},
    {0x15010024, "VRQ_L_RC2_INTERFACE:VRQ_F_DES_MAC:VRQ_ERR_INIT_KEY_FAILURE",
     "VRQ_ERR_INIT_KEY_FAILURE"},
    {0x04230001, nullptr, ">> ERROR : VRQ_L_BIGINT VRQ_ERR_ADD_BIGINT_FAIL"},
    {0x0A010068, nullptr, ">> ERROR : VRQ_L_DIGEST VRQ_F_INIT_DIGEST "},
    {0xFFFFFFFF, nullptr, ">> ERROR : NON-PROVEN ALGORITM IN PROVEN MODE!! \n"},
};

TEST(Status, TextsOfStatusWords) {
    for (const Text& row : kTexts) {
        SCOPED_TRACE(row.status);
        char text[1024] = "untouched";
        EXPECT_EQ(row.error_string == nullptr ? 1U : 0U, VRQ_Get_Error_String(row.status, text));
        EXPECT_STREQ(row.error_string == nullptr ? "untouched" : row.error_string, text);

        int32_t returned = 0;
        EXPECT_EQ(row.code_output, output_of([&] { returned = GetErrorCode(row.status); }));
        char reason[1024];
        const bool named =
            VRQ_Get_Reason_String(row.status, reason) == 0 && (row.status & 0xFF) < 0xF0;
        EXPECT_EQ(named ? static_cast<int32_t>(std::string(reason).size())
                        : static_cast<int32_t>(row.status & 0xFFFF),
                  returned);
    }
}

TEST(Status, PrintedLine) {
    int32_t returned = 0;
    const std::string line = output_of([&] { returned = VRQ_Print_Error_String(0x8A010049); });
    EXPECT_EQ("CRYPTO ERROR (unknown)\n", line);
    EXPECT_EQ(static_cast<int32_t>(line.size()), returned);
    EXPECT_EQ("CRYPTO ERROR (403439705) : "
              "VRQ_L_RSA:VRQ_F_BIGINT_FROM_MONTGOMERY:VRQ_ERR_SUB_OPERATION_FAILURE\n",
              output_of([] { VRQ_Print_Error_String(0x180C0059); }));
}

TEST(Status, ReasonNames) {
    char text[1024] = "untouched";
    EXPECT_EQ(1U, VRQ_Get_Reason_String(VRQ_ERR_NULL_INPUT, nullptr));
    EXPECT_EQ(1U, VRQ_Get_Reason_String(0, text));
    EXPECT_EQ(1U, VRQ_Get_Reason_String(0x68, text));
    EXPECT_STREQ("untouched", text);

    std::set<std::string> names;
    for (uint32_t reason = 1; reason <= 0x67; ++reason) {
        ASSERT_EQ(0U, VRQ_Get_Reason_String(0xFFFF0000U | reason, text));
        names.insert(text);
    }
    EXPECT_EQ(0x67U, names.size());
    EXPECT_EQ(0U, VRQ_Get_Reason_String(0xF0, text));
    EXPECT_STREQ("VRQ_ERR_NOT_PROVEN_ALGORITHM", text);
}

} // namespace
