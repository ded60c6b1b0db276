// Checks the driver's mapping from a VCOM back to its USB device and shows the result in a message box.
#pragma once

// Both are texts of one USB information record (terminated). Ends without a message when there is no Vbus,
// because then there is nothing to test.
void SelfTestUsbdDevinstPath(const wchar_t* vcomInstancePath,
                             const wchar_t* expectedUsbdInstancePath) noexcept;
