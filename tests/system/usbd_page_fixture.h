// The USB device page of one plugged device: its real dialog in a window of the test, on the simulated bus
// and on a device node whose log and hardware key the test writes.
#pragma once

#include <memory>
#include <string>

#include "resources/resource_ids.h"
#include "state/usberr_log.h"
#include "tests/support/dialog_under_test.h"
#include "tests/system/page_fixture.h"

inline constexpr int64_t kLogTime = 1'773'670'000'000;  // March 2026
inline constexpr char kOldEpisode[] =
    "*========================================*\r\n2026-03-15 08:00:00 old episode\r\n";
inline constexpr char kNewEpisode[] =
    "*========================================*\r\n2026-03-16 14:06:40 new episode\r\nSET_ADDRESS failed\r\n";
inline const std::string kTwoEpisodes = std::string(kOldEpisode) + kNewEpisode;
inline constexpr wchar_t kNewText[] = L"2026-03-16 14:06:40 new episode\r\nSET_ADDRESS failed\r\n";

std::wstring Wide(const std::string& ascii);

class UsbdPageTest : public PageTest {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Creates the page's dialog. Boxes that it shows on opening have to be expected before.
    void OpenPage();
    void ClosePage();
    // A fresh object for the next page; the one before is gone.
    void MakeParams();
    void Tick();
    // As the user does: the button takes the check and the page hears of it.
    void ChooseView(int radioId);

    // What the dialog procedure itself returns.
    LRESULT Answer(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const;
    // The text color that the page gives a control for its painting.
    COLORREF TextColor(int controlId, UINT message = WM_CTLCOLORSTATIC) const;
    HICON StateIcon() const;
    std::wstring Text(int controlId) const { return page_.Text(controlId); }
    std::wstring Log() const { return page_.Text(IDC_USBD_LOG_TEXT); }

    void SetPresence(bool present, uint32_t problem = 0);
    // Milliseconds since 1970 of the log's last writing.
    void WriteLog(const std::string& bytes, int64_t time = kLogTime);
    void SetStartupStamp(int64_t time);
    RegistryKey HardwareKey();
    // The next UfAppErr words of GetVcomCfg; 0 for the true one.
    void SetMappingResult(uint32_t result);

    SimDeviceState_st device_ = {};
    wchar_t logPath_[kUsberrPathChars] = {};
    std::unique_ptr<UsbdProspageParams_st> params_;
    DialogUnderTest page_;

  private:
    DeviceInfoList list_;
    SP_DEVINFO_DATA element_ = {};
};
