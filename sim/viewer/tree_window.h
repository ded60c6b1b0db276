// The viewer's main window: the tree of device nodes.
#pragma once

#include <string>

#include "base/windows_api.h"

struct TreeRequest {
    std::wstring picturePath;  // not empty: save a picture of the window and close it
    bool byConnection = false;
    bool showHidden = false;
};

// Returns when the window is closed; false when it or its picture could not be made.
bool RunTreeWindow(const TreeRequest& request);
