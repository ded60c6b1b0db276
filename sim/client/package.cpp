#include "sim/client/package.h"

#include <iterator>

#include "base/win32_handle.h"

#include "sim/client/plugging.h"

namespace {

constexpr DWORD kStopMs = 10000;

using ServiceHandle = OwnedHandle<NullHandleTraits<SC_HANDLE, CloseServiceHandle>>;

constexpr wchar_t kDriverFile[] = L"tavix_sim.sys";
constexpr wchar_t kCoinstallerFile[] = L"tavix_coinstaller.dll";
constexpr wchar_t kTerminalFile[] = L"putty-x64.exe";
constexpr wchar_t kSessionTemplateFile[] = L"putty-session.reg.template";
constexpr wchar_t kCustomerLibraryFile[] = L"tavix_customres.dll";
constexpr const wchar_t* kPackageFiles[] = {
    L"tavix_bus.inf",
    L"tavix_usb.inf",
    L"tavix_vcom.inf",
    kDriverFile,
    kCoinstallerFile,
    kTerminalFile,
    kSessionTemplateFile,
    L"TAVIX user guide - ENG.pdf",
    L"TAVIX user guide - CHS.pdf",
};
// Those that go into the system folder.
constexpr const wchar_t* kSystemFiles[] = {kCoinstallerFile, kTerminalFile, kSessionTemplateFile};

std::wstring SystemFolder() {
    wchar_t folder[MAX_PATH];
    const UINT length = GetSystemDirectoryW(folder, static_cast<UINT>(std::size(folder)));
    return std::wstring(folder, length) + L"\\";
}

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

DWORD StopServiceAndWait(SC_HANDLE service) {
    SERVICE_STATUS status = {};
    if (!ControlService(service, SERVICE_CONTROL_STOP, &status)) {
        const DWORD error = GetLastError();
        return error == ERROR_SERVICE_NOT_ACTIVE ? ERROR_SUCCESS : error;
    }
    const DWORD start = GetTickCount();
    while (QueryServiceStatus(service, &status) && status.dwCurrentState != SERVICE_STOPPED) {
        if (GetTickCount() - start > kStopMs) return ERROR_TIMEOUT;
        Sleep(10);
    }
    return ERROR_SUCCESS;
}

DWORD CopyChanged(const std::wstring& source, const std::wstring& destination) {
    const FileStamp stamp = StampOf(source);
    if (stamp.exists && stamp == StampOf(destination)) return ERROR_SUCCESS;
    return CopyFileW(source.c_str(), destination.c_str(), FALSE) ? ERROR_SUCCESS : GetLastError();
}

// An older build that the device installer has copied already would go on being used. A running driver is
// unloaded, with its bus, so that the next installation starts the new one.
DWORD RefreshInstalledCopies(const std::wstring& packageFolder) {
    const std::wstring newDriver = packageFolder + L"\\" + kDriverFile;
    const std::wstring installedDriver = SystemFolder() + L"drivers\\" + kDriverFile;
    DWORD error = ERROR_SUCCESS;
    if (StampOf(installedDriver).exists && StampOf(newDriver) != StampOf(installedDriver)) {
        RemoveVbus();
        error = StopDriver();
        if (error == ERROR_SUCCESS) error = CopyChanged(newDriver, installedDriver);
    }
    if (!StampOf(SystemFolder() + kCoinstallerFile).exists) return error;
    for (const wchar_t* name : kSystemFiles)
        if (error == ERROR_SUCCESS) error = CopyChanged(packageFolder + L"\\" + name, SystemFolder() + name);
    return error;
}

}  // namespace

DWORD InstallPackage(const std::wstring& packageFolder) {
    CreateDirectoryW(InfFolder().c_str(), nullptr);
    for (const wchar_t* name : kPackageFiles) {
        const DWORD error = CopyChanged(packageFolder + L"\\" + name, InfFolder() + name);
        if (error != ERROR_SUCCESS) return error;
    }
    const std::wstring customerLibrary = packageFolder + L"\\" + kCustomerLibraryFile;
    if (StampOf(customerLibrary).exists) {
        const DWORD error = CopyChanged(customerLibrary, InfFolder() + kCustomerLibraryFile);
        if (error != ERROR_SUCCESS) return error;
    }
    return RefreshInstalledCopies(packageFolder);
}

bool IsPackageInstalled() {
    for (const wchar_t* name : kPackageFiles)
        if (!StampOf(InfFolder() + name).exists) return false;
    return true;
}

DWORD StopDriver() {
    const ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager) return GetLastError();
    const ServiceHandle service(
        OpenServiceW(manager.get(), L"Qrv_tavix", SERVICE_STOP | SERVICE_QUERY_STATUS));
    if (!service) return GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST ? ERROR_SUCCESS : GetLastError();
    return StopServiceAndWait(service.get());
}
