// What the wrappers around the driver and the registry cost beside the same raw calls.
#include <cstdio>

#include "base/win32_handle.h"
#include "base/windows_api.h"

#include <setupapi.h>

#include "bench/harness.h"
#include "driver/vbus.h"
#include "sim/client/plugging.h"
#include "state/registry.h"

namespace {

constexpr double kRequestAim = 1 / 1.1;  // at most a tenth more than the raw calls
constexpr double kRegistryAim = 1 / 1.2;
// Each call goes through the platform's server process, whose waking-up varies: many long turns.
constexpr BenchEffort kServerCalls = {.turns = 75, .turnSeconds = 0.02};
constexpr wchar_t kScratchKey[] = L"Software\\TavixBench";
constexpr GUID kVbusGuid = {0x20161207, 0x6A0C, 0x11D2, {0xB8, 0x41, 0x00, 0xC0, 0x4F, 0xAD, 0x51, 0x71}};

// What finding the bus takes with raw calls.
bool FindPath(wchar_t (&path)[MAX_PATH]) {
    const HDEVINFO set =
        SetupDiGetClassDevsW(&kVbusGuid, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    SP_DEVICE_INTERFACE_DATA found = {};
    found.cbSize = sizeof(found);
    alignas(SP_DEVICE_INTERFACE_DETAIL_DATA_W) BYTE storage[1000];
    auto* detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(storage);
    detail->cbSize = sizeof(*detail);
    const bool done =
        SetupDiEnumDeviceInterfaces(set, nullptr, &kVbusGuid, 0, &found) &&
        SetupDiGetDeviceInterfaceDetailW(set, &found, detail, sizeof(storage), nullptr, nullptr);
    if (done) lstrcpynW(path, detail->DevicePath, MAX_PATH);
    SetupDiDestroyDeviceInfoList(set);
    return done;
}

void RawRequest(const wchar_t* path) {
    GlobalCfg_st global;
    DWORD bytesReturned = 0;
    const HANDLE vbus = CreateFileW(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    DeviceIoControl(vbus, IOCTL_TAVIX_GetGlobalCfg, nullptr, 0, &global, sizeof(global), &bytesReturned,
                    nullptr);
    CloseHandle(vbus);
    KeepResult(bytesReturned);
}

// The wrappers without the search for the bus.
void WrappedRequestTo(const wchar_t* path) {
    const FileHandle vbus(CreateFileW(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      nullptr, OPEN_EXISTING, 0, nullptr));
    GlobalCfg_st global = {};
    KeepResult(VbusQuery(vbus.get(), IOCTL_TAVIX_GetGlobalCfg, nullptr, 0, global));
}

void WrappedRequest() {
    GlobalCfg_st global;
    DWORD bytesReturned = 0;
    cu_VbusDoSimpleIoctl(IOCTL_TAVIX_GetGlobalCfg, nullptr, 0, &global, sizeof(global), &bytesReturned);
    KeepResult(bytesReturned);
}

void RawNumber() {
    HKEY key = nullptr;
    DWORD number = 0;
    DWORD bytes = sizeof(number);
    RegOpenKeyExW(HKEY_CURRENT_USER, kScratchKey, 0, KEY_READ, &key);
    RegQueryValueExW(key, L"number", nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &bytes);
    RegCloseKey(key);
    KeepResult(number);
}

void RawText() {
    HKEY key = nullptr;
    wchar_t text[256];
    DWORD bytes = sizeof(text);
    RegOpenKeyExW(HKEY_CURRENT_USER, kScratchKey, 0, KEY_READ, &key);
    RegQueryValueExW(key, L"text", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &bytes);
    RegCloseKey(key);
    KeepResult(bytes);
}

void TypedValue(const wchar_t* name) {
    RegValue value;
    ReadRegValue(HKEY_CURRENT_USER, kScratchKey, name, value);
    KeepResult(value);
}

bool CompareRequests() {
    wchar_t path[MAX_PATH] = L"";
    if (!FindPath(path)) return false;
    PrintBenchHeader("one request to the driver", "wrappers", "raw calls");
    BenchCompare("find, open, request, close", WrappedRequest,
                 [] {
                     wchar_t found[MAX_PATH];
                     FindPath(found);
                     RawRequest(found);
                 },
                 {kRequestAim});
    BenchCompare(
        "open, request, close", [&path] { WrappedRequestTo(path); }, [&path] { RawRequest(path); },
        {kRequestAim}, kServerCalls);
    return true;
}

bool CompareRequestsOnTheSimulatedBus() {
    const bool busWasThere = NodeExists(L"ROOT\\QRV_VBUS\\0000");
    const bool installed =
        InstallPackage(TAVIX_PACKAGE_DIR) == ERROR_SUCCESS && InstallVbus() == ERROR_SUCCESS;
    const bool compared = installed && CompareRequests();
    if (!compared) std::printf("the simulated driver cannot be reached\n");
    if (!busWasThere) RemoveVbus();
    return compared;
}

void CompareRegistry() {
    WriteRegValue(HKEY_CURRENT_USER, kScratchKey, L"number", RegValue::Dword(7), true);
    RegValue text;
    if (text.SetString(L"QRV_VBUS\\Qrv_vcom\\1&2"))
        WriteRegValue(HKEY_CURRENT_USER, kScratchKey, L"text", text, true);
    PrintBenchHeader("one registry value", "typed", "raw calls");
    BenchCompare(
        "number", [] { TypedValue(L"number"); }, RawNumber, {kRegistryAim}, kServerCalls);
    BenchCompare(
        "text", [] { TypedValue(L"text"); }, RawText, {kRegistryAim}, kServerCalls);
    RegDeleteKeyW(HKEY_CURRENT_USER, kScratchKey);
}

}  // namespace

int main() {
    CompareRegistry();
    return CompareRequestsOnTheSimulatedBus() ? 0 : 1;
}
