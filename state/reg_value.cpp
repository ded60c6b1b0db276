#include "state/reg_value.h"

#include <cstring>
#include <limits>
#include <new>
#include <string_view>
#include <utility>

#include "base/bounded_text.h"
#include "base/can_throw.h"

namespace {

// STATUS_NO_MEMORY: the one NT status among these results, as callers expect it.
constexpr DWORD kNoMemory = 0xC0000017;

// The bytes may stand at an odd address, so characters are copied out.
std::wstring CharactersOf(const BYTE* data, size_t dataBytes) {
    std::wstring characters(dataBytes / sizeof(wchar_t), L'\0');
    if (!characters.empty()) std::memcpy(characters.data(), data, characters.size() * sizeof(wchar_t));
    return characters;
}

std::vector<std::wstring> SplitList(std::wstring_view characters) {
    std::vector<std::wstring> list;
    while (!characters.empty()) {
        const std::wstring_view item = BoundedText(characters.data(), characters.size());
        if (item.empty()) break;
        list.emplace_back(item);
        characters.remove_prefix(std::min(item.size() + 1, characters.size()));
    }
    return list;
}

template <typename Number>
bool DecodeNumber(const BYTE* data, size_t dataBytes, Number& number) {
    if (dataBytes != sizeof(number)) return false;
    std::memcpy(&number, data, sizeof(number));
    return true;
}

std::vector<wchar_t> JoinList(const std::vector<std::wstring>& list) {
    size_t chars = 1;
    for (const std::wstring& item : list)
        chars += item.size() + 1;
    std::vector<wchar_t> joined;
    joined.reserve(chars);
    for (const std::wstring& item : list)
        joined.insert(joined.end(), item.c_str(), item.c_str() + item.size() + 1);
    joined.push_back(L'\0');
    return joined;
}

DWORD SetData(EncodedRegValue& encoded, DWORD type, const void* data, size_t dataBytes) noexcept {
    if (dataBytes > std::numeric_limits<DWORD>::max()) return kNoMemory;
    encoded.type = type;
    encoded.data = static_cast<const BYTE*>(data);
    encoded.dataBytes = static_cast<DWORD>(dataBytes);
    return ERROR_SUCCESS;
}

}  // namespace

RegValue RegValue::Dword(uint32_t number) {
    RegValue value;
    value.type = REG_DWORD;
    value.number32 = number;
    return value;
}

RegValue RegValue::Qword(uint64_t number) {
    RegValue value;
    value.type = REG_QWORD;
    value.number64 = number;
    return value;
}

RegValue RegValue::String(std::wstring text) {
    RegValue value;
    value.type = REG_SZ;
    value.text = std::move(text);
    return value;
}

bool DecodeRegValue(DWORD type, const BYTE* data, size_t dataBytes, RegValue& value) {
    RegValue decoded;
    decoded.type = type;
    switch (type) {
        case REG_DWORD:
            if (!DecodeNumber(data, dataBytes, decoded.number32)) return false;
            break;
        case REG_QWORD:
            if (!DecodeNumber(data, dataBytes, decoded.number64)) return false;
            break;
        case REG_SZ:
        case REG_EXPAND_SZ:
            decoded.text = CharactersOf(data, dataBytes);
            decoded.text.resize(BoundedText(decoded.text.data(), decoded.text.size()).size());
            break;
        case REG_MULTI_SZ:
            decoded.list = SplitList(CharactersOf(data, dataBytes));
            break;
        default:
            decoded.bytes.assign(data, data + dataBytes);
            break;
    }
    value = std::move(decoded);
    return true;
}

bool IsWritableRegType(DWORD type) noexcept {
    switch (type) {
        case REG_SZ:
        case REG_EXPAND_SZ:
        case REG_BINARY:
        case REG_DWORD:
        case REG_MULTI_SZ:
        case REG_QWORD:
            return true;
        default:
            return false;
    }
}

DWORD EncodeRegValue(const RegValue& value, EncodedRegValue& encoded) noexcept {
    switch (value.type) {
        case REG_DWORD:
            return SetData(encoded, REG_DWORD, &value.number32, sizeof(value.number32));
        case REG_QWORD:
            return SetData(encoded, REG_QWORD, &value.number64, sizeof(value.number64));
        case REG_SZ:
        case REG_EXPAND_SZ:
            return SetData(encoded, REG_SZ, value.text.c_str(), (value.text.size() + 1) * sizeof(wchar_t));
        case REG_BINARY:
            return SetData(encoded, REG_BINARY, value.bytes.data(), value.bytes.size());
        case REG_MULTI_SZ:
            if (!CanThrow()) return kNoMemory;
            try {
                encoded.listText = JoinList(value.list);
            } catch (const std::bad_alloc&) {
                return kNoMemory;
            }
            return SetData(encoded, REG_MULTI_SZ, encoded.listText.data(),
                           encoded.listText.size() * sizeof(wchar_t));
        default:
            return ERROR_UNSUPPORTED_TYPE;
    }
}
