// The About box: the driver's version and whose name stands below it.
#include "tools/about.h"

#include <gtest/gtest.h>

#include "driver/vbus.h"
#include "tests/support/screenshot.h"
#include "tests/system/tools_menu_fixture.h"
#include "ui/custom_resource.h"

namespace {

constexpr wchar_t kTitle[] = L"About TAVIX";
constexpr wchar_t kVersion[] = L"TAVIX port driver (TAVIX 1.7.11)\r\n\r\n";
constexpr int kInfoText = 100;
constexpr int kInfoIcon = 101;
constexpr uint16_t kAboutString = 18003;

class AboutTest : public ToolsMenuTest {
  protected:
    void SetUp() override {
        ToolsMenuTest::SetUp();
        DriverVersion_st version = {};
        version.major = 1;
        version.minor = 7;
        version.build = 11;
        ASSERT_EQ(driver_.SetVersion(version), ERROR_SUCCESS);
        OpenIdlePage();
    }
    // The text that the box shows when it is opened by the menu.
    std::wstring AboutByMenu(const wchar_t* picture) {
        ExpectAbout(picture);
        Choose(1043);
        return ShownText();
    }
    // The same with keys held when it is chosen, which would get in a real menu's way.
    std::wstring AboutWith(const std::vector<int>& keys) {
        REPLACE_CALL(track, TrackPopupMenuEx, [&](HMENU, UINT, int, int, HWND, LPTPMPARAMS) {
            BYTE held[256] = {};
            for (const int key : keys)
                held[key] = 0x80;
            SetKeyboardState(held);
            return BOOL{1043};
        });
        ExpectAbout(keys.size() == 3 ? L"about_credits" : nullptr);
        Click(IDC_VCOM_TOOLS);
        const HeldKeys none({});
        return ShownText();
    }
    HICON ShownIcon() const { return icon_; }

  private:
    void ExpectAbout(const wchar_t* picture) {
        modal_.ExpectBox(kTitle).Do([this, picture](BoxView& box) {
            icon_ = reinterpret_cast<HICON>(SendMessageW(box.Control(kInfoIcon), STM_GETICON, 0, 0));
            if (picture != nullptr) SaveScreenshot(box.window(), picture);
            box.Press(IDOK);
        });
    }
    std::wstring ShownText() const {
        const std::vector<BoxRecord> boxes = modal_.boxes();
        return boxes.empty() ? L"" : boxes.back().ControlText(kInfoText);
    }

    HICON icon_ = nullptr;
};

TEST_F(AboutTest, ShowsTheVersionAndOurOwnLine) {
    const std::wstring text = AboutByMenu(L"about");
    EXPECT_EQ(text.rfind(std::wstring(kVersion) + L"Copyright", 0), 0u) << text.c_str();
    EXPECT_EQ(text.substr(text.size() - 2), L"\r\n");
    EXPECT_EQ(modal_.boxes()[0].owner, frame_.get());
    EXPECT_EQ(modal_.boxes()[0].ControlText(IDOK), L"OK");
    EXPECT_EQ(modal_.boxes()[0].Buttons(), std::vector<int>{IDOK});
    EXPECT_EQ(ShownIcon(), CustomSmallIcon());
    EXPECT_EQ(TakeRequests(), std::vector<std::wstring>{L"GetDriverVersion"});
}

TEST_F(AboutTest, ADebugDriverIsNamed) {
    DriverVersion_st version = {};
    version.major = 2;
    version.build = 34;
    version.debugBuild = 1;
    ASSERT_EQ(driver_.SetVersion(version), ERROR_SUCCESS);
    EXPECT_EQ(AboutByMenu(nullptr).rfind(L"TAVIX port driver (TAVIX 2.0.34 (Debug))\r\n\r\n", 0), 0u);
}

TEST_F(AboutTest, WithoutADriverTheNameStandsForTheVersion) {
    SimAccess_st access = {};
    access.busAbsent = 1;
    ASSERT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
    EXPECT_EQ(AboutByMenu(nullptr).rfind(L"TAVIX port driver ([TAVIX])\r\n\r\nCopyright", 0), 0u);
}

TEST_F(AboutTest, AVersionRequestThatFailsDoesTheSame) {
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetDriverVersion, static_cast<int32_t>(0xC0000022)),
              ERROR_SUCCESS);
    EXPECT_EQ(AboutByMenu(nullptr).rfind(L"TAVIX port driver ([TAVIX])\r\n\r\n", 0), 0u);
}

