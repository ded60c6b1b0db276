// Reads the user's choices on the VCOM page and sends them to the driver.
#include <algorithm>
#include <optional>

#include "base/bounded_text.h"
#include "base/windows_api.h"

#include <prsht.h>

#include "base/message_box.h"
#include "driver/device_info.h"
#include "driver/error_names.h"
#include "driver/messages.h"
#include "driver/vcom_config.h"
#include "pages/port_names.h"
#include "pages/vcom_page_parts.h"
#include "state/driver_params.h"

namespace {

constexpr uint32_t kModeIfNoneChecked = 1;

// The port is the list's text as shown, mark included: the driver reads the leading name. It is read once,
// for the question and for saving.
struct VcomChoices {
    bool portSelected;
    wchar_t portText[kPortEntryChars];
    uint32_t lifemode;
    uint32_t bindMode;
    bool serialNumberOnNames;
};

// Empty when the selected port cannot be read: saving another one instead would lose the choice.
std::optional<VcomChoices> ReadChoices(HWND page) noexcept {
    VcomChoices choices = {};
    choices.portSelected = SendDlgItemMessageW(page, IDC_VCOM_PORT_NAME, CB_GETCURSEL, 0, 0) != CB_ERR;
    if (choices.portSelected &&
        GetDlgItemTextW(page, IDC_VCOM_PORT_NAME, choices.portText, kPortEntryChars) == 0)
        return std::nullopt;
    choices.lifemode = CheckedRadio(page, kLifemodeRadios).value_or(kModeIfNoneChecked);
    choices.bindMode = CheckedRadio(page, kBindModeRadios).value_or(kModeIfNoneChecked);
    choices.serialNumberOnNames = IsBoxChecked(page, IDC_VCOM_SERIAL_IN_NAMES);
    return choices;
}

// IDYES also when there is nothing to ask; neither IDYES nor IDNO when the question could not be shown.
int AskAboutConflict(HWND page, const VcomChoices& choices) noexcept {
    if (!MayConflict(choices.portText)) return IDYES;
    return AskYesNo(page,
                    L"Your selected PortName \"%s\" may cause conflict with another device.\n"
                    L"\n"
                    L"This VCOM may stop working or the other device will fail at a later moment.\n"
                    L"\n"
                    L"Are you sure to use the new PortName?",
                    choices.portText);
}

std::optional<int32_t> PortNumberOfField(const wchar_t (&field)[kPortNameChars]) noexcept {
    wchar_t name[kPortNameChars + 1];
    CopyBounded(name, std::size(name), BoundedText(field));
    return ParsePortNumber(name);
}

// The configuration with the user's choices, made from the driver's. Without a selected port the driver's own
// is sent back.
VcomCfg WantedSettings(const VcomChoices& choices, const wchar_t (&driversPort)[kPortNameChars]) noexcept {
    VcomCfg wanted = {};
    wanted.lifemode = choices.lifemode;
    wanted.bindMode = choices.bindMode;
    wanted.serialNumberOnNames = choices.serialNumberOnNames;
    std::copy_n(choices.portSelected ? choices.portText : driversPort, kPortNameChars, wanted.portName);
    return wanted;
}

bool Differs(const VcomCfg& wanted, const VcomCfgReply_st& config, const GlobalCfg_st& global) noexcept {
    return PortNumberOfField(config.portName) != PortNumberOfField(wanted.portName) ||
           config.lifemode != wanted.lifemode || global.bindMode != wanted.bindMode ||
           (global.serialNumberOnNames != 0) != wanted.serialNumberOnNames;
}

enum class SaveOutcome { kNothingToSave, kSaved, kFailed };

SaveOutcome WriteSettings(HWND page, const VcomProspageParams_st& state, const VcomCfg& wanted) noexcept {
    const UfAppErr error = tavo_SetVcomCfg(state.deviceInfoSet, state.deviceInfoData, wanted);
    if (error == UfAppErr_Success) {
        MsgBoxKind(nullptr, kMessageInformation, page, L"TAVIX configuration save success.");
        return SaveOutcome::kSaved;
    }
    if (error == UfAppErr_AccessDenied)
        ErrorBox(page, L"%s", kNotAdministratorText);
    else
        ReportUfAppErr(page, L"tavo_SetVcomCfg", error);
    return SaveOutcome::kFailed;
}

// Shows the result, unless there was nothing to do; `state` may be gone afterwards. A page that never showed
// a configuration has no choices to save. A configuration that cannot be read counts as different.
SaveOutcome SaveChoices(HWND page, VcomProspageParams_st& state, const VcomChoices& choices) noexcept {
    if (!state.configShown) return SaveOutcome::kNothingToSave;
    VcomCfgReply_st config = {};
    GlobalCfg_st global = {};
    const bool read =
        tavo_GetVcomCfg(state.deviceInfoSet, state.deviceInfoData, config, global) == UfAppErr_Success;
    const VcomCfg wanted = WantedSettings(choices, read ? config.portName : state.portName);
    if (read && !Differs(wanted, config, global)) return SaveOutcome::kNothingToSave;

    const SaveOutcome outcome = WriteSettings(page, state, wanted);
    VcomProspageParams_st* const after = VcomState(page);
    if (outcome == SaveOutcome::kSaved && after != nullptr) RefreshVcomPage(page, *after);
    return outcome;
}

void OfferToCloseWhenUnplugged(HWND page) noexcept {
    const VcomProspageParams_st* const state = VcomState(page);
    if (state == nullptr || GetDevNodeStatus(*state->deviceInfoData)) return;
    const HWND sheet = GetParent(page);
    if (AskYesNo(page, L"This VCOM has been unplugged. Close its device property dialog now?") == IDYES)
        PostMessageW(sheet, WM_CLOSE, 0, 0);
}

}  // namespace

void OnSaveClicked(HWND page, VcomProspageParams_st&) noexcept {
    const std::optional<VcomChoices> choices = ReadChoices(page);
    if (!choices.has_value() || AskAboutConflict(page, *choices) != IDYES) return;
    VcomProspageParams_st* const state = VcomState(page);  // the sheet may have been closed meanwhile
    if (state == nullptr || SaveChoices(page, *state, *choices) == SaveOutcome::kNothingToSave) return;
    OfferToCloseWhenUnplugged(page);
}

LONG_PTR OnApply(HWND page, VcomProspageParams_st& state) noexcept {
    const std::optional<VcomChoices> choices = ReadChoices(page);
    const bool failed = !choices.has_value() || SaveChoices(page, state, *choices) == SaveOutcome::kFailed;
    return failed ? PSNRET_INVALID_NOCHANGEPAGE : PSNRET_NOERROR;
}

LONG_PTR OnKillActive(HWND page) noexcept {
    const std::optional<VcomChoices> choices = ReadChoices(page);
    return choices.has_value() && AskAboutConflict(page, *choices) == IDNO ? TRUE : FALSE;
}

void OnDefaultClicked(HWND page, VcomProspageParams_st&) noexcept {
    const DWORD stored = ReadParamDword(kParamVcomLifemode, kVcomLifemodeDefault);
    CheckRadio(page, kLifemodeRadios, stored <= kLifemodePersistent ? stored : kVcomLifemodeDefault);
    CheckBox(page, IDC_VCOM_SERIAL_IN_NAMES, false);
    CheckRadio(page, kBindModeRadios, kBindByDeviceType);
}
