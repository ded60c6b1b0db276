#include <algorithm>
#include <cwchar>
#include <new>
#include <string>

#include "base/can_throw.h"
#include "base/last_error.h"
#include "base/win32_handle.h"
#include "driver/mapping.h"
#include "driver/vbus.h"

namespace {

int DevinstPathResult(DWORD error) {
    switch (error) {
        case ERROR_SUCCESS:
            return UfAppErr_Success;
        case ERROR_DEVICE_NOT_CONNECTED:
            return UfAppErr_NoVcomYet;
        case ERROR_INSUFFICIENT_BUFFER:
            return kDevinstPathBufferTooSmall;
        default:
            return UfAppErr_Unknown;
    }
}

void StoreCount(DWORD* charsReturned, DWORD chars) {
    if (charsReturned != nullptr) *charsReturned = chars;
}

std::wstring WideFromSystemCodePage(const char* text) {
    const int chars = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    if (chars <= 0) return {};
    std::wstring wide(static_cast<size_t>(chars), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), chars);
    wide.pop_back();  // its terminator, which a wstring has anyway
    return wide;
}

// 0, or the Windows error.
DWORD ConvertToSystemCodePage(const wchar_t* text, char* buffer, DWORD bufferBytes) {
    const int capacity = static_cast<int>(std::min<DWORD>(bufferBytes, INT_MAX));
    const int bytes = WideCharToMultiByte(CP_ACP, 0, text, -1, buffer, capacity, nullptr, nullptr);
    return bytes > 0 ? ERROR_SUCCESS : FailureCode();
}

}  // namespace

int QueryUsbdDevinstPath(const wchar_t* vcomInstancePath, wchar_t* buffer, DWORD bufferChars,
                         DWORD* charsReturned) noexcept {
    const FileHandle vbus = OpenVbusForDiagnosis();
    if (!vbus) return UfAppErr_VbusNotReady;

    const DWORD inputBytes = static_cast<DWORD>((std::wcslen(vcomInstancePath) + 1) * sizeof(wchar_t));
    DWORD bytesReturned = 0;
    const DWORD error = VbusIoctl(vbus.get(), IOCTL_TAVIX_QueryUsbdDevinstPath, vcomInstancePath, inputBytes,
                                  buffer, bufferChars * DWORD{sizeof(wchar_t)}, &bytesReturned);
    if (error != ERROR_SUCCESS) {
        StoreCount(charsReturned, kDevinstPathUnknownChars);
        return DevinstPathResult(error);
    }
    const DWORD replyChars = std::min(bytesReturned / DWORD{sizeof(wchar_t)}, bufferChars);
    // The driver need not have terminated its reply.
    if (bufferChars != 0) buffer[std::min(replyChars, bufferChars - 1)] = L'\0';
    StoreCount(charsReturned, replyChars);
    return UfAppErr_Success;
}

int QueryUsbdDevinstPathA(const char* vcomInstancePath, char* buffer, DWORD bufferBytes,
                          DWORD* charsReturned) noexcept {
    if (!CanThrow()) {
        StoreCount(charsReturned, kDevinstPathUnknownChars);
        return UfAppErr_Unknown;
    }
    try {
        std::wstring reply(bufferBytes, L'\0');
        const int result = QueryUsbdDevinstPath(WideFromSystemCodePage(vcomInstancePath).c_str(),
                                                reply.data(), bufferBytes, charsReturned);
        if (result != UfAppErr_Success) return result;
        const DWORD error = ConvertToSystemCodePage(reply.c_str(), buffer, bufferBytes);
        if (error != ERROR_SUCCESS) StoreCount(charsReturned, kDevinstPathUnknownChars);
        return DevinstPathResult(error);
    } catch (const std::bad_alloc&) {
        StoreCount(charsReturned, kDevinstPathUnknownChars);
        return UfAppErr_Unknown;
    }
}
