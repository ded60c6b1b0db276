// The virtual bus: its device object, its device interface, and its children, one VCOM per mapped USB device.
#pragma once

#include "sim/driver/extension.h"
#include "sim/driver/model.h"

// The system found the bus's device node: puts our device object on it.
NTSTATUS AddBusDevice(DRIVER_OBJECT* driver, DEVICE_OBJECT* physical);

NTSTATUS HandleBusPnp(DEVICE_OBJECT* device, IRP* irp);

bool IsBusStarted();

// The following expect the caller to hold the ModelLock. The system asks for the children afterwards, on a
// thread of its own.

// Creates the VCOM of a device that is plugged; nothing happens when the bus does not run.
void CreateVcom(SimDevice& device);

// The VCOM goes away, with its DOS link at once and with its device node when the system has removed it.
void DetachVcom(SimDevice& device);

// Makes the DOS link follow the port name.
void UpdateVcomLink(SimDevice& device);

// The VCOM's device behind a device of the model, null without one.
SimDevice* DeviceOfVcom(DEVICE_OBJECT* vcom);

// A child of the bus is about to be deleted.
void ForgetChild(DEVICE_OBJECT* vcom);

// Without the ModelLock: shows or hides the product's device interface as g_model.access says.
void ApplyBusInterface();
