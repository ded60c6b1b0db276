// The global settings dialog: what it shows of the driver's record, what goes back, and what it says when
// that fails.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "base/windows_api.h"

#include <richedit.h>

#include "driver/vbus.h"
#include "resources/resource_ids.h"
#include "tests/support/leak_counters.h"
#include "tests/support/long_run.h"
#include "tests/support/wait_until.h"
#include "tests/system/global_settings_fixture.h"
#include "tools/global_settings.h"
#include "ui/custom_resource.h"

namespace {

using Names = std::vector<std::wstring>;
using Bytes = std::vector<uint8_t>;

constexpr wchar_t kMessage[] = L"TAVIX Message";
constexpr uint32_t kNumbers[] = {0, 1, 2, 3, 0x7FFFFFFF, 0xFFFFFFFF};

Bytes BytesOf(const GlobalCfg_st& global) {
    const auto* start = reinterpret_cast<const uint8_t*>(&global);
    return {start, start + sizeof(global)};
}

void SetNames(GlobalCfg_st& global, std::wstring_view names) {
    std::memset(global.preferredPorts, 0, sizeof(global.preferredPorts));
    std::memcpy(global.preferredPorts, names.data(), names.size() * sizeof(wchar_t));
}

GlobalCfg_st SampleRecord() {
    GlobalCfg_st global = {};
    global.bindMode = 2;
    global.newVcomLifemode = kLifemodePersistent;
    global.prefetchMode = kPrefetchAndRecycle;
    global.prefetchBufferBytes = 65536;
    global.preferProductText = 1;
    global.reserved18[0] = 0x18;
    global.dropPartialBytes = 1;
    global.reserved25[1] = 0x26;
    global.clearInputDelayMinimumMs = 400;
    global.requireUniqueSerial = 1;
    global.datapipeLifemode = kDatapipeAlways;
    global.robPort = 1;
    global.reserved41 = 0x41;
    SetNames(global, L"COM20,COM21");
    global.reserved442[1] = 0x43;
    return global;
}

class GlobalSettingsDialog : public GlobalSettingsTest {
  protected:
    void Store(const GlobalCfg_st& global) { ASSERT_EQ(driver_.SetGlobalCfg(global), ERROR_SUCCESS); }
};

TEST_F(GlobalSettingsDialog, ShowsTheRecord) {
    Store(SampleRecord());
    Open([this] {
        EXPECT_EQ(dialog_.Selection(IDC_GLOBAL_NEW_VCOM_LIFEMODE), 2);
        EXPECT_EQ(dialog_.Text(IDC_GLOBAL_NEW_VCOM_LIFEMODE), L"Persistent");
        EXPECT_EQ(CheckOf(IDC_GLOBAL_PREFER_PORT_NAMES), UINT{BST_CHECKED});
        EXPECT_EQ(dialog_.Text(IDC_GLOBAL_PORT_NAMES), L"COM20,COM21");
        EXPECT_EQ(CheckOf(IDC_GLOBAL_ROB), UINT{BST_CHECKED});
        EXPECT_EQ(dialog_.Text(IDC_GLOBAL_PREFETCH_MODE), L"Fetch and recycle");
        EXPECT_EQ(dialog_.Text(IDC_GLOBAL_BUFFER_SIZE), L"buffer 65536 bytes");
        EXPECT_EQ(CheckOf(IDC_GLOBAL_CLEAR_INPUT), UINT{BST_UNCHECKED});
        EXPECT_EQ(CheckOf(IDC_GLOBAL_IPRODUCT_IN_NAMES), UINT{BST_CHECKED});
        EXPECT_EQ(CheckOf(IDC_GLOBAL_SERIAL_IN_NAMES), UINT{BST_UNCHECKED});
        EXPECT_EQ(CheckOf(IDC_GLOBAL_VIRTUAL_MACHINE), UINT{BST_CHECKED});
        EXPECT_EQ(CheckOf(IDC_GLOBAL_UNIQUE_SERIAL), UINT{BST_CHECKED});
        EXPECT_EQ(dialog_.Text(IDC_GLOBAL_DATAPIPE_LIFEMODE), L"Always");
        EXPECT_EQ(dialog_.Text(IDC_GLOBAL_DRIVER_VERSION).substr(0, 6), L"TAVIX ");
    });
}

TEST_F(GlobalSettingsDialog, AsksForTheRecordAndTheVersionAndSavesOnce) {
    Open([this] {
        EXPECT_EQ(TakeRequests(), (Names{L"GetGlobalCfg", L"GetDriverVersion"}));
        dialog_.Click(IDOK);
        EXPECT_FALSE(IsOpen());
    });
    EXPECT_EQ(TakeRequests(), (Names{L"SetGlobalCfg"}));
}

TEST_F(GlobalSettingsDialog, CancelAndClosingSaveNothing) {
    Store(SampleRecord());
    EXPECT_EQ(Open([this] {
                  dialog_.Click(IDC_GLOBAL_ROB);
                  dialog_.Click(IDCANCEL);
                  EXPECT_FALSE(IsOpen());
              }),
              0);
    EXPECT_EQ(Open([this] {
                  dialog_.Click(IDC_GLOBAL_ROB);
                  PostMessageW(dialog_.window(), WM_CLOSE, 0, 0);
                  PumpPendingMessages();
                  EXPECT_FALSE(IsOpen());
              }),
              0);
    for (const std::wstring& request : TakeRequests())
        EXPECT_NE(request, L"SetGlobalCfg");
}

TEST_F(GlobalSettingsDialog, LeftAloneSendsWhatItRead) {
    for (const uint32_t number : kNumbers) {
        GlobalCfg_st global = SampleRecord();
        global.bindMode = global.newVcomLifemode = global.prefetchMode = global.prefetchBufferBytes = number;
        global.preferProductText = global.serialNumberOnNames = global.clearInputOnOpen = global.robPort =
            static_cast<uint8_t>(number);
        global.dropPartialBytes = global.clearInputDelayMinimumMs = global.requireUniqueSerial =
            global.datapipeLifemode = number;
        Store(global);
        GlobalCfg_st expected = global;
        if (number == kPrefetchAndDiscard) expected.clearInputOnOpen = 0;
        EXPECT_EQ(BytesOf(OpenAndSave()), BytesOf(expected)) << number;
    }
}

// Any byte is random, but the names are characters that fonts have: others can end the platform's text
// drawing.
TEST_F(GlobalSettingsDialog, LeftAloneSendsRandomRecordsAsTheyCame) {
    std::mt19937 random(5);
    for (int round = 0; round < 10; ++round) {
        GlobalCfg_st global;
        auto* bytes = reinterpret_cast<uint8_t*>(&global);
        for (size_t i = 0; i < sizeof(global); ++i)
            bytes[i] = static_cast<uint8_t>(random());
        global.prefetchMode = kPrefetchAndRecycle + static_cast<uint32_t>(random() % 3);
        const size_t length = 1 + random() % 200;
        for (size_t i = 0; i < length; ++i)
            global.preferredPorts[i] = static_cast<wchar_t>(0x20 + random() % 0x5F);
        if (length < 200) global.preferredPorts[length] = L'\0';
        Store(global);
        EXPECT_EQ(BytesOf(OpenAndSave()), BytesOf(global)) << round;
    }
}

TEST_F(GlobalSettingsDialog, NamesWithoutATerminatorComeBackWhole) {
    GlobalCfg_st global = SampleRecord();
    SetNames(global, std::wstring(200, L'N'));
    Store(global);
    const GlobalCfg_st sent =
        OpenAndSave([this] { EXPECT_EQ(dialog_.Text(IDC_GLOBAL_PORT_NAMES), std::wstring(200, L'N')); });
    EXPECT_EQ(BytesOf(sent), BytesOf(global));
}

// ---- every control's way back ----

struct SwitchRow {
    const char* name;
    int controlId;
    size_t offset;
    size_t bytes;
};
void PrintTo(const SwitchRow& row, std::ostream* out) {
    *out << row.name;
}

class GlobalCheckBox : public GlobalSettingsDialog, public testing::WithParamInterface<SwitchRow> {};

TEST_P(GlobalCheckBox, GoesOutAsClicked) {
    const SwitchRow& row = GetParam();
    GlobalCfg_st global = SampleRecord();
    for (const bool on : {true, false}) {
        std::memset(reinterpret_cast<uint8_t*>(&global) + row.offset, 0, row.bytes);
        if (!on) reinterpret_cast<uint8_t*>(&global)[row.offset] = 2;
        Store(global);
        Bytes expected = BytesOf(global);
        expected[row.offset] = on ? 1 : 0;
        EXPECT_EQ(BytesOf(OpenAndSave([&] {
                      dialog_.Click(row.controlId);
                      EXPECT_EQ(CheckOf(row.controlId), on ? UINT{BST_CHECKED} : UINT{BST_UNCHECKED});
                  })),
                  expected)
            << on;
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, GlobalCheckBox,
                         testing::Values(SwitchRow{"Rob", IDC_GLOBAL_ROB, 40, 1},
                                         SwitchRow{"ClearInput", IDC_GLOBAL_CLEAR_INPUT, 24, 1},
                                         SwitchRow{"ProductText", IDC_GLOBAL_IPRODUCT_IN_NAMES, 16, 1},
                                         SwitchRow{"SerialNumber", IDC_GLOBAL_SERIAL_IN_NAMES, 17, 1},
                                         SwitchRow{"UniqueSerial", IDC_GLOBAL_UNIQUE_SERIAL, 32, 4}),
                         [](const auto& row) { return std::string(row.param.name); });

class GlobalList : public GlobalSettingsDialog, public testing::WithParamInterface<SwitchRow> {};

TEST_P(GlobalList, GoesOutAsChosen) {
    const SwitchRow& row = GetParam();
    GlobalCfg_st global = SampleRecord();
    const uint32_t outside = 9;
    std::memcpy(reinterpret_cast<uint8_t*>(&global) + row.offset, &outside, sizeof(outside));
    for (uint8_t entry = 0; entry < row.bytes; ++entry) {
        Store(global);
        Bytes expected = BytesOf(global);
        expected[row.offset] = entry;
        EXPECT_EQ(BytesOf(OpenAndSave([&] {
                      EXPECT_EQ(dialog_.Selection(row.controlId), CB_ERR);
                      EXPECT_EQ(SendDlgItemMessageW(dialog_.window(), row.controlId, CB_GETCOUNT, 0, 0),
                                static_cast<LRESULT>(row.bytes));
                      dialog_.Select(row.controlId, entry);
                  })),
                  expected)
            << int{entry};
    }
}

// The last number of a row: how many entries the list has.
INSTANTIATE_TEST_SUITE_P(Rows, GlobalList,
                         testing::Values(SwitchRow{"Lifemode", IDC_GLOBAL_NEW_VCOM_LIFEMODE, 4, 3},
                                         SwitchRow{"PrefetchMode", IDC_GLOBAL_PREFETCH_MODE, 8, 4},
                                         SwitchRow{"Datapipe", IDC_GLOBAL_DATAPIPE_LIFEMODE, 36, 3}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(GlobalSettingsDialog, AListWithoutRoomForAnEntryStaysEmptyAndKeepsItsSetting) {
    int entries = 0;
    REPLACE_CALL(add, SendDlgItemMessageW,
                 [&](HWND dialog, int id, UINT message, WPARAM wParam, LPARAM lParam) {
                     if (message == CB_ADDSTRING && ++entries == 2) return LRESULT{CB_ERRSPACE};
                     return SendDlgItemMessageW(dialog, id, message, wParam, lParam);
                 });
    GlobalCfg_st global = SampleRecord();
    global.newVcomLifemode = kLifemodeFriendly;
    Store(global);
    EXPECT_EQ(BytesOf(OpenAndSave([&] {
                  for (const int list : {IDC_GLOBAL_NEW_VCOM_LIFEMODE, IDC_GLOBAL_PREFETCH_MODE,
                                         IDC_GLOBAL_DATAPIPE_LIFEMODE}) {
                      const LRESULT count = SendMessageW(dialog_.Control(list), CB_GETCOUNT, 0, 0);
                      EXPECT_TRUE(count == 0 || count >= 3) << count << " entries";
                  }
              })),
              BytesOf(global));
}

// ---- the virtual machine's box ----

class VirtualMachineBox : public GlobalSettingsDialog {
  protected:
    GlobalCfg_st With(uint32_t dropPartialBytes, uint32_t delay) {
        GlobalCfg_st global = SampleRecord();
        global.dropPartialBytes = dropPartialBytes;
        global.clearInputDelayMinimumMs = delay;
        return global;
    }
    Bytes AfterClicks(const GlobalCfg_st& global, int clicks, UINT state) {
        Store(global);
        return BytesOf(OpenAndSave([&] {
            for (int i = 0; i < clicks; ++i)
                dialog_.Click(IDC_GLOBAL_VIRTUAL_MACHINE);
            EXPECT_EQ(CheckOf(IDC_GLOBAL_VIRTUAL_MACHINE), state);
        }));
    }
};

TEST_F(VirtualMachineBox, SwitchedOnRaisesAShortDelayAndKeepsALongOne) {
    EXPECT_EQ(AfterClicks(With(0, 0), 1, BST_CHECKED), BytesOf(With(1, 300)));
    EXPECT_EQ(AfterClicks(With(0, 301), 1, BST_CHECKED), BytesOf(With(1, 301)));
}

TEST_F(VirtualMachineBox, IndeterminateChangesNeitherField) {
    EXPECT_EQ(AfterClicks(With(0, 77), 2, BST_INDETERMINATE), BytesOf(With(0, 77)));
    EXPECT_EQ(AfterClicks(With(9, 77), 1, BST_INDETERMINATE), BytesOf(With(9, 77)));
}

TEST_F(VirtualMachineBox, SwitchedOffClearsBothFields) {
    EXPECT_EQ(AfterClicks(With(9, 77), 2, BST_UNCHECKED), BytesOf(With(0, 0)));
}

TEST_F(VirtualMachineBox, TurnedAllAroundIsLeftAlone) {
    EXPECT_EQ(AfterClicks(With(9, 77), 3, BST_CHECKED), BytesOf(With(9, 77)));
    EXPECT_EQ(AfterClicks(With(0, 77), 3, BST_UNCHECKED), BytesOf(With(0, 77)));
}

// ---- preferred port names ----

class PreferredNames : public GlobalSettingsDialog {
  protected:
    std::wstring SentNames(const std::function<void()>& steps) {
        const GlobalCfg_st sent = OpenAndSave(steps);
        const std::wstring field(sent.preferredPorts, 200);
        const size_t length = field.find(L'\0') == std::wstring::npos ? 200 : field.find(L'\0');
        EXPECT_EQ(field.find_first_not_of(L'\0', length), std::wstring::npos) << "zeros follow";
        return field.substr(0, length);
    }
};

TEST_F(PreferredNames, CheckBoxEnablesTheirFieldAndRobbing) {
    Store(GlobalCfg_st{});
    Open([this] {
        for (const bool on : {false, true, false}) {
            if (on != (CheckOf(IDC_GLOBAL_PREFER_PORT_NAMES) == BST_CHECKED))
                dialog_.Click(IDC_GLOBAL_PREFER_PORT_NAMES);
            EXPECT_EQ(dialog_.IsEnabled(IDC_GLOBAL_PORT_NAMES), on);
            EXPECT_EQ(dialog_.IsEnabled(IDC_GLOBAL_ROB), on);
        }
    });
}

TEST_F(PreferredNames, GoOutAsTyped) {
    Store(GlobalCfg_st{});
    EXPECT_EQ(SentNames([this] {
                  dialog_.Click(IDC_GLOBAL_PREFER_PORT_NAMES);
                  Type(IDC_GLOBAL_PORT_NAMES, L"COM7,COM8");
              }),
              L"COM7,COM8");
    Store(SampleRecord());
    EXPECT_EQ(SentNames([this] { Type(IDC_GLOBAL_PORT_NAMES, L"COM7"); }), L"COM7");
    EXPECT_EQ(SentNames([this] { Type(IDC_GLOBAL_PORT_NAMES, L""); }), L"");
}

TEST_F(PreferredNames, TakeNoMoreThan200Characters) {
    Store(SampleRecord());
    const std::wstring longest(200, L'x');
    EXPECT_EQ(SentNames([&] {
                  Type(IDC_GLOBAL_PORT_NAMES, longest + L"more");
                  EXPECT_EQ(dialog_.Text(IDC_GLOBAL_PORT_NAMES), longest);
              }),
              longest);
}

TEST_F(PreferredNames, UncheckedGoOutAsNothingAndRobbingStays) {
    Store(SampleRecord());
    EXPECT_EQ(SentNames([this] { dialog_.Click(IDC_GLOBAL_PREFER_PORT_NAMES); }), L"");
    EXPECT_EQ(SentRecord().robPort, 1);
}

TEST_F(PreferredNames, UncheckedAndCheckedAgainAreThoseFromBefore) {
    Store(SampleRecord());
    EXPECT_EQ(BytesOf(OpenAndSave([this] {
                  dialog_.Click(IDC_GLOBAL_PREFER_PORT_NAMES);
                  dialog_.Click(IDC_GLOBAL_PREFER_PORT_NAMES);
                  EXPECT_EQ(dialog_.Text(IDC_GLOBAL_PORT_NAMES), L"COM20,COM21");
              })),
              BytesOf(SampleRecord()));
}

TEST_F(PreferredNames, ThatCannotBeReadAreNotReplacedByNone) {
    Store(SampleRecord());
    Open([this] {
        TakeRequests();
        REPLACE_CALL(text, GetDlgItemTextW, [](HWND, int, wchar_t* buffer, int) {
            buffer[0] = L'\0';
            return UINT{0};
        });
        dialog_.Click(IDOK);
        EXPECT_TRUE(TakeRequests().empty());
        EXPECT_TRUE(IsOpen()) << "what the user chose is not lost";
        dialog_.Click(IDCANCEL);
    });
}

// ---- pre-fetch ----

class PrefetchMode : public GlobalSettingsDialog {
  protected:
    void ExpectMode(const wchar_t* explanation, bool buffer, bool clearEnabled) {
        EXPECT_EQ(dialog_.Text(IDC_GLOBAL_PREFETCH_HELP), explanation);
        EXPECT_EQ(dialog_.IsShown(IDC_GLOBAL_BUFFER_SIZE), buffer);
        EXPECT_EQ(dialog_.IsEnabled(IDC_GLOBAL_CLEAR_INPUT), clearEnabled);
    }
};

TEST_F(PrefetchMode, IsExplainedAtOnce) {
    Store(GlobalCfg_st{});
    Open([this] {
        ExpectMode(L"USB device will buffer upstream data itself. (No USB IN-token)", false, true);
        dialog_.Select(IDC_GLOBAL_PREFETCH_MODE, 1);
        ExpectMode(L"Upstream data will flow to Host(Windows) side and get discarded.", false, false);
        dialog_.Select(IDC_GLOBAL_PREFETCH_MODE, 2);
        ExpectMode(L"Data flow to Host side and get buffered. On buffer full, overwrite old data.", true,
                   true);
        dialog_.Select(IDC_GLOBAL_PREFETCH_MODE, 3);
        ExpectMode(L"On Host side buffer full, do not discard; USB device will buffer newer data.", true,
                   true);
    });
}

TEST_F(PrefetchMode, UnknownSaysSo) {
    for (const uint32_t mode : {4u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        GlobalCfg_st global = {};
        global.prefetchMode = mode;
        Store(global);
        Open([this] { ExpectMode(L"Bad, Unknown", false, true); });
    }
}

TEST_F(PrefetchMode, ShowsTheBufferAsASignedNumber) {
    struct Row {
        uint32_t bytes;
        const wchar_t* text;
    };
    for (const Row row : {Row{0, L"buffer 0 bytes"},
                          {0x7FFFFFFF, L"buffer 2147483647 bytes"},
                          {0xFFFFFFFF, L"buffer -1 bytes"}}) {
        GlobalCfg_st global = {};
        global.prefetchMode = kPrefetchAndPreserve;
        global.prefetchBufferBytes = row.bytes;
        Store(global);
        Open([&] { EXPECT_EQ(dialog_.Text(IDC_GLOBAL_BUFFER_SIZE), row.text); });
    }
}

TEST_F(PrefetchMode, DiscardingImpliesClearing) {
    GlobalCfg_st global = {};
    global.prefetchMode = kPrefetchAndDiscard;
    global.clearInputOnOpen = 1;
    Store(global);
    const GlobalCfg_st sent = OpenAndSave([this] {
        EXPECT_EQ(CheckOf(IDC_GLOBAL_CLEAR_INPUT), UINT{BST_UNCHECKED});
        EXPECT_FALSE(dialog_.IsEnabled(IDC_GLOBAL_CLEAR_INPUT));
    });
    EXPECT_EQ(sent.clearInputOnOpen, 0);
}

TEST_F(PrefetchMode, LookedAtAndLeftKeepsTheClearingBox) {
    GlobalCfg_st global = {};
    global.clearInputOnOpen = 2;
    Store(global);
    EXPECT_EQ(BytesOf(OpenAndSave([this] {
                  dialog_.Select(IDC_GLOBAL_PREFETCH_MODE, 1);
                  EXPECT_EQ(CheckOf(IDC_GLOBAL_CLEAR_INPUT), UINT{BST_UNCHECKED});
                  dialog_.Select(IDC_GLOBAL_PREFETCH_MODE, 0);
                  EXPECT_EQ(CheckOf(IDC_GLOBAL_CLEAR_INPUT), UINT{BST_CHECKED});
              })),
              BytesOf(global));
}

// A list that the user closes with Escape may return to its earlier entry without a word.
TEST_F(PrefetchMode, TakenBackInSilenceKeepsTheClearingBox) {
    GlobalCfg_st global = {};
    global.clearInputOnOpen = 1;
    Store(global);
    EXPECT_EQ(BytesOf(OpenAndSave([this] {
                  dialog_.Select(IDC_GLOBAL_PREFETCH_MODE, 1);
                  SendDlgItemMessageW(dialog_.window(), IDC_GLOBAL_PREFETCH_MODE, CB_SETCURSEL, 0, 0);
              })),
              BytesOf(global));
}

// ---- Default ----

TEST_F(GlobalSettingsDialog, DefaultShowsTheDefaultsAndSendsNothing) {
    GlobalCfg_st global = SampleRecord();
    global.prefetchMode = kPrefetchAndDiscard;
    global.serialNumberOnNames = 1;
    Store(global);
    Open([this] {
        TakeRequests();
        dialog_.Click(IDC_GLOBAL_DEFAULT);
        EXPECT_EQ(TakeRequests(), Names{});
        EXPECT_EQ(dialog_.Text(IDC_GLOBAL_NEW_VCOM_LIFEMODE), L"Friendly");
        EXPECT_EQ(CheckOf(IDC_GLOBAL_PREFER_PORT_NAMES), UINT{BST_UNCHECKED});
        EXPECT_EQ(dialog_.Text(IDC_GLOBAL_PORT_NAMES), L"");
        EXPECT_FALSE(dialog_.IsEnabled(IDC_GLOBAL_PORT_NAMES));
        EXPECT_EQ(CheckOf(IDC_GLOBAL_ROB), UINT{BST_UNCHECKED});
        EXPECT_EQ(dialog_.Text(IDC_GLOBAL_PREFETCH_MODE), L"No fetch");
        EXPECT_EQ(dialog_.Text(IDC_GLOBAL_PREFETCH_HELP),
                  L"USB device will buffer upstream data itself. (No USB IN-token)");
        EXPECT_EQ(CheckOf(IDC_GLOBAL_CLEAR_INPUT), UINT{BST_CHECKED});
        EXPECT_TRUE(dialog_.IsEnabled(IDC_GLOBAL_CLEAR_INPUT));
        EXPECT_EQ(CheckOf(IDC_GLOBAL_IPRODUCT_IN_NAMES), UINT{BST_UNCHECKED});
        EXPECT_EQ(CheckOf(IDC_GLOBAL_SERIAL_IN_NAMES), UINT{BST_UNCHECKED});
        EXPECT_EQ(CheckOf(IDC_GLOBAL_VIRTUAL_MACHINE), UINT{BST_UNCHECKED});
        EXPECT_EQ(CheckOf(IDC_GLOBAL_UNIQUE_SERIAL), UINT{BST_UNCHECKED});
        EXPECT_EQ(dialog_.Text(IDC_GLOBAL_DATAPIPE_LIFEMODE), L"On device present");
    });
}

TEST_F(GlobalSettingsDialog, DefaultGoesOutWithOk) {
    Store(SampleRecord());
    GlobalCfg_st expected = SampleRecord();
    expected.newVcomLifemode = 1;
    expected.prefetchMode = 0;
    expected.preferProductText = 0;
    expected.dropPartialBytes = 0;
    expected.clearInputOnOpen = 1;
    expected.clearInputDelayMinimumMs = 0;
    expected.requireUniqueSerial = 0;
    expected.datapipeLifemode = 1;
    expected.robPort = 0;
    SetNames(expected, L"");
    EXPECT_EQ(BytesOf(OpenAndSave([this] { dialog_.Click(IDC_GLOBAL_DEFAULT); })), BytesOf(expected));
}

// ---- failures ----

TEST_F(GlobalSettingsDialog, ARecordThatCannotBeReadEndsItWith255) {
    struct Row {
        const wchar_t* text;
        DWORD (*prepare)(SimulatedDriver& driver);
    };
    const Row rows[] = {
        {L"Error in AllGlb_ReloadDlgInfo(). UfAppErr=2(UfAppErr_Unknown).",
         [](SimulatedDriver& driver) {
             return driver.FailNext(IOCTL_TAVIX_GetGlobalCfg, static_cast<int32_t>(0xC0000001));
         }},
        {L"Error in AllGlb_ReloadDlgInfo(). UfAppErr=2(UfAppErr_Unknown).",
         [](SimulatedDriver& driver) { return driver.ShortenNext(IOCTL_TAVIX_GetGlobalCfg, 443); }},
        {L"Error in AllGlb_ReloadDlgInfo(). UfAppErr=7(UfAppErr_VbusNotReady).",
         [](SimulatedDriver& driver) {
             return driver.SetAccess({.openStatus = static_cast<int32_t>(0xC0000022)});
         }},
    };
    for (const Row& row : rows) {
        ASSERT_EQ(row.prepare(driver_), ERROR_SUCCESS);
        modal_.ExpectBox(kMessage).Press(IDOK);
        EXPECT_EQ(Open([] { ADD_FAILURE() << "the dialog is open"; }), 255);
        EXPECT_EQ(LastBoxText(), row.text);
        EXPECT_EQ(modal_.boxes().back().icon, UINT{MB_ICONERROR});
        EXPECT_TRUE(IsWindowEnabled(owner_.get()));
        ASSERT_EQ(driver_.SetAccess({}), ERROR_SUCCESS);
    }
}

TEST_F(GlobalSettingsDialog, OpensWithoutAVersion) {
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetDriverVersion, static_cast<int32_t>(0xC0000001)),
              ERROR_SUCCESS);
    Open([this] { EXPECT_EQ(dialog_.Text(IDC_GLOBAL_DRIVER_VERSION), L"[TAVIX]"); });
}

TEST_F(GlobalSettingsDialog, DeniedSavingKeepsItOpenWithWhatWasTyped) {
    ASSERT_EQ(driver_.SetAccess({.refuseWrite = 1}), ERROR_SUCCESS);
    Store(SampleRecord());
    EXPECT_EQ(Open([this] {
                  Type(IDC_GLOBAL_PORT_NAMES, L"COM77");
                  dialog_.Click(IDC_GLOBAL_IPRODUCT_IN_NAMES);
                  dialog_.Select(IDC_GLOBAL_PREFETCH_MODE, 0);
                  modal_.ExpectBox(kMessage).Press(IDOK);
                  dialog_.Click(IDOK);
                  EXPECT_EQ(LastBoxText(),
                            L"Cannot make the change, probably because you are not the Administrator.");
                  EXPECT_EQ(modal_.boxes().back().owner, dialog_.window());
                  EXPECT_TRUE(IsOpen());
                  EXPECT_EQ(dialog_.Text(IDC_GLOBAL_PORT_NAMES), L"COM77");
                  EXPECT_EQ(CheckOf(IDC_GLOBAL_IPRODUCT_IN_NAMES), UINT{BST_UNCHECKED});
                  EXPECT_EQ(dialog_.Selection(IDC_GLOBAL_PREFETCH_MODE), 0);
              }),
              0);
}

TEST_F(GlobalSettingsDialog, AFailedSaveCanBeTriedAgain) {
    Store(SampleRecord());
    GlobalCfg_st expected = SampleRecord();
    expected.robPort = 0;
    EXPECT_EQ(BytesOf(OpenAndSave([this] {
                  dialog_.Click(IDC_GLOBAL_ROB);
                  ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_SetGlobalCfg, static_cast<int32_t>(0xC0000001)),
                            ERROR_SUCCESS);
                  modal_.ExpectBox(kMessage).Press(IDOK);
                  dialog_.Click(IDOK);
                  EXPECT_EQ(LastBoxText(),
                            L"Error calling AllGlb_SaveDlgInfo(). UfAppErr=2(UfAppErr_Unknown).");
                  EXPECT_TRUE(IsOpen());
              })),
              BytesOf(expected));
}

struct RefusalRow {
    const char* name;
    Bytes reply;
    const wchar_t* text;
};
void PrintTo(const RefusalRow& row, std::ostream* out) {
    *out << row.name;
}

class DriversRefusal : public GlobalSettingsDialog, public testing::WithParamInterface<RefusalRow> {};

TEST_P(DriversRefusal, IsNamedAndKeepsItOpen) {
    Open([this] {
        ASSERT_EQ(driver_.AnswerNext(IOCTL_TAVIX_SetGlobalCfg, GetParam().reply), ERROR_SUCCESS);
        modal_.ExpectBox(kMessage).Press(IDOK);
        dialog_.Click(IDOK);
        EXPECT_EQ(LastBoxText(), GetParam().text);
        EXPECT_TRUE(IsOpen());
    });
}

constexpr wchar_t kNotAllowed[] = L"Cannot make the change, probably because you are not the Administrator.";

INSTANTIATE_TEST_SUITE_P(
    Rows, DriversRefusal,
    testing::Values(
        RefusalRow{
            "Registry", {5, 0, 0, 0}, L"Error calling AllGlb_SaveDlgInfo(). UfAppErr=5(UfAppErr_Registry)."},
        RefusalRow{"AccessDenied", {8, 0, 0, 0}, kNotAllowed}, RefusalRow{"CutToOneByte", {8}, kNotAllowed},
        RefusalRow{
            "Unknown", {1, 0, 0, 0}, L"Error calling AllGlb_SaveDlgInfo(). UfAppErr=1(UfApperr(UNKNOWN))."},
        RefusalRow{"Negative",
                   {255, 255, 255, 255},
                   L"Error calling AllGlb_SaveDlgInfo(). UfAppErr=-1(UfApperr(UNKNOWN))."}),
    [](const auto& row) { return row.param.name; });

TEST_F(GlobalSettingsDialog, ABusThatWentAwayKeepsItOpen) {
    Open([this] {
        ASSERT_EQ(driver_.SetAccess({.openStatus = static_cast<int32_t>(0xC0000022)}), ERROR_SUCCESS);
        modal_.ExpectBox(kMessage).Press(IDOK);
        dialog_.Click(IDOK);
        EXPECT_EQ(LastBoxText(), L"Error calling AllGlb_SaveDlgInfo(). UfAppErr=7(UfAppErr_VbusNotReady).");
        EXPECT_TRUE(IsOpen());
    });
}

TEST_F(GlobalSettingsDialog, WhatItShowedWinsOverAChangeMeanwhile) {
    Store(SampleRecord());
    EXPECT_EQ(BytesOf(OpenAndSave([this] { Store(GlobalCfg_st{}); })), BytesOf(SampleRecord()));
}

TEST_F(GlobalSettingsDialog, DoesNotOpenWithoutTheRichEdit) {
    ReplacedCall<LoadLibraryW> load("LoadLibraryW", [](LPCWSTR path) -> HMODULE {
        if (std::wstring_view(path).find(L"Riched20.dll") == std::wstring_view::npos)
            return ReplacedCall<LoadLibraryW>::Original(path);
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    });
    modal_.ExpectBox(kMessage).Press(IDOK);
    EXPECT_EQ(Open([] { ADD_FAILURE() << "the dialog is open"; }), -1);
    EXPECT_EQ(LastBoxText(), L"LoadLibrary('Riched20.dll') fail. WinErr=126");
    EXPECT_EQ(TakeRequests(), Names{});
}

// ---- the window ----

TEST_F(GlobalSettingsDialog, IsModalToItsOwner) {
    Open([this] {
        EXPECT_EQ(GetWindow(dialog_.window(), GW_OWNER), owner_.get());
        EXPECT_FALSE(IsWindowEnabled(owner_.get()));
    });
    EXPECT_TRUE(IsWindowEnabled(owner_.get()));
}

TEST_F(GlobalSettingsDialog, ShowsTheProgramsIcon) {
    Open([this] {
        EXPECT_EQ(reinterpret_cast<HICON>(
                      SendDlgItemMessageW(dialog_.window(), IDC_GLOBAL_ICON, STM_GETICON, 0, 0)),
                  CustomSmallIcon());
        for (const WPARAM kind : {ICON_SMALL, ICON_BIG})
            EXPECT_EQ(reinterpret_cast<HICON>(SendMessageW(dialog_.window(), WM_GETICON, kind, 0)),
                      CustomSmallIcon());
    });
}

struct AnchorTestRow {
    int controlId;
    LONG left, top, right, bottom;  // 1: the edge follows the size
};

TEST_F(GlobalSettingsDialog, ControlsKeepTheirPlacesWhenItGrows) {
    constexpr AnchorTestRow kRows[] = {
        {IDOK, 1, 1, 1, 1},
        {IDCANCEL, 1, 1, 1, 1},
        {IDC_GLOBAL_DEFAULT, 0, 1, 0, 1},
        {IDC_GLOBAL_EXPORT, 0, 1, 0, 1},
        {IDC_GLOBAL_ICON, 1, 0, 1, 0},
        {IDC_GLOBAL_DRIVER_VERSION, 1, 0, 1, 0},
        {IDC_GLOBAL_ROB, 1, 0, 1, 0},
        {IDC_GLOBAL_PORT_NAMES, 0, 0, 1, 0},
        {IDC_GLOBAL_PREFETCH_HELP, 0, 0, 1, 0},
        {IDC_GLOBAL_HELP, 0, 0, 1, 1},
        {IDC_GLOBAL_NEW_VCOM_LIFEMODE, 0, 0, 0, 0},
        {IDC_GLOBAL_PREFER_PORT_NAMES, 0, 0, 0, 0},
        {IDC_GLOBAL_PREFETCH_MODE, 0, 0, 0, 0},
        {IDC_GLOBAL_BUFFER_SIZE, 0, 0, 0, 0},
        {IDC_GLOBAL_CLEAR_INPUT, 0, 0, 0, 0},
        {IDC_GLOBAL_DATAPIPE_LIFEMODE, 0, 0, 0, 0},
    };
    Open([&] {
        std::vector<RECT> before;
        for (const AnchorTestRow& row : kRows)
            before.push_back(AreaOf(row.controlId));
        RECT window = {};
        GetWindowRect(dialog_.window(), &window);
        SetWindowPos(dialog_.window(), nullptr, 0, 0, window.right - window.left + 120,
                     window.bottom - window.top + 70, SWP_NOMOVE | SWP_NOZORDER);
        for (size_t i = 0; i < std::size(kRows); ++i) {
            const AnchorTestRow& row = kRows[i];
            const RECT after = AreaOf(row.controlId);
            EXPECT_EQ(after.left, before[i].left + row.left * 120) << row.controlId;
            EXPECT_EQ(after.top, before[i].top + row.top * 70) << row.controlId;
            EXPECT_EQ(after.right, before[i].right + row.right * 120) << row.controlId;
            EXPECT_EQ(after.bottom, before[i].bottom + row.bottom * 70) << row.controlId;
        }
    });
}

TEST_F(GlobalSettingsDialog, CannotBeSmallerThanItOpens) {
    Open([this] {
        RECT window = {};
        GetWindowRect(dialog_.window(), &window);
        MINMAXINFO limits = {};
        SendMessageW(dialog_.window(), WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits));
        EXPECT_EQ(limits.ptMinTrackSize.x, window.right - window.left);
        EXPECT_EQ(limits.ptMinTrackSize.y, window.bottom - window.top);
        EXPECT_NE(GetWindowLongPtrW(dialog_.window(), GWL_STYLE) & WS_THICKFRAME, 0);
    });
}

