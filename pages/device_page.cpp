#include "pages/device_page.h"

#include "base/module.h"
#include "base/trace_line.h"
#include "driver/vbus_install.h"
#include "driver/vm_tuning.h"
#include "pages/usbd_page.h"
#include "pages/vbus_page.h"
#include "pages/vcom_page.h"
#include "resources/resource_ids.h"
#include "ui/activation_context.h"
#include "ui/custom_resource.h"
#include "ui/custom_resource_check.h"

namespace {

// The description with the header bitmap at its end, which the toolchain's declaration lacks.
struct FullPageDescription : PROPSHEETPAGEW {
    HBITMAP headerBitmap;
};
static_assert(sizeof(FullPageDescription) == 104);

template <typename Params>
DevicePage MakePage(WORD templateId, DLGPROC procedure) noexcept {
    return {templateId, procedure, std::unique_ptr<TavixProspageParam_base>(new Params)};
}

}  // namespace

std::optional<DevicePage> PrepareDevicePage(DeviceKind kind) noexcept {
    switch (kind) {
        case DeviceKind::Vcom:
            return MakePage<VcomProspageParams_st>(IDD_VCOM_PAGE, VcomProspageDlgProc);
        case DeviceKind::Usbd:
            EnsureVbusDevice(nullptr);
            ApplyVmTuningOnce();
            return MakePage<UsbdProspageParams_st>(IDD_USBD_PAGE, UsbdProspageDlgProc);
        case DeviceKind::Vbus:
            return MakePage<VbusProspageParams_st>(IDD_VBUS_PAGE, VbusProspageDlgProc);
        case DeviceKind::Unkn:
            break;
    }
    return std::nullopt;
}

// The line names the installation, although a page was asked for.
void FinishDevicePage(DeviceKind kind) noexcept {
    if (kind != DeviceKind::Usbd || CheckCustomResourceFile()) return;
    TraceLine(L"%s:%s : %s checking error!", DeviceKindLabel(kind), L"DIF_INSTALLDEVICE",
              kCustomResourceFileName);
}

HPROPSHEETPAGE CreateDevicePage(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, WORD templateId,
                                DLGPROC procedure,
                                std::unique_ptr<TavixProspageParam_base>& params) noexcept {
    if (params != nullptr) {
        params->deviceInfoSet = deviceSet;
        params->deviceInfoData = device;
    }
    FullPageDescription description = {};
    description.dwSize = sizeof(description);
    description.dwFlags = PSP_USECALLBACK | PSP_USEHICON;  // the title is the template's
    description.hInstance = ModuleInstance();
    description.pszTemplate = MAKEINTRESOURCEW(templateId);
    description.hIcon = CustomPageIcon();
    description.pfnDlgProc = procedure;
    description.lParam = reinterpret_cast<LPARAM>(params.get());
    description.pfnCallback = ProspageCallback;
    const HPROPSHEETPAGE page = IsolationAwareCreatePropertySheetPageW(&description);
    // From here on the release callback destroys the object.
    if (page != nullptr) static_cast<void>(params.release());
    return page;
}

UINT CALLBACK ProspageCallback(HWND, UINT message, PROPSHEETPAGEW* page) noexcept {
    if (message != PSPCB_RELEASE) return 1;
    auto* params = reinterpret_cast<TavixProspageParam_base*>(page->lParam);
    if (params != nullptr) {
        delete params;
        TraceLine(L"Free TavixProspageParam_base @ 0x%p", page->lParam);
    }
    return 0;
}
