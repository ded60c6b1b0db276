// One thread that answers delayed requests when their time has come.
#pragma once

#include "sim/driver/kernel.h"

NTSTATUS StartWorker();
// Waits for the thread's end.
void StopWorker();

// A delayed request was added. Any thread, with or without the ModelLock.
void WakeWorker();
