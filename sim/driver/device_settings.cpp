#include "sim/driver/device_settings.h"

#include <type_traits>

#include "sim/driver/bus.h"
#include "sim/driver/registry_state.h"
#include "sim/driver/text.h"
#include "sim/driver/traffic.h"

namespace {

void TakeIdentity(SimDevice& device, const SimPlug_st& plug) {
    UsbdInfo_st& identity = device.identity;
    identity.speed = plug.speed;
    identity.idVendor = plug.idVendor;
    identity.idProduct = plug.idProduct;
    identity.bcdDevice = plug.bcdDevice;
    CopyText(identity.manufacturer, kUsbStringChars, plug.manufacturer, kUsbStringChars);
    CopyText(identity.product, kUsbStringChars, plug.product, kUsbStringChars);
    CopyText(identity.serialNumber, kUsbStringChars, plug.serialNumber, kUsbStringChars);
}

void ChoosePort(SimDevice& device, uint32_t wanted) {
    if (wanted == 0 && device.portName[0] != 0) return;
    TextBuilder<kPortNameChars> name;
    name.Add(L"COM").AddNumber(wanted != 0 ? wanted : FreePortNumber());
    SetPortName(device, name.get(), name.capacity());
}

bool IsHuidFree(const SimPlug_st& plug) {
    for (const SimDevice& device : g_model.devices)
        if (device.known && IsSameText(device.huid, kSimHuidChars, plug.huid, kSimHuidChars) &&
            !IsSameText(device.instanceId, kSimIdChars, plug.instanceId, kSimIdChars))
            return false;
    return true;
}

void Describe(const SimDevice& device, SimDeviceState_st& state) {
    RtlCopyMemory(state.instanceId, device.instanceId, sizeof(state.instanceId));
    VcomInstanceId(device, state.vcomInstanceId);
    RtlCopyMemory(state.huid, device.huid, sizeof(state.huid));
    RtlCopyMemory(state.portName, device.portName, sizeof(state.portName));
    state.plugged = device.plugged ? 1 : 0;
    state.online = device.online ? 1 : 0;
    state.lifemode = device.lifemode;
    state.openerPid = device.declaredOpenerPid;
    if (device.vcom != nullptr) {
        const VcomExtension& vcom = VcomExtensionOf(device.vcom);
        RtlCopyMemory(state.kernelName, vcom.kernelName, sizeof(state.kernelName));
        state.vcomStarted = vcom.started ? 1 : 0;
        state.openCount = vcom.openCount;
        if (state.openerPid == 0) state.openerPid = vcom.openerPid;
    }
    state.blindRun = device.flowpath.blindRun;
    RtlCopyMemory(state.tweakCounts, device.tweakCounts, sizeof(state.tweakCounts));
    RtlCopyMemory(state.wdfStates, device.wdfStates, sizeof(state.wdfStates));
    state.statResets = device.statResets;
    state.historyResets = device.historyResets;
}

// A port that nobody has open goes with its device unless it is to persist.
bool VcomSurvivesUnplug(const SimDevice& device) {
    if (device.lifemode == kLifemodePersistent) return true;
    const bool isOpen = device.vcom != nullptr && VcomExtensionOf(device.vcom).openCount != 0;
    return device.lifemode == kLifemodeFriendly && isOpen;
}

using FieldSetter = void (*)(SimDevice& device, const SimDeviceField_st& request);

template <auto member>
void SetIdentityNumber(SimDevice& device, const SimDeviceField_st& request) {
    auto& field = device.identity.*member;
    field = static_cast<std::remove_reference_t<decltype(field)>>(request.number);
}

template <auto member>
void SetIdentityText(SimDevice& device, const SimDeviceField_st& request) {
    CopyText(device.identity.*member, kUsbStringChars, request.text, kSimIdChars);
}

template <auto member>
void SetNumber(SimDevice& device, const SimDeviceField_st& request) {
    device.*member = static_cast<uint32_t>(request.number);
}

template <auto member>
void SetReportedText(SimDevice& device, const SimDeviceField_st& request) {
    CopyText(device.*member, kSimIdChars, request.text, kSimIdChars);
}

template <auto stream, auto member>
void SetRate(SimDevice& device, const SimDeviceField_st& request) {
    AdvanceTraffic(device);
    device.trafficSince = NowFiletime();
    device.*stream.*member = request.number & 0xFFFFFFFF;
    device.flowpath.usbInActive = device.upstream.rate != 0 ? 1 : 0;
    device.flowpath.usbOutActive = device.downstream.rate != 0 ? 1 : 0;
}

struct FieldRow {
    SimDeviceFieldId field;
    FieldSetter set;
};

constexpr FieldRow kFields[] = {
    {kSimFieldOnline,
     [](SimDevice& device, const SimDeviceField_st& request) { SetOnline(device, request.number != 0); }},
    {kSimFieldSpeed, SetIdentityNumber<&UsbdInfo_st::speed>},
    {kSimFieldVendorId, SetIdentityNumber<&UsbdInfo_st::idVendor>},
    {kSimFieldProductId, SetIdentityNumber<&UsbdInfo_st::idProduct>},
    {kSimFieldBcdDevice, SetIdentityNumber<&UsbdInfo_st::bcdDevice>},
    {kSimFieldManufacturer, SetIdentityText<&UsbdInfo_st::manufacturer>},
    {kSimFieldProduct, SetIdentityText<&UsbdInfo_st::product>},
    {kSimFieldSerialNumber, SetIdentityText<&UsbdInfo_st::serialNumber>},
    {kSimFieldReportedUsbdPath, SetReportedText<&SimDevice::reportedUsbdPath>},
    {kSimFieldReportedVcomPath, SetReportedText<&SimDevice::reportedVcomPath>},
    {kSimFieldDevinstPathAnswer, SetReportedText<&SimDevice::devinstPathAnswer>},
    {kSimFieldReportedKernelName, SetReportedText<&SimDevice::reportedKernelName>},
    {kSimFieldOpenerPid, SetNumber<&SimDevice::declaredOpenerPid>},
    {kSimFieldLifemode, SetNumber<&SimDevice::lifemode>},
    {kSimFieldPortName,
     [](SimDevice& device, const SimDeviceField_st& request) {
         SetPortName(device, request.text, kSimIdChars);
     }},
    {kSimFieldCfgResult, SetNumber<&SimDevice::cfgResult>},
    {kSimFieldSetCfgResult, SetNumber<&SimDevice::setCfgResult>},
    {kSimFieldBlindRun,
     [](SimDevice& device, const SimDeviceField_st& request) {
         device.flowpath.blindRun = static_cast<uint8_t>(request.number);
     }},
    {kSimFieldUpstreamRate, SetRate<&SimDevice::upstream, &SimStream::rate>},
    {kSimFieldDownstreamRate, SetRate<&SimDevice::downstream, &SimStream::rate>},
    {kSimFieldReadRate, SetRate<&SimDevice::upstream, &SimStream::takenRate>},
    {kSimFieldSendRate, SetRate<&SimDevice::downstream, &SimStream::takenRate>},
    {kSimFieldMiscount,
     [](SimDevice& device, const SimDeviceField_st& request) { device.miscount = request.number; }},
    {kSimFieldHuid,
     [](SimDevice& device, const SimDeviceField_st& request) { StoreNowHuid(device, request.text); }},
    {kSimFieldLastStartup,
     [](SimDevice& device, const SimDeviceField_st& request) { StoreLastStartup(device, request.number); }},
};
static_assert(sizeof(kFields) / sizeof(kFields[0]) == kSimFieldCount - 1, "one row per field");

SimDevice* FindById(const RequestCall& call) {
    return FindByInstanceId(call.Input<SimInstanceId_st>().instanceId, kSimIdChars);
}

}  // namespace

