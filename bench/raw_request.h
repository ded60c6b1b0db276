// One request to the driver with raw calls only, as a peer of what the product does.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

#include <setupapi.h>

// Finds the bus, opens it, sends the request in the device's name, closes. Returns the bytes that came.
DWORD RawNamedRequest(const wchar_t* deviceName, uint32_t code, void* reply, DWORD replyBytes);

// The same with the name of a device that is asked for each time.
DWORD RawDeviceRequest(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, uint32_t code, void* reply,
                       DWORD replyBytes);
