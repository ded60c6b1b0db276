#include "ui/info_box/template.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct Item {
    DWORD style;
    DWORD extendedStyle;
    short x, y, width, height;
    WORD id;
    WORD windowClass;
    std::wstring text;
};

struct Parsed {
    DWORD style;
    DWORD extendedStyle;
    short x, y, width, height;
    std::wstring title;
    WORD pointSize;
    std::wstring fontName;
    std::vector<Item> items;
    size_t words;
};

// Reads a template the way the dialog manager does.
class Reader {
  public:
    explicit Reader(const DLGTEMPLATE* dialogTemplate)
        : start_(reinterpret_cast<const WORD*>(dialogTemplate)), at_(start_) {}

    WORD Word() { return *at_++; }
    DWORD Dword() {
        const DWORD low = Word();
        return low | static_cast<DWORD>(Word()) << 16;
    }
    short Short() { return static_cast<short>(Word()); }
    std::wstring Text() {
        std::wstring text;
        while (const WORD unit = Word())
            text += static_cast<wchar_t>(unit);
        return text;
    }
    void Align() {
        if (Words() % 2 != 0) ++at_;
    }
    size_t Words() const { return static_cast<size_t>(at_ - start_); }

  private:
    const WORD* start_;
    const WORD* at_;
};

Parsed Parse(const InfoBoxTemplate& box) {
    Reader in(box.get());
    Parsed dialog = {};
    dialog.style = in.Dword();
    dialog.extendedStyle = in.Dword();
    const WORD count = in.Word();
    dialog.x = in.Short();
    dialog.y = in.Short();
    dialog.width = in.Short();
    dialog.height = in.Short();
    EXPECT_EQ(in.Word(), 0) << "menu";
    EXPECT_EQ(in.Word(), 0) << "class";
    dialog.title = in.Text();
    dialog.pointSize = in.Word();
    dialog.fontName = in.Text();
    for (WORD i = 0; i < count; ++i) {
        in.Align();
        Item item = {};
        item.style = in.Dword();
        item.extendedStyle = in.Dword();
        item.x = in.Short();
        item.y = in.Short();
        item.width = in.Short();
        item.height = in.Short();
        item.id = in.Word();
        EXPECT_EQ(in.Word(), 0xFFFF);
        item.windowClass = in.Word();
        item.text = in.Text();
        EXPECT_EQ(in.Word(), 0) << "creation data";
        dialog.items.push_back(item);
    }
    dialog.words = in.Words();
    return dialog;
}

TEST(InfoBoxTemplate, HasTheDialogsStylesFontAndPlaceholder) {
    const InfoBoxTemplate box(FlexiInfoParams{});
    const Parsed dialog = Parse(box);
    EXPECT_EQ(dialog.style, DWORD{WS_POPUP | WS_VISIBLE | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME |
                                  WS_MINIMIZEBOX | DS_SETFONT});
    EXPECT_EQ(dialog.extendedStyle, 0u);
    EXPECT_EQ(dialog.title, L"ABC");
    EXPECT_EQ(dialog.fontName, L"MS Shell Dlg 2");
    EXPECT_EQ(dialog.words, box.UsedWords());
    EXPECT_EQ(reinterpret_cast<uintptr_t>(box.get()) % 4, 0u);
}

TEST(InfoBoxTemplate, HoldsTheSixControlsInTabOrder) {
    constexpr DWORD kShown = WS_CHILD | WS_VISIBLE;
    const std::vector<Item> expected = {
        {kShown | WS_TABSTOP, 0, 46, 38, 50, 14, 1, 0x80, L"-"},
        {kShown | WS_TABSTOP, 0, 99, 38, 50, 14, 2, 0x80, L"="},
        {kShown | SS_ICON | SS_NOTIFY, 0, 14, 6, 20, 20, 101, 0x82, L""},
        {kShown | WS_TABSTOP | WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_READONLY, 0, 47, 6, 102, 28,
         100, 0x81, L""},
        {kShown | WS_TABSTOP, 0, 6, 28, 36, 12, 103, 0x80, L"-"},
        {kShown | WS_TABSTOP | BS_AUTOCHECKBOX, 0, 7, 42, 36, 10, 102, 0x80, L"-"},
    };
    const Parsed dialog = Parse(InfoBoxTemplate(FlexiInfoParams{}));
    ASSERT_EQ(dialog.items.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        const Item& item = dialog.items[i];
        SCOPED_TRACE(expected[i].id);
        EXPECT_EQ(item.id, expected[i].id);
        EXPECT_EQ(item.style, expected[i].style);
        EXPECT_EQ(item.extendedStyle, expected[i].extendedStyle);
        EXPECT_EQ(item.x, expected[i].x);
        EXPECT_EQ(item.y, expected[i].y);
        EXPECT_EQ(item.width, expected[i].width);
        EXPECT_EQ(item.height, expected[i].height);
        EXPECT_EQ(item.windowClass, expected[i].windowClass);
        EXPECT_EQ(item.text, expected[i].text);
    }
}

struct HeightRow {
    const char* name;
    const wchar_t* okText;
    const wchar_t* cancelText;
    uint8_t hideRefreshControls;
    short height;
};
void PrintTo(const HeightRow& row, std::ostream* out) {
    *out << row.name;
}

class TemplateHeights : public testing::TestWithParam<HeightRow> {};

TEST_P(TemplateHeights, AreLowerOnlyWithNothingBelowTheText) {
    FlexiInfoParams params = {};
    params.okText = GetParam().okText;
    params.cancelText = GetParam().cancelText;
    params.hideRefreshControls = GetParam().hideRefreshControls;
    const Parsed dialog = Parse(InfoBoxTemplate(params));
    EXPECT_EQ(dialog.width, 156);
    EXPECT_EQ(dialog.height, GetParam().height);
}

INSTANTIATE_TEST_SUITE_P(InfoBoxTemplate, TemplateHeights,
                         testing::Values(HeightRow{"NoButtonsRefreshAllowed", nullptr, nullptr, 0, 56},
                                         HeightRow{"NoButtonsRefreshHidden", nullptr, nullptr, 1, 39},
                                         HeightRow{"OkRefreshHidden", L"OK", nullptr, 1, 56},
                                         HeightRow{"CancelRefreshHidden", nullptr, L"Cancel", 1, 56},
                                         HeightRow{"BothRefreshHidden", L"OK", L"Cancel", 1, 56}),
                         [](const auto& row) { return row.param.name; });

TEST(InfoBoxTemplate, TheFontSizeHasADefaultAndAMinimum) {
    FlexiInfoParams params = {};
    EXPECT_EQ(Parse(InfoBoxTemplate(params)).pointSize, 9);
    params.fontPointSize = 3;
    EXPECT_EQ(Parse(InfoBoxTemplate(params)).pointSize, 6);
    params.fontPointSize = 14;
    EXPECT_EQ(Parse(InfoBoxTemplate(params)).pointSize, 14);
}

}  // namespace
