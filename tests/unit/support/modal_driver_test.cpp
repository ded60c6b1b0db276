#include "tests/support/modal_driver.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <atomic>
#include <stop_token>
#include <thread>

#include "base/win32_handle.h"
#include "base/windows_api.h"

#include "tests/support/leak_counters.h"
#include "tests/support/wait_until.h"

namespace {

TEST(ModalDriver, AMessageBoxIsRecordedAndAnswered) {
    ModalDriver driver;
    driver.ExpectBox(L"Title").Press(IDNO);
    EXPECT_EQ(MessageBoxW(nullptr, L"Text", L"Title", MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2), IDNO);
    ASSERT_EQ(driver.boxes().size(), 1u);
    const BoxRecord box = driver.boxes()[0];
    EXPECT_EQ(box.title, L"Title");
    EXPECT_EQ(box.text, L"Text");
    EXPECT_EQ(box.icon, UINT{MB_ICONQUESTION});
    EXPECT_EQ(box.Buttons(), (std::vector<int>{IDYES, IDNO}));
    EXPECT_EQ(box.defaultButton, IDNO);
    EXPECT_EQ(box.owner, nullptr);
}

struct IconRow {
    const char* name;
    UINT style;
    UINT icon;
};
void PrintTo(const IconRow& row, std::ostream* out) {
    *out << row.name;
}

class BoxIcon : public testing::TestWithParam<IconRow> {};

TEST_P(BoxIcon, IsRecognized) {
    ModalDriver driver;
    driver.ExpectBox();
    MessageBoxW(nullptr, L"Text", L"Title", GetParam().style);
    ASSERT_EQ(driver.boxes().size(), 1u);
    EXPECT_EQ(driver.boxes()[0].icon, GetParam().icon);
}

INSTANTIATE_TEST_SUITE_P(All, BoxIcon,
                         testing::Values(IconRow{"none", 0, 0}, IconRow{"information", 0x40, 0x40},
                                         IconRow{"warning", 0x30, 0x30}, IconRow{"error", 0x10, 0x10},
                                         IconRow{"question", 0x20, 0x20}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ModalDriver, WithoutAnAnswerTheDefaultButtonIsPressed) {
    ModalDriver driver;
    driver.ExpectBox();
    EXPECT_EQ(MessageBoxW(nullptr, L"Text", L"Title", MB_OKCANCEL | MB_DEFBUTTON2), IDCANCEL);
}

TEST(ModalDriver, AnUnexpectedBoxFailsTheTestWithItsTextAndIsClosed) {
    const auto show = [] {
        ModalDriver driver;
        MessageBoxW(nullptr, L"Surprise", L"Title", MB_OK);
    };
    static const auto shown = show;
    EXPECT_NONFATAL_FAILURE_ON_ALL_THREADS(shown(), "Surprise");
}

TEST(ModalDriver, ABoxThatNeverCameFailsTheTest) {
    EXPECT_NONFATAL_FAILURE(
        {
            ModalDriver driver;
            driver.ExpectBox(L"Missing").Press(IDOK);
        },
        "\"Missing\" never came");
}

TEST(ModalDriver, ExpectationsAreMatchedByTitle) {
    ModalDriver driver;
    driver.ExpectBox(L"Second").Press(IDNO);
    driver.ExpectBox(L"First").Press(IDYES);
    EXPECT_EQ(MessageBoxW(nullptr, L"", L"First", MB_YESNO), IDYES);
    EXPECT_EQ(MessageBoxW(nullptr, L"", L"Second", MB_YESNO), IDNO);
}

TEST(ModalDriver, AScriptGoesOnWhileABoxOverItsOwnIsAnswered) {
    ModalDriver driver;
    bool answered = false;
    driver.ExpectBox(L"Outer").Do([&](BoxView& outer) {
        // Shows a second box from this thread, as a button of the outer box might.
        driver.ExpectBox(L"Inner").Press(IDOK);
        answered = MessageBoxW(outer.window(), L"", L"Inner", MB_OK) == IDOK;
        outer.Press(IDOK);
    });
    MessageBoxW(nullptr, L"", L"Outer", MB_OK);
    EXPECT_TRUE(answered);
    EXPECT_EQ(driver.boxes().size(), 2u);
}

class ModalMenu : public testing::Test {
  protected:
    ModalMenu()
        : owner_(CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 10, 10, 200, 100, nullptr, nullptr,
                                 nullptr, nullptr)),
          menu_(CreatePopupMenu()) {
        SetForegroundWindow(owner_.get());
        const HMENU submenu = CreatePopupMenu();
        AppendMenuW(submenu, MF_STRING, 21, L"Inner &one");
        AppendMenuW(submenu, MF_STRING, 22, L"Inner &two");
        AppendMenuW(menu_.get(), MF_STRING | MF_CHECKED, 1, L"First");
        AppendMenuW(menu_.get(), MF_SEPARATOR, 0, nullptr);
        AppendMenuW(menu_.get(), MF_STRING | MF_GRAYED, 2, L"Grey");
        AppendMenuW(menu_.get(), MF_POPUP, reinterpret_cast<UINT_PTR>(submenu), L"More");
        AppendMenuW(menu_.get(), MF_STRING, 3, L"Last");
    }
    int Track() { return TrackPopupMenu(menu_.get(), TPM_RETURNCMD, 30, 30, 0, owner_.get(), nullptr); }

    OwnedWindow owner_;
    OwnedMenu menu_;
};

TEST_F(ModalMenu, AMenuIsReadAndDismissed) {
    ModalDriver driver;
    driver.ExpectMenu().Dismiss();
    EXPECT_EQ(Track(), 0);
    ASSERT_EQ(driver.menus().size(), 1u);
    const MenuRecord menu = driver.menus()[0];
    EXPECT_EQ(menu.owner, owner_.get());
    EXPECT_EQ(menu.Texts(), L"First\n-\nGrey\nMore\nLast\n");
    EXPECT_TRUE(menu.Item(1)->checked());
    EXPECT_FALSE(menu.Item(2)->enabled());
    EXPECT_EQ(menu.Item(22)->text, L"Inner &two");
    EXPECT_EQ(menu.Item(99), nullptr);
}

TEST_F(ModalMenu, AnItemIsChosenByItsId) {
    ModalDriver driver;
    driver.ExpectMenu().Choose(3);
    EXPECT_EQ(Track(), 3);
}

TEST_F(ModalMenu, AnItemOfASubmenuIsChosenByItsId) {
    ModalDriver driver;
    driver.ExpectMenu().Choose(22);
    EXPECT_EQ(Track(), 22);
}

// Puts the pointer back at the end of the scope.
class PointerAt {
  public:
    explicit PointerAt(POINT place) {
        GetCursorPos(&before_);
        SetCursorPos(place.x, place.y);
    }
    ~PointerAt() { SetCursorPos(before_.x, before_.y); }

