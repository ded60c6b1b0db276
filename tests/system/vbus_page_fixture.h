// The page of the virtual bus: its real dialog in a window of the test, on the simulated bus.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/win32_handle.h"
#include "pages/prospage_params.h"
#include "sim/client/refused_open.h"
#include "tests/support/import_redirect.h"
#include "tests/support/modal_driver.h"
#include "tests/system/sim_fixture.h"

class VbusPageTest : public SimulatedBusTest {
  protected:
    void SetUp() override;
    void TearDown() override;

    void OpenPage();
    void ClosePage();
    // What the dialog procedure itself returns.
    INT_PTR Answer(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const;
    // What the message gets as its result.
    LRESULT Result() const { return GetWindowLongPtrW(page_, DWLP_MSGRESULT); }
    // The developer menu, opened as a double click does, with this answer.
    void Choose(UINT command);

    // Names of the requests since the last call, oldest first, and the requests themselves.
    std::vector<std::wstring> TakeRequests();
    const std::vector<LoggedRequest>& taken() const { return taken_; }
    void MakeBusAbsent();
    std::wstring BoxText(size_t index) const;

    // The driver's refusals of an opening reach the product.
    ReplacedCall<CreateFileW> hearingOpen_{"CreateFileW", CreateFileHearingRefusal};
    ModalDriver modal_;
    std::unique_ptr<VbusProspageParams_st> params_;
    OwnedWindow frame_;
    HWND page_ = nullptr;

  private:
    DeviceInfoList list_;
    SP_DEVINFO_DATA element_ = {};
    std::vector<LoggedRequest> taken_;
};