TEST_F(GlobalSettingsDialog, ShowsTheHelpTextFormattedFromItsStart) {
    Open([this] {
        const std::wstring help = dialog_.Text(IDC_GLOBAL_HELP);
        EXPECT_EQ(help.find(L"{\\rtf"), std::wstring::npos);
        EXPECT_EQ(help.rfind(L"TAVIX Global Settings", 0), 0u);
        for (const wchar_t* heading :
             {L"Preferred VCOM Lifemode for new VCOM", L"Prefer these PortNames for new VCOM",
              L"Rob from other driver", L"Input Pre-fetch mode before VCOM open",
              L"Clear VCOM input on port open", L"Prefer USB iProduct text in device names",
              L"USB Serial number on VCOM device names", L"Make TAVIX run better inside virtual machine",
              L"When Bindmode is by USB serial number, require unique SN",
              L"Datapipe device lifemode (legacy)"})
            EXPECT_NE(help.find(heading), std::wstring::npos)
                << testing::PrintToString(std::wstring(heading));
        EXPECT_EQ(SendDlgItemMessageW(dialog_.window(), IDC_GLOBAL_HELP, EM_GETFIRSTVISIBLELINE, 0, 0), 0);
        EXPECT_EQ(GetWindowLongPtrW(dialog_.Control(IDC_GLOBAL_HELP), GWL_STYLE) & WS_HSCROLL, 0);
    });
}

