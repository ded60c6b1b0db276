#include "ui/info_box/template.h"

#include "ui/info_box/params.h"

namespace {

constexpr uint16_t kButtonClass = 0x0080;
constexpr uint16_t kEditClass = 0x0081;
constexpr uint16_t kStaticClass = 0x0082;
constexpr uint16_t kClassAtomFollows = 0xFFFF;

constexpr uint32_t kBoxStyle =
    WS_POPUP | WS_VISIBLE | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | DS_SETFONT;
constexpr uint32_t kControlStyle = WS_CHILD | WS_VISIBLE;
constexpr uint16_t kWidth = 156;
constexpr uint16_t kHeight = 56;
constexpr uint16_t kHeightWithoutButtons = 39;

struct ControlRow {
    int id;
    uint16_t windowClass;
    uint32_t style;
    uint16_t x, y, width, height;  // dialog units
    const wchar_t* text;
};

// In tab order.
constexpr ControlRow kControls[] = {
    {kInfoBoxOkId, kButtonClass, WS_TABSTOP, 46, 38, 50, 14, L"-"},
    {kInfoBoxCancelId, kButtonClass, WS_TABSTOP, 99, 38, 50, 14, L"="},
    {kInfoBoxIconId, kStaticClass, SS_ICON | SS_NOTIFY, 14, 6, 20, 20, L""},
    {kInfoBoxTextId, kEditClass, WS_TABSTOP | WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_READONLY, 47, 6,
     102, 28, L""},
    {kInfoBoxRefreshId, kButtonClass, WS_TABSTOP, 6, 28, 36, 12, L"-"},
    {kInfoBoxAutoId, kButtonClass, WS_TABSTOP | BS_AUTOCHECKBOX, 7, 42, 36, 10, L"-"},
};

uint16_t BoxHeight(const FlexiInfoParams& params) noexcept {
    const bool nothingBelowText =
        params.okText == nullptr && params.cancelText == nullptr && params.hideRefreshControls != 0;
    return nothingBelowText ? kHeightWithoutButtons : kHeight;
}

}  // namespace

InfoBoxTemplate::InfoBoxTemplate(const FlexiInfoParams& params) noexcept {
    AddDword(kBoxStyle);
    AddDword(0);  // extended style
    AddWord(static_cast<uint16_t>(std::size(kControls)));
    for (const uint16_t value : {uint16_t{0}, uint16_t{0}, kWidth, BoxHeight(params)})
        AddWord(value);
    AddWord(0);  // no menu
    AddWord(0);  // the standard dialog class
    AddText(L"ABC");
    AddWord(static_cast<uint16_t>(InfoBoxFontPointSize(params.fontPointSize)));
    AddText(L"MS Shell Dlg 2");
    for (const ControlRow& row : kControls) {
        AlignToDword();
        AddDword(row.style | kControlStyle);
        AddDword(0);  // extended style
        for (const uint16_t value : {row.x, row.y, row.width, row.height, static_cast<uint16_t>(row.id)})
            AddWord(value);
        AddWord(kClassAtomFollows);
        AddWord(row.windowClass);
        AddText(row.text);
        AddWord(0);  // no creation data
    }
}

void InfoBoxTemplate::AddWord(uint16_t word) noexcept {
    words_[used_++] = word;
}

void InfoBoxTemplate::AddDword(uint32_t value) noexcept {
    AddWord(LOWORD(value));
    AddWord(HIWORD(value));
}

void InfoBoxTemplate::AddText(const wchar_t* text) noexcept {
    for (; *text != L'\0'; ++text)
        AddWord(static_cast<uint16_t>(*text));
    AddWord(0);
}

void InfoBoxTemplate::AlignToDword() noexcept {
    if (used_ % 2 != 0) AddWord(0);
}
