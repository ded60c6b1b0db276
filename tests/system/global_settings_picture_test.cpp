// Pictures of the global settings dialog, for people to look at.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "resources/resource_ids.h"
#include "tests/support/larger_fonts.h"
#include "tests/support/resource_library.h"
#include "tests/support/scratch_system_directory.h"
#include "tests/support/screenshot.h"
#include "tests/support/temporary_file.h"
#include "tests/system/global_settings_fixture.h"
#include "ui/custom_resource.h"

namespace {

class GlobalSettingsPicture : public GlobalSettingsTest {
  protected:
    void SetUp() override {
        GlobalSettingsTest::SetUp();
        record_.newVcomLifemode = kLifemodeFriendly;
        record_.clearInputOnOpen = 1;
        record_.datapipeLifemode = kDatapipeOnDevicePresent;
        record_.prefetchBufferBytes = 65536;
    }
    // The dialog of `record_` after the steps.
    void Take(
        const wchar_t* name, const std::function<void()>& steps = [] {}) {
        ASSERT_EQ(driver_.SetGlobalCfg(record_), ERROR_SUCCESS);
        Open([&] {
            steps();
            EXPECT_NE(SaveScreenshot(dialog_.window(), std::wstring(L"global_settings_") + name), L"");
        });
    }
    // As a static control wraps it.
    bool ShowsWhole(int id) {
        const HWND control = dialog_.Control(id);
        const HDC dc = GetDC(control);
        const HGDIOBJ previous =
            SelectObject(dc, reinterpret_cast<HGDIOBJ>(SendMessageW(control, WM_GETFONT, 0, 0)));
        RECT client = {};
        GetClientRect(control, &client);
        RECT needed = {0, 0, client.right, 0};
        DrawTextW(dc, dialog_.Text(id).c_str(), -1, &needed, DT_CALCRECT | DT_WORDBREAK);
        SelectObject(dc, previous);
        ReleaseDC(control, dc);
        return needed.right <= client.right && needed.bottom <= client.bottom;
    }
    // 200 means twice as wide and high as it opens.
    void Resize(int percent) {
        RECT area = {};
        GetWindowRect(dialog_.window(), &area);
        SetWindowPos(dialog_.window(), nullptr, 10, 10, (area.right - area.left) * percent / 100,
                     (area.bottom - area.top) * percent / 100, SWP_NOZORDER);
    }

    GlobalCfg_st record_ = {};
};

TEST_F(GlobalSettingsPicture, Fresh) {
    Take(L"fresh");
}

TEST_F(GlobalSettingsPicture, AtTwiceItsSize) {
    Take(L"double", [this] { Resize(200); });
}

TEST_F(GlobalSettingsPicture, GrownAndShrunkAgain) {
    Take(L"minimum", [this] {
        RECT before = {};
        GetWindowRect(dialog_.window(), &before);
        Resize(150);
        Resize(10);
        RECT after = {};
        GetWindowRect(dialog_.window(), &after);
        EXPECT_EQ(after.right - after.left, before.right - before.left);
        EXPECT_EQ(after.bottom - after.top, before.bottom - before.top);
    });
}

TEST_F(GlobalSettingsPicture, InEachPrefetchMode) {
    for (uint32_t mode = 0; mode < 4; ++mode) {
        record_.prefetchMode = mode;
        Take((L"prefetch_" + std::to_wstring(mode)).c_str());
    }
}

TEST_F(GlobalSettingsPicture, WithWhatADriverShouldNotSay) {
    record_.prefetchMode = record_.newVcomLifemode = record_.datapipeLifemode = 7;
    Take(L"unknown");
}

TEST_F(GlobalSettingsPicture, WithTheLargestBuffer) {
    record_.prefetchMode = kPrefetchAndPreserve;
    record_.prefetchBufferBytes = 0x7FFFFFFF;
    Take(L"largest_buffer", [this] { EXPECT_TRUE(ShowsWhole(IDC_GLOBAL_BUFFER_SIZE)); });
}

TEST_F(GlobalSettingsPicture, WithAFullListOfNames) {
    std::wstring names;
    for (int port = 100; names.size() < 200; ++port)
        names += L"COM" + std::to_wstring(port) + L",";
    std::memcpy(record_.preferredPorts, names.data(), sizeof(record_.preferredPorts));
    record_.dropPartialBytes = 1;
    record_.robPort = 1;
    Take(L"names_200");
}

TEST_F(GlobalSettingsPicture, OfAUserWhoMayNotSave) {
    ASSERT_EQ(driver_.SetAccess({.refuseWrite = 1}), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetGlobalCfg(record_), ERROR_SUCCESS);
    Open([this] {
        modal_.ExpectBox().Do([this](BoxView& box) {
            SaveScreenshot(GetWindow(box.window(), GW_OWNER), L"global_settings_read_only");
            box.Press(IDOK);
        });
        dialog_.Click(IDC_GLOBAL_IPRODUCT_IN_NAMES);
        dialog_.Click(IDOK);
        EXPECT_TRUE(IsOpen());
    });
}

TEST_F(GlobalSettingsPicture, WithACustomersIcon) {
    Bytes image = CustomerLibrary().Build();
    StampImage(&image);
    {
        const ScratchSystemDirectory system;
        WriteWholeFile(system.CustomLibraryPath(), image);
        LoadCustomResourceLibrary();
        EXPECT_TRUE(IsCustomResourceActive());
    }
    Take(L"customer_icon", [this] {
        EXPECT_EQ(reinterpret_cast<HICON>(SendMessageW(dialog_.Control(IDC_GLOBAL_ICON), STM_GETICON, 0, 0)),
                  CustomSmallIcon());
    });
    FreeCustomResourceLibrary();
}

TEST_F(GlobalSettingsPicture, At150Percent) {
    const LargerFonts fonts;
    record_.prefetchMode = kPrefetchAndRecycle;
    Take(L"150_percent");
}

TEST_F(GlobalSettingsPicture, WithTheFocusInTheHelpText) {
    Take(L"help_focus", [this] {
        SendMessageW(dialog_.window(), WM_NEXTDLGCTL,
                     reinterpret_cast<WPARAM>(dialog_.Control(IDC_GLOBAL_HELP)), TRUE);
        SendMessageW(dialog_.Control(IDC_GLOBAL_HELP), WM_VSCROLL, SB_BOTTOM, 0);
    });
}

}  // namespace
