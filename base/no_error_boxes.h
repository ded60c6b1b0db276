// Keeps the system from showing message boxes of its own.
#pragma once

#include "base/windows_api.h"

// While it lives, a damaged library, a missing import or an empty drive is reported by the failing call
// alone; otherwise the system may show a box first and wait for an answer. Applies to this thread; versions
// before 6.1 can only set it for the whole process.
class NoErrorBoxes {
  public:
    NoErrorBoxes() noexcept;
    ~NoErrorBoxes();
    NoErrorBoxes(const NoErrorBoxes&) = delete;
    NoErrorBoxes& operator=(const NoErrorBoxes&) = delete;

  private:
    using SetThreadErrorModeFunction = BOOL(WINAPI*)(DWORD, DWORD*);

    DWORD SetMode(DWORD mode) const noexcept;

    SetThreadErrorModeFunction setForThread_;  // null on old versions
    DWORD before_;
};
