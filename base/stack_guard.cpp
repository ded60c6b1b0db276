// What the compiler's stack protection calls. The toolchain's own version opens a cryptographic provider,
// which must not happen while the module loads.
#include <cstdint>
#include <initializer_list>

#include "base/windows_api.h"

extern "C" {
uintptr_t __stack_chk_guard = 0;

[[noreturn]] void __stack_chk_fail() {
    __builtin_trap();
}
}

namespace {

// Runs before every other constructor of the module. The times and numbers are different in each process and
// each load; the multiplier spreads them over all bits.
[[gnu::constructor(101), gnu::no_stack_protector]] void ChooseStackGuard() {
    FILETIME now;
    LARGE_INTEGER counter;
    GetSystemTimeAsFileTime(&now);
    QueryPerformanceCounter(&counter);
    uintptr_t guard = reinterpret_cast<uintptr_t>(&now);
    for (const uint64_t part :
         {uint64_t{now.dwLowDateTime}, uint64_t{now.dwHighDateTime}, static_cast<uint64_t>(counter.QuadPart),
          uint64_t{GetCurrentProcessId()}, uint64_t{GetCurrentThreadId()}}) {
        guard = (guard ^ part) * 0x9E3779B97F4A7C15;
        guard ^= guard >> 29;
    }
    // Begins with a zero character, so that an overrunning text copy stops before the rest.
    __stack_chk_guard = guard & ~uintptr_t{0xFFFF};
}

}  // namespace
