#include "installer/page_registration.h"

#include "base/trace_line.h"
#include "pages/device_page.h"

namespace {

using AddPageParams = SP_ADDPROPERTYPAGE_DATA;
static_assert(sizeof(AddPageParams) == 192 && sizeof(SP_CLASSINSTALL_HEADER) == 8);

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
    const HPROPSHEETPAGE page = CreateDevicePage(call.deviceSet, call.device, templateId, procedure, params);
    if (page == nullptr) return ERROR_NOT_ENOUGH_MEMORY;

    sheet.DynamicPages[sheet.NumDynamicPages] = page;
    ++sheet.NumDynamicPages;
    SetupDiSetClassInstallParamsW(call.deviceSet, call.device, &sheet.ClassInstallHeader, sizeof(sheet));
    return NO_ERROR;
}
