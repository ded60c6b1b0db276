// DIF_PROPERTYCHANGE on a VCOM.
#pragma once

#include "installer/call_record.h"

// Marks the change as pending in the element's install parameters. The change itself is left to the class
// installer. Failures change nothing and are not reported.
void HandlePropertyChange(const CallRecord& call) noexcept;
