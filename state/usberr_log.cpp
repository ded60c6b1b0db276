#include "state/usberr_log.h"

#include <algorithm>
#include <cwchar>

#include "base/windows_api.h"

#include <shlobj.h>

#include "base/files.h"
#include "base/stamp_text.h"
#include "base/xfmt.h"
#include "state/device_values.h"

namespace {

constexpr wchar_t kSeparator[] = L"*========================================*";
constexpr size_t kSeparatorChars = std::size(kSeparator) - 1;
static_assert(kSeparatorChars == 42);

bool IsHighSurrogate(wchar_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

// The driver may have the log open for writing, so all sharing is allowed.
FileHandle OpenLog(const wchar_t* path) noexcept {
    return FileHandle(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                  nullptr, OPEN_EXISTING, 0, nullptr));
}

// False when the file cannot be read or there is no memory.
bool ReadTailBytes(const wchar_t* path, HeapArray<char>& bytes) noexcept {
    const FileHandle file = OpenLog(path);
    if (!file) return false;
    const int64_t fileBytes = GetFileSizeOf(file.get());
    if (fileBytes < 0) return false;
    const int64_t tailBytes = std::min<int64_t>(fileBytes, kUsberrTailBytes);
    if (!bytes.Resize(static_cast<size_t>(tailBytes))) return false;
    const int64_t readBytes =
        ReadFileAt(file.get(), fileBytes - tailBytes, static_cast<uint32_t>(tailBytes), bytes.data());
    // The file may have shrunk since its size was read.
    return readBytes >= 0 && bytes.Resize(static_cast<size_t>(readBytes));
}

// folder + backslash + the formatted name, cut to kUsberrPathChars.
void JoinPath(wchar_t (&path)[kUsberrPathChars], const wchar_t* folder, const wchar_t* nameFormat, ...) {
    va_list args;
    va_start(args, nameFormat);
    XfmtNested name = {kXfmtNestedMagic, nameFormat, &args};
    xfmt(path, kUsberrPathChars, L"%s\\%w", folder, &name);
    va_end(args);
}

}  // namespace

int32_t UsberrRelativePath(const wchar_t* instanceId, wchar_t (&path)[kUsberrPathChars]) noexcept {
    xfmt(path, kUsberrPathChars, L"System32\\QrvTavix\\usberr\\usberr_%s.log", instanceId);
    std::replace(path + kUsberrRelativeNameIndex, path + wcslen(path), L'\\', L'#');
    return kUsberrRelativeNameIndex;
}

bool UsberrLogPath(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, wchar_t (&path)[kUsberrPathChars]) noexcept {
    path[0] = L'\0';
    wchar_t instanceId[kUsberrPathChars] = {};
    wchar_t windowsFolder[kUsberrPathChars] = {};
    if (!SetupDiGetDeviceInstanceIdW(deviceSet, device, instanceId, kUsberrPathChars, nullptr)) return false;
    const UINT folderChars = GetWindowsDirectoryW(windowsFolder, kUsberrPathChars);
    if (folderChars == 0 || folderChars >= kUsberrPathChars) return false;

    wchar_t relativePath[kUsberrPathChars];
    UsberrRelativePath(instanceId, relativePath);
    xfmt(path, kUsberrPathChars, L"%s\\%s", windowsFolder, relativePath);
    return true;
}

const wchar_t* UsberrLogName(const wchar_t* path) noexcept {
    const wchar_t* const lastBackslash = wcsrchr(path, L'\\');
    return lastBackslash == nullptr ? path : lastBackslash + 1;
}

UsberrTimes ReadUsberrTimes(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, const wchar_t* path) noexcept {
    return {GetFileWriteTimeUemsec(path),
            static_cast<int64_t>(ReadDevQword(deviceSet, device, DIREG_DEV, kDevLastStartupSuccess, 0))};
}

// One byte never becomes more than one UTF-16 unit, so the text has room for all of them.
bool DecodeUsberrTail(std::string_view bytes, HeapText& text) noexcept {
    const int textBytes = static_cast<int>(strnlen(bytes.data(), bytes.size()));
    if (!text.Resize(bytes.size())) return false;
    int units =
        MultiByteToWideChar(CP_UTF8, 0, bytes.data(), textBytes, text.data(), static_cast<int>(text.size()));
    if (units > kUsberrTailMaxChars) {
        units = kUsberrTailMaxChars;
        if (IsHighSurrogate(text.data()[units - 1])) --units;
    }
    return text.Resize(static_cast<size_t>(units));
}

bool ReadUsberrTail(const wchar_t* path, HeapText& text) noexcept {
    text.Clear();
    HeapArray<char> bytes;
    return ReadTailBytes(path, bytes) && DecodeUsberrTail({bytes.data(), bytes.size()}, text);
}

bool ReadUsberrLog(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, UsberrLog& log) noexcept {
    if (!UsberrLogPath(deviceSet, device, log.path)) return false;
    log.times = ReadUsberrTimes(deviceSet, device, log.path);
    log.isReadable = log.times.HasLog() && ReadUsberrTail(log.path, log.tail);
    return true;
}

const wchar_t* UsberrRecentText(const wchar_t* tail) noexcept {
    const size_t separator = std::wstring_view(tail).rfind(kSeparator);
    if (separator == std::wstring_view::npos) return tail;
    const wchar_t* text = tail + separator + kSeparatorChars;
    if (*text == L'\r') ++text;
    if (*text == L'\n') ++text;
    return text;
}

bool UsberrSavePath(const wchar_t* logPath, const SYSTEMTIME& now,
                    wchar_t (&savePath)[kUsberrPathChars]) noexcept {
    savePath[0] = L'\0';
    wchar_t profileFolder[MAX_PATH] = {};
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_PROFILE, nullptr, SHGFP_TYPE_CURRENT, profileFolder)))
        return false;
    SYSTEMTIME stampTime = now;
    XfmtFormatter stamp;
    xfmt_formatter_init(&stamp, StampCompactFormatter, &stampTime);
    JoinPath(savePath, profileFolder, L"%F-%s", &stamp, UsberrLogName(logPath));
    return true;
}

DWORD CopyUsberrLog(const wchar_t* logPath, const wchar_t* savePath) noexcept {
    return CopyFileW(logPath, savePath, FALSE) ? NO_ERROR : GetLastError();
}

DWORD DeleteUsberrLog(const wchar_t* logPath) noexcept {
    return DeleteFileW(logPath) ? NO_ERROR : GetLastError();
}