  private:
    POINT before_ = {};
};

TEST_F(ModalMenu, AnItemIsChosenByTheRealMouse) {
    ModalDriver driver;
    driver.LetMenusHeedPointer();
    for (const UINT id : {1u, 3u, 22u}) {
        driver.ExpectMenu().Do([id](MenuView& menu) { menu.ChooseByMouse(id); });
        EXPECT_EQ(Track(), static_cast<int>(id));
    }
}

TEST_F(ModalMenu, TheItemIsChosenWhereverThePointerRests) {
    for (int y = 30; y < 150; y += 10) {
        const PointerAt pointer({45, y});
        for (const UINT id : {1u, 3u, 22u}) {
            ModalDriver driver;
            driver.ExpectMenu().Choose(id);
            EXPECT_EQ(Track(), static_cast<int>(id)) << "pointer at " << y;
        }
    }
}

TEST_F(ModalMenu, TheItemIsChosenWhileThePointerMoves) {
    const PointerAt pointer({45, 30});
    std::jthread mover([](std::stop_token stop) {
        for (int y = 0; !stop.stop_requested(); y = (y + 7) % 120) {
            SetCursorPos(45, 30 + y);
            Sleep(1);
        }
    });
    for (int times = 0; times < 10; ++times) {
        ModalDriver driver;
        driver.ExpectMenu().Choose(22);
        EXPECT_EQ(Track(), 22);
    }
}

// A box that is still being opened can be seen, but its loop does not yet take what is posted.
TEST(ModalDriver, ABoxIsAnsweredOnlyOnceItsLoopRuns) {
    ModalDriver driver;
    std::atomic<bool> loopRuns = false;
    std::atomic<bool> answered = false;
    driver.ExpectBox(L"Slow").DoAndLeaveOpen([&](BoxView&) {
        EXPECT_TRUE(loopRuns);
        answered = true;
    });
    const OwnedWindow slow(CreateWindowExW(0, L"#32770", L"Slow", WS_POPUP | WS_VISIBLE, 10, 10, 100, 80,
                                           nullptr, nullptr, nullptr, nullptr));
    // Time for the driver to find the box and to answer too early; it may send to the box all the while.
    const DWORD start = GetTickCount();
    EXPECT_TRUE(WaitUntil("some polls", [&] {
        MSG message;
        PeekMessageW(&message, nullptr, WM_APP, WM_APP, PM_NOREMOVE);
        return GetTickCount() - start > 50;
    }));
    EXPECT_FALSE(answered);
    loopRuns = true;
    EXPECT_TRUE(PumpUntil("the answer", [&] { return answered.load(); }));
}

TEST_F(ModalMenu, MenusAreServedOneAfterTheOther) {
    ModalDriver driver;
    for (const UINT id : {1u, 3u, 21u}) {
        driver.ExpectMenu().Choose(id);
        EXPECT_EQ(Track(), static_cast<int>(id));
    }
}

TEST_F(ModalMenu, ServedMenusHoldNoHandlesWhileTheDriverLives) {
    ModalDriver driver;
    const auto serve = [&] {
        driver.ExpectMenu().Dismiss();
        Track();
    };
    serve();
    const long before = CountKernelHandles();
    for (int times = 0; times < 5; ++times)
        serve();
    EXPECT_TRUE(WaitUntil("the threads' handles to go", [&] { return CountKernelHandles() <= before; }));
}

TEST_F(ModalMenu, AnUnexpectedMenuFailsTheTestWithItsItems) {
    static std::function<int()> track;
    track = [this] { return Track(); };
    EXPECT_NONFATAL_FAILURE_ON_ALL_THREADS(
        {
            ModalDriver driver;
            track();
        },
        "Grey");
}

}  // namespace
