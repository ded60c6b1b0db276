#include "ui/info_box_text.h"

#include <algorithm>
#include <utility>

#include "ui/newlines.h"

// The room left by an earlier text is used without measuring the new one first: a text that is shown again
// and again is read only once each time.
bool DisplayText::Assign(const wchar_t* source, size_t maxChars) noexcept {
    const auto convert = [&] {
        return static_cast<size_t>(text_convert_newlines_of(source, maxChars, spare_.chars.get(),
                                                            static_cast<int32_t>(spare_.capacity), L"\r\n"));
    };
    const size_t shown = convert();
    if (shown >= spare_.capacity) {
        if (!Reserve(spare_, shown + 1)) return false;
        convert();
    }
    std::swap(shown_, spare_);
    length_ = shown;
    return true;
}

// Doubles, so that a slowly growing text does not allocate at each refresh.
bool DisplayText::Reserve(Buffer& buffer, size_t chars) noexcept {
    if (chars > kMaxDisplayChars) return false;
    const size_t wanted = std::min(std::max(chars, buffer.capacity * 2), kMaxDisplayChars);
    HeapArray<wchar_t> larger = AllocateArray<wchar_t>(wanted);
    if (!larger) return false;
    buffer = {std::move(larger), wanted};
    return true;
}
