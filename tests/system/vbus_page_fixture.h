// The page of the virtual bus: its real dialog in a window of the test, on the simulated bus.
#pragma once

#include <memory>
#include <string>

#include "tests/system/page_fixture.h"

class VbusPageTest : public PageTest {
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

    void MakeBusAbsent();
    std::wstring BoxText(size_t index) const;

    std::unique_ptr<VbusProspageParams_st> params_;
    HWND page_ = nullptr;

  private:
    DeviceInfoList list_;
    SP_DEVINFO_DATA element_ = {};
};
