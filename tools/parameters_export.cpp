#include "tools/parameters_export.h"

#include <cwchar>

#include "base/os_version.h"
#include "base/process.h"
#include "base/time_text.h"
#include "base/xfmt.h"
#include "state/driver_params.h"

void MarkParametersExport(const wchar_t* driverVersion) noexcept {
    WriteParamText(kParamExportVersion, driverVersion);
    WriteParamQword(kParamExportUnixEpoch, static_cast<uint64_t>(time_now_unix_utc()));
}

// reg.exe asks before it replaces a file unless it is told not to; that of old systems cannot be told.
void FormatParametersExport(const wchar_t* file, wchar_t (&command)[kExportCommandChars]) noexcept {
    xfmt(command, kExportCommandChars, L"reg.exe export \"HKLM\\%s\" \"%s\" %s", kDriverParametersKey, file,
         IsPreVistaOs() ? L"" : L"/y");
}

bool RunParametersExport(const wchar_t* command) noexcept {
    return wcslen(command) <= static_cast<size_t>(kCommandLineChars) && RunProcess(command, false, true) == 0;
}
