#include "ui/custom_resource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "base/module.h"
#include "base/trace_line.h"
#include "base/win32_handle.h"
#include "resources/resource_ids.h"
#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"
#include "tests/support/resource_library.h"
#include "tests/support/scratch_system_directory.h"
#include "tests/support/temporary_file.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::wstring> traced;

class CustomResource : public testing::Test {
  protected:
    CustomResource() {
        SetModuleInstance(GetModuleHandleW(nullptr));
        traced.clear();
        SetTraceLineHook([](const wchar_t* line) { traced.emplace_back(line); });
    }
    ~CustomResource() override {
        FreeCustomResourceLibrary();
        SetTraceLineHook(nullptr);
        SetModuleInstance(nullptr);
    }

    void Install(const Bytes& image) { WriteWholeFile(system_.CustomLibraryPath(), image); }
    void InstallStamped(const ResourceLibrary& library) {
        Bytes image = library.Build();
        StampImage(&image);
        Install(image);
    }
    void Load(const ResourceLibrary& library) {
        InstallStamped(library);
        LoadCustomResourceLibrary();
    }
    bool IsLoaded() const { return GetModuleHandleW(system_.CustomLibraryPath().c_str()) != nullptr; }

    static HICON ModuleIcon(WORD id) { return LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id)); }

    void ExpectBuiltInResources() {
        EXPECT_FALSE(IsCustomResourceActive());
        EXPECT_NE(CustomPageIcon(), nullptr);
        EXPECT_EQ(CustomPageIcon(), ModuleIcon(104));
        EXPECT_NE(CustomSmallIcon(), nullptr);
        EXPECT_EQ(CustomSmallIcon(), ModuleIcon(103));
        EXPECT_STREQ(CustomAboutText(), L"");
        EXPECT_FALSE(CustomHidesUserGuide());
    }

    ScratchSystemDirectory system_;
};

