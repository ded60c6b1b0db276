#include <algorithm>
#include <cwchar>

#include "base/heap_array.h"
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

// Converts with the terminator. False without memory; a text that is invalid in the code page becomes empty.
bool WideFromSystemCodePage(const char* text, HeapArray<wchar_t>& wide) {
    const int chars = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    if (!wide.Resize(static_cast<size_t>(std::max(chars, 1)))) return false;
    wide[0] = L'\0';
    MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), chars);
    return true;
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
    HeapArray<wchar_t> path;
    HeapArray<wchar_t> reply;
    if (!WideFromSystemCodePage(vcomInstancePath, path) || !reply.Resize(size_t{bufferBytes} + 1)) {
        StoreCount(charsReturned, kDevinstPathUnknownChars);
        return UfAppErr_Unknown;
    }
    reply[0] = L'\0';
    const int result = QueryUsbdDevinstPath(path.data(), reply.data(), bufferBytes, charsReturned);
    if (result != UfAppErr_Success) return result;
    const DWORD error = ConvertToSystemCodePage(reply.data(), buffer, bufferBytes);
    if (error != ERROR_SUCCESS) StoreCount(charsReturned, kDevinstPathUnknownChars);
    return DevinstPathResult(error);
}
