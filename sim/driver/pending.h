// Requests that wait: for the end of their delay or for a release. They are carried out when they go on, not
// before.
#pragma once

#include "sim/driver/faults.h"

struct WaitingRequest {
    WaitingRequest* next;
    IRP* irp;
    uint64_t sequence;     // in the request log
    uint64_t dueFiletime;  // 0: at the next release
    MetFault fault;
};

// Takes the request over and marks its IRP pending; false when it is to be canceled already or memory is
// missing. The caller holds the ModelLock.
bool KeepWaiting(IRP* irp, uint64_t sequence, const MetFault& fault);

// 100-nanosecond units until the next delay ends, at least 1; 0 when none runs.
uint64_t NextDelayEnd();

// Without the ModelLock. The number of requests that went on.
void AnswerDelayedRequests();
uint32_t ReleaseAllRequests(bool delayedToo);

// The caller holds the ModelLock.
uint32_t CountWaitingRequests();
