#include "tools/file_logging.h"

#include "base/message_box.h"
#include "driver/driver_info.h"
#include "driver/messages.h"
#include "state/driver_params.h"
#include "ui/dialog_controls.h"

namespace {

constexpr int32_t kUsualLevel = 2;
constexpr int32_t kVerboseLevel = 3;
constexpr int32_t kMostVerboseLevel = 4;

constexpr wchar_t kNotice[] =
    L"Get your TAVIX log file at C:\\Windows\\temp\\tavix.log\n"
    L"\n"
    L"Log file will be overwritten each time TAVIX driver is loaded.\n"
    L"\n"
    L"Be aware that enabling file logging may possibly reduce USB device data transfer speed.\n"
    L"\n"
    L"Would you like to clear old content now and start a fresh log file? (if No, it will append)";

void KeepOneLogFile(HWND page) noexcept {
    WriteParamDword(kParamPersistentLogFile, 1);
    MsgBoxKind(nullptr, kMessageInformation, page, L"[HKLM\\%s] %s=1 (set true)", kDriverParametersKey,
               kParamPersistentLogFile);
}

// IDYES for a fresh log, IDNO for the old one; anything else when the question could not be shown or its
// owner went away.
int AskFreshLog(HWND page, int32_t level) noexcept {
    if (level < kVerboseLevel) return AskYesNo(page, L"%s", kNotice);
    return AskYesNo(
        page,
        L"%s\n\n( Logging level = %d )\n\nWould you like to clear old content and start a fresh log file?",
        kNotice, level);
}

void SwitchFileLogging(HWND page, int32_t level, bool fresh) noexcept {
    if (tavo_EnableFileLogging(level, fresh, level >= kVerboseLevel)) return;
    if (GetLastError() == ERROR_ACCESS_DENIED)
        ErrorBox(page, L"%s", kNotAdministratorText);
    else
        ErrorBox(page, L"Unexpected! tavo_EnableFileLogging() fail.");
}

void SwitchOn(HWND page, int32_t level) noexcept {
    if (IsKeyHeld(VK_MENU)) KeepOneLogFile(page);
    if (!IsWindow(page)) return;
    const int answer = AskFreshLog(page, level);
    if (IsWindow(page) && (answer == IDYES || answer == IDNO))
        SwitchFileLogging(page, level, answer == IDYES);
}

}  // namespace

int32_t ChosenLoggingLevel(bool checked, LoggingModifiers modifiers) noexcept {
    if (!checked) return 0;
    if (!modifiers.shift) return kUsualLevel;
    return modifiers.ctrl ? kMostVerboseLevel : kVerboseLevel;
}

void ShowFileLoggingState(HWND page, int boxId) noexcept {
    CheckBox(page, boxId, IsFileLoggingOn());
}

void OnFileLoggingClicked(HWND page, int boxId) noexcept {
    const bool checked = IsBoxChecked(page, boxId);
    const int32_t level = ChosenLoggingLevel(checked, {IsKeyHeld(VK_SHIFT), IsKeyHeld(VK_CONTROL)});
    if (checked)
        SwitchOn(page, level);
    else
        SwitchFileLogging(page, level, false);
    // The sheet may have been closed during a box.
    if (IsWindow(page)) ShowFileLoggingState(page, boxId);
}
