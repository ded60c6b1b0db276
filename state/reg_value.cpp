#include "state/reg_value.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "base/bounded_text.h"
#include "base/multi_string.h"

namespace {

// STATUS_NO_MEMORY: the only NT status among these results; callers expect it.
constexpr DWORD kNoMemory = 0xC0000017;

template <typename Number>
DWORD DecodeNumber(const BYTE* data, size_t dataBytes, Number& number) noexcept {
    if (dataBytes != sizeof(number)) return ERROR_INVALID_DATA;
    std::memcpy(&number, data, sizeof(number));
    return ERROR_SUCCESS;
}

// The bytes may be at an odd address, so characters are copied out.
DWORD DecodeCharacters(const BYTE* data, size_t dataBytes, HeapText& characters) noexcept {
    const size_t chars = dataBytes / sizeof(wchar_t);
    if (!characters.Resize(chars)) return ERROR_NOT_ENOUGH_MEMORY;
    if (chars != 0) std::memcpy(characters.data(), data, chars * sizeof(wchar_t));
    return ERROR_SUCCESS;
}

DWORD DecodeText(const BYTE* data, size_t dataBytes, HeapText& text) noexcept {
    const DWORD error = DecodeCharacters(data, dataBytes, text);
    if (error != ERROR_SUCCESS) return error;
    const size_t chars = BoundedText(text.data(), text.size()).size();
    return text.Resize(chars) ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

// Drops the list's terminator and adds a missing NUL to the last item.
DWORD DecodeList(const BYTE* data, size_t dataBytes, HeapText& list) noexcept {
    const DWORD error = DecodeCharacters(data, dataBytes, list);
    if (error != ERROR_SUCCESS) return error;
    size_t chars = 0;
    for (const std::wstring_view item : MultiString(list.view()))
        chars += item.size() + 1;
    return list.Resize(chars) ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

DWORD DecodeBytes(const BYTE* data, size_t dataBytes, HeapArray<BYTE>& bytes) noexcept {
    if (!bytes.Resize(dataBytes)) return ERROR_NOT_ENOUGH_MEMORY;
    if (dataBytes != 0) std::memcpy(bytes.data(), data, dataBytes);
    return ERROR_SUCCESS;
}

// The items and the end of the list. False without memory.
bool EncodeList(const HeapText& list, HeapArray<wchar_t>& encoded) noexcept {
    if (!encoded.Resize(list.size() + 1)) return false;
    *std::copy_n(list.c_str(), list.size(), encoded.data()) = L'\0';
    return true;
}

DWORD SetData(EncodedRegValue& encoded, DWORD type, const void* data, size_t dataBytes) noexcept {
    if (dataBytes > std::numeric_limits<DWORD>::max()) return kNoMemory;
    encoded.type = type;
    encoded.data = static_cast<const BYTE*>(data);
    encoded.dataBytes = static_cast<DWORD>(dataBytes);
    return ERROR_SUCCESS;
}

}  // namespace

RegValue RegValue::Dword(uint32_t number) noexcept {
    RegValue value;
    value.type = REG_DWORD;
    value.number32 = number;
    return value;
}

RegValue RegValue::Qword(uint64_t number) noexcept {
    RegValue value;
    value.type = REG_QWORD;
    value.number64 = number;
    return value;
}

bool RegValue::SetString(std::wstring_view newText) noexcept {
    RegValue value;
    value.type = REG_SZ;
    if (!value.text.Assign(newText)) return false;
    *this = std::move(value);
    return true;
}

DWORD DecodeRegValue(DWORD type, const BYTE* data, size_t dataBytes, RegValue& value) noexcept {
    RegValue decoded;
    decoded.type = type;
    DWORD error = ERROR_SUCCESS;
    switch (type) {
        case REG_DWORD:
            error = DecodeNumber(data, dataBytes, decoded.number32);
            break;
        case REG_QWORD:
            error = DecodeNumber(data, dataBytes, decoded.number64);
            break;
        case REG_SZ:
        case REG_EXPAND_SZ:
            error = DecodeText(data, dataBytes, decoded.text);
            break;
        case REG_MULTI_SZ:
            error = DecodeList(data, dataBytes, decoded.list);
            break;
        default:
            error = DecodeBytes(data, dataBytes, decoded.bytes);
            break;
    }
    if (error == ERROR_SUCCESS) value = std::move(decoded);
    return error;
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
            if (!EncodeList(value.list, encoded.listText)) return kNoMemory;
            return SetData(encoded, REG_MULTI_SZ, encoded.listText.data(),
                           encoded.listText.size() * sizeof(wchar_t));
        default:
            return ERROR_UNSUPPORTED_TYPE;
    }
}
