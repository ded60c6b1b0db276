// How much text an info box shows, and what it does with a text that it cannot show.
#include "ui/info_box/text.h"

#include "tests/support/import_redirect.h"
#include "tests/ui/info_box_fixture.h"

namespace {

using InfoBoxText = InfoBoxTest;

DWORD boxThread = 0;
void* (*realMalloc)(size_t) = nullptr;

// Lines of 14 characters, which even the smallest box need not wrap; each CR LF stays as it is.
std::wstring TextOf(size_t units) {
    std::wstring text;
    while (text.size() < units)
        text += L"xxxxxxxxxxxxxx\r\n";
    text.resize(units - 1);
    return text + L'.';
}

struct LimitRow {
    const char* name;
    size_t units;
    bool fits;
};
void PrintTo(const LimitRow& row, std::ostream* out) {
    *out << row.name;
}

class InfoBoxLimit : public InfoBoxTest, public testing::WithParamInterface<LimitRow> {
  protected:
    InfoBoxLimit() { buffer_.resize(1'100'000); }
    void ExpectAnswer(const OpenInfoBox& box, int shownBefore) const {
        const int shown = GetWindowTextLengthW(GetDlgItem(box.hwnd(), kInfoBoxTextId));
        EXPECT_EQ(shown, GetParam().fits ? static_cast<int>(GetParam().units) : shownBefore);
        if (GetParam().fits) {
            EXPECT_EQ(buffer_.data(), TextOf(GetParam().units));
        } else {
            EXPECT_STREQ(buffer_.data(), L"No memory!");
        }
    }
};

TEST_P(InfoBoxLimit, HoldsForTheFirstText) {
    Show(Recorded(), TextOf(GetParam().units).c_str(), [&](OpenInfoBox& box) {
        ExpectAnswer(box, 0);
        callback_.result = FIR_NoChange;
        box.Command(kInfoBoxOkId);
    });
}

TEST_P(InfoBoxLimit, HoldsForARefresh) {
    callback_.act = [&](FlexiInfoEvent& event, wchar_t* text, uint32_t) {
        if (event.reason != kReasonRefreshButton) return FIR_NoChange;
        wcscpy(text, TextOf(GetParam().units).c_str());
        return FIR_Update;
    };
    FlexiInfoParams params = Recorded();
    params.showRefreshButton = 1;
    Show(params, L"shown", [&](OpenInfoBox& box) {
        box.Command(kInfoBoxRefreshId);
        ExpectAnswer(box, 5);
        box.Command(kInfoBoxOkId);
    });
}

INSTANTIATE_TEST_SUITE_P(InfoBox, InfoBoxLimit,
                         testing::Values(LimitRow{"Largest", 1'023'999, true},
                                         LimitRow{"OneTooMany", 1'024'000, false},
                                         LimitRow{"TwoTooMany", 1'024'001, false}),
                         [](const auto& row) { return row.param.name; });

// The block that a display text of eight units needs finds no memory on the box's thread.
void* RefusingMalloc(size_t bytes) {
    const bool refused = GetCurrentThreadId() == boxThread && bytes == 9 * sizeof(wchar_t);
    return refused ? nullptr : realMalloc(bytes);
}

TEST_F(InfoBoxText, TheWordsAboutMissingMemoryKeepWithinTheBuffer) {
    wchar_t text[] = L"\n\n\n\n|beyond";
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& box) {
        EXPECT_EQ(box.Text(kInfoBoxTextId), L"");
        box.Close();
    });
    FlexiInfoParams params = {};
    params.textBufferChars = 4;
    realMalloc = reinterpret_cast<void* (*)(size_t)>(ImportedFunction(nullptr, "malloc"));
    const ImportRedirect redirect(nullptr, nullptr, "malloc", reinterpret_cast<void*>(&RefusingMalloc));
    boxThread = GetCurrentThreadId();
    EXPECT_EQ(FlexiInfoBox(parent(), &params, text), kInfoBoxCancel);
    boxThread = 0;
    EXPECT_STREQ(text, L"No ");
    EXPECT_STREQ(text + 4, L"|beyond");
}

TEST_F(InfoBoxText, ATextWithoutTerminatorEndsAtTheBuffersCapacity) {
    wchar_t unterminated[5] = {L'a', L'b', L'c', L'd', L'e'};
    FlexiInfoParams params = {};
    params.textBufferChars = 4;
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& box) {
        EXPECT_EQ(box.Text(kInfoBoxTextId), L"abcd");
        box.Close();
    });
    FlexiInfoBox(parent(), &params, unterminated);
}

}  // namespace
