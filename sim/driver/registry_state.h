// What the driver keeps in the registry for others to read. Failures are ignored: a key that is not there
// belongs to a device node that the system has not made, or has removed. The caller holds the ModelLock.
#pragma once

#include "sim/driver/model.h"

// The string "NowHuid" of the USB device; an empty text removes it.
void StoreNowHuid(const SimDevice& device, const wchar_t* huid);

// "UsbdLastStartupSuccessUemsec" of the USB device, milliseconds since 1970-01-01 UTC.
void StoreLastStartup(const SimDevice& device, uint64_t uemsec);

// The seven lifetime counters, for the USB device and for its VCOM.
void StoreHistory(const SimDevice& device);

// Friendly name and port name of the VCOM's device node.
void StoreVcomNames(const SimDevice& device);

// What the platform shim tells a process about a device node.
void StorePresence(const wchar_t* instanceId, size_t idChars, bool present, uint32_t problem);
void StoreVcomPresence(const SimDevice& device, bool present);

// After loading: device nodes of earlier sessions are known to the system but not there.
void StoreEarlierNodesAbsent();

// After a reset: the simulated nodes are absent, and what was declared about others is forgotten.
void ResetPresence();

// True when the COM database marks the port as taken.
bool IsPortInComDatabase(uint32_t portNumber);
