#include "ui/theme.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/win32_handle.h"
#include "tests/support/import_redirect.h"
#include "tests/ui/menu_icons_fixture.h"
#include "ui/activation_context.h"

namespace {

TEST(Theme, EachFunctionIsLookedUpOnceInTheSystemDirectory) {
    ResetThemeLookups();
    std::vector<std::wstring> loaded;
    REPLACE_CALL(load, LoadLibraryW, [&](LPCWSTR path) {
        loaded.push_back(path);
        return LoadLibraryW(path);
    });
    ThemeIsAppThemed();
    ThemeIsAppThemed();
    wchar_t system[MAX_PATH] = L"";
    GetSystemDirectoryW(system, MAX_PATH);
    EXPECT_EQ(loaded, std::vector<std::wstring>{std::wstring(system) + L"\\uxtheme.dll"});
}

TEST(Theme, MissingFunctionsAreReported) {
    REPLACE_CALL(lookup, GetProcAddress, [](HMODULE, LPCSTR) { return FARPROC{nullptr}; });
    ResetThemeLookups();
    const auto missing = static_cast<HRESULT>(0xE00000EE);
    RGBQUAD* bits = nullptr;
    int rowPixels = 0;
    HICON icon = nullptr;
    EXPECT_FALSE(ThemeIsAppThemed());
    EXPECT_EQ(ThemeBeginBufferedPaint(nullptr, nullptr, BPBF_DIB, nullptr, nullptr), nullptr);
    EXPECT_EQ(ThemeGetBufferedPaintBits(nullptr, &bits, &rowPixels), missing);
    EXPECT_EQ(ThemeEndBufferedPaint(nullptr, true), missing);
    EXPECT_EQ(ThemeLoadSmallIcon(nullptr, IDI_HAND, &icon), missing);
    ResetThemeLookups();
}

// Another library of that name may be loaded already, in a version without the loader.
TEST(Theme, TheSmallIconLoaderIsThatOfTheControlsThatTheContextBinds) {
    IsolationAwareCleanup();
    const HMODULE bound = LoadLibraryW(L"version.dll");
    REPLACE_CALL(load, LoadLibraryW, [&](LPCWSTR name) {
        return wcscmp(name, L"Comctl32.dll") == 0 ? bound : LoadLibraryW(name);
    });
    std::vector<HMODULE> asked;
    REPLACE_CALL(lookup, GetProcAddress, [&](HMODULE module, LPCSTR name) {
        if (HIWORD(name) == 0 || strcmp(name, "LoadIconMetric") != 0) return GetProcAddress(module, name);
        asked.push_back(module);
        return AsFarProc(NoIcon);
    });
    HICON icon = nullptr;
    EXPECT_EQ(ThemeLoadSmallIcon(nullptr, IDI_HAND, &icon), static_cast<HRESULT>(0x80070715));
    EXPECT_EQ(asked, std::vector<HMODULE>{bound});
    IsolationAwareCleanup();
}

TEST(Theme, TheSmallIconHasTheSmallSize) {
    HICON icon = nullptr;
    ASSERT_EQ(ThemeLoadSmallIcon(nullptr, IDI_HAND, &icon), S_OK);
    const OwnedIcon owned(icon);
    ICONINFO info = {};
    ASSERT_TRUE(GetIconInfo(icon, &info));
    const OwnedBitmap color(info.hbmColor);
    const OwnedBitmap mask(info.hbmMask);
    BITMAP size = {};
    GetObjectW(info.hbmMask, sizeof(size), &size);
    EXPECT_EQ(size.bmWidth, GetSystemMetrics(SM_CXSMICON));
}

}  // namespace
