#include "ui/newlines.h"

#include "base/xfmt.h"

namespace {

// The characters before the first line end or terminator, at most `most`.
size_t LineChars(const wchar_t* text, size_t most) noexcept {
    size_t chars = 0;
    while (chars < most && text[chars] != L'\r' && text[chars] != L'\n' && text[chars] != L'\0')
        ++chars;
    return chars;
}

}  // namespace

int32_t text_convert_newlines(const wchar_t* source, wchar_t* destination, int32_t capacity,
                              const wchar_t* newline) noexcept {
    return text_convert_newlines_of(source, SIZE_MAX, destination, capacity, newline);
}

int32_t text_convert_newlines_of(const wchar_t* source, size_t sourceChars, wchar_t* destination,
                                 int32_t capacity, const wchar_t* newline) noexcept {
    wchar_t* end = destination;
    uint32_t room = static_cast<uint32_t>(capacity);
    int32_t length = 0;
    size_t left = sourceChars;
    for (;;) {
        const size_t line = LineChars(source, left);
        length += xfmt_advance(&end, &room, L"%.*s", static_cast<int32_t>(line), source);
        source += line;
        left -= line;
        if (left == 0 || *source == L'\0') return length;
        const size_t lineEnd = left > 1 && source[0] == L'\r' && source[1] == L'\n' ? 2 : 1;
        source += lineEnd;
        left -= lineEnd;
        length += xfmt_advance(&end, &room, L"%s", newline);
    }
}
