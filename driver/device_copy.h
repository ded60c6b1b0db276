// A device in its own list, for code that may outlast the list that the device came from.
#pragma once

#include "base/win32_handle.h"
#include "base/windows_api.h"

#include <setupapi.h>

class DeviceCopy {
  public:
    // When the device cannot be opened the copy is empty, and every query of it fails.
    DeviceCopy(HDEVINFO deviceSet, SP_DEVINFO_DATA* device) noexcept;

    HDEVINFO set() const noexcept { return list_.get(); }
    SP_DEVINFO_DATA* element() noexcept { return &element_; }

  private:
    DeviceInfoList list_;
    SP_DEVINFO_DATA element_ = {};
};
