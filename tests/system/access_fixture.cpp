#include "tests/system/access_fixture.h"

#include "driver/vbus.h"

namespace {

constexpr GUID kUsbClass = {0x36FC9E60, 0xC465, 0x11CF, {0x80, 0x56, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}};

SP_DEVINFO_DATA EmptyElement() {
    SP_DEVINFO_DATA element = {};
    element.cbSize = sizeof(element);
    return element;
}

DeviceInfoList EmptySet() {
    return DeviceInfoList(SetupDiCreateDeviceInfoList(nullptr, nullptr));
}

}  // namespace

DeviceNode::DeviceNode(const std::wstring& instanceId) : set_(EmptySet()), device_(EmptyElement()) {
    if (instanceId.empty()) return;
    exists_ = SetupDiOpenDeviceInfoW(set_.get(), instanceId.c_str(), nullptr, 0, &device_) != FALSE;
}

void DeviceNode::StoreValue(const wchar_t* name, DWORD type, const void* data, size_t dataBytes) {
    const RegistryKey key(
        SetupDiCreateDevRegKeyW(set(), device(), DICS_FLAG_GLOBAL, 0, DIREG_DEV, nullptr, nullptr));
    ASSERT_EQ(RegSetValueExW(key.get(), name, 0, type, static_cast<const BYTE*>(data),
                             static_cast<DWORD>(dataBytes)),
              ERROR_SUCCESS);
}

void DeviceNode::DeleteValue(const wchar_t* name) {
    const RegistryKey key(
        SetupDiCreateDevRegKeyW(set(), device(), DICS_FLAG_GLOBAL, 0, DIREG_DEV, nullptr, nullptr));
    RegDeleteValueW(key.get(), name);
}

void DeviceNode::SetTextProperty(DWORD property, const std::wstring& text) {
    ASSERT_TRUE(SetupDiSetDeviceRegistryPropertyW(set(), device(), property,
                                                  reinterpret_cast<const BYTE*>(text.c_str()),
                                                  static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))))
        << GetLastError();
}

ScratchNode::ScratchNode(const std::wstring& instanceId) : instanceId_(instanceId) {
    const DeviceInfoList set = EmptySet();
    SP_DEVINFO_DATA element = EmptyElement();
    SetupDiCreateDeviceInfoW(set.get(), instanceId.c_str(), &kUsbClass, L"Access test device", nullptr, 0,
                             &element);
    EXPECT_TRUE(SetupDiRegisterDeviceInfo(set.get(), &element, 0, nullptr, nullptr, nullptr))
        << "device node not made, error " << GetLastError();
}

ScratchNode::~ScratchNode() {
    DeviceNode node(instanceId_);
    EXPECT_TRUE(node.exists() && SetupDiRemoveDevice(node.set(), node.device()))
        << "device node not removed, error " << GetLastError();
}

DriverAccessTest::DriverAccessTest() : usbdNode_(UsbdId()), usbd_(UsbdId()) {}

void DriverAccessTest::SetUp() {
    SimulatedBusTest::SetUp();
    SetVbusReadOnly(false);
    Plug(Identity(), {.huid = kHuid});
    vcom_ = DeviceNode(VcomId());
    ASSERT_TRUE(usbd_.exists());
    ASSERT_TRUE(vcom_.exists());
    ASSERT_EQ(driver_.ClearRequests(), ERROR_SUCCESS);
}

void DriverAccessTest::TearDown() {
    SetVbusReadOnly(false);
    SimulatedBusTest::TearDown();
}

void DriverAccessTest::TearDownTestSuite() {
    DeviceNode vcom(VcomId());
    if (vcom.exists()) SetupDiRemoveDevice(vcom.set(), vcom.device());
}

UsbIdentity DriverAccessTest::Identity() {
    UsbIdentity identity;
    identity.serial = L"ACCESS";
    return identity;
}

std::vector<uint8_t> DriverAccessTest::NameBytes(std::wstring_view name) {
    return BytesOfRecord(DeviceNameFromText(name));
}

void DriverAccessTest::ExpectRequests(const std::vector<ExpectedRequest>& expected) {
    std::vector<LoggedRequest> requests;
    ASSERT_EQ(driver_.ReadRequests(requests), ERROR_SUCCESS);
    ASSERT_EQ(driver_.ClearRequests(), ERROR_SUCCESS);
    EXPECT_EQ(requests.size(), expected.size());
    for (size_t i = 0; i < std::min(requests.size(), expected.size()); ++i) {
        SCOPED_TRACE("request " + std::to_string(i));
        EXPECT_EQ(requests[i].record.code, expected[i].code);
        EXPECT_EQ(requests[i].input, expected[i].input);
        EXPECT_EQ(requests[i].record.outputBytes, expected[i].outputBytes);
    }
}

void DriverAccessTest::RemoveBus() {
    const SimAccess_st access = {.busAbsent = 1};
    ASSERT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
}
