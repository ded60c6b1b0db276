#include "ui/edit_text.h"

#include <algorithm>

#include "base/heap_text.h"

namespace {

// A shorter overlap counts as chance.
constexpr size_t kLeastOverlapChars = 32;
// Attempts before a text that repeats itself counts as not continued.
constexpr int kMostCandidates = 64;

struct ReadersPlace {
    DWORD selectionStart;
    DWORD selectionEnd;
    size_t topChar;  // the first one of the first visible line
};

// Empty when there is no memory.
HeapText TextOf(HWND edit) {
    HeapText text;
    if (!text.Resize(static_cast<size_t>(GetWindowTextLengthW(edit)))) return {};
    if (!text.empty()) GetWindowTextW(edit, text.data(), static_cast<int>(text.size()) + 1);
    return text;
}

// substr without the check that throws. `position` is at most the text's length.
std::wstring_view From(std::wstring_view text, size_t position) {
    return {text.data() + position, text.size() - position};
}

int FirstVisibleLine(HWND edit) {
    return static_cast<int>(SendMessageW(edit, EM_GETFIRSTVISIBLELINE, 0, 0));
}

ReadersPlace PlaceIn(HWND edit) {
    ReadersPlace place = {};
    SendMessageW(edit, EM_GETSEL, reinterpret_cast<WPARAM>(&place.selectionStart),
                 reinterpret_cast<LPARAM>(&place.selectionEnd));
    const LRESULT top = SendMessageW(edit, EM_LINEINDEX, static_cast<WPARAM>(FirstVisibleLine(edit)), 0);
    place.topChar = static_cast<size_t>(std::max<LRESULT>(top, 0));
    return place;
}

size_t MovedUp(size_t position, size_t dropped) {
    return position > dropped ? position - dropped : 0;
}

void ReturnTo(HWND edit, const ReadersPlace& place, size_t dropped) {
    SendMessageW(edit, EM_SETSEL, MovedUp(place.selectionStart, dropped),
                 static_cast<LPARAM>(MovedUp(place.selectionEnd, dropped)));
    const int line =
        static_cast<int>(SendMessageW(edit, EM_LINEFROMCHAR, MovedUp(place.topChar, dropped), 0));
    SendMessageW(edit, EM_LINESCROLL, 0, line - FirstVisibleLine(edit));
}

}  // namespace

size_t DroppedChars(std::wstring_view oldText, std::wstring_view newText) noexcept {
    if (oldText.empty()) return kNotContinued;
    if (newText.starts_with(oldText)) return 0;
    if (newText.size() < kLeastOverlapChars) return kNotContinued;
    const std::wstring_view begin = {newText.data(), kLeastOverlapChars};
    size_t candidate = oldText.find(begin);
    for (int tried = 0; candidate != std::wstring_view::npos && tried < kMostCandidates; ++tried) {
        if (newText.starts_with(From(oldText, candidate))) return candidate;
        candidate = oldText.find(begin, candidate + 1);
    }
    return kNotContinued;
}

void UpdateEditText(HWND edit, const wchar_t* text) noexcept {
    const size_t dropped = DroppedChars(TextOf(edit).view(), text);
    if (dropped == kNotContinued) {
        SetWindowTextW(edit, text);
        return;
    }
    const ReadersPlace place = PlaceIn(edit);
    SendMessageW(edit, WM_SETREDRAW, FALSE, 0);
    SetWindowTextW(edit, text);
    ReturnTo(edit, place, dropped);
    SendMessageW(edit, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(edit, nullptr, TRUE);
}
