// The port-name table of a VCOM: who has COM1 to COM128.
#pragma once

#include "sim/driver/model.h"

// Fills all kPortNameCount states as the viewer's VCOM sees them. The caller holds the ModelLock.
void FillPortTable(const SimDevice& viewer, uint32_t* states);
