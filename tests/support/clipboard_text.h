// The clipboard of a busy system, whose own processes hold it for a moment after each change.
#pragma once

#include <string>

#include "base/windows_api.h"

#include "tests/support/import_redirect.h"

// The text on the clipboard, once it is free; "(no text)" when it holds none.
std::wstring ClipboardText();

// Lets the test program's own calls on this thread open the clipboard however long others hold it, and keeps
// account of whether they have closed it again.
class PatientClipboard {
  public:
    PatientClipboard();
    bool IsOpen() const { return open_; }

  private:
    bool open_ = false;
    ReplacedCall<OpenClipboard> opening_;
    ReplacedCall<CloseClipboard> closing_;
};
