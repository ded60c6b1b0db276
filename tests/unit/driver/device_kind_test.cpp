#include "driver/device_kind.h"

#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <ostream>
#include <string>

#include "tests/support/import_redirect.h"

namespace {

const auto kSet = reinterpret_cast<HDEVINFO>(0x77);

// One node of which the test chooses the instance ID and the service name; none: it cannot be read.
class FakeNode {
  public:
    std::optional<std::wstring> instanceId;
    std::optional<std::wstring> service;
    int serviceReads = 0;

    DeviceKind Classify() { return ClassifyDevice(kSet, &element_); }

  private:
    SP_DEVINFO_DATA element_ = {sizeof(SP_DEVINFO_DATA)};

    ReplacedCall<SetupDiGetDeviceInstanceIdW> instanceIdCall_{
        "SetupDiGetDeviceInstanceIdW",
        [this](HDEVINFO set, SP_DEVINFO_DATA* element, wchar_t* id, DWORD chars, DWORD*) {
            EXPECT_EQ(set, kSet);
            EXPECT_EQ(element, &element_);
            EXPECT_EQ(chars, DWORD{260});
            if (!instanceId || instanceId->size() > chars) {
                SetLastError(ERROR_INSUFFICIENT_BUFFER);
                return FALSE;
            }
            // An ID that fills the buffer comes without a terminator.
            std::memcpy(id, instanceId->data(), instanceId->size() * sizeof(wchar_t));
            return TRUE;
        }};
    ReplacedCall<SetupDiGetDeviceRegistryPropertyW> propertyCall_{
        "SetupDiGetDeviceRegistryPropertyW",
        [this](HDEVINFO, SP_DEVINFO_DATA*, DWORD property, DWORD*, BYTE* buffer, DWORD bytes, DWORD*) {
            ++serviceReads;
            EXPECT_EQ(property, DWORD{SPDRP_SERVICE});
            EXPECT_EQ(bytes, DWORD{80});
            const DWORD needed = service ? static_cast<DWORD>(service->size() * sizeof(wchar_t)) : 0;
            if (!service || needed > bytes) {
                SetLastError(ERROR_INSUFFICIENT_BUFFER);
                return FALSE;
            }
            std::memcpy(buffer, service->data(), needed);
            return TRUE;
        }};
};

struct KindRow {
    const char* name;
    const wchar_t* instanceId;
    const wchar_t* service;  // null: cannot be read
    DeviceKind kind;
};
void PrintTo(const KindRow& row, std::ostream* out) {
    *out << row.name;
}

class DeviceKindTest : public testing::TestWithParam<KindRow> {};

TEST_P(DeviceKindTest, FollowsFromTheInstanceIdAndTheService) {
    FakeNode node;
    node.instanceId = GetParam().instanceId;
    if (GetParam().service != nullptr) node.service = GetParam().service;
    EXPECT_EQ(node.Classify(), GetParam().kind);
}

constexpr KindRow kKindRows[] = {
    {"UsbDevice", L"USB\\VID_1234&PID_5678\\SN01", nullptr, DeviceKind::Usbd},
    {"UsbDeviceInLowerCase", L"usb\\vid_1234&pid_5678\\x", nullptr, DeviceKind::Usbd},
    {"UsbPrefixAlone", L"USB\\", nullptr, DeviceKind::Usbd},
    {"UsbPrefixLaterInTheId", L"ACPI\\USB\\X", nullptr, DeviceKind::Unkn},
    {"UsbWithoutBackslash", L"USBSTOR\\DISK", nullptr, DeviceKind::Unkn},
    {"Vcom", L"QRV_VBUS\\Qrv_vcom\\1&2", nullptr, DeviceKind::Vcom},
    {"VcomInUpperCase", L"QRV_VBUS\\QRV_VCOM\\1&2", nullptr, DeviceKind::Vcom},
    {"VcomInLowerCase", L"qrv_vbus\\qrv_vcom", nullptr, DeviceKind::Vcom},
    {"OtherChildOfTheBus", L"QRV_VBUS\\Qrv_pipe\\1", nullptr, DeviceKind::Unkn},
    {"Vbus", L"ROOT\\QRV_VBUS\\0000", nullptr, DeviceKind::Vbus},
    {"VbusInLowerCase", L"root\\qrv_vbus\\0001", nullptr, DeviceKind::Vbus},
    {"SystemNodeWithOurService", L"ROOT\\SYSTEM\\0001", L"Qrv_tavix", DeviceKind::Vbus},
    {"SystemNodeWithOurServiceInUpperCase", L"ROOT\\SYSTEM\\0001", L"QRV_TAVIX", DeviceKind::Vbus},
    {"SystemNodeInLowerCase", L"root\\system\\0001", L"qrv_tavix", DeviceKind::Vbus},
    {"SystemNodeWithAnotherService", L"ROOT\\SYSTEM\\0001", L"umbus", DeviceKind::Unkn},
    {"SystemNodeWhoseServiceBeginsAsOurs", L"ROOT\\SYSTEM\\0001", L"Qrv_tavix2", DeviceKind::Unkn},
    {"SystemNodeWhoseServiceIsTheBeginningOfOurs", L"ROOT\\SYSTEM\\0001", L"Qrv_tavi", DeviceKind::Unkn},
    {"SystemNodeWithoutAService", L"ROOT\\SYSTEM\\0001", L"", DeviceKind::Unkn},
    {"SystemNodeWhoseServiceIsUnreadable", L"ROOT\\SYSTEM\\0001", nullptr, DeviceKind::Unkn},
    // Compared as ASCII: this dotless letter is an i to some users' rules.
    {"SystemNodeWithASimilarLetter", L"ROOT\\SYSTEM\\0001", L"Qrv_tav\u0131x", DeviceKind::Unkn},
    {"SystemNodeThatLooksLikeAUsbDevice", L"ROOT\\SYSTEM\\USB\\VID_1234", L"umbus", DeviceKind::Unkn},
    {"OtherRootNode", L"ROOT\\SYSTEMX\\0001", L"Qrv_tavix", DeviceKind::Unkn},
    {"EmptyId", L"", nullptr, DeviceKind::Unkn},
};
INSTANTIATE_TEST_SUITE_P(Rules, DeviceKindTest, testing::ValuesIn(kKindRows),
                         [](const auto& row) { return row.param.name; });

TEST(DeviceKind, AnUnreadableInstanceIdIsUnknown) {
    FakeNode node;
    EXPECT_EQ(node.Classify(), DeviceKind::Unkn);
}

TEST(DeviceKind, AnOverLongInstanceIdIsUnknown) {
    FakeNode node;
    node.instanceId = L"USB\\" + std::wstring(300, L'A');
    EXPECT_EQ(node.Classify(), DeviceKind::Unkn);
}

TEST(DeviceKind, AnIdWithoutATerminatorIsReadToTheBuffersEnd) {
    FakeNode node;
    node.instanceId = L"USB\\" + std::wstring(256, L'A');
    ASSERT_EQ(node.instanceId->size(), 260u);
    EXPECT_EQ(node.Classify(), DeviceKind::Usbd);
}

TEST(DeviceKind, AnOverLongServiceNameIsNotOurs) {
    FakeNode node;
    node.instanceId = L"ROOT\\SYSTEM\\0000";
    node.service = L"Qrv_tavix" + std::wstring(1, L'\0') + std::wstring(40, L'x');
    EXPECT_EQ(node.Classify(), DeviceKind::Unkn);
}

TEST(DeviceKind, AServiceNameWithoutATerminatorIsReadToTheBuffersEnd) {
    FakeNode node;
    node.instanceId = L"ROOT\\SYSTEM\\0000";
    node.service = std::wstring(40, L'x');
    EXPECT_EQ(node.Classify(), DeviceKind::Unkn);
}

TEST(DeviceKind, OurServiceNameWithoutATerminatorIsOurs) {
    FakeNode node;
    node.instanceId = L"ROOT\\SYSTEM\\0000";
    node.service = L"qrv_TAVIX";  // without its NUL, as any program may store it
    EXPECT_EQ(node.Classify(), DeviceKind::Vbus);
}

TEST(DeviceKind, TheServiceIsAskedForRootSystemNodesOnly) {
    FakeNode node;
    node.service = L"Qrv_tavix";
    for (const wchar_t* id : {L"ACPI\\X", L"USB\\X", L"ROOT\\QRV_VBUS\\0000", L"QRV_VBUS\\Qrv_vcom\\1"}) {
        node.instanceId = id;
        node.Classify();
    }
    EXPECT_EQ(node.serviceReads, 0);
}

TEST(DeviceKind, ARealListWithoutAnElementIsUnknown) {
    const HDEVINFO list = SetupDiCreateDeviceInfoList(nullptr, nullptr);
    EXPECT_EQ(ClassifyDevice(list, nullptr), DeviceKind::Unkn);
    SetupDiDestroyDeviceInfoList(list);
    EXPECT_EQ(ClassifyDevice(nullptr, nullptr), DeviceKind::Unkn);
    EXPECT_EQ(ClassifyDevice(INVALID_HANDLE_VALUE, nullptr), DeviceKind::Unkn);
}

TEST(DeviceKindLabel, HasFourLetters) {
    EXPECT_STREQ(DeviceKindLabel(DeviceKind::Unkn), L"Unkn");
    EXPECT_STREQ(DeviceKindLabel(DeviceKind::Usbd), L"Usbd");
    EXPECT_STREQ(DeviceKindLabel(DeviceKind::Vcom), L"Vcom");
    EXPECT_STREQ(DeviceKindLabel(DeviceKind::Vbus), L"Vbus");
}

}  // namespace
