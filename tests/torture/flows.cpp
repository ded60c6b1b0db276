#include "tests/torture/flows.h"

#include <string>

#include "resources/resource_ids.h"
#include "tests/torture/sheet.h"

namespace {

constexpr wchar_t kParametersKey[] = L"SYSTEM\\CurrentControlSet\\services\\Qrv_tavix\\Parameters";
constexpr int32_t kSuccess = 0;  // STATUS_SUCCESS
constexpr DWORD kPostProcessingRequired = 0xE0000226;

// ---- loading and the installer's events

void Load(Torture& torture) {
    const HMODULE module = GetModuleHandleW(L"tavix_coinstaller.dll");
    const auto* const base = reinterpret_cast<const char*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const auto entry = reinterpret_cast<BOOL(WINAPI*)(HINSTANCE, DWORD, void*)>(
        const_cast<char*>(base) + headers->OptionalHeader.AddressOfEntryPoint);
    entry(module, DLL_PROCESS_DETACH, nullptr);
    torture.Suffer([&] {
        if (entry(module, DLL_PROCESS_ATTACH, nullptr) == FALSE) return;
        entry(module, DLL_PROCESS_DETACH, nullptr);
    });
    torture.Expect(entry(module, DLL_PROCESS_ATTACH, nullptr) != FALSE, "the module loads");
}

struct InstallEvent {
    const char* name;
    DI_FUNCTION function;
    Node node;
    DWORD result = NO_ERROR;
    bool postProcessing = false;
};

constexpr InstallEvent kInstallEvents[] = {
    {"install USB device", DIF_INSTALLDEVICE, Node::kUsb},
    {"install VCOM", DIF_INSTALLDEVICE, Node::kVcom, kPostProcessingRequired},
    {"install VCOM, second pass", DIF_INSTALLDEVICE, Node::kVcom, NO_ERROR, true},
    {"install bus", DIF_INSTALLDEVICE, Node::kBus},
    {"change USB device", DIF_PROPERTYCHANGE, Node::kUsb},
    {"change VCOM", DIF_PROPERTYCHANGE, Node::kVcom},
    {"change bus", DIF_PROPERTYCHANGE, Node::kBus},
    {"select USB device", DIF_SELECTDEVICE, Node::kUsb},
    {"destroy private data of the bus", DIF_DESTROYPRIVATEDATA, Node::kBus},
    {"remove USB device", DIF_REMOVE, Node::kUsb},
    {"remove VCOM", DIF_REMOVE, Node::kVcom},
    {"remove bus", DIF_REMOVE, Node::kBus},
};

// Says yes to the next requests of the code and does nothing, so that every run begins the same.
void AcceptIdly(Torture& torture, uint32_t code) {
    torture.driver.FailNext(code, kSuccess, kSimForever);
}

void RunInstallEvent(Torture& torture, const InstallEvent& event) {
    AcceptIdly(torture, IOCTL_TAVIX_RemoveDevice);
    RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kParametersKey, L"InitVMDetectDone");
    // A device whose ID cannot be read is none of ours, which is no error.
    torture.Suffer([&] {
        const DWORD result = torture.CallExport(event.function, event.node, event.postProcessing);
        torture.Expect(result == event.result || result == NO_ERROR, "the documented result");
    });
    const DWORD done = 1;
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, kParametersKey, L"InitVMDetectDone", REG_DWORD, &done, sizeof(done));
}

// ---- pages

struct PageName {
    const char* name;
    Node node;
};

constexpr PageName kPages[] = {
    {"USB page", Node::kUsb}, {"VCOM page", Node::kVcom}, {"bus page", Node::kBus}};

void OpenAndTick(Torture& torture, Node node) {
    std::unique_ptr<Sheet> sheet;
    torture.Suffer([&] {
        sheet = std::make_unique<Sheet>(torture, node);
        for (int tick = 0; tick < torture.Ticks(); ++tick)
            sheet->Tick();
    });
    sheet->ExpectUsable();
}

