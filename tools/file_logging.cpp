#include "tools/file_logging.h"

#include "base/message_box.h"
#include "driver/driver_info.h"
#include "driver/messages.h"
#include "state/driver_params.h"

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

bool IsKeyDown(int virtualKey) {
    return GetKeyState(virtualKey) < 0;
}

void KeepOneLogFile(HWND page) {
    WriteParamDword(kParamPersistentLogFile, 1);
    MsgBoxKind(nullptr, kMessageInformation, page, L"[HKLM\\%s] %s=1 (set true)", kDriverParametersKey,
               kParamPersistentLogFile);
}

bool AskFreshLog(HWND page, int32_t level) {
    if (level < kVerboseLevel) return AskYesNo(page, L"%s", kNotice) == IDYES;
    return AskYesNo(
               page,
               L"%s\n\n( Logging level = %d )\n\nWould you like to clear old content and start a fresh log "
               L"file?",
               kNotice, level) == IDYES;
}

void SwitchFileLogging(HWND page, int32_t level, bool fresh) {
    if (tavo_EnableFileLogging(level, fresh, level >= kVerboseLevel)) return;
    if (GetLastError() == ERROR_ACCESS_DENIED)
        MsgBoxKind(nullptr, kMessageError, page, L"%s", kNotAdministratorText);
    else
        MsgBoxKind(nullptr, kMessageError, page, L"Unexpected! tavo_EnableFileLogging() fail.");
}

}  // namespace

int32_t ChosenLoggingLevel(bool checked, LoggingModifiers modifiers) {
    if (!checked) return 0;
    if (!modifiers.shift) return kUsualLevel;
    return modifiers.ctrl ? kMostVerboseLevel : kVerboseLevel;
}

void ShowFileLoggingState(HWND page, int boxId) noexcept {
    CheckDlgButton(page, boxId, IsFileLoggingOn() ? BST_CHECKED : BST_UNCHECKED);
}

void OnFileLoggingClicked(HWND page, int boxId) noexcept {
    const bool checked = IsDlgButtonChecked(page, boxId) == BST_CHECKED;
    const int32_t level = ChosenLoggingLevel(checked, {IsKeyDown(VK_SHIFT), IsKeyDown(VK_CONTROL)});
    if (checked && IsKeyDown(VK_MENU)) KeepOneLogFile(page);
    const bool fresh = checked && AskFreshLog(page, level);
    SwitchFileLogging(page, level, fresh);
    ShowFileLoggingState(page, boxId);
}
