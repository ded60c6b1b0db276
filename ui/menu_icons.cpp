#include "ui/menu_icons.h"

#include "base/os_version.h"
#include "base/system_function.h"
#include "ui/theme.h"

namespace {

int32_t SetThemedIcon(HMENU menu, MenuIconItem& item) noexcept {
    HICON icon = nullptr;
    const HRESULT loaded = ThemeLoadSmallIcon(item.module, item.icon, &icon);
    if (loaded == static_cast<HRESULT>(kErrorFunctionMissing)) return kMenuIconNoLoader;
    if (FAILED(loaded)) return kMenuIconNotLoaded;
    return menu_set_item_icon_argb(menu, item.id, false, icon, true, &item.bitmap);
}

int32_t SetIcons(HMENU menu, MenuIconItem* items, int32_t itemCount, bool themed) noexcept {
    int32_t firstError = kMenuIconOk;
    for (MenuIconItem* item = items; item != items + itemCount; ++item) {
        const int32_t error =
            themed ? SetThemedIcon(menu, *item)
                   : menu_set_item_icon_legacy(item->module, item->icon, menu, item->id, &item->bitmap);
        if (firstError == kMenuIconOk) firstError = error;
    }
    return firstError;
}

// Icons share the column of the check marks instead of getting their own.
void ShareCheckColumn(HMENU menu) noexcept {
    MENUINFO info = {};
    info.cbSize = sizeof(info);
    info.fMask = MIM_STYLE;
    if (!GetMenuInfo(menu, &info)) return;
    info.dwStyle = (info.dwStyle | MNS_CHECKORBMP) & ~DWORD{MNS_NOCHECK};
    SetMenuInfo(menu, &info);
}

// Of an item that does not answer, the one that it was given.
HBITMAP ItemBitmap(HMENU menu, const MenuIconItem& item) noexcept {
    MENUITEMINFOW info = {};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_BITMAP;
    return GetMenuItemInfoW(menu, item.id, FALSE, &info) ? info.hbmpItem : item.bitmap;
}

// The item's bitmap is removed first, so that a menu that lives on does not draw a deleted one.
void DeleteThemedBitmap(HMENU menu, const MenuIconItem& item) noexcept {
    const HBITMAP bitmap = ItemBitmap(menu, item);
    if (bitmap == nullptr) return;
    MENUITEMINFOW info = {};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_BITMAP;
    SetMenuItemInfoW(menu, item.id, FALSE, &info);
    DeleteObject(bitmap);
}

void DeleteLegacyBitmap(HMENU menu, const MenuIconItem& item) noexcept {
    if (item.bitmap == nullptr) return;
    SetMenuItemBitmaps(menu, item.id, MF_BYCOMMAND, nullptr, nullptr);
    DeleteObject(item.bitmap);
}

void DeleteIcons(HMENU menu, MenuIconItem* items, int32_t itemCount, bool themed) noexcept {
    for (MenuIconItem* item = items; item != items + itemCount; ++item) {
        themed ? DeleteThemedBitmap(menu, *item) : DeleteLegacyBitmap(menu, *item);
        item->bitmap = nullptr;
    }
}

}  // namespace

bool menu_is_themed() noexcept {
    return !IsWinXpFamily() && ThemeIsAppThemed();
}

BOOL menu_track_popup_with_icons(HMENU menu, UINT flags, int x, int y, HWND owner, TPMPARAMS* params,
                                 MenuIconItem* items, int32_t itemCount, int32_t* firstError,
                                 bool force) noexcept {
    if (firstError != nullptr) *firstError = kMenuIconOk;
    const bool themed = menu_is_themed();
    if (!themed && !force) return TrackPopupMenu(menu, flags, x, y, 0, owner, nullptr);

    const int32_t error = SetIcons(menu, items, itemCount, themed);
    if (firstError != nullptr) *firstError = error;
    if (themed) ShareCheckColumn(menu);
    const BOOL result = TrackPopupMenuEx(menu, flags, x, y, owner, params);
    DeleteIcons(menu, items, itemCount, themed);
    return result;
}
