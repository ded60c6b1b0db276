// Requests of the developer menu.
#include "sim/driver/bus.h"
#include "sim/driver/pending.h"
#include "sim/driver/requests.h"
#include "sim/driver/text.h"

namespace {

constexpr uint32_t kDangleCount = 4;

using IrpText = TextBuilder<kSimIrpTextChars>;

void DescribeModel(IrpText& text) {
    text.Add(L"Simulated TAVIX driver\r\n\r\nRequests waiting: ")
        .AddNumber(CountWaitingRequests())
        .Add(L"\r\n");
    for (const SimDevice& device : g_model.devices) {
        if (!device.known) continue;
        text.Add(L"\r\n").Add(device.instanceId).Add(L"\r\n  port ").Add(device.portName);
        text.Add(L", open handles ");
        text.AddNumber(device.vcom != nullptr ? VcomExtensionOf(device.vcom).openCount : 0);
        text.Add(L", IN IRPs ").AddNumber(device.online ? 4 : 0).Add(L", OUT IRPs 0\r\n");
    }
}

}  // namespace

// A simulation does not crash the system that runs it.
NTSTATUS RefuseBsod(RequestCall& call) {
    ++g_model.bsodRequests;
    const bool isMeant = RtlCompareMemory(call.input, kBsodInput, sizeof(kBsodInput)) == sizeof(kBsodInput);
    return isMeant ? STATUS_NOT_SUPPORTED : STATUS_INVALID_PARAMETER;
}

// As much as the caller has room for, always terminated.
NTSTATUS GetIrpStateText(RequestCall& call) {
    const uint32_t roomChars = call.outputBytes / sizeof(wchar_t);
    if (roomChars == 0) return STATUS_BUFFER_TOO_SMALL;
    PoolPointer<IrpText> text(sizeof(IrpText));
    if (!text) return STATUS_INSUFFICIENT_RESOURCES;
    if (g_model.irpText[0] != 0)
        text->Add(g_model.irpText);
    else
        DescribeModel(*text.get());
    size_t length = text->length();
    if (length > roomChars - 1) length = roomChars - 1;
    RtlCopyMemory(call.output, text->get(), length * sizeof(wchar_t));
    call.returnedBytes = static_cast<uint32_t>((length + 1) * sizeof(wchar_t));
    return STATUS_SUCCESS;
}

NTSTATUS CreateDangleVcom(RequestCall& call) {
    const uint32_t index = call.Input<uint32_t>();
    if (index >= kDangleCount) return STATUS_INVALID_PARAMETER;
    TextBuilder<kSimHuidChars> huid;
    huid.Add(L"dangle").AddNumber(index);
    DeviceName_st name = {};
    CopyText(name.chars, kDeviceNameChars, huid.get(), huid.capacity());
    if (FindByName(name) != nullptr) return STATUS_OBJECT_NAME_COLLISION;
    const uint32_t portNumber = FreePortNumber();
    SimDevice* device = AddDevice(L"", 1);
    if (device == nullptr) return STATUS_INSUFFICIENT_RESOURCES;
    CopyText(device->huid, kSimHuidChars, huid.get(), huid.capacity());
    device->lifemode = kLifemodeTemporal;
    TextBuilder<kPortNameChars> portName;
    portName.Add(L"COM").AddNumber(portNumber);
    CopyText(device->portName, kPortNameChars, portName.get(), portName.capacity());
    CreateVcom(*device);
    return STATUS_SUCCESS;
}

NTSTATUS SetWdfDeviceState(RequestCall& call) {
    const auto& request = call.Input<WdfDeviceStateRequest_st>();
    SimDevice* device = FindByName(request.device);
    if (device == nullptr || device->vcom == nullptr) return STATUS_DEVICE_NOT_CONNECTED;
    if (request.stateIndex >= kSimWdfStateCount) return STATUS_INVALID_PARAMETER;
    device->wdfStates[request.stateIndex] = request.value;
    return STATUS_SUCCESS;
}
