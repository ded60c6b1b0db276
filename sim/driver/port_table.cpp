#include "sim/driver/port_table.h"

#include "sim/driver/registry_state.h"
#include "sim/driver/text.h"

namespace {

// The strongest claim wins: the viewer's own, then present devices, then remembered ones.
enum Claim : uint8_t { kNoClaim, kRemembered, kPresent, kOwn };

Claim ClaimOf(const SimDevice& device, const SimDevice& viewer) {
    if (&device == &viewer) return kOwn;
    return device.vcom != nullptr ? kPresent : kRemembered;
}

uint32_t ComputedState(Claim claim, uint32_t portNumber) {
    switch (claim) {
        case kOwn:
            return kPortOfThisVcom;
        case kPresent:
            return kPortOfPresentDevice;
        case kRemembered:
            return kPortOfUnpluggedVcom;
        case kNoClaim:
            break;
    }
    return IsPortInComDatabase(portNumber) ? kPortOfOtherProvider : kPortFree;
}

}  // namespace

// In one pass over the devices, so that many of them do not make a request slow.
void FillPortTable(const SimDevice& viewer, uint32_t* states) {
    Claim claims[kPortNameCount] = {};
    for (const SimDevice& device : g_model.devices) {
        if (!device.known) continue;
        const uint32_t number = ComNumber(device.portName, kPortNameChars);
        if (number == 0 || number > kPortNameCount) continue;
        Claim& claim = claims[number - 1];
        const Claim other = ClaimOf(device, viewer);
        if (other > claim) claim = other;
    }
    for (uint32_t i = 0; i < kPortNameCount; ++i) {
        const uint32_t declared = g_model.declaredPortStates[i];
        states[i] = declared != kSimPortComputed ? declared : ComputedState(claims[i], i + 1);
    }
}
