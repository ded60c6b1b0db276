// What the tests of the terminal share: one plugged device, a folder that stands for the library's, and a
// shell that records what it is asked to start.
#pragma once

#include <string>
#include <vector>

#include "base/windows_api.h"

#include <shellapi.h>

#include "base/win32_handle.h"
#include "sim/client/refused_open.h"
#include "tests/support/import_redirect.h"
#include "tests/support/modal_driver.h"
#include "tests/support/scratch_folder.h"
#include "tests/system/sim_fixture.h"
#include "tools/tool_host.h"

class TerminalTest : public SimulatedBusTest {
  protected:
    void SetUp() override;
    void TearDown() override;

    void InstallTerminal();
    void InstallTemplate();
    void Launch();
    ToolHost Host();

    // Names of the driver's requests since the last call.
    std::vector<std::wstring> TakeRequests();
    std::wstring BoxText(size_t index) const;
    // A registry value of the session, empty when there is none.
    static std::wstring SessionValue(const wchar_t* name);
    std::wstring Port() const { return device_.portName; }
    std::wstring Title() const { return L"PuTTY - TAVIX " + Port(); }

    struct Start {
        HWND owner;
        std::wstring file;
        std::wstring parameters;
        int show;
        ULONG mask;
    };
    std::vector<Start> starts_;
    DWORD startError_ = ERROR_SUCCESS;

    ReplacedCall<CreateFileW> hearingOpen_{"CreateFileW", CreateFileHearingRefusal};
    ReplacedCall<ShellExecuteExW> shell_{
        "ShellExecuteExW", [this](SHELLEXECUTEINFOW* start) {
            EXPECT_EQ(start->cbSize, sizeof(*start));
            starts_.push_back({start->hwnd, start->lpFile, start->lpParameters, start->nShow, start->fMask});
            SetLastError(startError_);
            return startError_ == ERROR_SUCCESS ? TRUE : FALSE;
        }};
    ScratchFolder package_{L" pack;age"};
    ReplacedCall<GetModuleFileNameW> moduleName_{"GetModuleFileNameW", [this](HMODULE, LPWSTR path, DWORD) {
                                                     const std::wstring library =
                                                         package_.File(L"tavix_coinstaller.dll");
                                                     wmemcpy(path, library.c_str(), library.size() + 1);
                                                     return static_cast<DWORD>(library.size());
                                                 }};
    SimDeviceState_st device_ = {};
    ModalDriver modal_;
    OwnedWindow page_;

  private:
    DeviceInfoList list_;
    SP_DEVINFO_DATA element_ = {};
};
