#include "sim/client/refused_open.h"

#include <string_view>

#include "base/win32_handle.h"

#include "sim/control/control_protocol.h"

namespace {

bool Contains(std::wstring_view text, std::wstring_view part) {
    for (size_t i = 0; i + part.size() <= text.size(); ++i)
        if (CompareStringOrdinal(text.data() + i, static_cast<int>(part.size()), part.data(),
                                 static_cast<int>(part.size()), TRUE) == CSTR_EQUAL)
            return true;
    return false;
}

bool MayBeSimulated(LPCWSTR path) {
    if (path == nullptr) return false;
    const std::wstring_view text(path);
    return Contains(text, L"{20161207-6A0C-11D2-B841-00C04FAD5171}") ||
           Contains(text.substr(0, 7), L"\\\\.\\COM");
}

// A driver other than the simulated one fails the request in a way of its own, which says nothing about the
// opening.
DWORD RefusalOf(HANDLE device, DWORD access) {
    const DWORD code = (access & (GENERIC_WRITE | GENERIC_ALL | FILE_WRITE_DATA)) != 0
                           ? kSimQueryOpenedForWriting
                           : kSimQueryOpened;
    // The handle may have been opened for overlapped requests.
    const KernelHandle done(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    OVERLAPPED overlapped = {};
    overlapped.hEvent = done.get();
    DWORD returned = 0;
    BOOL accepted = DeviceIoControl(device, code, nullptr, 0, nullptr, 0, &returned, &overlapped);
    if (!accepted && GetLastError() == ERROR_IO_PENDING)
        accepted = GetOverlappedResult(device, &overlapped, &returned, TRUE);
    if (accepted) return ERROR_SUCCESS;
    const DWORD error = GetLastError();
    return error == ERROR_INVALID_FUNCTION || error == ERROR_NOT_SUPPORTED || error == ERROR_INVALID_PARAMETER
               ? ERROR_SUCCESS
               : error;
}

}  // namespace

HANDLE WINAPI CreateFileHearingRefusal(LPCWSTR path, DWORD access, DWORD sharing,
                                       LPSECURITY_ATTRIBUTES security, DWORD disposition, DWORD flags,
                                       HANDLE templateFile) {
    FileHandle file(CreateFileW(path, access, sharing, security, disposition, flags, templateFile));
    if (!file || !MayBeSimulated(path)) return file.release();
    const DWORD refusal = RefusalOf(file.get(), access);
    if (refusal == ERROR_SUCCESS) return file.release();
    file.reset();
    SetLastError(refusal);
    return INVALID_HANDLE_VALUE;
}
