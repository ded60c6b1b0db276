// Popup menus whose items carry icons. Nothing here shows a message, and the menu opens even when icons fail.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

// Results of the icon functions.
inline constexpr int32_t kMenuIconOk = 0;
inline constexpr int32_t kMenuIconBitmapFailed = -4;  // created or converted
inline constexpr int32_t kMenuIconNotLoaded = -5;
inline constexpr int32_t kMenuIconNoLoader = -6;  // the system has no loader of small icons
inline constexpr int32_t kMenuIconNoIconInfo = -7;
inline constexpr int32_t kMenuIconNoBits = -8;
inline constexpr int32_t kMenuIconNotSelected = -9;
inline constexpr int32_t kMenuIconNoBuffer = -10;
inline constexpr int32_t kMenuIconItemNotUpdated = -11;
inline constexpr int32_t kMenuIconLegacyFailed = -12;

struct MenuIconItem {
    uint32_t id;          // of the menu item
    HINSTANCE module;     // of the icon resource
    const wchar_t* icon;  // its name or MAKEINTRESOURCE
    HBITMAP bitmap;       // null on entry; made, and deleted again, by menu_track_popup_with_icons
};

// Whether menus here draw bitmaps with transparency. Never on major version 5, whatever its theme.
bool menu_is_themed() noexcept;

// Shows the menu as TrackPopupMenuEx does, with the items' icons, and returns its result. A system without
// themes shows the plain menu, unless `force` asks for icons drawn the old way. *firstError (may be null)
// gets the code of the first icon that failed, 0 when none did.
BOOL menu_track_popup_with_icons(HMENU menu, UINT flags, int x, int y, HWND owner, TPMPARAMS* params,
                                 MenuIconItem* items, int32_t itemCount, int32_t* firstError,
                                 bool force) noexcept;

// Gives the item a 32-bit bitmap with premultiplied alpha, drawn from the icon. The caller deletes the bitmap
// once the menu is gone; null on failure. With `destroyIcon` the icon is destroyed whatever happens.
int32_t menu_set_item_icon_argb(HMENU menu, UINT item, bool byPosition, HICON icon, bool destroyIcon,
                                HBITMAP* bitmap) noexcept;

// Takes the transparency of an image without alpha from the mask of the icon that it was drawn from;
// bottom-up rows of `rowPixels` pixels. An image with any alpha stays as it is. E_FAIL when the icon cannot
// be read, E_OUTOFMEMORY, or E_UNEXPECTED when its mask cannot be read.
HRESULT menu_make_premultiplied(RGBQUAD* bits, int32_t rowPixels, HICON icon, SIZE size) noexcept;

// Gives the item (by command) an opaque bitmap of the check mark's size on white, shown checked or not.
int32_t menu_set_item_icon_legacy(HINSTANCE module, const wchar_t* icon, HMENU menu, UINT item,
                                  HBITMAP* bitmap) noexcept;
