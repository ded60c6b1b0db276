// The property sheet of the USB device behind the VCOM.
#include "tools/usb_device_property.h"

#include <gtest/gtest.h>

#include "base/properties_launcher.h"
#include "driver/vbus.h"
#include "tests/system/tools_menu_fixture.h"

namespace {

using Names = std::vector<std::wstring>;

struct Launch {
    HWND owner;
    std::wstring arguments;
};
std::vector<Launch> g_launches;

void WINAPI RecordLaunch(HWND owner, HINSTANCE, wchar_t* arguments, int) {
    g_launches.push_back({owner, arguments});
}

class UsbDevicePropertyTest : public ToolsMenuTest {
  protected:
    void SetUp() override {
        ToolsMenuTest::SetUp();
        g_launches.clear();
        ResetDeviceManagerLookup();
        OpenIdlePage();
    }
    void TearDown() override {
        ResetDeviceManagerLookup();
        ToolsMenuTest::TearDown();
    }

    bool launcherMissing_ = false;
    // The system's launcher is not asked; its place is taken here.
    ReplacedCall<LoadLibraryW> library_{"LoadLibraryW", [this](LPCWSTR name) {
                                            const bool launcher = wcsstr(name, L"devmgr.dll") != nullptr;
                                            if (launcher && launcherMissing_) return HMODULE{nullptr};
                                            return LoadLibraryW(launcher ? L"kernel32.dll" : name);
                                        }};
    ReplacedCall<GetProcAddress> function_{
        "GetProcAddress", [](HMODULE module, LPCSTR name) {
            const bool launcher =
                reinterpret_cast<ULONG_PTR>(name) > 0xFFFF && strcmp(name, "DeviceProperties_RunDLLW") == 0;
            return launcher ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(RecordLaunch))
                            : GetProcAddress(module, name);
        }};
};

TEST_F(UsbDevicePropertyTest, OpensTheSheetOfTheVcomsUsbDeviceOwnedByThePage) {
    Choose(1051);
    ASSERT_EQ(g_launches.size(), 1u);
    EXPECT_EQ(g_launches[0].owner, page_);
    EXPECT_EQ(g_launches[0].arguments, std::wstring(L"/DeviceID ") + device_.instanceId);
    EXPECT_EQ(TakeRequests(), Names{L"GetUsbdInfo"});
    EXPECT_EQ(taken()[0].DeviceName(), DeviceTail());
}

TEST_F(UsbDevicePropertyTest, WithCtrlTheSheetHasNoOwner) {
    const HeldKeys keys({VK_CONTROL});
    Choose(1051);
    ASSERT_EQ(g_launches.size(), 1u);
    EXPECT_EQ(g_launches[0].owner, nullptr);
}

TEST_F(UsbDevicePropertyTest, AnOfflineDeviceIsReportedAndNothingIsOpened) {
    ASSERT_EQ(driver_.SetOnline(device_.huid, false), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Choose(1051);
    EXPECT_EQ(BoxText(0), L"Error in GetUsbdPathOfVcom(). UfAppErr=10(UfAppErr_UsbDeviceOffline).");
    EXPECT_EQ(modal_.boxes()[0].owner, frame_.get());
    EXPECT_TRUE(g_launches.empty());
}

struct FailureRow {
    const char* name;
    int32_t status;  // 0: the reply is short
    const wchar_t* text;

    friend void PrintTo(const FailureRow& row, std::ostream* out) { *out << row.name; }
};

class UsbDevicePropertyFailureTest : public UsbDevicePropertyTest,
                                     public testing::WithParamInterface<FailureRow> {};

TEST_P(UsbDevicePropertyFailureTest, IsReportedWithNumberAndName) {
    if (GetParam().status != 0) {
        ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetUsbdInfo, GetParam().status), ERROR_SUCCESS);
    } else {
        ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetUsbdInfo, 1295), ERROR_SUCCESS);
    }
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Choose(1051);
    EXPECT_EQ(BoxText(0), GetParam().text);
    EXPECT_TRUE(g_launches.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UsbDevicePropertyFailureTest,
    testing::Values(FailureRow{"Denied", static_cast<int32_t>(0xC0000022),
                               L"Error in GetUsbdPathOfVcom(). UfAppErr=2(UfAppErr_Unknown)."},
                    FailureRow{"Short", 0, L"Error in GetUsbdPathOfVcom(). UfAppErr=2(UfAppErr_Unknown)."}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(UsbDevicePropertyTest, WithoutABusThatIsReported) {
    SimAccess_st access = {};
    access.busAbsent = 1;
    ASSERT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Choose(1051);
    EXPECT_EQ(BoxText(0), L"Error in GetUsbdPathOfVcom(). UfAppErr=7(UfAppErr_VbusNotReady).");
}

TEST_F(UsbDevicePropertyTest, ASystemWithoutTheLauncherIsReported) {
    launcherMissing_ = true;
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Choose(1051);
    EXPECT_EQ(BoxText(0), L"WinErr=-536870674(UnknownWinErrCode)");
    EXPECT_EQ(modal_.boxes()[0].icon, static_cast<UINT>(MB_ICONERROR));
    EXPECT_EQ(modal_.boxes()[0].owner, frame_.get());
    EXPECT_TRUE(g_launches.empty());
}

}  // namespace
