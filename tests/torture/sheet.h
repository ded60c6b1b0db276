// A device's property sheet with the page that the DLL has for it, asked for as Device Manager does.
#pragma once

#include <array>
#include <string>

#include "base/win32_handle.h"
#include "base/windows_api.h"

#include <prsht.h>

#include "tests/torture/torture.h"

class Sheet {
  public:
    Sheet(Torture& torture, Node node);
    ~Sheet() { Close(); }
    Sheet(const Sheet&) = delete;
    Sheet& operator=(const Sheet&) = delete;

    // Null when the DLL gave no page, which is a sheet that is not shown.
    HWND page() const;
    void Close();
    void Tick() const;
    void Click(int controlId) const;
    void DoubleClick(int controlId) const;
    void CheckBox(int controlId, bool checked) const;
    void Notify(UINT code) const;
    std::wstring Text(int controlId) const;
    // The page can be used once nothing goes wrong any more.
    void ExpectUsable() const;

  private:
    void AskForPage();
    void Show();

    Torture& torture_;
    Node node_;
    std::array<HPROPSHEETPAGE, MAX_INSTALLWIZARD_DYNAPAGES> pages_ = {};
    PROPSHEETHEADERW header_ = {};
    OwnedWindow window_;
};
