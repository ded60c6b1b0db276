#include "driver/process_search.h"

#include "base/windows_api.h"

#define PSAPI_VERSION 1
#include <psapi.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "base/bounded_text.h"
#include "base/process.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/heap_texts.h"
#include "tests/support/import_redirect.h"

namespace {

using testing::ElementsAre;

constexpr DWORD kFullAccess = PROCESS_QUERY_INFORMATION | PROCESS_VM_READ;

// Processes that the platform pretends to have.
class FakeProcesses : public testing::Test {
  protected:
    struct Process {
        DWORD fullError = ERROR_SUCCESS;     // of opening for everything
        DWORD limitedError = ERROR_SUCCESS;  // of opening with the limited right
        std::wstring path;                   // empty: the full path cannot be read
        std::wstring kernelPath;             // empty: the kernel's name cannot be read
    };

    FakeProcesses()
        : open_("OpenProcess",
                [this](DWORD access, BOOL inherit, DWORD pid) -> HANDLE {
                    EXPECT_FALSE(inherit);
                    accesses_.push_back(access);
                    const auto found = processes_.find(pid);
                    DWORD error = ERROR_INVALID_PARAMETER;
                    if (found != processes_.end())
                        error = access == kFullAccess ? found->second.fullError : found->second.limitedError;
                    SetLastError(error);
                    if (error != ERROR_SUCCESS) return nullptr;
                    opened_ = pid;
                    return CreateEventW(nullptr, FALSE, FALSE, nullptr);
                }),
          module_("GetModuleFileNameExW",
                  [this](HANDLE, HMODULE module, LPWSTR buffer, DWORD chars) -> DWORD {
                      EXPECT_EQ(module, nullptr);
                      const std::wstring& path = processes_[opened_].path;
                      if (path.empty()) return 0;
                      // As old systems do: a path that is cut has no terminator.
                      const size_t stored = std::min<size_t>(path.size() + 1, chars);
                      std::copy_n(path.c_str(), stored, buffer);
                      return static_cast<DWORD>(std::min<size_t>(path.size(), chars));
                  }),
          image_("GetProcessImageFileNameW",
                 [this](HANDLE, LPWSTR buffer, DWORD chars) -> DWORD {
                     EXPECT_EQ(chars, 260u);
                     const std::wstring& path = processes_[opened_].kernelPath;
                     if (path.empty()) return 0;
                     CopyBounded(buffer, chars, path);
                     return static_cast<DWORD>(path.size());
                 }),
          enum_("EnumProcesses",
                [this](DWORD* ids, DWORD bytes, DWORD* needed) -> BOOL {
                    EXPECT_EQ(bytes, 4000u);
                    if (enumFails_) return FALSE;
                    DWORD count = 0;
                    for (const auto& [pid, process] : processes_)
                        if (count < bytes / sizeof(DWORD)) ids[count++] = pid;
                    *needed = count * DWORD{sizeof(DWORD)};
                    return TRUE;
                }),
          drive_("QueryDosDeviceW",
                 [](LPCWSTR name, LPWSTR target, DWORD chars) -> DWORD {
                     if (std::wstring(name) != L"d:") return 0;
                     CopyBounded(target, chars, L"\\Device\\HarddiskVolume3");
                     return 24;
                 }),
          version_("GetVersionExW", [this](OSVERSIONINFOW* info) {
              info->dwMajorVersion = major_;
              return TRUE;
          }) {}

    bool Path(DWORD pid, std::wstring& path) {
        wchar_t buffer[300] = L"kept";
        const bool found = GetProcessExePath(pid, buffer, 300);
        path = buffer;
        return found;
    }
    bool Find(const std::vector<std::wstring>& names) {
        return FindProcessByNames(MultiString(BlockOf(names)));
    }

