// The module's activation context, which binds its windows to version 6 of the common controls whatever its
// host process uses, and the few platform calls that run with it. The context is found at the first use and
// kept until IsolationAwareCleanup.
//
// When the context cannot be made or activated, a wrapper fails as its platform call does and does not make
// it. Without a manifest in the module the calls run in the process's default context.
#pragma once

#include "base/windows_api.h"

#include <prsht.h>

void IsolationAwareInitCommonControls() noexcept;
HPROPSHEETPAGE IsolationAwareCreatePropertySheetPageW(const PROPSHEETPAGEW* description) noexcept;
INT_PTR IsolationAwareDialogBoxParamW(HINSTANCE instance, const wchar_t* templateName, HWND owner,
                                      DLGPROC procedure, LPARAM initParam) noexcept;
INT_PTR IsolationAwareDialogBoxIndirectParamW(HINSTANCE instance, const DLGTEMPLATE* dialogTemplate,
                                              HWND owner, DLGPROC procedure, LPARAM initParam) noexcept;
// A function of the common controls that the context binds; null when they lack it.
FARPROC IsolationAwareCommonControlsFunction(const char* name) noexcept;
// The caller frees the library.
HMODULE IsolationAwareLoadLibraryW(const wchar_t* fileName) noexcept;

// Called once, while the module unloads. A wrapper called later writes a complaint to the debugger and finds
// the context again.
void IsolationAwareCleanup() noexcept;
