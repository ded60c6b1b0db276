// A device in a list of its own, for what may outlast the list that it came from.
#pragma once

#include "base/win32_handle.h"
#include "base/windows_api.h"

#include <setupapi.h>

class DeviceCopy {
  public:
    // When the device cannot be opened the copy names none, and whatever is asked of it fails.
    DeviceCopy(HDEVINFO deviceSet, SP_DEVINFO_DATA* device) noexcept;

    HDEVINFO set() const noexcept { return list_.get(); }
    SP_DEVINFO_DATA* element() noexcept { return &element_; }

  private:
    DeviceInfoList list_;
    SP_DEVINFO_DATA element_ = {};
};