    std::map<DWORD, Process> processes_;
    DWORD major_ = 6;
    bool enumFails_ = false;
    DWORD opened_ = 0;
    std::vector<DWORD> accesses_;
    ReplacedCall<OpenProcess> open_;
    ReplacedCall<GetModuleFileNameExW> module_;
    ReplacedCall<GetProcessImageFileNameW> image_;
    ReplacedCall<EnumProcesses> enum_;
    ReplacedCall<QueryDosDeviceW> drive_;
    ReplacedCall<GetVersionExW> version_;
};

using ProcessExePath = FakeProcesses;
using ProcessSearch = FakeProcesses;

TEST_F(ProcessExePath, IsThatOfTheMainModule) {
    processes_[7].path = L"C:\\a\\b.exe";
    std::wstring path;
    EXPECT_TRUE(Path(7, path));
    EXPECT_EQ(path, L"C:\\a\\b.exe");
    EXPECT_THAT(accesses_, ElementsAre(kFullAccess));
}

TEST_F(ProcessExePath, CannotBeReadFromAProcessThatIsGoneOrEmpty) {
    std::wstring path;
    EXPECT_FALSE(Path(99, path));
    EXPECT_THAT(accesses_, ElementsAre(kFullAccess)) << "only a denied access is tried again";
    processes_[7].path = L"";
    EXPECT_FALSE(Path(7, path));
}

TEST_F(ProcessExePath, OfAProcessThatDeniesAccessComesFromTheKernelsName) {
    processes_[7] = {ERROR_ACCESS_DENIED, ERROR_SUCCESS, L"", L"\\Device\\HarddiskVolume3\\a\\b.exe"};
    std::wstring path;
    EXPECT_TRUE(Path(7, path));
    EXPECT_EQ(path, L"d:\\a\\b.exe");
    EXPECT_THAT(accesses_, ElementsAre(kFullAccess, PROCESS_QUERY_LIMITED_INFORMATION));
}

TEST_F(ProcessExePath, UsesTheOldRightOnMajorVersion5) {
    major_ = 5;
    processes_[7] = {ERROR_ACCESS_DENIED, ERROR_SUCCESS, L"", L"\\Device\\HarddiskVolume3\\a\\b.exe"};
    std::wstring path;
    EXPECT_TRUE(Path(7, path));
    EXPECT_THAT(accesses_, ElementsAre(kFullAccess, PROCESS_QUERY_INFORMATION));
}

TEST_F(ProcessExePath, KeepsAKernelNameThatIsOnNoDrive) {
    processes_[7] = {ERROR_ACCESS_DENIED, ERROR_SUCCESS, L"", L"\\Device\\Mup\\server\\b.exe"};
    std::wstring path;
    EXPECT_TRUE(Path(7, path));
    EXPECT_EQ(path, L"\\Device\\Mup\\server\\b.exe");
    processes_[7].kernelPath = L"\\Device\\HarddiskVolume4\\b.exe";
    EXPECT_TRUE(Path(7, path));
    EXPECT_EQ(path, L"\\Device\\HarddiskVolume4\\b.exe");
}

TEST_F(ProcessExePath, CannotBeReadWhenEvenLimitedAccessIsDenied) {
    processes_[7] = {ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED, L"C:\\x", L"\\Device\\x"};
    std::wstring path;
    EXPECT_FALSE(Path(7, path));
    EXPECT_EQ(path, L"kept");
    processes_[7] = {ERROR_ACCESS_DENIED, ERROR_SUCCESS, L"C:\\x", L""};
    EXPECT_FALSE(Path(7, path));
    EXPECT_EQ(path, L"kept");
}

TEST_F(ProcessExePath, StaysInsideItsBuffer) {
    processes_[7].path = L"C:\\a\\b.exe";
    processes_[8] = {ERROR_ACCESS_DENIED, ERROR_SUCCESS, L"", L"\\Device\\HarddiskVolume3\\a\\b.exe"};
    processes_[9] = {ERROR_ACCESS_DENIED, ERROR_SUCCESS, L"", L"\\Device\\Mup\\server\\b.exe"};
    for (const DWORD pid : {7u, 8u, 9u}) {
        for (const DWORD chars : {1u, 2u, 10u, 11u}) {
            GuardedBuffer<wchar_t> buffer(chars);
            EXPECT_TRUE(GetProcessExePath(pid, buffer.data(), chars));
            EXPECT_LT(std::wstring(buffer.data()).size(), chars);
        }
        EXPECT_FALSE(GetProcessExePath(pid, nullptr, 0));
    }
}

TEST_F(ProcessSearch, FindsANameBehindABackslashWhateverItsCase) {
    processes_[7].kernelPath = L"\\Device\\HarddiskVolume3\\VMware\\VMTOOLSD.EXE";
    EXPECT_TRUE(Find({L"vmtoolsd.exe"}));
    EXPECT_TRUE(Find({L"other.exe", L"vmtoolsd.exe"}));
    EXPECT_FALSE(Find({L"toolsd.exe"})) << "the name starts behind a backslash";
    EXPECT_FALSE(Find({L"other.exe"}));
    EXPECT_FALSE(Find({}));
}

TEST_F(ProcessSearch, FindsANameInsideThePath) {
    processes_[7].kernelPath = L"\\Device\\HarddiskVolume3\\vmware.exe.old\\x.exe";
    EXPECT_TRUE(Find({L"vmware.exe"}));
}

TEST_F(ProcessSearch, AnEmptyNameEndsTheNames) {
    processes_[7].kernelPath = L"\\Device\\HarddiskVolume3\\b.exe";
    EXPECT_FALSE(Find({L""}));
    EXPECT_FALSE(Find({L"", L"b.exe"}));
}

TEST_F(ProcessSearch, ANameLongerThanAnyPathIsThatOfNoProgram) {
    processes_[7].kernelPath = L"\\" + std::wstring(258, L'x');
    EXPECT_TRUE(Find({std::wstring(258, L'x')}));
    for (const size_t chars : {259, 260, 261, 1000})
        EXPECT_FALSE(Find({std::wstring(chars, L'x')})) << chars;
}

TEST_F(ProcessSearch, LooksAtEveryProcessItMayOpen) {
    processes_[1].limitedError = ERROR_ACCESS_DENIED;
    processes_[1].kernelPath = L"\\Device\\a\\hidden.exe";
    processes_[2].kernelPath = L"";
    processes_[3].kernelPath = L"\\Device\\a\\last.exe";
    EXPECT_TRUE(Find({L"last.exe"}));
    EXPECT_FALSE(Find({L"hidden.exe"}));
    for (const DWORD access : accesses_)
        EXPECT_EQ(access, DWORD{PROCESS_QUERY_LIMITED_INFORMATION});
}

TEST_F(ProcessSearch, LooksAtAThousandProcessesAtMost) {
    for (DWORD pid = 1; pid <= 1200; ++pid)
        processes_[pid].kernelPath = L"\\Device\\a\\p" + std::to_wstring(pid) + L".exe";
    EXPECT_TRUE(Find({L"p1000.exe"}));
    EXPECT_FALSE(Find({L"p1001.exe"}));
}

TEST_F(ProcessSearch, FindsNothingWhenProcessesCannotBeListed) {
    processes_[7].kernelPath = L"\\Device\\a\\b.exe";
    enumFails_ = true;
    EXPECT_FALSE(Find({L"b.exe"}));
}

}  // namespace
