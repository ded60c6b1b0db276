#include "base/files.h"

#include "base/bounded_text.h"
#include "base/xfmt.h"

namespace {

constexpr const wchar_t* kPackageFolderName = L"QrvTavix";

// FILETIME counts units of 100 ns since 1601.
constexpr int64_t kFileTimeUnitsPerMs = 10000;
constexpr int64_t kMsFrom1601To1970 = 11644473600000;

bool Seek(HANDLE file, int64_t offset) noexcept {
    LARGE_INTEGER distance;
    distance.QuadPart = offset;
    return SetFilePointerEx(file, distance, nullptr, FILE_BEGIN) != FALSE;
}

}  // namespace

bool IsFile(const wchar_t* path) noexcept {
    const DWORD attributes = GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool MakeTempFileName(const wchar_t* prefix, const wchar_t*, wchar_t* buffer, int32_t chars) noexcept {
    wchar_t folder[MAX_PATH] = L"";
    wchar_t name[MAX_PATH] = L"";
    GetTempPathW(MAX_PATH, folder);
    if (GetTempFileNameW(folder, prefix, 0, name) == 0) name[0] = L'\0';
    if (chars > 0) CopyBounded(buffer, static_cast<size_t>(chars), name);
    return true;
}

wchar_t* GetPackageFolder(wchar_t* buffer, int32_t chars) noexcept {
    if (chars < 1) return nullptr;
    wchar_t system[MAX_PATH] = L"";
    const UINT length = GetSystemDirectoryW(system, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) {
        // Without the system directory the name would mean a folder at the root of some drive.
        buffer[0] = L'\0';
        return nullptr;
    }
    xfmt(buffer, chars, L"%s\\%s", system, kPackageFolderName);
    return buffer;
}

int64_t GetFileWriteTimeUemsec(const wchar_t* path) noexcept {
    // The driver may be writing the file, so all sharing is allowed.
    const FileHandle file(CreateFileW(path, FILE_READ_ATTRIBUTES,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, 0, nullptr));
    FILETIME written = {};
    if (!file || !GetFileTime(file.get(), nullptr, nullptr, &written)) return 0;
    const int64_t units = static_cast<int64_t>(written.dwHighDateTime) << 32 | written.dwLowDateTime;
    return units / kFileTimeUnitsPerMs - kMsFrom1601To1970;
}

KernelHandle OpenFileRw(const wchar_t* path, bool write) noexcept {
    FileHandle file(CreateFileW(path, write ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ, FILE_SHARE_READ,
                                nullptr, OPEN_EXISTING, 0, nullptr));
    return file ? KernelHandle(file.release()) : KernelHandle();
}

int64_t ReadFileAt(HANDLE file, int64_t offset, uint32_t bytes, void* buffer) noexcept {
    DWORD done = 0;
    if (file == nullptr || !Seek(file, offset) || !ReadFile(file, buffer, bytes, &done, nullptr)) return -1;
    return done;
}

int64_t WriteFileAt(HANDLE file, int64_t offset, uint32_t bytes, const void* buffer) noexcept {
    DWORD done = 0;
    if (file == nullptr || !Seek(file, offset) || !WriteFile(file, buffer, bytes, &done, nullptr)) return -1;
    return done;
}

int64_t GetFileSizeOf(HANDLE file) noexcept {
    LARGE_INTEGER size = {};
    return file != nullptr && GetFileSizeEx(file, &size) ? size.QuadPart : -1;
}

bool CloseFile(KernelHandle file) noexcept {
    return file && CloseHandle(file.release()) != FALSE;
}
