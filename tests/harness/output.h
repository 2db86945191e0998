// What a call prints, and what a fatal assertion prints.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace test {

// Standard output of a call.
template <class Call>
std::string output_of(Call call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

// For EXPECT_DEATH: the message of an assertion with this source name and text.
inline std::string assertion(std::string_view source, std::string_view text) {
    std::string pattern;
    for (const char c : std::string(source) + ":\v: Assertion `" + std::string(text) + "' failed") {
        if (c == '\v')
            pattern += "[0-9]+: .*";
        else if (std::string_view("().*+?[]|").find(c) != std::string_view::npos)
            pattern += {'[', c, ']'};
        else
            pattern += c;
    }
    return pattern;
}

} // namespace test
