#include "tools/tools_menu_rows.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "driver/protocol.h"
#include "tools/tools_menu.h"

namespace {

// One line per row: number, icon, text; a submenu's rows below it, indented.
std::wstring Described(std::span<const MenuRow> rows, const std::wstring& indent = L"") {
    std::wstring lines;
    for (const MenuRow& row : rows) {
        if (row.text == nullptr) {
            lines += indent + L"-\n";
            continue;
        }
        lines += indent + std::to_wstring(row.id);
        if (row.icon != 0) lines += L" [" + std::to_wstring(row.icon) + L"]";
        lines += std::wstring(L" ") + row.text + L"\n" + Described(row.submenu, indent + L"    ");
    }
    return lines;
}

std::wstring MenuOf(const ToolsMenuLook& look) {
    MenuRow storage[kToolsMenuRows];
    return Described(FillToolsMenu(look, storage));
}

constexpr wchar_t kDeviceStates[] =
    L"0 VCOM WdfDeviceSetDeviceState\n"
    L"    1200 Disabled = no\n"
    L"    1210 Disabled = yes\n"
    L"    1201 Hide in Devmgmt = no\n"
    L"    1211 Hide in Devmgmt = yes\n"
    L"    1202 Mark fail = no\n"
    L"    1212 Mark fail = yes\n"
    L"    1203 Cannot disable = no\n"
    L"    1213 Cannot disable = yes\n"
    L"    1204 Removed = no\n"
    L"    1214 Removed = yes\n"
    L"    1205 Resource changed = no\n"
    L"    1215 Resource changed = yes\n";

TEST(ToolsMenuRows, EveryCombinationShowsItsEntriesInOrder) {
    constexpr unsigned kCombinations = 1u << 6;
    for (unsigned bits = 0; bits < kCombinations; ++bits) {
        const auto bit = [bits](unsigned place) { return (bits >> place & 1u) != 0; };
        const ToolsMenuLook look = {bit(0), bit(1), bit(2), bit(3), bit(4), bit(5)};
        std::wstring expected;
        if (look.terminalInstalled) expected += L"1042 [112] Pu&TTY\n";
        expected += L"1045 &Flowpath stat\n1051 &USB device property\n-\n";
        if (look.guideOffered) expected += L"1044 [111] User &guide\n";
        expected += look.aboutHasIcon ? L"1043 [103] &About TAVIX\n" : L"1043 &About TAVIX\n";
        if (look.developer) {
            expected += L"-\n1046 [113] Tweak your USB device\n1047 [116] Examine IRP states\n";
            expected += look.timerRunning ? L"1048 Stop VcomUI timer\n" : L"1049 Start VcomUI timer\n";
            expected += L"1052 Destroy Flowpath Stat History\n1060 Create a dangle VCOM\n";
            expected += look.blindRunActive ? L"1065 Stop USB blind run\n" : L"1064 Start USB blind run\n";
            expected += kDeviceStates;
        }
        EXPECT_EQ(MenuOf(look), expected) << "combination " << bits;
    }
}

struct DeviceStateRow {
    UINT command;
    bool asks;
    uint32_t stateIndex;
    uint32_t value;
};

TEST(ToolsMenuRows, DeviceStatesOneToFiveAskTheDriverAndResourceChangedAsksNothing) {
    const DeviceStateRow rows[] = {
        {1199, false, 77, 77}, {1200, true, 0, 0},    {1201, true, 1, 0},    {1202, true, 2, 0},
        {1203, true, 3, 0},    {1204, true, 4, 0},    {1205, false, 77, 77}, {1209, false, 77, 77},
        {1210, true, 0, 1},    {1211, true, 1, 1},    {1212, true, 2, 1},    {1213, true, 3, 1},
        {1214, true, 4, 1},    {1215, false, 77, 77}, {0, false, 77, 77},
    };
    for (const DeviceStateRow& row : rows) {
        uint32_t stateIndex = 77;
        uint32_t value = 77;
        EXPECT_EQ(DeviceStateOf(row.command, stateIndex, value), row.asks) << row.command;
        EXPECT_EQ(stateIndex, row.stateIndex) << row.command;
        EXPECT_EQ(value, row.value) << row.command;
    }
}

TEST(ToolsMenu, TheKeysNumberTheDangleVcom) {
    EXPECT_EQ(DangleIndex(false, false), 0u);
    EXPECT_EQ(DangleIndex(false, true), 1u);
    EXPECT_EQ(DangleIndex(true, false), 2u);
    EXPECT_EQ(DangleIndex(true, true), 3u);
}

}  // namespace
