#include "tests/support/modal_driver.h"

#include <gtest/gtest.h>

#include "base/windows_api.h"

#include "tests/support/message_queue.h"
#include "tests/support/real_input.h"
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
    information.cbSize = sizeof(information);
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

// The visible window that shows the menu; null while there is none.
HWND WindowOfMenu(HMENU menu) {
    HWND window = nullptr;
    do
        window = FindWindowExW(nullptr, window, L"#32768", nullptr);
    while (window != nullptr && (!IsWindowVisible(window) || MenuOfWindow(window) != menu));
    return window;
}

int HighlightedPosition(HMENU menu) {
    for (int position = 0; position < GetMenuItemCount(menu); ++position) {
        const UINT state = GetMenuState(menu, static_cast<UINT>(position), MF_BYPOSITION);
        if (state != static_cast<UINT>(-1) && (state & MF_HILITE) != 0) return position;
    }
    return -1;
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
    information.cbSize = sizeof(information);
    information.fMask = MIM_STYLE;
    GetMenuInfo(menu_, &information);
    record.style = information.dwStyle;
    GetWindowRect(window_, &record.area);
    record.items = ReadItems(menu_);
    return record;
}

void MenuView::PressKey(WPARAM key) const {
    PostMessageW(owner_, WM_KEYDOWN, key, 0);
    EXPECT_TRUE(WaitUntilSettled(window_));
}

bool MenuView::MoveTo(HMENU menu, int position) const {
    for (int steps = 0; steps <= GetMenuItemCount(menu); ++steps) {
        if (HighlightedPosition(menu) == position) return true;
        PressKey(VK_DOWN);
    }
    return false;
}

void MenuView::Choose(UINT id) const {
    std::vector<int> path;
    if (!FindPath(menu_, id, path)) {
        ADD_FAILURE() << "no item " << id << " in the menu with\n" << NarrowText(Read().Texts());
        return Dismiss();
    }
    bool reached = true;
    HMENU menu = menu_;
    for (const int position : path) {
        reached = reached && MoveTo(menu, position);
        menu = GetSubMenu(menu, position);
        if (reached && menu != nullptr) PressKey(VK_RIGHT);
    }
    if (!reached) {
        ADD_FAILURE() << "item " << id << " could not be reached by the keyboard";
        return Dismiss();
    }
    // The character, because a held Ctrl would make another one of the key.
    PostMessageW(owner_, WM_CHAR, L'\r', 0);
    EXPECT_TRUE(WaitUntilSettled(window_));
}

void MenuView::ChooseByMouse(UINT id) const {
    std::vector<int> path;
    if (!FindPath(menu_, id, path)) {
        ADD_FAILURE() << "no item " << id << " in the menu with\n" << NarrowText(Read().Texts());
        return Dismiss();
    }
    HMENU menu = menu_;
    for (const int position : path) {
        HWND window = nullptr;
        EXPECT_TRUE(WaitUntil("the menu's window", [&] { return (window = WindowOfMenu(menu)) != nullptr; }));
        RECT item = {};
        GetMenuItemRect(window, menu, static_cast<UINT>(position), &item);
        ClickAt({(item.left + item.right) / 2, (item.top + item.bottom) / 2});
        menu = GetSubMenu(menu, position);
    }
    EXPECT_TRUE(WaitUntilSettled(window_));
}

void MenuView::Dismiss() const {
    PostMessageW(owner_, WM_CANCELMODE, 0, 0);
}
