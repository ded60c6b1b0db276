#include "sim/driver/pending.h"

#include "sim/driver/extension.h"
#include "sim/driver/request_log.h"
#include "sim/driver/requests_dispatch.h"
#include "sim/driver/worker.h"

namespace {

WaitingRequest* g_waiting;

WaitingRequest* TakeByIrp(const IRP* irp) {
    for (WaitingRequest** link = &g_waiting; *link != nullptr; link = &(*link)->next) {
        WaitingRequest* request = *link;
        if (request->irp != irp) continue;
        *link = request->next;
        return request;
    }
    return nullptr;
}

void Discard(WaitingRequest* request) {
    ReleaseFault(request->fault);
    ExFreePoolWithTag(request, kPoolTag);
}

void NTAPI CancelWaiting(DEVICE_OBJECT*, IRP* irp) {
    IoReleaseCancelSpinLock(irp->CancelIrql);
    {
        ModelLock lock;
        if (WaitingRequest* request = TakeByIrp(irp)) {
            LogAnswer(request->sequence, STATUS_CANCELLED, 0);
            Discard(request);
        }
    }
    CompleteIrp(irp, STATUS_CANCELLED);
}

// A request whose cancel routine can no longer be taken back belongs to that routine.
template <typename Predicate>
WaitingRequest* TakeNext(Predicate goesOn) {
    ModelLock lock;
    for (WaitingRequest** link = &g_waiting; *link != nullptr; link = &(*link)->next) {
        WaitingRequest* request = *link;
        if (!goesOn(*request) || IoSetCancelRoutine(request->irp, nullptr) == nullptr) continue;
        *link = request->next;
        return request;
    }
    return nullptr;
}

template <typename Predicate>
uint32_t GoOn(Predicate goesOn) {
    uint32_t count = 0;
    while (WaitingRequest* request = TakeNext(goesOn)) {
        AnswerRequest(request->irp, request->sequence, request->fault);
        Discard(request);
        ++count;
    }
    return count;
}

}  // namespace

bool KeepWaiting(IRP* irp, uint64_t sequence, const MetFault& fault) {
    auto* request = static_cast<WaitingRequest*>(AllocatePool(sizeof(WaitingRequest)));
    if (request == nullptr) return false;
    request->irp = irp;
    request->sequence = sequence;
    if ((fault.rule.flags & kSimFaultHold) == 0)
        request->dueFiletime = NowFiletime() + fault.rule.delayMs * uint64_t{10000};
    request->fault = fault;
    IoSetCancelRoutine(irp, CancelWaiting);
    if (irp->Cancel && IoSetCancelRoutine(irp, nullptr) != nullptr) {
        ExFreePoolWithTag(request, kPoolTag);
        return false;
    }
    IoMarkIrpPending(irp);
    WaitingRequest** link = &g_waiting;
    while (*link != nullptr)
        link = &(*link)->next;
    *link = request;
    WakeWorker();
    return true;
}

uint64_t NextDelayEnd() {
    ModelLock lock;
    const uint64_t now = NowFiletime();
    uint64_t soonest = 0;
    for (const WaitingRequest* request = g_waiting; request != nullptr; request = request->next) {
        if (request->dueFiletime == 0) continue;
        const uint64_t wait = request->dueFiletime > now ? request->dueFiletime - now : 1;
        if (soonest == 0 || wait < soonest) soonest = wait;
    }
    return soonest;
}

void AnswerDelayedRequests() {
    const uint64_t now = NowFiletime();
    GoOn([now](const WaitingRequest& request) {
        return request.dueFiletime != 0 && request.dueFiletime <= now;
    });
}

uint32_t ReleaseAllRequests(bool delayedToo) {
    return GoOn(
        [delayedToo](const WaitingRequest& request) { return delayedToo || request.dueFiletime == 0; });
}

uint32_t CountWaitingRequests() {
    uint32_t count = 0;
    for (const WaitingRequest* request = g_waiting; request != nullptr; request = request->next)
        ++count;
    return count;
}
