#include "ui/hint_balloon.h"

#include <commctrl.h>

#include <algorithm>
#include <cstdarg>

#include "base/xfmt.h"

namespace {

constexpr UINT_PTR kToolId = 1;

// The older size of the structure, which every version of the common controls accepts.
TTTOOLINFOW ToolOf(HWND owner) noexcept {
    TTTOOLINFOW tool = {};
    tool.cbSize = TTTOOLINFOW_V2_SIZE;
    tool.uFlags = TTF_TRACK | TTF_ABSOLUTE;
    tool.hwnd = owner;
    tool.uId = kToolId;
    return tool;
}

LPARAM AddressOf(TTTOOLINFOW& tool) noexcept {
    return reinterpret_cast<LPARAM>(&tool);
}

int FromEdge(int coordinate, int size) noexcept {
    if (coordinate < 0) coordinate += size;
    return std::max(0, std::min(coordinate, size - 1));
}

// Some failures of a tooltip set no error code.
uint32_t LastErrorOrOne() noexcept {
    const DWORD error = GetLastError();
    return error != ERROR_SUCCESS ? error : uint32_t{ERROR_INVALID_FUNCTION};
}

}  // namespace

POINT HintPosition(POINT wanted, SIZE client) noexcept {
    return {FromEdge(wanted.x, client.cx), FromEdge(wanted.y, client.cy)};
}

std::unique_ptr<HintBalloon> HintBalloon::Create(HWND owner, bool balloonStyle, uint32_t& error) noexcept {
    error = ERROR_NOT_ENOUGH_MEMORY;
    std::unique_ptr<HintBalloon> balloon(new HintBalloon(owner));
    if (!balloon) return nullptr;
    const DWORD style = WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX | (balloonStyle ? TTS_BALLOON : 0);
    SetLastError(ERROR_SUCCESS);
    balloon->window_.reset(CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, style, CW_USEDEFAULT,
                                           CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, owner, nullptr,
                                           nullptr, nullptr));
    TTTOOLINFOW tool = ToolOf(owner);
    wchar_t noText[] = L"";
    tool.lpszText = noText;
    if (!balloon->window_ || !SendMessageW(balloon->Window(), TTM_ADDTOOLW, 0, AddressOf(tool))) {
        error = LastErrorOrOne();
        return nullptr;
    }
    error = ERROR_SUCCESS;
    return balloon;
}

uint32_t HintBalloon::Show(bool on, POINT position, const wchar_t* format, ...) noexcept {
    TTTOOLINFOW tool = ToolOf(owner_);
    if (!on) {
        SendMessageW(Window(), TTM_TRACKACTIVATE, FALSE, AddressOf(tool));
        return ERROR_SUCCESS;
    }
    if (format != nullptr) {
        va_list args;
        va_start(args, format);
        const uint32_t error = FormatText(format, args);
        va_end(args);
        if (error != ERROR_SUCCESS) return error;
        tool.lpszText = text_.data();
        SendMessageW(Window(), TTM_UPDATETIPTEXTW, 0, AddressOf(tool));
    }
    RECT client = {};
    GetClientRect(owner_, &client);
    POINT point = HintPosition(position, {client.right, client.bottom});
    ClientToScreen(owner_, &point);
    SendMessageW(Window(), TTM_TRACKPOSITION, 0, MAKELPARAM(point.x, point.y));
    SendMessageW(Window(), TTM_TRACKACTIVATE, TRUE, AddressOf(tool));
    return ERROR_SUCCESS;
}

// Measured first, so that the old text survives when there is no memory for the new one.
uint32_t HintBalloon::FormatText(const wchar_t* format, va_list args) noexcept {
    va_list again;
    va_copy(again, args);
    const int32_t chars = std::max(xfmt_v(nullptr, 0, format, args), 0);
    const bool fits = text_.Resize(static_cast<size_t>(chars));
    if (fits) xfmt_v(text_.data(), chars + 1, format, again);
    va_end(again);
    return fits ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}
