#include "tests/system/package_fixture.h"

#include "base/windows_api.h"

#include <cfgmgr32.h>

#include "sim/client/package.h"
#include "sim/shim/platform_shim.h"
#include "tests/support/wait_until.h"

namespace {
bool busWasThere = false;
}

OpenedNode::OpenedNode() : set_(SetupDiCreateDeviceInfoList(nullptr, nullptr)) {
    element_.cbSize = sizeof(element_);
}

OpenedNode::OpenedNode(std::wstring_view instanceId) : OpenedNode() {
    found_ =
        set_ && SetupDiOpenDeviceInfoW(set_.get(), std::wstring(instanceId).c_str(), nullptr, 0, &element_);
}

OpenedNode OpenedNode::Unregistered(std::wstring_view instanceId) {
    constexpr GUID kNoClass = {};
    OpenedNode node;
    node.found_ = SetupDiCreateDeviceInfoW(node.set(), std::wstring(instanceId).c_str(), &kNoClass, nullptr,
                                           nullptr, 0, node.element());
    return node;
}

std::wstring OpenedNode::Text(DWORD property) {
    wchar_t text[256] = {};
    SetupDiGetDeviceRegistryPropertyW(set(), element(), property, nullptr, reinterpret_cast<BYTE*>(text),
                                      sizeof(text) - sizeof(wchar_t), nullptr);
    return text;
}

std::wstring OpenedNode::DriverKeyText(const wchar_t* name) {
    const HKEY opened = SetupDiOpenDevRegKey(set(), element(), DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_READ);
    if (opened == INVALID_HANDLE_VALUE) return {};
    const RegistryKey key(opened);
    wchar_t text[256] = {};
    DWORD bytes = sizeof(text);
    RegGetValueW(opened, nullptr, name, RRF_RT_REG_SZ | RRF_RT_REG_MULTI_SZ, nullptr, text, &bytes);
    return text;
}

DWORD OpenedNode::InstallFlagsEx() {
    SP_DEVINSTALL_PARAMS_W params = {};
    params.cbSize = sizeof(params);
    EXPECT_TRUE(SetupDiGetDeviceInstallParamsW(set(), element(), &params));
    return params.FlagsEx;
}

PackageTest::PackageTest() {
    first.serial = L"SYSTEST1";
    first.product = L"First scanner";
    second.serial = L"SYSTEST2";
    second.product = L"Second scanner";
}

void PackageTest::SetUpTestSuite() {
    busWasThere = NodeExists(kBusInstanceId);
    ASSERT_TRUE(InstallPlatformShim());
    ASSERT_EQ(InstallPackage(TAVIX_PACKAGE_DIR), static_cast<DWORD>(ERROR_SUCCESS));
}

void PackageTest::TearDownTestSuite() {
    if (!busWasThere) RemoveVbus();
}

DWORD RunProgram(std::wstring commandLine) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started = {};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                        nullptr, &startup, &started)) {
        ADD_FAILURE() << "the program does not start, error " << GetLastError();
        return MAXDWORD;
    }
    const KernelHandle thread(started.hThread);
    const KernelHandle process(started.hProcess);
    DWORD code = MAXDWORD;
    EXPECT_EQ(WaitForSingleObject(process.get(), 60000), DWORD{WAIT_OBJECT_0}) << "the program does not end";
    GetExitCodeProcess(process.get(), &code);
    return code;
}

void PackageTest::TearDown() {
    RemoveEverything();
}

void PackageTest::RemoveEverything() {
    if (driver.IsConnected()) {
        for (const UsbIdentity* identity : {&first, &second}) {
            const std::wstring vcom = VcomInstanceId(*identity);
            driver.Forget(identity->InstanceId());
            if (!vcom.empty()) RemoveNode(vcom);
        }
        driver.Reset();
    }
    for (const UsbIdentity* identity : {&first, &second})
        RemoveNode(identity->InstanceId());
}

void PackageTest::Plug(const UsbIdentity& identity) {
    ASSERT_EQ(PlugUsbDevice(identity), static_cast<DWORD>(ERROR_SUCCESS));
    if (!driver.IsConnected()) {
        ASSERT_EQ(driver.Connect(5000), static_cast<DWORD>(ERROR_SUCCESS));
    }
    NewRequests();
}

std::wstring PackageTest::VcomInstanceId(const UsbIdentity& identity) {
    const auto device = driver.FindDevice(identity.InstanceId());
    return device ? device->vcomInstanceId : std::wstring();
}

std::vector<LoggedRequest> PackageTest::NewRequests() {
    std::vector<LoggedRequest> requests;
    EXPECT_EQ(driver.ReadRequests(requests, nextSequence_), static_cast<DWORD>(ERROR_SUCCESS));
    if (!requests.empty()) nextSequence_ = requests.back().record.sequence + 1;
    return requests;
}

DWORD PackageTest::CallExport(DI_FUNCTION function, OpenedNode& node, bool postProcessing) {
    const LoadedLibrary library(LoadLibraryW(L"tavix_coinstaller.dll"));
    EXPECT_TRUE(library) << "error " << GetLastError();
    auto* entry = reinterpret_cast<CoinstallerFunction*>(GetProcAddress(library.get(), "TavixCoInstaller"));
    if (!entry) {
        ADD_FAILURE() << "no export";
        return MAXDWORD;
    }
    COINSTALLER_CONTEXT_DATA context = {};
    context.PostProcessing = postProcessing;
    return entry(function, node.set(), node.element(), &context);
}
