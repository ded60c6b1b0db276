// Texts about the driver that are shown in several places.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

inline constexpr wchar_t kNotAdministratorText[] =
    L"Cannot make the change, probably because you are not the Administrator.";
inline constexpr wchar_t kFlowpathLostText[] = L"Flowpath is lost.";

inline constexpr int32_t kRequestErrorChars = 100;  // terminator included

// Why a request failed: "Flowpath is lost." when the driver's side is gone, otherwise
// "WinErr=5(ERROR_ACCESS_DENIED)".
void FormatRequestError(DWORD error, wchar_t (&text)[kRequestErrorChars]) noexcept;

// Shows "Error in tavo_GetVcomCfg(). UfAppErr=6(UfAppErr_WrongHuid)." for that function and code.
void ReportUfAppErr(HWND owner, const wchar_t* function, uint32_t code) noexcept;
