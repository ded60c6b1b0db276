#include "tools/registry_export.h"

#include <shlobj.h>

#include "base/bounded_text.h"
#include "base/message_box.h"
#include "base/xfmt.h"
#include "driver/driver_info.h"
#include "tools/parameters_export.h"
#include "ui/open_folder.h"

namespace {

constexpr wchar_t kErrorTitle[] = L"TAVIX meets error";
constexpr wchar_t kExportFileName[] = L"tavix-global.reg";

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
    MarkParametersExport(version);

    wchar_t file[kExportPathChars];
    const bool hasFolder = FindExportFile(file);
    wchar_t command[kExportCommandChars];
    FormatParametersExport(file, command);
    if (!hasFolder || !RunParametersExport(command)) {
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
