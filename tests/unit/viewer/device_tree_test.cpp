#include "sim/viewer/device_tree.h"

#include <gtest/gtest.h>

namespace {

DeviceNode Node(const wchar_t* id, const wchar_t* className, const wchar_t* name) {
    DeviceNode node;
    node.instanceId = id;
    node.className = className;
    node.name = name;
    node.present = true;
    return node;
}

// The tree as text: two blanks per depth, "-" before an absent node, "!" before one with a problem.
std::wstring Drawn(const std::vector<TreeLine>& lines) {
    std::wstring text;
    for (const TreeLine& line : lines) {
        text.append(static_cast<size_t>(line.depth) * 2, L' ');
        if (line.dimmed) text += L"-";
        if (line.warned) text += L"!";
        text += line.text + L"\n";
    }
    return text;
}

class ArrangeTreeTest : public testing::Test {
  protected:
    ArrangeTreeTest() {
        nodes.push_back(Node(L"QRV_VBUS\\QRV_VCOM\\1", L"Ports", L"Port one"));
        nodes.push_back(Node(L"QRV_VBUS\\QRV_VCOM\\2", L"Ports", L"Port two"));
        nodes.push_back(Node(L"ROOT\\QRV_VBUS\\0000", L"System", L"Bus"));
        nodes[0].parentId = nodes[1].parentId = L"ROOT\\QRV_VBUS\\0000";
    }
    std::wstring Arranged(TreeOrder order, bool showHidden = false) const {
        return Drawn(ArrangeTree(nodes, order, showHidden, L"PC"));
    }
    std::vector<DeviceNode> nodes;
};

TEST_F(ArrangeTreeTest, ByTypeEachClassIsAHeading) {
    EXPECT_EQ(Arranged(TreeOrder::ByType), L"PC\n  Ports\n    Port one\n    Port two\n  System\n    Bus\n");
}

TEST_F(ArrangeTreeTest, ByConnectionEachNodeStandsUnderItsParent) {
    EXPECT_EQ(Arranged(TreeOrder::ByConnection), L"PC\n  Bus\n    Port one\n    Port two\n");
}

TEST_F(ArrangeTreeTest, AbsentNodesShowOnlyWhenAskedFor) {
    nodes[0].present = nodes[1].present = false;
    EXPECT_EQ(Arranged(TreeOrder::ByType), L"PC\n  System\n    Bus\n");
    EXPECT_EQ(Arranged(TreeOrder::ByType, true),
              L"PC\n  Ports\n    -Port one\n    -Port two\n  System\n    Bus\n");
}

TEST_F(ArrangeTreeTest, AProblemIsMarkedOnAPresentNodeOnly) {
    nodes[0].problem = nodes[1].problem = 10;
    nodes[1].present = false;
    EXPECT_EQ(Arranged(TreeOrder::ByType, true),
              L"PC\n  Ports\n    !Port one\n    -Port two\n  System\n    Bus\n");
}

TEST_F(ArrangeTreeTest, OnlyDevicesHaveAnInstanceId) {
    const auto lines = ArrangeTree(nodes, TreeOrder::ByType, false, L"PC");
    EXPECT_EQ(lines[0].instanceId, L"");
    EXPECT_EQ(lines[1].instanceId, L"");
    EXPECT_EQ(lines[2].instanceId, L"QRV_VBUS\\QRV_VCOM\\1");
}

TEST_F(ArrangeTreeTest, ADeviceAndItsHeadingCarryTheClass) {
    nodes[2].classGuid.Data1 = 0x4D36E97D;
    const auto lines = ArrangeTree(nodes, TreeOrder::ByType, false, L"PC");
    EXPECT_EQ(lines[1].classGuid.Data1, 0u);
    EXPECT_EQ(lines[4].classGuid.Data1, 0x4D36E97Du) << "the heading";
    EXPECT_EQ(lines[5].classGuid.Data1, 0x4D36E97Du);
}

TEST_F(ArrangeTreeTest, NoDevicesLeaveTheComputer) {
    nodes.clear();
    EXPECT_EQ(Arranged(TreeOrder::ByType), L"PC\n");
    EXPECT_EQ(Arranged(TreeOrder::ByConnection), L"PC\n");
}

}  // namespace
