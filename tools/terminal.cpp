#include "tools/terminal.h"

#include <iterator>

#include <shellapi.h>

#include "base/bounded_text.h"
#include "base/last_error.h"
#include "base/message_box.h"
#include "driver/error_names.h"
#include "driver/protocol.h"
#include "tools/open_check.h"
#include "tools/symlink_check.h"
#include "tools/terminal_files.h"
#include "tools/terminal_session.h"
#include "ui/dialog_controls.h"

namespace {

bool ActivateTerminal(const wchar_t* title) noexcept {
    const HWND terminal = FindWindowW(nullptr, title);
    if (terminal == nullptr) return false;
    // Not waited for: a terminal that hangs must not hold up the page.
    ShowWindowAsync(terminal, SW_SHOW);
    SetForegroundWindow(terminal);
    if (!IsZoomed(terminal)) ShowWindowAsync(terminal, SW_RESTORE);
    return true;
}

void StartTerminal(HWND page, const wchar_t* program) noexcept {
    SHELLEXECUTEINFOW start = {};
    start.cbSize = sizeof(start);
    start.fMask = SEE_MASK_FLAG_NO_UI;
    start.hwnd = page;
    start.lpFile = program;
    start.lpParameters = L"-load TAVIX-VCOM";
    start.nShow = SW_SHOWNORMAL;
    if (ShellExecuteExW(&start)) return;
    const DWORD error = FailureCode();
    ErrorBox(page, L"Cannot start %s\n\nWinErr=%u(%s)", program, error, WinErrName(error));
}

}  // namespace

bool IsTerminalInstalled() noexcept {
    wchar_t program[MAX_PATH];
    return FindTerminalProgram(program);
}

void OpenVcomInTerminal(const ToolHost& host) noexcept {
    wchar_t portName[kPortNameChars + 1];
    CopyBounded(portName, std::size(portName), host.portName);
    wchar_t program[MAX_PATH];
    if (!FindTerminalProgram(program)) {
        ErrorBox(host.page, L"Putty EXE can not be found at: %s", program);
        return;
    }
    const bool force = IsKeyHeld(VK_CONTROL);
    const bool leadsToVcom = CheckPortSymlink(host.page, host.deviceSet, host.device, portName);
    if ((!leadsToVcom && !force) || !IsPageOpen(host)) return;

    wchar_t title[kTerminalTitleChars];
    FormatTerminalTitle(portName, title);
    if (!WriteTerminalSession(host.page, portName, title)) return;
    if (!force && ActivateTerminal(title)) return;
    if (!CheckPortOpens(host.page, host.deviceSet, host.device, portName)) return;
    StartTerminal(host.page, program);
}
