#include "ui/info_box/menu.h"

#include "base/heap_array.h"
#include "ui/clipboard.h"
#include "ui/info_box/refresh.h"
#include "ui/info_box/state.h"

namespace {

// -2 becomes 0x40000002, and so on.
constexpr int32_t kSpecialCommands = 0x40000000;

uint32_t DetachState(bool hasParent, bool attached) noexcept {
    if (!hasParent) return kMenuItemHidden;
    return attached ? kMenuItemUnchecked : kMenuItemChecked;
}

void RunSpecialItem(FlexiInfoState& state, int32_t id, bool checked) noexcept {
    if (id == FIMI_CopyToClipboard) CopyShownText(state);
    if (id == FIMI_ShowRefreshTime) {
        state.showTime = checked;
        ShowCaption(state);
    }
    if (id == FIMI_Detach) EndInfoBox(state, state.owner != nullptr ? kReopenDetached : kReopenAttached);
}

}  // namespace

bool NormalizeMenu(FlexiInfoMenuItem* items, int32_t count, bool hasParent, bool attached) noexcept {
    bool showTime = false;
    for (int32_t i = 0; i < count; ++i) {
        FlexiInfoMenuItem& item = items[i];
        if (item.id == FIMI_CopyToClipboard) item.state = kMenuItemPlain;
        if (item.id == FIMI_Detach) item.state = DetachState(hasParent, attached);
        if (item.id != FIMI_ShowRefreshTime) continue;
        if (item.state == kMenuItemChecked) showTime = true;
        if (item.state != kMenuItemChecked) item.state = kMenuItemUnchecked;
    }
    return showTime;
}

void ShowDetached(FlexiInfoMenuItem* items, int32_t count) noexcept {
    for (int32_t i = 0; i < count; ++i)
        if (items[i].id == FIMI_Detach) items[i].state = kMenuItemChecked;
}

UINT MenuCommandOf(int32_t itemId) noexcept {
    const bool special = itemId >= FIMI_Detach && itemId <= FIMI_CopyToClipboard;
    return static_cast<UINT>(special ? kSpecialCommands - itemId : itemId);
}

int32_t MenuItemIdOf(int32_t command) noexcept {
    const bool special =
        command >= kSpecialCommands - FIMI_CopyToClipboard && command <= kSpecialCommands - FIMI_Detach;
    return special ? kSpecialCommands - command : command;
}

OwnedMenu BuildMenu(const FlexiInfoMenuItem* items, int32_t count) noexcept {
    OwnedMenu menu(CreatePopupMenu());
    if (!menu) return menu;
    for (int32_t i = 0; i < count; ++i) {
        const FlexiInfoMenuItem& item = items[i];
        if (item.state == kMenuItemHidden) continue;
        const UINT check = item.state == kMenuItemChecked ? MF_CHECKED : MF_UNCHECKED;
        const UINT kind = item.id == 0 ? UINT{MF_SEPARATOR} : UINT{MF_STRING} | check;
        AppendMenuW(menu.get(), kind, MenuCommandOf(item.id), item.text);
    }
    return menu;
}

bool ToggleMenuItem(FlexiInfoMenuItem* items, int32_t count, int32_t chosenId) noexcept {
    bool checked = false;
    for (int32_t i = 0; i < count && chosenId != 0; ++i) {
        FlexiInfoMenuItem& item = items[i];
        if (item.id != chosenId || item.state == kMenuItemPlain) continue;
        checked = item.state == kMenuItemUnchecked;
        item.state = checked ? kMenuItemChecked : kMenuItemUnchecked;
    }
    return checked;
}

void TrackInfoBoxMenu(FlexiInfoState& state, POINT screen) noexcept {
    if (state.menuOpen) return;
    const OwnedMenu menu = BuildMenu(state.params.menuItems, state.params.menuItemCount);
    const HWND hwnd = state.hwnd;
    state.menuOpen = true;
    const int command = menu ? TrackPopupMenu(menu.get(), TPM_RETURNCMD | TPM_RIGHTBUTTON, screen.x, screen.y,
                                              0, hwnd, nullptr)
                             : 0;
    const int32_t chosen = MenuItemIdOf(command);
    state.menuOpen = false;
    // The auto-refresh continues while the menu is open, and its callback may close the box.
    if (state.hwnd != hwnd || state.ended) return;
    const bool checked = ToggleMenuItem(state.params.menuItems, state.params.menuItemCount, chosen);
    RunSpecialItem(state, chosen, checked);
    DispatchRefresh(state, kReasonMenu, RefreshText::kShow, chosen, checked);
}

void CopyShownText(const FlexiInfoState& state) noexcept {
    HeapArray<wchar_t> text;
    if (!text.Resize(kMaxCopyChars + 1)) return;
    const int length = static_cast<int>(SendDlgItemMessageW(
        state.hwnd, kInfoBoxTextId, WM_GETTEXT, kMaxCopyChars + 1, reinterpret_cast<LPARAM>(text.data())));
    CopyTextToClipboard(text.data(), length, state.hwnd);
}
