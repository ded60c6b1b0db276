#include "ui/clipboard.h"

#include <cstring>
#include <cwchar>

#include "base/win32_handle.h"

namespace {

constexpr DWORD kRetryMs = 5;

GlobalBlock MakeTextBlock(UINT flags, const wchar_t* text, size_t length) noexcept {
    GlobalBlock block(GlobalAlloc(flags | GMEM_ZEROINIT, (length + 1) * sizeof(wchar_t)));
    if (!block) return block;
    auto* const chars = static_cast<wchar_t*>(GlobalLock(block.get()));
    if (chars == nullptr) return GlobalBlock();
    memcpy(chars, text, length * sizeof(wchar_t));
    chars[length] = L'\0';
    GlobalUnlock(block.get());
    return block;
}

// A block that the clipboard has accepted belongs to the system.
bool PutOnClipboard(GlobalBlock block, HWND owner) noexcept {
    if (clip_open_wait(kClipboardWaitMs, owner) == 0) return false;
    const bool accepted = EmptyClipboard() && SetClipboardData(CF_UNICODETEXT, block.get()) != nullptr;
    CloseClipboard();
    if (accepted) (void)block.release();
    return accepted;
}

}  // namespace

int32_t clip_open_wait(uint32_t timeoutMs, HWND owner) noexcept {
    const DWORD start = GetTickCount();
    while (!OpenClipboard(owner)) {
        if (GetTickCount() - start >= timeoutMs) return 0;
        Sleep(kRetryMs);
    }
    return 1;
}

bool CopyTextToClipboard(const wchar_t* text, int32_t length, HWND owner) noexcept {
    const size_t chars = length < 0 ? wcslen(text) : static_cast<size_t>(length);
    GlobalBlock block = MakeTextBlock(GMEM_MOVEABLE | GMEM_SHARE, text, chars);
    return block && PutOnClipboard(std::move(block), owner);
}
