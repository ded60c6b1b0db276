// The part of the private interface that is about one simulated device. The caller holds the ModelLock.
#pragma once

#include "sim/driver/requests.h"

NTSTATUS PlugDevice(RequestCall& call);
NTSTATUS UnplugDevice(RequestCall& call);
NTSTATUS ForgetDevice(RequestCall& call);
NTSTATUS ListDevices(RequestCall& call);
NTSTATUS SetDeviceField(RequestCall& call);
NTSTATUS SetFlowpath(RequestCall& call);
NTSTATUS SetUsbErrStat(RequestCall& call);
