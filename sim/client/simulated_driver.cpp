#include "sim/client/simulated_driver.h"

#include <algorithm>
#include <cwchar>

#include <winternl.h>

namespace {

constexpr DWORD kPollMs = 10;
constexpr int32_t kStatusPending = 0x103;

template <size_t capacity>
void Fill(wchar_t (&field)[capacity], std::wstring_view text) {
    const size_t length = std::min(text.size(), capacity - 1);
    std::copy_n(text.data(), length, field);
}

bool IsSameText(std::wstring_view left, std::wstring_view right) {
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

std::wstring_view Tail(std::wstring_view instanceId) {
    const size_t backslash = instanceId.find(L'\\');
    return backslash == instanceId.npos ? std::wstring_view() : instanceId.substr(backslash + 1);
}

bool IsMeant(const SimDeviceState_st& device, std::wstring_view name) {
    for (const wchar_t* id : {device.instanceId, device.vcomInstanceId})
        if (*id != 0 && (IsSameText(id, name) || IsSameText(Tail(id), name))) return true;
    return IsSameText(device.huid, name);
}

// Calls until the condition holds or the time is over.
template <typename Condition>
DWORD PollUntil(DWORD waitMs, Condition isReached) {
    const DWORD start = GetTickCount();
    while (!isReached()) {
        if (GetTickCount() - start >= waitMs) return ERROR_TIMEOUT;
        Sleep(kPollMs);
    }
    return ERROR_SUCCESS;
}

DWORD ErrorFromStatus(int32_t ntStatus) {
    using RtlNtStatusToDosErrorFunction = ULONG(NTAPI*)(NTSTATUS);
    static const auto convert = reinterpret_cast<RtlNtStatusToDosErrorFunction>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlNtStatusToDosError")));
    return convert(ntStatus);
}

struct NamedCode {
    uint32_t code;
    const wchar_t* name;
};

#define TAVIX_NAMED(request) \
    { IOCTL_TAVIX_##request, L## #request }
constexpr NamedCode kRequestNames[] = {
    TAVIX_NAMED(BSOD),
    TAVIX_NAMED(GetDriverVersion),
    TAVIX_NAMED(GetVcomCfg),
    TAVIX_NAMED(SetVcomCfg),
    TAVIX_NAMED(GetGlobalCfg),
    TAVIX_NAMED(SetGlobalCfg),
    TAVIX_NAMED(GetVcomOpenerPid),
    TAVIX_NAMED(RemoveDevice),
    TAVIX_NAMED(GetLogCfg),
    TAVIX_NAMED(SetLogCfg),
    TAVIX_NAMED(GetUsbdInfo),
    TAVIX_NAMED(QueryUsbdDevinstPath),
    TAVIX_NAMED(GetFlowpathStat),
    TAVIX_NAMED(ResetFlowpathStat),
    TAVIX_NAMED(DestroyFlowpathStatHistory),
    TAVIX_NAMED(GetUsbErrStat),
    TAVIX_NAMED(QueryVcomFdoPdo),
    TAVIX_NAMED(GetIrpStateText),
    TAVIX_NAMED(CreateDangleVcom),
    TAVIX_NAMED(StartBlindRun),
    TAVIX_NAMED(StopBlindRun),
    TAVIX_NAMED(UsbTweak0),
    TAVIX_NAMED(UsbTweak1),
    TAVIX_NAMED(UsbTweak2),
    TAVIX_NAMED(UsbTweak3),
    TAVIX_NAMED(SetWdfDeviceState),
};
#undef TAVIX_NAMED

}  // namespace

std::wstring UsbIdentity::InstanceId() const {
    wchar_t text[64];
    swprintf(text, std::size(text), L"USB\\VID_%04X&PID_%04X\\", vendorId, productId);
    return text + serial;
}

DWORD LoggedRequest::Error() const {
    return record.ntStatus == kStatusPending ? ERROR_IO_PENDING : ErrorFromStatus(record.ntStatus);
}

std::wstring LoggedRequest::DeviceName() const {
    DeviceName_st name = {};
    if (input.size() < sizeof(name)) return {};
    std::copy_n(input.begin(), sizeof(name), reinterpret_cast<uint8_t*>(&name));
    return {name.chars, wcsnlen(name.chars, kDeviceNameChars)};
}

DWORD SimulatedDriver::Connect(DWORD waitMs) {
    DWORD error = ERROR_SUCCESS;
    const auto open = [&] {
        device_.reset(CreateFileW(kSimControlPath, GENERIC_READ | GENERIC_WRITE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
        if (!device_) error = GetLastError();
        return static_cast<bool>(device_);
    };
    if (PollUntil(waitMs, open) != ERROR_SUCCESS) return error;
    SimInfo_st info = {};
    error = QueryInfo(info);
    if (error == ERROR_SUCCESS && info.protocolVersion != kSimProtocolVersion)
        error = ERROR_REVISION_MISMATCH;
    if (error != ERROR_SUCCESS) device_.reset();
    return error;
}

DWORD SimulatedDriver::WaitForBus(DWORD waitMs) {
    return PollUntil(waitMs, [this] {
        SimInfo_st info = {};
        return QueryInfo(info) == ERROR_SUCCESS && info.busStarted != 0;
    });
}

DWORD SimulatedDriver::Send(uint32_t code, const void* input, size_t inputBytes, void* output,
                            size_t outputBytes, DWORD* returnedBytes) {
    if (!device_) return ERROR_NOT_READY;
    DWORD returned = 0;
    const BOOL done =
        DeviceIoControl(device_.get(), code, const_cast<void*>(input), static_cast<DWORD>(inputBytes), output,
                        static_cast<DWORD>(outputBytes), &returned, nullptr);
    if (returnedBytes != nullptr) *returnedBytes = returned;
    return done ? ERROR_SUCCESS : GetLastError();
}

DWORD SimulatedDriver::Reset() {
    return Send(kSimReset, nullptr, 0);
}

DWORD SimulatedDriver::QueryInfo(SimInfo_st& info) {
    return Send(kSimQueryInfo, nullptr, 0, &info, sizeof(info));
}

DWORD SimulatedDriver::Plug(const UsbIdentity& identity, const PlugOptions& options) {
    SimPlug_st plug = {};
    Fill(plug.instanceId, identity.InstanceId());
    Fill(plug.huid, options.huid);
    plug.portNumber = options.portNumber;
    plug.lifemode = options.lifemode;
    plug.withoutVcom = options.withoutVcom ? 1 : 0;
    plug.speed = identity.speed;
    plug.idVendor = identity.vendorId;
    plug.idProduct = identity.productId;
    plug.bcdDevice = identity.bcdDevice;
    Fill(plug.manufacturer, identity.manufacturer);
    Fill(plug.product, identity.product);
    Fill(plug.serialNumber, identity.serial);
    return SendRecord(kSimPlug, plug);
}

DWORD SimulatedDriver::Unplug(std::wstring_view usbInstanceId) {
    SimInstanceId_st id = {};
    Fill(id.instanceId, usbInstanceId);
    return SendRecord(kSimUnplug, id);
}

DWORD SimulatedDriver::Forget(std::wstring_view usbInstanceId) {
    SimInstanceId_st id = {};
    Fill(id.instanceId, usbInstanceId);
    return SendRecord(kSimForget, id);
}

DWORD SimulatedDriver::ListDevices(std::vector<SimDeviceState_st>& devices) {
    devices.resize(kSimMaxDevices);
    DWORD returned = 0;
    const DWORD error =
        Send(kSimListDevices, nullptr, 0, devices.data(), devices.size() * sizeof(devices[0]), &returned);
    devices.resize(error == ERROR_SUCCESS ? returned / sizeof(devices[0]) : 0);
    return error;
}

std::optional<SimDeviceState_st> SimulatedDriver::FindDevice(std::wstring_view nameOrInstanceId) {
    std::vector<SimDeviceState_st> devices;
    if (ListDevices(devices) != ERROR_SUCCESS) return std::nullopt;
    for (const SimDeviceState_st& device : devices)
        if (IsMeant(device, nameOrInstanceId)) return device;
    return std::nullopt;
}

DWORD SimulatedDriver::WaitForVcom(std::wstring_view nameOrInstanceId, DWORD waitMs) {
    return PollUntil(waitMs, [&] {
        const std::optional<SimDeviceState_st> device = FindDevice(nameOrInstanceId);
        return device && device->vcomStarted != 0;
    });
}

DWORD SimulatedDriver::SetNumber(std::wstring_view name, SimDeviceFieldId field, uint64_t number) {
    SimDeviceField_st request = {};
    Fill(request.device.chars, name);
    request.field = field;
    request.number = number;
    return SendRecord(kSimSetDeviceField, request);
}

DWORD SimulatedDriver::SetText(std::wstring_view name, SimDeviceFieldId field, std::wstring_view text) {
    SimDeviceField_st request = {};
    Fill(request.device.chars, name);
    request.field = field;
    Fill(request.text, text);
    return SendRecord(kSimSetDeviceField, request);
}

DWORD SimulatedDriver::SetFlowpath(std::wstring_view name, const FlowpathStat_st& stat) {
    SimFlowpath_st request = {};
    Fill(request.device.chars, name);
    request.stat = stat;
    return SendRecord(kSimSetFlowpath, request);
}

DWORD SimulatedDriver::SetUsbErrStat(std::wstring_view name, const UsbErrStat_st& stat) {
    SimUsbErrStat_st request = {};
    Fill(request.device.chars, name);
    request.stat = stat;
    return SendRecord(kSimSetUsbErrStat, request);
}

DWORD SimulatedDriver::WriteUsbErrorLog(std::wstring_view usbInstanceId, std::wstring_view text) {
    SimUsbErrLog_st request = {};
    Fill(request.instanceId, usbInstanceId);
    Fill(request.text, text);
    return SendRecord(kSimWriteUsbErrLog, request);
}

DWORD SimulatedDriver::HoldUsbErrorLog(std::wstring_view usbInstanceId, bool locked) {
    SimUsbErrLogHold_st request = {};
    Fill(request.instanceId, usbInstanceId);
    request.locked = locked ? 1 : 0;
    return SendRecord(kSimHoldUsbErrLog, request);
}

DWORD SimulatedDriver::SetGlobalCfg(const GlobalCfg_st& cfg) {
    return SendRecord(kSimSetGlobalCfg, cfg);
}

DWORD SimulatedDriver::QueryGlobalCfg(GlobalCfg_st& cfg) {
    return Send(kSimQueryGlobalCfg, nullptr, 0, &cfg, sizeof(cfg));
}

DWORD SimulatedDriver::SetLogCfg(const LogCfg_st& cfg) {
    return SendRecord(kSimSetLogCfg, cfg);
}

DWORD SimulatedDriver::QueryLogCfg(LogCfg_st& cfg) {
    return Send(kSimQueryLogCfg, nullptr, 0, &cfg, sizeof(cfg));
}

DWORD SimulatedDriver::SetVersion(const DriverVersion_st& version) {
    return SendRecord(kSimSetVersion, version);
}

DWORD SimulatedDriver::SetIrpText(std::wstring_view text) {
    return Send(kSimSetIrpText, text.data(), text.size() * sizeof(wchar_t));
}

DWORD SimulatedDriver::SetPortState(uint32_t portNumber, uint32_t state) {
    return SendRecord(kSimSetPortState, SimPortState_st{portNumber, state});
}

DWORD SimulatedDriver::SetPresence(std::wstring_view instanceId, bool present, uint32_t problem) {
    SimPresence_st request = {};
    Fill(request.instanceId, instanceId);
    request.present = present ? 1 : 0;
    request.problem = problem;
    return SendRecord(kSimSetPresence, request);
}

DWORD SimulatedDriver::SetDosLink(std::wstring_view name, std::wstring_view target) {
    SimDosLink_st request = {};
    Fill(request.name, name);
    Fill(request.target, target);
    return SendRecord(kSimSetDosLink, request);
}

DWORD SimulatedDriver::SetAccess(const SimAccess_st& access) {
    return SendRecord(kSimSetAccess, access);
}

DWORD SimulatedDriver::FailNext(uint32_t code, int32_t ntStatus, uint32_t count) {
    return AddFault({.code = code, .flags = kSimFaultStatus, .count = count, .ntStatus = ntStatus});
}

DWORD SimulatedDriver::ShortenNext(uint32_t code, uint32_t replyBytes, uint32_t count) {
    return AddFault({.code = code, .flags = kSimFaultReplyBytes, .count = count, .replyBytes = replyBytes});
}

DWORD SimulatedDriver::AnswerNext(uint32_t code, std::span<const uint8_t> reply, uint32_t count) {
    return AddFault({.code = code, .flags = kSimFaultReplyData, .count = count}, reply);
}

DWORD SimulatedDriver::DelayNext(uint32_t code, uint32_t delayMs, uint32_t count) {
    return AddFault({.code = code, .flags = kSimFaultDelay, .count = count, .delayMs = delayMs});
}

DWORD SimulatedDriver::HoldNext(uint32_t code, uint32_t count) {
    return AddFault({.code = code, .flags = kSimFaultHold, .count = count});
}

DWORD SimulatedDriver::AddFault(SimFault_st fault, std::span<const uint8_t> reply) {
    fault.dataBytes = static_cast<uint32_t>(reply.size());
    std::vector<uint8_t> message(sizeof(fault) + reply.size());
    std::copy_n(reinterpret_cast<const uint8_t*>(&fault), sizeof(fault), message.begin());
    std::copy(reply.begin(), reply.end(), message.begin() + sizeof(fault));
    return Send(kSimAddFault, message.data(), message.size());
}

DWORD SimulatedDriver::ClearFaults() {
    return Send(kSimClearFaults, nullptr, 0);
}

DWORD SimulatedDriver::ReleaseHeld(uint32_t* released) {
    uint32_t count = 0;
    const DWORD error = Send(kSimReleaseHeld, nullptr, 0, &count, sizeof(count));
    if (released != nullptr) *released = count;
    return error;
}

DWORD SimulatedDriver::WaitForHeld(uint32_t requests, DWORD waitMs) {
    return PollUntil(waitMs, [&] {
        SimInfo_st info = {};
        return QueryInfo(info) == ERROR_SUCCESS && info.heldRequests >= requests;
    });
}

DWORD SimulatedDriver::ReadRequests(std::vector<LoggedRequest>& requests, uint64_t firstSequence) {
    requests.clear();
    std::vector<uint8_t> buffer(256 * 1024);
    for (;;) {
        DWORD returned = 0;
        const DWORD error = Send(kSimReadRequests, &firstSequence, sizeof(firstSequence), buffer.data(),
                                 buffer.size(), &returned);
        if (error != ERROR_SUCCESS || returned == 0) return error;
        for (size_t used = 0; used + sizeof(SimRequest_st) <= returned;) {
            LoggedRequest request;
            std::copy_n(buffer.data() + used, sizeof(request.record),
                        reinterpret_cast<uint8_t*>(&request.record));
            used += sizeof(request.record);
            const size_t bytes = std::min<size_t>(request.record.loggedBytes, returned - used);
            request.input.assign(buffer.data() + used, buffer.data() + used + bytes);
            used += (bytes + 7) & ~size_t{7};
            firstSequence = request.record.sequence + 1;
            requests.push_back(std::move(request));
        }
    }
}

DWORD SimulatedDriver::ClearRequests() {
    return Send(kSimClearRequests, nullptr, 0);
}

std::vector<std::wstring_view> RequestNames() {
    std::vector<std::wstring_view> names;
    for (const NamedCode& row : kRequestNames)
        names.push_back(row.name);
    return names;
}

std::wstring_view RequestName(uint32_t code) {
    for (const NamedCode& row : kRequestNames)
        if (row.code == code) return row.name;
    return {};
}

uint32_t RequestCode(std::wstring_view name) {
    constexpr std::wstring_view prefix = L"IOCTL_TAVIX_";
    if (name.size() > prefix.size() && IsSameText(name.substr(0, prefix.size()), prefix))
        name.remove_prefix(prefix.size());
    for (const NamedCode& row : kRequestNames)
        if (IsSameText(row.name, name)) return row.code;
    return 0;
}
