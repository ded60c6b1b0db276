// The dialog templates as resources: every control with its number, kind and text, nothing cut off, keys that
// reach one control each. What the dialogs do is tested elsewhere.
#include <gtest/gtest.h>

#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "base/windows_api.h"

#include <commctrl.h>
#include <prsht.h>

#include "base/win32_handle.h"
#include "tests/support/screenshot.h"

namespace {

struct ControlRow {
    int id;  // -1: found by its text
    const wchar_t* className;
    const wchar_t* text;
    DWORD styleMask;
    DWORD style;
};

struct DialogRow {
    const char* name;
    int id;
    const wchar_t* caption;
    SIZE units;
    std::vector<ControlRow> controls;
};
void PrintTo(const DialogRow& row, std::ostream* out) {
    *out << row.name;
}

constexpr DWORD kReadOnly = ES_READONLY;
constexpr DWORD kReadOnlyLines = ES_READONLY | ES_MULTILINE;

constexpr ControlRow Button(int id, const wchar_t* text, DWORD type) {
    return {id, L"Button", text, BS_TYPEMASK | WS_VISIBLE, type | WS_VISIBLE};
}
constexpr ControlRow Push(int id, const wchar_t* text) {
    return Button(id, text, BS_PUSHBUTTON);
}
constexpr ControlRow Radio(int id, const wchar_t* text) {
    return Button(id, text, BS_AUTORADIOBUTTON);
}
constexpr ControlRow Check(int id, const wchar_t* text) {
    return Button(id, text, BS_AUTOCHECKBOX);
}
constexpr ControlRow Group(const wchar_t* text) {
    return Button(-1, text, BS_GROUPBOX);
}
constexpr ControlRow Label(int id, const wchar_t* text) {
    return {id, L"Static", text, SS_TYPEMASK, SS_LEFT};
}
constexpr ControlRow List(int id) {
    return {id, L"ComboBox", L"", 3, CBS_DROPDOWNLIST};
}
constexpr ControlRow Edit(int id, DWORD style) {
    return {id, L"Edit", L"", kReadOnlyLines | WS_VSCROLL, style};
}
constexpr ControlRow Icon(int id) {
    return {id, L"Static", nullptr, SS_TYPEMASK, SS_ICON};
}

std::vector<DialogRow> DialogRows() {
    return {
        {"VcomPage",
         200,
         L"VCOM Settings",
         {257, 215},
         {Edit(1015, kReadOnly),
          Label(1018, L"VCOM PortName selection:"),
          List(1005),
          Push(1016, L"?"),
          Radio(1002, L"T&emporal"),
          Radio(1003, L"&Friendly"),
          Radio(1004, L"&Persistent"),
          Group(L"VCOM Lifemode"),
          Edit(1012, kReadOnly),
          Push(1020, L"Default"),
          Push(1014, L"&Refresh"),
          Push(1013, L"&Save"),
          Button(1025, L"&Tools", BS_SPLITBUTTON),
          Group(L"Global Settings"),
          Check(1019, L"USB Serial number on VCOM device names"),
          Label(-1, L"VCOM Bind Mode:"),
          Radio(1007, L"Sequential"),
          Radio(1008, L"by Device type (USB VID&&PID)"),
          Radio(1009, L"by USB serial number"),
          Radio(1010, L"by USB port"),
          Push(1027, L"&More Globals ..."),
          Edit(1023, kReadOnly),
          {1024, L"Button", L">", BS_TYPEMASK | WS_VISIBLE, BS_PUSHBUTTON},
          Check(1021, L"tavix.log"),
          Icon(103)}},
        {"UsbdPage",
         201,
         L"USB Device Settings",
         {257, 215},
         {Label(1045, L"... Vbus not ready"), Push(1041, L"..."), Icon(1104), Edit(1050, kReadOnlyLines),
          Edit(1042, kReadOnly), Radio(1043, L"Show &recent"), Radio(1044, L"Show &past"),
          Push(1040, L"&Clear"), Edit(1039, kReadOnlyLines | WS_VSCROLL), Push(1046, L"&Save to file"),
          Check(1021, L"&Enable TAVIX log file (tavix.log)")}},
        {"VbusPage",
         202,
         L"Virtual Bus Settings",
         {257, 215},
         {Check(1021, L"&Enable TAVIX log file (tavix.log)"),
          {1037, L"Static", nullptr, SS_NOTIFY, SS_NOTIFY}}},
        {"GlobalSettings",
         105,
         L"TAVIX Global Settings",
         {317, 251},
         {Label(-1, L"Preferred VCOM &Lifemode for new VCOM:"),
          List(1030),
          Check(1028, L"Prefer these &PortNames for new VCOM:"),
          Edit(1029, 0),
          Label(-1, L"Input Pre-fetch mode &before VCOM open:"),
          List(1031),
          Label(1032, L"Prebuf help text"),
          Label(1033, L"buffer size: xxx"),
          Check(1026, L"&Clear VCOM input on port open"),
          Check(1017, L"Prefer USB &iProduct text in device names"),
          Check(1019, L"USB &Serial number on VCOM device names"),
          Button(1022, L"Make TAVIX run better inside &virtual machine", BS_AUTO3STATE),
          Check(1023, L"When Bindmode is by USB serial number, require unique SN"),
          Label(-1, L"Datapipe device lifemode (legac&y):"),
          List(1024),
          Check(1035, L"&Rob from other driver"),
          Edit(1012, kReadOnly),
          Icon(103),
          {1036, L"RichEdit20W", L"", ES_MULTILINE, ES_MULTILINE},
          Push(1020, L"&Default"),
          Push(4, L"&Export .reg"),
          Button(1, L"OK", BS_DEFPUSHBUTTON),
          Push(2, L"Cancel")}},
        {"UsbTweak",
         106,
         L"USB Tweak",
         {224, 130},
         {Push(1100, L"Reset &OUT pipe"), Push(1101, L"Reset &IN pipe"), Push(1102, L"&Reset USB port"),
          Push(1103, L"&Cycle USB port"),
          Label(-1,
                L"Be aware. if VCOM is opened by an app, doing USB pipe/port reset may cease data receiving "
                L"for that app.")}},
    };
}

std::wstring TextOf(HWND window) {
    wchar_t text[200] = {};
    GetWindowTextW(window, text, 200);
    return text;
}

std::wstring ClassOf(HWND window) {
    wchar_t name[64] = {};
    GetClassNameW(window, name, 64);
    return name;
}

RECT AreaIn(HWND dialog, HWND control) {
    RECT area = {};
    GetWindowRect(control, &area);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&area), 2);
    return area;
}

