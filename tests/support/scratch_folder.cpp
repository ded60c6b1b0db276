#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>

#include "base/windows_api.h"

namespace {

int g_made = 0;

}  // namespace

ScratchFolder::ScratchFolder(const std::wstring& name) {
    wchar_t parent[MAX_PATH] = L"";
    GetTempPathW(MAX_PATH, parent);
    path_ = parent + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++g_made) + name;
    EXPECT_TRUE(CreateDirectoryW(path_.c_str(), nullptr)) << "error " << GetLastError();
}

ScratchFolder::~ScratchFolder() {
    for (const std::wstring& name : Entries()) {
        SetFileAttributesW(File(name).c_str(), FILE_ATTRIBUTE_NORMAL);
        if (!DeleteFileW(File(name).c_str())) RemoveDirectoryW(File(name).c_str());
    }
    SetFileAttributesW(path_.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_TRUE(RemoveDirectoryW(path_.c_str())) << "error " << GetLastError();
}

std::vector<std::wstring> ScratchFolder::Entries() const {
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW(File(L"*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return names;
    do {
        const std::wstring name = found.cFileName;
        if (name != L"." && name != L"..") names.push_back(name);
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return names;
}
