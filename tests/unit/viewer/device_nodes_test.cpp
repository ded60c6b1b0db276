#include "sim/viewer/device_nodes.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/unit/sim_shim/scratch_device.h"

namespace {

class DeviceNodesTest : public ScratchDeviceTest {
  protected:
    void SetText(DWORD property, const std::wstring& text) {
        ASSERT_TRUE(SetupDiSetDeviceRegistryPropertyW(
            set.get(), &element, property, reinterpret_cast<const BYTE*>(text.c_str()),
            static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))));
    }
    DeviceNode Described() { return DescribeDeviceNode(set.get(), element); }
};

TEST_F(DeviceNodesTest, ANodeIsNamedByItsDescription) {
    EXPECT_EQ(Described().name, L"Shim test");
}

TEST_F(DeviceNodesTest, AFriendlyNameComesFirst) {
    SetText(SPDRP_FRIENDLYNAME, L"Friend (COM7)");
    EXPECT_EQ(Described().name, L"Friend (COM7)");
}

TEST_F(DeviceNodesTest, SeveralTextsAreJoined) {
    SetText(SPDRP_HARDWAREID, std::wstring(L"first\0second\0", 13));
    EXPECT_EQ(DeviceText(set.get(), element, SPDRP_HARDWAREID), L"first, second");
}

TEST_F(DeviceNodesTest, AMissingTextIsEmpty) {
    EXPECT_EQ(DeviceText(set.get(), element, SPDRP_LOCATION_INFORMATION), L"");
}

TEST_F(DeviceNodesTest, APresentNodeWorks) {
    const DeviceNode node = Described();
    EXPECT_TRUE(node.present);
    EXPECT_EQ(node.problem, 0u);
    EXPECT_EQ(DeviceStatusText(node), L"This device is working properly.");
}

TEST_F(DeviceNodesTest, AProblemAndAnAbsenceAreTold) {
    DeviceNode node = Described();
    node.problem = 10;
    EXPECT_EQ(DeviceStatusText(node), L"This device has a problem. (Code 10)");
    node.present = false;
    EXPECT_EQ(DeviceStatusText(node),
              L"Currently, this hardware device is not connected to the computer. (Code 45)");
}

TEST_F(DeviceNodesTest, TheSystemsOwnNodesAreListedInOrder) {
    const auto nodes = EnumerateDeviceNodes();
    ASSERT_FALSE(nodes.empty());
    for (size_t index = 1; index < nodes.size(); ++index)
        EXPECT_LE(lstrcmpiW(nodes[index - 1].className.c_str(), nodes[index].className.c_str()), 0);
}

}  // namespace
