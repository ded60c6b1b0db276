// The tools menu of an opened VCOM page whose own updates rest, so that every request is the menu's.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "tests/support/resource_library.h"
#include "tests/support/scratch_system_directory.h"
#include "tests/system/vcom_page_fixture.h"
#include "tools/tool_host.h"

class ToolsMenuTest : public VcomPageTest {
  protected:
    void TearDown() override;

    void OpenIdlePage();
    // Installs and loads the library for the rest of the test.
    void UseCustomer(const ResourceLibrary& library);
    // Opens the menu by its button and has it seen by `script`, which ends it. Returns when what was chosen
    // is done.
    void WithMenu(std::function<void(MenuView&)> script);
    void Choose(UINT command);
    void Dismiss();
    MenuRecord LastMenu() const;
    // Of a message box seen so far; empty when there were fewer.
    std::wstring BoxText(size_t index) const;
    // What the page would lend.
    ToolHost Host();

  private:
    std::optional<ScratchSystemDirectory> system_;
};
