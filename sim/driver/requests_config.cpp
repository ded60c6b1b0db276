// Requests for what the driver is set to: version, VCOM configurations, global record, log control.
#include "sim/driver/port_table.h"
#include "sim/driver/registry_state.h"
#include "sim/driver/requests.h"
#include "sim/driver/text.h"

namespace {

uint32_t CfgResultOf(const SimDevice* device) {
    if (device == nullptr) return UfAppErr_WrongHuid;
    if (device->cfgResult != 0) return device->cfgResult;
    return device->vcom == nullptr ? UfAppErr_NoVcomYet : UfAppErr_Success;
}

uint32_t ChangeVcomCfg(const VcomCfgRequest_st& request) {
    SimDevice* device = FindByName(request.device);
    if (device == nullptr) return UfAppErr_WrongHuid;
    if (device->setCfgResult != 0) return device->setCfgResult;
    if (device->vcom == nullptr) return UfAppErr_NoVcomYet;
    // The sender's text may carry a mark behind the name, as in "COM7 (#)".
    const uint32_t number = ComNumber(request.portName, kPortNameChars);
    if (request.lifemode > kLifemodePersistent || number == 0) return UfAppErr_BadParam;
    TextBuilder<kPortNameChars> name;
    name.Add(L"COM").AddNumber(number);
    device->lifemode = request.lifemode;
    SetPortName(*device, name.get(), name.capacity());
    return UfAppErr_Success;
}

void RenameAllVcoms() {
    for (const SimDevice& device : g_model.devices)
        if (device.known) StoreVcomNames(device);
}

}  // namespace

NTSTATUS GetDriverVersion(RequestCall& call) {
    call.Output<DriverVersion_st>() = g_model.version;
    return STATUS_SUCCESS;
}

NTSTATUS GetVcomCfg(RequestCall& call) {
    const SimDevice* device = FindByName(call.Input<DeviceName_st>());
    VcomCfgReply_st& reply = call.Output<VcomCfgReply_st>();
    reply.result = CfgResultOf(device);
    if (reply.result != UfAppErr_Success) return STATUS_SUCCESS;
    reply.lifemode = device->lifemode;
    RtlCopyMemory(reply.portName, device->portName, sizeof(reply.portName));
    FillPortTable(*device, reply.portStates);
    return STATUS_SUCCESS;
}

NTSTATUS SetVcomCfg(RequestCall& call) {
    call.Output<uint32_t>() = ChangeVcomCfg(call.Input<VcomCfgRequest_st>());
    return STATUS_SUCCESS;
}

NTSTATUS GetGlobalCfg(RequestCall& call) {
    call.Output<GlobalCfg_st>() = g_model.globalCfg;
    return STATUS_SUCCESS;
}

NTSTATUS SetGlobalCfg(RequestCall& call) {
    const GlobalCfg_st& wanted = call.Input<GlobalCfg_st>();
    uint32_t& result = call.Output<uint32_t>();
    if (wanted.bindMode > kBindByUsbPort) {
        result = UfAppErr_BadParam;
        return STATUS_SUCCESS;
    }
    g_model.globalCfg = wanted;
    RenameAllVcoms();
    return STATUS_SUCCESS;
}

NTSTATUS GetLogCfg(RequestCall& call) {
    LogCfg_st& cfg = call.Output<LogCfg_st>();
    cfg = g_model.logCfg;
    return STATUS_SUCCESS;
}

// The statistics are the driver's own: what the sender gives for them is not taken.
NTSTATUS SetLogCfg(RequestCall& call) {
    const LogCfg_st& wanted = call.Input<LogCfg_st>();
    LogCfg_st& cfg = g_model.logCfg;
    cfg.fileLogging = wanted.fileLogging;
    RtlCopyMemory(cfg.levels, wanted.levels, sizeof(cfg.levels));
    if (wanted.freshLog != 0) {
        cfg.watermarkMaxReached = 0;
        cfg.bytesAppend = cfg.countAppends = cfg.bytesOverrun = cfg.countOverrun = 0;
        ++cfg.countFilesysop;
    }
    return STATUS_SUCCESS;
}
