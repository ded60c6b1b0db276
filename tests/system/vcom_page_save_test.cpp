// Saving from the VCOM page: what is asked, what is sent, what is said.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "base/windows_api.h"

#include <prsht.h>

#include "driver/vbus.h"
#include "resources/resource_ids.h"
#include "state/driver_params.h"
#include "state/registry.h"
#include "tests/support/screenshot.h"
#include "tests/system/vcom_page_fixture.h"

namespace {

using Names = std::vector<std::wstring>;

const Names kReadRequests = {L"GetVcomCfg", L"GetGlobalCfg"};
// Compared first, then read again by the write.
const Names kSaveRequests = {L"GetVcomCfg",   L"GetGlobalCfg", L"GetVcomCfg",
                             L"GetGlobalCfg", L"SetVcomCfg",   L"SetGlobalCfg"};
// What the page shows again after a success.
const Names kRefreshRequests = {L"GetDriverVersion", L"GetVcomCfg", L"GetGlobalCfg", L"GetLogCfg"};

Names Joined(Names first, const Names& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

constexpr wchar_t kConflictQuestion[] =
    L"Your selected PortName \"COM20 (!)\" may cause conflict with another device.\n\nThis VCOM may stop "
    L"working or the other device will fail at a later moment.\n\nAre you sure to use the new PortName?";

class VcomPageSaveTest : public VcomPageTest {
  protected:
    void SetUp() override {
        VcomPageTest::SetUp();
        ASSERT_EQ(driver_.SetPortState(20, kPortOfPresentDevice), ERROR_SUCCESS);
    }

    void OpenIdlePage() {
        OpenPage();
        // No tick may come between the requests of a save.
        KillTimer(page_, 51);
        TakeRequests();
    }
    void SaveWithSuccess() {
        modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
        Click(IDC_VCOM_SAVE);
        ASSERT_FALSE(modal_.boxes().empty());
        EXPECT_EQ(modal_.boxes().back().text, L"TAVIX configuration save success.");
        EXPECT_EQ(modal_.boxes().back().icon, UINT{MB_ICONINFORMATION});
    }
    // True when the page stays active.
    bool KillActive() {
        NMHDR header = {page_, 0, static_cast<UINT>(PSN_KILLACTIVE)};
        EXPECT_TRUE(Answer(WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&header)));
        return GetWindowLongPtrW(page_, DWLP_MSGRESULT) != 0;
    }
    // What the page answers to the sheet's OK.
    LONG_PTR Apply() {
        NMHDR header = {page_, 0, static_cast<UINT>(PSN_APPLY)};
        EXPECT_TRUE(Answer(WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&header)));
        return GetWindowLongPtrW(page_, DWLP_MSGRESULT);
    }
    // The port of the request to write, as sent.
    std::wstring SentPort() {
        TakeRequests();
        for (const LoggedRequest& request : taken()) {
            if (request.record.code != IOCTL_TAVIX_SetVcomCfg) continue;
            VcomCfgRequest_st sent = {};
            memcpy(&sent, request.input.data(), std::min(sizeof(sent), request.input.size()));
            return sent.portName;
        }
        return L"(not sent)";
    }
    // The driver has the VCOM on a port that the list does not have.
    void AnswerWithPort200(uint32_t times) {
        VcomCfgReply_st reply = {};
        wcscpy(reply.portName, L"COM200");
        reply.lifemode = kLifemodeFriendly;
        const std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t*>(&reply), sizeof(reply));
        ASSERT_EQ(driver_.AnswerNext(RequestCode(L"GetVcomCfg"), bytes, times), ERROR_SUCCESS);
    }
};

TEST_F(VcomPageSaveTest, WithoutAChangeNothingIsSentAndNothingSaid) {
    OpenIdlePage();
    Click(IDC_VCOM_SAVE);
    EXPECT_EQ(TakeRequests(), kReadRequests);
    EXPECT_TRUE(modal_.boxes().empty());
}

