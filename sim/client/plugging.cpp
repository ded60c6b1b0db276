#include "sim/client/plugging.h"

#include <iterator>

#include <setupapi.h>

namespace {

constexpr GUID kSystemClass = {0x4D36E97D, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
constexpr GUID kUsbClass = {0x36FC9E60, 0xC465, 0x11CF, {0x80, 0x56, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}};
constexpr wchar_t kUsbHardwareId[] = L"USB\\QRV_TAVIX_SIMULATED";  // as in tavix_usb.inf
constexpr wchar_t kBusHardwareId[] = L"qrvtek_tavix_vbus\0";       // a list of one
constexpr wchar_t kFirstBusNode[] = L"ROOT\\QRV_VBUS\\0000";
constexpr DWORD kDriverStartMs = 10000;

DWORD ErrorOf(BOOL succeeded) {
    return succeeded ? ERROR_SUCCESS : GetLastError();
}

DeviceInfoList CreateList(const GUID* deviceClass) {
    return DeviceInfoList(SetupDiCreateDeviceInfoList(deviceClass, nullptr));
}

SP_DEVINFO_DATA EmptyElement() {
    SP_DEVINFO_DATA element = {};
    element.cbSize = sizeof(element);
    return element;
}

// What the system does with a new node: it registers it, finds its driver and installs it.
DWORD InstallElement(const DeviceInfoList& list, SP_DEVINFO_DATA& element) {
    DWORD error = ErrorOf(SetupDiCallClassInstaller(DIF_REGISTERDEVICE, list.get(), &element));
    if (error == ERROR_SUCCESS)
        error = ErrorOf(SetupDiBuildDriverInfoList(list.get(), &element, SPDIT_COMPATDRIVER));
    if (error == ERROR_SUCCESS)
        error = ErrorOf(SetupDiCallClassInstaller(DIF_SELECTBESTCOMPATDRV, list.get(), &element));
    if (error != ERROR_SUCCESS) return error;
    SetupDiCallClassInstaller(DIF_INSTALLDEVICEFILES, list.get(), &element);
    SetupDiCallClassInstaller(DIF_REGISTER_COINSTALLERS, list.get(), &element);
    SetupDiCallClassInstaller(DIF_INSTALLINTERFACES, list.get(), &element);
    return ErrorOf(SetupDiCallClassInstaller(DIF_INSTALLDEVICE, list.get(), &element));
}

DWORD SetTextProperty(const DeviceInfoList& list, SP_DEVINFO_DATA& element, DWORD property,
                      const std::wstring& text) {
    const DWORD bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    return ErrorOf(SetupDiSetDeviceRegistryPropertyW(list.get(), &element, property,
                                                     reinterpret_cast<const BYTE*>(text.c_str()), bytes));
}

// Hardware IDs from the special to the general one: the node's own and the one that the package knows.
std::wstring UsbHardwareIds(const UsbIdentity& identity) {
    const std::wstring instanceId = identity.InstanceId();
    std::wstring ids = instanceId.substr(0, instanceId.rfind(L'\\'));
    ids.push_back(0);
    ids += kUsbHardwareId;
    ids.push_back(0);
    return ids;
}

DWORD CreateUsbNode(const UsbIdentity& identity) {
    const std::wstring instanceId = identity.InstanceId();
    const DeviceInfoList list = CreateList(&kUsbClass);
    SP_DEVINFO_DATA element = EmptyElement();
    DWORD error = ErrorOf(SetupDiCreateDeviceInfoW(list.get(), instanceId.c_str(), &kUsbClass,
                                                   identity.product.c_str(), nullptr, 0, &element));
    if (error == ERROR_SUCCESS)
        error = SetTextProperty(list, element, SPDRP_HARDWAREID, UsbHardwareIds(identity));
    if (error == ERROR_SUCCESS) error = InstallElement(list, element);
    if (error == ERROR_SUCCESS) error = SetTextProperty(list, element, SPDRP_FRIENDLYNAME, identity.product);
    return error;
}

DWORD CreateBusNode() {
    const DeviceInfoList list = CreateList(&kSystemClass);
    SP_DEVINFO_DATA element = EmptyElement();
    DWORD error =
        ErrorOf(SetupDiCreateDeviceInfoW(list.get(), L"QRV_VBUS", &kSystemClass, L"<Holmark TAVIX VBus>",
                                         nullptr, DICD_GENERATE_ID, &element));
    if (error == ERROR_SUCCESS)
        error = ErrorOf(SetupDiSetDeviceRegistryPropertyW(list.get(), &element, SPDRP_HARDWAREID,
                                                          reinterpret_cast<const BYTE*>(kBusHardwareId),
                                                          sizeof(kBusHardwareId)));
    return error == ERROR_SUCCESS ? InstallElement(list, element) : error;
}

DWORD OpenNode(std::wstring_view instanceId, const DeviceInfoList& list, SP_DEVINFO_DATA& element) {
    element = EmptyElement();
    return ErrorOf(
        SetupDiOpenDeviceInfoW(list.get(), std::wstring(instanceId).c_str(), nullptr, 0, &element));
}

}  // namespace

DWORD PlugUsbDevice(const UsbIdentity& identity, const PlugOptions& options) {
    const std::wstring instanceId = identity.InstanceId();
    if (!NodeExists(instanceId)) {
        const DWORD error = CreateUsbNode(identity);
        if (error != ERROR_SUCCESS) return error;
    }
    SimulatedDriver driver;
    DWORD error = driver.Connect(kDriverStartMs);
    if (error == ERROR_SUCCESS) error = driver.Plug(identity, options);
    if (error == ERROR_SUCCESS && !options.withoutVcom) error = driver.WaitForVcom(instanceId);
    return error;
}

DWORD UnplugUsbDevice(std::wstring_view usbInstanceId) {
    SimulatedDriver driver;
    const DWORD error = driver.Connect();
    return error == ERROR_SUCCESS ? driver.Unplug(usbInstanceId) : error;
}

DWORD InstallVbus() {
    if (!NodeExists(kFirstBusNode)) {
        const DWORD error = CreateBusNode();
        if (error != ERROR_SUCCESS) return error;
    }
    SimulatedDriver driver;
    const DWORD error = driver.Connect(kDriverStartMs);
    return error == ERROR_SUCCESS ? driver.WaitForBus(kDriverStartMs) : error;
}

DWORD RemoveNode(std::wstring_view instanceId) {
    const DeviceInfoList list = CreateList(nullptr);
    SP_DEVINFO_DATA element = EmptyElement();
    const DWORD error = OpenNode(instanceId, list, element);
    if (error != ERROR_SUCCESS) return error;
    return ErrorOf(SetupDiCallClassInstaller(DIF_REMOVE, list.get(), &element));
}

DWORD RemoveVbus() {
    return RemoveNode(kFirstBusNode);
}

DWORD RemoveVcom(std::wstring_view huid) {
    return RemoveNode(std::wstring(L"QRV_VBUS\\Qrv_vcom\\").append(huid));
}

bool NodeExists(std::wstring_view instanceId) {
    const DeviceInfoList list = CreateList(nullptr);
    SP_DEVINFO_DATA element = EmptyElement();
    return OpenNode(instanceId, list, element) == ERROR_SUCCESS;
}
