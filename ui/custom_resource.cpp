#include "ui/custom_resource.h"

#include "base/files.h"
#include "base/module.h"
#include "base/no_error_boxes.h"
#include "base/trace_line.h"
#include "base/win32_handle.h"
#include "base/xfmt.h"
#include "resources/resource_ids.h"
#include "ui/activation_context.h"
#include "ui/custom_resource_check.h"

namespace {

// The contents of a customer's library; its digest is checked by custom_resource_check.h.
constexpr UINT kSwitchString = 18000;
constexpr UINT kAboutString = 18003;
constexpr UINT kHideUserGuideString = 18004;
constexpr WORD kPageIcon = 18001;
constexpr WORD kSmallIcon = 18002;

constexpr int kAboutCapacity = 200;

LoadedLibrary g_library;
bool g_active = false;
wchar_t g_aboutText[kAboutCapacity];

// The first character of the library's string as a decimal number; 0 when it is not a digit or the string is
// missing.
int ReadDigitString(UINT stringId) noexcept {
    wchar_t text[2] = {};
    LoadStringW(g_library.get(), stringId, text, 2);
    return text[0] >= L'0' && text[0] <= L'9' ? text[0] - L'0' : 0;
}

HICON CustomIcon(WORD libraryIcon, WORD moduleIcon) noexcept {
    HICON icon = nullptr;
    if (g_active) icon = LoadIconW(g_library.get(), MAKEINTRESOURCEW(libraryIcon));
    return icon != nullptr ? icon : LoadIconW(ModuleInstance(), MAKEINTRESOURCEW(moduleIcon));
}

// Empty when the package folder is unknown.
struct LibraryPath {
    wchar_t text[MAX_PATH] = L"";
    LibraryPath() noexcept {
        wchar_t folder[MAX_PATH];
        if (GetPackageFolder(folder, MAX_PATH) != nullptr)
            xfmt(text, MAX_PATH, L"%s\\%s", folder, kCustomResourceFileName);
    }
};

bool VerifyFileAt(const wchar_t* path) noexcept {
    const KernelHandle file = OpenFileRw(path, false);
    if (!file) {
        TraceLine(L"PEResource: Error loading PE file: %s , ErrCode=%d", path, GetLastError());
        return false;
    }
    return VerifyCustomResourceFile(file.get());
}

}  // namespace

void LoadCustomResourceLibrary() noexcept {
    if (g_library) return;
    const LibraryPath path;
    if (path.text[0] == L'\0') return;
    {
        const NoErrorBoxes quiet;
        g_library.reset(IsolationAwareLoadLibraryW(path.text));
    }
    if (!g_library) return;
    TraceLine(L"TAVIX coinstaller custom resource dll loaded.");
    if (ReadDigitString(kSwitchString) != 0) return;
    g_active = VerifyFileAt(path.text);
    if (!g_active) TraceLine(L"Custom resource verification error.");
}

void FreeCustomResourceLibrary() noexcept {
    g_active = false;
    g_library.reset();
}

bool IsCustomResourceActive() noexcept {
    return g_active;
}

HICON CustomPageIcon() noexcept {
    return CustomIcon(kPageIcon, IDI_TAVIX_PAGE);
}

HICON CustomSmallIcon() noexcept {
    return CustomIcon(kSmallIcon, IDI_TAVIX_SMALL);
}

void SetCustomControlIcon(HWND dialog, int controlId) noexcept {
    SendDlgItemMessageW(dialog, controlId, STM_SETICON, reinterpret_cast<WPARAM>(CustomSmallIcon()), 0);
}

void SetCustomWindowIcons(HWND window) noexcept {
    const auto icon = reinterpret_cast<LPARAM>(CustomSmallIcon());
    SendMessageW(window, WM_SETICON, ICON_BIG, icon);
    SendMessageW(window, WM_SETICON, ICON_SMALL, icon);
}

const wchar_t* CustomAboutText() noexcept {
    g_aboutText[0] = L'\0';
    if (g_active) LoadStringW(g_library.get(), kAboutString, g_aboutText, kAboutCapacity);
    return g_aboutText;
}

bool CustomHidesUserGuide() noexcept {
    return g_active && ReadDigitString(kHideUserGuideString) == 1;
}

bool CheckCustomResourceFile() noexcept {
    const LibraryPath path;
    return GetFileAttributesW(path.text) == INVALID_FILE_ATTRIBUTES || VerifyFileAt(path.text);
}
