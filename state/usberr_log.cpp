#include "state/usberr_log.h"

#include <algorithm>
#include <cwchar>
#include <new>

#include "base/windows_api.h"

#include <shlobj.h>

#include "base/can_throw.h"
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

// Byte count of the tail in `bytes`, which a NUL then follows; negative when the file cannot be read.
int64_t ReadTailBytes(const wchar_t* path, std::string* bytes) {
    const KernelHandle file = OpenFileRw(path, false);
    const int64_t fileBytes = GetFileSizeOf(file.get());
    if (fileBytes < 0) return -1;
    const int64_t tailBytes = std::min<int64_t>(fileBytes, kUsberrTailBytes);
    bytes->resize(static_cast<size_t>(tailBytes));
    return ReadFileAt(file.get(), fileBytes - tailBytes, static_cast<uint32_t>(tailBytes), bytes->data());
}

// folder + backslash + the formatted name, cut to kUsberrPathChars.
void JoinPath(wchar_t* path, const wchar_t* folder, const wchar_t* nameFormat, ...) {
    va_list args;
    va_start(args, nameFormat);
    XfmtNested name{kXfmtNestedMagic, nameFormat, &args};
    xfmt(path, kUsberrPathChars, L"%s\\%w", folder, &name);
    va_end(args);
}

}  // namespace

int32_t UsberrRelativePath(const wchar_t* instanceId, wchar_t* path) {
    xfmt(path, kUsberrPathChars, L"System32\\QrvTavix\\usberr\\usberr_%s.log", instanceId);
    std::replace(path + kUsberrRelativeNameIndex, path + wcslen(path), L'\\', L'#');
    return kUsberrRelativeNameIndex;
}

bool UsberrLogPath(HDEVINFO deviceInfoSet, SP_DEVINFO_DATA* deviceInfoData, wchar_t* path) {
    path[0] = L'\0';
    wchar_t instanceId[kUsberrPathChars] = {};
    wchar_t windowsFolder[kUsberrPathChars] = {};
    if (!SetupDiGetDeviceInstanceIdW(deviceInfoSet, deviceInfoData, instanceId, kUsberrPathChars, nullptr))
        return false;
    const UINT folderChars = GetWindowsDirectoryW(windowsFolder, kUsberrPathChars);
    if (folderChars == 0 || folderChars >= kUsberrPathChars) return false;

    wchar_t relativePath[kUsberrPathChars];
    UsberrRelativePath(instanceId, relativePath);
    xfmt(path, kUsberrPathChars, L"%s\\%s", windowsFolder, relativePath);
    return true;
}

const wchar_t* UsberrLogName(const wchar_t* path) {
    const wchar_t* const lastBackslash = wcsrchr(path, L'\\');
    return lastBackslash == nullptr ? path : lastBackslash + 1;
}

UsberrTimes ReadUsberrTimes(HDEVINFO deviceInfoSet, SP_DEVINFO_DATA* deviceInfoData, const wchar_t* path) {
    return {GetFileWriteTimeUemsec(path),
            static_cast<int64_t>(
                ReadDevQword(deviceInfoSet, deviceInfoData, DIREG_DEV, kDevLastStartupSuccess, 0))};
}

// One byte never becomes more than one UTF-16 unit, so the text has room for all of them.
void DecodeUsberrTail(const std::string& bytes, std::wstring* text) {
    text->resize(bytes.size() + 1);
    const int withNul =
        MultiByteToWideChar(CP_UTF8, 0, bytes.c_str(), -1, text->data(), static_cast<int>(text->size()));
    const int units = withNul - 1;
    text->resize(static_cast<size_t>(std::clamp(units, 0, kUsberrTailMaxChars)));
    if (units > kUsberrTailMaxChars && IsHighSurrogate(text->back())) text->pop_back();
}

bool ReadUsberrTail(const wchar_t* path, std::wstring* text) noexcept {
    text->clear();
    if (!CanThrow()) return false;
    try {
        std::string bytes;
        const int64_t byteCount = ReadTailBytes(path, &bytes);
        if (byteCount < 0) return false;
        // The file may have shrunk since its size was asked for.
        bytes.resize(static_cast<size_t>(byteCount));
        DecodeUsberrTail(bytes, text);
        return true;
    } catch (const std::bad_alloc&) {
        text->clear();
        return false;
    }
}

const wchar_t* UsberrRecentText(const std::wstring& tail) {
    const size_t separator = tail.rfind(kSeparator, std::wstring::npos, kSeparatorChars);
    if (separator == std::wstring::npos) return tail.c_str();
    const wchar_t* text = tail.c_str() + separator + kSeparatorChars;
    if (*text == L'\r') ++text;
    if (*text == L'\n') ++text;
    return text;
}

bool UsberrSavePath(const wchar_t* logPath, const SYSTEMTIME& now, wchar_t* savePath) {
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

DWORD CopyUsberrLog(const wchar_t* logPath, const wchar_t* savePath) {
    return CopyFileW(logPath, savePath, FALSE) ? NO_ERROR : GetLastError();
}

DWORD DeleteUsberrLog(const wchar_t* logPath) {
    return DeleteFileW(logPath) ? NO_ERROR : GetLastError();
}
