#include "tools/dangle_vcom.h"

#include "base/message_box.h"
#include "driver/error_names.h"
#include "driver/vbus.h"

namespace {

constexpr wchar_t kDangleName[] = L"dangle";

}  // namespace

void CreateDangleVcom(HWND owner, uint32_t index) noexcept {
    const DWORD error = cu_VbusDoSimpleIoctl(IOCTL_TAVIX_CreateDangleVcom, &index, sizeof(index), nullptr, 0);
    if (error != ERROR_SUCCESS) {
        ErrorBox(owner, L"Create dangle VCOM fail (%s.%u). WinErr=%u(%s).", kDangleName, index, error,
                 WinErrName(error));
        return;
    }
    MsgBoxKind(nullptr, kMessageInformation, owner, L"Creating dangle VCOM Success (%s.%u).", kDangleName,
               index);
}
