// Drives what blocks a test: message boxes, modal dialogs and popup menus. A watcher thread waits for them,
// records what they show and answers as told. A dialog nobody expected fails the test with its text and is
// closed.
//
//   ModalDriver driver;
//   driver.ExpectBox(L"TAVIX Message").Press(IDYES);
//   EXPECT_EQ(AskYesNo(owner, L"Sure?"), IDYES);
//   EXPECT_EQ(driver.boxes()[0].text, L"Sure?");
//
// Expectations are served first come first served among those whose title matches. A box is read and answered
// once its message loop runs, so that everything its opening does has been done. Everything is of this
// process; windows that are open when the driver starts, or that Ignore() names, are left alone.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/windows_api.h"

struct ControlRecord {
    HWND window = nullptr;
    int id = 0;
    std::wstring className;
    std::wstring text;
    DWORD style = 0;
    RECT area = {};  // in the dialog's client coordinates
    bool visible = false;
    bool enabled = false;
};

struct BoxRecord {
    HWND window = nullptr;  // gone by the time the test reads it
    HWND owner = nullptr;
    bool ownerEnabled = false;
    std::wstring title;
    std::wstring text;  // of a message box; of another dialog the texts of its static controls, line by line
    DWORD style = 0;
    DWORD extendedStyle = 0;
    RECT area = {};  // on the screen
    std::vector<ControlRecord> controls;
    int defaultButton = 0;
    UINT icon =
        0;  // MB_ICONINFORMATION, MB_ICONWARNING, MB_ICONERROR, MB_ICONQUESTION; 0 for none or another

    const ControlRecord* Control(int id) const;  // null when there is none
    std::wstring ControlText(int id) const;
    std::vector<int> Buttons() const;  // the visible push buttons, in order
};

// A dialog while it is open. Each script runs on a thread of its own, so that it can wait for what happens
// after boxes that its dialog opens have been answered. Waits have a limit and fail the test.
class BoxView {
  public:
    explicit BoxView(HWND window) : window_(window) {}

    HWND window() const { return window_; }
    HWND Control(int id) const;
    std::wstring Title() const;
    std::wstring Text(int id) const;
    bool IsChecked(int id) const;
    BoxRecord Read() const;

    // Posted, so that a dialog that the click opens does not stop the script.
    void Press(int id) const;
    // A key for the control that has the focus; on return the dialog has handled it.
    void PressKey(WORD key) const;
    // Returns when everything posted so far has been handled, or the dialog is gone.
    void Settle() const;
    void Post(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const;
    // Sends; for what cannot open another modal loop.
    LRESULT Send(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const;
    void SetText(int id, const std::wstring& text) const;
    // Selects the entry and tells the dialog, as a user's choice does.
    void SelectComboEntry(int id, int index) const;
    void Close() const { Post(WM_CLOSE); }

    bool WaitFor(const std::string& what, const std::function<bool()>& condition) const;

  private:
    HWND window_;
};

struct MenuItemRecord {
    UINT id = 0;
    std::wstring text;  // empty for a separator
    UINT type = 0;      // MFT_...
    UINT state = 0;     // MFS_...
    HBITMAP bitmap = nullptr;
    std::vector<MenuItemRecord> submenu;

    bool separator() const { return (type & MFT_SEPARATOR) != 0; }
    bool checked() const { return (state & MFS_CHECKED) != 0; }
    bool enabled() const { return (state & MFS_GRAYED) == 0; }
};

struct MenuRecord {
    HWND window = nullptr;
    HMENU menu = nullptr;
    HWND owner = nullptr;
    DWORD style = 0;  // MNS_...
    RECT area = {};
    std::vector<MenuItemRecord> items;

    const MenuItemRecord* Item(UINT id) const;  // also in submenus; null when there is none
    std::wstring Texts() const;                 // the top level, one line each, "-" for a separator
};

class MenuView {
  public:
    MenuView(HWND window, HMENU menu, HWND owner) : window_(window), menu_(menu), owner_(owner) {}

    HWND window() const { return window_; }
    HWND owner() const { return owner_; }
    MenuRecord Read() const;
    void Choose(UINT id) const;  // by the keyboard, through submenus as needed
    // With the real pointer, which the menu must heed: see LetMenusHeedPointer.
    void ChooseByMouse(UINT id) const;
    void Dismiss() const;

  private:
    bool MoveTo(HMENU menu, int position) const;
    // On return the menu has handled the key.
    void PressKey(WPARAM key) const;

    HWND window_;
    HMENU menu_;
    HWND owner_;
};

class ModalDriver {
  public:
    class BoxExpectation {
      public:
        // How the box is answered; without one, its default button is pressed.
        void Press(int buttonId);
        void Close();
        // `script` must end with the box closing or being asked to close.
        void Do(std::function<void(BoxView&)> script);
        // The script leaves the box open: other boxes or the test itself will close it.
        void DoAndLeaveOpen(std::function<void(BoxView&)> script);

      private:
        friend class ModalDriver;
        std::wstring title_;
        bool anyTitle_ = false;
        std::function<void(BoxView&)> script_;
        bool leavesOpen_ = false;
    };
    class MenuExpectation {
      public:
        void Choose(UINT id);
        void Dismiss();
        // `script` must end with a choice or a dismissal.
        void Do(std::function<void(MenuView&)> script);

      private:
        friend class ModalDriver;
        std::function<void(MenuView&)> script_;
    };

    ModalDriver();
    // Fails the test for expectations not met.
    ~ModalDriver();
    ModalDriver(const ModalDriver&) = delete;
    ModalDriver& operator=(const ModalDriver&) = delete;

    static constexpr const wchar_t* kAnyTitle = nullptr;
    BoxExpectation& ExpectBox(const wchar_t* title = kAnyTitle);
    MenuExpectation& ExpectMenu();
    // A window that the test itself shows.
    void Ignore(HWND window);
    // Menus otherwise do not see the pointer, wherever it rests. Called on the thread that made the driver.
    void LetMenusHeedPointer();

    // What has been seen so far, in order; unexpected ones included.
    std::vector<BoxRecord> boxes() const;
    std::vector<MenuRecord> menus() const;
    // Waits until every expectation so far has been served.
    bool WaitUntilServed() const;

  private:
    struct State;

    std::unique_ptr<State> state_;
    std::thread watcher_;
};

// Reads a dialog as a BoxRecord; from any thread.
BoxRecord ReadBox(HWND window);

// The menu that a popup menu's window shows.
HMENU MenuOfWindow(HWND menuWindow);

// UTF-8, for failure messages.
std::string NarrowText(const std::wstring& text);
