// The global settings dialog as the product opens it, on the simulated bus. The steps of a test run on the
// dialog's own thread, between its messages.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/win32_handle.h"
#include "sim/client/refused_open.h"
#include "tests/support/dialog_under_test.h"
#include "tests/support/import_redirect.h"
#include "tests/support/modal_driver.h"
#include "tests/system/sim_fixture.h"

class GlobalSettingsTest : public SimulatedBusTest {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Opens the dialog and runs the steps in it; what they leave open is canceled. Returns the dialog's
    // result.
    INT_PTR Open(const std::function<void()>& steps);
    // Opens and presses OK; returns the record that went out.
    GlobalCfg_st OpenAndSave(const std::function<void()>& steps = [] {});

    // For the steps.
    bool IsOpen() const { return IsWindowVisible(dialog_.window()) != FALSE; }
    UINT CheckOf(int id) const { return IsDlgButtonChecked(dialog_.window(), id); }  // BST_...
    void Type(int id, const std::wstring& text) const;  // in place of what is there
    RECT AreaOf(int id) const;                          // in the dialog's client coordinates

    // Names of the requests since the last call, oldest first.
    std::vector<std::wstring> TakeRequests();
    // The last record sent in a SetGlobalCfg request; fails the test when there was none.
    GlobalCfg_st SentRecord();
    std::wstring LastBoxText() const;

    // The driver's refusals of an opening reach the product.
    ReplacedCall<CreateFileW> hearingOpen_{"CreateFileW", CreateFileHearingRefusal};
    ModalDriver modal_;
    OwnedWindow owner_;
    DialogUnderTest dialog_;  // while the steps run

  private:
    static LRESULT CALLBACK OnOwnerMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    static LRESULT CALLBACK OnWindowCreation(int code, WPARAM wParam, LPARAM lParam);
    void RunSteps(HWND dialog);

    std::function<void()> steps_;
    HHOOK hook_ = nullptr;
    inline static GlobalSettingsTest* current_ = nullptr;
};
