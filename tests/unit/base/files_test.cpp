#include "base/files.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/support/guarded_buffer.h"
#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"

namespace {

std::wstring SystemDirectory() {
    wchar_t path[MAX_PATH] = L"";
    GetSystemDirectoryW(path, MAX_PATH);
    return path;
}

// A temporary file of the given bytes, deleted at the end.
class FilesTest : public testing::Test {
  protected:
    FilesTest() {
        wchar_t name[MAX_PATH];
        MakeTempFileName(L"fil", nullptr, name, MAX_PATH);
        path_ = name;
    }
    ~FilesTest() override { DeleteFileW(path_.c_str()); }

    void Write(const std::string& bytes) {
        const KernelHandle file = OpenFileRw(path_.c_str(), true);
        ASSERT_EQ(WriteFileAt(file.get(), 0, static_cast<uint32_t>(bytes.size()), bytes.data()),
                  static_cast<int64_t>(bytes.size()));
    }

    std::wstring path_;
    const std::wstring missing_ = L"C:\\no such folder\\no such file";
};

TEST_F(FilesTest, OnlyAFileThatIsThereIsOne) {
    EXPECT_TRUE(IsFile(path_.c_str()));
    EXPECT_FALSE(IsFile(missing_.c_str()));
    EXPECT_FALSE(IsFile(SystemDirectory().c_str()));
    EXPECT_FALSE(IsFile(L""));
}

TEST_F(FilesTest, MakeTempFileNameMakesAnEmptyFileWithThePrefix) {
    wchar_t folder[MAX_PATH];
    GetTempPathW(MAX_PATH, folder);
    EXPECT_EQ(path_.rfind(std::wstring(folder) + L"fil", 0), 0u);
    const KernelHandle file = OpenFileRw(path_.c_str(), false);
    ASSERT_TRUE(file);
    EXPECT_EQ(GetFileSizeOf(file.get()), 0);
}

TEST_F(FilesTest, MakeTempFileNameAsksForAUniqueName) {
    UINT unique = 99;
    REPLACE_CALL(temp, GetTempFileNameW, [&](LPCWSTR, LPCWSTR, UINT number, LPWSTR name) {
        unique = number;
        wcscpy(name, L"T:\\name.tmp");
        return UINT{1};
    });
    for (int32_t chars = 0; chars <= 13; ++chars) {
        GuardedBuffer<wchar_t> buffer(static_cast<size_t>(chars));
        EXPECT_TRUE(MakeTempFileName(L"x", L"ignored", buffer.data(), chars));
        EXPECT_EQ(unique, 0u);
        if (chars > 0) {
            EXPECT_EQ(std::wstring(buffer.data()), std::wstring(L"T:\\name.tmp").substr(0, chars - 1u));
        }
    }
}

TEST_F(FilesTest, MakeTempFileNameAsksInTheTemporaryFolder) {
    DWORD folderChars = 0;
    std::wstring folderGiven;
    std::wstring prefixGiven;
    REPLACE_CALL(path, GetTempPathW, [&](DWORD chars, LPWSTR folder) {
        folderChars = chars;
        wcscpy(folder, L"T:\\folder\\");
        return DWORD{10};
    });
    REPLACE_CALL(temp, GetTempFileNameW, [&](LPCWSTR folder, LPCWSTR prefix, UINT, LPWSTR) {
        folderGiven = folder;
        prefixGiven = prefix;
        return UINT{0};
    });
    wchar_t name[10];
    MakeTempFileName(L"abc", nullptr, name, 10);
    EXPECT_EQ(folderChars, 260u);
    EXPECT_EQ(folderGiven, L"T:\\folder\\");
    EXPECT_EQ(prefixGiven, L"abc");
}

TEST_F(FilesTest, MakeTempFileNameIsTrueWithAnEmptyNameWhenNoFileCanBeMade) {
    REPLACE_CALL(temp, GetTempFileNameW, [](LPCWSTR, LPCWSTR, UINT, LPWSTR name) {
        name[0] = L'?';
        return UINT{0};
    });
    wchar_t name[10] = L"before";
    EXPECT_TRUE(MakeTempFileName(L"x", nullptr, name, 10));
    EXPECT_STREQ(name, L"");
}

TEST(GetPackageFolder, IsQrvTavixInTheSystemDirectory) {
    wchar_t folder[MAX_PATH];
    EXPECT_EQ(GetPackageFolder(folder, MAX_PATH), folder);
    EXPECT_EQ(folder, SystemDirectory() + L"\\QrvTavix");
}

TEST(GetPackageFolder, IsCutToEveryCapacity) {
    const std::wstring whole = SystemDirectory() + L"\\QrvTavix";
    for (int32_t chars = 1; chars <= static_cast<int32_t>(whole.size()) + 2; ++chars) {
        GuardedBuffer<wchar_t> folder(static_cast<size_t>(chars));
        EXPECT_EQ(GetPackageFolder(folder.data(), chars), folder.data());
        EXPECT_EQ(std::wstring(folder.data()), whole.substr(0, static_cast<size_t>(chars) - 1));
    }
}

TEST(GetPackageFolder, IsNullWithoutCapacity) {
    wchar_t untouched[] = L"x";
    EXPECT_EQ(GetPackageFolder(untouched, 0), nullptr);
    EXPECT_EQ(GetPackageFolder(untouched, -1), nullptr);
    EXPECT_STREQ(untouched, L"x");
}

TEST(GetPackageFolder, IsNullWithoutASystemDirectory) {
    REPLACE_CALL(directory, GetSystemDirectoryW, [](LPWSTR, UINT) { return UINT{0}; });
    wchar_t folder[MAX_PATH] = L"x";
    EXPECT_EQ(GetPackageFolder(folder, MAX_PATH), nullptr);
    EXPECT_STREQ(folder, L"");
}

struct TimeRow {
    SYSTEMTIME written;
    int64_t uemsec;
};

TEST_F(FilesTest, GetFileWriteTimeUemsecCountsMillisecondsSince1970) {
    const TimeRow rows[] = {
        {{1970, 1, 0, 1, 0, 0, 0, 0}, 0},
        {{1970, 1, 0, 1, 0, 0, 1, 5}, 1005},
        {{1969, 12, 0, 31, 23, 59, 59, 999}, -1},
        {{2000, 2, 0, 29, 12, 30, 15, 250}, 951827415250},
    };
    for (const TimeRow& row : rows) {
        FILETIME time;
        SystemTimeToFileTime(&row.written, &time);
        {
            const KernelHandle file = OpenFileRw(path_.c_str(), true);
            ASSERT_TRUE(SetFileTime(file.get(), nullptr, nullptr, &time));
        }
        EXPECT_EQ(GetFileWriteTimeUemsec(path_.c_str()), row.uemsec);
    }
}

TEST_F(FilesTest, GetFileWriteTimeUemsecDropsPartsOfAMillisecond) {
    REPLACE_CALL(time, GetFileTime, [](HANDLE, LPFILETIME, LPFILETIME, LPFILETIME written) {
        const uint64_t units = (11644473600000 + 1) * 10000 + 9999;
        *written = {static_cast<DWORD>(units), static_cast<DWORD>(units >> 32)};
        return TRUE;
    });
    EXPECT_EQ(GetFileWriteTimeUemsec(path_.c_str()), 1);
}

TEST_F(FilesTest, GetFileWriteTimeUemsecOfAMissingFileIsZero) {
    EXPECT_EQ(GetFileWriteTimeUemsec(missing_.c_str()), 0);
}

TEST_F(FilesTest, GetFileWriteTimeUemsecIsZeroWhenTheTimeCannotBeRead) {
    REPLACE_CALL(time, GetFileTime, [](HANDLE, LPFILETIME, LPFILETIME, LPFILETIME) { return FALSE; });
    EXPECT_EQ(GetFileWriteTimeUemsec(path_.c_str()), 0);
}

TEST_F(FilesTest, GetFileWriteTimeUemsecReadsAFileThatIsBeingWritten) {
    const KernelHandle writer = OpenFileRw(path_.c_str(), true);
    EXPECT_GT(GetFileWriteTimeUemsec(path_.c_str()), 0);
}

TEST_F(FilesTest, OpenFileRwAsksForWhatTheFlagSays) {
    DWORD access = 0;
    DWORD share = 0;
    DWORD creation = 0;
    REPLACE_CALL(create, CreateFileW,
                 [&](LPCWSTR, DWORD a, DWORD s, LPSECURITY_ATTRIBUTES, DWORD c, DWORD, HANDLE) {
                     access = a;
                     share = s;
                     creation = c;
                     return INVALID_HANDLE_VALUE;
                 });
    EXPECT_EQ(OpenFileRw(path_.c_str(), false).get(), nullptr);
    EXPECT_EQ(access, GENERIC_READ);
    EXPECT_EQ(OpenFileRw(path_.c_str(), true).get(), nullptr);
    EXPECT_EQ(access, GENERIC_READ | GENERIC_WRITE);
    EXPECT_EQ(share, DWORD{FILE_SHARE_READ});
    EXPECT_EQ(creation, DWORD{OPEN_EXISTING});
}

TEST_F(FilesTest, OpenFileRwOfAMissingFileIsNull) {
    EXPECT_EQ(OpenFileRw(missing_.c_str(), false).get(), nullptr);
}

TEST_F(FilesTest, AReadOnlyFileCannotBeWritten) {
    const KernelHandle file = OpenFileRw(path_.c_str(), false);
    EXPECT_EQ(WriteFileAt(file.get(), 0, 1, "x"), -1);
}

TEST_F(FilesTest, WritesAndReadsAtOffsets) {
    Write("0123456789");
    const KernelHandle file = OpenFileRw(path_.c_str(), true);
    EXPECT_EQ(GetFileSizeOf(file.get()), 10);
    EXPECT_EQ(WriteFileAt(file.get(), 4, 2, "xy"), 2);
    char bytes[5] = "";
    EXPECT_EQ(ReadFileAt(file.get(), 3, 4, bytes), 4);
    EXPECT_STREQ(bytes, "3xy6");
}

TEST_F(FilesTest, ReadingOverTheEndGivesWhatIsThere) {
    Write("abc");
    const KernelHandle file = OpenFileRw(path_.c_str(), false);
    char bytes[10] = "";
    EXPECT_EQ(ReadFileAt(file.get(), 1, 9, bytes), 2);
    EXPECT_STREQ(bytes, "bc");
    EXPECT_EQ(ReadFileAt(file.get(), 3, 9, bytes), 0);
    EXPECT_EQ(ReadFileAt(file.get(), 300, 9, bytes), 0);
}

TEST_F(FilesTest, ANullHandleANegativeOffsetAndAFailedTransferGiveMinusOne) {
    char byte = 0;
    EXPECT_EQ(ReadFileAt(nullptr, 0, 1, &byte), -1);
    EXPECT_EQ(WriteFileAt(nullptr, 0, 1, &byte), -1);
    const KernelHandle file = OpenFileRw(path_.c_str(), true);
    EXPECT_EQ(ReadFileAt(file.get(), -1, 1, &byte), -1);
    EXPECT_EQ(WriteFileAt(file.get(), -1, 1, &byte), -1);
    REPLACE_CALL(read, ReadFile, [](HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED) { return FALSE; });
    EXPECT_EQ(ReadFileAt(file.get(), 0, 1, &byte), -1);
    REPLACE_CALL(write, WriteFile, [](HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED) { return FALSE; });
    EXPECT_EQ(WriteFileAt(file.get(), 0, 1, &byte), -1);
}

TEST_F(FilesTest, CloseFileClosesOnce) {
    const LeakGuard guard;
    EXPECT_TRUE(CloseFile(OpenFileRw(path_.c_str(), false)));
    REPLACE_CALL(close, CloseHandle, [](HANDLE) { return TRUE; });
    REPLACE_CALL(size, GetFileSizeEx, [](HANDLE, LARGE_INTEGER*) { return TRUE; });
    EXPECT_FALSE(CloseFile(KernelHandle()));
    EXPECT_EQ(GetFileSizeOf(nullptr), -1);
    EXPECT_EQ(close.calls() + size.calls(), 0) << "the platform gets no empty handle";
}

}  // namespace
