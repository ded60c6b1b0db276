#include "ui/info_box/text.h"

#include <algorithm>
#include <utility>

#include "ui/newlines.h"

// Tries the buffer of an earlier text without measuring first, so that a text that is shown repeatedly is
// read only once each time.
bool DisplayText::Assign(const wchar_t* source, size_t maxChars) noexcept {
    const auto convert = [&] {
        return static_cast<size_t>(text_convert_newlines_of(source, maxChars, spare_.data(),
                                                            static_cast<int32_t>(spare_.size()), L"\r\n"));
    };
    const size_t shown = convert();
    if (shown >= spare_.size()) {
        if (!Reserve(spare_, shown + 1)) return false;
        convert();
    }
    std::swap(shown_, spare_);
    length_ = shown;
    return true;
}

// Doubles, so that a slowly growing text does not allocate at each refresh.
bool DisplayText::Reserve(HeapArray<wchar_t>& buffer, size_t chars) noexcept {
    if (chars > kMaxDisplayChars) return false;
    const size_t wanted = std::min(std::max(chars, buffer.size() * 2), kMaxDisplayChars);
    return buffer.Resize(wanted);
}