TEST_F(AboutTest, AShortVersionCountsAsFarAsItCame) {
    struct Row {
        uint32_t bytes;
        const wchar_t* version;
    };
    for (const Row& row : {Row{0, L"TAVIX 0.0.0"}, Row{4, L"TAVIX 1.0.0"}, Row{12, L"TAVIX 1.7.11"}}) {
        ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetDriverVersion, row.bytes), ERROR_SUCCESS);
        EXPECT_EQ(
            AboutByMenu(nullptr).rfind(std::wstring(L"TAVIX port driver (") + row.version + L")\r\n", 0), 0u)
            << row.bytes;
    }
}

TEST_F(AboutTest, OnlyAllThreeKeysTogetherAddALine) {
    const std::wstring plain = AboutWith({});
    EXPECT_EQ(AboutWith({VK_MENU, VK_CONTROL}), plain);
    EXPECT_EQ(AboutWith({VK_MENU, VK_SHIFT}), plain);
    EXPECT_EQ(AboutWith({VK_CONTROL, VK_SHIFT}), plain);
    const std::wstring longer = AboutWith({VK_MENU, VK_CONTROL, VK_SHIFT});
    EXPECT_EQ(longer.rfind(plain, 0), 0u);
    EXPECT_GT(longer.size(), plain.size());
}

TEST_F(AboutTest, ACustomersTextTakesThePlaceOfOurs) {
    UseCustomer(CustomerLibrary());
    EXPECT_EQ(AboutByMenu(L"about_customer"), std::wstring(kVersion) + L"Ports by Example & Sons");
    EXPECT_EQ(ShownIcon(), CustomSmallIcon());
}

TEST_F(AboutTest, ACustomersEmptyTextStaysEmpty) {
    ResourceLibrary library = CustomerLibrary();
    library.SetString(kAboutString, L"");
    UseCustomer(library);
    EXPECT_EQ(AboutByMenu(nullptr), kVersion);
}

TEST_F(AboutTest, ACustomersLongTextIsCut) {
    ResourceLibrary library = CustomerLibrary();
    library.SetString(kAboutString, std::wstring(1000, L'x'));
    UseCustomer(library);
    EXPECT_EQ(AboutByMenu(nullptr), kVersion + std::wstring(199, L'x'));
}

TEST_F(AboutTest, TheMenuFollowsACustomersLibrary) {
    UseCustomer(CustomerLibrary());
    const HeldKeys keys({VK_SHIFT});
    WithMenu([](MenuView& menu) {
        SaveScreenshot(nullptr, L"tools_menu_customer");
        menu.Dismiss();
    });
    EXPECT_EQ(LastMenu().Texts().rfind(L"&Flowpath stat\n&USB device property\n-\n&About TAVIX\n-\n", 0), 0u);
    EXPECT_EQ(LastMenu().Item(1043)->bitmap, nullptr);
    EXPECT_NE(LastMenu().Item(1046)->bitmap, nullptr);
    EXPECT_NE(LastMenu().Item(1047)->bitmap, nullptr);
}

// Only the first character of the customer's switch counts.
TEST_F(AboutTest, TheGuidesEntryFollowsACustomersSwitchOfAnyLength) {
    struct Row {
        std::wstring text;
        bool hidden;
    };
    for (const Row& row : {Row{L"", false}, Row{L"0", false}, Row{std::wstring(1000, L'1'), true},
                           Row{std::wstring(1000, L'x'), false}}) {
        ResourceLibrary library = CustomerLibrary();
        library.SetString(18004, row.text);
        UseCustomer(library);
        Dismiss();
        EXPECT_EQ(LastMenu().Item(1044) == nullptr, row.hidden) << row.text.substr(0, 5).c_str();
    }
}

}  // namespace
