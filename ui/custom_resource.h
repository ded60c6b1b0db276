// The optional library "tavix_customres.dll" of the package folder, with which a customer replaces the
// system's icons and About text. Nothing here fails towards its caller: without an intact library every
// function answers with the module's own resources.
//
// Called on the thread of the device installer or of a page; takes no lock.
#pragma once

#include "base/windows_api.h"

// Loads the library and, when its switch and its digest allow, makes it the source of everything below. Does
// nothing while a library is held. Runs at process attach, under the loader lock: besides this one library it
// loads none, and it waits for nothing.
void LoadCustomResourceLibrary() noexcept;
// Back to the state before any load.
void FreeCustomResourceLibrary() noexcept;

// True once the library is loaded, switched on and intact.
bool IsCustomResourceActive() noexcept;

// Shared icons: the caller does not destroy them. The library's icon lives until the library is freed.
HICON CustomPageIcon() noexcept;
HICON CustomSmallIcon() noexcept;

// Shows the small icon in the static control with that ID of the dialog.
void SetCustomControlIcon(HWND dialog, int controlId) noexcept;
// Makes the small icon both the big and the small icon of the window.
void SetCustomWindowIcons(HWND window) noexcept;

// The About paragraph, at most 199 characters, in a buffer that the next call overwrites; an empty text
// without an active library.
const wchar_t* CustomAboutText() noexcept;

// True when the library asks that the user guide is not offered.
bool CustomHidesUserGuide() noexcept;

// Verifies the file in the package folder whether or not it is in use. False when it exists and is not
// intact; without a file there is nothing to complain of.
bool CheckCustomResourceFile() noexcept;
