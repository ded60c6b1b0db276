#include "installer/coinstaller.h"

#include <memory>

#include "base/trace_line.h"
#include "driver/vbus.h"
#include "installer/call_record.h"
#include "installer/device_kind.h"
#include "installer/dif_names.h"
#include "installer/page_registration.h"
#include "installer/property_change.h"
#include "installer/vbus_install.h"
#include "installer/vm_tuning.h"
#include "pages/usbd_page.h"
#include "pages/vbus_page.h"
#include "pages/vcom_page.h"
#include "resources/resource_ids.h"
#include "ui/activation_context.h"
#include "ui/custom_resource.h"
#include "ui/custom_resource_check.h"

namespace {

// The process that the call comes from; for the trace only.
struct HostProcess {
    DWORD id;
    wchar_t executable[MAX_PATH];
};

HostProcess ReadHostProcess() noexcept {
    HostProcess host = {};
    host.id = GetCurrentProcessId();
    GetModuleFileNameW(nullptr, host.executable, MAX_PATH);
    // The oldest systems leave a path that is too long without a terminator.
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

// Whatever the driver says, removal goes on.
void SendRemoveNotice(const CallRecord& call) noexcept {
    DoDeviceIoctl(call.deviceSet, call.device, IOCTL_TAVIX_RemoveDevice, nullptr, 0);
}

// Without memory for its object the page is asked for without one. An object that no page has taken is
// destroyed here.
template <typename Params>
void AddPage(const CallRecord& call, WORD templateId, DLGPROC procedure) noexcept {
    std::unique_ptr<TavixProspageParam_base> params(new Params);
    tavix_DIF_ADDPROPERTYPAGE_ADVANCED(call, templateId, procedure, params);
}

// The line names the installation, although a page was asked for.
void CheckCustomResource() noexcept {
    if (CheckCustomResourceFile()) return;
    TraceLine(L"%s:%s : %s checking error!", DeviceKindLabel(DeviceKind::Usbd), DifName(DIF_INSTALLDEVICE),
              kCustomResourceFileName);
}

void AddPropertyPage(const CallRecord& call, DeviceKind kind) noexcept {
    switch (kind) {
        case DeviceKind::Vcom:
            AddPage<VcomProspageParams_st>(call, IDD_VCOM_PAGE, VcomProspageDlgProc);
            break;
        case DeviceKind::Usbd:
            EnsureVbusDevice(nullptr);
            ApplyVmTuningOnce();
            AddPage<UsbdProspageParams_st>(call, IDD_USBD_PAGE, UsbdProspageDlgProc);
            CheckCustomResource();
            break;
        case DeviceKind::Vbus:
            AddPage<VbusProspageParams_st>(call, IDD_VBUS_PAGE, VbusProspageDlgProc);
            break;
        case DeviceKind::Unkn:
            break;
    }
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