void TickOnly(Torture& torture, Node node) {
    const Sheet sheet(torture, node);
    torture.Suffer([&] {
        for (int tick = 0; tick < torture.Ticks(); ++tick)
            sheet.Tick();
    });
    sheet.ExpectUsable();
}

void CloseOnly(Torture& torture, Node node) {
    Sheet sheet(torture, node);
    torture.Suffer([&] { sheet.Close(); });
}

// What the user does on an open page.
struct PageAction {
    const char* name;
    Node node;
    void (*run)(Torture& torture, const Sheet& sheet);
    std::vector<int> keys = {};
    std::vector<UINT> choices = {};
    bool closesSheet = false;
};

template <int controlId>
void Click(Torture&, const Sheet& sheet) {
    sheet.Click(controlId);
}

template <int controlId>
void DoubleClick(Torture&, const Sheet& sheet) {
    sheet.DoubleClick(controlId);
}

template <UINT notification>
void Notify(Torture&, const Sheet& sheet) {
    sheet.Notify(notification);
}

// A configuration that cannot be read counts as different.
void SaveWithoutAChange(Torture& torture, const Sheet& sheet) {
    torture.AllowWrite(IOCTL_TAVIX_SetVcomCfg);
    torture.AllowWrite(IOCTL_TAVIX_SetGlobalCfg);
    sheet.Click(IDC_VCOM_SAVE);
    torture.ExpectGlobalsUnchanged();
}

void SaveAChange(Torture&, const Sheet& sheet) {
    sheet.CheckBox(IDC_VCOM_SERIAL_IN_NAMES, true);
    sheet.Click(IDC_VCOM_SAVE);
}

void ApplyAChange(Torture&, const Sheet& sheet) {
    sheet.CheckBox(IDC_VCOM_SERIAL_IN_NAMES, true);
    sheet.Notify(PSN_APPLY);
}

void DoubleClickThePage(Torture&, const Sheet& sheet) {
    SendMessageW(sheet.page(), WM_LBUTTONDBLCLK, 0, 0);
}

void PressEscape(Torture&, const Sheet& sheet) {
    SendMessageW(sheet.page(), WM_COMMAND, IDCANCEL, 0);
}

void WriteAnError(Torture& torture) {
    torture.driver.WriteUsbErrorLog(torture.InstanceIdOf(Node::kUsb), L"SET_ADDRESS failed");
}

void ClearTheLog(Torture& torture, const Sheet& sheet) {
    WriteAnError(torture);
    sheet.Click(IDC_USBD_CLEAR);
}

void SaveTheLog(Torture& torture, const Sheet& sheet) {
    WriteAnError(torture);
    sheet.Click(IDC_USBD_SAVE_TO_FILE);
}

void ShowTheViews(Torture& torture, const Sheet& sheet) {
    WriteAnError(torture);
    sheet.Click(IDC_USBD_SHOW_PAST);
    sheet.Click(IDC_USBD_SHOW_RECENT);
}

void AskWhoOpened(Torture& torture, const Sheet& sheet) {
    torture.driver.SetOpenerPid(torture.huid(), GetCurrentProcessId());
    sheet.Click(IDC_VCOM_WHO_OPENED);
}

// ---- dialogs that a page opens

// The dialog is used with `script` in place of two ticks.
template <int controlId>
void ClickFor(Torture& torture, const Sheet& sheet, const std::function<void(HWND)>& script) {
    torture.user.dialogScripts.push_back(script);
    sheet.Click(controlId);
}

void ChangeGlobals(Torture& torture, const Sheet& sheet, int button) {
    ClickFor<IDC_VCOM_MORE_GLOBALS>(torture, sheet, [&torture, button](HWND dialog) {
        CheckDlgButton(dialog, IDC_GLOBAL_VIRTUAL_MACHINE, BST_CHECKED);
        torture.user.Click(dialog, button);
    });
}

