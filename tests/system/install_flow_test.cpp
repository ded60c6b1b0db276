// From the first plug to the removal, through SetupAPI, with the DLL that the system has installed and the
// simulated driver.
#include <cstring>

#include "driver/protocol.h"
#include "tests/support/wait_until.h"
#include "tests/system/package_fixture.h"

namespace {

constexpr DWORD kPostProcessingRequired = 0xE0000226;
constexpr wchar_t kParametersKey[] = L"SYSTEM\\CurrentControlSet\\services\\Qrv_tavix\\Parameters";

class InstallFlowTest : public PackageTest {};

// The whole 256 bytes of a device-name field.
std::vector<uint8_t> DeviceNameField(std::wstring_view name) {
    std::vector<uint8_t> field(256);
    std::memcpy(field.data(), name.data(), name.size() * sizeof(wchar_t));
    return field;
}

// What follows the first backslash, in upper case: SetupAPI returns instance IDs so.
std::wstring WithoutFirstComponent(const std::wstring& instanceId) {
    std::wstring name = instanceId.substr(instanceId.find(L'\\') + 1);
    CharUpperW(name.data());
    return name;
}

TEST_F(InstallFlowTest, TheFirstUsbDeviceCreatesTheBusAndItsPort) {
    RemoveVbus();
    ASSERT_FALSE(NodeExists(kBusInstanceId));
    Plug(first);

    OpenedNode bus(kBusInstanceId);
    ASSERT_TRUE(bus);
    EXPECT_EQ(bus.Text(SPDRP_SERVICE), L"Qrv_tavix");
    EXPECT_EQ(bus.Text(SPDRP_HARDWAREID), L"qrvtek_tavix_vbus");
    EXPECT_EQ(bus.Text(SPDRP_DEVICEDESC), L"<Holmark TAVIX VBus>");
    EXPECT_EQ(bus.DriverKeyText(L"CoInstallers32"), L"tavix_coinstaller.dll,TavixCoInstaller");

    const auto device = driver.FindDevice(first.InstanceId());
    ASSERT_TRUE(device.has_value());
    EXPECT_EQ(device->vcomStarted, 1u);
    OpenedNode vcom(device->vcomInstanceId);
    ASSERT_TRUE(vcom);
    EXPECT_EQ(vcom.Text(SPDRP_CLASS), L"Ports");
    EXPECT_EQ(vcom.DriverKeyText(L"CoInstallers32"), L"tavix_coinstaller.dll,TavixCoInstaller");
}

TEST_F(InstallFlowTest, ASecondUsbDeviceUsesTheSameBus) {
    Plug(first);
    Plug(second);
    EXPECT_FALSE(NodeExists(L"ROOT\\QRV_VBUS\\0001"));
    EXPECT_TRUE(NodeExists(VcomInstanceId(first)));
    EXPECT_TRUE(NodeExists(VcomInstanceId(second)));
    EXPECT_NE(VcomInstanceId(first), VcomInstanceId(second));
}

TEST_F(InstallFlowTest, InstallationLooksForAVirtualMachine) {
    RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kParametersKey, L"InitVMDetectDone");
    Plug(first);
    DWORD done = 0;
    DWORD bytes = sizeof(done);
    EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, kParametersKey, L"InitVMDetectDone", RRF_RT_REG_DWORD, nullptr,
                           &done, &bytes),
              ERROR_SUCCESS);
    EXPECT_EQ(done, 1u);
}

TEST_F(InstallFlowTest, APortAsksForTheSecondPassAndHasNothingToDoInIt) {
    Plug(first);
    OpenedNode vcom(VcomInstanceId(first));
    ASSERT_TRUE(vcom);
    EXPECT_EQ(CallExport(DIF_INSTALLDEVICE, vcom, false), kPostProcessingRequired);
    EXPECT_EQ(CallExport(DIF_INSTALLDEVICE, vcom, true), static_cast<DWORD>(NO_ERROR));
    EXPECT_TRUE(NewRequests().empty());
}

TEST_F(InstallFlowTest, TheBusAndAUsbDeviceAskForNoSecondPass) {
    Plug(first);
    for (const std::wstring& id : {std::wstring(kBusInstanceId), first.InstanceId()}) {
        OpenedNode node(id);
        ASSERT_TRUE(node);
        EXPECT_EQ(CallExport(DIF_INSTALLDEVICE, node), static_cast<DWORD>(NO_ERROR));
    }
}

void ExpectOneRemoveNotice(const std::vector<LoggedRequest>& requests, const std::wstring& instanceId) {
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].record.code, 0x1612B01Cu);
    EXPECT_EQ(requests[0].record.inputBytes, 256u);
    EXPECT_EQ(requests[0].record.outputBytes, 0u);
    EXPECT_EQ(requests[0].input, DeviceNameField(WithoutFirstComponent(instanceId)));
}

