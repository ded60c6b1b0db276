// What a refresh of the Flowpath statistics costs beside its one request, and what opening their window adds
// to an empty info box.
#include <cstdio>

#include "base/windows_api.h"

#include <commctrl.h>

#include "base/time_text.h"
#include "bench/harness.h"
#include "bench/raw_request.h"
#include "driver/device_info.h"
#include "driver/flowpath_report.h"
#include "driver/vbus.h"
#include "sim/client/plugging.h"
#include "tools/flowpath_stat.h"
#include "ui/info_box.h"

namespace {

constexpr wchar_t kBusNode[] = L"ROOT\\QRV_VBUS\\0000";
constexpr wchar_t kFriendlyName[] = L"TAVIX Scanner (COM5)";
constexpr wchar_t kTitle[] = L"<TAVIX Scanner (COM5)> Flowpath Statistics";
constexpr int32_t kTextChars = 4000;
constexpr BenchAim kRefreshAim = {1 / 1.3};
// Each call goes through the platform's server process, whose waking-up varies: long turns.
constexpr BenchEffort kServerCalls = {.turns = 51, .turnSeconds = 0.02};
constexpr BenchEffort kWindows = {.turns = 15, .turnSeconds = 0.02};

using TimerWork = void (*)(HWND box);
TimerWork g_work = nullptr;

// Runs the work on the window's own thread once the window is there, then closes it.
void WhenOpened(TimerWork work) {
    g_work = work;
    SetTimer(nullptr, 0, 1, [](HWND, UINT, UINT_PTR timer, DWORD) {
        const HWND box = FindWindowW(L"#32770", kTitle);
        if (box == nullptr) return;
        KillTimer(nullptr, timer);
        g_work(box);
        PostMessageW(box, WM_COMMAND, IDOK, 0);
    });
}

class FlowpathBench {
  public:
    bool Prepare() {
        if (driver_.Connect(5000) != ERROR_SUCCESS || driver_.Reset() != ERROR_SUCCESS) return false;
        const UsbIdentity identity;
        if (driver_.Plug(identity) != ERROR_SUCCESS ||
            driver_.WaitForVcom(identity.InstanceId()) != ERROR_SUCCESS)
            return false;
        const std::wstring vcom = driver_.FindDevice(identity.InstanceId())->vcomInstanceId;
        driver_.SetNumber(L"1&2", kSimFieldUpstreamRate, 1'000'000);
        driver_.SetNumber(L"1&2", kSimFieldDownstreamRate, 1'000'000);
        s_list.reset(SetupDiCreateDeviceInfoList(nullptr, nullptr));
        s_element.cbSize = sizeof(s_element);
        return SetupDiOpenDeviceInfoW(s_list.get(), vcom.c_str(), nullptr, 0, &s_element) &&
               SetupDiSetDeviceRegistryPropertyW(s_list.get(), &s_element, SPDRP_FRIENDLYNAME,
                                                 reinterpret_cast<const BYTE*>(kFriendlyName),
                                                 sizeof(kFriendlyName));
    }
    ~FlowpathBench() { driver_.Reset(); }

    static void CompareRefresh() {
        PrintBenchHeader("one refresh of the statistics", "refresh", "raw request");
        BenchCompare("read and format", ReadAndFormat, RawRequest, kRefreshAim, kServerCalls);
        WhenOpened([](HWND box) {
            BenchCompare(
                "the window's whole tick", [box] { SendMessageW(box, WM_TIMER, 1, 0); }, RawRequest, {},
                kServerCalls);
        });
        Show();
        static FlowpathStat_st s_record = {};
        static wchar_t s_text[kTextChars];
        PrintBenchTime(
            "formatting alone", MeasureMedian([] {
                FormatFlowpathReport({kFriendlyName, L",", s_record, s_record, 500}, s_text, kTextChars);
                KeepResult(s_text);
            }));
    }

    static void CompareOpening() {
        PrintBenchHeader("a window, opened and closed", "statistics", "empty info box");
        BenchCompare(
            "open and close",
            [] {
                WhenOpened([](HWND) {});
                Show();
            },
            [] {
                WhenOpened([](HWND) {});
                FlexiInfoParams params = {};
                params.title = kTitle;
                params.okText = L"Close";
                FlexiInfoBox(nullptr, &params, nullptr);
            },
            {}, kWindows);
    }

  private:
    static void Show() {
        ShowFlowpathStat({.page = nullptr,
                          .deviceSet = s_list.get(),
                          .device = &s_element,
                          .portName = L"COM5",
                          .hint = nullptr,
                          .timerRunning = false,
                          .runTimer = nullptr},
                         false);
    }
    // What the window's callback does, without the window.
    static void ReadAndFormat() {
        static wchar_t s_text[kTextChars];
        static FlowpathStat_st s_previous = {};
        wchar_t name[kFriendlyNameChars];
        GetDeviceFriendlyName(s_list.get(), &s_element, name);
        FlowpathStat_st record = {};
        DoDeviceIoctl(s_list.get(), &s_element, IOCTL_TAVIX_GetFlowpathStat, &record, sizeof(record));
        FormatFlowpathReport({name, L",", record, s_previous, 500}, s_text, kTextChars);
        s_previous = record;
        KeepResult(s_text);
    }
    static void RawRequest() {
        FlowpathStat_st record = {};
        KeepResult(
            RawDeviceRequest(s_list.get(), &s_element, IOCTL_TAVIX_GetFlowpathStat, &record, sizeof(record)));
    }

    SimulatedDriver driver_;
    inline static DeviceInfoList s_list;
    inline static SP_DEVINFO_DATA s_element = {};
};

}  // namespace

int main() {
    InitCommonControls();
    const bool busWasThere = NodeExists(kBusNode);
    bool done = false;
    if (InstallPackage(TAVIX_PACKAGE_DIR) == ERROR_SUCCESS && InstallVbus() == ERROR_SUCCESS) {
        FlowpathBench bench;
        done = bench.Prepare();
        if (done) {
            FlowpathBench::CompareRefresh();
            FlowpathBench::CompareOpening();
        }
    }
    if (!done) std::printf("the simulated driver cannot be reached\n");
    if (!busWasThere) RemoveVbus();
    return done ? 0 : 1;
}
