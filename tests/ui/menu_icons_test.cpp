#include "ui/menu_icons.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"
#include "tests/support/modal_driver.h"
#include "tests/support/screenshot.h"
#include "tests/ui/menu_icons_fixture.h"

namespace {

BOOL WINAPI Themed() {
    return TRUE;
}
BOOL WINAPI NotThemed() {
    return FALSE;
}
HRESULT WINAPI NoIconLoader(HINSTANCE, PCWSTR, int, HICON*) {
    return static_cast<HRESULT>(0xE00000EE);
}

TEST_F(MenuIcons, MajorVersionFiveIsNeverThemed) {
    const ReplacedLookup lookup("IsAppThemed", AsFarProc(Themed));
    DWORD major = 5;
    REPLACE_CALL(version, GetVersionExW, [&](OSVERSIONINFOW* info) {
        info->dwMajorVersion = major;
        return TRUE;
    });
    EXPECT_FALSE(menu_is_themed());
    major = 6;
    EXPECT_TRUE(menu_is_themed());
    major = 4;
    EXPECT_TRUE(menu_is_themed());
}

TEST_F(MenuIcons, LaterVersionsAreThemedAsTheApplicationIs) {
    const ReplacedLookup lookup("IsAppThemed", AsFarProc(NotThemed));
    EXPECT_FALSE(menu_is_themed());
}

TEST_F(MenuIcons, ASystemWithoutThemesIsNotThemed) {
    const ReplacedLookup lookup("IsAppThemed", nullptr);
    EXPECT_FALSE(menu_is_themed());
}

TEST_F(MenuIcons, AThemedMenuShowsItsIconsAndDeletesThemAfterwards) {
    ASSERT_TRUE(menu_is_themed()) << "this test needs a themed system";
    MENUINFO style = {};
    style.cbSize = sizeof(style);
    style.fMask = MIM_STYLE;
    style.dwStyle = MNS_NOCHECK | MNS_AUTODISMISS;
    SetMenuInfo(menu_.get(), &style);
    ModalDriver driver;
    MenuRecord open;
    driver.ExpectMenu().Do([&](MenuView& menu) {
        open = menu.Read();
        SaveScreenshot(nullptr, L"menu-icons-themed");
        menu.Choose(11);
    });
    int32_t error = 99;
    EXPECT_EQ(Track(false, &error), 11);
    EXPECT_EQ(error, 0);
    ASSERT_EQ(open.items.size(), 3u);
    EXPECT_NE(open.items[0].bitmap, nullptr);
    EXPECT_NE(open.items[1].bitmap, nullptr);
    EXPECT_EQ(open.items[2].bitmap, nullptr);
    EXPECT_EQ(open.style, DWORD{MNS_CHECKORBMP | MNS_AUTODISMISS});
    // Deleted, and no longer in the menu or the records.
    EXPECT_EQ(GetObjectType(open.items[0].bitmap), 0u);
    EXPECT_EQ(GetObjectType(open.items[1].bitmap), 0u);
    EXPECT_EQ(ItemBitmap(10), nullptr);
    EXPECT_EQ(items_[0].bitmap, nullptr);
}

TEST_F(MenuIcons, TheBitmapOfAnItemThatDoesNotAnswerIsDeletedToo) {
    HBITMAP bitmap = nullptr;
    REPLACE_CALL(track, TrackPopupMenuEx, [&](HMENU, UINT, int, int, HWND, TPMPARAMS*) {
        bitmap = items_[0].bitmap;
        return FALSE;
    });
    REPLACE_CALL(ask, GetMenuItemInfoW, [](HMENU, UINT, BOOL, MENUITEMINFOW*) { return FALSE; });
    int32_t error = 99;
    EXPECT_EQ(Track(false, &error), 0);
    EXPECT_EQ(error, 0);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(GetObjectType(bitmap), 0u);
}

struct LoaderRow {
    const char* name;
    FARPROC loader;
    int32_t error;
};
void PrintTo(const LoaderRow& row, std::ostream* out) {
    *out << row.name;
}
// The platform draws the bitmaps of a menu. What it makes of plain ones, given to the items without any of
// the functions here, stands in the second picture: what looks odd in both is not ours.
TEST_F(MenuIcons, AMenuWithIconsIsLaidOutLikeOneOfPlainBitmaps) {
    ModalDriver driver;
    const auto look = [&driver](const wchar_t* picture) {
        driver.ExpectMenu().Do([picture](MenuView& menu) {
            SaveScreenshot(menu.window(), picture);
            menu.Dismiss();
        });
    };
    look(L"menu-icons-ours");
    int32_t error = 99;
    Track(false, &error);

    const OwnedMenu plain(CreatePopupMenu());
    std::vector<OwnedBitmap> bitmaps;
    const std::vector<MenuRecord> withIcons = driver.menus();
    ASSERT_EQ(withIcons.size(), 1u);
    for (const MenuItemRecord& item : withIcons[0].items) {
        AppendMenuW(plain.get(), MF_STRING | item.state, item.id, item.text.c_str());
        if (item.bitmap == nullptr) continue;
        const std::vector<uint32_t> black(static_cast<size_t>(GetSystemMetrics(SM_CXSMICON)) *
                                          static_cast<size_t>(GetSystemMetrics(SM_CYSMICON)));
        bitmaps.emplace_back(
            CreateBitmap(GetSystemMetrics(SM_CXSMICON), GetSystemMetrics(SM_CYSMICON), 1, 32, black.data()));
        MENUITEMINFOW info = {};
        info.cbSize = sizeof(info);
        info.fMask = MIIM_BITMAP;
        info.hbmpItem = bitmaps.back().get();
        SetMenuItemInfoW(plain.get(), item.id, FALSE, &info);
    }
    MENUINFO style = {};
    style.cbSize = sizeof(style);
    style.fMask = MIM_STYLE;
    style.dwStyle = MNS_CHECKORBMP;
    SetMenuInfo(plain.get(), &style);
    look(L"menu-icons-plain");
    TrackPopupMenuEx(plain.get(), TPM_RETURNCMD, 40, 50, owner_.get(), nullptr);

    ASSERT_EQ(driver.menus().size(), 2u);
    EXPECT_EQ(bitmaps.size(), 2u);
    const RECT ours = driver.menus()[0].area;
    const RECT theirs = driver.menus()[1].area;
    EXPECT_TRUE(EqualRect(&ours, &theirs))
        << ours.right - ours.left << " pixels wide, not " << theirs.right - theirs.left;
}

class IconLoader : public MenuIcons, public testing::WithParamInterface<LoaderRow> {};

TEST_P(IconLoader, ItsFailureIsReportedAndTheMenuOpensWithoutTheIcon) {
    const ReplacedLookup lookup("LoadIconMetric", GetParam().loader);
    ModalDriver driver;
    MenuRecord open;
    driver.ExpectMenu().Do([&](MenuView& menu) {
        open = menu.Read();
        menu.Choose(12);
    });
    int32_t error = 99;
    EXPECT_EQ(Track(false, &error), 12);
    EXPECT_EQ(error, GetParam().error);
    EXPECT_EQ(open.Item(10)->bitmap, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Failures, IconLoader,
                         testing::Values(LoaderRow{"NoSuchIcon", AsFarProc(NoIcon), -5},
                                         LoaderRow{"ReportsThatItIsMissing", AsFarProc(NoIconLoader), -6},
                                         LoaderRow{"IsMissing", nullptr, -6}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(MenuIcons, TheFirstErrorIsKeptAndTheOtherItemsGoOn) {
    // A missing icon, an item that is not in the menu, and a good one.
    items_ = {{12, GetModuleHandleW(nullptr), MAKEINTRESOURCEW(999), nullptr},
              {77, nullptr, IDI_ASTERISK, nullptr},
              {10, nullptr, IDI_ASTERISK, nullptr}};
    ModalDriver driver;
    MenuRecord open;
    driver.ExpectMenu().Do([&](MenuView& menu) {
        open = menu.Read();
        menu.Dismiss();
    });
    int32_t error = 99;
    EXPECT_EQ(Track(false, &error), 0);
    EXPECT_EQ(error, -5);
    EXPECT_EQ(open.Item(12)->bitmap, nullptr);
    EXPECT_NE(open.Item(10)->bitmap, nullptr);
}

TEST_F(MenuIcons, AMenuWithoutThemesIsPlainUnlessForced) {
    const ReplacedLookup lookup("IsAppThemed", AsFarProc(NotThemed));
    REPLACE_CALL(plain, TrackPopupMenu, [](HMENU, UINT flags, int x, int y, int, HWND, const RECT*) {
        EXPECT_EQ(flags, UINT{TPM_RETURNCMD});
        EXPECT_EQ(x, 40);
        EXPECT_EQ(y, 50);
        return BOOL{7};
    });
    REPLACE_CALL(extended, TrackPopupMenuEx,
                 [](HMENU, UINT, int, int, HWND, LPTPMPARAMS) { return BOOL{8}; });
    REPLACE_CALL(load, LoadIconW, [](HINSTANCE, LPCWSTR) { return HICON{nullptr}; });
    int32_t error = 99;
    EXPECT_EQ(Track(false, &error), 7);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(extended.calls(), 0);
    EXPECT_EQ(load.calls(), 0);
}

TEST_F(MenuIcons, AForcedMenuWithoutThemesHasIconsInTheOldWay) {
    const ReplacedLookup lookup("IsAppThemed", AsFarProc(NotThemed));
    std::vector<HBITMAP> shown;
    TPMPARAMS params = {};
    LPTPMPARAMS paramsGiven = nullptr;
    REPLACE_CALL(extended, TrackPopupMenuEx,
                 [&](HMENU menu, UINT flags, int x, int y, HWND owner, LPTPMPARAMS given) {
                     EXPECT_EQ(menu, menu_.get());
                     EXPECT_EQ(flags, UINT{TPM_RETURNCMD});
                     EXPECT_EQ(x, 40);
                     EXPECT_EQ(y, 50);
                     EXPECT_EQ(owner, owner_.get());
                     paramsGiven = given;
                     for (const MenuIconItem& item : items_)
                         shown.push_back(item.bitmap);
                     MENUINFO style = {};
                     style.cbSize = sizeof(style);
                     style.fMask = MIM_STYLE;
                     GetMenuInfo(menu, &style);
                     EXPECT_EQ(style.dwStyle & MNS_CHECKORBMP, 0u);
                     return BOOL{12};
                 });
    items_.push_back({12, GetModuleHandleW(nullptr), MAKEINTRESOURCEW(999), nullptr});
    int32_t error = 99;
    EXPECT_EQ(menu_track_popup_with_icons(menu_.get(), TPM_RETURNCMD, 40, 50, owner_.get(), &params,
                                          items_.data(), 3, &error, true),
              12);
    EXPECT_EQ(paramsGiven, &params);
    EXPECT_EQ(error, -5);
    ASSERT_EQ(shown.size(), 3u);
    EXPECT_NE(shown[0], nullptr);
    EXPECT_NE(shown[1], nullptr);
    EXPECT_EQ(shown[2], nullptr);
    EXPECT_EQ(GetObjectType(shown[0]), 0u);
    EXPECT_EQ(GetObjectType(shown[1]), 0u);
}

TEST_F(MenuIcons, TheErrorMayBeLeftOut) {
    REPLACE_CALL(extended, TrackPopupMenuEx,
                 [](HMENU, UINT, int, int, HWND, LPTPMPARAMS) { return BOOL{1}; });
    EXPECT_EQ(Track(false, nullptr), 1);
}

TEST_F(MenuIcons, ShowingMenusLeavesNothingBehind) {
    REPLACE_CALL(extended, TrackPopupMenuEx,
                 [](HMENU, UINT, int, int, HWND, LPTPMPARAMS) { return BOOL{1}; });
    ExpectNoLeaks([&] { Track(false, nullptr); });
    const ReplacedLookup lookup("IsAppThemed", AsFarProc(NotThemed));
    ExpectNoLeaks([&] { Track(true, nullptr); });
}

}  // namespace