std::vector<HWND> Controls(HWND dialog) {
    std::vector<HWND> controls;
    for (HWND control = GetWindow(dialog, GW_CHILD); control != nullptr;
         control = GetWindow(control, GW_HWNDNEXT))
        controls.push_back(control);
    return controls;
}

bool IsButton(HWND control, DWORD type) {
    return ClassOf(control) == L"Button" &&
           (static_cast<DWORD>(GetWindowLongW(control, GWL_STYLE)) & BS_TYPEMASK) == type;
}

// Room that a kind of control needs beside its text.
LONG RoomBesideText(HWND control) {
    if (IsButton(control, BS_AUTOCHECKBOX) || IsButton(control, BS_AUTORADIOBUTTON) ||
        IsButton(control, BS_AUTO3STATE))
        return GetSystemMetrics(SM_CXMENUCHECK) + 4;
    if (IsButton(control, BS_SPLITBUTTON)) return GetSystemMetrics(SM_CXVSCROLL) + 8;
    return ClassOf(control) == L"Button" ? 6 : 0;
}

SIZE NeededSize(HWND control, LONG width) {
    const HDC dc = GetDC(control);
    const auto font = reinterpret_cast<HGDIOBJ>(SendMessageW(control, WM_GETFONT, 0, 0));
    const HGDIOBJ previous = SelectObject(dc, font);
    RECT area = {0, 0, width, 0};
    const bool wraps =
        ClassOf(control) == L"Static" || (GetWindowLongW(control, GWL_STYLE) & BS_MULTILINE) != 0;
    DrawTextW(dc, TextOf(control).c_str(), -1, &area, DT_CALCRECT | (wraps ? DT_WORDBREAK : DT_SINGLELINE));
    SelectObject(dc, previous);
    ReleaseDC(control, dc);
    return {area.right, area.bottom};
}

INT_PTR CALLBACK PlainDialog(HWND, UINT message, WPARAM, LPARAM) {
    return message == WM_INITDIALOG;
}

