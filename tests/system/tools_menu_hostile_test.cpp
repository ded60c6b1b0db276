// The tools menu's entries when the driver is gone, denies, or answers with what nobody knows.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "driver/vbus.h"
#include "tests/system/tools_menu_fixture.h"

namespace {

constexpr wchar_t kMessage[] = L"TAVIX Message";
constexpr int kInfoText = 100;

struct Status {
    int32_t status;
    const wchar_t* text;  // number and name
};
constexpr Status kStatuses[] = {{static_cast<int32_t>(0xC0000022), L"5(ERROR_ACCESS_DENIED)"},
                                {static_cast<int32_t>(0xC000009D), L"1167(ERROR_DEVICE_NOT_CONNECTED)"},
                                {static_cast<int32_t>(0xC0000035), L"183(UnknownWinErrCode)"}};

class ToolsMenuHostileTest : public ToolsMenuTest {
  protected:
    void SetUp() override {
        ToolsMenuTest::SetUp();
        OpenIdlePage();
    }
    // The last box's text, of a message box or an info box.
    std::wstring LastText() const {
        const std::vector<BoxRecord> boxes = modal_.boxes();
        if (boxes.empty()) return L"";
        const std::wstring info = boxes.back().ControlText(kInfoText);
        return info.empty() ? boxes.back().text : info;
    }
};

// ---- the bus goes between the menu's opening and the choice

struct BusGoneRow {
    const char* name;
    UINT command;
    const wchar_t* title;  // null for no box
    const wchar_t* text;   // a part of it

    friend void PrintTo(const BusGoneRow& row, std::ostream* out) { *out << row.name; }
};

class ToolsMenuBusGoneTest : public ToolsMenuHostileTest, public testing::WithParamInterface<BusGoneRow> {};

TEST_P(ToolsMenuBusGoneTest, BetweenMenuAndChoiceIsSaidWhereItMatters) {
    if (GetParam().title != nullptr) modal_.ExpectBox(GetParam().title).Do([](BoxView& box) { box.Close(); });
    const HeldKeys keys({VK_SHIFT});
    WithMenu([this](MenuView& menu) {
        SimAccess_st access = {};
        access.busAbsent = 1;
        EXPECT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
        menu.Choose(GetParam().command);
    });
    EXPECT_EQ(modal_.boxes().size(), GetParam().title != nullptr ? 1u : 0u);
    EXPECT_NE(LastText().find(GetParam().text), std::wstring::npos) << LastText().c_str();
    EXPECT_TRUE(IsWindow(page_));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ToolsMenuBusGoneTest,
    testing::Values(
        BusGoneRow{"FlowpathStat", 1045, L"<TAVIX Scanner (COM5)> Flowpath Statistics", L"Flowpath is lost."},
        BusGoneRow{"UsbDevice", 1051, kMessage,
                   L"Error in GetUsbdPathOfVcom(). UfAppErr=7(UfAppErr_VbusNotReady)."},
        BusGoneRow{"About", 1043, L"About TAVIX", L"TAVIX port driver ([TAVIX])\r\n\r\nCopyright"},
        BusGoneRow{"UsbTweak", 1046, L"<TAVIX Scanner (COM5)> USB device tweak", L""},
        BusGoneRow{"IrpStates", 1047, L"TAVIX internal IRP state",
                   L"cu_VbusDoSimpleIoctl(IOCTL_TAVIX_GetIrpStateText) meets "
                   L"winerr=1167(ERROR_DEVICE_NOT_CONNECTED)"},
        BusGoneRow{"StopTimer", 1048, nullptr, L""}, BusGoneRow{"DestroyHistory", 1052, nullptr, L""},
        BusGoneRow{"DangleVcom", 1060, kMessage,
                   L"Create dangle VCOM fail (dangle.2). WinErr=1167(ERROR_DEVICE_NOT_CONNECTED)."},
        BusGoneRow{"BlindRun", 1064, kMessage,
                   L"IOCTL_TAVIX_StartBlindRun execution error.\n\nFlowpath is lost."},
        BusGoneRow{"DeviceState", 1201, nullptr, L""}),
    [](const auto& row) { return std::string(row.param.name); });

// ---- requests that fail

TEST_F(ToolsMenuHostileTest, ADangleVcomThatFailsIsReported) {
    const HeldKeys keys({VK_SHIFT});
    for (const Status& status : kStatuses) {
        ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_CreateDangleVcom, status.status), ERROR_SUCCESS);
        modal_.ExpectBox(kMessage).Press(IDOK);
        Choose(1060);
        EXPECT_EQ(LastText(),
                  std::wstring(L"Create dangle VCOM fail (dangle.2). WinErr=") + status.text + L".");
        EXPECT_EQ(modal_.boxes().back().icon, static_cast<UINT>(MB_ICONERROR));
        EXPECT_EQ(modal_.boxes().back().owner, frame_.get());
    }
}

