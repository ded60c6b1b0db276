#include "tavixctl/text.h"

#include <algorithm>

#include "base/windows_api.h"

std::string Utf8(std::wstring_view text) {
    const int textChars = static_cast<int>(text.size());
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), textChars, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<size_t>(bytes), 0);
    WideCharToMultiByte(CP_UTF8, 0, text.data(), textChars, narrow.data(), bytes, nullptr, nullptr);
    return narrow;
}

std::wstring Utf16(std::string_view text) {
    const int textBytes = static_cast<int>(text.size());
    const int chars = MultiByteToWideChar(CP_UTF8, 0, text.data(), textBytes, nullptr, 0);
    std::wstring wide(static_cast<size_t>(chars), 0);
    MultiByteToWideChar(CP_UTF8, 0, text.data(), textBytes, wide.data(), chars);
    return wide;
}

bool IsSameText(std::wstring_view left, std::wstring_view right) {
    return left.size() == right.size() && BeginsWith(left, right);
}

bool BeginsWith(std::wstring_view text, std::wstring_view prefix) {
    return text.size() >= prefix.size() && _wcsnicmp(text.data(), prefix.data(), prefix.size()) == 0;
}

size_t WidthOf(std::string_view utf8) {
    return static_cast<size_t>(
        std::count_if(utf8.begin(), utf8.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

std::string Table::Text() const {
    std::vector<size_t> widths;
    for (const std::vector<std::string>& row : rows_) {
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], WidthOf(row[i]));
    }
    std::string text;
    for (const std::vector<std::string>& row : rows_) {
        std::string line;
        for (size_t i = 0; i < row.size(); ++i)
            line += row[i] + std::string(widths[i] - WidthOf(row[i]) + 2, ' ');
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}
