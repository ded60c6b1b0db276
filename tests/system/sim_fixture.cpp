#include "tests/system/sim_fixture.h"

#include <algorithm>
#include <cstring>

#include <setupapi.h>

#include "sim/client/refused_open.h"

namespace {

class InstalledBus : public testing::Environment {
  public:
    void SetUp() override {
        wasThere_ = NodeExists(L"ROOT\\QRV_VBUS\\0000");
        ASSERT_EQ(InstallPackage(TAVIX_PACKAGE_DIR), ERROR_SUCCESS);
        ASSERT_EQ(InstallVbus(), ERROR_SUCCESS);
    }
    void TearDown() override {
        if (!wasThere_) RemoveVbus();
    }

  private:
    bool wasThere_ = false;
};

[[maybe_unused]] const testing::Environment* const g_environment =
    testing::AddGlobalTestEnvironment(new InstalledBus);

GUID BusInterfaceClass() {
    GUID guid;
    std::memcpy(&guid, &kVbusInterfaceClass, sizeof(guid));
    return guid;
}

std::wstring BusInterfacePath() {
    const GUID guid = BusInterfaceClass();
    const DeviceInfoList list(
        SetupDiGetClassDevsW(&guid, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE));
    SP_DEVICE_INTERFACE_DATA element = {};
    element.cbSize = sizeof(element);
    if (!SetupDiEnumDeviceInterfaces(list.get(), nullptr, &guid, 0, &element)) return {};
    alignas(SP_DEVICE_INTERFACE_DETAIL_DATA_W) BYTE buffer[1000];
    auto* detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(buffer);
    detail->cbSize = sizeof(*detail);
    if (!SetupDiGetDeviceInterfaceDetailW(list.get(), &element, detail, sizeof(buffer), nullptr, nullptr))
        return {};
    return detail->DevicePath;
}

}  // namespace

void SimulatedBusTest::SetUp() {
    ASSERT_EQ(driver_.Connect(5000), ERROR_SUCCESS);
    ASSERT_EQ(driver_.Reset(), ERROR_SUCCESS);
}

void SimulatedBusTest::TearDown() {
    if (driver_.IsConnected()) {
        EXPECT_EQ(driver_.Reset(), ERROR_SUCCESS);
    }
}

FileHandle SimulatedBusTest::OpenBus(DWORD access) {
    const std::wstring path = BusInterfacePath();
    if (path.empty()) {
        SetLastError(ERROR_NOT_READY);
        return FileHandle();
    }
    return FileHandle(CreateFileHearingRefusal(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                               nullptr, OPEN_EXISTING, 0, nullptr));
}

DWORD SimulatedBusTest::Request(const FileHandle& bus, uint32_t code, const void* input, DWORD inputBytes,
                                void* output, DWORD outputBytes, DWORD* returnedBytes) {
    DWORD returned = 0;
    const BOOL done = DeviceIoControl(bus.get(), code, const_cast<void*>(input), inputBytes, output,
                                      outputBytes, &returned, nullptr);
    if (returnedBytes != nullptr) *returnedBytes = returned;
    return done ? ERROR_SUCCESS : GetLastError();
}

DWORD SimulatedBusTest::Request(uint32_t code, const void* input, DWORD inputBytes, void* output,
                                DWORD outputBytes, DWORD* returnedBytes) {
    const FileHandle bus = OpenBus();
    if (!bus) return GetLastError();
    return Request(bus, code, input, inputBytes, output, outputBytes, returnedBytes);
}

DeviceName_st SimulatedBusTest::Name(std::wstring_view text) {
    DeviceName_st name = {};
    std::copy_n(text.data(), std::min(text.size(), kDeviceNameChars), name.chars);
    return name;
}

SimDeviceState_st SimulatedBusTest::Plug(const UsbIdentity& identity, const PlugOptions& options) {
    EXPECT_EQ(driver_.Plug(identity, options), ERROR_SUCCESS);
    if (!options.withoutVcom) {
        EXPECT_EQ(driver_.WaitForVcom(identity.InstanceId()), ERROR_SUCCESS);
    }
    return driver_.FindDevice(identity.InstanceId()).value_or(SimDeviceState_st{});
}