NTSTATUS PlugDevice(RequestCall& call) {
    const auto& plug = call.Input<SimPlug_st>();
    if (plug.instanceId[0] == 0 || plug.portNumber > 256) return STATUS_INVALID_PARAMETER;
    if (plug.huid[0] != 0 && !IsHuidFree(plug)) return STATUS_OBJECT_NAME_COLLISION;
    SimDevice* device = FindByInstanceId(plug.instanceId, kSimIdChars);
    if (device == nullptr) device = AddDevice(plug.instanceId, kSimIdChars);
    if (device == nullptr) return STATUS_INSUFFICIENT_RESOURCES;
    if (plug.huid[0] != 0 && device->vcom == nullptr)
        CopyText(device->huid, kSimHuidChars, plug.huid, kSimHuidChars);
    if (device->huid[0] == 0) MakeHuid(*device);
    TakeIdentity(*device, plug);
    if (plug.lifemode != kSimDefaultLifemode)
        device->lifemode = plug.lifemode;
    else if (!device->plugged)
        device->lifemode = g_model.globalCfg.newVcomLifemode;
    device->plugged = true;
    device->withoutVcom = plug.withoutVcom != 0;
    SetOnline(*device, true);
    StoreLastStartup(*device, static_cast<uint64_t>(UemsecFromFiletime(NowFiletime())));
    StoreHistory(*device);
    StorePresence(device->instanceId, kSimIdChars, true, 0);
    if (device->withoutVcom) return STATUS_SUCCESS;
    ChoosePort(*device, plug.portNumber);
    CreateVcom(*device);
    return STATUS_SUCCESS;
}

