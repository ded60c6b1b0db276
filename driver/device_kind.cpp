#include "driver/device_kind.h"

#include <cstddef>
#include <string_view>

#include "base/bounded_text.h"

namespace {

constexpr DWORD kInstanceIdChars = 260;
constexpr size_t kServiceNameChars = 40;
constexpr std::wstring_view kServiceName = L"Qrv_tavix";

bool HasOurService(HDEVINFO deviceSet, SP_DEVINFO_DATA* device) noexcept {
    wchar_t service[kServiceNameChars] = {};
    if (!SetupDiGetDeviceRegistryPropertyW(deviceSet, device, SPDRP_SERVICE, nullptr,
                                           reinterpret_cast<BYTE*>(service), sizeof(service), nullptr))
        return false;
    // The registry may hold a name without a terminator.
    return EqualsIgnoringCase(BoundedText(service), kServiceName);
}

struct KindRule {
    std::wstring_view prefix;
    DeviceKind kind;
    bool needsOurService;  // without it the node is not ours, whatever rules follow
};

// The first rule whose prefix matches decides.
constexpr KindRule kRules[] = {
    {L"QRV_VBUS\\Qrv_vcom", DeviceKind::Vcom, false},
    {L"ROOT\\QRV_VBUS", DeviceKind::Vbus, false},
    {L"ROOT\\SYSTEM\\", DeviceKind::Vbus, true},
    {L"USB\\", DeviceKind::Usbd, false},
};

}  // namespace

DeviceKind ClassifyDevice(HDEVINFO deviceSet, SP_DEVINFO_DATA* device) noexcept {
    wchar_t buffer[kInstanceIdChars] = {};
    if (!SetupDiGetDeviceInstanceIdW(deviceSet, device, buffer, kInstanceIdChars, nullptr))
        return DeviceKind::Unkn;
    const std::wstring_view id = BoundedText(buffer);
    CharUpperBuffW(buffer, static_cast<DWORD>(id.size()));
    for (const KindRule& rule : kRules) {
        // As ASCII: in the user's locale, i may not be the lower case of I.
        if (!BeginsIgnoringCase(id, rule.prefix)) continue;
        if (rule.needsOurService && !HasOurService(deviceSet, device)) return DeviceKind::Unkn;
        return rule.kind;
    }
    return DeviceKind::Unkn;
}

const wchar_t* DeviceKindLabel(DeviceKind kind) noexcept {
    switch (kind) {
        case DeviceKind::Unkn:
            break;
        case DeviceKind::Usbd:
            return L"Usbd";
        case DeviceKind::Vcom:
            return L"Vcom";
        case DeviceKind::Vbus:
            return L"Vbus";
    }
    return L"Unkn";
}
