// What the USB device page costs: its requests, its opening, its tick, with short and long logs; and what
// both device pages cost when many devices are plugged.
#include <cstdio>
#include <memory>
#include <string>

#include "base/windows_api.h"

#include <commctrl.h>
#include <prsht.h>
#include <setupapi.h>

#include "base/module.h"
#include "base/win32_handle.h"
#include "bench/harness.h"
#include "bench/page_sheet.h"
#include "bench/raw_request.h"
#include "pages/prospage_params.h"
#include "pages/usbd_page.h"
#include "pages/vcom_page.h"
#include "resources/resource_ids.h"
#include "sim/client/plugging.h"
#include "sim/shim/platform_shim.h"
#include "state/usberr_log.h"

namespace {

constexpr double kOpeningAddsAtMost = 0.050;  // seconds
constexpr BenchAim kTickAim = {1 / 1.5};
constexpr BenchAim kFlatAim = {1 / 1.2};
constexpr BenchEffort kWindows = {.turns = 15, .turnSeconds = 0.02};
// Each call goes through the platform's server process, whose waking-up varies: long turns.
constexpr BenchEffort kServerCalls = {.turns = 51, .turnSeconds = 0.02};
constexpr wchar_t kBusNode[] = L"ROOT\\QRV_VBUS\\0000";
constexpr GUID kUsbClass = {0x36FC9E60, 0xC465, 0x11CF, {0x80, 0x56, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}};
constexpr wchar_t kFriendlyName[] = L"TAVIX Scanner (COM5)";
constexpr UINT_PTR kUsbdTimer = 68;
constexpr UINT_PTR kVcomTimer = 51;

UsbIdentity IdentityOf(size_t number) {
    UsbIdentity identity;
    identity.serial = L"BENCH" + std::to_wstring(number);
    return identity;
}

// The page's window of a sheet; its timer would run on by itself.
HWND QuietPageOf(HWND sheet, UINT_PTR timer) {
    const HWND page = PropSheet_GetCurrentPageHwnd(sheet);
    KillTimer(page, timer);
    return page;
}

class UsbdPageBench {
  public:
    bool Prepare() {
        if (driver_.Connect(5000) != ERROR_SUCCESS || driver_.Reset() != ERROR_SUCCESS) return false;
        usbList_.reset(SetupDiCreateDeviceInfoList(&kUsbClass, nullptr));
        usb_.cbSize = sizeof(usb_);
        if (!SetupDiCreateDeviceInfoW(usbList_.get(), IdentityOf(0).InstanceId().c_str(), &kUsbClass, nullptr,
                                      nullptr, 0, &usb_) ||
            !SetupDiRegisterDeviceInfo(usbList_.get(), &usb_, 0, nullptr, nullptr, nullptr) || !PlugUpTo(1) ||
            !UsberrLogPath(usbList_.get(), &usb_, logPath_))
            return false;
        CreateDirectoryW(L"C:\\windows\\System32\\QrvTavix", nullptr);
        CreateDirectoryW(L"C:\\windows\\System32\\QrvTavix\\usberr", nullptr);
        const SimDeviceState_st device = *driver_.FindDevice(IdentityOf(0).InstanceId());
        huid_ = device.huid;
        vcomList_.reset(SetupDiCreateDeviceInfoList(nullptr, nullptr));
        vcom_.cbSize = sizeof(vcom_);
        return SetupDiOpenDeviceInfoW(vcomList_.get(), device.vcomInstanceId, nullptr, 0, &vcom_) &&
               SetupDiSetDeviceRegistryPropertyW(vcomList_.get(), &vcom_, SPDRP_FRIENDLYNAME,
                                                 reinterpret_cast<const BYTE*>(kFriendlyName),
                                                 sizeof(kFriendlyName));
    }
    ~UsbdPageBench() {
        driver_.Reset();
        DeleteFileW(logPath_);
        SetupDiRemoveDevice(usbList_.get(), &usb_);
    }

