#include "state/usberr_log.h"

#include <gtest/gtest.h>

#include <string>

#include "base/windows_api.h"

#include <setupapi.h>
#include <shlobj.h>

#include "base/xfmt.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/heap_texts.h"
#include "tests/support/import_redirect.h"

namespace {

// ---- path ----

struct PathRow {
    const char* name;
    const wchar_t* instanceId;
    const wchar_t* expected;

    friend void PrintTo(const PathRow& row, std::ostream* out) { *out << row.name; }
};

class UsberrRelativePathTest : public testing::TestWithParam<PathRow> {};

TEST_P(UsberrRelativePathTest, FormsThePath) {
    GuardedBuffer<wchar_t> path(kUsberrPathChars);
    EXPECT_EQ(UsberrRelativePath(GetParam().instanceId, path.AsArray<kUsberrPathChars>()), 25);
    EXPECT_STREQ(path.data(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UsberrRelativePathTest,
    testing::Values(PathRow{"Usual", L"USB\\VID_1234&PID_5678\\SN01",
                            L"System32\\QrvTavix\\usberr\\usberr_USB#VID_1234&PID_5678#SN01.log"},
                    PathRow{"ManyBackslashes", L"\\A\\\\B\\",
                            L"System32\\QrvTavix\\usberr\\usberr_#A##B#.log"},
                    PathRow{"NoBackslash", L"USB", L"System32\\QrvTavix\\usberr\\usberr_USB.log"},
                    PathRow{"Empty", L"", L"System32\\QrvTavix\\usberr\\usberr_.log"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(UsberrRelativePath, AnOverlongIdIsCut) {
    GuardedBuffer<wchar_t> path(kUsberrPathChars);
    UsberrRelativePath(std::wstring(300, L'x').c_str(), path.AsArray<kUsberrPathChars>());
    EXPECT_EQ(wcslen(path.data()), 259u);
}

// Of a device whose instance ID is all that is known.
bool LogPath(std::wstring& text) {
    REPLACE_CALL(id, SetupDiGetDeviceInstanceIdW,
                 [](HDEVINFO, SP_DEVINFO_DATA*, WCHAR* buffer, DWORD chars, DWORD*) {
                     return wcscpy_s(buffer, chars, L"USB\\V\\S") == 0 ? TRUE : FALSE;
                 });
    SP_DEVINFO_DATA device = {};
    GuardedBuffer<wchar_t> path(kUsberrPathChars);
    const bool told = UsberrLogPath(nullptr, &device, path.AsArray<kUsberrPathChars>());
    text = path.data();
    return told;
}

TEST(UsberrLogPath, LiesBelowTheWindowsDirectory) {
    REPLACE_CALL(directory, GetWindowsDirectoryW, [](LPWSTR buffer, UINT) {
        wcscpy(buffer, L"D:\\Win");
        return UINT{6};
    });
    std::wstring path;
    EXPECT_TRUE(LogPath(path));
    EXPECT_EQ(path, L"D:\\Win\\System32\\QrvTavix\\usberr\\usberr_USB#V#S.log");
}

TEST(UsberrLogPath, CannotBeToldWithoutAWindowsDirectoryThatFits) {
    for (const UINT answer : {0u, 260u, 300u}) {
        REPLACE_CALL(directory, GetWindowsDirectoryW, [=](LPWSTR, UINT) { return answer; });
        std::wstring path = L"left over";
        EXPECT_FALSE(LogPath(path)) << answer;
        EXPECT_EQ(path, L"") << answer;
    }
}

TEST(UsberrLogPath, OfALongWindowsDirectoryIsCut) {
    REPLACE_CALL(directory, GetWindowsDirectoryW, [](LPWSTR buffer, UINT) {
        wcscpy(buffer, std::wstring(259, L'w').c_str());
        return UINT{259};
    });
    std::wstring path;
    EXPECT_TRUE(LogPath(path));
    EXPECT_EQ(path, std::wstring(259, L'w'));
}

// ---- files ----

class UsberrFileTest : public testing::Test {
  protected:
    UsberrFileTest() {
        wchar_t folder[MAX_PATH];
        GetTempPathW(MAX_PATH, folder);
        GetTempFileNameW(folder, L"usb", 0, path_);
    }
    ~UsberrFileTest() override { DeleteFileW(path_); }

    void Write(const std::string& bytes) {
        FILE* const file = _wfopen(path_, L"wb");
        ASSERT_NE(file, nullptr);
        ASSERT_EQ(fwrite(bytes.data(), 1, bytes.size(), file), bytes.size());
        fclose(file);
    }
    std::wstring Tail() {
        HeapText text = HeapTextOf(L"left over");
        EXPECT_TRUE(ReadUsberrTail(path_, text));
        return TextOf(text);
    }

    wchar_t path_[MAX_PATH];
};

struct TailRow {
    const char* name;
    std::string bytes;
    std::wstring expected;

    friend void PrintTo(const TailRow& row, std::ostream* out) { *out << row.name; }
};

class UsberrTailTest : public UsberrFileTest, public testing::WithParamInterface<TailRow> {};

TEST_P(UsberrTailTest, Reads) {
    Write(GetParam().bytes);
    EXPECT_EQ(Tail(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UsberrTailTest,
    testing::Values(TailRow{"Empty", "", L""}, TailRow{"OneByte", "x", L"x"},
                    TailRow{"Utf8", "\xC3\xA4\xE2\x82\xAC", L"\u00E4\u20AC"},
                    TailRow{"SurrogatePair", "\xF0\x9F\x94\x8C", L"\xD83D\xDD0C"},
                    TailRow{"EndsAtTheFirstNul", std::string("ab\0cd", 5), L"ab"},
                    TailRow{"Whole63999", std::string(63999, 'a'), std::wstring(63999, L'a')},
                    // 64,000 bytes are read, one character fewer has room.
                    TailRow{"Of64000", std::string(63999, 'a') + "b", std::wstring(63999, L'a')},
                    TailRow{"Last64000Of64001", "X" + std::string(64000, 'a'), std::wstring(63999, L'a')}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(UsberrFileTest, ACutSequenceAtTheTailsStartIsReplacedAndTheRestReads) {
    Write("\xE2\x82\xAC" + std::string(63998, 'a'));  // the tail begins with the sequence's second byte
    const std::wstring tail = Tail();
    EXPECT_EQ(tail.substr(0, 1), L"\xFFFD");
    EXPECT_EQ(tail.substr(tail.size() - 100), std::wstring(100, L'a'));
}

TEST_F(UsberrFileTest, AFullTailIsNotCutWithinASurrogatePair) {
    // 16,000 pairs are 32,000 units; with 32,000 single bytes in front, the 64,000th unit would be half a
    // pair.
    std::string bytes(1, 'a');
    for (int i = 0; i < 15999; ++i)
        bytes += "\xF0\x9F\x94\x8C";
    Write(bytes);
    const std::wstring tail = Tail();
    EXPECT_EQ(tail.size(), 1u + 2 * 15999);
    EXPECT_EQ(tail.back(), L'\xDD0C');
}

TEST_F(UsberrFileTest, OfAHugeFileOnlyTheTailIsRead) {
    const HANDLE file = CreateFileW(path_, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    SetFilePointer(file, 100'000'000, nullptr, FILE_BEGIN);
    DWORD written;
    WriteFile(file, "the end", 7, &written, nullptr);
    CloseHandle(file);
    DWORD bytesRead = 0;
    ReplacedCall<ReadFile> read(
        "ReadFile", [&](HANDLE handle, void* buffer, DWORD bytes, DWORD* done, OVERLAPPED* overlapped) {
            bytesRead += bytes;
            return ReadFile(handle, buffer, bytes, done, overlapped);
        });
    Tail();
    EXPECT_EQ(bytesRead, 64000u);
}

TEST_F(UsberrFileTest, AMissingFileIsAReadFailureAndEmptiesTheText) {
    HeapText text = HeapTextOf(L"left over");
    EXPECT_FALSE(ReadUsberrTail(L"C:\\no such folder\\no such file.log", text));
    EXPECT_TRUE(text.empty());
}

TEST_F(UsberrFileTest, ALogLockedByItsWriterIsAReadFailure) {
    const HANDLE writer = CreateFileW(path_, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    HeapText text;
    EXPECT_FALSE(ReadUsberrTail(path_, text));
    CloseHandle(writer);
}

TEST_F(UsberrFileTest, AFileThatShrinksWhileItIsReadGivesWhatIsLeft) {
    Write(std::string(1000, 'a'));
    ReplacedCall<ReadFile> read("ReadFile",
                                [&](HANDLE handle, void* buffer, DWORD, DWORD* done, OVERLAPPED* overlapped) {
                                    return ReadFile(handle, buffer, 10, done, overlapped);
                                });
    EXPECT_EQ(Tail(), std::wstring(10, L'a'));
}

TEST_F(UsberrFileTest, DeletingReportsTheSystemsError) {
    Write("x");
    EXPECT_EQ(DeleteUsberrLog(path_), DWORD{NO_ERROR});
    EXPECT_EQ(GetFileAttributesW(path_), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(DeleteUsberrLog(path_), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(UsberrFileTest, CopyingOverwrites) {
    Write("new");
    const std::wstring copy = std::wstring(path_) + L".copy";
    for (int times = 0; times < 2; ++times)
        EXPECT_EQ(CopyUsberrLog(path_, copy.c_str()), DWORD{NO_ERROR});
    HeapText text;
    EXPECT_TRUE(ReadUsberrTail(copy.c_str(), text));
    EXPECT_EQ(text.view(), L"new");
    DeleteFileW(copy.c_str());
}

// ---- views and times ----

struct RecentRow {
    const char* name;
    std::wstring tail;
    std::wstring expected;

    friend void PrintTo(const RecentRow& row, std::ostream* out) { *out << row.name; }
};

const std::wstring kSeparator = L"*========================================*";

class UsberrRecentTextTest : public testing::TestWithParam<RecentRow> {};

TEST_P(UsberrRecentTextTest, IsBehindTheLastSeparator) {
    EXPECT_STREQ(UsberrRecentText(GetParam().tail.c_str()), GetParam().expected.c_str());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UsberrRecentTextTest,
    testing::Values(RecentRow{"NoSeparator", L"all of it", L"all of it"}, RecentRow{"Empty", L"", L""},
                    RecentRow{"One", L"old\r\n" + kSeparator + L"\r\nnew\r\n", L"new\r\n"},
                    RecentRow{"Two", kSeparator + L"\r\nold\r\n" + kSeparator + L"\r\nnew", L"new"},
                    RecentRow{"AtTheEnd", L"old\r\n" + kSeparator + L"\r\n", L""},
                    RecentRow{"AtTheVeryEndWithoutALineEnd", L"old\r\n" + kSeparator, L""},
                    RecentRow{"OnlyTheSeparator", kSeparator, L""},
                    RecentRow{"ABlankLineBehindItStays", kSeparator + L"\r\n\r\nnew", L"\r\nnew"},
                    RecentRow{"ACutSeparatorIsNone", kSeparator.substr(1) + L"\r\nall",
                              kSeparator.substr(1) + L"\r\nall"}),
    [](const auto& row) { return std::string(row.param.name); });

struct TimesRow {
    const char* name;
    UsberrTimes times;
    bool recent;

    friend void PrintTo(const TimesRow& row, std::ostream* out) { *out << row.name; }
};

class UsberrTimesTest : public testing::TestWithParam<TimesRow> {};

TEST_P(UsberrTimesTest, DecideBetweenRecentAndPast) {
    EXPECT_EQ(GetParam().times.AreErrorsRecent(), GetParam().recent);
}

INSTANTIATE_TEST_SUITE_P(Rows, UsberrTimesTest,
                         testing::Values(TimesRow{"NoLog", {0, 0}, false},
                                         TimesRow{"NoLogButAnOldStamp", {0, -1}, false},
                                         TimesRow{"NeverStarted", {1, 0}, true},
                                         TimesRow{"WrittenLater", {1001, 1000}, true},
                                         TimesRow{"AtTheSameMillisecond", {1000, 1000}, false},
                                         TimesRow{"StartedLater", {1000, 1001}, false}),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- where a copy goes ----

TEST(UsberrSavePath, IsInTheProfileFolderWithTheTimeInFront) {
    const SYSTEMTIME now = {2026, 3, 1, 16, 14, 25, 1, 999};
    wchar_t path[kUsberrPathChars];
    ASSERT_TRUE(UsberrSavePath(L"C:\\windows\\System32\\QrvTavix\\usberr\\usberr_USB#V#S.log", now, path));
    wchar_t profile[MAX_PATH];
    GetEnvironmentVariableW(L"USERPROFILE", profile, MAX_PATH);
    EXPECT_EQ(std::wstring(path), profile + std::wstring(L"\\20260316_142501-usberr_USB#V#S.log"));
}

TEST(UsberrSavePath, CannotBeToldWithoutAProfileFolder) {
    REPLACE_CALL(folder, SHGetFolderPathW, [](HWND, int, HANDLE, DWORD, LPWSTR) { return E_FAIL; });
    wchar_t path[kUsberrPathChars] = L"left over";
    EXPECT_FALSE(UsberrSavePath(L"C:\\usberr.log", {}, path));
    EXPECT_STREQ(path, L"");
}

}  // namespace
