// How a request goes from arrival to answer.
#pragma once

#include "sim/driver/faults.h"

// Carries the request out (or lets its fault answer), notes the answer in the log and completes the IRP with
// the status returned. Without the ModelLock. The fault stays the caller's.
NTSTATUS AnswerRequest(IRP* irp, uint64_t sequence, const MetFault& fault);
