// Whatever is sent to either interface, the driver goes on answering.
#include <random>
#include <vector>

#include "tests/system/sim_fixture.h"

namespace {

class SimHostile : public SimulatedBusTest {
  protected:
    static FileHandle OpenControl() {
        return FileHandle(CreateFileW(kSimControlPath, GENERIC_READ | GENERIC_WRITE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                      nullptr));
    }

    static bool IsAnswering() {
        DriverVersion_st version;
        return Request(IOCTL_TAVIX_GetDriverVersion, nullptr, 0, &version, sizeof(version)) == ERROR_SUCCESS;
    }

    // Random bytes of the lengths that the requests like, and of others.
    void SendRandomly(const FileHandle& device, const std::vector<uint32_t>& codes, int rounds) {
        constexpr DWORD lengths[] = {0,   1,   2,   3,   4,   8,   12,  32,  80,   180,  256, 264,
                                     292, 400, 408, 432, 444, 456, 480, 672, 1320, 2400, 5000};
        std::vector<uint8_t> input(5000);
        std::vector<uint8_t> output(50000);
        for (int i = 0; i < rounds; ++i) {
            for (uint8_t& byte : input)
                byte = static_cast<uint8_t>(random_() % 4 == 0 ? 0 : random_());
            const uint32_t code = codes[random_() % codes.size()];
            const DWORD inputBytes = lengths[random_() % std::size(lengths)];
            const DWORD outputBytes = random_() % 2 == 0 ? lengths[random_() % std::size(lengths)] : 50000;
            Request(device, code, input.data(), inputBytes, output.data(), outputBytes);
        }
    }

    std::mt19937 random_{20260316};
};

TEST_F(SimHostile, BusSurvivesRandomRequests) {
    Plug();
    std::vector<uint32_t> codes;
    for (uint32_t function = 0xC00; function <= 0xC33; ++function)
        for (const TavixAccess access : {kTavixAnyAccess, kTavixReadAccess, kTavixWriteAccess})
            codes.push_back(TavixControlCode(function, access));
    SendRandomly(OpenBus(), codes, 5000);
    EXPECT_TRUE(IsAnswering());
}

TEST_F(SimHostile, ControlInterfaceSurvivesRandomRequests) {
    Plug();
    std::vector<uint32_t> codes;
    // Without the ones that close the bus, hold its requests or write files and links of a random name.
    for (uint32_t function = 0x800; function <= 0x816; ++function)
        if (function != 0x810 && function != 0x811) codes.push_back(SimControlCode(function));
    SendRandomly(OpenControl(), codes, 5000);
    ASSERT_EQ(driver_.Reset(), ERROR_SUCCESS);
    EXPECT_TRUE(IsAnswering());
}

TEST_F(SimHostile, TextsWithoutTerminatorAreCut) {
    SimPlug_st plug;
    for (auto* text : {plug.instanceId})
        std::fill_n(text, kSimIdChars, L'A');
    std::fill_n(plug.huid, kSimHuidChars, L'B');
    std::fill_n(plug.manufacturer, kUsbStringChars, L'C');
    std::fill_n(plug.product, kUsbStringChars, L'D');
    std::fill_n(plug.serialNumber, kUsbStringChars, L'E');
    plug.portNumber = 200;
    plug.lifemode = 1;
    plug.withoutVcom = 1;
    const FileHandle control = OpenControl();
    ASSERT_EQ(Request(control, kSimPlug, &plug, sizeof(plug), nullptr, 0), ERROR_SUCCESS);
    std::vector<SimDeviceState_st> devices;
    ASSERT_EQ(driver_.ListDevices(devices), ERROR_SUCCESS);
    ASSERT_EQ(devices.size(), 1u);
    EXPECT_EQ(wcsnlen(devices[0].instanceId, kSimIdChars), kSimIdChars - 1);
    EXPECT_EQ(wcsnlen(devices[0].huid, kSimHuidChars), kSimHuidChars - 1);
}

TEST_F(SimHostile, ManyDevicesComeAndGo) {
    for (int round = 0; round < 20; ++round) {
        UsbIdentity identity;
        for (int i = 0; i < 8; ++i) {
            identity.serial = L"H" + std::to_wstring(i);
            ASSERT_EQ(driver_.Plug(identity), ERROR_SUCCESS);
        }
        for (int i = 0; i < 8; ++i)
            ASSERT_EQ(driver_.Forget(L"USB\\VID_1234&PID_5678\\H" + std::to_wstring(i)), ERROR_SUCCESS);
    }
    EXPECT_TRUE(IsAnswering());
}

TEST_F(SimHostile, OpenPortMayLoseItsVcom) {
    for (int round = 0; round < 5; ++round) {
        const SimDeviceState_st device = Plug();
        const std::wstring path = std::wstring(L"\\\\.\\") + device.portName;
        FileHandle port(
            CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        ASSERT_TRUE(port);
        ASSERT_EQ(driver_.Forget(device.instanceId), ERROR_SUCCESS);
        ASSERT_FALSE(driver_.FindDevice(device.instanceId));
        DWORD written = 0;
        WriteFile(port.get(), "x", 1, &written, nullptr);
        port.reset();
        EXPECT_TRUE(IsAnswering());
    }
}

}  // namespace
