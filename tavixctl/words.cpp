#include "tavixctl/words.h"

#include <cstdlib>

std::string WordOf(std::span<const Word> words, uint32_t number) {
    for (const Word& row : words)
        if (row.number == number) return row.word;
    return std::to_string(number);
}

std::optional<uint32_t> NumberOf(std::span<const Word> words, const std::string& text) {
    for (const Word& row : words)
        if (text == row.word) return row.number;
    if (text.empty() || text.size() > 10 || text.find_first_not_of("0123456789") != std::string::npos)
        return std::nullopt;
    const uint64_t number = std::strtoull(text.c_str(), nullptr, 10);
    if (number > UINT32_MAX) return std::nullopt;
    return static_cast<uint32_t>(number);
}

std::string AllWords(std::span<const Word> words) {
    std::string text;
    for (const Word& row : words)
        text += (text.empty() ? "" : ", ") + std::string(row.word);
    return text;
}
