#include "installer/device_kind.h"

#include <array>
#include <cstddef>

#include <shlwapi.h>

namespace {

constexpr DWORD kInstanceIdChars = 260;
constexpr size_t kServiceNameChars = 40;
constexpr wchar_t kServiceName[] = L"Qrv_tavix";

bool BeginsWith(const wchar_t* text, const wchar_t* pattern) noexcept {
    return StrStrIW(text, pattern) == text;
}

// Independent of the user's locale, in which an i need not be the lower case of I.
constexpr wchar_t AsciiLower(wchar_t c) noexcept {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

bool EqualsIgnoringAsciiCase(const wchar_t* left, const wchar_t* right) noexcept {
    while (*left != L'\0' && AsciiLower(*left) == AsciiLower(*right)) {
        ++left;
        ++right;
    }
    return AsciiLower(*left) == AsciiLower(*right);
}

bool HasOurService(HDEVINFO deviceInfoSet, SP_DEVINFO_DATA* deviceInfoData) noexcept {
    // The registry may hold a name without a terminator that fills all that is asked for; one more character
    // ends it.
    wchar_t service[kServiceNameChars + 1] = {};
    if (!SetupDiGetDeviceRegistryPropertyW(deviceInfoSet, deviceInfoData, SPDRP_SERVICE, nullptr,
                                           reinterpret_cast<BYTE*>(service),
                                           kServiceNameChars * sizeof(wchar_t), nullptr))
        return false;
    return EqualsIgnoringAsciiCase(service, kServiceName);
}

struct KindRule {
    const wchar_t* prefix;
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
    wchar_t id[kInstanceIdChars + 1] = {};
    if (!SetupDiGetDeviceInstanceIdW(deviceInfoSet, deviceInfoData, id, kInstanceIdChars, nullptr))
        return DeviceKind::Unkn;
    id[kInstanceIdChars] = L'\0';
    CharUpperBuffW(id, static_cast<DWORD>(lstrlenW(id)));
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
