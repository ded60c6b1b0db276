// Device nodes of the simulated hardware, made and removed through the device installer as the system does
// it, so that the coinstaller is called. Every function returns a Windows or SetupAPI error code, 0 for
// success.
#pragma once

#include <string>
#include <string_view>

#include "sim/client/package.h"
#include "sim/client/simulated_driver.h"

// Makes the device node USB\VID_xxxx&PID_xxxx\serial and installs it when the system has none. This calls the
// coinstaller, which makes the bus; the bus loads the driver. When the driver runs, it is told of the device,
// and the function waits for the VCOM. ERROR_FILE_NOT_FOUND when no driver runs afterwards.
DWORD PlugUsbDevice(const UsbIdentity& identity, const PlugOptions& options = {});

// Tells the driver; the device node stays, not present.
DWORD UnplugUsbDevice(std::wstring_view usbInstanceId);

// Makes and installs the bus node without the coinstaller's help, for what is not about installation. Nothing
// happens when the driver runs already.
DWORD InstallVbus();

// Sends DIF_REMOVE for a node: the coinstaller gets it, then the node is gone. ERROR_NO_SUCH_DEVINST without
// such a node.
DWORD RemoveNode(std::wstring_view instanceId);
// The first bus node, ROOT\QRV_VBUS\0000.
DWORD RemoveVbus();
DWORD RemoveVcom(std::wstring_view huid);

bool NodeExists(std::wstring_view instanceId);
