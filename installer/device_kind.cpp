#include "installer/device_kind.h"

#include <array>
#include <cstddef>
#include <string_view>

#include "base/bounded_text.h"

namespace {

constexpr DWORD kInstanceIdChars = 260;
constexpr size_t kServiceNameChars = 40;
constexpr std::wstring_view kServiceName = L"Qrv_tavix";

// Comparing as ASCII is independent of the user's locale, in which an i need not be the lower case of I.
bool BeginsWith(std::wstring_view text, std::wstring_view pattern) noexcept {
    return EqualsIgnoringCase(text.substr(0, pattern.size()), pattern);
}

bool HasOurService(HDEVINFO deviceInfoSet, SP_DEVINFO_DATA* deviceInfoData) noexcept {
    wchar_t service[kServiceNameChars] = {};
    if (!SetupDiGetDeviceRegistryPropertyW(deviceInfoSet, deviceInfoData, SPDRP_SERVICE, nullptr,
                                           reinterpret_cast<BYTE*>(service), sizeof(service), nullptr))
        return false;
    // The registry may hold a name without a terminator.
    return EqualsIgnoringCase(BoundedText(service), kServiceName);
}

struct KindRule {
    std::wstring_view prefix;
    DeviceKind kind;
    bool needsOurService;  // without it the node is none of ours, whatever rules follow
};

// The first rule whose prefix matches decides.
constexpr KindRule kRules[] = {
    {L"QRV_VBUS\\Qrv_vcom", DeviceKind::Vcom, false},
    {L"ROOT\\QRV_VBUS", DeviceKind::Vbus, false},
    {L"ROOT\\SYSTEM\\", DeviceKind::Vbus, true},
    {L"USB\\", DeviceKind::Usbd, false},
};

constexpr const wchar_t* kNoName = L"?????";
constexpr std::array<const wchar_t*, 40> kDifNames = {
    kNoName,
    L"DIF_SELECTDEVICE",
    L"DIF_INSTALLDEVICE",
    L"DIF_ASSIGNRESOURCES",
    L"DIF_PROPERTIES",
    L"DIF_REMOVE",
    L"DIF_FIRSTTIMESETUP",
    L"DIF_FOUNDDEVICE",
    L"DIF_SELECTCLASSDRIVERS",
    L"DIF_VALIDATECLASSDRIVERS",
    L"DIF_INSTALLCLASSDRIVERS",
    L"DIF_CALCDISKSPACE",
    L"DIF_DESTROYPRIVATEDATA",
    L"DIF_VALIDATEDRIVER",
    L"DIF_MOVEDEVICE",
    L"DIF_DETECT",
    L"DIF_INSTALLWIZARD",
    L"DIF_DESTROYWIZARDDATA",
    L"DIF_PROPERTYCHANGE",
    L"DIF_ENABLECLASS",
    L"DIF_DETECTVERIFY",
    L"DIF_INSTALLDEVICEFILES",
    kNoName,
    L"DIF_SELECTBESTCOMPATDRV",
    L"DIF_ALLOW_INSTALL",
    L"DIF_REGISTERDEVICE",
    L"DIF_NEWDEVICEWIZARD_PRESELECT",
    L"DIF_NEWDEVICEWIZARD_SELECT",
    L"DIF_NEWDEVICEWIZARD_PREANALYZE",
    L"DIF_NEWDEVICEWIZARD_POSTANALYZE",
    L"DIF_NEWDEVICEWIZARD_FINISHINSTALL",
    kNoName,
    L"DIF_INSTALLINTERFACES",
    L"DIF_DETECTCANCEL",
    L"DIF_REGISTER_COINSTALLERS",
    L"DIF_ADDPROPERTYPAGE_ADVANCED",
    L"DIF_ADDPROPERTYPAGE_BASIC",
    kNoName,
    L"DIF_TROUBLESHOOTER",
    L"DIF_POWERMESSAGEWAKE",
};
static_assert(kDifNames.size() == DIF_POWERMESSAGEWAKE + 1);

}  // namespace

DeviceKind ClassifyDevice(HDEVINFO deviceInfoSet, SP_DEVINFO_DATA* deviceInfoData) noexcept {
    wchar_t buffer[kInstanceIdChars] = {};
    if (!SetupDiGetDeviceInstanceIdW(deviceInfoSet, deviceInfoData, buffer, kInstanceIdChars, nullptr))
        return DeviceKind::Unkn;
    const std::wstring_view id = BoundedText(buffer);
    CharUpperBuffW(buffer, static_cast<DWORD>(id.size()));
    for (const KindRule& rule : kRules) {
        if (!BeginsWith(id, rule.prefix)) continue;
        if (rule.needsOurService && !HasOurService(deviceInfoSet, deviceInfoData)) return DeviceKind::Unkn;
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

const wchar_t* DifName(DI_FUNCTION installFunction) noexcept {
    return installFunction < kDifNames.size() ? kDifNames[installFunction] : kNoName;
}
