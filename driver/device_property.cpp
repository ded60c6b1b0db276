#include <algorithm>

#include "base/bounded_text.h"
#include "base/heap_array.h"
#include "base/last_error.h"
#include "base/xfmt.h"
#include "driver/device_info.h"
#include "state/reg_value.h"

namespace {

constexpr size_t kFirstTryBytes = 256;
// Another program may enlarge the property between the calls.
constexpr int kMaxTries = 20;
constexpr int32_t kNumberTextChars = 16;

// The bytes of a property and their registry type.
struct Property {
    DWORD type = REG_NONE;
    HeapArray<BYTE> data;
};

DWORD ReadProperty(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD property, Property& read) {
    size_t capacity = kFirstTryBytes;
    DWORD error = ERROR_INSUFFICIENT_BUFFER;
    for (int i = 0; i < kMaxTries; ++i) {
        if (!read.data.Resize(capacity)) return ERROR_NOT_ENOUGH_MEMORY;
        DWORD neededBytes = 0;
        if (SetupDiGetDeviceRegistryPropertyW(deviceSet, device, property, &read.type, read.data.data(),
                                              static_cast<DWORD>(capacity), &neededBytes)) {
            return read.data.Resize(std::min<size_t>(neededBytes, capacity)) ? ERROR_SUCCESS
                                                                             : ERROR_NOT_ENOUGH_MEMORY;
        }
        error = FailureCode();
        if (error != ERROR_INSUFFICIENT_BUFFER && error != ERROR_MORE_DATA) break;
        capacity = std::max<size_t>(neededBytes, capacity * 2);
    }
    return error;
}

DWORD RenderProperty(const Property& read, HeapText& text) {
    RegValue value;
    const DWORD error = DecodeRegValue(read.type, read.data.data(), read.data.size(), value);
    if (error != ERROR_SUCCESS) return error == ERROR_INVALID_DATA ? DWORD{ERROR_NO_DATA} : error;
    if (value.type == REG_SZ) {
        text = std::move(value.text);
        return ERROR_SUCCESS;
    }
    if (value.type != REG_DWORD) return ERROR_NO_DATA;
    wchar_t number[kNumberTextChars];
    xfmt(number, kNumberTextChars, L"0x%X", value.number32);
    return text.Assign(number) ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

DWORD ReadPropertyText(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD property, HeapText& text) {
    Property read;
    const DWORD error = ReadProperty(deviceSet, device, property, read);
    return error == ERROR_SUCCESS ? RenderProperty(read, text) : error;
}

}  // namespace

bool GetDeviceRegistryText(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD property, HeapText& text,
                           DWORD* error) noexcept {
    const DWORD result = ReadPropertyText(deviceSet, device, property, text);
    if (error != nullptr) *error = result;
    return result == ERROR_SUCCESS;
}

bool GetDeviceFriendlyName(HDEVINFO deviceSet, SP_DEVINFO_DATA* device,
                           wchar_t (&name)[kFriendlyNameChars]) noexcept {
    HeapText text;
    if (!GetDeviceRegistryText(deviceSet, device, SPDRP_FRIENDLYNAME, text)) return false;
    CopyBounded(name, kFriendlyNameChars, text.view());
    return true;
}
