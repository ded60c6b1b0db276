#include "sim/viewer/device_tree.h"

namespace {

TreeLine LineOf(const DeviceNode& node, int depth) {
    TreeLine line;
    line.depth = depth;
    line.text = node.name;
    line.instanceId = node.instanceId;
    line.classGuid = node.classGuid;
    line.dimmed = !node.present;
    line.warned = node.present && node.problem != 0;
    return line;
}

bool IsShown(const DeviceNode& node, bool showHidden) {
    return node.present || showHidden;
}

// The nodes come ordered by class.
void ArrangeByType(const std::vector<DeviceNode>& nodes, bool showHidden, std::vector<TreeLine>& lines) {
    std::wstring className;
    for (const DeviceNode& node : nodes) {
        if (!IsShown(node, showHidden)) continue;
        if (node.className != className) {
            className = node.className;
            TreeLine heading;
            heading.depth = 1;
            heading.text = className;
            heading.classGuid = node.classGuid;
            lines.push_back(heading);
        }
        lines.push_back(LineOf(node, 2));
    }
}

void ArrangeChildren(const std::vector<DeviceNode>& nodes, const std::wstring& parentId, int depth,
                     bool showHidden, std::vector<TreeLine>& lines) {
    for (const DeviceNode& node : nodes) {
        if (node.parentId != parentId || !IsShown(node, showHidden)) continue;
        lines.push_back(LineOf(node, depth));
        ArrangeChildren(nodes, node.instanceId, depth + 1, showHidden, lines);
    }
}

}  // namespace

std::vector<TreeLine> ArrangeTree(const std::vector<DeviceNode>& nodes, TreeOrder order, bool showHidden,
                                  const std::wstring& computerName) {
    std::vector<TreeLine> lines(1);
    lines.front().text = computerName;
    if (order == TreeOrder::ByType) {
        ArrangeByType(nodes, showHidden, lines);
    } else {
        ArrangeChildren(nodes, {}, 1, showHidden, lines);
    }
    return lines;
}
