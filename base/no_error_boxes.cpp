#include "base/no_error_boxes.h"

// kernel32.dll is in every process, so that nothing needs to be loaded.
NoErrorBoxes::NoErrorBoxes() noexcept
    : setForThread_(reinterpret_cast<SetThreadErrorModeFunction>(
          GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "SetThreadErrorMode"))),
      before_(SetMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX)) {}

NoErrorBoxes::~NoErrorBoxes() {
    SetMode(before_);
}

// Returns the mode until now.
DWORD NoErrorBoxes::SetMode(DWORD mode) const noexcept {
    DWORD before = 0;
    if (setForThread_ == nullptr) return SetErrorMode(mode);
    setForThread_(mode, &before);
    return before;
}
