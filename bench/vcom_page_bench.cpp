// What the VCOM page costs: its requests, its opening, its tick, and the decoding of a USB error log.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

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
#include "pages/vcom_page.h"
#include "resources/resource_ids.h"
#include "sim/client/plugging.h"
#include "sim/shim/platform_shim.h"
#include "state/usberr_log.h"
#include "tools/tools_menu_rows.h"

namespace {

constexpr double kOpeningAddsAtMost = 0.050;  // seconds
constexpr double kMenuAddsAtMost = 0.015;
constexpr BenchAim kTickAim = {1 / 1.5};
constexpr BenchAim kDecodeAim = {1 / 1.2};
constexpr BenchEffort kWindows = {.turns = 15, .turnSeconds = 0.02};
// Each call goes through the platform's server process, whose waking-up varies: long turns.
constexpr BenchEffort kServerCalls = {.turns = 51, .turnSeconds = 0.02};
constexpr wchar_t kBusNode[] = L"ROOT\\QRV_VBUS\\0000";
constexpr wchar_t kFriendlyName[] = L"TAVIX Scanner (COM5)";

// The menu leaves at once, by the key that waits for its loop.
void LeaveTheNextMenu(HWND owner) {
    PostMessageW(owner, WM_KEYDOWN, VK_ESCAPE, 0);
}

// Shift for what this thread asks of the keyboard.
void HoldShift(bool held) {
    BYTE keys[256] = {};
    if (held) keys[VK_SHIFT] = 0x80;
    SetKeyboardState(keys);
}

// The tools menu's texts, submenu included, without icons.
OwnedMenu MakeBareMenu(std::span<const MenuRow> rows) {
    OwnedMenu menu(CreatePopupMenu());
    for (const MenuRow& row : rows) {
        if (row.text == nullptr)
            AppendMenuW(menu.get(), MF_SEPARATOR, 0, nullptr);
        else if (row.submenu.empty())
            AppendMenuW(menu.get(), MF_STRING, row.id, row.text);
        else
            AppendMenuW(menu.get(), MF_POPUP, reinterpret_cast<UINT_PTR>(MakeBareMenu(row.submenu).release()),
                        row.text);
    }
    return menu;
}

void ShowBareMenu(HWND button, bool developer) {
    MenuRow storage[kToolsMenuRows];
    const ToolsMenuLook look = {.developer = developer,
                                .terminalInstalled = false,
                                .guideOffered = true,
                                .aboutHasIcon = true,
                                .timerRunning = true,
                                .blindRunActive = false};
    const OwnedMenu menu = MakeBareMenu(FillToolsMenu(look, storage));
    RECT area = {};
    GetWindowRect(button, &area);
    TrackPopupMenuEx(menu.get(), TPM_RIGHTALIGN | TPM_RETURNCMD, area.right, area.bottom, GetParent(button),
                     nullptr);
}

class VcomPageBench {
  public:
    bool Prepare() {
        if (driver_.Connect(5000) != ERROR_SUCCESS || driver_.Reset() != ERROR_SUCCESS) return false;
        const UsbIdentity identity;
        if (driver_.Plug(identity) != ERROR_SUCCESS ||
            driver_.WaitForVcom(identity.InstanceId()) != ERROR_SUCCESS)
            return false;
        const std::wstring vcom = driver_.FindDevice(identity.InstanceId())->vcomInstanceId;
        list_.reset(SetupDiCreateDeviceInfoList(nullptr, nullptr));
        element_.cbSize = sizeof(element_);
        return SetupDiOpenDeviceInfoW(list_.get(), vcom.c_str(), nullptr, 0, &element_) &&
               SetupDiSetDeviceRegistryPropertyW(list_.get(), &element_, SPDRP_FRIENDLYNAME,
                                                 reinterpret_cast<const BYTE*>(kFriendlyName),
                                                 sizeof(kFriendlyName));
    }
    ~VcomPageBench() { driver_.Reset(); }

    void CountRequests() {
        std::printf("\nrequests to the driver\n");
        driver_.ClearRequests();
        const OwnedWindow sheet(OpenVcomSheet());
        const HWND page = PropSheet_GetCurrentPageHwnd(sheet.get());
        KillTimer(page, 51);
        PrintRequests(driver_, "page opening");
        SendMessageW(page, WM_TIMER, 51, 0);
        PrintRequests(driver_, "idle tick");
        SendDlgItemMessageW(page, IDC_VCOM_SAVE, BM_CLICK, 0, 0);
        PrintRequests(driver_, "save without a change");
        SendDlgItemMessageW(page, IDC_VCOM_PORT_NAME, CB_SETCURSEL, 41, 0);
        PressTheNextBox();
        SendDlgItemMessageW(page, IDC_VCOM_SAVE, BM_CLICK, 0, 0);
        PrintRequests(driver_, "save and the refresh after it");
        for (const bool developer : {false, true}) {
            ShowToolsMenu(page, developer);
            PrintRequests(driver_, developer ? "tools menu with Shift" : "tools menu");
        }
    }