class DialogTemplateTest : public testing::TestWithParam<DialogRow> {
  protected:
    DialogTemplateTest() {
        InitCommonControls();
        host_.reset(CreateWindowExW(0, L"Static", L"host", WS_POPUP | WS_VISIBLE, 0, 0, 700, 600, nullptr,
                                    nullptr, nullptr, nullptr));
        dialog_.reset(CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(GetParam().id),
                                         host_.get(), PlainDialog, 0));
        ShowWindow(dialog_.get(), SW_SHOW);
        UpdateWindow(dialog_.get());
    }

    HWND Find(const ControlRow& row) const {
        if (row.id != -1) return GetDlgItem(dialog_.get(), row.id);
        for (const HWND control : Controls(dialog_.get()))
            if (TextOf(control) == row.text) return control;
        return nullptr;
    }

    // The rich edit's window class.
    LoadedLibrary richEdit_{LoadLibraryW(L"riched20.dll")};
    OwnedWindow host_;
    OwnedWindow dialog_;
};

TEST_P(DialogTemplateTest, HasItsCaptionAndSize) {
    ASSERT_TRUE(dialog_);
    EXPECT_EQ(TextOf(dialog_.get()), GetParam().caption);
    RECT wanted = {0, 0, GetParam().units.cx, GetParam().units.cy};
    MapDialogRect(dialog_.get(), &wanted);
    RECT client = {};
    GetClientRect(dialog_.get(), &client);
    EXPECT_EQ(client.right, wanted.right);
    EXPECT_EQ(client.bottom, wanted.bottom);
}

TEST_P(DialogTemplateTest, HasItsControlsAndNoOthers) {
    for (const ControlRow& row : GetParam().controls) {
        const HWND control = Find(row);
        ASSERT_NE(control, nullptr) << row.id;
        EXPECT_EQ(ClassOf(control), row.className) << row.id;
        if (row.text != nullptr) {
            EXPECT_EQ(TextOf(control), row.text) << row.id;
        }
        EXPECT_EQ(static_cast<DWORD>(GetWindowLongW(control, GWL_STYLE)) & row.styleMask, row.style)
            << row.id;
    }
    EXPECT_EQ(Controls(dialog_.get()).size(), GetParam().controls.size());
}

TEST_P(DialogTemplateTest, ShowsItsTextsWhole) {
    for (const HWND control : Controls(dialog_.get())) {
        const std::wstring kind = ClassOf(control);
        if ((kind != L"Button" && kind != L"Static") || IsButton(control, BS_GROUPBOX)) continue;
        if (kind == L"Static" && (GetWindowLongW(control, GWL_STYLE) & SS_TYPEMASK) == SS_ICON) continue;
        RECT client = {};
        GetClientRect(control, &client);
        const SIZE needed = NeededSize(control, client.right - RoomBesideText(control));
        EXPECT_LE(needed.cx + RoomBesideText(control), client.right)
            << testing::PrintToString(TextOf(control));
        EXPECT_LE(needed.cy, client.bottom) << testing::PrintToString(TextOf(control));
    }
}

TEST_P(DialogTemplateTest, KeepsItsControlsInsideAndApart) {
    RECT client = {};
    GetClientRect(dialog_.get(), &client);
    const std::vector<HWND> controls = Controls(dialog_.get());
    for (const HWND control : controls) {
        const RECT area = AreaIn(dialog_.get(), control);
        EXPECT_TRUE(area.left >= 0 && area.top >= 0 && area.right <= client.right &&
                    area.bottom <= client.bottom)
            << GetDlgCtrlID(control);
        if (IsButton(control, BS_GROUPBOX)) continue;
        for (const HWND other : controls) {
            if (other == control || IsButton(other, BS_GROUPBOX)) continue;
            const RECT otherArea = AreaIn(dialog_.get(), other);
            RECT common;
            EXPECT_FALSE(IntersectRect(&common, &area, &otherArea))
                << GetDlgCtrlID(control) << " and " << GetDlgCtrlID(other);
        }
    }
}

TEST_P(DialogTemplateTest, TheTabKeyFollowsTheReadingOrder) {
    HWND previous = nullptr;
    for (const HWND control : Controls(dialog_.get())) {
        if ((GetWindowLongW(control, GWL_STYLE) & WS_TABSTOP) == 0) continue;
        if (previous != nullptr) {
            const RECT before = AreaIn(dialog_.get(), previous);
            const RECT area = AreaIn(dialog_.get(), control);
            EXPECT_TRUE(area.top >= before.bottom - 3 || area.left >= before.right)
                << GetDlgCtrlID(previous) << " before " << GetDlgCtrlID(control);
        }
        previous = control;
    }
}

