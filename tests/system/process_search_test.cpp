// The search for programs among a few hundred processes that really run.
#include "driver/process_search.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/win32_handle.h"
#include "tests/support/heap_texts.h"

namespace {

constexpr int kProcesses = 200;

std::wstring TestProgram() {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

std::wstring TempFolder() {
    wchar_t path[MAX_PATH];
    GetTempPathW(MAX_PATH, path);
    return path;
}

// A process that never gets to run its first instruction.
class SuspendedProcess {
  public:
    explicit SuspendedProcess(const std::wstring& program) {
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION info = {};
        std::wstring commandLine = L"\"" + program + L"\"";
        EXPECT_TRUE(CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE,
                                   CREATE_SUSPENDED | CREATE_NO_WINDOW, nullptr, nullptr, &startup, &info))
            << GetLastError();
        process_.reset(info.hProcess);
        thread_.reset(info.hThread);
        id_ = info.dwProcessId;
    }
    SuspendedProcess(SuspendedProcess&&) = default;
    SuspendedProcess& operator=(SuspendedProcess&&) = default;
    ~SuspendedProcess() {
        if (!process_) return;
        TerminateProcess(process_.get(), 0);
        WaitForSingleObject(process_.get(), 10000);
    }
    DWORD id() const { return id_; }

  private:
    KernelHandle process_;
    KernelHandle thread_;
    DWORD id_ = 0;
};

// A copy of a small system program under a name that nothing else has.
class ProgramCopy {
  public:
    ProgramCopy() : name_(L"tavix_probe_" + std::to_wstring(GetCurrentProcessId()) + L".exe") {
        wchar_t system[MAX_PATH];
        GetSystemDirectoryW(system, MAX_PATH);
        EXPECT_TRUE(CopyFileW((std::wstring(system) + L"\\hostname.exe").c_str(), path().c_str(), FALSE))
            << GetLastError();
    }
    ~ProgramCopy() { EXPECT_TRUE(DeleteFileW(path().c_str())) << GetLastError(); }
    const std::wstring& name() const { return name_; }
    std::wstring path() const { return TempFolder() + name_; }

  private:
    std::wstring name_;
};

bool Find(const std::vector<std::wstring>& names) {
    return FindProcessByNames(MultiString(BlockOf(names)));
}

TEST(RealProcesses, AreFoundAmongHundredsByTheirProgramsName) {
    ProgramCopy probe;
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    const std::wstring filler = std::wstring(system) + L"\\hostname.exe";
    std::vector<SuspendedProcess> crowd;
    for (int i = 0; i < kProcesses; ++i)
        crowd.emplace_back(filler);

    EXPECT_FALSE(Find({probe.name()}));
    {
        const SuspendedProcess wanted(probe.path());
        EXPECT_TRUE(Find({L"no such program.exe", probe.name()}));
        std::wstring upper = probe.name();
        CharUpperW(upper.data());
        EXPECT_TRUE(Find({upper}));
        EXPECT_FALSE(Find({probe.name().substr(1)}));
        EXPECT_FALSE(Find({L"no such program.exe"}));
    }
    EXPECT_FALSE(Find({probe.name()}));
}

TEST(RealProcesses, TellTheirProgramsPath) {
    wchar_t path[MAX_PATH] = L"";
    EXPECT_TRUE(GetProcessExePath(GetCurrentProcessId(), path, MAX_PATH));
    EXPECT_EQ(_wcsicmp(path, TestProgram().c_str()), 0) << "got another path";
    EXPECT_FALSE(GetProcessExePath(0xFFFFFFFC, path, MAX_PATH));
}

}  // namespace
