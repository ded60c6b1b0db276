#include "tools/flowpath_stat.h"

#include <iterator>

#include "base/bounded_text.h"
#include "base/time_text.h"
#include "base/xfmt.h"
#include "driver/device_copy.h"
#include "driver/device_info.h"
#include "driver/flowpath_report.h"
#include "driver/vbus.h"
#include "ui/info_box.h"

namespace {

constexpr int32_t kTitleChars = 80;
constexpr uint32_t kTextChars = 4000;
constexpr int32_t kRefreshMs = 500;
constexpr int32_t kFontPoints = 10;
constexpr int32_t kHintSeconds = 5;
constexpr int32_t kThousandSeparatorId = 100;
constexpr int32_t kResetSessionId = 101;
constexpr size_t kSeparatorChars = 9;  // eight at most, and the terminator
constexpr int kLocaleTextChars = 80;

using Separator = wchar_t[kSeparatorChars];

// What one window knows. The device is its own copy, because the page may go while the window is open.
struct FlowpathWatch {
    FlowpathWatch(HDEVINFO deviceSet, SP_DEVINFO_DATA* element) noexcept : device(deviceSet, element) {}

    DeviceCopy device;
    wchar_t deviceName[kFriendlyNameChars] = {};
    FlowpathStat_st previous = {};  // of the last successful refresh
    uint32_t previousTick = 0;
    wchar_t text[kTextChars] = L"to-modify";
    FlexiInfoMenuItem menu[5] = {
        {kThousandSeparatorId, kMenuItemUnchecked, L"Display thousand separator"},
        {FIMI_Detach, kMenuItemPlain, L"Detach infobox from parent"},
        {FIMI_CopyToClipboard, kMenuItemPlain, L"Copy to clipboard"},
        {FIMI_ShowRefreshTime, kMenuItemUnchecked, L"Show last refresh time on title"},
        {kResetSessionId, kMenuItemPlain, L"Reset session Stat"}};
    uint32_t& separatorState = menu[0].state;
};

// Asked for twice a second: a name that fits is read without allocating. Any other goes the general way.
void ReadDeviceName(DeviceCopy& device, wchar_t (&name)[kFriendlyNameChars]) noexcept {
    wchar_t read[kFriendlyNameChars + 1] = {};
    DWORD type = REG_NONE;
    const bool fits = SetupDiGetDeviceRegistryPropertyW(device.set(), device.element(), SPDRP_FRIENDLYNAME,
                                                        &type, reinterpret_cast<BYTE*>(read),
                                                        kFriendlyNameChars * sizeof(wchar_t), nullptr);
    if (fits && type == REG_SZ)
        CopyBounded(name, kFriendlyNameChars, BoundedText(read));
    else if (!GetDeviceFriendlyName(device.set(), device.element(), name))
        name[0] = 0;
}

// What the user asked for, before the driver is.
void ObeyEvent(FlowpathWatch& watch, const FlexiInfoEvent& event) noexcept {
    if (event.reason == kReasonRefreshButton && event.autoChecked != 0)
        watch.separatorState =
            watch.separatorState == kMenuItemChecked ? kMenuItemUnchecked : kMenuItemChecked;
    if (event.reason == kReasonMenu && event.menuItemId == kResetSessionId)
        DoDeviceIoctl(watch.device.set(), watch.device.element(), IOCTL_TAVIX_ResetFlowpathStat, nullptr, 0);
}

// Empty when groups are not wanted or the user's locale has none.
void ChooseSeparator(const FlowpathWatch& watch, Separator& separator) noexcept {
    wchar_t text[kLocaleTextChars] = {};
    if (watch.separatorState != kMenuItemChecked ||
        GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_STHOUSAND, text, kLocaleTextChars) == 0)
        text[0] = 0;
    CopyBounded(separator, kSeparatorChars, BoundedText(text));
}

uint32_t ShowRecord(FlowpathWatch& watch, const FlowpathStat_st& record, uint32_t tick,
                    const Separator& separator, wchar_t* text, int32_t textChars) noexcept {
    const auto elapsedMs = static_cast<int32_t>(tick - watch.previousTick);
    FormatFlowpathReport({watch.deviceName, separator, record, watch.previous, elapsedMs}, text, textChars);
    watch.previous = record;
    watch.previousTick = tick;
    return FindFlowpathImbalance(record).IsNone() ? FIR_NormalIcon : FIR_AlertIcon;
}

uint32_t RefreshFlowpath(void* context, FlexiInfoEvent* event, wchar_t* text, uint32_t textChars) noexcept {
    auto& watch = *static_cast<FlowpathWatch*>(context);
    if (event->reason == kReasonOk || event->reason == kReasonCancel) return FIR_NoChange;
    ObeyEvent(watch, *event);
    const uint32_t tick = time_tick_ms();
    ReadDeviceName(watch.device, watch.deviceName);
    Separator separator;
    ChooseSeparator(watch, separator);
    FlowpathStat_st record = {};
    const DWORD error =
        DeviceQuery(watch.device.set(), watch.device.element(), IOCTL_TAVIX_GetFlowpathStat, record);
    const auto chars = static_cast<int32_t>(textChars);
    if (error == ERROR_SUCCESS) return ShowRecord(watch, record, tick, separator, text, chars);
    FormatFlowpathFailure(error, ReadFlowpathTotals(watch.device.set(), watch.device.element()), separator,
                          text, chars);
    return FIR_AlertIcon;
}

}  // namespace

void ShowFlowpathStat(const ToolHost& host, bool detached) noexcept {
    FlowpathWatch watch(host.deviceSet, host.device);
    ReadDeviceName(watch.device, watch.deviceName);
    wchar_t title[kTitleChars];
    xfmt(title, kTitleChars, L"<%s> Flowpath Statistics", watch.deviceName);

    FlexiInfoParams params = {};
    params.cbSize = sizeof(params);
    params.title = title;
    params.fixedPitch = 1;
    params.refreshProc = RefreshFlowpath;
    params.refreshContext = &watch;
    params.textBufferChars = kTextChars;
    params.autoRefreshAtStart = 1;
    params.autoRefreshMs = kRefreshMs;
    params.startDetached = detached ? 1 : 0;
    params.fontPointSize = kFontPoints;
    params.okText = L"Close";
    params.hintSeconds = kHintSeconds;
    params.menuItems = watch.menu;
    params.menuItemCount = static_cast<int32_t>(std::size(watch.menu));
    FlexiInfoBox(host.page, &params, watch.text);
}
