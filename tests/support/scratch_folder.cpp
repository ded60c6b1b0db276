#include "tests/support/scratch_folder.h"

#include <gtest/gtest.h>

#include "base/windows_api.h"

namespace {

int g_made = 0;

std::vector<std::wstring> EntriesOf(const std::wstring& folder) {
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return names;
    do {
        const std::wstring name = found.cFileName;
        if (name != L"." && name != L"..") names.push_back(name);
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return names;
}

bool DeleteTree(const std::wstring& folder) {
    for (const std::wstring& name : EntriesOf(folder)) {
        const std::wstring path = folder + L"\\" + name;
        SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        if (!DeleteFileW(path.c_str())) DeleteTree(path);
    }
    SetFileAttributesW(folder.c_str(), FILE_ATTRIBUTE_NORMAL);
    return RemoveDirectoryW(folder.c_str()) != FALSE;
}

}  // namespace

ScratchFolder::ScratchFolder(const std::wstring& name) {
    wchar_t parent[MAX_PATH] = L"";
    GetTempPathW(MAX_PATH, parent);
    path_ = parent + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++g_made) + name;
    EXPECT_TRUE(CreateDirectoryW(path_.c_str(), nullptr)) << "error " << GetLastError();
}

ScratchFolder::~ScratchFolder() {
    EXPECT_TRUE(DeleteTree(path_)) << "error " << GetLastError();
}

std::vector<std::wstring> ScratchFolder::Entries() const {
    return EntriesOf(path_);
}
