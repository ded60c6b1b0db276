// The product's driver access against the simulated driver: one USB device with its VCOM, both with real
// device nodes, and the log of the requests that the driver received.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/win32_handle.h"
#include "base/windows_api.h"

#include <setupapi.h>

#include "tests/system/sim_fixture.h"

// A device node as the product is given it: a set and one element of it.
class DeviceNode {
  public:
    explicit DeviceNode(const std::wstring& instanceId);

    bool exists() const { return exists_; }
    HDEVINFO set() const { return set_.get(); }
    SP_DEVINFO_DATA* device() { return &device_; }

    // In the hardware key.
    void StoreValue(const wchar_t* name, DWORD type, const void* data, size_t dataBytes);
    void DeleteValue(const wchar_t* name);
    void SetTextProperty(DWORD property, const std::wstring& text);

  private:
    DeviceInfoList set_;
    SP_DEVINFO_DATA device_ = {};
    bool exists_ = false;
};

// A device node without a driver. Gone with the object.
class ScratchNode {
  public:
    explicit ScratchNode(const std::wstring& instanceId);
    ~ScratchNode();
    ScratchNode(const ScratchNode&) = delete;
    ScratchNode& operator=(const ScratchNode&) = delete;

  private:
    std::wstring instanceId_;
};

struct ExpectedRequest {
    uint32_t code;
    std::vector<uint8_t> input;
    uint32_t outputBytes;
};

template <typename Record>
std::vector<uint8_t> BytesOfRecord(const Record& record) {
    const uint8_t* start = reinterpret_cast<const uint8_t*>(&record);
    return {start, start + sizeof(record)};
}

class DriverAccessTest : public SimulatedBusTest {
  protected:
    static constexpr wchar_t kHuid[] = L"7&AC";
    static constexpr wchar_t kVcomTail[] = L"QRV_VCOM\\7&AC";
    static constexpr wchar_t kUsbdTail[] = L"VID_1234&PID_5678\\ACCESS";

    DriverAccessTest();
    void SetUp() override;
    void TearDown() override;
    static void TearDownTestSuite();

    static std::wstring UsbdId() { return L"USB\\" + std::wstring(kUsbdTail); }
    static std::wstring VcomId() { return L"QRV_VBUS\\Qrv_vcom\\" + std::wstring(kHuid); }
    static UsbIdentity Identity();
    static std::vector<uint8_t> NameBytes(std::wstring_view name);

    // Compares everything that the driver has received since the last look, byte for byte, and forgets it.
    void ExpectRequests(const std::vector<ExpectedRequest>& expected);
    void ExpectNoRequests() { ExpectRequests({}); }
    // The next request of the code fails with a Windows error that has one of the statuses below.
    void FailNext(uint32_t code, int32_t ntStatus) {
        ASSERT_EQ(driver_.FailNext(code, ntStatus), ERROR_SUCCESS);
    }
    // The device interface disappears.
    void RemoveBus();

    static constexpr int32_t kStatusAccessDenied = static_cast<int32_t>(0xC0000022);
    static constexpr int32_t kStatusNotConnected = static_cast<int32_t>(0xC000009D);
    static constexpr int32_t kStatusBufferTooSmall = static_cast<int32_t>(0xC0000023);
    static constexpr int32_t kStatusUnsuccessful = static_cast<int32_t>(0xC0000001);
    static constexpr int32_t kStatusInvalidRequest = static_cast<int32_t>(0xC0000010);

    ScratchNode usbdNode_;
    DeviceNode usbd_;
    DeviceNode vcom_{L""};
};
