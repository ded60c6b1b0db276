#include "tools/user_guide.h"

#include <shellapi.h>

#include "base/files.h"
#include "base/message_box.h"
#include "base/xfmt.h"
#include "state/registry.h"
#include "ui/info_box.h"

namespace {

constexpr wchar_t kInstallKey[] = L"SOFTWARE\\Wow6432Node\\Holmark Auto-ID\\TAVIX";
constexpr wchar_t kInstallFolderValue[] = L"InstallTargetDir_";
constexpr UINT kSimplifiedChinese = 936;

// With its last backslash. A value of another type is no folder.
DWORD ReadInstallFolder(RegValue& folder) {
    const DWORD error = ReadRegValue(HKEY_LOCAL_MACHINE, kInstallKey, kInstallFolderValue, folder);
    if (error != ERROR_SUCCESS) return error;
    return folder.type == REG_SZ ? ERROR_SUCCESS : ERROR_INVALID_DATATYPE;
}

// The system shows no box of its own: what a user can do something about is reported by the caller.
DWORD OpenByShell(HWND owner, const wchar_t* path) {
    SHELLEXECUTEINFOW execution = {};
    execution.cbSize = sizeof(execution);
    execution.fMask = SEE_MASK_FLAG_NO_UI;
    execution.hwnd = owner;
    execution.lpVerb = L"open";
    execution.lpFile = path;
    execution.nShow = SW_SHOWNORMAL;
    return ShellExecuteExW(&execution) ? ERROR_SUCCESS : GetLastError();
}

}  // namespace

void OpenUserGuide(HWND owner) noexcept {
    RegValue folder;
    const DWORD error = ReadInstallFolder(folder);
    if (error != ERROR_SUCCESS) {
        ErrorBox(owner, L"Unexpect! Error reading registry item:\n\n  [HKLM\\%s] %s \n\nWinErr=%u",
                 kInstallKey, kInstallFolderValue, error);
        return;
    }
    wchar_t path[MAX_PATH];
    xfmt(path, MAX_PATH, L"%stavix-inf-pkg\\TAVIX user guide - %s.pdf", folder.text.c_str(),
         GetACP() == kSimplifiedChinese ? L"CHS" : L"ENG");
    if (!IsFile(path)) {
        ErrorBox(owner, L"Error: User guide pdf not found:\n\n%s", path);
        return;
    }
    if (OpenByShell(owner, path) == ERROR_NO_ASSOCIATION)
        FlexiInfoMessage(owner, L"You need to install a PDF reader software to view the user guide.");
}
