// What listing many devices takes beside finding them: "tavixctl list" without the start of its process.
#include <cstdio>
#include <string>

#include "base/win32_handle.h"
#include "bench/harness.h"
#include "sim/client/plugging.h"
#include "tavixctl/answers.h"

namespace {

constexpr int kDevices = 128;
constexpr double kAimSeconds = 0.150;  // beyond the bare enumeration
constexpr BenchEffort kEffort = {.turns = 15, .turnSeconds = 0.01};

std::wstring HuidOf(int index) {
    return L"7&B" + std::to_wstring(index);
}

bool PlugAll(SimulatedDriver& driver) {
    for (int index = 0; index < kDevices; ++index) {
        UsbIdentity identity;
        identity.serial = L"BENCH" + std::to_wstring(index);
        const PlugOptions options = {.huid = HuidOf(index), .portNumber = static_cast<uint32_t>(index + 1)};
        if (driver.Plug(identity, options) != ERROR_SUCCESS) return false;
    }
    for (int index = 0; index < kDevices; ++index)
        if (driver.WaitForVcom(HuidOf(index), 120000) != ERROR_SUCCESS) return false;
    return true;
}

void UnplugAll(SimulatedDriver& driver) {
    driver.Reset();
    for (int index = 0; index < kDevices; ++index)
        RemoveVcom(HuidOf(index));
}

void List() {
    Devices devices;
    KeepResult(AnswerList(devices));
}

// The nodes and their names, as any program has to find them.
void Enumerate() {
    for (const wchar_t* enumerator : {L"QRV_VBUS", L"USB", L"ROOT"}) {
        const DeviceInfoList set(SetupDiGetClassDevsW(nullptr, enumerator, nullptr, DIGCF_ALLCLASSES));
        SP_DEVINFO_DATA element = {};
        element.cbSize = sizeof(element);
        for (DWORD index = 0; SetupDiEnumDeviceInfo(set.get(), index, &element); ++index) {
            wchar_t id[260] = {};
            SetupDiGetDeviceInstanceIdW(set.get(), &element, id, 260, nullptr);
            KeepResult(id);
        }
    }
}

bool Compare(SimulatedDriver& driver) {
    if (driver.Connect(5000) != ERROR_SUCCESS || driver.Reset() != ERROR_SUCCESS) return false;
    const bool plugged = PlugAll(driver);
    if (plugged) {
        PrintBenchHeader("128 devices", "tavixctl list", "bare enumeration");
        const BenchPair pair = MeasurePair(List, Enumerate, kEffort);
        PrintBenchRow("all of it", pair);
        PrintBenchTime("list beyond the enumeration", pair.ours - pair.peer, kAimSeconds);
    }
    UnplugAll(driver);
    return plugged;
}

}  // namespace

int main() {
    const bool busWasThere = NodeExists(L"ROOT\\QRV_VBUS\\0000");
    SimulatedDriver driver;
    const bool compared = InstallPackage(TAVIX_PACKAGE_DIR) == ERROR_SUCCESS &&
                          InstallVbus() == ERROR_SUCCESS && Compare(driver);
    if (!compared) std::printf("the simulated driver cannot be reached\n");
    if (!busWasThere) RemoveVbus();
    return compared ? 0 : 1;
}
