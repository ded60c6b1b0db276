#include "proppages/page_provider.h"

#include <optional>

#include <setupapi.h>

#include "driver/coinstaller_entry.h"
#include "driver/device_kind.h"
#include "pages/device_page.h"
#include "ui/activation_context.h"

namespace {

static_assert(sizeof(SP_PROPSHEETPAGE_REQUEST) == 24);

// The size comes first: a record of another size may have nothing after it.
bool AsksForAdvancedProperties(const SP_PROPSHEETPAGE_REQUEST* request) noexcept {
    return request != nullptr && request->cbSize == sizeof(*request) &&
           request->PageRequested == SPPSR_ENUM_ADV_DEVICE_PROPERTIES && request->DeviceInfoSet != nullptr &&
           request->DeviceInfoData != nullptr;
}

// The release callback destroys the object of a page that exists, also of one that the sheet refuses.
bool AddPage(const SP_PROPSHEETPAGE_REQUEST& request, DevicePage& page, LPFNADDPROPSHEETPAGE addPage,
             LPARAM sheet) noexcept {
    const HPROPSHEETPAGE created = CreateDevicePage(request.DeviceInfoSet, request.DeviceInfoData,
                                                    page.templateId, page.procedure, page.params);
    if (created == nullptr) return false;
    if (addPage(created, sheet)) return true;
    DestroyPropertySheetPage(created);
    return false;
}

}  // namespace

extern "C" BOOL CALLBACK TavixEnumPropPages(void* request, LPFNADDPROPSHEETPAGE addPage,
                                            LPARAM sheet) noexcept {
    const auto* const asked = static_cast<const SP_PROPSHEETPAGE_REQUEST*>(request);
    if (!AsksForAdvancedProperties(asked) || addPage == nullptr) return FALSE;
    IsolationAwareInitCommonControls();
    const DeviceKind kind = ClassifyDevice(asked->DeviceInfoSet, asked->DeviceInfoData);
    if (kind == DeviceKind::Unkn || HasCoinstaller(asked->DeviceInfoSet, asked->DeviceInfoData)) return FALSE;
    std::optional<DevicePage> page = PrepareDevicePage(kind);
    if (!page.has_value()) return FALSE;
    const bool added = AddPage(*asked, *page, addPage, sheet);
    FinishDevicePage(kind);
    return added;
}
