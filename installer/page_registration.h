// Hands one of the module's property pages to the device installer.
#pragma once

#include <memory>

#include "base/windows_api.h"

#include "installer/call_record.h"
#include "pages/prospage_params.h"

// Returns 0 when the page was added, and also when there is no page to add: no device information set,
// unreadable class-install parameters, a sheet that is full. 8 when the page could not be created.
//
// Once the page exists it owns `params`, which is then empty; otherwise the caller keeps the object. A page
// without an object is still created.
DWORD tavix_DIF_ADDPROPERTYPAGE_ADVANCED(const CallRecord& call, WORD templateId, DLGPROC procedure,
                                         std::unique_ptr<TavixProspageParam_base>& params) noexcept;
