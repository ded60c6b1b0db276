// demo_steps: the steps of scripts/demo that happen inside the system, each told as it happens.
#include <CLI/CLI.hpp>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "base/windows_api.h"

#include <cfgmgr32.h>

#include "base/win32_handle.h"
#include "sim/client/package.h"
#include "sim/client/plugging.h"
#include "sim/client/simulated_driver.h"
#include "sim/shim/platform_shim.h"

namespace {

constexpr wchar_t kBusInstanceId[] = L"ROOT\\QRV_VBUS\\0000";

using CoinstallerFunction = DWORD CALLBACK(DI_FUNCTION, HDEVINFO, SP_DEVINFO_DATA*,
                                           COINSTALLER_CONTEXT_DATA*);

UsbIdentity DemoDevice() {
    UsbIdentity identity;
    identity.serial = L"DEMO1";
    identity.product = L"Barcode scanner";
    return identity;
}

void Tell(const char* format, ...) __attribute__((format(gnu_printf, 1, 2)));
void Tell(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);
    std::printf("\n");
    std::fflush(stdout);
}

bool Succeeded(const char* what, DWORD error) {
    if (error == ERROR_SUCCESS) return true;
    Tell("   FAILED: %s, error %lu", what, error);
    return false;
}

struct OpenedNode {
    explicit OpenedNode(const std::wstring& instanceId) : set(SetupDiCreateDeviceInfoList(nullptr, nullptr)) {
        element.cbSize = sizeof(element);
        found = SetupDiOpenDeviceInfoW(set.get(), instanceId.c_str(), nullptr, 0, &element) != FALSE;
    }
    std::wstring Text(DWORD property) {
        wchar_t text[200] = {};
        SetupDiGetDeviceRegistryPropertyW(set.get(), &element, property, nullptr,
                                          reinterpret_cast<BYTE*>(text), sizeof(text) - sizeof(wchar_t),
                                          nullptr);
        return text;
    }
    std::wstring Coinstaller() {
        const HKEY opened =
            SetupDiOpenDevRegKey(set.get(), &element, DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_READ);
        if (opened == INVALID_HANDLE_VALUE) return {};
        const RegistryKey key(opened);
        wchar_t text[200] = {};
        DWORD bytes = sizeof(text);
        RegGetValueW(opened, nullptr, L"CoInstallers32", RRF_RT_REG_MULTI_SZ, nullptr, text, &bytes);
        return text;
    }

    DeviceInfoList set;
    SP_DEVINFO_DATA element = {};
    bool found = false;
};

// The requests since the last time.
int TellRequests(SimulatedDriver& driver) {
    std::vector<LoggedRequest> requests;
    if (!Succeeded("read the driver's request log", driver.ReadRequests(requests))) return 1;
    driver.ClearRequests();
    if (requests.empty()) Tell("   the driver has seen no request");
    for (const LoggedRequest& request : requests) {
        Tell("   the driver saw %ls (0x%08X) from process %u: %u bytes in, %llu out, error %lu  %ls",
             std::wstring(RequestName(request.record.code)).c_str(), request.record.code,
             request.record.processId, request.record.inputBytes,
             static_cast<unsigned long long>(request.record.returnedBytes), request.Error(),
             request.DeviceName().c_str());
    }
    return 0;
}

// The second pass after an installation, which Wine does not make.
bool CallForPostProcessing(OpenedNode& vcom) {
    const LoadedLibrary library(LoadLibraryW(L"tavix_coinstaller.dll"));
    auto* entry = reinterpret_cast<CoinstallerFunction*>(GetProcAddress(library.get(), "TavixCoInstaller"));
    if (!entry) return Succeeded("load the coinstaller", GetLastError());
    COINSTALLER_CONTEXT_DATA context = {};
    const DWORD first = entry(DIF_INSTALLDEVICE, vcom.set.get(), &vcom.element, &context);
    context.PostProcessing = TRUE;
    const DWORD second = entry(DIF_INSTALLDEVICE, vcom.set.get(), &vcom.element, &context);
    Tell("   for the port the coinstaller answers 0x%lX%s", first,
         first == ERROR_DI_POSTPROCESSING_REQUIRED ? ": call me again after the installation" : "");
    Tell("   Wine accepts this but makes no second call; made through the export it answers %lu", second);
    return first == ERROR_DI_POSTPROCESSING_REQUIRED && second == NO_ERROR;
}

bool TellBus() {
    OpenedNode bus(kBusInstanceId);
    if (!bus.found) return Succeeded("find the bus", ERROR_NOT_FOUND);
    Tell("   the coinstaller has created %ls: %ls, hardware ID %ls", kBusInstanceId,
         bus.Text(SPDRP_DEVICEDESC).c_str(), bus.Text(SPDRP_HARDWAREID).c_str());
    Tell("   the system has loaded its driver, service %ls", bus.Text(SPDRP_SERVICE).c_str());
    return true;
}

bool TellPort(const SimDeviceState_st& device) {
    OpenedNode vcom(device.vcomInstanceId);
    if (!vcom.found) return Succeeded("find the port", ERROR_NOT_FOUND);
    Tell("   the bus has made the port %ls: \"%ls\", device %ls", device.vcomInstanceId,
         vcom.Text(SPDRP_FRIENDLYNAME).c_str(), device.kernelName);
    return CallForPostProcessing(vcom);
}

// A number of the driver's Parameters key; "not set" when there is none.
std::string Parameter(const wchar_t* name) {
    DWORD number = 0;
    DWORD bytes = sizeof(number);
    const LSTATUS error =
        RegGetValueW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\services\\Qrv_tavix\\Parameters", name,
                     RRF_RT_REG_DWORD, nullptr, &number, &bytes);
    return error == ERROR_SUCCESS ? std::to_string(number) : "not set";
}

