// Fatal assertions: programming errors of a caller that stop the process in every build type, with
// a fixed text and source name.
#pragma once

// The platform's assertion facility. <assert.h> hides it when NDEBUG is defined.
extern "C" [[noreturn]] void __assert_fail(const char* assertion, const char* file,
                                           unsigned int line, const char* function) noexcept;

namespace vrq {

inline void require(bool holds, const char* text, const char* source,
                    unsigned line = __builtin_LINE(), const char* function = __builtin_FUNCTION()) {
    if (!holds) [[unlikely]]
        __assert_fail(text, source, line, function);
}

} // namespace vrq
