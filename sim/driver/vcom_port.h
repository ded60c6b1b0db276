// One VCOM: its life as a child of the bus and its use as a port that programs open.
#pragma once

#include "sim/driver/extension.h"

NTSTATUS HandleVcomPnp(DEVICE_OBJECT* device, IRP* irp);
// One opener at a time.
NTSTATUS OpenVcom(DEVICE_OBJECT* device);
void CloseVcom(DEVICE_OBJECT* device);
// Reads find no data; writes are taken whole and counted as sent.
NTSTATUS ReadVcom(DEVICE_OBJECT* device, IRP* irp);
NTSTATUS WriteVcom(DEVICE_OBJECT* device, IRP* irp);