TEST_F(ToolsMenuHostileTest, AHistoryOrADeviceStateThatFailsIsNotReported) {
    const HeldKeys keys({VK_SHIFT});
    for (const Status& status : kStatuses) {
        ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_DestroyFlowpathStatHistory, status.status), ERROR_SUCCESS);
        Choose(1052);
        ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_SetWdfDeviceState, status.status), ERROR_SUCCESS);
        Choose(1212);
    }
    EXPECT_TRUE(modal_.boxes().empty());
    EXPECT_EQ(TakeRequests().size(), 12u);
}

// ---- without the right to write

struct ReadOnlyRow {
    const char* name;
    UINT command;
    const wchar_t* text;  // null for no box

    friend void PrintTo(const ReadOnlyRow& row, std::ostream* out) { *out << row.name; }
};

class ToolsMenuReadOnlyTest : public ToolsMenuHostileTest, public testing::WithParamInterface<ReadOnlyRow> {};

TEST_P(ToolsMenuReadOnlyTest, IsDeniedBeforeTheDriver) {
    SimAccess_st access = {};
    access.refuseWrite = 1;
    ASSERT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
    if (GetParam().text != nullptr) modal_.ExpectBox(kMessage).Press(IDOK);
    const HeldKeys keys({VK_SHIFT});
    Choose(GetParam().command);
    EXPECT_EQ(LastText(), GetParam().text != nullptr ? GetParam().text : L"");
    EXPECT_EQ(TakeRequests(), std::vector<std::wstring>{L"GetFlowpathStat"});
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ToolsMenuReadOnlyTest,
    testing::Values(ReadOnlyRow{"DangleVcom", 1060,
                                L"Create dangle VCOM fail (dangle.2). WinErr=5(ERROR_ACCESS_DENIED)."},
                    ReadOnlyRow{
                        "BlindRun", 1064,
                        L"IOCTL_TAVIX_StartBlindRun execution error.\n\nWinErr=5(ERROR_ACCESS_DENIED)"},
                    ReadOnlyRow{"DeviceState", 1200, nullptr}),
    [](const auto& row) { return std::string(row.param.name); });

// ---- the device's name is gone

TEST_F(ToolsMenuHostileTest, ADeviceWithoutAnIdentitySendsNothing) {
    ReplacedCall<SetupDiGetDeviceInstanceIdW> identity(
        "SetupDiGetDeviceInstanceIdW",
        [](HDEVINFO, SP_DEVINFO_DATA*, wchar_t*, DWORD, DWORD*) { return FALSE; });
    const HeldKeys keys({VK_SHIFT});
    modal_.ExpectBox(kMessage).Press(IDOK);
    for (const UINT command : {1052u, 1200u, 1064u})
        Choose(command);
    EXPECT_EQ(LastText(), L"IOCTL_TAVIX_StartBlindRun execution error.\n\nFlowpath is lost.");
    EXPECT_TRUE(TakeRequests().empty());
}

}  // namespace
