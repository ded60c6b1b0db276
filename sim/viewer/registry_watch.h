// Notices changes below a registry key. Wine does not broadcast that device nodes came or went; their keys
// tell.
#pragma once

#include <string>

#include "base/win32_handle.h"

class RegistryWatch {
  public:
    // A key below HKEY_LOCAL_MACHINE; it may be missing still.
    explicit RegistryWatch(std::wstring path);

    // Signalled by the next change after Arm.
    HANDLE event() const { return changed_.get(); }
    // Waits for the next change; opens the key when it is there by now. What changes in between is noticed
    // too.
    void Arm();
    bool IsArmed() const { return static_cast<bool>(key_); }

  private:
    std::wstring path_;
    RegistryKey key_;
    KernelHandle changed_;
};
