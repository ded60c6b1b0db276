#include "sim/shim/devnode_status.h"

#include <cwctype>
#include <optional>
#include <string>

#include "base/win32_handle.h"
#include "sim/control/control_protocol.h"

namespace {

struct NodeState {
    bool present;
    ULONG problem;
};

RegistryKey OpenMachineKey(const std::wstring& path) {
    RegistryKey key;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, key.put());
    return key;
}

DWORD NumberIn(const RegistryKey& key, const wchar_t* name) {
    DWORD number = 0;
    DWORD bytes = sizeof(number);
    RegGetValueW(key.get(), nullptr, name, RRF_RT_REG_DWORD, nullptr, &number, &bytes);
    return number;
}

// One key per node, named by the upper-cased instance ID with '#' for each backslash.
std::optional<NodeState> SimulatedState(std::wstring instanceId) {
    for (wchar_t& character : instanceId)
        character = character == L'\\' ? L'#' : static_cast<wchar_t>(std::towupper(character));
    const RegistryKey key = OpenMachineKey(std::wstring(kSimNodesKey) + L"\\" + instanceId);
    if (!key) return std::nullopt;
    return NodeState{NumberIn(key, kSimNodePresentValue) != 0, NumberIn(key, kSimNodeProblemValue)};
}

NodeState StateOf(const std::wstring& instanceId) {
    if (const auto simulated = SimulatedState(instanceId)) return *simulated;
    return {static_cast<bool>(OpenMachineKey(L"SYSTEM\\CurrentControlSet\\Enum\\" + instanceId)), 0};
}

}  // namespace

CONFIGRET WINAPI GetDevNodeStatus(PULONG status, PULONG problem, DEVINST node, ULONG flags) {
    if (!status || !problem) return CR_INVALID_POINTER;
    if (flags != 0) return CR_INVALID_FLAG;
    wchar_t instanceId[MAX_DEVICE_ID_LEN] = {};
    if (CM_Get_Device_IDW(node, instanceId, MAX_DEVICE_ID_LEN, 0) != CR_SUCCESS) return CR_NO_SUCH_DEVNODE;
    const NodeState state = StateOf(instanceId);
    if (!state.present) return CR_NO_SUCH_DEVNODE;
    *problem = state.problem;
    *status = DN_DRIVER_LOADED | (state.problem == 0 ? DN_STARTED : DN_HAS_PROBLEM);
    return CR_SUCCESS;
}
