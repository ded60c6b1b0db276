#include "base/no_error_boxes.h"

// Every process has kernel32.dll, so nothing needs to be loaded.
NoErrorBoxes::NoErrorBoxes() noexcept
    : setForThread_(reinterpret_cast<SetThreadErrorModeFunction>(
          GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "SetThreadErrorMode"))),
      before_(SetMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX)) {}

NoErrorBoxes::~NoErrorBoxes() {
    SetMode(before_);
}

// Returns the previous mode.
DWORD NoErrorBoxes::SetMode(DWORD mode) const noexcept {
    DWORD before = 0;
    if (setForThread_ == nullptr) return SetErrorMode(mode);
    setForThread_(mode, &before);
    return before;
}