TEST_P(DialogTemplateTest, EachKeyReachesOneControl) {
    std::set<wchar_t> keys;
    for (const HWND control : Controls(dialog_.get())) {
        const std::wstring text = TextOf(control);
        for (size_t place = text.find(L'&'); place != std::wstring::npos && place + 1 < text.size();
             place = text.find(L'&', place + 2)) {
            if (text[place + 1] == L'&') continue;
            EXPECT_TRUE(keys.insert(static_cast<wchar_t>(towupper(text[place + 1]))).second)
                << testing::PrintToString(text);
        }
    }
}

TEST_P(DialogTemplateTest, CanBeLookedAt) {
    EXPECT_NE(SaveScreenshot(dialog_.get(), L"template_" + std::to_wstring(GetParam().id)), L"");
}

INSTANTIATE_TEST_SUITE_P(Templates, DialogTemplateTest, testing::ValuesIn(DialogRows()),
                         [](const auto& row) { return row.param.name; });

class ModuleIconTest : public testing::TestWithParam<int> {};

TEST_P(ModuleIconTest, HasAnImageOfItsOwnForEachUsualSize) {
    for (const int size : {16, 32, 48}) {
        const OwnedIcon icon(static_cast<HICON>(
            LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(GetParam()), IMAGE_ICON, size, size, 0)));
        ASSERT_TRUE(icon) << size;
        ICONINFO info = {};
        ASSERT_TRUE(GetIconInfo(icon.get(), &info));
        const OwnedBitmap colors(info.hbmColor);
        const OwnedBitmap mask(info.hbmMask);
        BITMAP bitmap = {};
        GetObjectW(colors.get(), sizeof(bitmap), &bitmap);
        EXPECT_EQ(bitmap.bmWidth, size);
        EXPECT_EQ(bitmap.bmBitsPixel, 32);
    }
}

INSTANTIATE_TEST_SUITE_P(Icons, ModuleIconTest, testing::Values(103, 104, 111, 112, 113, 114, 115, 116));

TEST(ModuleResources, TheManifestNamesTheCommonControlsOfVersion6) {
    const HRSRC place = FindResourceW(nullptr, MAKEINTRESOURCEW(2), RT_MANIFEST);
    ASSERT_NE(place, nullptr);
    const std::string text(static_cast<const char*>(LockResource(LoadResource(nullptr, place))),
                           SizeofResource(nullptr, place));
    for (const char* part :
         {"<description>TAVIX uses this manifest to load comctl32 v6.</description>",
          "name=\"Microsoft.Windows.Common-Controls\"", "version=\"6.0.0.0\"", "processorArchitecture=\"*\"",
          "publicKeyToken=\"6595b64144ccf1df\"", "language=\"*\""})
        EXPECT_NE(text.find(part), std::string::npos) << part;
}

TEST(ModuleResources, TheVersionIs1_7_11) {
    const HRSRC place = FindResourceW(nullptr, MAKEINTRESOURCEW(VS_VERSION_INFO), RT_VERSION);
    ASSERT_NE(place, nullptr);
    const auto* words = static_cast<const WORD*>(LockResource(LoadResource(nullptr, place)));
    // The fixed part stands behind the head with the key "VS_VERSION_INFO", at byte 40.
    const auto* fixed = reinterpret_cast<const VS_FIXEDFILEINFO*>(words + 20);
    ASSERT_EQ(fixed->dwSignature, DWORD{VS_FFI_SIGNATURE});
    EXPECT_EQ(fixed->dwFileVersionMS, DWORD{0x00010007});
    EXPECT_EQ(fixed->dwFileVersionLS, DWORD{0x000B0000});
    EXPECT_EQ(fixed->dwProductVersionMS, DWORD{0x00010007});
    EXPECT_EQ(fixed->dwProductVersionLS, DWORD{0x000B0000});
}

TEST(ModuleResources, TheHelpTextIsRichText) {
    const HRSRC place = FindResourceW(nullptr, MAKEINTRESOURCEW(108), L"RTF");
    ASSERT_NE(place, nullptr);
    const std::string text(static_cast<const char*>(LockResource(LoadResource(nullptr, place))),
                           SizeofResource(nullptr, place));
    EXPECT_EQ(text.substr(0, 6), "{\\rtf1");
    for (const char* option :
         {"Lifemode", "PortNames", "Rob from other driver", "Pre-fetch", "Clear VCOM input", "iProduct",
          "Serial number", "virtual machine", "unique SN", "Datapipe", "Export"})
        EXPECT_NE(text.find(option), std::string::npos) << option;
}

}  // namespace