TEST_F(VcomPageSaveTest, ANewPortIsSentWithItsMarkByteForByte) {
    ASSERT_EQ(driver_.SetPortState(30, 77), ERROR_SUCCESS);
    OpenIdlePage();
    Select(30);
    SaveWithSuccess();
    EXPECT_EQ(TakeRequests(), Joined(kSaveRequests, kRefreshRequests));

    VcomCfgRequest_st expected = {};
    DeviceTail().copy(expected.device.chars, kDeviceNameChars);
    expected.lifemode = device_.lifemode;
    wcscpy(expected.portName, L"COM30 (?)");
    const LoggedRequest& sent = taken()[4];
    ASSERT_EQ(sent.input.size(), sizeof(expected));
    EXPECT_EQ(memcmp(sent.input.data(), &expected, sizeof(expected)), 0);
}

TEST_F(VcomPageSaveTest, TheGlobalRecordKeepsWhatThePageDoesNotShow) {
    GlobalCfg_st global = {};
    ASSERT_EQ(driver_.QueryGlobalCfg(global), ERROR_SUCCESS);
    memset(global.reserved18, 0x5A, sizeof(global.reserved18));
    memset(global.reserved442, 0xA5, sizeof(global.reserved442));
    global.bindMode = 0;
    ASSERT_EQ(driver_.SetGlobalCfg(global), ERROR_SUCCESS);
    OpenIdlePage();
    Check(1007, 1010, 1009);
    Click(IDC_VCOM_SERIAL_IN_NAMES);
    SaveWithSuccess();
    TakeRequests();

    GlobalCfg_st expected = global;
    expected.bindMode = 2;
    expected.serialNumberOnNames = global.serialNumberOnNames == 0;
    ASSERT_EQ(taken()[5].input.size(), sizeof(expected));
    EXPECT_EQ(memcmp(taken()[5].input.data(), &expected, sizeof(expected)), 0);
}

// The list has no entry for the port in use, so nothing is selected and nothing was changed.
TEST_F(VcomPageSaveTest, APortBehindTheListIsNotAChange) {
    AnswerWithPort200(2);
    OpenIdlePage();
    ASSERT_EQ(Selection(), -1);
    Click(IDC_VCOM_SAVE);
    EXPECT_EQ(TakeRequests(), kReadRequests);
    EXPECT_TRUE(modal_.boxes().empty());
}

TEST_F(VcomPageSaveTest, APortBehindTheListGoesBackWithOtherChanges) {
    AnswerWithPort200(3);
    OpenIdlePage();
    Check(1002, 1004, 1004);
    SaveWithSuccess();
    EXPECT_EQ(SentPort(), L"COM200");
}

TEST_F(VcomPageSaveTest, WithoutAListThePortStays) {
    {
        REPLACE_CALL(
            send, SendMessageW, [](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
                return message == CB_ADDSTRING ? CB_ERRSPACE : SendMessageW(window, message, wParam, lParam);
            });
        OpenIdlePage();
    }
    Check(1002, 1004, device_.lifemode == kLifemodePersistent ? 1002 : 1004);
    SaveWithSuccess();
    EXPECT_EQ(SentPort(), device_.portName);
}

TEST_F(VcomPageSaveTest, ASelectedPortWhoseTextCannotBeReadIsNotReplacedByAnother) {
    OpenIdlePage();
    Select(20);
    Check(1002, 1004, device_.lifemode == kLifemodePersistent ? 1002 : 1004);
    REPLACE_CALL(text, GetDlgItemTextW, [](HWND, int, wchar_t* buffer, int) {
        buffer[0] = L'\0';
        return UINT{0};
    });
    Click(IDC_VCOM_SAVE);
    EXPECT_FALSE(KillActive());
    EXPECT_EQ(Apply(), PSNRET_INVALID_NOCHANGEPAGE) << "what the user chose is not lost";
    EXPECT_TRUE(TakeRequests().empty());
    EXPECT_TRUE(modal_.boxes().empty());
}

