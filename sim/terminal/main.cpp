// putty-x64.exe: stands where the driver package has its terminal program. Shows the port of the saved
// session that it is told to load, in the session's title and color, and opens nothing.
#include "base/windows_api.h"

#include "sim/terminal/session.h"

namespace {

constexpr wchar_t kClassName[] = L"TavixSimTerminal";
constexpr int kWidth = 420;
constexpr int kHeight = 200;

struct Terminal {
    std::wstring text;
    COLORREF background = RGB(0, 0, 0);
};

void Paint(HWND window, const Terminal& terminal) {
    PAINTSTRUCT paint = {};
    const HDC dc = BeginPaint(window, &paint);
    RECT area = {};
    GetClientRect(window, &area);
    SetDCBrushColor(dc, terminal.background);
    FillRect(dc, &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, RGB(255, 255, 255));
    SelectObject(dc, GetStockObject(DEFAULT_GUI_FONT));
    InflateRect(&area, -8, -8);
    DrawTextW(dc, terminal.text.c_str(), -1, &area, DT_WORDBREAK | DT_NOPREFIX);
    EndPaint(window, &paint);
}

LRESULT CALLBACK TerminalProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_CREATE: {
            const auto* creation = reinterpret_cast<const CREATESTRUCTW*>(lParam);
            SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
            return 0;
        }
        case WM_PAINT:
            Paint(window, *reinterpret_cast<const Terminal*>(GetWindowLongPtrW(window, GWLP_USERDATA)));
            return 0;
        case WM_DESTROY:
            PostQuitMessage(0);
            return 0;
        default:
            return DefWindowProcW(window, message, wParam, lParam);
    }
}

Terminal DescribeSession(const std::wstring& name, const std::optional<SavedSession>& session) {
    Terminal terminal;
    if (!session) {
        terminal.text = L"There is no saved session \"" + name + L"\".";
        return terminal;
    }
    terminal.text = session->serialLine + L"\n\nStand-in for the terminal program\nsession " + name +
                    L"\nhost " + session->hostName;
    terminal.background = session->background;
    return terminal;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int show) {
    const std::wstring name = SessionNameOf(GetCommandLineW());
    const std::optional<SavedSession> session = ReadSavedSession(name);
    Terminal terminal = DescribeSession(name, session);
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = TerminalProc;
    windowClass.hInstance = instance;
    windowClass.hCursor = LoadCursorW(nullptr, IDC_IBEAM);
    windowClass.lpszClassName = kClassName;
    RegisterClassW(&windowClass);
    const std::wstring title = session ? session->windowTitle : L"PuTTY";
    const HWND window =
        CreateWindowExW(0, kClassName, title.c_str(), WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                        kWidth, kHeight, nullptr, nullptr, instance, &terminal);
    if (window == nullptr) return 1;
    ShowWindow(window, show);
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return 0;
}
