#include "base/process.h"

#include <cstdarg>
#include <string_view>

#include "base/bounded_text.h"
#include "base/win32_handle.h"
#include "base/xfmt.h"

namespace {

constexpr std::wstring_view kVolumePrefix = L"\\Device\\HarddiskVolume";
constexpr DWORD kTargetChars = 260;
constexpr int32_t kDebugTextChars = 2000;

DWORD ExitCodeOf(HANDLE process) noexcept {
    if (WaitForSingleObject(process, INFINITE) == WAIT_FAILED) return GetLastError();
    DWORD exitCode = 0;
    if (!GetExitCodeProcess(process, &exitCode)) return GetLastError();
    return exitCode;
}

bool DriveLeadsTo(const wchar_t* drive, std::wstring_view device) noexcept {
    wchar_t target[kTargetChars] = L"";
    if (QueryDosDeviceW(drive, target, kTargetChars) == 0) return false;
    return EqualsIgnoringCase(target, device);
}

}  // namespace

DWORD RunProcess(const wchar_t* commandLine, bool show, bool wait) noexcept {
    // CreateProcessW writes into the command line.
    wchar_t writable[kCommandLineChars + 1];
    CopyBounded(writable, kCommandLineChars + 1, commandLine);

    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
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

bool NtPathToDosPath(const wchar_t* kernelPath, wchar_t* buffer, int32_t chars) noexcept {
    const std::wstring_view path(kernelPath);
    if (!EqualsIgnoringCase(path.substr(0, kVolumePrefix.size()), kVolumePrefix)) return false;
    const size_t deviceChars = path.find(L'\\', kVolumePrefix.size());
    if (deviceChars == std::wstring_view::npos) return false;

    const std::wstring_view device = path.substr(0, deviceChars);
    wchar_t drive[] = L"a:";
    for (; drive[0] <= L'z'; ++drive[0]) {
        if (!DriveLeadsTo(drive, device)) continue;
        xfmt(buffer, chars, L"%s%s", drive, kernelPath + deviceChars);
        return true;
    }
    return false;
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
