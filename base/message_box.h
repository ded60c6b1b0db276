// Message boxes whose text is formatted by xfmt into 2000 characters (terminator included) and cut there. The
// owner may be null.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

// Shown where a title is null, and by the questions.
inline constexpr const wchar_t* kMessageTitle = L"TAVIX Message";
inline constexpr int32_t kMessageChars = 2000;

inline constexpr int32_t kMessageInformation = 1;
inline constexpr int32_t kMessageWarning = 2;
inline constexpr int32_t kMessageError = 3;

// The MessageBoxW result, 0 when the box could not be shown. `style` is that of MessageBoxW.
int MsgBoxFmt(const wchar_t* title, UINT style, HWND owner, const wchar_t* format, ...) noexcept;

// An OK box with the icon of the kind; any other kind has no icon.
int MsgBoxKind(const wchar_t* title, int32_t kind, HWND owner, const wchar_t* format, ...) noexcept;

// The error box that most failures are shown in: title and icon as MsgBoxKind gives them to an error.
void ErrorBox(HWND owner, const wchar_t* format, ...) noexcept;

// IDYES or IDNO.
int AskYesNo(HWND owner, const wchar_t* format, ...) noexcept;
// The same with No as the default, for questions whose Yes is risky.
int AskYesNoDefaultNo(HWND owner, const wchar_t* format, ...) noexcept;
