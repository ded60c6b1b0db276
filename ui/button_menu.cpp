#include "ui/button_menu.h"

#include "base/module.h"
#include "base/win32_handle.h"
#include "ui/menu_icons.h"

namespace {

OwnedMenu MakeMenu(std::span<const MenuRow> rows) noexcept;

bool AppendRow(HMENU menu, const MenuRow& row) noexcept {
    if (row.text == nullptr) return AppendMenuW(menu, MF_SEPARATOR, 0, nullptr) != FALSE;
    if (row.submenu.empty()) return AppendMenuW(menu, MF_STRING, row.id, row.text) != FALSE;
    OwnedMenu submenu = MakeMenu(row.submenu);
    if (!submenu || !AppendMenuW(menu, MF_POPUP, reinterpret_cast<UINT_PTR>(submenu.get()), row.text))
        return false;
    static_cast<void>(submenu.release());  // destroyed with its menu
    return true;
}

// Null when a row could not be added: an incomplete menu would hide commands.
OwnedMenu MakeMenu(std::span<const MenuRow> rows) noexcept {
    OwnedMenu menu(CreatePopupMenu());
    if (!menu) return menu;
    for (const MenuRow& row : rows)
        if (!AppendRow(menu.get(), row)) return OwnedMenu();
    return menu;
}

constexpr size_t kMaxIcons = 16;  // further rows have none

}  // namespace

UINT TrackMenuUnder(HWND button, std::span<const MenuRow> rows) noexcept {
    const OwnedMenu menu = MakeMenu(rows);
    RECT area = {};
    if (!menu || !GetWindowRect(button, &area)) return 0;
    MenuIconItem icons[kMaxIcons] = {};
    size_t iconCount = 0;
    for (const MenuRow& row : rows)
        if (row.icon != 0 && iconCount < kMaxIcons)
            icons[iconCount++] = {row.id, ModuleInstance(), MAKEINTRESOURCEW(row.icon), nullptr};
    return static_cast<UINT>(menu_track_popup_with_icons(
        menu.get(), TPM_RIGHTALIGN | TPM_RETURNCMD, area.right, area.bottom, GetParent(button), nullptr,
        icons, static_cast<int32_t>(iconCount), nullptr, false));
}