bool TellTuning() {
    const bool looked = Parameter(L"InitVMDetectDone") == "1";
    const bool tuned = Parameter(L"isDropPartialBytesOnUsbError") == "1";
    Tell("   the coinstaller has %s whether this is a virtual machine%s", looked ? "looked" : "not looked",
         tuned ? ", and has tuned the driver for it" : ": it is none");
    Tell("   isDropPartialBytesOnUsbError: %s, ClearInputDelayMillisecMinimum: %s",
         Parameter(L"isDropPartialBytesOnUsbError").c_str(),
         Parameter(L"ClearInputDelayMillisecMinimum").c_str());
    return looked;
}

int Plug(const std::wstring& packageFolder) {
    const UsbIdentity identity = DemoDevice();
    Tell("-- the driver package is put where the device installer searches");
    if (!Succeeded("install the package", InstallPackage(packageFolder))) return 1;
    Tell("   the machine has %s bus node", NodeExists(kBusInstanceId) ? "a" : "no");
    Tell("-- a USB device is plugged in: %ls \"%ls\"", identity.InstanceId().c_str(),
         identity.product.c_str());
    if (!Succeeded("plug the device in", PlugUsbDevice(identity))) return 1;
    OpenedNode usb(identity.InstanceId());
    Tell("   the device installer has called %ls for it", usb.Coinstaller().c_str());

    SimulatedDriver driver;
    if (!Succeeded("reach the driver", driver.Connect(5000)) || !TellBus() || !TellTuning()) return 1;
    const auto device = driver.FindDevice(identity.InstanceId());
    if (!device || !TellPort(*device)) return 1;
    return TellRequests(driver);
}

int PrintNodes() {
    SimulatedDriver driver;
    if (!Succeeded("reach the driver", driver.Connect())) return 1;
    const auto device = driver.FindDevice(DemoDevice().InstanceId());
    if (!device) return 1;
    std::printf("vcom %ls\nusb %ls\nbus %ls\n", device->vcomInstanceId, device->instanceId, kBusInstanceId);
    return 0;
}

// The input of each remove notice, byte for byte.
void TellRemoveNotices(SimulatedDriver& driver) {
    std::vector<LoggedRequest> requests;
    driver.ReadRequests(requests);
    for (const LoggedRequest& request : requests) {
        if (request.record.code != IOCTL_TAVIX_RemoveDevice) continue;
        size_t used = request.input.size();
        while (used > 0 && request.input[used - 1] == 0)
            --used;
        std::string bytes;
        for (size_t index = 0; index < used; ++index) {
            char text[4];
            std::snprintf(text, sizeof(text), "%02x ", request.input[index]);
            bytes += text;
        }
        Tell("   the remove notice: %sand zeros up to %zu bytes", bytes.c_str(), request.input.size());
    }
}

bool RemoveAndTell(SimulatedDriver& driver, const char* what, const std::wstring& instanceId) {
    Tell("-- the %s is removed: %ls", what, instanceId.c_str());
    if (!Succeeded("remove it", RemoveNode(instanceId))) return false;
    TellRemoveNotices(driver);
    return TellRequests(driver) == 0;
}

int Remove() {
    const UsbIdentity identity = DemoDevice();
    SimulatedDriver driver;
    if (!Succeeded("reach the driver", driver.Connect())) return 1;
    const auto device = driver.FindDevice(identity.InstanceId());
    if (!device) return Succeeded("find the device", ERROR_NOT_FOUND);
    const std::wstring vcom = device->vcomInstanceId;
    Tell("-- the USB device is unplugged");
    if (!Succeeded("unplug it", driver.Unplug(identity.InstanceId()))) return 1;
    if (!RemoveAndTell(driver, "port", vcom) || !RemoveAndTell(driver, "USB device", identity.InstanceId()))
        return 1;
    Tell("-- the bus is removed, and with it the driver: %ls", kBusInstanceId);
    if (!Succeeded("remove it", RemoveVbus())) return 1;
    Tell("   the machine has %s bus node", NodeExists(kBusInstanceId) ? "still a" : "no");
    return 0;
}

std::wstring Wide(const std::string& text) {
    return std::wstring(text.begin(), text.end());
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    std::vector<std::string> arguments;  // CLI11 takes them reversed; they are ASCII here
    for (int index = argc - 1; index > 0; --index) {
        const std::wstring argument(argv[index]);
        arguments.emplace_back(argument.begin(), argument.end());
    }
    CLI::App app("The steps of scripts/demo.", "demo_steps");
    app.require_subcommand(1);
    std::string packageFolder;
    CLI::App* plug = app.add_subcommand("plug", "install the package and plug one device in");
    plug->add_option("folder", packageFolder, "the driver package's folder")->required();
    CLI::App* nodes = app.add_subcommand("nodes", "print the instance IDs of the three nodes");
    CLI::App* requests =
        app.add_subcommand("requests", "tell which requests the driver has seen since the last time");
    app.add_subcommand("remove", "unplug the device and remove the three nodes");
    try {
        app.parse(arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    if (!InstallPlatformShim()) return 1;
    if (plug->parsed()) return Plug(Wide(packageFolder));
    if (nodes->parsed()) return PrintNodes();
    if (requests->parsed()) {
        SimulatedDriver driver;
        return Succeeded("reach the driver", driver.Connect()) ? TellRequests(driver) : 1;
    }
    return Remove();
}
