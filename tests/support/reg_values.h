// Registry values as tests write them down.
#pragma once

#include <new>
#include <string_view>
#include <vector>

#include "state/reg_value.h"
#include "tests/support/heap_texts.h"

inline RegValue StringValue(std::wstring_view text) {
    RegValue value;
    if (!value.SetString(text)) throw std::bad_alloc();
    return value;
}

inline RegValue ListValue(const std::vector<std::wstring>& items) {
    RegValue value;
    value.type = REG_MULTI_SZ;
    value.list = HeapTextOf(BlockOf(items));
    return value;
}

inline RegValue BytesValue(const std::vector<BYTE>& bytes) {
    RegValue value;
    value.type = REG_BINARY;
    if (!value.bytes.Resize(bytes.size())) throw std::bad_alloc();
    std::copy(bytes.begin(), bytes.end(), value.bytes.begin());
    return value;
}

inline std::vector<BYTE> BytesOfValue(const RegValue& value) {
    return {value.bytes.begin(), value.bytes.end()};
}
