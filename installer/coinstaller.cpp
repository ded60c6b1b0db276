#include "installer/coinstaller.h"

#include <optional>

#include "base/trace_line.h"
#include "driver/device_kind.h"
#include "driver/vbus.h"
#include "driver/vbus_install.h"
#include "driver/vm_tuning.h"
#include "installer/call_record.h"
#include "installer/dif_names.h"
#include "installer/page_registration.h"
#include "installer/property_change.h"
#include "pages/device_page.h"
#include "ui/activation_context.h"

namespace {

// The calling process, for the trace only.
struct HostProcess {
    DWORD id;
    wchar_t executable[MAX_PATH];
};

HostProcess ReadHostProcess() noexcept {
    HostProcess host = {};
    host.id = GetCurrentProcessId();
    GetModuleFileNameW(nullptr, host.executable, MAX_PATH);
    // The oldest systems do not terminate a path that is too long.
    host.executable[MAX_PATH - 1] = L'\0';
    return host;
}

void TraceEvent(DeviceKind kind, DI_FUNCTION installFunction) noexcept {
    TraceLine(L"%s:%s", DeviceKindLabel(kind), DifName(installFunction));
}

// The class installer installs the port; asking for post-processing has the module called again afterwards,
// although the second pass has no work.
DWORD InstallVcom(const COINSTALLER_CONTEXT_DATA* context) noexcept {
    if (context == nullptr || !context->PostProcessing) return ERROR_DI_POSTPROCESSING_REQUIRED;
    TraceLine(L"%s:%s", L"Vcom", L"DIF_INSTALLDEVICE PostProcessing");
    return NO_ERROR;
}

DWORD InstallDevice(const CallRecord& call, DeviceKind kind, const HostProcess& host) noexcept {
    TraceLine(L"%s:%s from pid=%d, EXE: %s", DeviceKindLabel(kind), DifName(call.installFunction), host.id,
              host.executable);
    switch (kind) {
        case DeviceKind::Vcom:
            return InstallVcom(call.context);
        case DeviceKind::Usbd:
            EnsureVbusDevice(nullptr);
            break;
        case DeviceKind::Vbus:
            CopyWdfLoaderForLegacyOs();
            break;
        case DeviceKind::Unkn:
            break;
    }
    ApplyVmTuningOnce();
    return NO_ERROR;
}

// Removal continues whatever the driver answers.
void SendRemoveNotice(const CallRecord& call) noexcept {
    DoDeviceIoctl(call.deviceSet, call.device, IOCTL_TAVIX_RemoveDevice, nullptr, 0);
}

// An object that no page took is destroyed here.
void AddPropertyPage(const CallRecord& call, DeviceKind kind) noexcept {
    std::optional<DevicePage> page = PrepareDevicePage(kind);
    if (!page.has_value()) return;
    tavix_DIF_ADDPROPERTYPAGE_ADVANCED(call, page->templateId, page->procedure, page->params);
    FinishDevicePage(kind);
}

DWORD Dispatch(const CallRecord& call, DeviceKind kind, const HostProcess& host) noexcept {
    if (call.installFunction == DIF_INSTALLDEVICE) return InstallDevice(call, kind, host);
    TraceEvent(kind, call.installFunction);
    switch (call.installFunction) {
        case DIF_REMOVE:
            SendRemoveNotice(call);
            break;
        case DIF_PROPERTYCHANGE:
            if (kind == DeviceKind::Vcom) HandlePropertyChange(call);
            break;
        case DIF_ADDPROPERTYPAGE_ADVANCED:
            AddPropertyPage(call, kind);
            break;
        default:
            break;
    }
    return NO_ERROR;
}

}  // namespace

extern "C" DWORD CALLBACK TavixCoInstaller(DI_FUNCTION installFunction, HDEVINFO deviceSet,
                                           SP_DEVINFO_DATA* device,
                                           COINSTALLER_CONTEXT_DATA* context) noexcept {
    IsolationAwareInitCommonControls();
    const CallRecord call = {installFunction, deviceSet, device, context};
    const HostProcess host = ReadHostProcess();
    return Dispatch(call, ClassifyDevice(deviceSet, device), host);
}
