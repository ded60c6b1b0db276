#include "tools/usb_tweak.h"

#include <cstdint>

#include "base/module.h"
#include "base/xfmt.h"
#include "driver/device_info.h"
#include "driver/error_names.h"
#include "driver/vbus.h"
#include "resources/resource_ids.h"
#include "ui/activation_context.h"
#include "ui/custom_resource.h"
#include "ui/dialog_state.h"
#include "ui/info_box.h"

namespace {

constexpr int32_t kResultChars = 200;

// What the dialog knows of its device, read at the opening: a detached dialog may outlast the page.
struct TweakedDevice {
    DeviceName_st requestName;  // empty when the device has none
    wchar_t friendlyName[kFriendlyNameChars];
};

struct TweakRow {
    WORD controlId;
    DWORD request;
};

constexpr TweakRow kTweaks[] = {
    {IDC_TWEAK_RESET_OUT_PIPE, IOCTL_TAVIX_UsbTweak0},
    {IDC_TWEAK_RESET_IN_PIPE, IOCTL_TAVIX_UsbTweak1},
    {IDC_TWEAK_RESET_PORT, IOCTL_TAVIX_UsbTweak2},
    {IDC_TWEAK_CYCLE_PORT, IOCTL_TAVIX_UsbTweak3},
};

DWORD SendTweak(const TweakedDevice& device, DWORD request) {
    if (device.requestName.chars[0] == L'\0') return ERROR_DEVICE_NOT_CONNECTED;
    return cu_VbusDoSimpleIoctl(request, &device.requestName, sizeof(device.requestName), nullptr, 0);
}

void FormatResult(DWORD error, wchar_t (&text)[kResultChars]) {
    if (error == ERROR_SUCCESS)
        xfmt(text, kResultChars, L"Operation success.");
    else if (error == ERROR_FILE_NOT_FOUND)
        xfmt(text, kResultChars, L"Operation result: USB device is disconnected.");
    else
        xfmt(text, kResultChars, L"Operation result: WinErr=%d(%s)", error, WinErrName(error));
}

void ShowResult(HWND dialog, DWORD error) {
    wchar_t text[kResultChars];
    FormatResult(error, text);
    FlexiInfoParams params = {};
    params.cbSize = sizeof(params);
    params.title = L"Result";
    params.normalIcon = LoadIconW(nullptr, error != ERROR_SUCCESS ? IDI_EXCLAMATION : IDI_ASTERISK);
    params.textBufferChars = kResultChars;
    params.okText = L"OK";
    FlexiInfoBox(dialog, &params, text);
}

void OnInit(HWND dialog, TweakedDevice& device) {
    SetDialogState(dialog, &device);
    wchar_t caption[kFriendlyNameChars + 24];
    xfmt(caption, static_cast<int32_t>(std::size(caption)), L"<%s> USB device tweak", device.friendlyName);
    SetWindowTextW(dialog, caption);
    SetCustomWindowIcons(dialog);
}

bool OnCommand(HWND dialog, const TweakedDevice& device, WORD controlId) {
    if (controlId == IDCANCEL) return EndDialog(dialog, IDCANCEL) != FALSE;
    for (const TweakRow& tweak : kTweaks) {
        if (tweak.controlId != controlId) continue;
        ShowResult(dialog, SendTweak(device, tweak.request));
        return true;
    }
    return false;
}

INT_PTR CALLBACK UsbTweakDlgProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    switch (message) {
        case WM_INITDIALOG:
            OnInit(dialog, *reinterpret_cast<TweakedDevice*>(lParam));
            return TRUE;
        case WM_COMMAND: {
            const auto* device = DialogState<TweakedDevice>(dialog);
            return device != nullptr && HIWORD(wParam) == BN_CLICKED &&
                   OnCommand(dialog, *device, LOWORD(wParam));
        }
        default:
            return FALSE;
    }
}

}  // namespace

void ShowUsbTweak(const ToolHost& host, bool detached) noexcept {
    TweakedDevice device = {};
    GetDeviceName(host.deviceSet, host.device, device.requestName);
    GetDeviceFriendlyName(host.deviceSet, host.device, device.friendlyName);
    IsolationAwareDialogBoxParamW(ModuleInstance(), MAKEINTRESOURCEW(IDD_USB_TWEAK),
                                  detached ? nullptr : host.page, UsbTweakDlgProc,
                                  reinterpret_cast<LPARAM>(&device));
}
