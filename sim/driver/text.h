// UTF-16 texts in fixed fields. A field need not hold a terminator; none of these functions reads past its
// capacity.
#pragma once

#include "sim/driver/kernel.h"

// Characters before the terminator, at most capacityChars.
size_t TextLength(const wchar_t* text, size_t capacityChars);

// Copies as much as fits with a terminator and zero-fills the rest.
void CopyText(wchar_t* out, size_t outChars, const wchar_t* text, size_t textChars);

// Without regard to case, as the registry upper-cases instance IDs.
bool IsSameText(const wchar_t* left, size_t leftChars, const wchar_t* right, size_t rightChars);

// The number behind a leading COM: "COM7 (#)" is 7. 0 when the text does not begin so or the number is above
// 256.
uint32_t ComNumber(const wchar_t* text, size_t textChars);

// Builds a text piece by piece; what does not fit is cut. Always terminated.
template <size_t capacityChars>
class TextBuilder {
  public:
    TextBuilder& Add(const wchar_t* text, size_t textChars) {
        const size_t length = TextLength(text, textChars);
        for (size_t i = 0; i < length && length_ + 1 < capacityChars; ++i)
            chars_[length_++] = text[i];
        chars_[length_] = 0;
        return *this;
    }
    template <size_t textChars>
    TextBuilder& Add(const wchar_t (&text)[textChars]) {
        return Add(text, textChars);
    }
    TextBuilder& AddNumber(uint64_t number) {
        wchar_t digits[20];
        size_t first = 20;
        do {
            digits[--first] = static_cast<wchar_t>(L'0' + number % 10);
            number /= 10;
        } while (number != 0);
        return Add(digits + first, 20 - first);
    }
    void Replace(wchar_t from, wchar_t to, size_t firstIndex = 0) {
        for (size_t i = firstIndex; i < length_; ++i)
            if (chars_[i] == from) chars_[i] = to;
    }
    void ToUpper(size_t firstIndex = 0) {
        for (size_t i = firstIndex; i < length_; ++i)
            chars_[i] = RtlUpcaseUnicodeChar(chars_[i]);
    }

    const wchar_t* get() const { return chars_; }
    size_t length() const { return length_; }
    static constexpr size_t capacity() { return capacityChars; }

    // Borrows the text; valid while this object lives and is not changed.
    UNICODE_STRING Unicode() {
        UNICODE_STRING text;
        text.Buffer = chars_;
        text.Length = static_cast<USHORT>(length_ * sizeof(wchar_t));
        text.MaximumLength = static_cast<USHORT>((length_ + 1) * sizeof(wchar_t));
        return text;
    }

  private:
    wchar_t chars_[capacityChars] = {};
    size_t length_ = 0;
};
