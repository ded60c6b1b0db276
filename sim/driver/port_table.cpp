#include "sim/driver/port_table.h"

#include "sim/driver/registry_state.h"
#include "sim/driver/text.h"

namespace {

// The strongest claim wins: present devices before remembered ones, those before the database.
uint32_t ComputedState(const SimDevice& viewer, uint32_t portNumber) {
    if (ComNumber(viewer.portName, kPortNameChars) == portNumber) return kPortOfThisVcom;
    bool isRemembered = false;
    for (const SimDevice& device : g_model.devices) {
        if (!device.known || &device == &viewer || ComNumber(device.portName, kPortNameChars) != portNumber)
            continue;
        if (device.vcom != nullptr) return kPortOfPresentDevice;
        isRemembered = true;
    }
    if (isRemembered) return kPortOfUnpluggedVcom;
    return IsPortInComDatabase(portNumber) ? kPortOfOtherProvider : kPortFree;
}

}  // namespace

void FillPortTable(const SimDevice& device, uint32_t* states) {
    for (uint32_t i = 0; i < kPortNameCount; ++i) {
        const uint32_t declared = g_model.declaredPortStates[i];
        states[i] = declared != kSimPortComputed ? declared : ComputedState(device, i + 1);
    }
}