    void CountRequests() {
        std::printf("\nrequests of the USB device page to the driver\n");
        driver_.ClearRequests();
        const OwnedWindow sheet(OpenUsbdSheet());
        const HWND page = QuietPageOf(sheet.get(), kUsbdTimer);
        PrintRequests(driver_, "page opening");
        SendMessageW(page, WM_TIMER, kUsbdTimer, 0);
        PrintRequests(driver_, "idle tick");
        driver_.SetPresence(IdentityOf(0).InstanceId(), false, 0);
        SendMessageW(page, WM_TIMER, kUsbdTimer, 0);
        PrintRequests(driver_, "idle tick of an absent device");
        driver_.SetPresence(IdentityOf(0).InstanceId(), true, 0);
    }

    void CompareOpening() {
        PrintBenchHeader("a property sheet, opened and closed", "USB page", "empty page");
        const BenchPair pair = MeasurePair([this] { OwnedWindow sheet(OpenUsbdSheet()); },
                                           [] { OwnedWindow sheet(OpenEmptySheet()); }, kWindows);
        PrintBenchRow("open and close", pair);
        PrintBenchTime("added by the page", pair.ours - pair.peer, kOpeningAddsAtMost);
    }

    void CompareTick() {
        const OwnedWindow sheet(OpenUsbdSheet());
        const HWND page = QuietPageOf(sheet.get(), kUsbdTimer);
        PrintBenchHeader("one tick of the page", "page", "raw requests");
        BenchCompare(
            "tick without a log", [page] { SendMessageW(page, WM_TIMER, kUsbdTimer, 0); },
            [this] { RawTick(); }, kTickAim, kServerCalls);
    }

    // The same page looks at one log after the other.
    void CompareLogs() {
        PrintBenchHeader("one tick with a log", "100 MB", "64 KB");
        const double huge = TickWithLog(100 * 1024 * 1024);
        const double small = TickWithLog(64 * 1024);
        PrintBenchRow("tick", {huge, small}, kFlatAim);
        DeleteFileW(logPath_);
    }

    void ComparePluggedDevices() {
        const Costs one = Measure();
        for (const size_t devices : {size_t{16}, size_t{128}}) {
            if (!PlugUpTo(devices)) {
                std::printf("%zu devices could not be plugged\n", devices);
                return;
            }
            const Costs many = Measure();
            char title[40];
            std::snprintf(title, sizeof(title), "%zu devices plugged", devices);
            PrintBenchHeader(title, "many", "one");
            PrintBenchRow("USB page, open and close", {many.usbdOpening, one.usbdOpening}, kFlatAim);
            PrintBenchRow("USB page, tick", {many.usbdTick, one.usbdTick}, kFlatAim);
            PrintBenchRow("VCOM page, open and close", {many.vcomOpening, one.vcomOpening}, kFlatAim);
            PrintBenchRow("VCOM page, tick", {many.vcomTick, one.vcomTick}, kFlatAim);
        }
    }

  private:
    struct Costs {
        double usbdOpening;
        double usbdTick;
        double vcomOpening;
        double vcomTick;
    };

