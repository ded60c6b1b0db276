// Who has the VCOM's port open.
#include <string>

#include "base/xfmt.h"
#include "driver/device_info.h"
#include "driver/process_search.h"
#include "pages/port_names.h"
#include "pages/vcom_page_parts.h"
#include "ui/info_box.h"

void OnWhoOpenedClicked(HWND page) {
    const VcomProspageParams_st* const state = VcomState(page);
    if (state == nullptr) return;
    const uint32_t pid = GetVcomOpenerPid(state->deviceInfoSet, state->deviceInfoData);
    if (pid == 0) {
        FlexiInfoMessage(page, L"%s is not opened by any process yet.\r\n\r\n%s", state->portName,
                         kPortLegend);
        return;
    }
    wchar_t path[MAX_PATH];
    if (!GetProcessExePath(pid, path, MAX_PATH)) xfmt(path, MAX_PATH, L"Unknown process EXE path");
    FlexiInfoMessage(page, L"%s is opened by program (pid=%d):\r\n\r\n  %s\r\n\r\n%s", state->portName, pid,
                     path, kPortLegend);
}
