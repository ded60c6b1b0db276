// The device nodes that the system knows, as the tree and the sheets show them.
#pragma once

#include <string>
#include <vector>

#include "base/windows_api.h"

#include <setupapi.h>

struct DeviceNode {
    std::wstring instanceId;
    std::wstring name;       // friendly name, else description, else the instance ID
    std::wstring className;  // what the class calls itself, else its short name, else "Other devices"
    std::wstring parentId;   // empty for a node right under the computer
    GUID classGuid = {};
    bool present = false;
    ULONG problem = 0;  // CM_PROB code, 0 for a working device

    bool operator==(const DeviceNode& other) const;
};

// Absent nodes included, in the order of class and name.
std::vector<DeviceNode> EnumerateDeviceNodes();

// A text property (SPDRP code) of the element, empty when it has none. Several texts are joined with ", ".
std::wstring DeviceText(HDEVINFO set, SP_DEVINFO_DATA& element, DWORD property);
std::wstring DeviceInstanceId(HDEVINFO set, SP_DEVINFO_DATA& element);
DeviceNode DescribeDeviceNode(HDEVINFO set, SP_DEVINFO_DATA& element);

// "This device is working properly.", or what is wrong with it.
std::wstring DeviceStatusText(const DeviceNode& node);
