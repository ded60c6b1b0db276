#include "installer/page_registration.h"

#include "base/module.h"
#include "base/trace_line.h"
#include "ui/activation_context.h"
#include "ui/custom_resource.h"

namespace {

// The description with the header bitmap at its end, which the toolchain's declaration lacks.
struct FullPageDescription : PROPSHEETPAGEW {
    HBITMAP headerBitmap;
};
static_assert(sizeof(FullPageDescription) == 104);

using AddPageParams = SP_ADDPROPERTYPAGE_DATA;
static_assert(sizeof(AddPageParams) == 192 && sizeof(SP_CLASSINSTALL_HEADER) == 8);

HPROPSHEETPAGE CreatePage(WORD templateId, DLGPROC procedure, TavixProspageParam_base* params) noexcept {
    FullPageDescription description = {};
    description.dwSize = sizeof(description);
    description.dwFlags = PSP_USECALLBACK | PSP_USEHICON;  // the title is the template's
    description.hInstance = ModuleInstance();
    description.pszTemplate = MAKEINTRESOURCEW(templateId);
    description.hIcon = CustomPageIcon();
    description.pfnDlgProc = procedure;
    description.lParam = reinterpret_cast<LPARAM>(params);
    description.pfnCallback = ProspageCallback;
    return IsolationAwareCreatePropertySheetPageW(&description);
}

}  // namespace

DWORD tavix_DIF_ADDPROPERTYPAGE_ADVANCED(const CallRecord& call, WORD templateId, DLGPROC procedure,
                                         std::unique_ptr<TavixProspageParam_base>& params) noexcept {
    if (call.deviceSet == nullptr) {
        TraceLine(L"DIF_ADDPROPERTYPAGE_ADVANCED: DeviceInfoSet==NULL. Will do nothing.");
        return NO_ERROR;
    }
    AddPageParams sheet = {};
    sheet.ClassInstallHeader.cbSize = sizeof(sheet.ClassInstallHeader);
    if (!SetupDiGetClassInstallParamsW(call.deviceSet, call.device, &sheet.ClassInstallHeader, sizeof(sheet),
                                       nullptr))
        return NO_ERROR;
    if (sheet.NumDynamicPages >= MAX_INSTALLWIZARD_DYNAPAGES) return NO_ERROR;

    TraceLine(L"In tavix_DIF_ADDPROPERTYPAGE_ADVANCED(), TavixProspageParam_base @ 0x%p", params.get());
    if (params != nullptr) {
        params->deviceInfoSet = call.deviceSet;
        params->deviceInfoData = call.device;
    }
    const HPROPSHEETPAGE page = CreatePage(templateId, procedure, params.get());
    if (page == nullptr) return ERROR_NOT_ENOUGH_MEMORY;
    // From here on the release callback destroys the object.
    static_cast<void>(params.release());

    sheet.DynamicPages[sheet.NumDynamicPages] = page;
    ++sheet.NumDynamicPages;
    SetupDiSetClassInstallParamsW(call.deviceSet, call.device, &sheet.ClassInstallHeader, sizeof(sheet));
    return NO_ERROR;
}

UINT CALLBACK ProspageCallback(HWND, UINT message, PROPSHEETPAGEW* page) noexcept {
    if (message != PSPCB_RELEASE) return 1;
    auto* params = reinterpret_cast<TavixProspageParam_base*>(page->lParam);
    if (params != nullptr) {
        delete params;
        TraceLine(L"Free TavixProspageParam_base @ 0x%p", params);
    }
    return 0;
}
