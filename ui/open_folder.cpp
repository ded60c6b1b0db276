#include "ui/open_folder.h"

#include <iterator>

#include <shellapi.h>

#include "base/xfmt.h"

void OpenFolderOf(HWND owner, const wchar_t* filePath) noexcept {
    wchar_t parameters[MAX_PATH + 16];
    xfmt(parameters, static_cast<int32_t>(std::size(parameters)), L"/select,%s", filePath);
    SHELLEXECUTEINFOW explorer = {};
    explorer.cbSize = sizeof(explorer);
    explorer.hwnd = owner;
    explorer.lpFile = L"Explorer.exe";
    explorer.lpParameters = parameters;
    explorer.nShow = SW_SHOW;
    ShellExecuteExW(&explorer);
}
