// Texts of the command line: UTF-8 in its own code and on pipes, UTF-16 towards Windows and on a console.
#pragma once

#include <string>
#include <string_view>
#include <vector>

std::string Utf8(std::wstring_view text);
std::wstring Utf16(std::string_view text);

// Without regard to case, as device names and ports are compared.
bool IsSameText(std::wstring_view left, std::wstring_view right);
bool BeginsWith(std::wstring_view text, std::wstring_view prefix);

// Characters as a console counts them, near enough for columns.
size_t WidthOf(std::string_view utf8);

// Rows under their heads, two blanks between the columns; nothing after the last one.
class Table {
  public:
    explicit Table(std::vector<std::string> heads) { Add(std::move(heads)); }

    void Add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    std::string Text() const;

  private:
    std::vector<std::vector<std::string>> rows_;
};
