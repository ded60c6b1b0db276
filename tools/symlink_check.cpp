#include "tools/symlink_check.h"

#include <cwchar>

#include <shlwapi.h>

#include "base/bounded_text.h"
#include "base/message_box.h"
#include "driver/error_names.h"
#include "driver/vbus.h"
#include "ui/info_box.h"

namespace {

constexpr DWORD kTargetChars = 1000;

void ReportQueryFailure(HWND page, DWORD error) noexcept {
    if (error == ERROR_INVALID_FUNCTION)
        ErrorBox(page, L"TAVIX kernel does not support IOCTL_TAVIX_QueryVcomFdoPdo, kernel version too old.");
    else
        ErrorBox(page, L"IOCTL_TAVIX_QueryVcomFdoPdo meets WinErr=%u(%s)", error, WinErrName(error));
}

// Of several targets the first one counts: those after it wait until it is removed. Empty on failure.
bool QueryPresentTarget(const wchar_t* portName, wchar_t (&target)[kTargetChars]) noexcept {
    if (QueryDosDeviceW(portName, target, kTargetChars) != 0) return true;
    target[0] = L'\0';
    return false;
}

bool AskToOpenPresentTarget(HWND page, const wchar_t* portName, const wchar_t* present,
                            const wchar_t* correct) noexcept {
    const bool redirected = StrStrIW(present, L"\\tsclient\\") != nullptr;
    FlexiInfoParams params = {};
    params.cbSize = sizeof(params);
    params.title = L"TAVIX problem detected";
    params.normalIcon = LoadIconW(nullptr, IDI_WARNING);
    params.okText = L"&Continue";
    params.cancelText = L"Canc&el";
    const uint32_t answer = FlexiInfoBoxF(
        page, &params,
        L"The '%s' symlink currently does not point to a %sTAVIX VCOM device.\n"
        L"\n"
        L"  Current symlink target: %s\n"
        L"  Correct symlink target: %s\n"
        L"\n"
        L"%s\n"
        L"\n"
        L"Do you still want to open current target?",
        portName, redirected ? L"server-side " : L"", present, correct,
        redirected
            ? L"This is probably because you are running inside a remote-desktop session('tsclient' in "
              L"target string)."
            : L"If this is not desired, rebooting Windows may help solve this problem.");
    return answer == kInfoBoxOk;
}

}  // namespace

bool CheckPortSymlink(HWND page, HDEVINFO deviceSet, SP_DEVINFO_DATA* device,
                      const wchar_t* portName) noexcept {
    VcomFdoPdo_st reply = {};
    const DWORD error = DeviceQuery(deviceSet, device, IOCTL_TAVIX_QueryVcomFdoPdo, reply);
    if (error != ERROR_SUCCESS) {
        ReportQueryFailure(page, error);
        return false;
    }
    wchar_t correct[kKernelNameChars + 1];
    CopyBounded(correct, std::size(correct), BoundedText(reply.kernelName));
    wchar_t present[kTargetChars];
    if (QueryPresentTarget(portName, present) && wcscmp(present, correct) == 0) return true;
    return AskToOpenPresentTarget(page, portName, present, correct);
}
