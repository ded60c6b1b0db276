// What the USB device page shows of its device's VCOM, and how it opens the VCOM's own properties.
#include <gtest/gtest.h>

#include "base/windows_api.h"

#include "base/properties_launcher.h"
#include "driver/vbus.h"
#include "tests/support/screenshot.h"
#include "tests/support/wait_until.h"
#include "tests/system/usbd_page_fixture.h"

namespace {

using Names = std::vector<std::wstring>;

constexpr COLORREF kRed = RGB(255, 0, 0);
constexpr wchar_t kNotReadyText[] = L"TAVIX Vbus is not ready, so VCOMs will not appear on your system.";
constexpr wchar_t kNotMappedText[] = L"This USB device has not mapped to a VCOM.";

TEST_F(UsbdPageTest, NamesThePortOfItsVcom) {
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), L"This USB device maps to " + std::wstring(device_.portName) + L" .");
    EXPECT_NE(TextColor(IDC_USBD_MAPPING), kRed);
    EXPECT_FALSE(params_->mappingFailed);
}

TEST_F(UsbdPageTest, AnEmptyPortNameIsAQuestionMark) {
    ASSERT_EQ(driver_.SetText(device_.huid, kSimFieldPortName, L""), ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), L"This USB device maps to ? .");
}

TEST_F(UsbdPageTest, APortNameIsShownAsItIsAndCutToItsField) {
    for (const auto& [name, shown] :
         {std::pair{L"COM&7", L"COM&7"}, {L"COM7 6789012345678", L"COM7 6789012345"}}) {
        ASSERT_EQ(driver_.SetText(device_.huid, kSimFieldPortName, name), ERROR_SUCCESS);
        OpenPage();
        EXPECT_EQ(Text(IDC_USBD_MAPPING), L"This USB device maps to " + std::wstring(shown) + L" .");
        ClosePage();
        MakeParams();
    }
}

struct MappingRow {
    const char* name;
    uint32_t result;
    const wchar_t* text;

    friend void PrintTo(const MappingRow& row, std::ostream* out) { *out << row.name; }
};

class UsbdPageMappingTest : public UsbdPageTest, public testing::WithParamInterface<MappingRow> {};

TEST_P(UsbdPageMappingTest, AFailedMappingIsExplainedInRed) {
    SetMappingResult(GetParam().result);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), GetParam().text);
    EXPECT_EQ(TextColor(IDC_USBD_MAPPING), kRed);
    EXPECT_NE(TextColor(IDC_USBD_STATUS), kRed);
    EXPECT_TRUE(params_->mappingFailed);
    EXPECT_FALSE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    EXPECT_EQ(page_.IsEnabled(IDC_FILE_LOGGING), GetParam().result != UfAppErr_VbusNotReady);
    EXPECT_EQ(Text(IDC_USBD_STATUS), L"USB device is connected and working. (Speed unknown)");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UsbdPageMappingTest,
    testing::Values(MappingRow{"Unnamed1", 1, L"Get PortName meets UfAppErr: 1 (UfApperr(UNKNOWN))"},
                    MappingRow{"Unknown", 2, L"Get PortName meets UfAppErr: 2 (UfAppErr_Unknown)"},
                    MappingRow{"WrongHuid", 6, L"Get PortName meets UfAppErr: 6 (UfAppErr_WrongHuid)"},
                    MappingRow{"NotReadyByTheDriver", 7, kNotReadyText},
                    MappingRow{"NoVcomYet", 9, kNotMappedText},
                    MappingRow{"Offline", 10, L"Get PortName meets UfAppErr: 10 (UfAppErr_UsbDeviceOffline)"},
                    MappingRow{"Unnamed11", 11, L"Get PortName meets UfAppErr: 11 (UfApperr(UNKNOWN))"},
                    MappingRow{"Largest", 0xFFFFFFFF,
                               L"Get PortName meets UfAppErr: -1 (UfApperr(UNKNOWN))"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(UsbdPageTest, TheMappingIsRedForBothColorMessages) {
    SetMappingResult(UfAppErr_NoVcomYet);
    OpenPage();
    EXPECT_EQ(TextColor(IDC_USBD_MAPPING, WM_CTLCOLORSTATIC), kRed);
    EXPECT_EQ(TextColor(IDC_USBD_MAPPING, WM_CTLCOLOREDIT), kRed);
}

TEST_F(UsbdPageTest, AFailedRequestCountsAsBadParameter) {
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetVcomCfg, static_cast<int32_t>(0xC0000001), kSimForever),
              ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), L"Get PortName meets UfAppErr: 4 (UfAppErr_BadParam)");
    EXPECT_EQ(TakeRequests(), (Names{L"GetLogCfg", L"GetVcomCfg"}));
}

TEST_F(UsbdPageTest, ADeviceWithoutAVcomIsNotMapped) {
    ASSERT_EQ(driver_.SetText(device_.huid, kSimFieldHuid, L""), ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), kNotMappedText);
    EXPECT_EQ(TextColor(IDC_USBD_MAPPING), kRed);
    EXPECT_FALSE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    EXPECT_TRUE(page_.IsEnabled(IDC_FILE_LOGGING));
    SaveScreenshot(page_.window(), L"usbd_page_not_mapped");
}