    bool PlugUpTo(size_t devices) {
        for (; plugged_ < devices; ++plugged_) {
            const UsbIdentity identity = IdentityOf(plugged_);
            if (driver_.Plug(identity) != ERROR_SUCCESS ||
                driver_.WaitForVcom(identity.InstanceId(), 60000) != ERROR_SUCCESS)
                return false;
        }
        return true;
    }
    template <typename Params>
    HWND OpenSheet(DLGPROC procedure, WORD templateId, std::unique_ptr<Params>& params, HDEVINFO list,
                   SP_DEVINFO_DATA& element) {
        params = std::make_unique<Params>();
        params->deviceInfoSet = list;
        params->deviceInfoData = &element;
        return OpenSheetWith(
            PageOf(procedure, templateId, static_cast<TavixProspageParam_base*>(params.get())));
    }
    HWND OpenUsbdSheet() {
        return OpenSheet(UsbdProspageDlgProc, IDD_USBD_PAGE, usbdParams_, usbList_.get(), usb_);
    }
    HWND OpenVcomSheet() {
        return OpenSheet(VcomProspageDlgProc, IDD_VCOM_PAGE, vcomParams_, vcomList_.get(), vcom_);
    }
    void RawTick() {
        VcomCfgReply_st config;
        KeepResult(RawNamedRequest(huid_.c_str(), IOCTL_TAVIX_GetVcomCfg, &config, sizeof(config)));
        UsbdInfo_st info;
        KeepResult(RawNamedRequest(huid_.c_str(), IOCTL_TAVIX_GetUsbdInfo, &info, sizeof(info)));
    }
    double TickWithLog(LONG bytes) {
        {
            const FileHandle file(
                CreateFileW(logPath_, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
            std::string tail;
            while (tail.size() < kUsberrTailBytes)
                tail += "2026-03-16 14:06:40 SET_ADDRESS failed, retry 3\r\n";
            SetFilePointer(file.get(), bytes - kUsberrTailBytes, nullptr, FILE_BEGIN);
            DWORD written = 0;
            WriteFile(file.get(), tail.data(), kUsberrTailBytes, &written, nullptr);
        }
        const OwnedWindow sheet(OpenUsbdSheet());
        const HWND page = QuietPageOf(sheet.get(), kUsbdTimer);
        return MeasureMedian([page] { SendMessageW(page, WM_TIMER, kUsbdTimer, 0); }, kServerCalls);
    }
    Costs Measure() {
        Costs costs = {};
        costs.usbdOpening = MeasureMedian([this] { OwnedWindow sheet(OpenUsbdSheet()); }, kWindows);
        costs.vcomOpening = MeasureMedian([this] { OwnedWindow sheet(OpenVcomSheet()); }, kWindows);
        {
            const OwnedWindow sheet(OpenUsbdSheet());
            const HWND page = QuietPageOf(sheet.get(), kUsbdTimer);
            costs.usbdTick =
                MeasureMedian([page] { SendMessageW(page, WM_TIMER, kUsbdTimer, 0); }, kServerCalls);
        }
        const OwnedWindow sheet(OpenVcomSheet());
        const HWND page = QuietPageOf(sheet.get(), kVcomTimer);
        costs.vcomTick = MeasureMedian([page] { SendMessageW(page, WM_TIMER, kVcomTimer, 0); }, kServerCalls);
        return costs;
    }

    SimulatedDriver driver_;
    size_t plugged_ = 0;
    std::wstring huid_;
    wchar_t logPath_[kUsberrPathChars] = {};
    DeviceInfoList usbList_;
    SP_DEVINFO_DATA usb_ = {};
    DeviceInfoList vcomList_;
    SP_DEVINFO_DATA vcom_ = {};
    std::unique_ptr<UsbdProspageParams_st> usbdParams_;
    std::unique_ptr<VcomProspageParams_st> vcomParams_;
};

bool BenchPage() {
    const bool busWasThere = NodeExists(kBusNode);
    bool done = false;
    if (InstallPlatformShim() && InstallPackage(TAVIX_PACKAGE_DIR) == ERROR_SUCCESS &&
        InstallVbus() == ERROR_SUCCESS) {
        UsbdPageBench bench;
        done = bench.Prepare();
        if (done) {
            bench.CountRequests();
            bench.CompareOpening();
            bench.CompareTick();
            bench.CompareLogs();
            bench.ComparePluggedDevices();
        }
    }
    if (!done) std::printf("the simulated driver cannot be reached\n");
    if (!busWasThere) RemoveVbus();
    return done;
}

}  // namespace

int main() {
    SetModuleInstance(GetModuleHandleW(nullptr));
    InitCommonControls();
    return BenchPage() ? 0 : 1;
}