    void CompareOpening() {
        PrintBenchHeader("a property sheet, opened and closed", "VCOM page", "empty page");
        const BenchPair pair = MeasurePair([this] { OwnedWindow sheet(OpenVcomSheet()); },
                                           [] { OwnedWindow sheet(OpenEmptySheet()); }, kWindows);
        PrintBenchRow("open and close", pair);
        PrintBenchTime("added by the page", pair.ours - pair.peer, kOpeningAddsAtMost);
    }

    void CompareTick() {
        const OwnedWindow sheet(OpenVcomSheet());
        const HWND page = PropSheet_GetCurrentPageHwnd(sheet.get());
        KillTimer(page, 51);
        PrintBenchHeader("one tick of the page", "page", "raw request");
        BenchCompare(
            "tick", [page] { SendMessageW(page, WM_TIMER, 51, 0); }, [this] { RawRequest(); }, kTickAim,
            kServerCalls);
    }

    void CompareMenu() {
        const OwnedWindow sheet(OpenVcomSheet());
        const HWND page = PropSheet_GetCurrentPageHwnd(sheet.get());
        KillTimer(page, 51);
        PrintBenchHeader("the tools menu, from the click until it is left at once", "page", "bare menu");
        for (const bool developer : {false, true}) {
            const BenchPair pair = MeasurePair([&] { ShowToolsMenu(page, developer); },
                                               [&] {
                                                   LeaveTheNextMenu(page);
                                                   ShowBareMenu(GetDlgItem(page, IDC_VCOM_TOOLS), developer);
                                               },
                                               kWindows);
            PrintBenchRow(developer ? "with Shift" : "without Shift", pair);
            PrintBenchTime(developer ? "added by icons, hint and request" : "added by icons",
                           pair.ours - pair.peer, kMenuAddsAtMost);
        }
    }

  private:
    static void ShowToolsMenu(HWND page, bool developer) {
        HoldShift(developer);
        LeaveTheNextMenu(page);
        SendDlgItemMessageW(page, IDC_VCOM_TOOLS, BM_CLICK, 0, 0);
        HoldShift(false);
    }
    HWND OpenVcomSheet() {
        params_ = std::make_unique<VcomProspageParams_st>();
        params_->deviceInfoSet = list_.get();
        params_->deviceInfoData = &element_;
        return OpenSheetWith(
            PageOf(VcomProspageDlgProc, IDD_VCOM_PAGE, static_cast<TavixProspageParam_base*>(params_.get())));
    }
    // The save's own message box would wait for a person.
    static void PressTheNextBox() {
        SetTimer(nullptr, 0, 10, [](HWND, UINT, UINT_PTR timer, DWORD) {
            const HWND box = FindWindowW(L"#32770", L"TAVIX Message");
            if (box == nullptr) return;
            KillTimer(nullptr, timer);
            PostMessageW(box, WM_COMMAND, IDOK, 0);
        });
    }
    // What one request of a tick takes with raw calls.
    void RawRequest() {
        UsbErrStat_st record = {};
        record.headerWord = kUsbErrStatHeaderWord;
        KeepResult(
            RawDeviceRequest(list_.get(), &element_, IOCTL_TAVIX_GetUsbErrStat, &record, sizeof(record)));
    }

    SimulatedDriver driver_;
    DeviceInfoList list_;
    SP_DEVINFO_DATA element_ = {};
    std::unique_ptr<VcomProspageParams_st> params_;
};

std::string LogOf(const char* line) {
    std::string log;
    while (log.size() < kUsberrTailBytes)
        log += line;
    log.resize(kUsberrTailBytes);
    return log;
}

void CompareDecoding(const char* name, const std::string& log) {
    HeapText text;
    std::vector<wchar_t> room(log.size() + 1);
    BenchCompare(
        name, [&] { KeepResult(DecodeUsberrTail(log, text)); },
        [&] {
            KeepResult(
                MultiByteToWideChar(CP_UTF8, 0, log.c_str(), -1, room.data(), static_cast<int>(room.size())));
            KeepResult(room);
        },
        kDecodeAim);
}

bool BenchPage() {
    const bool busWasThere = NodeExists(kBusNode);
    bool done = false;
    if (InstallPlatformShim() && InstallPackage(TAVIX_PACKAGE_DIR) == ERROR_SUCCESS &&
        InstallVbus() == ERROR_SUCCESS) {
        VcomPageBench bench;
        done = bench.Prepare();
        if (done) {
            bench.CountRequests();
            bench.CompareOpening();
            bench.CompareTick();
            bench.CompareMenu();
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
    PrintBenchHeader("the last 64,000 bytes of a log", "decoding", "converter");
    CompareDecoding("ASCII", LogOf("2026-03-16 14:06:40 SET_ADDRESS failed, retry 3\r\n"));
    CompareDecoding("mixed", LogOf("2026-03-16 Ger\xC3\xA4t \xE2\x82\xAC \xF0\x9F\x94\x8C failed\r\n"));
    return BenchPage() ? 0 : 1;
}
