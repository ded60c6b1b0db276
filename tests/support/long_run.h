// Loops that show a slow leak only after a long time. TAVIX_LONG_TESTS=1 in the environment asks for them.
#pragma once

#include "base/windows_api.h"

inline int RunsOf(int usual, int inALongRun) {
    return GetEnvironmentVariableW(L"TAVIX_LONG_TESTS", nullptr, 0) != 0 ? inALongRun : usual;
}
