#include "sim/driver/faults.h"

namespace {

struct Fault {
    bool active;
    SimFault_st rule;
    uint8_t* data;
};

constexpr size_t kMaxFaults = 64;
// In the order of declaration: a slot is free only behind the active ones.
Fault g_faults[kMaxFaults];

uint8_t* CopyData(const uint8_t* data, uint32_t bytes) {
    auto* copy = static_cast<uint8_t*>(AllocatePool(bytes));
    if (copy != nullptr) RtlCopyMemory(copy, data, bytes);
    return copy;
}

void RemoveFault(size_t index) {
    if (g_faults[index].data != nullptr) ExFreePoolWithTag(g_faults[index].data, kPoolTag);
    for (size_t i = index; i + 1 < kMaxFaults; ++i)
        g_faults[i] = g_faults[i + 1];
    g_faults[kMaxFaults - 1] = {};
}

}  // namespace

bool AddFault(const SimFault_st& rule, const uint8_t* data) {
    if (rule.count == 0) return true;
    for (Fault& fault : g_faults) {
        if (fault.active) continue;
        fault = {true, rule, nullptr};
        if (rule.dataBytes != 0) {
            fault.data = CopyData(data, rule.dataBytes);
            if (fault.data == nullptr) fault = {};
        }
        return fault.active;
    }
    return false;
}

MetFault TakeFault(uint32_t code) {
    MetFault met = {};
    for (size_t i = 0; i < kMaxFaults && g_faults[i].active; ++i) {
        Fault& fault = g_faults[i];
        if (fault.rule.code != 0 && fault.rule.code != code) continue;
        if (fault.rule.skip != 0) {
            --fault.rule.skip;
            continue;
        }
        met.rule = fault.rule;
        if (fault.data != nullptr) {
            met.data = CopyData(fault.data, fault.rule.dataBytes);
            if (met.data == nullptr) met.rule.dataBytes = 0;
        }
        if (fault.rule.count != kSimForever && --fault.rule.count == 0) RemoveFault(i);
        return met;
    }
    return met;
}

void ReleaseFault(MetFault& fault) {
    if (fault.data != nullptr) ExFreePoolWithTag(fault.data, kPoolTag);
    fault = {};
}

void ClearFaults() {
    while (g_faults[0].active)
        RemoveFault(0);
}

uint32_t ActiveFaults() {
    uint32_t count = 0;
    for (const Fault& fault : g_faults)
        count += fault.active ? 1 : 0;
    return count;
}
