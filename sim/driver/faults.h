// Fault injection: what shall happen to the next requests. The caller holds the ModelLock.
#pragma once

#include "sim/control/control_protocol.h"
#include "sim/driver/kernel.h"

// What a request meets; flags 0 means nothing.
struct MetFault {
    SimFault_st rule;
    uint8_t* data;  // reply bytes, rule.dataBytes of them; freed by ReleaseFault
};

// False when there are too many faults or the memory is missing.
bool AddFault(const SimFault_st& rule, const uint8_t* data);

// Counts the request against the first rule that matches.
MetFault TakeFault(uint32_t code);
void ReleaseFault(MetFault& fault);

void ClearFaults();
uint32_t ActiveFaults();
