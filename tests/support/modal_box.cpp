#include "tests/support/modal_driver.h"

#include <gtest/gtest.h>

#include "base/windows_api.h"

#include "tests/support/message_queue.h"
#include "tests/support/wait_until.h"

namespace {

LRESULT SendWithLimit(HWND window, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
    DWORD_PTR result = 0;
    SetLastError(ERROR_SUCCESS);
    const bool answered =
        SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, kDefaultWaitMs, &result) != 0;
    EXPECT_TRUE(answered || GetLastError() != ERROR_TIMEOUT)
        << "message " << message << " was not answered within " << kDefaultWaitMs << " ms";
    return static_cast<LRESULT>(result);
}

std::wstring WindowText(HWND window) {
    const auto chars = static_cast<size_t>(SendWithLimit(window, WM_GETTEXTLENGTH));
    std::wstring text(chars + 1, L'\0');
    const auto copied = static_cast<size_t>(
        SendWithLimit(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data())));
    text.resize(copied);
    return text;
}

std::wstring ClassNameOf(HWND window) {
    wchar_t name[256] = L"";
    GetClassNameW(window, name, 256);
    return name;
}

DWORD StyleOf(HWND window) {
    return static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE));
}

bool IsPushButton(const ControlRecord& control) {
    const DWORD kind = control.style & BS_TYPEMASK;
    return control.className == L"Button" && (kind == BS_PUSHBUTTON || kind == BS_DEFPUSHBUTTON);
}

BOOL CALLBACK AddControl(HWND window, LPARAM record) {
    auto& controls = reinterpret_cast<BoxRecord*>(record)->controls;
    ControlRecord control;
    control.window = window;
    control.id = GetDlgCtrlID(window) & 0xFFFF;
    control.className = ClassNameOf(window);
    control.text = WindowText(window);
    control.style = StyleOf(window);
    GetWindowRect(window, &control.area);
    MapWindowPoints(nullptr, GetParent(window), reinterpret_cast<POINT*>(&control.area), 2);
    control.visible = (control.style & WS_VISIBLE) != 0;
    control.enabled = IsWindowEnabled(window) != FALSE;
    controls.push_back(std::move(control));
    return TRUE;
}

UINT IconKind(HICON icon) {
    struct Row {
        LPCWSTR name;
        UINT kind;
    };
    for (const Row& row : {Row{IDI_ASTERISK, MB_ICONINFORMATION}, Row{IDI_EXCLAMATION, MB_ICONWARNING},
                           Row{IDI_HAND, MB_ICONERROR}, Row{IDI_QUESTION, MB_ICONQUESTION}})
        if (icon == LoadIconW(nullptr, row.name)) return row.kind;
    return 0;
}

UINT IconOf(const BoxRecord& box) {
    for (const ControlRecord& control : box.controls) {
        if (control.className != L"Static" || (control.style & SS_TYPEMASK) != SS_ICON) continue;
        const auto icon = reinterpret_cast<HICON>(SendWithLimit(control.window, STM_GETICON));
        if (icon != nullptr) return IconKind(icon);
    }
    return 0;
}

std::wstring TextOf(const BoxRecord& box) {
    std::vector<std::wstring> texts;
    for (const ControlRecord& control : box.controls)
        if (control.className == L"Static" && !control.text.empty()) texts.push_back(control.text);
    std::wstring lines;
    for (const std::wstring& text : texts)
        lines += texts.size() == 1 ? text : text + L"\n";
    return lines;
}

int DefaultButtonOf(const BoxRecord& box) {
    for (const ControlRecord& control : box.controls)
        if (IsPushButton(control) && (control.style & BS_TYPEMASK) == BS_DEFPUSHBUTTON) return control.id;
    const LRESULT id = SendWithLimit(box.window, DM_GETDEFID);
    return HIWORD(id) == DC_HASDEFID ? LOWORD(id) : 0;
}

}  // namespace

std::string NarrowText(const std::wstring& text) {
    std::string bytes(text.size() * 3 + 1, '\0');
    const int count = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                          bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<size_t>(count));
    return bytes;
}

const ControlRecord* BoxRecord::Control(int id) const {
    for (const ControlRecord& control : controls)
        if (control.id == id) return &control;
    return nullptr;
}

std::wstring BoxRecord::ControlText(int id) const {
    const ControlRecord* control = Control(id);
    return control != nullptr ? control->text : std::wstring();
}

std::vector<int> BoxRecord::Buttons() const {
    std::vector<int> ids;
    for (const ControlRecord& control : controls)
        if (control.visible && IsPushButton(control)) ids.push_back(control.id);
    return ids;
}

BoxRecord ReadBox(HWND window) {
    BoxRecord box;
    box.window = window;
    box.owner = GetWindow(window, GW_OWNER);
    box.ownerEnabled = box.owner != nullptr && IsWindowEnabled(box.owner);
    box.title = WindowText(window);
    box.style = StyleOf(window);
    box.extendedStyle = static_cast<DWORD>(GetWindowLongPtrW(window, GWL_EXSTYLE));
    GetWindowRect(window, &box.area);
    EnumChildWindows(window, AddControl, reinterpret_cast<LPARAM>(&box));
    box.defaultButton = DefaultButtonOf(box);
    box.icon = IconOf(box);
    box.text = TextOf(box);
    return box;
}

HWND BoxView::Control(int id) const {
    return GetDlgItem(window_, id);
}

std::wstring BoxView::Title() const {
    return WindowText(window_);
}

std::wstring BoxView::Text(int id) const {
    return WindowText(Control(id));
}

bool BoxView::IsChecked(int id) const {
    return SendWithLimit(Control(id), BM_GETCHECK) == BST_CHECKED;
}

BoxRecord BoxView::Read() const {
    return ReadBox(window_);
}

void BoxView::Press(int id) const {
    PostMessageW(Control(id), BM_CLICK, 0, 0);
}

void BoxView::PressKey(WORD key) const {
    GUITHREADINFO information = {};
    information.cbSize = sizeof(information);
    GetGUIThreadInfo(GetWindowThreadProcessId(window_, nullptr), &information);
    const HWND focus = information.hwndFocus != nullptr ? information.hwndFocus : window_;
    PostMessageW(focus, WM_KEYDOWN, key, 0);
    Settle();
}

void BoxView::Settle() const {
    EXPECT_TRUE(WaitUntilSettled(window_)) << "in the dialog \"" << NarrowText(Title()) << "\"";
}

void BoxView::Post(UINT message, WPARAM wParam, LPARAM lParam) const {
    PostMessageW(window_, message, wParam, lParam);
}

LRESULT BoxView::Send(UINT message, WPARAM wParam, LPARAM lParam) const {
    return SendWithLimit(window_, message, wParam, lParam);
}

void BoxView::SetText(int id, const std::wstring& text) const {
    SendWithLimit(Control(id), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

void BoxView::SelectComboEntry(int id, int index) const {
    const HWND combo = Control(id);
    SendWithLimit(combo, CB_SETCURSEL, static_cast<WPARAM>(index));
    Post(WM_COMMAND, MAKEWPARAM(id, CBN_SELCHANGE), reinterpret_cast<LPARAM>(combo));
}

bool BoxView::WaitFor(const std::string& what, const std::function<bool()>& condition) const {
    const testing::AssertionResult result = WaitUntil(what, condition);
    EXPECT_TRUE(result) << "in the dialog \"" << NarrowText(Title()) << "\"";
    return static_cast<bool>(result);
}
