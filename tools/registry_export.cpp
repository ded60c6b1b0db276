#include "tools/registry_export.h"

#include <cwchar>

#include <shlobj.h>

#include "base/bounded_text.h"
#include "base/message_box.h"
#include "base/os_version.h"
#include "base/process.h"
#include "base/time_text.h"
#include "base/xfmt.h"
#include "driver/driver_info.h"
#include "state/driver_params.h"
#include "ui/open_folder.h"

namespace {

constexpr wchar_t kErrorTitle[] = L"TAVIX meets error";
constexpr wchar_t kExportFileName[] = L"tavix-global.reg";

constexpr int32_t kExportPathChars = MAX_PATH + 20;  // the longest folder and the file
constexpr int32_t kExportCommandChars = 520;         // the longest path and what stands around it

bool g_exportAfterFailedSave = false;

// False without a profile folder. `file` is then the name alone, for the message.
bool FindExportFile(wchar_t (&file)[kExportPathChars]) noexcept {
    wchar_t folder[MAX_PATH] = L"";
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_PROFILE, nullptr, SHGFP_TYPE_CURRENT, folder))) {
        CopyBounded(file, kExportPathChars, kExportFileName);
        return false;
    }
    xfmt(file, kExportPathChars, L"%s\\%s", folder, kExportFileName);
    return true;
}

// Whoever imports the file later can see what it is from. A key that is not ours to write is exported as it
// is.
void MarkExport(const wchar_t* driverVersion) noexcept {
    WriteParamText(kParamExportVersion, driverVersion);
    WriteParamQword(kParamExportUnixEpoch, static_cast<uint64_t>(time_now_unix_utc()));
}

// reg.exe asks before it replaces a file unless it is told not to; that of old systems cannot be told.
void FormatExportCommand(const wchar_t* file, wchar_t (&command)[kExportCommandChars]) noexcept {
    xfmt(command, kExportCommandChars, L"reg.exe export \"HKLM\\%s\" \"%s\" %s", kDriverParametersKey, file,
         IsPreVistaOs() ? L"" : L"/y");
}

// A line that RunProcess would cut names another file: it is not run.
bool RunWhole(const wchar_t* command) noexcept {
    return wcslen(command) <= static_cast<size_t>(kCommandLineChars) && RunProcess(command, false, true) == 0;
}

}  // namespace

void SetExportAfterFailedSave(bool goOn) noexcept {
    g_exportAfterFailedSave = goOn;
}

void ExportDriverParameters(HWND owner, bool settingsSaved) noexcept {
    if (!settingsSaved && !g_exportAfterFailedSave) {
        MsgBoxKind(kErrorTitle, kMessageError, owner, L"Save TAVIX global settings error. No .reg exported.");
        return;
    }
    wchar_t version[kDriverVersionTextChars];
    DWORD error = 0;
    if (!GetDriverVersionText(nullptr, version, &error)) {
        ErrorBox(owner, L"Get TAVIX version fail. WinErr=%u", error);
        return;
    }
    MarkExport(version);

    wchar_t file[kExportPathChars];
    const bool hasFolder = FindExportFile(file);
    wchar_t command[kExportCommandChars];
    FormatExportCommand(file, command);
    if (!hasFolder || !RunWhole(command)) {
        MsgBoxKind(kErrorTitle, kMessageError, owner,
                   L"Error exporting registry file. The following command failed:\n\n%s", command);
        return;
    }
    if (AskYesNo(
            owner,
            L"TAVIX global settings export success. Exported registry file is:\n\n%s\n\nOpen that folder?",
            file) == IDYES)
        OpenFolderOf(owner, file);
}
