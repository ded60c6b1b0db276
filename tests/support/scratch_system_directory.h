// A system directory of the test's own for what the product keeps in its package folder, so that a real one
// stays as it is. The test program's calls of GetSystemDirectoryW answer with it.
#pragma once

#include <string>

#include "tests/support/import_redirect.h"

class ScratchSystemDirectory {
  public:
    ScratchSystemDirectory() {
        CreateDirectoryW(path_.c_str(), nullptr);
        CreateDirectoryW(PackageFolder().c_str(), nullptr);
    }
    ~ScratchSystemDirectory() {
        DeleteFileW(CustomLibraryPath().c_str());
        RemoveDirectoryW(PackageFolder().c_str());
        RemoveDirectoryW(path_.c_str());
    }
    ScratchSystemDirectory(const ScratchSystemDirectory&) = delete;
    ScratchSystemDirectory& operator=(const ScratchSystemDirectory&) = delete;

    const std::wstring& path() const { return path_; }
    std::wstring PackageFolder() const { return path_ + L"\\QrvTavix"; }
    std::wstring CustomLibraryPath() const { return PackageFolder() + L"\\tavix_customres.dll"; }

  private:
    static std::wstring MakePath() {
        wchar_t folder[MAX_PATH] = L"";
        GetTempPathW(MAX_PATH, folder);
        return std::wstring(folder) + L"tavix_system_" + std::to_wstring(GetCurrentProcessId());
    }

    std::wstring path_ = MakePath();
    ReplacedCall<GetSystemDirectoryW> redirect_{"GetSystemDirectoryW",
                                                [this](wchar_t* buffer, UINT capacity) -> UINT {
                                                    if (capacity <= path_.size())
                                                        return static_cast<UINT>(path_.size() + 1);
                                                    path_.copy(buffer, path_.size());
                                                    buffer[path_.size()] = L'\0';
                                                    return static_cast<UINT>(path_.size());
                                                }};
};