NTSTATUS UnplugDevice(RequestCall& call) {
    SimDevice* device = FindById(call);
    if (device == nullptr) return STATUS_OBJECT_NAME_NOT_FOUND;
    device->plugged = false;
    SetOnline(*device, false);
    StorePresence(device->instanceId, kSimIdChars, false, 0);
    if (!VcomSurvivesUnplug(*device)) DetachVcom(*device);
    return STATUS_SUCCESS;
}

NTSTATUS ForgetDevice(RequestCall& call) {
    SimDevice* device = FindById(call);
    if (device == nullptr) return STATUS_OBJECT_NAME_NOT_FOUND;
    StorePresence(device->instanceId, kSimIdChars, false, 0);
    DetachVcom(*device);
    RtlZeroMemory(device, sizeof(*device));
    return STATUS_SUCCESS;
}

NTSTATUS ListDevices(RequestCall& call) {
    auto* states = reinterpret_cast<SimDeviceState_st*>(call.output);
    uint32_t room = call.outputBytes / sizeof(SimDeviceState_st);
    for (const SimDevice& device : g_model.devices) {
        if (!device.known) continue;
        if (room-- == 0) return STATUS_BUFFER_TOO_SMALL;
        Describe(device, *states++);
        call.returnedBytes += sizeof(SimDeviceState_st);
    }
    return STATUS_SUCCESS;
}

NTSTATUS SetDeviceField(RequestCall& call) {
    const auto& request = call.Input<SimDeviceField_st>();
    SimDevice* device = FindByName(request.device);
    if (device == nullptr) return STATUS_OBJECT_NAME_NOT_FOUND;
    for (const FieldRow& row : kFields) {
        if (row.field != request.field) continue;
        row.set(*device, request);
        return STATUS_SUCCESS;
    }
    return STATUS_INVALID_PARAMETER;
}

NTSTATUS SetFlowpath(RequestCall& call) {
    const auto& request = call.Input<SimFlowpath_st>();
    SimDevice* device = FindByName(request.device);
    if (device == nullptr) return STATUS_OBJECT_NAME_NOT_FOUND;
    device->flowpath = request.stat;
    device->trafficSince = NowFiletime();
    StoreHistory(*device);
    return STATUS_SUCCESS;
}

NTSTATUS SetUsbErrStat(RequestCall& call) {
    const auto& request = call.Input<SimUsbErrStat_st>();
    SimDevice* device = FindByName(request.device);
    if (device == nullptr) return STATUS_OBJECT_NAME_NOT_FOUND;
    device->errors = request.stat;
    return STATUS_SUCCESS;
}
