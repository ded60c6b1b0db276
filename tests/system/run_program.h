// Runs a console program as a shell does.
#pragma once

#include <string>

#include "base/windows_api.h"

struct RunResult {
    DWORD exitCode = 0xDEAD;
    std::string output;
    std::string errors;
};

// Waits at most 30 seconds.
RunResult RunProgram(const std::wstring& program, const std::wstring& arguments);
