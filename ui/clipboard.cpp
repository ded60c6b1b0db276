#include "ui/clipboard.h"

#include <algorithm>
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

// Once the clipboard accepts the block, it belongs to the system.
bool PutOnClipboard(GlobalBlock block, HWND owner) noexcept {
    if (clip_open_wait(kClipboardWaitMs, owner) == 0) return false;
    const bool accepted = EmptyClipboard() && SetClipboardData(CF_UNICODETEXT, block.get()) != nullptr;
    CloseClipboard();
    if (accepted) (void)block.release();
    return accepted;
}

bool SetText(UINT flags, const wchar_t* text, int32_t length, HWND owner) noexcept {
    GlobalBlock block = MakeTextBlock(flags, text, length < 0 ? wcslen(text) : static_cast<size_t>(length));
    return block && PutOnClipboard(std::move(block), owner);
}

// A copy in a fixed block, whose handle is its address. Null for a block without room for a terminator.
wchar_t* CopyOfBlock(HANDLE source, uint32_t& length) noexcept {
    const SIZE_T bytes = GlobalSize(source);
    if (bytes < sizeof(wchar_t)) return nullptr;
    auto* const copy = static_cast<wchar_t*>(GlobalAlloc(GMEM_FIXED, bytes));
    if (copy == nullptr) return nullptr;
    if (const void* const chars = GlobalLock(source)) {
        memcpy(copy, chars, bytes);
        GlobalUnlock(source);
        const size_t last = bytes / sizeof(wchar_t) - 1;
        copy[last] = L'\0';  // other programs may forget it
        length = static_cast<uint32_t>(std::min<size_t>(last, UINT32_MAX));
        return copy;
    }
    GlobalFree(copy);
    return nullptr;
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
    return SetText(GMEM_MOVEABLE | GMEM_SHARE, text, length, owner);
}

bool clip_set_text(const wchar_t* text, int32_t length, HWND owner) noexcept {
    return SetText(GMEM_FIXED, text, length, owner);
}

wchar_t* clip_get_text(uint32_t* length, HWND owner) noexcept {
    uint32_t chars = 0;
    wchar_t* text = nullptr;
    if (clip_open_wait(kClipboardWaitMs, owner) != 0) {
        if (const HANDLE block = GetClipboardData(CF_UNICODETEXT)) text = CopyOfBlock(block, chars);
        CloseClipboard();
    }
    if (length != nullptr) *length = chars;
    return text;
}

bool clip_free_text(wchar_t* text) noexcept {
    return GlobalFree(text) == nullptr;
}
