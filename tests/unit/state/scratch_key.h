// A registry key of this process alone, gone with the object.
#pragma once

#include <string>

#include "base/win32_handle.h"

class ScratchKey {
  public:
    ScratchKey() : path_(L"Software\\TavixTest\\" + std::to_wstring(GetCurrentProcessId())) {
        RegCreateKeyW(HKEY_CURRENT_USER, path_.c_str(), key_.put());
    }
    ~ScratchKey() {
        key_.reset();
        RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
        RegDeleteKeyW(HKEY_CURRENT_USER, path_.c_str());
    }
    ScratchKey(const ScratchKey&) = delete;
    ScratchKey& operator=(const ScratchKey&) = delete;

    HKEY get() const { return key_.get(); }
    // Below HKEY_CURRENT_USER.
    const std::wstring& path() const { return path_; }

    void Store(const wchar_t* name, DWORD type, const void* data, size_t dataBytes) const {
        RegSetValueExW(get(), name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(dataBytes));
    }

  private:
    std::wstring path_;
    RegistryKey key_;
};