TEST_F(UsbdPageTest, AStatusThatTheSheetGivesTheFocusToHasNothingSelected) {
    OpenPage();
    const HWND status = page_.Control(IDC_USBD_STATUS);
    SendMessageW(page_.window(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(status), TRUE);
    ASSERT_NE(SendMessageW(status, EM_GETSEL, 0, 0), 0) << "the dialog manager selects";
    PumpPendingMessages();
    EXPECT_EQ(SendMessageW(status, EM_GETSEL, 0, 0), 0);
}

TEST_F(UsbdPageTest, WithoutABusTheLoggingBoxIsDisabledUntilItIsBack) {
    OpenPage();
    PumpPendingMessages();
    SetFocus(page_.Control(IDC_FILE_LOGGING));
    ASSERT_EQ(driver_.SetAccess({.busAbsent = 1}), ERROR_SUCCESS);
    Tick();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), kNotReadyText);
    EXPECT_EQ(TextColor(IDC_USBD_MAPPING), kRed);
    EXPECT_FALSE(page_.IsEnabled(IDC_FILE_LOGGING));
    EXPECT_FALSE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    EXPECT_EQ(GetFocus(), page_.Control(IDC_USBD_STATUS));
    PumpPendingMessages();
    EXPECT_EQ(SendMessageW(page_.Control(IDC_USBD_STATUS), EM_GETSEL, 0, 0), 0) << "text is selected";
    SaveScreenshot(page_.window(), L"usbd_page_driver_stopped");
    ASSERT_EQ(driver_.SetAccess({}), ERROR_SUCCESS);
    Tick();
    EXPECT_TRUE(page_.IsEnabled(IDC_FILE_LOGGING));
    EXPECT_TRUE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    EXPECT_NE(TextColor(IDC_USBD_MAPPING), kRed);
}

TEST_F(UsbdPageTest, AMappingThatComesAndGoesIsFollowed) {
    OpenPage();
    SetFocus(page_.Control(IDC_USBD_OPEN_VCOM));
    SetMappingResult(UfAppErr_NoVcomYet);
    Tick();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), kNotMappedText);
    EXPECT_FALSE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    EXPECT_EQ(GetFocus(), page_.Control(IDC_USBD_STATUS));
    SetMappingResult(UfAppErr_Success);
    Tick();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), L"This USB device maps to " + std::wstring(device_.portName) + L" .");
    EXPECT_TRUE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
}

TEST_F(UsbdPageTest, ThePathToTheVcomIsOpenOnlyWhileTheDeviceWorks) {
    OpenPage();
    EXPECT_TRUE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    SetPresence(true, 10);
    Tick();
    EXPECT_FALSE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    SetPresence(false);
    Tick();
    EXPECT_FALSE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    SetPresence(true);
    Tick();
    EXPECT_TRUE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
}

// ---- the properties of the VCOM ----

// Device Manager's launcher, as the page calls it.
class UsbdPageLauncherTest : public UsbdPageTest {
  protected:
    static void WINAPI Launch(HWND owner, HINSTANCE, const wchar_t* arguments, int show) {
        owner_ = owner;
        arguments_ = arguments;
        show_ = show;
    }
    // The system's library is not asked; its place is taken here.
    ReplacedCall<LoadLibraryW> library_{"LoadLibraryW", [](LPCWSTR name) {
                                            const bool launcher = wcsstr(name, L"devmgr.dll") != nullptr;
                                            return LoadLibraryW(launcher ? L"kernel32.dll" : name);
                                        }};
    ReplacedCall<GetProcAddress> launcher_{
        "GetProcAddress", [this](HMODULE module, LPCSTR name) -> FARPROC {
            if (reinterpret_cast<size_t>(name) > 0xFFFF && std::string(name) == "DeviceProperties_RunDLLW")
                return exists_ ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(Launch)) : nullptr;
            return GetProcAddress(module, name);
        }};
    void SetUp() override {
        UsbdPageTest::SetUp();
        ResetDeviceManagerLookup();
        arguments_.clear();
    }
    void TearDown() override {
        ResetDeviceManagerLookup();
        UsbdPageTest::TearDown();
    }

    bool exists_ = true;
    inline static HWND owner_ = nullptr;
    inline static std::wstring arguments_;
    inline static int show_ = 0;
};

TEST_F(UsbdPageLauncherTest, OpensTheVcomsOwnProperties) {
    OpenPage();
    KillTimer(page_.window(), 68);
    TakeRequests();
    page_.Click(IDC_USBD_OPEN_VCOM);
    EXPECT_EQ(arguments_, L"/DeviceID QRV_VBUS\\Qrv_vcom\\" + std::wstring(device_.huid));
    EXPECT_EQ(owner_, page_.window());
    EXPECT_EQ(show_, SW_SHOW);
    EXPECT_TRUE(TakeRequests().empty());
}

TEST_F(UsbdPageLauncherTest, WithoutAMappingTheErrorIsNamed) {
    OpenPage();
    ASSERT_EQ(driver_.SetText(device_.huid, kSimFieldHuid, L""), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    page_.Click(IDC_USBD_OPEN_VCOM);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"tavo_QueryVComFromUsbd() fail. UfAppErr=9(UfAppErr_NoVcomYet)");
    EXPECT_EQ(modal_.boxes()[0].icon, UINT{MB_ICONERROR});
    EXPECT_EQ(arguments_, L"");
}

TEST_F(UsbdPageLauncherTest, WithoutABusTheErrorIsNamed) {
    OpenPage();
    ASSERT_EQ(driver_.SetAccess({.busAbsent = 1}), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    page_.Click(IDC_USBD_OPEN_VCOM);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"tavo_QueryVComFromUsbd() fail. UfAppErr=7(UfAppErr_VbusNotReady)");
}

TEST_F(UsbdPageLauncherTest, WithoutALauncherTheErrorIsNamed) {
    exists_ = false;
    OpenPage();
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    page_.Click(IDC_USBD_OPEN_VCOM);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"WinErr=-536870674(UnknownWinErrCode)");
}

}  // namespace
