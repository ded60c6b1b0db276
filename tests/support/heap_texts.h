// Between the product's texts and lists and the standard library's, for tests.
#pragma once

#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "base/heap_text.h"
#include "base/multi_string.h"

inline std::wstring TextOf(const HeapText& text) {
    return std::wstring(text.view());
}

inline HeapText HeapTextOf(std::wstring_view text) {
    HeapText copy;
    if (!copy.Assign(text)) throw std::bad_alloc();
    return copy;
}

inline std::vector<std::wstring> ItemsOf(const HeapText& list) {
    std::vector<std::wstring> items;
    for (const std::wstring_view item : MultiString(list.view()))
        items.emplace_back(item);
    return items;
}

// The items, each with its NUL.
inline std::wstring BlockOf(const std::vector<std::wstring>& items) {
    std::wstring block;
    for (const std::wstring& item : items)
        block.append(item).push_back(L'\0');
    return block;
}
