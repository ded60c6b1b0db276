#include "pages/prospage_params.h"

#include <prsht.h>

#include "base/trace_line.h"
#include "resources/resource_ids.h"
#include "tools/file_logging.h"

// The order is fixed: drawing objects before the tooltip.
VcomProspageParams_st::~VcomProspageParams_st() {
    boldFont.reset();
    lightRedBrush.reset();
    lightYellowBrush.reset();
    hint.reset();
}

void StorePageParams(HWND page, LPARAM initParam) noexcept {
    const auto* description = reinterpret_cast<const PROPSHEETPAGEW*>(initParam);
    SetDialogState(page, description != nullptr
                             ? reinterpret_cast<TavixProspageParam_base*>(description->lParam)
                             : nullptr);
}

void ShowPageLogging(HWND page) noexcept {
    ShowFileLoggingState(page, IDC_FILE_LOGGING);
}

void TracePageDestroyed(HWND page) noexcept {
    TraceLine(L"WM_DESTROY of property page, TavixProspageParam_base @ 0x%p",
              PageParams<TavixProspageParam_base>(page));
}
