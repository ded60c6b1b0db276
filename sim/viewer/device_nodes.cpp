#include "sim/viewer/device_nodes.h"

#include <algorithm>
#include <cstring>

#include <cfgmgr32.h>

#include "base/win32_handle.h"

namespace {

bool BeginsWith(const std::wstring& text, const wchar_t* prefix) {
    return _wcsnicmp(text.c_str(), prefix, std::wcslen(prefix)) == 0;
}

std::wstring ClassName(HDEVINFO set, SP_DEVINFO_DATA& element) {
    wchar_t description[256] = {};
    if (SetupDiGetClassDescriptionW(&element.ClassGuid, description, 256, nullptr) && description[0])
        return description;
    const std::wstring name = DeviceText(set, element, SPDRP_CLASS);
    return name.empty() ? L"Other devices" : name;
}

// The configuration manager cannot be asked for a parent here. Ports are children of the one virtual bus; for
// everything else the computer stands in.
void FindParents(std::vector<DeviceNode>& nodes) {
    const auto bus = std::find_if(nodes.begin(), nodes.end(), [](const DeviceNode& node) {
        return node.present && BeginsWith(node.instanceId, L"ROOT\\QRV_VBUS\\");
    });
    if (bus == nodes.end()) return;
    for (DeviceNode& node : nodes) {
        if (BeginsWith(node.instanceId, L"QRV_VBUS\\")) node.parentId = bus->instanceId;
    }
}

}  // namespace

bool DeviceNode::operator==(const DeviceNode& other) const {
    return instanceId == other.instanceId && name == other.name && className == other.className &&
           parentId == other.parentId && present == other.present && problem == other.problem;
}

std::wstring DeviceText(HDEVINFO set, SP_DEVINFO_DATA& element, DWORD property) {
    wchar_t buffer[1024] = {};
    DWORD type = 0;
    // Two characters stay free, so that a text without its terminators ends all the same.
    constexpr DWORD kBytes = sizeof(buffer) - 2 * sizeof(wchar_t);
    if (!SetupDiGetDeviceRegistryPropertyW(set, &element, property, &type, reinterpret_cast<BYTE*>(buffer),
                                           kBytes, nullptr))
        return {};
    if (type == REG_SZ || type == REG_EXPAND_SZ) return buffer;
    if (type != REG_MULTI_SZ) return {};
    std::wstring joined;
    for (const wchar_t* text = buffer; *text; text += std::wcslen(text) + 1) {
        if (!joined.empty()) joined += L", ";
        joined += text;
    }
    return joined;
}

std::wstring DeviceInstanceId(HDEVINFO set, SP_DEVINFO_DATA& element) {
    wchar_t id[MAX_DEVICE_ID_LEN] = {};
    return SetupDiGetDeviceInstanceIdW(set, &element, id, MAX_DEVICE_ID_LEN, nullptr) ? id : std::wstring();
}

DeviceNode DescribeDeviceNode(HDEVINFO set, SP_DEVINFO_DATA& element) {
    DeviceNode node;
    node.instanceId = DeviceInstanceId(set, element);
    node.name = DeviceText(set, element, SPDRP_FRIENDLYNAME);
    if (node.name.empty()) node.name = DeviceText(set, element, SPDRP_DEVICEDESC);
    if (node.name.empty()) node.name = node.instanceId;
    node.className = ClassName(set, element);
    node.classGuid = element.ClassGuid;
    ULONG status = 0;
    node.present = CM_Get_DevNode_Status(&status, &node.problem, element.DevInst, 0) == CR_SUCCESS;
    if (!node.present || !(status & DN_HAS_PROBLEM)) node.problem = 0;
    return node;
}

std::vector<DeviceNode> EnumerateDeviceNodes() {
    const DeviceInfoList set(SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_ALLCLASSES));
    std::vector<DeviceNode> nodes;
    if (!set) return nodes;
    SP_DEVINFO_DATA element = {};
    element.cbSize = sizeof(element);
    for (DWORD index = 0; SetupDiEnumDeviceInfo(set.get(), index, &element); ++index)
        nodes.push_back(DescribeDeviceNode(set.get(), element));
    FindParents(nodes);
    std::sort(nodes.begin(), nodes.end(), [](const DeviceNode& left, const DeviceNode& right) {
        if (const int order = lstrcmpiW(left.className.c_str(), right.className.c_str())) return order < 0;
        if (const int order = lstrcmpiW(left.name.c_str(), right.name.c_str())) return order < 0;
        return left.instanceId < right.instanceId;
    });
    return nodes;
}

std::wstring DeviceStatusText(const DeviceNode& node) {
    if (!node.present) return L"Currently, this hardware device is not connected to the computer. (Code 45)";
    if (node.problem == 0) return L"This device is working properly.";
    return L"This device has a problem. (Code " + std::to_wstring(node.problem) + L")";
}
