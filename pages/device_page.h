// The property page of each kind of device, for whoever puts it into a sheet: what an opening asks for before
// and after, and the page itself.
#pragma once

#include <memory>
#include <optional>

#include "base/windows_api.h"

#include <prsht.h>
#include <setupapi.h>

#include "driver/device_kind.h"
#include "pages/prospage_params.h"

struct DevicePage {
    WORD templateId;
    DLGPROC procedure;
    std::unique_ptr<TavixProspageParam_base> params;  // null without memory; the page is made all the same
};

// Which page a device of this kind has; nothing when it is none of ours. For a USB device it first makes sure
// that there is a bus and that the driver is tuned.
std::optional<DevicePage> PrepareDevicePage(DeviceKind kind) noexcept;

// What follows once the page was added, or could not be: for a USB device, a customer's library that is not
// intact is traced.
void FinishDevicePage(DeviceKind kind) noexcept;

// Null when the page cannot be created. Once it exists it owns `params`, which is then empty; otherwise the
// caller keeps the object.
HPROPSHEETPAGE CreateDevicePage(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, WORD templateId,
                                DLGPROC procedure, std::unique_ptr<TavixProspageParam_base>& params) noexcept;

// Destroys the page's object when the property sheet releases the page.
UINT CALLBACK ProspageCallback(HWND window, UINT message, PROPSHEETPAGEW* page) noexcept;
