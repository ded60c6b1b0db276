// The toolchain's thread library counts time with GetTickCount64, which version 5.2 of Windows does not have:
// the module would not load there. This pointer takes the place of that import.
#include "base/windows_api.h"

namespace {

// Milliseconds since the system started, like the original.
ULONGLONG WINAPI CountMilliseconds() {
    LARGE_INTEGER frequency;
    LARGE_INTEGER counter;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&counter);
    const auto perSecond = static_cast<ULONGLONG>(frequency.QuadPart);
    const auto ticks = static_cast<ULONGLONG>(counter.QuadPart);
    return ticks / perSecond * 1000 + ticks % perSecond * 1000 / perSecond;
}

}  // namespace

extern "C" {
// Declared before its definition: the compiler else warns of a global nobody knows.
extern ULONGLONG(WINAPI* const __imp_GetTickCount64)();
ULONGLONG(WINAPI* const __imp_GetTickCount64)() = CountMilliseconds;
}
