// Shows what the driver and the system know about the VCOM.
#include "base/bounded_text.h"
#include "base/message_box.h"
#include "base/os_version.h"
#include "base/xfmt.h"
#include "driver/error_names.h"
#include "driver/messages.h"
#include "pages/port_names.h"
#include "pages/vcom_page_parts.h"

namespace {

// Disabled without a VCOM configuration.
constexpr int kConfigControls[] = {
    IDC_VCOM_PORT_NAME,
    IDC_VCOM_LIFEMODE_TEMPORAL,
    IDC_VCOM_LIFEMODE_FRIENDLY,
    IDC_VCOM_LIFEMODE_PERSISTENT,
    IDC_VCOM_SERIAL_IN_NAMES,
    IDC_VCOM_BIND_SEQUENTIAL,
    IDC_VCOM_BIND_DEVICE_TYPE,
    IDC_VCOM_BIND_SERIAL_NUMBER,
    IDC_VCOM_BIND_USB_PORT,
    IDC_VCOM_DEFAULT,
    IDC_VCOM_SAVE,
    IDC_VCOM_WHO_OPENED,
    IDC_VCOM_TOOLS,
    IDC_FILE_LOGGING,
    IDC_VCOM_MORE_GLOBALS,
};

void Disable(HWND page, int controlId) noexcept {
    EnableControl(page, controlId, false, IDC_VCOM_REFRESH);
}

void EnableConfigControls(HWND page, bool enabled) noexcept {
    EnableControls(page, kConfigControls, enabled, IDC_VCOM_REFRESH);
}

void SetNotPlugged(HWND page, VcomProspageParams_st& state, uint8_t reason, bool notPlugged) noexcept {
    const uint8_t before = state.notPlugged;
    state.notPlugged = static_cast<uint8_t>(notPlugged ? before | reason : before & ~reason);
    if ((before != 0) != (state.notPlugged != 0))
        InvalidateRect(GetDlgItem(page, IDC_VCOM_FRIENDLY_NAME), nullptr, TRUE);
}

// The list position of the name in use, -1 when the list does not have it.
int32_t SelectionOf(const wchar_t* portName) noexcept {
    const auto number = ParsePortNumber(portName);
    const bool listed = number.has_value() && *number >= 1 && *number <= static_cast<int32_t>(kPortNameCount);
    return listed ? *number - 1 : -1;
}

bool AddPortEntries(HWND list, const VcomCfgReply_st& config) noexcept {
    for (size_t entry = 0; entry < kPortNameCount; ++entry) {
        wchar_t text[kPortEntryChars];
        FormatPortEntry(static_cast<int32_t>(entry) + 1, config.portStates[entry], text);
        if (SendMessageW(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text)) < 0) return false;
    }
    return true;
}

// An incomplete list would select and save a neighbor of the port, so it stays empty then.
void FillPortList(HWND page, const VcomCfgReply_st& config, const wchar_t* portName) noexcept {
    const HWND list = GetDlgItem(page, IDC_VCOM_PORT_NAME);
    SendMessageW(list, WM_SETREDRAW, FALSE, 0);
    SendMessageW(list, CB_RESETCONTENT, 0, 0);
    if (AddPortEntries(list, config))
        SendMessageW(list, CB_SETCURSEL, static_cast<WPARAM>(SelectionOf(portName)), 0);
    else
        SendMessageW(list, CB_RESETCONTENT, 0, 0);
    SendMessageW(list, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(list, nullptr, TRUE);
}

void ShowConfig(HWND page, VcomProspageParams_st& state, const VcomSnapshot& shown) noexcept {
    EnableConfigControls(page, true);
    if (shown.readOnly) Disable(page, IDC_VCOM_SAVE);
    CheckBox(page, IDC_FILE_LOGGING, shown.fileLogging);
    CopyBounded(state.portName, std::size(state.portName), BoundedText(shown.config.portName));
    FillPortList(page, shown.config, state.portName);
    CheckRadio(page, kLifemodeRadios, shown.config.lifemode);
    CheckBox(page, IDC_VCOM_SERIAL_IN_NAMES, shown.global.serialNumberOnNames != 0);
    CheckRadio(page, kBindModeRadios, shown.global.bindMode);
    if (IsPreVistaOs()) Disable(page, IDC_VCOM_BIND_USB_PORT);
    state.configShown = true;
}

bool IsUsable(const VcomSnapshot& shown) noexcept {
    return shown.openError == ERROR_SUCCESS && shown.configError == UfAppErr_Success;
}

void ReportUnusable(HWND page, const VcomSnapshot& shown) noexcept {
    if (shown.openError == ERROR_SUCCESS)
        ReportUfAppErr(page, L"tavo_GetVcomCfg", shown.configError);
    else if (shown.openError == ERROR_NOT_READY)
        ErrorBox(page, L"TAVIX VBus not ready yet.");
    else
        ErrorBox(page, L"Cannot open TAVIX VBus. WinErr=%d(%s)", shown.openError,
                 WinErrName(shown.openError));
}

}  // namespace

bool ShowVcomName(HWND page, VcomProspageParams_st& state, const VcomName& name) noexcept {
    SetNotPlugged(page, state, kNotPluggedAbsent, !name.present);
    if (!name.known) {
        EnableConfigControls(page, false);
        StopVcomTimer(page, state);
        ErrorBox(page, L"Error fetching device friendly name!");
        return false;
    }
    wchar_t text[kFriendlyNameChars + 24];
    xfmt(text, static_cast<int32_t>(std::size(text)), L"%s%s", name.text,
         name.present ? L"" : L" -- Not Plugged In");
    SetControlText(page, IDC_VCOM_FRIENDLY_NAME, text);
    return true;
}

VcomProspageParams_st* RefreshVcomPage(HWND page, VcomProspageParams_st& state) noexcept {
    const VcomSnapshot shown = ReadVcomSnapshot(state.deviceInfoSet, state.deviceInfoData);
    if (!ShowVcomName(page, state, shown.name)) return nullptr;
    SetControlText(page, IDC_VCOM_DRIVER_VERSION, shown.version);
    SetNotPlugged(page, state, kNotPluggedNoDriver, !IsUsable(shown));
    if (IsUsable(shown)) {
        ShowConfig(page, state, shown);
        return &state;
    }
    EnableConfigControls(page, false);
    ReportUnusable(page, shown);
    return VcomState(page);
}
