// The VCOM page in the property sheet that Device Manager would make: asked for through the device installer,
// with another page to go to, and the sheet's own buttons.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "base/windows_api.h"

#include <prsht.h>

#include "tests/support/modal_driver.h"
#include "tests/system/package_fixture.h"

class VcomSheetTest : public PackageTest {
  protected:
    static constexpr uint32_t kTakenPort = 20;
    static constexpr int kOtherPort = 31;

    void TearDown() override;

    // The VCOM page in front, an empty one behind it.
    void OpenSheet();
    void Select(int portNumber);
    HWND CurrentPage() const { return PropSheet_GetCurrentPageHwnd(sheet_.get()); }
    std::wstring DeviceHuid();
    std::wstring PortName();
    std::wstring BoxText(size_t index) const;

    OwnedWindow sheet_;
    HWND page_ = nullptr;
    std::unique_ptr<ModalDriver> modal_;

  private:
    // A page without controls.
    struct EmptyTemplate {
        DLGTEMPLATE head = {DS_CONTROL | WS_CHILD | WS_CAPTION, 0, 0, 0, 0, 257, 215};
        WORD menuClassTitle[3] = {0, 0, 0};
    };

    EmptyTemplate template_;
    std::unique_ptr<OpenedNode> node_;
    std::array<HPROPSHEETPAGE, 20> pages_ = {};
    PROPSHEETHEADERW header_ = {};
};
