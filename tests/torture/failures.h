// How the functions that the DLL calls can fail.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "base/windows_api.h"

// What a failing call returns: a fixed value, with one of the codes as the last error, or the code itself.
enum class FailedResult { kZero, kMinusOne, kCode, kOfMessage };

struct FallibleFunction {
    const char* name;
    FailedResult result;
    std::vector<DWORD> codes;
};

// Null for a function that is not made to fail.
const FallibleFunction* FindFallible(std::string_view name);

// Whether the table says of the function that it cannot fail, or that its failure means nothing to the
// caller.
bool IsKnownInfallible(std::string_view name);

uint64_t ResultOfFailure(const FallibleFunction& function, DWORD code, const uint64_t* arguments);
