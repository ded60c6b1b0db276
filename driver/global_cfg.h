// The driver's global settings on their own, and what several of their fields mean together.
#pragma once

#include <cstdint>

#include "driver/protocol.h"

// UfAppErr_VbusNotReady when the Vbus cannot be opened, UfAppErr_Unknown when the whole record could not be
// read; `global` is then untouched.
UfAppErr GetGlobalCfg(GlobalCfg_st& global) noexcept;

// The record is the one read, with changed fields. UfAppErr_VbusNotReady as above, UfAppErr_AccessDenied when
// writing is denied, UfAppErr_Unknown for another failure, otherwise the driver's result.
UfAppErr SetGlobalCfg(const GlobalCfg_st& global) noexcept;

// One setting for virtual machines over two fields: drop partial bytes on a USB error, and clear input no
// sooner than after 300 ms. Switching it on keeps a longer delay, switching it off clears both.
bool IsVirtualMachineSettingOn(const GlobalCfg_st& global) noexcept;
void SetVirtualMachineSetting(GlobalCfg_st& global, bool on) noexcept;
