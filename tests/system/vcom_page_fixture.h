// The VCOM page of one plugged device: its real dialog in a window of the test, on the simulated bus.
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "base/win32_handle.h"
#include "pages/prospage_params.h"
#include "sim/client/refused_open.h"
#include "tests/support/import_redirect.h"
#include "tests/support/modal_driver.h"
#include "tests/system/sim_fixture.h"

// Keys that are down for the code of this thread that asks for them.
class HeldKeys {
  public:
    explicit HeldKeys(std::initializer_list<int> virtualKeys);
    ~HeldKeys();
    HeldKeys(const HeldKeys&) = delete;
    HeldKeys& operator=(const HeldKeys&) = delete;
};

class VcomPageTest : public SimulatedBusTest {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Creates the page's dialog. Boxes that it shows on opening have to be expected before.
    void OpenPage();
    void ClosePage();
    // A fresh object for the next page; the one before is gone.
    void MakeParams();

    void Click(int controlId);
    void Tick();
    std::wstring Text(int controlId) const;
    bool IsEnabled(int controlId) const;
    // Of the control itself: the test's window need not be on the screen.
    bool IsShown(int controlId) const;
    bool IsChecked(int controlId) const;
    int Selection() const;
    void Select(int portNumber);
    void Check(int firstId, int lastId, int checkedId);
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

    // Names of the requests since the last call, oldest first, and the requests themselves.
    std::vector<std::wstring> TakeRequests();
    const std::vector<LoggedRequest>& taken() const { return taken_; }
    std::wstring DeviceTail();  // what the page names its VCOM by

    // The driver's refusals of an opening reach the product.
    ReplacedCall<CreateFileW> hearingOpen_{"CreateFileW", CreateFileHearingRefusal};
    SimDeviceState_st device_ = {};
    ModalDriver modal_;
    std::unique_ptr<VcomProspageParams_st> params_;
    OwnedWindow frame_;
    HWND page_ = nullptr;

  private:
    DeviceInfoList list_;
    SP_DEVINFO_DATA element_ = {};
    std::vector<LoggedRequest> taken_;
};
