#include "sim/client/package.h"

#include <iterator>

#include "base/win32_handle.h"

namespace {

constexpr const wchar_t* kPackageFiles[] = {
    L"tavix_bus.inf", L"tavix_usb.inf", L"tavix_vcom.inf", L"tavix_sim.sys", L"tavix_coinstaller.dll",
};

std::wstring InfFolder() {
    wchar_t windows[MAX_PATH];
    const UINT length = GetWindowsDirectoryW(windows, static_cast<UINT>(std::size(windows)));
    return std::wstring(windows, length) + L"\\inf\\";
}

struct FileStamp {
    bool exists = false;
    ULONGLONG bytes = 0;
    FILETIME written = {};

    bool operator==(const FileStamp& other) const {
        return exists == other.exists && bytes == other.bytes &&
               CompareFileTime(&written, &other.written) == 0;
    }
};

FileStamp StampOf(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return {};
    return {true, ULONGLONG{data.nFileSizeHigh} << 32 | data.nFileSizeLow, data.ftLastWriteTime};
}

}  // namespace

std::wstring PackageFilePath(std::wstring_view name) {
    return InfFolder().append(name);
}

DWORD InstallPackage(const std::wstring& packageFolder) {
    CreateDirectoryW(InfFolder().c_str(), nullptr);
    for (const wchar_t* name : kPackageFiles) {
        const std::wstring source = packageFolder + L"\\" + name;
        const std::wstring destination = PackageFilePath(name);
        const FileStamp stamp = StampOf(source);
        if (stamp.exists && stamp == StampOf(destination)) continue;
        if (!CopyFileW(source.c_str(), destination.c_str(), FALSE)) return GetLastError();
    }
    return ERROR_SUCCESS;
}

bool IsPackageInstalled() {
    for (const wchar_t* name : kPackageFiles)
        if (!StampOf(PackageFilePath(name)).exists) return false;
    return true;
}
