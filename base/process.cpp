#include "base/process.h"

#include <cstdarg>

#include "base/bounded_text.h"
#include "base/win32_handle.h"
#include "base/xfmt.h"

namespace {

constexpr int32_t kDebugTextChars = 2000;

DWORD ExitCodeOf(HANDLE process) noexcept {
    if (WaitForSingleObject(process, INFINITE) == WAIT_FAILED) return GetLastError();
    DWORD exitCode = 0;
    if (!GetExitCodeProcess(process, &exitCode)) return GetLastError();
    return exitCode;
}

}  // namespace

DWORD RunProcess(const wchar_t* commandLine, bool show, bool wait) noexcept {
    // CreateProcessW writes into the command line.
    wchar_t writable[kCommandLineChars + 1];
    CopyBounded(writable, kCommandLineChars + 1, commandLine);

    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = show ? SW_SHOW : SW_HIDE;
    PROCESS_INFORMATION started = {};
    if (!CreateProcessW(nullptr, writable, nullptr, nullptr, FALSE, show ? 0 : CREATE_NO_WINDOW, nullptr,
                        nullptr, &startup, &started))
        return GetLastError();
    const KernelHandle process(started.hProcess);
    const KernelHandle thread(started.hThread);
    return wait ? ExitCodeOf(process.get()) : 0;
}

void DebugOutFmt(const wchar_t* format, ...) noexcept {
    wchar_t text[kDebugTextChars];
    va_list args;
    va_start(args, format);
    XfmtNested message = {kXfmtNestedMagic, format, &args};
    const int32_t length = xfmt(text, kDebugTextChars, L"%w\n", &message);
    va_end(args);
    // A cut text ends with a line feed too.
    if (length >= kDebugTextChars) text[kDebugTextChars - 2] = L'\n';
    OutputDebugStringW(text);
}