TEST_F(InstallFlowTest, RemovingAPortTellsTheDriver) {
    Plug(first);
    const std::wstring vcom = VcomInstanceId(first);
    ASSERT_EQ(RemoveNode(vcom), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_FALSE(NodeExists(vcom));
    ExpectOneRemoveNotice(NewRequests(), vcom);
}

TEST_F(InstallFlowTest, RemovingAUsbDeviceTellsTheDriver) {
    Plug(first);
    ASSERT_EQ(RemoveNode(first.InstanceId()), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_FALSE(NodeExists(first.InstanceId()));
    ExpectOneRemoveNotice(NewRequests(), first.InstanceId());
}

// The driver's log would end with the bus, so that the export is called alone here.
TEST_F(InstallFlowTest, RemovingTheBusTellsTheDriver) {
    Plug(first);
    OpenedNode bus(kBusInstanceId);
    ASSERT_TRUE(bus);
    EXPECT_EQ(CallExport(DIF_REMOVE, bus), static_cast<DWORD>(NO_ERROR));
    ExpectOneRemoveNotice(NewRequests(), kBusInstanceId);
}

TEST_F(InstallFlowTest, ADriverThatRefusesDoesNotBlockTheRemoval) {
    Plug(first);
    const std::wstring vcom = VcomInstanceId(first);
    constexpr int32_t kAccessDenied = static_cast<int32_t>(0xC0000022);
    ASSERT_EQ(driver.FailNext(IOCTL_TAVIX_RemoveDevice, kAccessDenied), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(RemoveNode(vcom), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_FALSE(NodeExists(vcom));
    const auto requests = NewRequests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].Error(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST_F(InstallFlowTest, AnAbsentBusDoesNotBlockTheRemoval) {
    Plug(first);
    const std::wstring vcom = VcomInstanceId(first);
    SimAccess_st access = {};
    access.busAbsent = 1;
    ASSERT_EQ(driver.SetAccess(access), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(RemoveNode(vcom), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_FALSE(NodeExists(vcom));
    EXPECT_TRUE(NewRequests().empty());
}

// Sends DIF_PROPERTYCHANGE as Device Manager does when a device is to be restarted.
void SendPropertyChange(OpenedNode& node) {
    SP_PROPCHANGE_PARAMS params = {};
    params.ClassInstallHeader = {sizeof(params.ClassInstallHeader), DIF_PROPERTYCHANGE};
    params.StateChange = DICS_PROPCHANGE;
    params.Scope = DICS_FLAG_GLOBAL;
    ASSERT_TRUE(SetupDiSetClassInstallParamsW(node.set(), node.element(), &params.ClassInstallHeader,
                                              sizeof(params)));
    // The class installer has no action of its own here, so that the call itself fails.
    SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, node.set(), node.element());
}

TEST_F(InstallFlowTest, APropertyChangeIsMarkedPendingOnAPort) {
    Plug(first);
    OpenedNode vcom(VcomInstanceId(first));
    ASSERT_TRUE(vcom);
    ASSERT_EQ(vcom.InstallFlagsEx() & DI_FLAGSEX_PROPCHANGE_PENDING, 0u);
    SendPropertyChange(vcom);
    EXPECT_EQ(vcom.InstallFlagsEx() & DI_FLAGSEX_PROPCHANGE_PENDING, 0x400u);
}

TEST_F(InstallFlowTest, APropertyChangeOfABusOrUsbDeviceMarksNothing) {
    Plug(first);
    for (const std::wstring& id : {std::wstring(kBusInstanceId), first.InstanceId()}) {
        OpenedNode node(id);
        ASSERT_TRUE(node);
        const DWORD before = node.InstallFlagsEx();
        SendPropertyChange(node);
        EXPECT_EQ(node.InstallFlagsEx(), before);
    }
}

TEST_F(InstallFlowTest, OtherEventsAskTheDriverNothing) {
    Plug(first);
    OpenedNode vcom(VcomInstanceId(first));
    OpenedNode usb(first.InstanceId());
    OpenedNode bus(kBusInstanceId);
    for (OpenedNode* node : {&vcom, &usb, &bus}) {
        ASSERT_TRUE(*node);
        for (DI_FUNCTION function = 0; function <= 60; ++function) {
            if (function == DIF_INSTALLDEVICE || function == DIF_REMOVE || function == DIF_PROPERTYCHANGE ||
                function == DIF_ADDPROPERTYPAGE_ADVANCED)
                continue;
            EXPECT_EQ(CallExport(function, *node), static_cast<DWORD>(NO_ERROR)) << "code " << function;
        }
    }
    EXPECT_TRUE(NewRequests().empty());
}

TEST_F(InstallFlowTest, AnEventForNoDeviceIsHarmless) {
    Plug(first);
    const LoadedLibrary library(LoadLibraryW(L"tavix_coinstaller.dll"));
    auto* entry = reinterpret_cast<CoinstallerFunction*>(GetProcAddress(library.get(), "TavixCoInstaller"));
    ASSERT_NE(entry, nullptr);
    for (DI_FUNCTION function = 0; function <= 40; ++function)
        EXPECT_EQ(entry(function, nullptr, nullptr, nullptr), static_cast<DWORD>(NO_ERROR))
            << "code " << function;
    EXPECT_TRUE(NewRequests().empty());
}

}  // namespace
