#include "tests/support/modal_driver.h"

#include <gtest/gtest.h>

#include "base/windows_api.h"

#include "tests/support/wait_until.h"

namespace {

// Not in every Windows header.
constexpr UINT kGetMenuMessage = 0x1E1;

MenuItemRecord ReadItem(HMENU menu, int position);

std::vector<MenuItemRecord> ReadItems(HMENU menu) {
    std::vector<MenuItemRecord> items;
    for (int position = 0; position < GetMenuItemCount(menu); ++position)
        items.push_back(ReadItem(menu, position));
    return items;
}

MenuItemRecord ReadItem(HMENU menu, int position) {
    wchar_t text[512] = L"";
    MENUITEMINFOW information = {};
    information.cbSize = sizeof information;
    information.fMask = MIIM_ID | MIIM_STATE | MIIM_FTYPE | MIIM_STRING | MIIM_SUBMENU | MIIM_BITMAP;
    information.dwTypeData = text;
    information.cch = 512;
    GetMenuItemInfoW(menu, static_cast<UINT>(position), TRUE, &information);
    MenuItemRecord item;
    item.id = information.wID;
    item.type = information.fType;
    item.state = information.fState;
    item.bitmap = information.hbmpItem;
    if (!item.separator()) item.text = text;
    if (information.hSubMenu != nullptr) item.submenu = ReadItems(information.hSubMenu);
    return item;
}

const MenuItemRecord* FindItem(const std::vector<MenuItemRecord>& items, UINT id) {
    for (const MenuItemRecord& item : items) {
        if (item.submenu.empty() && !item.separator() && item.id == id) return &item;
        if (const MenuItemRecord* found = FindItem(item.submenu, id)) return found;
    }
    return nullptr;
}

// The positions to go through, outermost first; false when no item has the id.
bool FindPath(HMENU menu, UINT id, std::vector<int>& path) {
    for (int position = 0; position < GetMenuItemCount(menu); ++position) {
        path.push_back(position);
        const HMENU submenu = GetSubMenu(menu, position);
        if (submenu != nullptr && FindPath(submenu, id, path)) return true;
        if (submenu == nullptr && GetMenuItemID(menu, position) == id) return true;
        path.pop_back();
    }
    return false;
}

int HighlightedPosition(HMENU menu) {
    for (int position = 0; position < GetMenuItemCount(menu); ++position) {
        const UINT state = GetMenuState(menu, static_cast<UINT>(position), MF_BYPOSITION);
        if (state != static_cast<UINT>(-1) && (state & MF_HILITE) != 0) return position;
    }
    return -1;
}

void PostKey(HWND owner, WPARAM key) {
    PostMessageW(owner, WM_KEYDOWN, key, 0);
}

}  // namespace

const MenuItemRecord* MenuRecord::Item(UINT id) const {
    return FindItem(items, id);
}

std::wstring MenuRecord::Texts() const {
    std::wstring lines;
    for (const MenuItemRecord& item : items)
        lines += (item.separator() ? L"-" : item.text) + L"\n";
    return lines;
}

HMENU MenuOfWindow(HWND menuWindow) {
    DWORD_PTR menu = 0;
    SendMessageTimeoutW(menuWindow, kGetMenuMessage, 0, 0, SMTO_NORMAL, kDefaultWaitMs, &menu);
    return reinterpret_cast<HMENU>(menu);
}

MenuRecord MenuView::Read() const {
    MenuRecord record;
    record.window = window_;
    record.menu = menu_;
    record.owner = owner_;
    MENUINFO information = {};
    information.cbSize = sizeof information;
    information.fMask = MIM_STYLE;
    GetMenuInfo(menu_, &information);
    record.style = information.dwStyle;
    GetWindowRect(window_, &record.area);
    record.items = ReadItems(menu_);
    return record;
}

bool MenuView::MoveTo(HMENU menu, int position) const {
    // The pointer may rest on the menu and move the highlight too, so a step can pass the item by; the keys
    // then go round once more.
    const int enoughSteps = 4 * (GetMenuItemCount(menu) + 1);
    for (int steps = 0; steps < enoughSteps; ++steps) {
        const int now = HighlightedPosition(menu);
        if (now == position) return true;
        PostKey(owner_, VK_DOWN);
        const auto moved = WaitUntil("the next menu item", [&] { return HighlightedPosition(menu) != now; });
        if (!moved) break;
    }
    return HighlightedPosition(menu) == position;
}

void MenuView::Choose(UINT id) const {
    std::vector<int> path;
    if (!FindPath(menu_, id, path)) {
        ADD_FAILURE() << "no item " << id << " in the menu with\n" << NarrowText(Read().Texts());
        return Dismiss();
    }
    HMENU menu = menu_;
    for (const int position : path) {
        if (!MoveTo(menu, position)) {
            ADD_FAILURE() << "item " << id << " could not be reached by the keyboard";
            return Dismiss();
        }
        const HMENU submenu = GetSubMenu(menu, position);
        if (submenu == nullptr) break;
        PostKey(owner_, VK_RIGHT);
        EXPECT_TRUE(WaitUntil("the submenu", [&] { return HighlightedPosition(submenu) >= 0; }));
        menu = submenu;
    }
    PostKey(owner_, VK_RETURN);
}

void MenuView::Dismiss() const {
    PostMessageW(owner_, WM_CANCELMODE, 0, 0);
}
