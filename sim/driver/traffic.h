// Data that flows through a device without anybody sending or reading it.
#pragma once

#include "sim/driver/model.h"

// Adds to the device's counters what has flowed since the last call; nothing flows while it is offline. The
// caller holds the ModelLock.
void AdvanceTraffic(SimDevice& device);
