#include "tools/tools_menu_rows.h"

#include "driver/protocol.h"
#include "resources/resource_ids.h"

namespace {

constexpr MenuRow kSeparator = {0, nullptr};

constexpr MenuRow kDeviceStates[] = {
    {IDM_DEVICE_STATE_NO + kWdfStateDisabled, L"Disabled = no"},
    {IDM_DEVICE_STATE_YES + kWdfStateDisabled, L"Disabled = yes"},
    {IDM_DEVICE_STATE_NO + kWdfStateHideInDeviceManager, L"Hide in Devmgmt = no"},
    {IDM_DEVICE_STATE_YES + kWdfStateHideInDeviceManager, L"Hide in Devmgmt = yes"},
    {IDM_DEVICE_STATE_NO + kWdfStateMarkFail, L"Mark fail = no"},
    {IDM_DEVICE_STATE_YES + kWdfStateMarkFail, L"Mark fail = yes"},
    {IDM_DEVICE_STATE_NO + kWdfStateCannotDisable, L"Cannot disable = no"},
    {IDM_DEVICE_STATE_YES + kWdfStateCannotDisable, L"Cannot disable = yes"},
    {IDM_DEVICE_STATE_NO + kWdfStateRemoved, L"Removed = no"},
    {IDM_DEVICE_STATE_YES + kWdfStateRemoved, L"Removed = yes"},
    // The driver has no such state; these two do nothing.
    {IDM_DEVICE_STATE_NO + kWdfStateRemoved + 1, L"Resource changed = no"},
    {IDM_DEVICE_STATE_YES + kWdfStateRemoved + 1, L"Resource changed = yes"},
};

class RowList {
  public:
    explicit RowList(MenuRow (&storage)[kToolsMenuRows]) noexcept : storage_(storage) {}
    void Add(const MenuRow& row) noexcept { storage_[count_++] = row; }
    std::span<const MenuRow> rows() const noexcept { return {storage_, count_}; }

  private:
    MenuRow* storage_;
    size_t count_ = 0;
};

void AddUserRows(const ToolsMenuLook& look, RowList& list) noexcept {
    if (look.terminalInstalled) list.Add({IDM_TOOLS_TERMINAL, L"Pu&TTY", IDI_TERMINAL});
    list.Add({IDM_TOOLS_FLOWPATH_STAT, L"&Flowpath stat"});
    list.Add({IDM_TOOLS_USB_PROPERTY, L"&USB device property"});
    list.Add(kSeparator);
    if (look.guideOffered) list.Add({IDM_TOOLS_USER_GUIDE, L"User &guide", IDI_USER_GUIDE});
    list.Add({IDM_TOOLS_ABOUT, L"&About TAVIX", look.aboutHasIcon ? WORD{IDI_TAVIX_SMALL} : WORD{0}});
}

void AddDeveloperRows(const ToolsMenuLook& look, RowList& list) noexcept {
    list.Add(kSeparator);
    list.Add({IDM_TOOLS_USB_TWEAK, L"Tweak your USB device", IDI_USB_TWEAK});
    list.Add({IDM_TOOLS_IRP_STATES, L"Examine IRP states", IDI_IRP_STATES});
    list.Add(look.timerRunning ? MenuRow{IDM_TOOLS_STOP_TIMER, L"Stop VcomUI timer"}
                               : MenuRow{IDM_TOOLS_START_TIMER, L"Start VcomUI timer"});
    list.Add({IDM_TOOLS_DESTROY_HISTORY, L"Destroy Flowpath Stat History"});
    list.Add({IDM_TOOLS_DANGLE_VCOM, L"Create a dangle VCOM"});
    list.Add(look.blindRunActive ? MenuRow{IDM_TOOLS_STOP_BLIND_RUN, L"Stop USB blind run"}
                                 : MenuRow{IDM_TOOLS_START_BLIND_RUN, L"Start USB blind run"});
    list.Add({0, L"VCOM WdfDeviceSetDeviceState", 0, kDeviceStates});
}

}  // namespace

std::span<const MenuRow> FillToolsMenu(const ToolsMenuLook& look,
                                       MenuRow (&storage)[kToolsMenuRows]) noexcept {
    RowList list(storage);
    AddUserRows(look, list);
    if (look.developer) AddDeveloperRows(look, list);
    return list.rows();
}

bool DeviceStateOf(UINT command, uint32_t& stateIndex, uint32_t& value) noexcept {
    for (const uint32_t yes : {0u, 1u}) {
        const UINT first = yes != 0 ? IDM_DEVICE_STATE_YES : IDM_DEVICE_STATE_NO;
        if (command < first || command > first + kWdfStateRemoved) continue;
        stateIndex = command - first;
        value = yes;
        return true;
    }
    return false;
}
