// Requests about a Flowpath, the data path between one USB device and its VCOM. It is lost while the device
// is offline.
#include "sim/driver/registry_state.h"
#include "sim/driver/requests.h"
#include "sim/driver/traffic.h"

namespace {

SimDevice* FindFlowpath(const RequestCall& call) {
    SimDevice* device = FindByName(call.Input<DeviceName_st>());
    return device != nullptr && device->vcom != nullptr && device->online ? device : nullptr;
}

NTSTATUS SwitchBlindRun(RequestCall& call, uint8_t blindRun) {
    SimDevice* device = FindFlowpath(call);
    if (device == nullptr) return STATUS_DEVICE_NOT_CONNECTED;
    device->flowpath.blindRun = blindRun;
    return STATUS_SUCCESS;
}

}  // namespace

NTSTATUS GetFlowpathStat(RequestCall& call) {
    SimDevice* device = FindFlowpath(call);
    if (device == nullptr) return STATUS_DEVICE_NOT_CONNECTED;
    AdvanceTraffic(*device);
    auto& reply = call.Output<FlowpathStat_st>();
    reply = device->flowpath;
    reply.usbReceivedBytes += device->miscount;
    reply.vcomWrittenBytes += device->miscount;
    return STATUS_SUCCESS;
}

// The session's counters; the history goes on.
NTSTATUS ResetFlowpathStat(RequestCall& call) {
    SimDevice* device = FindFlowpath(call);
    if (device == nullptr) return STATUS_DEVICE_NOT_CONNECTED;
    AdvanceTraffic(*device);
    FlowpathStat_st& stat = device->flowpath;
    stat.usbReceivedBytes = stat.vcomReadBytes = stat.vcomReadPendingBytes = 0;
    stat.readBufferBytes = stat.readBufferExtraBytes = stat.readDiscardBytes = 0;
    stat.usbSentBytes = stat.vcomWrittenBytes = stat.writeBufferBytes = stat.writeDiscardBytes = 0;
    stat.usbInErrors = stat.usbOutErrors = 0;
    stat.readBufferPeakBytes = stat.writeBufferPeakBytes = 0;
    stat.histOfflineIncrease = 0;
    ++device->statResets;
    return STATUS_SUCCESS;
}

NTSTATUS DestroyFlowpathStatHistory(RequestCall& call) {
    SimDevice* device = FindFlowpath(call);
    if (device == nullptr) return STATUS_DEVICE_NOT_CONNECTED;
    AdvanceTraffic(*device);
    FlowpathStat_st& stat = device->flowpath;
    stat.histOfflineIncrease = stat.histOfflines = 0;
    stat.histUsbReadBytes = stat.histReadDiscardBytes = stat.histUsbInErrors = 0;
    stat.histUsbWrittenBytes = stat.histWriteDiscardBytes = stat.histUsbOutErrors = 0;
    StoreHistory(*device);
    ++device->historyResets;
    return STATUS_SUCCESS;
}

NTSTATUS StartBlindRun(RequestCall& call) {
    return SwitchBlindRun(call, 1);
}

NTSTATUS StopBlindRun(RequestCall& call) {
    return SwitchBlindRun(call, 0);
}
