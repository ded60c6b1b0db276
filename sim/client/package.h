// The driver package's files in the folder where the device installer searches.
#pragma once

#include <string>

#include "base/windows_api.h"

// Copies the driver package (INF files, driver, coinstaller, terminal program with its session, user guides,
// and a customer's library where there is one) to where the device installer searches for it. The folder is a
// Windows path. Files that are the same already are left alone; a driver of an older build that is installed
// or runs is replaced, with its bus removed. A Windows error code, 0 for success.
DWORD InstallPackage(const std::wstring& packageFolder);
bool IsPackageInstalled();

// Ends the service of the driver and waits until it is unloaded. Nothing happens when it does not run.
DWORD StopDriver();
