#include "sim/simctl/console.h"

#include <cstdarg>
#include <cstdio>

std::string Narrow(std::wstring_view text) {
    const int textChars = static_cast<int>(text.size());
    std::string narrow(static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), textChars, nullptr, 0,
                                                               nullptr, nullptr)),
                       0);
    WideCharToMultiByte(CP_UTF8, 0, text.data(), textChars, narrow.data(), static_cast<int>(narrow.size()),
                        nullptr, nullptr);
    return narrow;
}

std::wstring Wide(std::string_view text) {
    const int textBytes = static_cast<int>(text.size());
    std::wstring wide(
        static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), textBytes, nullptr, 0)), 0);
    MultiByteToWideChar(CP_UTF8, 0, text.data(), textBytes, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

void Print(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vprintf(format, arguments);
    va_end(arguments);
    fflush(stdout);
}

void PrintError(DWORD error) {
    wchar_t text[300];
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                        error, 0, text, 300, nullptr);
    fprintf(stderr, "simctl: error %lu: %s\n", error, Narrow(std::wstring_view(text, length)).c_str());
}

void PrintHint(const char* text) {
    fprintf(stderr, "simctl: %s\n", text);
}
