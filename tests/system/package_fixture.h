// What the system tests of the installation share: the driver package is where the device installer searches,
// and the nodes that a test makes are gone at its end.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "base/win32_handle.h"
#include "sim/client/plugging.h"
#include "sim/client/simulated_driver.h"

constexpr wchar_t kBusInstanceId[] = L"ROOT\\QRV_VBUS\\0000";

// One device node, opened the way an installer or Device Manager opens it.
class OpenedNode {
  public:
    explicit OpenedNode(std::wstring_view instanceId);
    // One that the system does not know: it exists in this list only.
    static OpenedNode Unregistered(std::wstring_view instanceId);
    explicit operator bool() const { return found_; }

    HDEVINFO set() const { return set_.get(); }
    SP_DEVINFO_DATA* element() { return &element_; }
    std::wstring Text(DWORD property);
    // A text of the driver key, for example "CoInstallers32"; the first one of several.
    std::wstring DriverKeyText(const wchar_t* name);
    DWORD InstallFlagsEx();

  private:
    OpenedNode();

    DeviceInfoList set_;
    SP_DEVINFO_DATA element_ = {};
    bool found_ = false;
};

// Runs the command line without a window and returns its exit code.
DWORD RunProgram(std::wstring commandLine);

using CoinstallerFunction = DWORD CALLBACK(DI_FUNCTION, HDEVINFO, SP_DEVINFO_DATA*,
                                           COINSTALLER_CONTEXT_DATA*);

class PackageTest : public testing::Test {
  protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();
    void TearDown() override;

    // Plugs a device, which creates the bus when there is none, and connects to the driver.
    void Plug(const UsbIdentity& identity);
    std::wstring VcomInstanceId(const UsbIdentity& identity);
    // The requests that the product sent since the last call or the start of the test.
    std::vector<LoggedRequest> NewRequests();

    // The export of the DLL that the package has installed.
    DWORD CallExport(DI_FUNCTION function, OpenedNode& node, bool postProcessing = false);

    UsbIdentity first;
    UsbIdentity second;
    SimulatedDriver driver;

    PackageTest();

  private:
    void RemoveEverything();
    uint64_t nextSequence_ = 0;
};
