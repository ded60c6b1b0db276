// What the info box's tests share: a parent window, a driver for what blocks, and a callback that records.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "base/win32_handle.h"
#include "base/windows_api.h"
#include "ui/info_box.h"

#include "tests/support/clipboard_text.h"
#include "tests/support/modal_driver.h"
#include "tests/support/timer_record.h"
#include "tests/support/wait_until.h"

// A refresh callback with a script. It runs on the box's thread.
struct RecordingCallback {
    uint32_t result = FIR_NormalIcon;
    std::function<uint32_t(FlexiInfoEvent&, wchar_t* text, uint32_t textChars)> act;  // instead of `result`
    std::vector<FlexiInfoEvent> calls;
    std::atomic<int> refreshes = 0;  // calls by the timer or the Auto box; may be polled from any thread

    static uint32_t Run(void* context, FlexiInfoEvent* event, wchar_t* text, uint32_t textChars) noexcept;

    std::vector<uint32_t> Reasons() const;
    int CountOf(uint32_t reason) const;
};

// An info box while it is open, seen from the driver's thread.
class OpenInfoBox {
  public:
    explicit OpenInfoBox(BoxView& view) : view_(view) {}

    HWND hwnd() const { return view_.window(); }
    std::wstring Caption() const { return view_.Title(); }
    std::wstring Text() const { return view_.Text(kInfoBoxTextId); }
    bool IsShown(int id) const;
    bool IsEnabled(int id) const { return IsWindowEnabled(view_.Control(id)) != FALSE; }
    bool AutoChecked() const { return view_.IsChecked(kInfoBoxAutoId); }
    bool HasScrollBar() const;
    HICON Icon() const;
    HICON WindowIcon(WPARAM kind) const;
    RECT Area() const;
    RECT AreaOf(int id) const;  // in client coordinates
    int FocusId() const;        // 0 when no control of the box has the focus

    // Sent, so that everything it causes has happened on return.
    void Command(int id) const { view_.Send(WM_COMMAND, static_cast<WPARAM>(MAKEWPARAM(id, 0))); }
    void Tick(UINT_PTR timer = 1) const { view_.Send(WM_TIMER, timer); }
    void CheckAuto(bool on) const;
    void Resize(int width, int height) const;
    void MoveTo(int x, int y) const;
    // By the user; on return the box has handled it.
    void Minimize() const { view_.Send(WM_SYSCOMMAND, SC_MINIMIZE); }
    void Restore() const { view_.Send(WM_SYSCOMMAND, SC_RESTORE); }
    // Opens the context menu; the driver's menu expectation answers it.
    void RightClick(int x = 3, int y = 3) const;
    void PressKey(WORD key) const { view_.PressKey(key); }
    void Settle() const { view_.Settle(); }

  private:
    BoxView& view_;
};

class InfoBoxTest : public testing::Test {
  protected:
    InfoBoxTest();

    // Shows a box over the parent, runs `script` on the driver's thread and returns the box's result.
    uint32_t Show(FlexiInfoParams params, const wchar_t* text,
                  const std::function<void(OpenInfoBox&)>& script);

    // Parameters with an OK button and the recording callback.
    FlexiInfoParams Recorded();
    HWND parent() const { return parent_.get(); }

    RecordingCallback callback_;
    std::vector<wchar_t> buffer_ = std::vector<wchar_t>(4000);
    ModalDriver driver_;

  private:
    OwnedWindow parent_;
};

// The rectangle in which windows may lie.
RECT WorkArea();