// A rich edit could take these keys for its text.
TEST_F(GlobalSettingsDialog, TabLeavesTheHelpTextAndEscapeCloses) {
    Open([this] {
        const HWND help = dialog_.Control(IDC_GLOBAL_HELP);
        const auto press = [&](WPARAM key) {
            MSG message = {help, WM_KEYDOWN, key, 1, 0, {}};
            if (!IsDialogMessageW(dialog_.window(), &message)) DispatchMessageW(&message);
            PumpPendingMessages();
        };
        SendMessageW(dialog_.window(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(help), TRUE);
        EXPECT_EQ(GetFocus(), help);
        CHARRANGE selected = {};
        SendMessageW(help, EM_EXGETSEL, 0, reinterpret_cast<LPARAM>(&selected));
        EXPECT_EQ(selected.cpMin, selected.cpMax) << "the focus selects nothing";
        press(VK_TAB);
        EXPECT_EQ(GetFocus(), dialog_.Control(IDC_GLOBAL_DEFAULT));
        SetFocus(help);
        press(VK_ESCAPE);
        EXPECT_FALSE(IsOpen());
    });
}

// ---- upkeep ----

TEST_F(GlobalSettingsDialog, LeavesNothingBehind) {
    Store(SampleRecord());
    ExpectNoLeaks([this] { Open([this] { dialog_.Click(IDOK); }); }, RunsOf(5, 1000));
}

}  // namespace
