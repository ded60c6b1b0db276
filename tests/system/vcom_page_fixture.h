// The VCOM page of one plugged device: its real dialog in a window of the test, on the simulated bus.
#pragma once

#include <memory>
#include <string>

#include "resources/resource_ids.h"
#include "tests/support/dialog_under_test.h"
#include "tests/support/held_keys.h"
#include "tests/support/timer_record.h"
#include "tests/system/page_fixture.h"

class VcomPageTest : public PageTest {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Creates the page's dialog. Boxes that it shows on opening have to be expected before.
    void OpenPage();
    void ClosePage();
    // A fresh object for the next page; the one before is gone.
    void MakeParams();

    void Tick();
    DialogUnderTest dialog() const { return DialogUnderTest(page_); }
    void Click(int controlId) { dialog().Click(controlId); }
    std::wstring Text(int controlId) const { return dialog().Text(controlId); }
    bool IsEnabled(int controlId) const { return dialog().IsEnabled(controlId); }
    bool IsShown(int controlId) const { return dialog().IsShown(controlId); }
    bool IsChecked(int controlId) const { return dialog().IsChecked(controlId); }
    int Selection() const { return dialog().Selection(IDC_VCOM_PORT_NAME); }
    void Select(int portNumber) { dialog().Select(IDC_VCOM_PORT_NAME, portNumber - 1); }
    void Check(int firstId, int lastId, int checkedId) { dialog().CheckRadio(firstId, lastId, checkedId); }
    // What the dialog procedure itself returns.
    LRESULT Answer(UINT message, WPARAM wParam, LPARAM lParam) const;
    // The colors that the control would be painted with; the brush is null for the usual look.
    struct Look {
        HBRUSH brush;
        COLORREF text;
        COLORREF background;
        int mode;
    };
    Look LookOf(int controlId, UINT message = WM_CTLCOLORSTATIC) const;

    // As the property sheet does once it has released its pages.
    void DestroyDeviceList() { list_.reset(); }
    std::wstring DeviceTail();  // what the page names its VCOM by

    SimDeviceState_st device_ = {};
    // A slow machine would tick while a box is open.
    TimerRecord timers_{TimerRecord::Timers::kHeld};
    std::unique_ptr<VcomProspageParams_st> params_;
    HWND page_ = nullptr;

  private:
    DeviceInfoList list_;
    SP_DEVINFO_DATA element_ = {};
};
