#include "tests/support/screenshot.h"

#include "base/win32_handle.h"
#include "base/windows_api.h"

#include <objidl.h>
#include <propidl.h>

#include <algorithm>

namespace Gdiplus {
using std::max;
using std::min;
}  // namespace Gdiplus
#include <gdiplus.h>

namespace {

// image/png of the encoders that every GDI+ has.
constexpr CLSID kPngEncoder = {0x557cf406, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};

class GdiplusSession {
  public:
    GdiplusSession() {
        const Gdiplus::GdiplusStartupInput input;
        started_ = Gdiplus::GdiplusStartup(&token_, &input, nullptr) == Gdiplus::Ok;
    }
    ~GdiplusSession() {
        if (started_) Gdiplus::GdiplusShutdown(token_);
    }
    GdiplusSession(const GdiplusSession&) = delete;
    GdiplusSession& operator=(const GdiplusSession&) = delete;
    bool started() const { return started_; }

  private:
    ULONG_PTR token_ = 0;
    bool started_ = false;
};

RECT AreaOf(HWND window) {
    RECT area = {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
    if (window == nullptr) return area;
    RECT windowArea = {};
    GetWindowRect(window, &windowArea);
    IntersectRect(&area, &area, &windowArea);
    return area;
}

OwnedBitmap CopyOfScreen(const RECT& area) {
    const HDC screen = GetDC(nullptr);
    OwnedBitmap bitmap(CreateCompatibleBitmap(screen, area.right - area.left, area.bottom - area.top));
    const MemoryDc memory(CreateCompatibleDC(screen));
    const HGDIOBJ before = SelectObject(memory.get(), bitmap.get());
    const BOOL copied = BitBlt(memory.get(), 0, 0, area.right - area.left, area.bottom - area.top, screen,
                               area.left, area.top, SRCCOPY);
    SelectObject(memory.get(), before);
    ReleaseDC(nullptr, screen);
    if (!copied) bitmap.reset();
    return bitmap;
}

BOOL CALLBACK StopAtUnpainted(HWND window, LPARAM found) {
    if (!IsWindowVisible(window) || !GetUpdateRect(window, nullptr, FALSE)) return TRUE;
    *reinterpret_cast<bool*>(found) = true;
    return FALSE;
}

// Of the window itself or one of its controls.
bool IsPaintingDue(HWND window) {
    bool found = GetUpdateRect(window, nullptr, FALSE) != FALSE;
    if (!found) EnumChildWindows(window, StopAtUnpainted, reinterpret_cast<LPARAM>(&found));
    return found;
}

// Painting is the window's own work and may be under way on another thread; a round trip lets it finish.
void FinishPainting(HWND window) {
    if (GetWindowThreadProcessId(window, nullptr) == GetCurrentThreadId()) {
        MSG message;
        while (PeekMessageW(&message, nullptr, WM_PAINT, WM_PAINT, PM_REMOVE))
            DispatchMessageW(&message);
        return;
    }
    for (int tries = 0; tries < 50 && IsPaintingDue(window); ++tries)
        Sleep(10);
    DWORD_PTR ignored = 0;
    SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_NORMAL, 2000, &ignored);
}

BOOL CALLBACK FinishPaintingIfVisible(HWND window, LPARAM) {
    if (IsWindowVisible(window)) FinishPainting(window);
    return TRUE;
}

void LetItPaint(HWND window) {
    if (window == nullptr) {
        EnumWindows(FinishPaintingIfVisible, 0);
        return;
    }
    RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN | RDW_FRAME);
    FinishPainting(window);
}

}  // namespace

std::wstring ScreenshotFolder() {
    std::wstring folder(TAVIX_SCREENSHOT_FOLDER);
    std::replace(folder.begin(), folder.end(), L'/', L'\\');
    CreateDirectoryW(folder.c_str(), nullptr);
    return folder;
}

std::wstring SaveScreenshot(HWND window, const std::wstring& name) {
    LetItPaint(window);
    const RECT area = AreaOf(window);
    if (IsRectEmpty(&area)) return {};
    const OwnedBitmap bitmap = CopyOfScreen(area);
    const GdiplusSession session;
    if (!bitmap || !session.started()) return {};
    const std::wstring path = ScreenshotFolder() + L"\\" + name + L".png";
    Gdiplus::Bitmap image(bitmap.get(), nullptr);
    return image.Save(path.c_str(), &kPngEncoder, nullptr) == Gdiplus::Ok ? path : std::wstring();
}
