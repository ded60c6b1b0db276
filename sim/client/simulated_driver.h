// The simulated driver as its private interface shows it: one method for each thing that can be asked of it.
// Every method returns a Windows error code, 0 for success. One object is used by one thread at a time.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/win32_handle.h"
#include "base/windows_api.h"

#include "sim/control/control_protocol.h"

// What a USB device tells about itself when it is plugged.
struct UsbIdentity {
    uint16_t vendorId = 0x1234;
    uint16_t productId = 0x5678;
    uint16_t bcdDevice = 0x0102;
    UsbSpeed speed = kUsbHighSpeed;
    std::wstring serial = L"SN01";  // behind the last backslash of the instance ID
    std::wstring manufacturer = L"Holmark";
    std::wstring product = L"Scanner";

    // USB\VID_1234&PID_5678\SN01
    std::wstring InstanceId() const;
};

struct PlugOptions {
    std::wstring huid;        // empty: the driver makes one
    uint32_t portNumber = 0;  // 0: the first free port from COM5 on
    uint32_t lifemode = kSimDefaultLifemode;
    bool withoutVcom = false;  // the driver does not map the device to a VCOM
};

// One request that the product sent.
struct LoggedRequest {
    SimRequest_st record = {};
    std::vector<uint8_t> input;

    // Windows error code of the answer; ERROR_IO_PENDING while there is none.
    DWORD Error() const;
    // The input read as a device-name field, empty when it is shorter than one.
    std::wstring DeviceName() const;
};

class SimulatedDriver {
  public:
    // Waits at most waitMs for the driver to be loaded. ERROR_FILE_NOT_FOUND when it is not.
    DWORD Connect(DWORD waitMs = 0);
    // Polls until the bus runs and has its device interface, or ERROR_TIMEOUT.
    DWORD WaitForBus(DWORD waitMs);
    bool IsConnected() const { return static_cast<bool>(device_); }

    // Everything back to the state after loading: no devices, no faults, default records, an empty request
    // log. Requests that wait are answered first.
    DWORD Reset();
    DWORD QueryInfo(SimInfo_st& info);

    // ---- devices. A name is a Huid or an instance ID without its first component; an instance ID is a whole
    // one. Tells the driver of the device; the device node is made by PlugUsbDevice of plugging.h, which
    // also calls this.
    DWORD Plug(const UsbIdentity& identity, const PlugOptions& options = {});
    DWORD Unplug(std::wstring_view usbInstanceId);
    // Unplugs and forgets the device with its Huid and port.
    DWORD Forget(std::wstring_view usbInstanceId);
    DWORD ListDevices(std::vector<SimDeviceState_st>& devices);
    // By name or by whole instance ID of the USB device or the VCOM.
    std::optional<SimDeviceState_st> FindDevice(std::wstring_view nameOrInstanceId);
    // Polls until the system has started the device's VCOM, or ERROR_TIMEOUT.
    DWORD WaitForVcom(std::wstring_view nameOrInstanceId, DWORD waitMs = 15000);
    DWORD SetNumber(std::wstring_view name, SimDeviceFieldId field, uint64_t number);
    DWORD SetText(std::wstring_view name, SimDeviceFieldId field, std::wstring_view text);
    DWORD SetOnline(std::wstring_view name, bool online) {
        return SetNumber(name, kSimFieldOnline, online ? 1 : 0);
    }
    DWORD SetOpenerPid(std::wstring_view name, uint32_t pid) {
        return SetNumber(name, kSimFieldOpenerPid, pid);
    }
    DWORD SetFlowpath(std::wstring_view name, const FlowpathStat_st& stat);
    DWORD SetUsbErrStat(std::wstring_view name, const UsbErrStat_st& stat);
    // Appends one episode to the log file of the USB device.
    DWORD WriteUsbErrorLog(std::wstring_view usbInstanceId, std::wstring_view text);
    // Keeps that file open for writing, in place of the one before. `locked` keeps everybody else out.
    DWORD HoldUsbErrorLog(std::wstring_view usbInstanceId, bool locked);
    DWORD ReleaseUsbErrorLog() { return HoldUsbErrorLog({}, false); }

    // ---- global records
    DWORD SetGlobalCfg(const GlobalCfg_st& cfg);
    DWORD QueryGlobalCfg(GlobalCfg_st& cfg);
    DWORD SetLogCfg(const LogCfg_st& cfg);
    DWORD QueryLogCfg(LogCfg_st& cfg);
    DWORD SetVersion(const DriverVersion_st& version);
    DWORD SetIrpText(std::wstring_view text);
    // portNumber 1 to 128; kSimPortComputed gives the port back to the model.
    DWORD SetPortState(uint32_t portNumber, uint32_t state);
    // What the platform shim tells about a device node: presence and CM_PROB code.
    DWORD SetPresence(std::wstring_view instanceId, bool present, uint32_t problem);
    // A DOS device name of the caller's choice; an empty target removes it.
    DWORD SetDosLink(std::wstring_view name, std::wstring_view target);

    // ---- how the bus behaves
    DWORD SetAccess(const SimAccess_st& access);
    // The next count requests of the code (0: any code) fail with an NTSTATUS.
    DWORD FailNext(uint32_t code, int32_t ntStatus, uint32_t count = 1);
    // ... claim another number of reply bytes than they have.
    DWORD ShortenNext(uint32_t code, uint32_t replyBytes, uint32_t count = 1);
    // ... are answered with these bytes, cut to the room that the sender has.
    DWORD AnswerNext(uint32_t code, std::span<const uint8_t> reply, uint32_t count = 1);
    // ... are carried out after a delay.
    DWORD DelayNext(uint32_t code, uint32_t delayMs, uint32_t count = 1);
    // ... wait for ReleaseHeld and are carried out then.
    DWORD HoldNext(uint32_t code, uint32_t count = 1);
    DWORD AddFault(SimFault_st fault, std::span<const uint8_t> reply = {});
    DWORD ClearFaults();
    DWORD ReleaseHeld(uint32_t* released = nullptr);
    // Polls until so many requests wait, or ERROR_TIMEOUT.
    DWORD WaitForHeld(uint32_t requests, DWORD waitMs = 10000);

    // ---- request log
    // All logged requests from a sequence number on, in order of arrival.
    DWORD ReadRequests(std::vector<LoggedRequest>& requests, uint64_t firstSequence = 0);
    DWORD ClearRequests();

  private:
    DWORD Send(uint32_t code, const void* input, size_t inputBytes, void* output = nullptr,
               size_t outputBytes = 0, DWORD* returnedBytes = nullptr);
    template <typename Record>
    DWORD SendRecord(uint32_t code, const Record& record) {
        return Send(code, &record, sizeof(record));
    }

    FileHandle device_;
};

// The names of all requests, in the order of their codes.
std::vector<std::wstring_view> RequestNames();
// "GetVcomCfg" for a control code; empty for one that the table does not have.
std::wstring_view RequestName(uint32_t code);
// The control code of a name, with or without "IOCTL_TAVIX_", without regard to case; 0 when there is none.
uint32_t RequestCode(std::wstring_view name);
