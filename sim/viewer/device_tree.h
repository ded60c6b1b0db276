// Which lines the tree shows, in order: plain data, no window.
#pragma once

#include <string>
#include <vector>

#include "sim/viewer/device_nodes.h"

enum class TreeOrder { ByType, ByConnection };

struct TreeLine {
    int depth = 0;  // 0 for the computer, the only line at that depth
    std::wstring text;
    std::wstring instanceId;  // empty for the computer and for a class
    GUID classGuid = {};      // of a device, and of the heading of its class
    bool dimmed = false;      // not present
    bool warned = false;      // has a problem
};

// The lines from top to bottom; each line's parent is the nearest earlier one of smaller depth.
std::vector<TreeLine> ArrangeTree(const std::vector<DeviceNode>& nodes, TreeOrder order, bool showHidden,
                                  const std::wstring& computerName);