TEST_F(VcomPageSaveTest, ThePortIsReadOnceForTheQuestionAndTheSave) {
    OpenIdlePage();
    Select(20);
    int reads = 0;
    REPLACE_CALL(text, GetDlgItemTextW, [&](HWND page, int id, wchar_t* buffer, int chars) {
        if (id == IDC_VCOM_PORT_NAME) ++reads;
        return GetDlgItemTextW(page, id, buffer, chars);
    });
    modal_.ExpectBox(L"TAVIX Message").Press(IDYES);
    SaveWithSuccess();
    EXPECT_EQ(SentPort(), L"COM20 (!)");
    EXPECT_EQ(reads, 1);
}

struct ChangeRow {
    const char* name;
    void (*change)(HWND page);

    friend void PrintTo(const ChangeRow& row, std::ostream* out) { *out << row.name; }
};

class VcomPageChangeTest : public VcomPageSaveTest, public testing::WithParamInterface<ChangeRow> {};

TEST_P(VcomPageChangeTest, EachChangeAloneIsSaved) {
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldLifemode, kLifemodeFriendly), ERROR_SUCCESS);
    GlobalCfg_st global = {};
    ASSERT_EQ(driver_.QueryGlobalCfg(global), ERROR_SUCCESS);
    global.bindMode = kBindByDeviceType;
    ASSERT_EQ(driver_.SetGlobalCfg(global), ERROR_SUCCESS);
    OpenIdlePage();
    GetParam().change(page_);
    SaveWithSuccess();
    EXPECT_EQ(TakeRequests(), Joined(kSaveRequests, kRefreshRequests));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, VcomPageChangeTest,
    testing::Values(
        ChangeRow{"Port", [](HWND page) { SendDlgItemMessageW(page, 1005, CB_SETCURSEL, 99, 0); }},
        ChangeRow{"Lifemode", [](HWND page) { CheckRadioButton(page, 1002, 1004, 1004); }},
        ChangeRow{"SerialNumber", [](HWND page) { SendDlgItemMessageW(page, 1019, BM_CLICK, 0, 0); }},
        ChangeRow{"BindMode", [](HWND page) { CheckRadioButton(page, 1007, 1010, 1007); }}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(VcomPageSaveTest, UncheckedRadiosCountAsOne) {
    OpenIdlePage();
    for (const int id : {1002, 1003, 1004, 1007, 1008, 1009, 1010})
        CheckDlgButton(page_, id, BST_UNCHECKED);
    Select(31);
    SaveWithSuccess();
    TakeRequests();
    uint32_t lifemode = 0;
    memcpy(&lifemode, taken()[4].input.data() + 256, sizeof(lifemode));
    EXPECT_EQ(lifemode, 1u);
    uint32_t bindMode = 0;
    memcpy(&bindMode, taken()[5].input.data(), sizeof(bindMode));
    EXPECT_EQ(bindMode, 1u);
}

TEST_F(VcomPageSaveTest, AConfigurationThatCannotBeReadCountsAsChanged) {
    OpenIdlePage();
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldCfgResult, 6), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Click(IDC_VCOM_SAVE);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"Error in tavo_SetVcomCfg(). UfAppErr=6(UfAppErr_WrongHuid).");
}

TEST_F(VcomPageSaveTest, ADeniedWriteSaysThatAnAdministratorIsNeeded) {
    OpenIdlePage();
    SetVbusReadOnly(true);
    Select(30);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Click(IDC_VCOM_SAVE);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text,
              L"Cannot make the change, probably because you are not the Administrator.");
    EXPECT_EQ(Selection(), 29);
}

TEST_F(VcomPageSaveTest, TheDriversRefusalIsShownWithItsName) {
    OpenIdlePage();
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldSetCfgResult, 5), ERROR_SUCCESS);
    Select(30);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Click(IDC_VCOM_SAVE);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"Error in tavo_SetVcomCfg(). UfAppErr=5(UfAppErr_Registry).");
}