void SaveGlobals(Torture& torture, const Sheet& sheet) {
    ChangeGlobals(torture, sheet, IDOK);
}

void ExportGlobals(Torture& torture, const Sheet& sheet) {
    ChangeGlobals(torture, sheet, IDC_GLOBAL_EXPORT);
}

void DefaultGlobals(Torture& torture, const Sheet& sheet) {
    ChangeGlobals(torture, sheet, IDC_GLOBAL_DEFAULT);
}

void CancelGlobals(Torture& torture, const Sheet& sheet) {
    ChangeGlobals(torture, sheet, IDCANCEL);
}

void ChooseGlobals(Torture& torture, const Sheet& sheet) {
    ClickFor<IDC_VCOM_MORE_GLOBALS>(torture, sheet, [](HWND dialog) {
        for (const int list :
             {IDC_GLOBAL_PREFETCH_MODE, IDC_GLOBAL_NEW_VCOM_LIFEMODE, IDC_GLOBAL_DATAPIPE_LIFEMODE}) {
            SendDlgItemMessageW(dialog, list, CB_SETCURSEL, 1, 0);
            SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(list, CBN_SELCHANGE),
                         reinterpret_cast<LPARAM>(GetDlgItem(dialog, list)));
        }
        SendMessageW(GetDlgItem(dialog, IDC_GLOBAL_PREFER_PORT_NAMES), BM_CLICK, 0, 0);
        SetWindowPos(dialog, nullptr, 0, 0, 700, 500, SWP_NOMOVE | SWP_NOZORDER);
        SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    });
}

// Each choice is made from the box's context menu.
void ChooseInBox(HWND box) {
    constexpr int kMostEntries = 5;
    constexpr UINT_PTR kHintTimer = 3;
    SendMessageW(box, WM_TIMER, kHintTimer, 0);
    for (int entry = 0; entry < kMostEntries && IsWindowVisible(box); ++entry)
        SendMessageW(box, WM_RBUTTONDOWN, MK_RBUTTON, MAKELPARAM(5, 5));
    if (!IsWindowVisible(box)) return;
    SendMessageW(box, WM_COMMAND, 103, 0);  // Refresh
    SendMessageW(GetDlgItem(box, 102), BM_CLICK, 0, 0);
    SendMessageW(GetDlgItem(box, 102), BM_CLICK, 0, 0);
    SetWindowPos(box, nullptr, 0, 0, 500, 400, SWP_NOMOVE | SWP_NOZORDER);
}

void UseToolsBox(Torture& torture, const Sheet& sheet) {
    ClickFor<IDC_VCOM_TOOLS>(torture, sheet, ChooseInBox);
}

void UseDetails(Torture& torture, const Sheet& sheet) {
    ShowWindow(GetDlgItem(sheet.page(), IDC_VCOM_USB_ERROR_DETAILS), SW_SHOW);
    ClickFor<IDC_VCOM_USB_ERROR_DETAILS>(torture, sheet, ChooseInBox);
}

void UseTweaks(Torture& torture, const Sheet& sheet) {
    ClickFor<IDC_VCOM_TOOLS>(torture, sheet, [&torture](HWND dialog) {
        for (const int button :
             {IDC_TWEAK_RESET_OUT_PIPE, IDC_TWEAK_RESET_IN_PIPE, IDC_TWEAK_RESET_PORT, IDC_TWEAK_CYCLE_PORT})
            torture.user.Click(dialog, button);
    });
}

// Special entries of the context menu, as commands.
constexpr UINT kCopy = 0x40000002;
constexpr UINT kShowTime = 0x40000003;
constexpr UINT kDetach = 0x40000004;
constexpr UINT kSeparators = 100;
constexpr UINT kResetSession = 101;

