// Wine hands out the handle of a device before the driver has answered the opening, so a driver that refuses
// it is not heard. This stands in for CreateFileW where that matters: it asks the driver afterwards.
#pragma once

#include "base/windows_api.h"

// As CreateFileW. An opening of the simulated bus or of one of its VCOMs that the driver refused fails with
// the driver's error; everything else is left alone.
HANDLE WINAPI CreateFileHearingRefusal(LPCWSTR path, DWORD access, DWORD sharing,
                                       LPSECURITY_ATTRIBUTES security, DWORD disposition, DWORD flags,
                                       HANDLE templateFile);
