// What the user chose on the VCOM page, and sending it to the driver.
#include <algorithm>
#include <optional>

#include "base/bounded_text.h"
#include "base/message_box.h"
#include "driver/device_info.h"
#include "driver/error_names.h"
#include "driver/messages.h"
#include "driver/vcom_config.h"
#include "pages/port_names.h"
#include "pages/vcom_page_parts.h"
#include "resources/resource_ids.h"
#include "state/driver_params.h"

namespace {

constexpr uint32_t kModeIfNoneChecked = 1;

uint32_t CheckedRadio(HWND page, int firstId, int lastId) {
    for (int id = firstId; id <= lastId; ++id)
        if (IsDlgButtonChecked(page, id) == BST_CHECKED) return static_cast<uint32_t>(id - firstId);
    return kModeIfNoneChecked;
}

// The port name is the list's text as shown, mark included: the driver reads the leading name.
VcomCfg ReadChoices(HWND page) {
    VcomCfg choices = {};
    wchar_t text[kPortEntryChars] = {};
    GetDlgItemTextW(page, IDC_VCOM_PORT_NAME, text, kPortEntryChars);
    std::copy_n(text, std::size(choices.portName), choices.portName);
    choices.lifemode = CheckedRadio(page, IDC_VCOM_LIFEMODE_TEMPORAL, IDC_VCOM_LIFEMODE_PERSISTENT);
    choices.bindMode = CheckedRadio(page, IDC_VCOM_BIND_SEQUENTIAL, IDC_VCOM_BIND_USB_PORT);
    choices.serialNumberOnNames = IsDlgButtonChecked(page, IDC_VCOM_SERIAL_IN_NAMES) == BST_CHECKED;
    return choices;
}

std::optional<int32_t> PortNumberOfField(const wchar_t (&field)[kPortNameChars]) {
    wchar_t name[kPortNameChars + 1];
    CopyBounded(name, std::size(name), BoundedText(field));
    return ParsePortNumber(name);
}

bool HasSelectedPort(HWND page) {
    return SendDlgItemMessageW(page, IDC_VCOM_PORT_NAME, CB_GETCURSEL, 0, 0) != CB_ERR;
}

// A configuration that cannot be read counts as different. Where the list does not have the port in use and
// the user chose none, the port is not a difference.
bool DiffersFromDriver(HWND page, const VcomProspageParams_st& state, const VcomCfg& choices) {
    VcomCfgReply_st config = {};
    GlobalCfg_st global = {};
    if (tavo_GetVcomCfg(state.deviceInfoSet, state.deviceInfoData, config, global) != UfAppErr_Success)
        return true;
    const bool otherPort =
        HasSelectedPort(page) && PortNumberOfField(config.portName) != PortNumberOfField(choices.portName);
    return otherPort || config.lifemode != choices.lifemode || global.bindMode != choices.bindMode ||
           (global.serialNumberOnNames != 0) != choices.serialNumberOnNames;
}

void ReportSaveFailure(HWND page, uint32_t error) {
    if (error == UfAppErr_AccessDenied)
        MsgBoxKind(nullptr, kMessageError, page, L"%s", kNotAdministratorText);
    else
        MsgBoxKind(nullptr, kMessageError, page, L"Error in tavo_SetVcomCfg(). UfAppErr=%d(%s).", error,
                   UfAppErrName(error));
}

// True when the page's choices were sent, successfully or not.
bool SaveIfChanged(HWND page) {
    const VcomProspageParams_st* const state = VcomState(page);
    if (state == nullptr) return false;
    const VcomCfg choices = ReadChoices(page);
    if (!DiffersFromDriver(page, *state, choices)) return false;

    const uint32_t error = tavo_SetVcomCfg(state->deviceInfoSet, state->deviceInfoData, choices);
    if (error != UfAppErr_Success) {
        ReportSaveFailure(page, error);
        return true;
    }
    MsgBoxKind(nullptr, kMessageInformation, page, L"TAVIX configuration save success.");
    RefreshVcomPage(page);
    return true;
}

void OfferToCloseWhenUnplugged(HWND page) {
    const VcomProspageParams_st* const state = VcomState(page);
    if (state == nullptr || GetDevNodeStatus(*state->deviceInfoData)) return;
    const HWND sheet = GetParent(page);
    if (AskYesNo(page, L"This VCOM has been unplugged. Close its device property dialog now?") == IDYES)
        PostMessageW(sheet, WM_CLOSE, 0, 0);
}

}  // namespace

bool ConfirmPortName(HWND page) {
    wchar_t text[kPortEntryChars] = {};
    GetDlgItemTextW(page, IDC_VCOM_PORT_NAME, text, kPortEntryChars);
    if (!MayConflict(text)) return true;
    return AskYesNo(page,
                    L"Your selected PortName \"%s\" may cause conflict with another device.\n"
                    L"\n"
                    L"This VCOM may stop working or the other device will fail at a later moment.\n"
                    L"\n"
                    L"Are you sure to use the new PortName?",
                    text) == IDYES;
}

void SaveVcomSettings(HWND page) {
    SaveIfChanged(page);
}

void OnSaveClicked(HWND page) {
    if (!ConfirmPortName(page)) return;
    if (SaveIfChanged(page)) OfferToCloseWhenUnplugged(page);
}

void OnDefaultClicked(HWND page) {
    const DWORD stored = ReadParamDword(kParamVcomLifemode, kVcomLifemodeDefault);
    const DWORD lifemode = stored <= kLifemodePersistent ? stored : kVcomLifemodeDefault;
    CheckRadioButton(page, IDC_VCOM_LIFEMODE_TEMPORAL, IDC_VCOM_LIFEMODE_PERSISTENT,
                     IDC_VCOM_LIFEMODE_TEMPORAL + static_cast<int>(lifemode));
    CheckDlgButton(page, IDC_VCOM_SERIAL_IN_NAMES, BST_UNCHECKED);
    CheckRadioButton(page, IDC_VCOM_BIND_SEQUENTIAL, IDC_VCOM_BIND_USB_PORT, IDC_VCOM_BIND_DEVICE_TYPE);
}
