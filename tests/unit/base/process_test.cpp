#include "base/process.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/guarded_buffer.h"
#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"

namespace {

std::wstring CommandThatExitsWith(const std::wstring& code) {
    return L"cmd.exe /c exit " + code;
}

struct ExitRow {
    const char* name;
    const wchar_t* code;
    DWORD result;
};
void PrintTo(const ExitRow& row, std::ostream* out) {
    *out << row.name;
}

class RunProcessExit : public testing::TestWithParam<ExitRow> {};

TEST_P(RunProcessExit, IsReturnedAfterTheWait) {
    EXPECT_EQ(RunProcess(CommandThatExitsWith(GetParam().code).c_str(), false, true), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Codes, RunProcessExit,
                         testing::Values(ExitRow{"Success", L"0", 0}, ExitRow{"One", L"1", 1},
                                         ExitRow{"StillActive", L"259", 259},
                                         ExitRow{"Negative", L"-1", 0xFFFFFFFF},
                                         ExitRow{"Large", L"1073741824", 0x40000000},
                                         ExitRow{"Crash", L"-1073741819", 0xC0000005}),
                         [](const auto& row) { return std::string(row.param.name); });

// What reaches CreateProcessW; nothing is started.
class RunProcessCall : public testing::Test {
  protected:
    std::wstring commandLine;
    DWORD flags = 0xFFFFFFFF;
    STARTUPINFOW startup = {};
    bool inherited = true;
    bool applicationNamed = true;
    ReplacedCall<CreateProcessW> create_{
        "CreateProcessW",
        [this](LPCWSTR application, LPWSTR line, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL inherit,
               DWORD creationFlags, LPVOID, LPCWSTR, LPSTARTUPINFOW info, LPPROCESS_INFORMATION) {
            applicationNamed = application != nullptr;
            commandLine = line;
            line[0] = L'!';  // the system may write into it
            inherited = inherit != FALSE;
            flags = creationFlags;
            startup = *info;
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        }};
};

TEST_F(RunProcessCall, HiddenMeansNoWindowAndNoConsole) {
    EXPECT_EQ(RunProcess(L"x", false, true), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(flags, DWORD{CREATE_NO_WINDOW});
    EXPECT_EQ(startup.cb, sizeof startup);
    EXPECT_EQ(startup.dwFlags, DWORD{STARTF_USESHOWWINDOW});
    EXPECT_EQ(startup.wShowWindow, 0);
    EXPECT_FALSE(inherited);
    EXPECT_FALSE(applicationNamed);
}

TEST_F(RunProcessCall, ShownMeansANormalWindow) {
    EXPECT_EQ(RunProcess(L"x", true, false), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(flags, 0u);
    EXPECT_EQ(startup.dwFlags, DWORD{STARTF_USESHOWWINDOW});
    EXPECT_EQ(startup.wShowWindow, 5);
}

TEST_F(RunProcessCall, ACommandLineIsCutAt259Characters) {
    const std::wstring line(300, L'a');
    for (const size_t length : {258u, 259u, 260u, 300u}) {
        RunProcess(line.substr(0, length).c_str(), false, false);
        EXPECT_EQ(commandLine, line.substr(0, std::min<size_t>(length, 259)));
    }
}

TEST(RunProcess, OnlyTheFirst259CharactersRun) {
    // The exit code's last digits stand behind the cut: 12 is what remains of 12345.
    std::wstring line = L"cmd.exe /c exit ";
    line.insert(line.size(), 257 - line.size(), L' ');
    line += L"12345";
    line += std::wstring(300 - line.size(), L' ');
    ASSERT_EQ(line.size(), 300u);
    EXPECT_EQ(RunProcess(line.c_str(), false, true), 12u);
}

TEST(RunProcess, AProgramThatIsNotThereGivesTheError) {
    EXPECT_EQ(RunProcess(L"no-such-program-anywhere.exe", false, true), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST(RunProcess, WithoutWaitingTheResultIsZero) {
    REPLACE_CALL(wait, WaitForSingleObject, [](HANDLE, DWORD) { return DWORD{WAIT_FAILED}; });
    EXPECT_EQ(RunProcess(CommandThatExitsWith(L"7").c_str(), false, false), 0u);
    EXPECT_EQ(wait.calls(), 0);
}

TEST(RunProcess, WithoutWaitingBothHandlesAreClosedToo) {
    int closed = 0;
    REPLACE_CALL(close, CloseHandle, [&](HANDLE handle) {
        ++closed;
        return CloseHandle(handle);
    });
    EXPECT_EQ(RunProcess(CommandThatExitsWith(L"7").c_str(), false, false), 0u);
    EXPECT_EQ(closed, 2);
}

TEST(RunProcess, WaitsWithoutLimit) {
    DWORD limit = 0;
    REPLACE_CALL(wait, WaitForSingleObject, [&](HANDLE process, DWORD ms) {
        limit = ms;
        return WaitForSingleObject(process, ms);
    });
    EXPECT_EQ(RunProcess(CommandThatExitsWith(L"7").c_str(), false, true), 7u);
    EXPECT_EQ(limit, DWORD{INFINITE});
}

TEST(RunProcess, AFailedWaitOrReadGivesTheErrorAndClosesBothHandles) {
    CallFaults faults;
    WATCH_CALL(faults, CreateProcessW, FALSE, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, WaitForSingleObject, WAIT_FAILED, ERROR_ACCESS_DENIED);
    WATCH_CALL(faults, GetExitCodeProcess, FALSE, ERROR_INVALID_HANDLE);
    const std::wstring line = CommandThatExitsWith(L"7");
    const DWORD errors[] = {7,
                            ERROR_NOT_ENOUGH_MEMORY,
                            ERROR_ACCESS_DENIED,
                            ERROR_INVALID_HANDLE,
                            ERROR_NOT_ENOUGH_MEMORY,
                            ERROR_ACCESS_DENIED,
                            ERROR_INVALID_HANDLE};
    const auto failEachCall = [&] {
        int run = 0;
        const int calls = ForEachFailingCall(faults, [&] {
            DWORD result = 0;
            faults.During([&] { result = RunProcess(line.c_str(), false, true); });
            EXPECT_EQ(result, errors[run++]);
        });
        EXPECT_EQ(calls, 3);
    };
    ExpectNoLeaks(failEachCall, 2);
}

// Answers for a system of three volumes.
DWORD WINAPI FakeQueryDosDevice(LPCWSTR name, LPWSTR target, DWORD chars) {
    const struct {
        const wchar_t* drive;
        const wchar_t* target;
    } drives[] = {
        {L"c:", L"\\Device\\HarddiskVolume2"},      {L"d:", L"\\Device\\HarddiskVolume12"},
        {L"e:", L"\\device\\HARDDISKVOLUME3"},      {L"f:", L"\\Device\\HarddiskVolume2"},
        {L"z:", L"\\Device\\HarddiskVolumeShadow"},
    };
    EXPECT_EQ(chars, 260u);
    for (const auto& drive : drives) {
        if (wcscmp(drive.drive, name) != 0) continue;
        wcscpy(target, drive.target);
        return static_cast<DWORD>(wcslen(target)) + 2;
    }
    SetLastError(ERROR_FILE_NOT_FOUND);
    return 0;
}

struct PathRow {
    const char* name;
    const wchar_t* kernel;
    const wchar_t* dos;  // null: no drive
};
void PrintTo(const PathRow& row, std::ostream* out) {
    *out << row.name;
}

class NtPath : public testing::TestWithParam<PathRow> {};

TEST_P(NtPath, BecomesADrivePath) {
    REPLACE_CALL(query, QueryDosDeviceW, FakeQueryDosDevice);
    wchar_t path[64] = L"untouched";
    EXPECT_EQ(NtPathToDosPath(GetParam().kernel, path, 64), GetParam().dos != nullptr);
    EXPECT_STREQ(path, GetParam().dos != nullptr ? GetParam().dos : L"untouched");
}

INSTANTIATE_TEST_SUITE_P(
    Table, NtPath,
    testing::Values(PathRow{"File", L"\\Device\\HarddiskVolume2\\dir\\a.exe", L"c:\\dir\\a.exe"},
                    PathRow{"RootOnly", L"\\Device\\HarddiskVolume2\\", L"c:\\"},
                    PathRow{"LongerNumber", L"\\Device\\HarddiskVolume12\\a", L"d:\\a"},
                    PathRow{"ShorterNumber", L"\\Device\\HarddiskVolume1\\a", nullptr},
                    PathRow{"AnyCase", L"\\DEVICE\\harddiskvolume2\\A", L"c:\\A"},
                    PathRow{"TargetInAnyCase", L"\\Device\\HarddiskVolume3\\a", L"e:\\a"},
                    PathRow{"LastDrive", L"\\Device\\HarddiskVolumeShadow\\a", L"z:\\a"},
                    PathRow{"NoNumber", L"\\Device\\HarddiskVolume\\a", nullptr},
                    PathRow{"UnknownVolume", L"\\Device\\HarddiskVolume9\\a", nullptr},
                    PathRow{"NoBackslash", L"\\Device\\HarddiskVolume2", nullptr},
                    PathRow{"OtherPrefix", L"\\Device\\Mup\\server\\a", nullptr},
                    PathRow{"PrefixCutShort", L"\\Device\\HarddiskVolum", nullptr},
                    PathRow{"DosPath", L"c:\\a", nullptr}, PathRow{"Empty", L"", nullptr}),
    [](const auto& row) { return std::string(row.param.name); });

// A name may have older targets, which follow the current one in the list.
TEST(NtPathToDosPath, OnlyTheCurrentTargetOfADriveCounts) {
    constexpr wchar_t kTargets[] = L"\\Device\\HarddiskVolume5\0\\Device\\HarddiskVolume4\0";
    REPLACE_CALL(query, QueryDosDeviceW, [&](LPCWSTR name, LPWSTR target, DWORD) {
        if (wcscmp(name, L"c:") != 0) return DWORD{0};
        memcpy(target, kTargets, sizeof kTargets);
        return static_cast<DWORD>(std::size(kTargets));
    });
    wchar_t path[64] = L"untouched";
    EXPECT_FALSE(NtPathToDosPath(L"\\Device\\HarddiskVolume4\\a", path, 64));
    EXPECT_STREQ(path, L"untouched");
    EXPECT_TRUE(NtPathToDosPath(L"\\Device\\HarddiskVolume5\\a", path, 64));
    EXPECT_STREQ(path, L"c:\\a");
}

// The length decides before the characters do.
TEST(NtPathToDosPath, ATargetThatFillsItsBufferIsComparedWhole) {
    const std::wstring device = L"\\Device\\HarddiskVolume" + std::wstring(259 - 22, L'9');
    REPLACE_CALL(query, QueryDosDeviceW, [&](LPCWSTR, LPWSTR target, DWORD chars) {
        wcsncpy(target, device.c_str(), chars);
        return chars;
    });
    wchar_t path[8] = L"";
    EXPECT_TRUE(NtPathToDosPath((device + L"\\x").c_str(), path, 8));
    EXPECT_STREQ(path, L"a:\\x");
    EXPECT_FALSE(NtPathToDosPath((device + L"9\\x").c_str(), path, 8));
}

TEST(NtPathToDosPath, AsksForEveryLetterInOrder) {
    std::wstring asked;
    REPLACE_CALL(query, QueryDosDeviceW, [&](LPCWSTR name, LPWSTR, DWORD) {
        asked += name[0];
        EXPECT_STREQ(name + 1, L":");
        return DWORD{0};
    });
    wchar_t path[8] = L"";
    EXPECT_FALSE(NtPathToDosPath(L"\\Device\\HarddiskVolume2\\a", path, 8));
    EXPECT_EQ(asked, L"abcdefghijklmnopqrstuvwxyz");
}

TEST(NtPathToDosPath, IsCutToEveryCapacity) {
    REPLACE_CALL(query, QueryDosDeviceW, FakeQueryDosDevice);
    const std::wstring whole = L"c:\\dir\\a.exe";
    for (int32_t chars = 0; chars <= 15; ++chars) {
        GuardedBuffer<wchar_t> path(static_cast<size_t>(chars));
        EXPECT_TRUE(NtPathToDosPath(L"\\Device\\HarddiskVolume2\\dir\\a.exe", path.data(), chars));
        if (chars > 0) {
            EXPECT_EQ(std::wstring(path.data()), whole.substr(0, chars - 1u));
        }
    }
}

class DebugOut : public testing::Test {
  protected:
    std::wstring text;
    ReplacedCall<OutputDebugStringW> output_{"OutputDebugStringW", [this](LPCWSTR line) { text = line; }};
};

TEST_F(DebugOut, EndsWithALineFeed) {
    DebugOutFmt(L"%s is %d", L"x", 5);
    EXPECT_EQ(text, L"x is 5\n");
    DebugOutFmt(L"");
    EXPECT_EQ(text, L"\n");
}

TEST_F(DebugOut, ALongTextIsCutAndStillEndsWithALineFeed) {
    const std::wstring longText(3000, L'a');
    DebugOutFmt(L"%s", longText.c_str());
    EXPECT_EQ(text, longText.substr(0, 1998) + L"\n");
    DebugOutFmt(L"%s", longText.substr(0, 1998).c_str());
    EXPECT_EQ(text, longText.substr(0, 1998) + L"\n");
}

}  // namespace
