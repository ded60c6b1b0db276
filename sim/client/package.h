// The driver package's files in the folder where the device installer searches.
#pragma once

#include <string>
#include <string_view>

#include "base/windows_api.h"

// Copies the driver package (INF files, driver, coinstaller) to where the device installer searches for it.
// The folder is a Windows path. Files that are the same already are left alone. A Windows error code, 0 for
// success.
DWORD InstallPackage(const std::wstring& packageFolder);
bool IsPackageInstalled();

// Where a file of the package lies once it is installed.
std::wstring PackageFilePath(std::wstring_view name);
