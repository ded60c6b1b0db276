// A text of any length that owns its memory, always terminated. Growing can fail and says so.
#pragma once

#include <algorithm>
#include <string_view>

#include "base/heap_array.h"

class HeapText {
  public:
    const wchar_t* c_str() const noexcept { return empty() ? L"" : chars_.data(); }
    std::wstring_view view() const noexcept { return {c_str(), size()}; }
    size_t size() const noexcept { return chars_.size() == 0 ? 0 : chars_.size() - 1; }
    bool empty() const noexcept { return size() == 0; }

    // False, with the text as it was, when there is no memory. `text` must not be part of this one.
    [[nodiscard]] bool Assign(std::wstring_view text) noexcept {
        if (!Resize(text.size())) return false;
        std::copy(text.begin(), text.end(), chars_.data());
        return true;
    }
    // Makes room for `chars` characters to be written through data(); new ones have no value. False as above.
    [[nodiscard]] bool Resize(size_t chars) noexcept {
        if (chars == SIZE_MAX || !chars_.Resize(chars + 1)) return false;
        chars_[chars] = L'\0';
        return true;
    }
    // Writable, once Resize has made room.
    wchar_t* data() noexcept { return chars_.data(); }
    void Clear() noexcept { chars_ = {}; }

  private:
    HeapArray<wchar_t> chars_;  // with the terminator; empty for a text that was never set
};