const PageAction kActions[] = {
    {"USB page: ...", Node::kUsb, Click<IDC_USBD_OPEN_VCOM>},
    {"USB page: views", Node::kUsb, ShowTheViews},
    {"USB page: clear", Node::kUsb, ClearTheLog},
    {"USB page: save to file", Node::kUsb, SaveTheLog},
    {"USB page: file logging", Node::kUsb, Click<IDC_FILE_LOGGING>},
    {"USB page: Escape", Node::kUsb, PressEscape, {}, {}, true},

    {"VCOM page: who opened", Node::kVcom, AskWhoOpened},
    {"VCOM page: default", Node::kVcom, Click<IDC_VCOM_DEFAULT>},
    {"VCOM page: refresh", Node::kVcom, Click<IDC_VCOM_REFRESH>},
    {"VCOM page: save without a change", Node::kVcom, SaveWithoutAChange},
    {"VCOM page: save", Node::kVcom, SaveAChange},
    {"VCOM page: apply", Node::kVcom, ApplyAChange},
    {"VCOM page: leave", Node::kVcom, Notify<PSN_KILLACTIVE>},
    {"VCOM page: file logging", Node::kVcom, Click<IDC_FILE_LOGGING>},
    {"VCOM page: most verbose logging",
     Node::kVcom,
     Click<IDC_FILE_LOGGING>,
     {VK_SHIFT, VK_CONTROL, VK_MENU}},
    {"VCOM page: double click", Node::kVcom, DoubleClickThePage},
    {"VCOM page: double click for the port", Node::kVcom, DoubleClickThePage, {VK_SHIFT}},
    {"VCOM page: error details", Node::kVcom, UseDetails},
    {"VCOM page: error details once", Node::kVcom, UseDetails, {VK_MENU}},

    {"global settings: OK", Node::kVcom, SaveGlobals},
    {"global settings: export", Node::kVcom, ExportGlobals},
    {"global settings: default", Node::kVcom, DefaultGlobals},
    {"global settings: cancel", Node::kVcom, CancelGlobals},
    {"global settings: choices", Node::kVcom, ChooseGlobals},

    {"tools: no choice", Node::kVcom, Click<IDC_VCOM_TOOLS>},
    {"tools: no choice, developer", Node::kVcom, Click<IDC_VCOM_TOOLS>, {VK_SHIFT}},
    {"tools: terminal", Node::kVcom, Click<IDC_VCOM_TOOLS>, {}, {IDM_TOOLS_TERMINAL}},
    {"tools: terminal, forced", Node::kVcom, Click<IDC_VCOM_TOOLS>, {VK_CONTROL}, {IDM_TOOLS_TERMINAL}},
    {"tools: flowpath",
     Node::kVcom,
     UseToolsBox,
     {},
     {IDM_TOOLS_FLOWPATH_STAT, kCopy, kShowTime, kSeparators, kResetSession}},
    {"tools: flowpath, detach", Node::kVcom, UseToolsBox, {}, {IDM_TOOLS_FLOWPATH_STAT, kDetach}},
    {"tools: flowpath, detached", Node::kVcom, UseToolsBox, {VK_CONTROL}, {IDM_TOOLS_FLOWPATH_STAT, kDetach}},
    {"tools: USB property", Node::kVcom, Click<IDC_VCOM_TOOLS>, {}, {IDM_TOOLS_USB_PROPERTY}},
    {"tools: user guide", Node::kVcom, Click<IDC_VCOM_TOOLS>, {}, {IDM_TOOLS_USER_GUIDE}},
    {"tools: about", Node::kVcom, Click<IDC_VCOM_TOOLS>, {}, {IDM_TOOLS_ABOUT}},
    {"tools: about with credits",
     Node::kVcom,
     Click<IDC_VCOM_TOOLS>,
     {VK_MENU, VK_CONTROL, VK_SHIFT},
     {IDM_TOOLS_ABOUT}},
    {"tools: tweak", Node::kVcom, UseTweaks, {VK_SHIFT}, {IDM_TOOLS_USB_TWEAK}},
    {"tools: tweak, detached", Node::kVcom, UseTweaks, {VK_SHIFT, VK_CONTROL}, {IDM_TOOLS_USB_TWEAK}},
    {"tools: IRP states", Node::kVcom, UseToolsBox, {VK_SHIFT}, {IDM_TOOLS_IRP_STATES, kCopy, kDetach}},
    {"tools: IRP states once", Node::kVcom, UseToolsBox, {VK_SHIFT, VK_MENU}, {IDM_TOOLS_IRP_STATES}},
    {"tools: stop timer", Node::kVcom, Click<IDC_VCOM_TOOLS>, {VK_SHIFT}, {IDM_TOOLS_STOP_TIMER}},
    {"tools: destroy history", Node::kVcom, Click<IDC_VCOM_TOOLS>, {VK_SHIFT}, {IDM_TOOLS_DESTROY_HISTORY}},
    {"tools: dangle VCOM", Node::kVcom, Click<IDC_VCOM_TOOLS>, {VK_SHIFT}, {IDM_TOOLS_DANGLE_VCOM}},
    {"tools: blind run", Node::kVcom, Click<IDC_VCOM_TOOLS>, {VK_SHIFT}, {IDM_TOOLS_START_BLIND_RUN}},
    {"tools: device state", Node::kVcom, Click<IDC_VCOM_TOOLS>, {VK_SHIFT}, {IDM_DEVICE_STATE_NO + 1}},

    {"bus page: file logging", Node::kBus, Click<IDC_FILE_LOGGING>},
    {"bus page: IRP states", Node::kBus, DoubleClick<IDC_VBUS_DEVELOPER_MENU>, {}, {IDM_VBUS_IRP_STATES}},
    {"bus page: dangle VCOM", Node::kBus, DoubleClick<IDC_VBUS_DEVELOPER_MENU>, {}, {IDM_VBUS_DANGLE_VCOM_1}},
    {"bus page: crash", Node::kBus, DoubleClick<IDC_VBUS_DEVELOPER_MENU>, {}, {IDM_VBUS_CRASH}},
    {"bus page: resize", Node::kBus,
     [](Torture&, const Sheet& sheet) {
         SetWindowPos(sheet.page(), nullptr, 0, 0, 600, 500, SWP_NOMOVE | SWP_NOZORDER);
     }},
};

