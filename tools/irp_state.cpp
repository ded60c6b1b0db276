#include "tools/irp_state.h"

#include <algorithm>
#include <iterator>

#include "base/xfmt.h"
#include "driver/error_names.h"
#include "driver/vbus.h"
#include "ui/dialog_controls.h"
#include "ui/info_box.h"

namespace {

constexpr uint32_t kTextChars = kIrpStateTextBytes / sizeof(wchar_t);
constexpr int32_t kRefreshMs = 500;

// The driver may fill the buffer to its end, so the last character can be lost to the terminator. False, with
// the error as the text, when the driver does not answer.
bool ReadIrpState(wchar_t* text, uint32_t textChars) noexcept {
    DWORD bytes = 0;
    const DWORD error = cu_VbusDoSimpleIoctl(IOCTL_TAVIX_GetIrpStateText, nullptr, 0, text,
                                             textChars * static_cast<DWORD>(sizeof(wchar_t)), &bytes);
    if (error != ERROR_SUCCESS) {
        xfmt(text, static_cast<int32_t>(textChars),
             L"cu_VbusDoSimpleIoctl(IOCTL_TAVIX_GetIrpStateText) meets winerr=%d(%s)", error,
             WinErrName(error));
        return false;
    }
    text[std::min<size_t>(bytes / sizeof(wchar_t), textChars - 1)] = L'\0';
    return true;
}

uint32_t RefreshIrpState(void*, FlexiInfoEvent* event, wchar_t* text, uint32_t textChars) noexcept {
    if (event->reason == kReasonOk || event->reason == kReasonCancel) return FIR_NormalIcon;
    return ReadIrpState(text, textChars) ? FIR_NormalIcon : FIR_AlertIcon;
}

void ShowIrpStateOnce(HWND owner) noexcept {
    wchar_t text[kTextChars] = L"";
    ReadIrpState(text, kTextChars);
    MessageBoxW(owner, text, L"Message", MB_ICONINFORMATION);
}

}  // namespace

void ShowIrpState(HWND owner, bool detached) noexcept {
    if (IsKeyHeld(VK_MENU)) {
        ShowIrpStateOnce(owner);
        return;
    }
    wchar_t text[kTextChars] = L"to-modify";
    FlexiInfoMenuItem menu[] = {
        {FIMI_Detach, kMenuItemPlain, L"Detach infobox from parent"},
        {FIMI_CopyToClipboard, kMenuItemPlain, L"Copy to clipboard"},
    };
    FlexiInfoParams params = {};
    params.cbSize = sizeof(params);
    params.title = L"TAVIX internal IRP state";
    params.fixedPitch = 1;
    params.refreshProc = RefreshIrpState;
    params.textBufferChars = kTextChars;
    params.autoRefreshAtStart = 1;
    params.autoRefreshMs = kRefreshMs;
    params.startDetached = detached;
    params.okText = L"Close";
    params.menuItems = menu;
    params.menuItemCount = static_cast<int32_t>(std::size(menu));
    FlexiInfoBox(owner, &params, text);
}
