#include "sim/driver/text.h"

size_t TextLength(const wchar_t* text, size_t capacityChars) {
    size_t length = 0;
    while (length < capacityChars && text[length] != 0)
        ++length;
    return length;
}

void CopyText(wchar_t* out, size_t outChars, const wchar_t* text, size_t textChars) {
    size_t length = TextLength(text, textChars);
    if (length > outChars - 1) length = outChars - 1;
    RtlMoveMemory(out, text, length * sizeof(wchar_t));
    RtlZeroMemory(out + length, (outChars - length) * sizeof(wchar_t));
}

bool IsSameText(const wchar_t* left, size_t leftChars, const wchar_t* right, size_t rightChars) {
    const size_t length = TextLength(left, leftChars);
    if (length != TextLength(right, rightChars)) return false;
    for (size_t i = 0; i < length; ++i)
        if (RtlUpcaseUnicodeChar(left[i]) != RtlUpcaseUnicodeChar(right[i])) return false;
    return true;
}

uint32_t ComNumber(const wchar_t* text, size_t textChars) {
    constexpr wchar_t prefix[] = L"COM";
    constexpr uint32_t highestPort = 256;
    if (TextLength(text, textChars) < 4 || !IsSameText(text, 3, prefix, 3)) return 0;
    uint32_t number = 0;
    for (size_t i = 3; i < textChars && text[i] >= L'0' && text[i] <= L'9'; ++i) {
        number = number * 10 + static_cast<uint32_t>(text[i] - L'0');
        if (number > highestPort) return 0;
    }
    return number;
}