TEST_F(VcomPageSaveTest, ANameOfAnotherDeviceIsAskedAboutAndNoSendsNothing) {
    OpenIdlePage();
    Select(20);
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"vcom_page_conflict_question");
        box.Press(IDNO);
    });
    Click(IDC_VCOM_SAVE);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, kConflictQuestion);
    EXPECT_TRUE(TakeRequests().empty());
}

TEST_F(VcomPageSaveTest, ANameOfAnotherDeviceIsSavedAfterYes) {
    OpenIdlePage();
    Select(20);
    modal_.ExpectBox(L"TAVIX Message").Press(IDYES);
    SaveWithSuccess();
    EXPECT_EQ(modal_.boxes()[0].text, kConflictQuestion);
}

TEST_F(VcomPageSaveTest, ItsOwnNameIsSavedWithoutAQuestion) {
    OpenIdlePage();
    Check(1002, 1004, device_.lifemode == 0 ? 1003 : 1002);
    SaveWithSuccess();
    EXPECT_EQ(modal_.boxes().size(), 1u);
}

TEST_F(VcomPageSaveTest, LeavingThePageWithAConflictKeepsItActiveOnNo) {
    OpenIdlePage();
    Select(20);
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    EXPECT_TRUE(KillActive());
    modal_.ExpectBox(L"TAVIX Message").Press(IDYES);
    EXPECT_FALSE(KillActive());
}

TEST_F(VcomPageSaveTest, AQuestionThatCannotBeShownHoldsNothingAndSavesNothing) {
    OpenIdlePage();
    Select(20);
    REPLACE_CALL(box, MessageBoxW, [](HWND, LPCWSTR, LPCWSTR, UINT) { return 0; });
    EXPECT_FALSE(KillActive());
    Click(IDC_VCOM_SAVE);
    EXPECT_TRUE(TakeRequests().empty());
    EXPECT_EQ(box.calls(), 2);
}

TEST_F(VcomPageSaveTest, LeavingThePageWithoutAConflictAsksNothing) {
    OpenIdlePage();
    Select(31);
    EXPECT_FALSE(KillActive());
}

TEST_F(VcomPageSaveTest, ApplyingSavesWithoutTheConflictQuestion) {
    OpenIdlePage();
    Select(20);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    EXPECT_EQ(Apply(), PSNRET_NOERROR);
    EXPECT_EQ(TakeRequests(), Joined(kSaveRequests, kRefreshRequests));
}

TEST_F(VcomPageSaveTest, ApplyingWithoutAChangeOnlyReads) {
    OpenIdlePage();
    EXPECT_EQ(Apply(), PSNRET_NOERROR);
    EXPECT_EQ(TakeRequests(), kReadRequests);
}

TEST_F(VcomPageSaveTest, AFailedSaveKeepsTheSheetOpen) {
    OpenIdlePage();
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldSetCfgResult, 5), ERROR_SUCCESS);
    Select(30);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    EXPECT_EQ(Apply(), PSNRET_INVALID_NOCHANGEPAGE);
    EXPECT_EQ(Selection(), 29);
}

TEST_F(VcomPageSaveTest, APageThatNeverShowedAConfigurationSavesNothing) {
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldCfgResult, 6), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    OpenIdlePage();
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldCfgResult, 0), ERROR_SUCCESS);
    EXPECT_EQ(Apply(), PSNRET_NOERROR);
    EXPECT_TRUE(TakeRequests().empty());
    EXPECT_EQ(modal_.boxes().size(), 1u);
}

constexpr wchar_t kUnpluggedQuestion[] =
    L"This VCOM has been unplugged. Close its device property dialog now?";

// The page's parent stands for the property sheet.
bool SheetIsAskedToClose(HWND sheet) {
    MSG message;
    return PeekMessageW(&message, sheet, WM_CLOSE, WM_CLOSE, PM_REMOVE) != FALSE;
}

