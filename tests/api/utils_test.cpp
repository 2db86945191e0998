// Hexadecimal text, whole files to and from memory.
#include "harness/output.h"
#include "harness/temp_file.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using test::output_of;
using test::TempFile;

constexpr uint8_t kBytes[] = {0x01, 0xAB, 0xF0};

TEST(Hex, PrintedAndDumpedText) {
    struct Case {
        const uint8_t* bytes;
        int32_t length;
        const char* no_nl;
        const char* plain;
        const char* nl;
        const char* dump;
    };
    constexpr Case cases[] = {
        {kBytes, 3, "01:AB:F0", "01:AB:F0\n", "01:AB:F0\n", "01:AB:F0"},
        {kBytes, 2, "01:AB", "01:AB\n", "01:AB\n", "01:AB"},
        {kBytes, 1, "01", "01\n", "01\n", "01"},
        {kBytes, 0, "", "", "\n", nullptr},
        {kBytes, -1, "", "", "", nullptr},
        {nullptr, 3, "", "", "", nullptr},
        {nullptr, 0, "", "", "\n", nullptr},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.no_nl, output_of([&] { vrq_Print_HEX_No_Nl(c.bytes, c.length); }));
        EXPECT_EQ(c.plain, output_of([&] { vrq_Print_HEX(c.bytes, c.length); }));
        EXPECT_EQ(c.nl, output_of([&] { vrq_Print_HEX_Nl(c.bytes, c.length); }));
        char* text = vrq_Dump_HEX(c.bytes, c.length);
        EXPECT_STREQ(c.dump, text);
        VRQ_Free(text, "f", 1);
    }
}

TEST(FileUtilities, RoundTrip) {
    const TempFile file("a longer text that is overwritten");
    uint8_t* data = nullptr;
    ASSERT_EQ(3, vrq_Binary_To_File(kBytes, 0, 3, file.path()));
    ASSERT_EQ(3, vrq_File_To_Binary(file.path(), &data));
    EXPECT_EQ(0, std::memcmp(kBytes, data, 3));
    VRQ_Free(data, "f", 1);

    ASSERT_EQ(2, vrq_Binary_To_File(kBytes, 1, 2, file.path())) << "the offset leads the count";
    EXPECT_EQ("\xAB\xF0", file.text());
}

TEST(FileUtilities, WritingRefused) {
    const TempFile file("kept");
    EXPECT_EQ(-1, vrq_Binary_To_File(kBytes, 0, 3, nullptr));
    EXPECT_EQ(-1, vrq_Binary_To_File(nullptr, 0, 3, file.path()));
    EXPECT_EQ(-1, vrq_Binary_To_File(kBytes, 0, 0, file.path()));
    EXPECT_EQ(-1, vrq_Binary_To_File(kBytes, 0, INT32_MIN, file.path()));
    EXPECT_EQ(-1, vrq_Binary_To_File(kBytes, 2, 2, file.path()));
    EXPECT_EQ(-1, vrq_Binary_To_File(kBytes, -1, 2, file.path())) << "in front of the bytes";
    EXPECT_EQ(-1, vrq_Binary_To_File(kBytes, INT32_MIN, 3, file.path()));
    EXPECT_EQ(-1, vrq_Binary_To_File(kBytes, 0, 3, "/nonexistent/file"));
    EXPECT_EQ("kept", file.text());
    EXPECT_EQ(0, vrq_Binary_To_File(kBytes, 0, 3, "/dev/full")) << "nothing fits";
}

TEST(FileUtilities, ReadingRefused) {
    auto* const untouched = reinterpret_cast<uint8_t*>(8);
    uint8_t* data = untouched;
    const TempFile file("");
    EXPECT_EQ(-1, vrq_File_To_Binary(nullptr, &data));
    EXPECT_EQ(-1, vrq_File_To_Binary(file.path(), nullptr));
    EXPECT_EQ(-1, vrq_File_To_Binary(file.path(), &data)) << "empty";
    EXPECT_EQ(-1, vrq_File_To_Binary("/nonexistent/file", &data));
    EXPECT_EQ(-1, vrq_File_To_Binary("/", &data)) << "a folder";
    file.resize(INT64_C(1) << 31);
    EXPECT_EQ(-1, vrq_File_To_Binary(file.path(), &data)) << "2 GiB";
    const TempFile pipe = TempFile::fifo();
    EXPECT_EQ(-1, vrq_File_To_Binary(pipe.path(), &data)) << "cannot be measured";
    // A system file reports a page and holds less.
    const char* shorter = "/sys/devices/system/cpu/online";
    if (::access(shorter, R_OK) == 0) {
        EXPECT_EQ(-1, vrq_File_To_Binary(shorter, &data));
    }
    EXPECT_EQ(untouched, data);
}

} // namespace
