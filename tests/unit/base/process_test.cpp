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
    EXPECT_EQ(startup.cb, sizeof(startup));
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
