#include "tools/system_crash.h"

#include "base/message_box.h"
#include "driver/error_names.h"
#include "driver/vbus.h"

void CrashSystem(HWND owner) noexcept {
    const int answer =
        AskYesNoDefaultNo(owner,
                          L"Do you want to generate a BSOD now ?\?!! \n"
                          L"\n"
                          L"Remember to enable kernel memory dump so that you can check it back later.");
    if (answer != IDYES) return;
    const DWORD error = cu_VbusDoSimpleIoctl(IOCTL_TAVIX_BSOD, kBsodInput, sizeof(kBsodInput), nullptr, 0);
    MsgBoxKind(nullptr, kMessageInformation, owner, L"IOCTL_TAVIX_BSOD returns %d(%s)", error,
               WinErrName(error));
}
