#include "tests/ui/info_box_fixture.h"

#include <commctrl.h>

#include <algorithm>

uint32_t RecordingCallback::Run(void* context, FlexiInfoEvent* event, wchar_t* text,
                                uint32_t textChars) noexcept {
    auto& self = *static_cast<RecordingCallback*>(context);
    self.calls.push_back(*event);
    if (event->reason == kReasonRefresh) ++self.refreshes;
    return self.act ? self.act(*event, text, textChars) : self.result;
}

std::vector<uint32_t> RecordingCallback::Reasons() const {
    std::vector<uint32_t> reasons;
    for (const FlexiInfoEvent& call : calls)
        reasons.push_back(call.reason);
    return reasons;
}

int RecordingCallback::CountOf(uint32_t reason) const {
    const std::vector<uint32_t> reasons = Reasons();
    return static_cast<int>(std::count(reasons.begin(), reasons.end(), reason));
}

bool OpenInfoBox::IsShown(int id) const {
    return IsWindowVisible(view_.Control(id)) != FALSE;
}

bool OpenInfoBox::HasScrollBar() const {
    return (GetWindowLongPtrW(view_.Control(kInfoBoxTextId), GWL_STYLE) & WS_VSCROLL) != 0;
}

HICON OpenInfoBox::Icon() const {
    return reinterpret_cast<HICON>(SendMessageW(view_.Control(kInfoBoxIconId), STM_GETICON, 0, 0));
}

HICON OpenInfoBox::WindowIcon(WPARAM kind) const {
    return reinterpret_cast<HICON>(view_.Send(WM_GETICON, kind));
}

RECT OpenInfoBox::Area() const {
    RECT area = {};
    GetWindowRect(hwnd(), &area);
    return area;
}

RECT OpenInfoBox::AreaOf(int id) const {
    RECT area = {};
    GetWindowRect(view_.Control(id), &area);
    MapWindowPoints(nullptr, hwnd(), reinterpret_cast<POINT*>(&area), 2);
    return area;
}

int OpenInfoBox::FocusId() const {
    GUITHREADINFO info = {};
    info.cbSize = sizeof(info);
    GetGUIThreadInfo(GetWindowThreadProcessId(hwnd(), nullptr), &info);
    return info.hwndFocus != nullptr && GetParent(info.hwndFocus) == hwnd() ? GetDlgCtrlID(info.hwndFocus)
                                                                            : 0;
}

void OpenInfoBox::CheckAuto(bool on) const {
    SendMessageW(view_.Control(kInfoBoxAutoId), BM_SETCHECK, on ? BST_CHECKED : BST_UNCHECKED, 0);
    Command(kInfoBoxAutoId);
}

void OpenInfoBox::Resize(int width, int height) const {
    SetWindowPos(hwnd(), nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    view_.Send(WM_NULL);
}

void OpenInfoBox::MoveTo(int x, int y) const {
    SetWindowPos(hwnd(), nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    view_.Send(WM_NULL);
}

void OpenInfoBox::RightClick(int x, int y) const {
    view_.Send(WM_RBUTTONDOWN, MK_RBUTTON, MAKELPARAM(x, y));
}

InfoBoxTest::InfoBoxTest() {
    const INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_WIN95_CLASSES};
    InitCommonControlsEx(&controls);
    parent_.reset(CreateWindowExW(0, L"STATIC", L"parent", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 300, 250, 500,
                                  400, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr));
    SetForegroundWindow(parent_.get());
    PumpPendingMessages();
}

uint32_t InfoBoxTest::Show(FlexiInfoParams params, const wchar_t* text,
                           const std::function<void(OpenInfoBox&)>& script) {
    if (params.textBufferChars == 0) params.textBufferChars = static_cast<uint32_t>(buffer_.size());
    wcsncpy(buffer_.data(), text, buffer_.size() - 1);
    driver_.ExpectBox(params.title != nullptr ? params.title : L"FlexiInfo").Do([script](BoxView& view) {
        OpenInfoBox box(view);
        script(box);
    });
    return FlexiInfoBox(parent(), &params, buffer_.data());
}

FlexiInfoParams InfoBoxTest::Recorded() {
    FlexiInfoParams params = {};
    params.cbSize = sizeof(params);
    params.refreshProc = RecordingCallback::Run;
    params.refreshContext = &callback_;
    params.okText = L"OK";
    return params;
}

RECT WorkArea() {
    RECT area = {};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
    return area;
}