void Act(Torture& torture, const PageAction& action) {
    AcceptIdly(torture, IOCTL_TAVIX_CreateDangleVcom);
    const Sheet sheet(torture, action.node);
    torture.user.heldKeys.insert(action.keys.begin(), action.keys.end());
    torture.user.menuChoices.assign(action.choices.begin(), action.choices.end());
    torture.Suffer([&] { action.run(torture, sheet); });
    torture.user.heldKeys.clear();
    torture.user.menuChoices.clear();
    torture.user.dialogScripts.clear();
    if (!action.closesSheet) sheet.ExpectUsable();
}

}  // namespace

std::vector<Flow> AllFlows() {
    std::vector<Flow> flows = {{"load", Load}};
    for (const InstallEvent& event : kInstallEvents)
        flows.push_back({event.name, [&event](Torture& torture) { RunInstallEvent(torture, event); }});
    for (const PageName& page : kPages) {
        const std::string name = page.name;
        flows.push_back({name + ": open", [&page](Torture& torture) { OpenAndTick(torture, page.node); }});
        flows.push_back({name + ": two ticks", [&page](Torture& torture) { TickOnly(torture, page.node); }});
        flows.push_back({name + ": close", [&page](Torture& torture) { CloseOnly(torture, page.node); }});
    }
    for (const PageAction& action : kActions)
        flows.push_back({action.name, [&action](Torture& torture) { Act(torture, action); }});
    return flows;
}
