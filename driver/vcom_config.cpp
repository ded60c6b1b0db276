#include "driver/vcom_config.h"

#include "base/bounded_text.h"
#include "base/win32_handle.h"
#include "driver/vbus.h"

namespace {

UfAppErr ReadVcomCfg(HANDLE vbus, const DeviceName_st& name, VcomCfgReply_st& reply, GlobalCfg_st& global) {
    if (VbusQuery(vbus, IOCTL_TAVIX_GetVcomCfg, &name, sizeof(name), reply) != ERROR_SUCCESS) {
        // Callers get "bad parameter" whatever the Windows error was.
        reply.result = UfAppErr_BadParam;
        return UfAppErr_BadParam;
    }
    if (reply.result != UfAppErr_Success) return static_cast<UfAppErr>(reply.result);
    const DWORD error = VbusQuery(vbus, IOCTL_TAVIX_GetGlobalCfg, nullptr, 0, global);
    return error == ERROR_SUCCESS ? UfAppErr_Success : UfAppErr_Unknown;
}

VcomCfgRequest_st MakeVcomCfgRequest(const DeviceName_st& name, std::wstring_view portName,
                                     uint32_t lifemode) {
    VcomCfgRequest_st request = {};
    request.device = name;
    request.lifemode = lifemode;
    CopyBounded(request.portName, kPortNameChars, portName);
    return request;
}

UfAppErr WriteVcomCfg(HANDLE vbus, const VcomCfgRequest_st& request) {
    uint32_t result = UfAppErr_Success;
    const DWORD error = VbusQuery(vbus, IOCTL_TAVIX_SetVcomCfg, &request, sizeof(request), result);
    if (error == ERROR_ACCESS_DENIED) return UfAppErr_AccessDenied;
    return error == ERROR_SUCCESS ? static_cast<UfAppErr>(result) : UfAppErr_Unknown;
}

UfAppErr WriteGlobalCfg(HANDLE vbus, const GlobalCfg_st& global) {
    uint32_t result = UfAppErr_Success;
    const DWORD error = VbusQuery(vbus, IOCTL_TAVIX_SetGlobalCfg, &global, sizeof(global), result);
    return error == ERROR_SUCCESS ? static_cast<UfAppErr>(result) : UfAppErr_Unknown;
}

// Empty when the device has no name or the Vbus cannot be opened; without a name no attempt is made.
FileHandle OpenVbusFor(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DeviceName_st& name) {
    return GetDeviceName(deviceSet, device, name) ? OpenVbus() : FileHandle();
}

}  // namespace

UfAppErr tavo_GetVcomCfg(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, VcomCfgReply_st& reply,
                         GlobalCfg_st& global) noexcept {
    DeviceName_st name;
    const FileHandle vbus = OpenVbusFor(deviceSet, device, name);
    if (!vbus) {
        reply.result = UfAppErr_VbusNotReady;
        return UfAppErr_VbusNotReady;
    }
    return ReadVcomCfg(vbus.get(), name, reply, global);
}

UfAppErr tavo_SetVcomCfg(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, const VcomCfg& cfg) noexcept {
    DeviceName_st name;
    const FileHandle vbus = OpenVbusFor(deviceSet, device, name);
    if (!vbus) return UfAppErr_VbusNotReady;

    VcomCfgReply_st present = {};
    GlobalCfg_st global = {};
    UfAppErr result = ReadVcomCfg(vbus.get(), name, present, global);
    if (result != UfAppErr_Success) return result;

    result = WriteVcomCfg(vbus.get(), MakeVcomCfgRequest(name, BoundedText(cfg.portName), cfg.lifemode));
    if (result != UfAppErr_Success) return result;

    global.bindMode = cfg.bindMode;
    global.serialNumberOnNames = cfg.serialNumberOnNames ? 1 : 0;
    return WriteGlobalCfg(vbus.get(), global);
}

UfAppErr SetVcomPortAndLifemode(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, const wchar_t* portName,
                                uint32_t lifemode) noexcept {
    DeviceName_st name;
    const FileHandle vbus = OpenVbusFor(deviceSet, device, name);
    if (!vbus) return UfAppErr_VbusNotReady;
    return WriteVcomCfg(vbus.get(), MakeVcomCfgRequest(name, portName, lifemode));
}
