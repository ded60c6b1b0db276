#include "base/unicode_os.h"

#include "base/windows_api.h"

namespace {
constexpr DWORD kCaptionChars = 128;
}

void EndProcessWithoutUnicode() noexcept {
    if (GetWindowsDirectoryW(nullptr, 0) != 0) return;
    // Old systems do not terminate a path that they cut; the extra zero does.
    char caption[kCaptionChars + 1] = "";
    GetModuleFileNameA(nullptr, caption, kCaptionChars);
    MessageBoxA(GetActiveWindow(), "This application requires an OS that supports Unicode.", caption, MB_OK);
    ExitProcess(0);
}