// The color in the middle of an icon.
COLORREF ColorOf(HICON icon) {
    const MemoryDc dc(CreateCompatibleDC(nullptr));
    BITMAPINFO format = {};
    format.bmiHeader = {sizeof(BITMAPINFOHEADER), 32, -32, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    const OwnedBitmap bitmap(CreateDIBSection(dc.get(), &format, DIB_RGB_COLORS, &bits, nullptr, 0));
    const HGDIOBJ previous = SelectObject(dc.get(), bitmap.get());
    DrawIconEx(dc.get(), 0, 0, icon, 32, 32, 0, nullptr, DI_NORMAL);
    const COLORREF color = GetPixel(dc.get(), 16, 16);
    SelectObject(dc.get(), previous);
    return color;
}

TEST_F(CustomResource, WithoutALibraryEverythingIsBuiltIn) {
    LoadCustomResourceLibrary();
    ExpectBuiltInResources();
    EXPECT_THAT(traced, IsEmpty());
}

TEST_F(CustomResource, BeforeLoadingEverythingIsBuiltIn) {
    InstallStamped(CustomerLibrary());
    ExpectBuiltInResources();
}

TEST_F(CustomResource, AnIntactLibrarySuppliesEverything) {
    Load(CustomerLibrary());
    EXPECT_TRUE(IsCustomResourceActive());
    EXPECT_EQ(ColorOf(CustomPageIcon()), RGB(0xC0, 0x10, 0x20));
    EXPECT_EQ(ColorOf(CustomSmallIcon()), RGB(0x20, 0x80, 0x30));
    EXPECT_STREQ(CustomAboutText(), L"Ports by Example & Sons");
    EXPECT_TRUE(CustomHidesUserGuide());
    EXPECT_THAT(traced, ElementsAre(L"TAVIX coinstaller custom resource dll loaded."));
}

// What the library itself is linked with is then bound as the module's own is.
TEST_F(CustomResource, TheLibraryIsLoadedInTheModulesActivationContext) {
    InstallStamped(CustomerLibrary());
    int active = 0;
    int activeAtLoading = 0;
    REPLACE_CALL(activate, ActivateActCtx, [&](HANDLE context, ULONG_PTR* cookie) {
        ++active;
        return ReplacedCall<ActivateActCtx>::Original(context, cookie);
    });
    REPLACE_CALL(deactivate, DeactivateActCtx, [&](DWORD flags, ULONG_PTR cookie) {
        --active;
        return ReplacedCall<DeactivateActCtx>::Original(flags, cookie);
    });
    REPLACE_CALL(load, LoadLibraryW, [&](const wchar_t* name) {
        if (name == system_.CustomLibraryPath()) activeAtLoading = active;
        return ReplacedCall<LoadLibraryW>::Original(name);
    });
    LoadCustomResourceLibrary();
    EXPECT_TRUE(IsLoaded());
    EXPECT_EQ(activeAtLoading, 1);
    EXPECT_EQ(active, 0);
}

TEST_F(CustomResource, ALibraryWithAWrongDigestStaysUnused) {
    Bytes image = CustomerLibrary().Build();
    StampImage(&image);
    image.back() ^= 1;
    Install(image);
    LoadCustomResourceLibrary();
    EXPECT_TRUE(IsLoaded());
    ExpectBuiltInResources();
    EXPECT_THAT(traced, ElementsAre(L"TAVIX coinstaller custom resource dll loaded.",
                                    L"Custom resource verification error."));
}

TEST_F(CustomResource, AFileThatIsNoLibraryIsIgnored) {
    Install(Bytes(5000, 'x'));
    LoadCustomResourceLibrary();
    EXPECT_FALSE(IsLoaded());
    ExpectBuiltInResources();
    EXPECT_THAT(traced, IsEmpty());
}

// Real systems else show a box about a damaged image, and wait for its button under the loader lock.
TEST_F(CustomResource, AFileThatIsNoLibraryRaisesNoMessageBox) {
    Install(Bytes(5000, 'x'));
    DWORD modeBefore = 0;
    SetThreadErrorMode(0, &modeBefore);
    DWORD modeAtLoad = 0;
    REPLACE_CALL(load, LoadLibraryW, [&](const wchar_t* path) {
        modeAtLoad = GetThreadErrorMode();
        return LoadLibraryW(path);
    });
    LoadCustomResourceLibrary();
    EXPECT_EQ(load.calls(), 1);
    EXPECT_TRUE(modeAtLoad & SEM_FAILCRITICALERRORS);
    EXPECT_EQ(GetThreadErrorMode(), 0u);
    SetThreadErrorMode(modeBefore, nullptr);
}

TEST_F(CustomResource, ALibraryThatCannotBeReadStaysUnused) {
    InstallStamped(CustomerLibrary());
    std::wstring opened;
    REPLACE_CALL(open, CreateFileW, [&](const wchar_t* path, auto...) {
        opened = path;
        SetLastError(ERROR_SHARING_VIOLATION);
        return INVALID_HANDLE_VALUE;
    });
    LoadCustomResourceLibrary();
    EXPECT_EQ(opened, system_.CustomLibraryPath());
    ExpectBuiltInResources();
    EXPECT_THAT(traced, ElementsAre(L"TAVIX coinstaller custom resource dll loaded.",
                                    L"PEResource: Error loading PE file: " + opened + L" , ErrCode=32",
                                    L"Custom resource verification error."));
}

TEST_F(CustomResource, WithoutAPackageFolderNothingIsLoaded) {
    REPLACE_CALL(directory, GetSystemDirectoryW, [](auto...) { return 0u; });
    REPLACE_CALL(load, LoadLibraryW, [](auto...) { return HMODULE{nullptr}; });
    LoadCustomResourceLibrary();
    EXPECT_EQ(load.calls(), 0);
    ExpectBuiltInResources();
}

TEST_F(CustomResource, IsLoadedOnceByItsFullPath) {
    InstallStamped(CustomerLibrary());
    std::vector<std::wstring> loaded;
    REPLACE_CALL(load, LoadLibraryW, [&](const wchar_t* path) {
        loaded.emplace_back(path);
        return LoadLibraryW(path);
    });
    LoadCustomResourceLibrary();
    LoadCustomResourceLibrary();
    EXPECT_THAT(loaded, ElementsAre(system_.CustomLibraryPath()));
}

// The switch ------------------------------------------------------------------------------------------------

struct SwitchRow {
    const char* name;
    std::optional<std::wstring> text;
    bool on;
};
void PrintTo(const SwitchRow& row, std::ostream* out) {
    *out << row.name;
}

class CustomResourceSwitch : public CustomResource, public testing::WithParamInterface<SwitchRow> {};

TEST_P(CustomResourceSwitch, DecidesWhetherAnIntactLibraryIsUsed) {
    ResourceLibrary library = CustomerLibrary();
    library.SetString(18000, GetParam().text.value_or(L""));
    Load(library);
    EXPECT_TRUE(IsLoaded());
    EXPECT_EQ(IsCustomResourceActive(), GetParam().on);
    if (!GetParam().on) ExpectBuiltInResources();
}

INSTANTIATE_TEST_SUITE_P(Texts, CustomResourceSwitch,
                         testing::Values(SwitchRow{"Missing", std::nullopt, true},
                                         SwitchRow{"Zero", L"0", true}, SwitchRow{"One", L"1", false},
                                         SwitchRow{"Nine", L"9", false}, SwitchRow{"ZeroOne", L"01", true},
                                         SwitchRow{"OneZero", L"10", false}, SwitchRow{"Letter", L"x", true},
                                         SwitchRow{"Minus", L"-1", true}, SwitchRow{"Blank", L" 1", true},
                                         SwitchRow{"WideDigit", L"\uFF11", true}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(CustomResource, ASwitchedOffLibraryIsNotEvenVerified) {
    ResourceLibrary library = CustomerLibrary();
    library.SetString(18000, L"1");
    InstallStamped(library);
    REPLACE_CALL(open, CreateFileW, [](auto...) { return INVALID_HANDLE_VALUE; });
    LoadCustomResourceLibrary();
    EXPECT_EQ(open.calls(), 0);
    EXPECT_THAT(traced, ElementsAre(L"TAVIX coinstaller custom resource dll loaded."));
}

// What an active library lacks ------------------------------------------------------------------------------

TEST_F(CustomResource, AMissingIconIsTheBuiltInOne) {
    ResourceLibrary library;
    library.SetString(18001, std::wstring(32, L'0'));
    library.SetIcon(18002, 0x20, 0x80, 0x30);
    Load(library);
    ASSERT_TRUE(IsCustomResourceActive());
    EXPECT_EQ(CustomPageIcon(), ModuleIcon(104));
    EXPECT_EQ(ColorOf(CustomSmallIcon()), RGB(0x20, 0x80, 0x30));
}

TEST_F(CustomResource, AMissingAboutTextIsEmpty) {
    ResourceLibrary library;
    library.SetString(18001, std::wstring(32, L'0'));
    Load(library);
    ASSERT_TRUE(IsCustomResourceActive());
    EXPECT_STREQ(CustomAboutText(), L"");
}

TEST_F(CustomResource, TheAboutTextIsCutAtOneHundredNinetyNineCharacters) {
    for (const size_t chars : {size_t{1}, size_t{198}, size_t{199}, size_t{200}, size_t{1000}}) {
        ResourceLibrary library = CustomerLibrary();
        library.SetString(18003, std::wstring(chars, L'a'));
        Load(library);
        ASSERT_TRUE(IsCustomResourceActive());
        EXPECT_EQ(std::wstring(CustomAboutText()).size(), std::min(chars, size_t{199}));
        FreeCustomResourceLibrary();
    }
}

TEST_F(CustomResource, OnlyAOneHidesTheUserGuide) {
    const std::pair<const wchar_t*, bool> rows[] = {{L"1", true},   {L"10", true}, {L"0", false},
                                                    {L"2", false},  {L"", false},  {L"x1", false},
                                                    {L" 1", false}, {L"01", false}};
    for (const auto& [text, hides] : rows) {
        ResourceLibrary library = CustomerLibrary();
        library.SetString(18004, text);
        Load(library);
        ASSERT_TRUE(IsCustomResourceActive());
        EXPECT_EQ(CustomHidesUserGuide(), hides) << testing::PrintToString(text);
        FreeCustomResourceLibrary();
    }
}

// Freeing ---------------------------------------------------------------------------------------------------

TEST_F(CustomResource, FreeingUnloadsTheLibrary) {
    Load(CustomerLibrary());
    FreeCustomResourceLibrary();
    EXPECT_FALSE(IsLoaded());
    ExpectBuiltInResources();
    FreeCustomResourceLibrary();
}

TEST_F(CustomResource, AnotherLibraryCanBeLoadedAfterwards) {
    Load(CustomerLibrary());
    FreeCustomResourceLibrary();
    ResourceLibrary other = CustomerLibrary();
    other.SetString(18003, L"somebody else");
    Load(other);
    EXPECT_STREQ(CustomAboutText(), L"somebody else");
}

TEST_F(CustomResource, LoadingAndFreeingLeavesNothingBehind) {
    InstallStamped(CustomerLibrary());
    ExpectNoLeaks([] {
        LoadCustomResourceLibrary();
        EXPECT_TRUE(IsCustomResourceActive());
        CustomPageIcon();
        CustomAboutText();
        FreeCustomResourceLibrary();
        traced.clear();
        traced.shrink_to_fit();
    });
}

// Setting the icon ------------------------------------------------------------------------------------------

HICON WindowIcon(HWND window, WPARAM which) {
    return reinterpret_cast<HICON>(SendMessageW(window, WM_GETICON, which, 0));
}

TEST_F(CustomResource, TheSmallIconIsSetOnControlsAndWindows) {
    const OwnedWindow dialog(
        CreateWindowExW(0, L"STATIC", L"", WS_OVERLAPPED, 0, 0, 50, 50, nullptr, nullptr, nullptr, nullptr));
    const HWND control = CreateWindowExW(0, L"STATIC", L"", WS_CHILD | SS_ICON, 0, 0, 32, 32, dialog.get(),
                                         reinterpret_cast<HMENU>(IDC_VCOM_ICON), nullptr, nullptr);
    for (const bool custom : {false, true}) {
        if (custom) Load(CustomerLibrary());
        SetCustomControlIcon(dialog.get(), IDC_VCOM_ICON);
        SetCustomWindowIcons(dialog.get());
        EXPECT_EQ(reinterpret_cast<HICON>(SendMessageW(control, STM_GETICON, 0, 0)), CustomSmallIcon());
        EXPECT_EQ(WindowIcon(dialog.get(), ICON_BIG), CustomSmallIcon());
        EXPECT_EQ(WindowIcon(dialog.get(), ICON_SMALL), CustomSmallIcon());
        EXPECT_EQ(CustomSmallIcon() == ModuleIcon(103), !custom);
    }
}

// The check at installation ---------------------------------------------------------------------------------

TEST_F(CustomResource, TheInstalledFileIsCheckedWhetherUsedOrNot) {
    EXPECT_TRUE(CheckCustomResourceFile()) << "no file, nothing wrong";
    ResourceLibrary library = CustomerLibrary();
    library.SetString(18000, L"1");
    InstallStamped(library);
    EXPECT_TRUE(CheckCustomResourceFile());
    EXPECT_FALSE(IsLoaded());
    Install(library.Build());
    EXPECT_FALSE(CheckCustomResourceFile());
    Install(Bytes(100, 'x'));
    EXPECT_FALSE(CheckCustomResourceFile());
}

TEST_F(CustomResource, ALoadedLibraryCanBeChecked) {
    Load(CustomerLibrary());
    EXPECT_TRUE(CheckCustomResourceFile());
}

}  // namespace
