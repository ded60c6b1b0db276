// What the tests of the property pages share: a page's real dialog in a window of the test, on the simulated
// bus.
#pragma once

#include <string>
#include <vector>

#include "base/win32_handle.h"
#include "pages/prospage_params.h"
#include "sim/client/refused_open.h"
#include "tests/support/import_redirect.h"
#include "tests/support/modal_driver.h"
#include "tests/system/sim_fixture.h"

class PageTest : public SimulatedBusTest {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Null on failure. Boxes that the page shows on opening have to be expected before.
    HWND OpenDialog(WORD templateId, DLGPROC procedure, TavixProspageParam_base* params);
    void CloseDialog();

    // Names of the requests since the last call, oldest first, and the requests themselves.
    std::vector<std::wstring> TakeRequests();
    const std::vector<LoggedRequest>& taken() const { return taken_; }

    // The driver's refusals of an opening reach the product.
    ReplacedCall<CreateFileW> hearingOpen_{"CreateFileW", CreateFileHearingRefusal};
    ModalDriver modal_;
    OwnedWindow frame_;

  private:
    HWND dialog_ = nullptr;
    std::vector<LoggedRequest> taken_;
};
