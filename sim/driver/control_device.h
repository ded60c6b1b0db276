// The private interface: a table row and a function for each thing that a test can ask of the simulation.
#pragma once

#include "sim/driver/kernel.h"

NTSTATUS CreateControlDevice(DRIVER_OBJECT* driver);
void DeleteControlDevice();

NTSTATUS HandleControlRequest(IRP* irp);

// Everything back to the state after loading. Without the ModelLock.
void ResetSimulation();
