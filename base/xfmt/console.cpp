// The front ends that print to the console streams.
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cwchar>

#include "base/xfmt.h"

namespace {

constexpr int32_t kConsoleChars = 4000;

int32_t PrintTo(FILE* stream, const wchar_t* format, va_list args) {
    wchar_t text[kConsoleChars];
    const int32_t count = xfmt_v(text, kConsoleChars, format, args);
    // Wide output is converted to the code page of the runtime's locale, which is plain "C" at first.
    _wsetlocale(LC_ALL, L"");
    fputws(text, stream);
    fflush(stream);
    return count;
}

}  // namespace

int32_t xfmt_console_buffer_size() noexcept {
    return kConsoleChars;
}

int32_t xfmt_print_stdout(const wchar_t* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const int32_t count = PrintTo(stdout, format, args);
    va_end(args);
    return count;
}

int32_t xfmt_print_stderr(const wchar_t* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const int32_t count = PrintTo(stderr, format, args);
    va_end(args);
    return count;
}
