#include "tests/support/temporary_file.h"

#include <gtest/gtest.h>

#include "base/win32_handle.h"

TemporaryFile::TemporaryFile(const std::vector<uint8_t>& content) {
    wchar_t folder[MAX_PATH] = L"";
    wchar_t name[MAX_PATH] = L"";
    GetTempPathW(MAX_PATH, folder);
    EXPECT_NE(GetTempFileNameW(folder, L"tvx", 0, name), 0u);
    path_ = name;
    WriteWholeFile(path_, content);
}

TemporaryFile::~TemporaryFile() {
    DeleteFileW(path_.c_str());
}

void WriteWholeFile(const std::wstring& path, const std::vector<uint8_t>& content) {
    const FileHandle file(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    EXPECT_TRUE(file &&
                WriteFile(file.get(), content.data(), static_cast<DWORD>(content.size()), &written, nullptr));
    EXPECT_EQ(written, content.size());
}

std::vector<uint8_t> ReadWholeFile(const std::wstring& path) {
    const FileHandle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD done = 0;
    std::vector<uint8_t> content(file ? GetFileSize(file.get(), nullptr) : 0);
    EXPECT_TRUE(file &&
                ReadFile(file.get(), content.data(), static_cast<DWORD>(content.size()), &done, nullptr));
    EXPECT_EQ(done, content.size());
    return content;
}
