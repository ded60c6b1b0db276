// The optional library "tavix_customres.dll" of the package folder, with which a customer replaces the
// system's icons and About text. Nothing here fails: without an intact library every function returns the
// module's own resources.
//
// Called on the thread of the device installer or of a page; takes no lock.
#pragma once

#include "base/windows_api.h"

// Loads the library and, when its switch and its digest allow, takes everything below from it. Does nothing
// while one is loaded. Runs at process attach, under the loader lock: it loads no other library and waits for
// nothing.
void LoadCustomResourceLibrary() noexcept;
// Returns to the state before any load.
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

// True when the library asks to hide the user guide.
bool CustomHidesUserGuide() noexcept;

// Verifies the file in the package folder whether or not it is in use. False when it exists and is not
// intact; a missing file is fine.
bool CheckCustomResourceFile() noexcept;