TEST_F(VcomPageSaveTest, AfterSavingAnUnpluggedVcomTheSheetIsClosedOnYes) {
    OpenIdlePage();
    ASSERT_EQ(driver_.SetPresence(device_.vcomInstanceId, false, 0), ERROR_SUCCESS);
    Select(30);
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"vcom_page_saved");
        box.Press(IDOK);
    });
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"vcom_page_close_question");
        box.Press(IDYES);
    });
    Click(IDC_VCOM_SAVE);
    ASSERT_EQ(modal_.boxes().size(), 2u);
    EXPECT_EQ(modal_.boxes()[1].text, kUnpluggedQuestion);
    EXPECT_TRUE(SheetIsAskedToClose(frame_.get()));
}

TEST_F(VcomPageSaveTest, AfterSavingAnUnpluggedVcomTheSheetStaysOnNo) {
    OpenIdlePage();
    ASSERT_EQ(driver_.SetPresence(device_.vcomInstanceId, false, 0), ERROR_SUCCESS);
    Select(30);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    Click(IDC_VCOM_SAVE);
    EXPECT_FALSE(SheetIsAskedToClose(frame_.get()));
}

// ---- Default ----

class VcomPageDefaultTest : public VcomPageSaveTest {
  protected:
    void SetUp() override {
        VcomPageSaveTest::SetUp();
        stored_ = ReadRegValue(HKEY_LOCAL_MACHINE, kDriverParametersKey, kParamVcomLifemode, before_);
    }
    void TearDown() override {
        if (stored_ == ERROR_SUCCESS) {
            WriteRegValue(HKEY_LOCAL_MACHINE, kDriverParametersKey, kParamVcomLifemode, before_, false);
        } else {
            Delete();
        }
        VcomPageSaveTest::TearDown();
    }
    static void Delete() {
        RegistryKey key;
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, kDriverParametersKey, 0, KEY_SET_VALUE, key.put());
        RegDeleteValueW(key.get(), kParamVcomLifemode);
    }
    void ExpectDefaultGives(int lifemodeId) {
        OpenIdlePage();
        Check(1002, 1004, lifemodeId == 1002 ? 1003 : 1002);
        CheckDlgButton(page_, IDC_VCOM_SERIAL_IN_NAMES, BST_CHECKED);
        Check(1007, 1010, 1010);
        Click(IDC_VCOM_DEFAULT);
        EXPECT_TRUE(IsChecked(lifemodeId));
        EXPECT_FALSE(IsChecked(IDC_VCOM_SERIAL_IN_NAMES));
        EXPECT_TRUE(IsChecked(IDC_VCOM_BIND_DEVICE_TYPE));
        EXPECT_FALSE(IsChecked(IDC_VCOM_BIND_USB_PORT));
        EXPECT_TRUE(TakeRequests().empty());
    }

  private:
    DWORD stored_ = 0;
    RegValue before_;
};

TEST_F(VcomPageDefaultTest, WithoutAParameterTheLifemodeIsFriendly) {
    Delete();
    ExpectDefaultGives(IDC_VCOM_LIFEMODE_FRIENDLY);
}

TEST_F(VcomPageDefaultTest, TheParameterChoosesTheLifemode) {
    ASSERT_EQ(WriteParamDword(kParamVcomLifemode, 2), DWORD{ERROR_SUCCESS});
    ExpectDefaultGives(IDC_VCOM_LIFEMODE_PERSISTENT);
}

TEST_F(VcomPageDefaultTest, AParameterOutsideTheChoicesCountsAsMissing) {
    ASSERT_EQ(WriteParamDword(kParamVcomLifemode, 3), DWORD{ERROR_SUCCESS});
    ExpectDefaultGives(IDC_VCOM_LIFEMODE_FRIENDLY);
}

}  // namespace
