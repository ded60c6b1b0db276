#include "tests/system/usbd_page_fixture.h"

#include "pages/usbd_page.h"
#include "state/device_values.h"

namespace {

constexpr GUID kUsbClass = {0x36FC9E60, 0xC465, 0x11CF, {0x80, 0x56, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}};

}  // namespace

std::wstring Wide(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

void UsbdPageTest::SetUp() {
    PageTest::SetUp();
    UsbIdentity identity;
    identity.serial = L"USBDPAGE";
    list_.reset(SetupDiCreateDeviceInfoList(&kUsbClass, nullptr));
    element_.cbSize = sizeof(element_);
    ASSERT_TRUE(SetupDiCreateDeviceInfoW(list_.get(), identity.InstanceId().c_str(), &kUsbClass, nullptr,
                                         nullptr, 0, &element_))
        << GetLastError();
    ASSERT_TRUE(SetupDiRegisterDeviceInfo(list_.get(), &element_, 0, nullptr, nullptr, nullptr))
        << GetLastError();
    device_ = Plug(identity);
    // The driver has just started the device; a test that needs the stamp sets its own.
    RegDeleteValueW(HardwareKey().get(), kDevLastStartupSuccess);
    ASSERT_TRUE(UsberrLogPath(list_.get(), &element_, logPath_));
    CreateDirectoryW(L"C:\\windows\\System32\\QrvTavix", nullptr);
    CreateDirectoryW(L"C:\\windows\\System32\\QrvTavix\\usberr", nullptr);
    DeleteFileW(logPath_);
    MakeParams();
    ASSERT_EQ(driver_.ClearRequests(), ERROR_SUCCESS);
}

void UsbdPageTest::TearDown() {
    ClosePage();
    params_.reset();
    PageTest::TearDown();
    DeleteFileW(logPath_);
    SetupDiRemoveDevice(list_.get(), &element_);
}

void UsbdPageTest::OpenPage() {
    page_ = DialogUnderTest(OpenDialog(IDD_USBD_PAGE, UsbdProspageDlgProc, params_.get()));
    ASSERT_NE(page_.window(), nullptr);
}

void UsbdPageTest::ClosePage() {
    CloseDialog();
    page_ = DialogUnderTest();
}

void UsbdPageTest::MakeParams() {
    params_ = std::make_unique<UsbdProspageParams_st>();
    params_->deviceInfoSet = list_.get();
    params_->deviceInfoData = &element_;
}

void UsbdPageTest::Tick() {
    SendMessageW(page_.window(), WM_TIMER, 68, 0);
}

void UsbdPageTest::ChooseView(int radioId) {
    page_.CheckRadio(IDC_USBD_SHOW_RECENT, IDC_USBD_SHOW_PAST, radioId);
    page_.Notify(radioId, BN_CLICKED);
}

LRESULT UsbdPageTest::Answer(UINT message, WPARAM wParam, LPARAM lParam) const {
    return UsbdProspageDlgProc(page_.window(), message, wParam, lParam);
}

COLORREF UsbdPageTest::TextColor(int controlId, UINT message) const {
    const HWND control = page_.Control(controlId);
    const HDC dc = GetDC(control);
    SendMessageW(page_.window(), message, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(control));
    const COLORREF color = GetTextColor(dc);
    ReleaseDC(control, dc);
    return color;
}

HICON UsbdPageTest::StateIcon() const {
    return reinterpret_cast<HICON>(SendMessageW(page_.Control(IDC_USBD_STATE_ICON), STM_GETICON, 0, 0));
}

void UsbdPageTest::SetPresence(bool present, uint32_t problem) {
    ASSERT_EQ(driver_.SetPresence(device_.instanceId, present, problem), ERROR_SUCCESS);
}

void UsbdPageTest::WriteLog(const std::string& bytes, int64_t time) {
    const FileHandle file(
        CreateFileW(logPath_, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    ASSERT_TRUE(WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
    const uint64_t units = static_cast<uint64_t>(time + 11644473600000) * 10000;
    const FILETIME stamp = {static_cast<DWORD>(units), static_cast<DWORD>(units >> 32)};
    ASSERT_TRUE(SetFileTime(file.get(), nullptr, nullptr, &stamp));
}

void UsbdPageTest::SetStartupStamp(int64_t time) {
    ASSERT_EQ(RegSetValueExW(HardwareKey().get(), kDevLastStartupSuccess, 0, REG_QWORD,
                             reinterpret_cast<const BYTE*>(&time), sizeof(time)),
              ERROR_SUCCESS);
}

RegistryKey UsbdPageTest::HardwareKey() {
    return RegistryKey(
        SetupDiCreateDevRegKeyW(list_.get(), &element_, DICS_FLAG_GLOBAL, 0, DIREG_DEV, nullptr, nullptr));
}

void UsbdPageTest::SetMappingResult(uint32_t result) {
    ASSERT_EQ(driver_.SetNumber(device_.huid, kSimFieldCfgResult, result), ERROR_SUCCESS);
}
