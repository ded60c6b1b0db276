// Shows what the driver and the system know of the VCOM.
#include "base/bounded_text.h"
#include "base/message_box.h"
#include "base/os_version.h"
#include "base/xfmt.h"
#include "driver/device_info.h"
#include "driver/driver_info.h"
#include "driver/error_names.h"
#include "driver/vbus.h"
#include "driver/vcom_config.h"
#include "pages/control_focus.h"
#include "pages/control_text.h"
#include "pages/port_names.h"
#include "pages/vcom_page_parts.h"
#include "resources/resource_ids.h"
#include "tools/file_logging.h"

namespace {

// What makes no sense without a VCOM configuration.
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

void Disable(HWND page, int controlId) {
    LeaveControl(page, controlId, IDC_VCOM_REFRESH);
    EnableWindow(GetDlgItem(page, controlId), FALSE);
}

void DisableConfigControls(HWND page) {
    for (const int id : kConfigControls)
        Disable(page, id);
}

void EnableConfigControls(HWND page) {
    for (const int id : kConfigControls)
        EnableWindow(GetDlgItem(page, id), TRUE);
}

void SetNotPlugged(HWND page, uint8_t reason, bool notPlugged) {
    VcomProspageParams_st* const state = VcomState(page);
    const uint8_t before = state->notPlugged;
    state->notPlugged = static_cast<uint8_t>(notPlugged ? before | reason : before & ~reason);
    if ((before != 0) != (state->notPlugged != 0))
        InvalidateRect(GetDlgItem(page, IDC_VCOM_FRIENDLY_NAME), nullptr, TRUE);
}

void ShowUnusable(HWND page) {
    DisableConfigControls(page);
    SetNotPlugged(page, kNotPluggedNoDriver, true);
}

// False when the Vbus cannot be opened.
bool ShowDriverVersion(HWND page) {
    wchar_t version[kDriverVersionTextChars];
    DWORD error = 0;
    if (GetDriverVersionText(nullptr, version, &error)) {
        SetControlText(page, IDC_VCOM_DRIVER_VERSION, version);
        return true;
    }
    SetControlText(page, IDC_VCOM_DRIVER_VERSION, L"[TAVIX]");
    ShowUnusable(page);
    if (error == ERROR_NOT_READY)
        MsgBoxKind(nullptr, kMessageError, page, L"TAVIX VBus not ready yet.");
    else
        MsgBoxKind(nullptr, kMessageError, page, L"Cannot open TAVIX VBus. WinErr=%d(%s)", error,
                   WinErrName(error));
    return false;
}

// The list's position of the name in use, -1 when it is none of the list's.
int32_t SelectionOf(const wchar_t* portName) {
    const auto number = ParsePortNumber(portName);
    const bool listed = number.has_value() && *number >= 1 && *number <= static_cast<int32_t>(kPortNameCount);
    return listed ? *number - 1 : -1;
}

void FillPortList(HWND page, const VcomCfgReply_st& config, const wchar_t* portName) {
    const HWND list = GetDlgItem(page, IDC_VCOM_PORT_NAME);
    SendMessageW(list, WM_SETREDRAW, FALSE, 0);
    SendMessageW(list, CB_RESETCONTENT, 0, 0);
    for (size_t entry = 0; entry < kPortNameCount; ++entry) {
        wchar_t text[kPortEntryChars];
        FormatPortEntry(static_cast<int32_t>(entry) + 1, config.portStates[entry], text);
        SendMessageW(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text));
    }
    SendMessageW(list, CB_SETCURSEL, static_cast<WPARAM>(SelectionOf(portName)), 0);
    SendMessageW(list, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(list, nullptr, TRUE);
}

// A value that the radios do not offer leaves all of them unchecked.
void CheckRadio(HWND page, int firstId, int lastId, uint32_t value) {
    for (int id = firstId; id <= lastId; ++id) {
        const bool checked = static_cast<uint32_t>(id - firstId) == value;
        CheckDlgButton(page, id, checked ? BST_CHECKED : BST_UNCHECKED);
    }
}

void ShowConfig(HWND page, const VcomCfgReply_st& config, const GlobalCfg_st& global) {
    VcomProspageParams_st& state = *VcomState(page);
    CopyBounded(state.portName, std::size(state.portName), BoundedText(config.portName));
    FillPortList(page, config, state.portName);
    CheckRadio(page, IDC_VCOM_LIFEMODE_TEMPORAL, IDC_VCOM_LIFEMODE_PERSISTENT, config.lifemode);
    CheckDlgButton(page, IDC_VCOM_SERIAL_IN_NAMES,
                   global.serialNumberOnNames != 0 ? BST_CHECKED : BST_UNCHECKED);
    CheckRadio(page, IDC_VCOM_BIND_SEQUENTIAL, IDC_VCOM_BIND_USB_PORT, global.bindMode);
    if (IsPreVistaOs()) Disable(page, IDC_VCOM_BIND_USB_PORT);
}

void RefreshConfig(HWND page) {
    const VcomProspageParams_st& state = *VcomState(page);
    VcomCfgReply_st config = {};
    GlobalCfg_st global = {};
    const uint32_t error = tavo_GetVcomCfg(state.deviceInfoSet, state.deviceInfoData, config, global);
    ShowFileLoggingState(page, IDC_FILE_LOGGING);
    if (error != UfAppErr_Success) {
        ShowUnusable(page);
        MsgBoxKind(nullptr, kMessageError, page, L"Error in tavo_GetVcomCfg(). UfAppErr=%d(%s).", error,
                   UfAppErrName(error));
        return;
    }
    EnableConfigControls(page);
    if (IsVbusReadOnly()) Disable(page, IDC_VCOM_SAVE);
    ShowConfig(page, config, global);
}

}  // namespace

bool ShowVcomFriendlyName(HWND page) {
    VcomProspageParams_st* const state = VcomState(page);
    if (state == nullptr) return false;
    const bool present = GetDevNodeStatus(*state->deviceInfoData);
    SetNotPlugged(page, kNotPluggedAbsent, !present);

    wchar_t name[kFriendlyNameChars];
    if (!GetDeviceFriendlyName(state->deviceInfoSet, state->deviceInfoData, name)) {
        DisableConfigControls(page);
        StopVcomTimer(page);
        MsgBoxKind(nullptr, kMessageError, page, L"Error fetching device friendly name!");
        return false;
    }
    wchar_t shown[kFriendlyNameChars + 24];
    xfmt(shown, static_cast<int32_t>(std::size(shown)), L"%s%s", name, present ? L"" : L" -- Not Plugged In");
    SetControlText(page, IDC_VCOM_FRIENDLY_NAME, shown);
    return true;
}

bool RefreshVcomPage(HWND page) {
    if (!ShowVcomFriendlyName(page)) return false;
    SetNotPlugged(page, kNotPluggedNoDriver, false);
    if (ShowDriverVersion(page)) RefreshConfig(page);
    return true;
}
