// Functions that some supported systems lack, looked up by name in a library of the system directory.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

// Our own error code for a function that this system lacks.
inline constexpr DWORD kErrorFunctionMissing = 0xE00000EE;

// Loads the library from the system directory only; null on failure. The library stays loaded: it belongs to
// the system, and must not be freed while this module is being unloaded.
HMODULE LoadSystemLibrary(const wchar_t* fileName) noexcept;

// One function, looked up at its first use. A look-up that failed is repeated at the next use.
template <typename Function>
class SystemFunction {
  public:
    constexpr SystemFunction(const wchar_t* library, const char* name) noexcept
        : library_(library), name_(name) {}

    // Null when the system lacks it; the last error is then kErrorFunctionMissing.
    Function get() noexcept {
        if (address_ == nullptr) {
            const HMODULE library = LoadSystemLibrary(library_);
            if (library != nullptr) address_ = reinterpret_cast<Function>(GetProcAddress(library, name_));
            if (address_ == nullptr) SetLastError(kErrorFunctionMissing);
        }
        return address_;
    }
    // Forgets what was found, for tests.
    void Reset() noexcept { address_ = nullptr; }

  private:
    const wchar_t* library_;
    const char* name_;
    Function address_ = nullptr;
};
