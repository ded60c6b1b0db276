#include "pages/prospage_params.h"

#include <prsht.h>

// The order is fixed: drawing objects before the tooltip.
VcomProspageParams_st::~VcomProspageParams_st() {
    boldFont.reset();
    lightRedBrush.reset();
    lightYellowBrush.reset();
    hint.reset();
}

void StorePageParams(HWND dialog, LPARAM initParam) noexcept {
    const auto* description = reinterpret_cast<const PROPSHEETPAGEW*>(initParam);
    SetWindowLongPtrW(dialog, DWLP_USER, description != nullptr ? description->lParam : 0);
}
