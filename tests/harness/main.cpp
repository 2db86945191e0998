// Main of the test programs. An operating mode cannot be taken back, so each mode is a process of
// its own: --mode open (the default) runs every suite but those named Proven* and TestMode*, which
// run with --mode proven and --mode test. --mask BITS (programs with the test hooks only) hides
// processor features.
#include "talvern.h"

#ifdef TALVERN_TEST_HOOKS
#include "foundation/test_hooks.h"
#endif

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

namespace {

std::string option(int argc, char** argv, const char* name, const char* otherwise) {
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], name) == 0) return argv[i + 1];
    }
    return otherwise;
}

bool enter(const std::string& mode) {
    if (mode == "proven") return VRQ_Is_Proven() == 1;
    if (mode == "open") return VRQ_Change_Non_Proven_Mode() == 0;
    if (mode == "test") VRQ_Change_Test_Mode();
    return mode == "test";
}

const char* suites(const std::string& mode) {
    if (mode == "proven") return "Proven*";
    if (mode == "test") return "TestMode*";
    return "-Proven*:TestMode*";
}

} // namespace

int main(int argc, char** argv) {
    const std::string mode = option(argc, argv, "--mode", "open");
    if (testing::GTEST_FLAG(filter) == "*") testing::GTEST_FLAG(filter) = suites(mode);
    testing::InitGoogleTest(&argc, argv);
#ifdef TALVERN_TEST_HOOKS
    vrq::testing::mask_features(
        static_cast<vrq::u32>(std::stoul(option(argc, argv, "--mask", "0"), nullptr, 0)));
#endif
    if (!enter(mode)) {
        std::cerr << "unknown or unreachable mode " << mode << "\n";
        return 2;
    }
    const int result = RUN_ALL_TESTS();
    if (testing::UnitTest::GetInstance()->test_to_run_count() == 0) {
        std::cerr << "no test ran\n";
        return 2;
    }
    return result;
}
