// The code of a call that has just failed.
#pragma once

#include "base/windows_api.h"

// GetLastError, but never 0: a failure without a reason must not pass for a success.
inline DWORD FailureCode() noexcept {
    const DWORD error = GetLastError();
    return error != ERROR_SUCCESS ? error : ERROR_GEN_FAILURE;
}
