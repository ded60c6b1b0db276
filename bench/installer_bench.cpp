// What an installer event costs: the size of the module that ships, loading and unloading it, and one call
// that has nothing to do, beside the one question to the device installer that it cannot do without.
#include <cstdio>

#include "base/windows_api.h"

#include <commctrl.h>
#include <setupapi.h>

#include "base/files.h"
#include "base/win32_handle.h"
#include "bench/harness.h"

namespace {

constexpr wchar_t kModule[] = TAVIX_SHIPPED_DLL;
constexpr double kMaxKilobytes = 400;

using Entry = DWORD(CALLBACK*)(DI_FUNCTION, HDEVINFO, SP_DEVINFO_DATA*, COINSTALLER_CONTEXT_DATA*);

void PrintSize() {
    const KernelHandle file = OpenFileRw(kModule, false);
    const double kilobytes = static_cast<double>(GetFileSizeOf(file.get())) / 1024;
    std::printf("size of the stripped module: %.0f KB, aim below %.0f KB: %s\n", kilobytes, kMaxKilobytes,
                kilobytes < kMaxKilobytes ? "reached" : "missed");
}

void LoadAndUnload() {
    const LoadedLibrary module(LoadLibraryW(kModule));
    KeepResult(module.get());
}

// A node of the list that is neither installed nor registered; the module sees a USB device.
bool MakeUsbNode(HDEVINFO list, SP_DEVINFO_DATA& node) {
    const GUID usbClass = {0x36FC9E60, 0xC465, 0x11CF, {0x80, 0x56, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}};
    node.cbSize = sizeof(node);
    return SetupDiCreateDeviceInfoW(list, L"USB\\VID_1234&PID_5678\\BENCH", &usbClass, L"bench", nullptr, 0,
                                    &node) ||
           SetupDiOpenDeviceInfoW(list, L"USB\\VID_1234&PID_5678\\BENCH", nullptr, 0, &node);
}

int CompareCalls() {
    const LoadedLibrary module(LoadLibraryW(kModule));
    const auto entry = reinterpret_cast<Entry>(GetProcAddress(module.get(), "TavixCoInstaller"));
    const DeviceInfoList list(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    SP_DEVINFO_DATA node = {};
    if (entry == nullptr || !list || !MakeUsbNode(list.get(), node)) {
        std::printf("no module or no node to call it for, error %lu\n", GetLastError());
        return 1;
    }
    const auto idleCall = [&] { KeepResult(entry(DIF_SELECTDEVICE, list.get(), &node, nullptr)); };
    const auto readInstanceId = [&] {
        wchar_t id[260];
        KeepResult(SetupDiGetDeviceInstanceIdW(list.get(), &node, id, 260, nullptr));
    };
    BenchCompare("idle call, beside reading the node's ID", idleCall, readInstanceId, {0.5});
    // The other calls of the platform that the behavior asks for each time.
    BenchCompare("idle call, beside all its platform calls", idleCall,
                 [&] {
                     ULONG_PTR cookie = 0;
                     ActivateActCtx(nullptr, &cookie);
                     InitCommonControls();
                     DeactivateActCtx(0, cookie);
                     wchar_t executable[MAX_PATH];
                     KeepResult(GetModuleFileNameW(nullptr, executable, MAX_PATH));
                     KeepResult(GetCurrentProcessId());
                     readInstanceId();
                 },
                 {0.5});
    SetupDiRemoveDevice(list.get(), &node);
    return 0;
}

}  // namespace

int main() {
    PrintSize();
    PrintBenchHeader("installer events", "TavixCoInstaller", "SetupDiGetDeviceInstanceIdW");
    PrintBenchTime("load and unload", MeasureMedian(LoadAndUnload));
    return CompareCalls();
}
