#include "tools/global_settings.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>

#include <richedit.h>

#include "base/message_box.h"
#include "base/module.h"
#include "base/system_function.h"
#include "base/win32_handle.h"
#include "base/xfmt.h"
#include "driver/driver_info.h"
#include "driver/error_names.h"
#include "driver/messages.h"
#include "tools/global_fields.h"
#include "tools/registry_export.h"
#include "ui/activation_context.h"
#include "ui/anchor_layout.h"
#include "ui/custom_resource.h"
#include "ui/dialog_commands.h"
#include "ui/dialog_controls.h"
#include "ui/dialog_state.h"

namespace {

constexpr INT_PTR kClosed = 0;
constexpr INT_PTR kNotRead = 255;
constexpr wchar_t kNoVersionText[] = L"[TAVIX]";
constexpr int32_t kBufferTextChars = 40;

struct GlobalSettings {
    AnchorLayout layout;
    // As read or, after a save, as sent. The dialog never reads again, also when the driver's record changes
    // meanwhile: what goes out is what the user saw and confirmed.
    GlobalCfg_st record = {};
    GlobalChoices shown = {};  // for `record`
    // The chosen pre-fetch mode implies clearing and keeps that box unchecked. `clearInput` is the box's
    // state for the other modes.
    bool clearingImplied = false;
    UINT clearInput = BST_UNCHECKED;
};

constexpr AnchorRow kAnchors[] = {
    {IDOK, {100, 100, 100, 100}},
    {IDCANCEL, {100, 100, 100, 100}},
    {IDC_GLOBAL_DEFAULT, {0, 100, 0, 100}},
    {IDC_GLOBAL_EXPORT, {0, 100, 0, 100}},
    {IDC_GLOBAL_ICON, {100, 0, 100, 0}},
    {IDC_GLOBAL_DRIVER_VERSION, {100, 0, 100, 0}},
    {IDC_GLOBAL_ROB, {100, 0, 100, 0}},
    {IDC_GLOBAL_PORT_NAMES, {0, 0, 100, 0}},
    {IDC_GLOBAL_PREFETCH_HELP, {0, 0, 100, 0}},
    {IDC_GLOBAL_HELP, {0, 0, 100, 100}},
};

bool FillList(HWND dialog, const GlobalListField& list) {
    for (const wchar_t* entry : list.entries)
        if (SendDlgItemMessageW(dialog, list.controlId, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(entry)) < 0)
            return false;
    return true;
}

// A list with a hole would show and save a neighbor of the choice: then it stays empty.
void FillLists(HWND dialog) {
    for (const GlobalListField& list : kGlobalLists)
        if (!FillList(dialog, list)) SendDlgItemMessageW(dialog, list.controlId, CB_RESETCONTENT, 0, 0);
}

std::string_view HelpText() {
    const HMODULE module = ModuleInstance();
    const HRSRC place = FindResourceW(module, MAKEINTRESOURCEW(IDR_GLOBAL_SETTINGS_HELP), L"RTF");
    const HGLOBAL loaded = place != nullptr ? LoadResource(module, place) : nullptr;
    if (loaded == nullptr) return {};
    return {static_cast<const char*>(LockResource(loaded)), SizeofResource(module, place)};
}

DWORD CALLBACK TakeHelpText(DWORD_PTR text, BYTE* buffer, LONG bytes, LONG* taken) noexcept {
    auto& rest = *reinterpret_cast<std::string_view*>(text);
    const size_t count = std::min(rest.size(), static_cast<size_t>(bytes));
    std::memcpy(buffer, rest.data(), count);
    rest.remove_prefix(count);
    *taken = static_cast<LONG>(count);
    return 0;
}

void ShowHelpText(HWND dialog) {
    std::string_view text = HelpText();
    EDITSTREAM stream = {reinterpret_cast<DWORD_PTR>(&text), 0, TakeHelpText};
    SendDlgItemMessageW(dialog, IDC_GLOBAL_HELP, EM_STREAMIN, SF_RTF, reinterpret_cast<LPARAM>(&stream));
}

int SelectionOf(HWND dialog, int listId) {
    return static_cast<int>(SendDlgItemMessageW(dialog, listId, CB_GETCURSEL, 0, 0));
}

// The box keeps what the user wants for the modes that do not imply it.
void ImplyClearing(HWND dialog, GlobalSettings& settings, bool implied) {
    if (implied == settings.clearingImplied) return;
    if (implied) settings.clearInput = IsDlgButtonChecked(dialog, IDC_GLOBAL_CLEAR_INPUT);
    CheckDlgButton(dialog, IDC_GLOBAL_CLEAR_INPUT, implied ? BST_UNCHECKED : settings.clearInput);
    EnableControl(dialog, IDC_GLOBAL_CLEAR_INPUT, !implied, IDC_GLOBAL_PREFETCH_MODE);
    settings.clearingImplied = implied;
}

void ShowPrefetchMode(HWND dialog, GlobalSettings& settings) noexcept {
    const int mode = SelectionOf(dialog, IDC_GLOBAL_PREFETCH_MODE);
    SetControlText(dialog, IDC_GLOBAL_PREFETCH_HELP, PrefetchExplanation(mode));
    ShowControl(dialog, IDC_GLOBAL_BUFFER_SIZE, HasPrefetchBuffer(mode), IDC_GLOBAL_PREFETCH_MODE);
    ImplyClearing(dialog, settings, mode == kPrefetchAndDiscard);
}

void EnablePortNames(HWND dialog) {
    constexpr int kControls[] = {IDC_GLOBAL_PORT_NAMES, IDC_GLOBAL_ROB};
    EnableControls(dialog, kControls, IsBoxChecked(dialog, IDC_GLOBAL_PREFER_PORT_NAMES),
                   IDC_GLOBAL_PREFER_PORT_NAMES);
}

void ShowChoices(HWND dialog, GlobalSettings& settings, const GlobalChoices& choices) {
    ImplyClearing(dialog, settings, false);
    for (size_t i = 0; i < std::size(kGlobalChecks); ++i)
        CheckDlgButton(dialog, kGlobalChecks[i].controlId, choices.checks[i]);
    for (size_t i = 0; i < std::size(kGlobalLists); ++i)
        SendDlgItemMessageW(dialog, kGlobalLists[i].controlId, CB_SETCURSEL,
                            static_cast<WPARAM>(choices.selections[i]), 0);
    CheckBox(dialog, IDC_GLOBAL_PREFER_PORT_NAMES, choices.preferPortNames);
    SetDlgItemTextW(dialog, IDC_GLOBAL_PORT_NAMES, choices.portNames);
    EnablePortNames(dialog);
    ShowPrefetchMode(dialog, settings);
}

// False when there are names that cannot be read.
bool ReadPortNames(HWND dialog, GlobalChoices& choices) {
    const UINT read = GetDlgItemTextW(dialog, IDC_GLOBAL_PORT_NAMES, choices.portNames,
                                      static_cast<int>(std::size(choices.portNames)));
    return read != 0 || SendDlgItemMessageW(dialog, IDC_GLOBAL_PORT_NAMES, WM_GETTEXTLENGTH, 0, 0) == 0;
}

// Nothing when the names cannot be read: empty ones would be saved in their place.
std::optional<GlobalChoices> ReadChoices(HWND dialog, const GlobalSettings& settings) {
    GlobalChoices choices = {};
    for (size_t i = 0; i < std::size(kGlobalChecks); ++i) {
        const int id = kGlobalChecks[i].controlId;
        const bool kept = id == IDC_GLOBAL_CLEAR_INPUT && settings.clearingImplied;
        choices.checks[i] = kept ? settings.clearInput : IsDlgButtonChecked(dialog, id);
    }
    for (size_t i = 0; i < std::size(kGlobalLists); ++i)
        choices.selections[i] = SelectionOf(dialog, kGlobalLists[i].controlId);
    choices.preferPortNames = IsBoxChecked(dialog, IDC_GLOBAL_PREFER_PORT_NAMES);
    if (!ReadPortNames(dialog, choices)) return std::nullopt;
    return choices;
}

// The names are compared as the edit control has them, which need not be how the record has them.
void RememberShown(HWND dialog, GlobalSettings& settings) {
    settings.shown = GlobalChoicesOf(settings.record);
    ReadPortNames(dialog, settings.shown);
}

void ShowBufferSize(HWND dialog, const GlobalCfg_st& record) {
    wchar_t text[kBufferTextChars];
    xfmt(text, kBufferTextChars, L"buffer %d bytes", record.prefetchBufferBytes);
    SetControlText(dialog, IDC_GLOBAL_BUFFER_SIZE, text);
}

void ShowDriverVersion(HWND dialog) {
    wchar_t version[kDriverVersionTextChars];
    SetControlText(dialog, IDC_GLOBAL_DRIVER_VERSION,
                   GetDriverVersionText(nullptr, version) ? version : kNoVersionText);
}

// Ends the dialog when the driver cannot be asked.
void AllGlb_ReloadDlgInfo(HWND dialog, GlobalSettings& settings) {
    const UfAppErr error = GetGlobalCfg(settings.record);
    if (error != UfAppErr_Success) {
        ReportUfAppErr(dialog, L"AllGlb_ReloadDlgInfo", error);
        EndDialog(dialog, kNotRead);
        return;
    }
    ShowChoices(dialog, settings, GlobalChoicesOf(settings.record));
    RememberShown(dialog, settings);
    ShowBufferSize(dialog, settings.record);
    ShowDriverVersion(dialog);
}

// False when the settings were not saved; the controls then stay as they are. The driver's refusal is shown.
bool AllGlb_SaveDlgInfo(HWND dialog, GlobalSettings& settings) {
    const std::optional<GlobalChoices> choices = ReadChoices(dialog, settings);
    if (!choices.has_value()) return false;
    GlobalCfg_st record = settings.record;
    ApplyGlobalChoices(settings.shown, *choices, record);
    const UfAppErr error = SetGlobalCfg(record);
    if (error == UfAppErr_AccessDenied) {
        ErrorBox(dialog, L"%s", kNotAdministratorText);
        return false;
    }
    if (error != UfAppErr_Success) {
        ErrorBox(dialog, L"Error calling AllGlb_SaveDlgInfo(). UfAppErr=%d(%s).", error, UfAppErrName(error));
        return false;
    }
    settings.record = record;
    RememberShown(dialog, settings);
    return true;
}

void OnOk(HWND dialog, GlobalSettings& settings) noexcept {
    if (AllGlb_SaveDlgInfo(dialog, settings)) EndDialog(dialog, kClosed);
}

void OnCancel(HWND dialog, GlobalSettings&) noexcept {
    EndDialog(dialog, kClosed);
}

void OnDefault(HWND dialog, GlobalSettings& settings) noexcept {
    ShowChoices(dialog, settings, DefaultGlobalChoices());
}

void OnExport(HWND dialog, GlobalSettings& settings) noexcept {
    const bool saved = AllGlb_SaveDlgInfo(dialog, settings);
    if (DialogState<GlobalSettings>(dialog) != nullptr) ExportDriverParameters(dialog, saved);
}

void OnPreferPortNames(HWND dialog, GlobalSettings&) noexcept {
    EnablePortNames(dialog);
}

constexpr CommandRow<GlobalSettings> kCommands[] = {
    {IDOK, BN_CLICKED, OnOk},
    {IDCANCEL, BN_CLICKED, OnCancel},
    {IDC_GLOBAL_DEFAULT, BN_CLICKED, OnDefault},
    {IDC_GLOBAL_EXPORT, BN_CLICKED, OnExport},
    {IDC_GLOBAL_PREFER_PORT_NAMES, BN_CLICKED, OnPreferPortNames},
    {IDC_GLOBAL_PREFETCH_MODE, CBN_SELCHANGE, ShowPrefetchMode},
};

void OnInit(HWND dialog, GlobalSettings& settings) {
    SetDialogState(dialog, &settings);
    settings.layout.Init(dialog);
    settings.layout.Add(kAnchors);
    SendDlgItemMessageW(dialog, IDC_GLOBAL_PORT_NAMES, EM_LIMITTEXT, kPreferredPortsChars, 0);
    FillLists(dialog);
    ShowHelpText(dialog);
    AllGlb_ReloadDlgInfo(dialog, settings);
    SetCustomControlIcon(dialog, IDC_GLOBAL_ICON);
    SetCustomWindowIcons(dialog);
}

void OnSizeLimits(const GlobalSettings& settings, MINMAXINFO& limits) {
    const SIZE smallest = settings.layout.ReferenceSize();
    limits.ptMinTrackSize = {smallest.cx, smallest.cy};
}

INT_PTR CALLBACK GlobalSettingsDlgProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_INITDIALOG) {
        OnInit(dialog, *reinterpret_cast<GlobalSettings*>(lParam));
        return TRUE;
    }
    GlobalSettings* const settings = DialogState<GlobalSettings>(dialog);
    if (settings == nullptr) return FALSE;
    switch (message) {
        case WM_COMMAND:
            return RunCommand(kCommands, dialog, *settings, wParam);
        case WM_SIZE:
            if (wParam != SIZE_MINIMIZED) settings->layout.Reflow(LOWORD(lParam), HIWORD(lParam));
            return TRUE;
        case WM_GETMINMAXINFO:
            OnSizeLimits(*settings, *reinterpret_cast<MINMAXINFO*>(lParam));
            return TRUE;
        default:
            return FALSE;
    }
}

}  // namespace

INT_PTR ShowGlobalSettings(HWND owner) noexcept {
    // Has the class of the help text's control.
    const LoadedLibrary richEdit(LoadSystemLibrary(L"Riched20.dll"));
    if (!richEdit) {
        ErrorBox(owner, L"LoadLibrary('Riched20.dll') fail. WinErr=%d", GetLastError());
        return -1;
    }
    GlobalSettings settings;
    return IsolationAwareDialogBoxParamW(ModuleInstance(), MAKEINTRESOURCEW(IDD_GLOBAL_SETTINGS), owner,
                                         GlobalSettingsDlgProc, reinterpret_cast<LPARAM>(&settings));
}
