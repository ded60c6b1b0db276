// Texts of the command line: UTF-8 outside, UTF-16 inside.
#pragma once

#include <string>
#include <string_view>

#include "base/windows_api.h"

std::string Narrow(std::wstring_view text);
std::wstring Wide(std::string_view text);

// printf to standard output, flushed at once so that a follower sees it.
[[gnu::format(gnu_printf, 1, 2)]] void Print(const char* format, ...);

// Names what failed with its Windows error, on standard error.
// One more line behind the error, for what a person can do about it.
void PrintHint(const char* text);
void PrintError(DWORD error);
