// The port-name table of a VCOM: who has COM1 to COM128.
#pragma once

#include "sim/driver/model.h"

// Fills all kPortNameCount states as seen by this device's VCOM. The caller holds the ModelLock.
void FillPortTable(const SimDevice& device, uint32_t* states);
