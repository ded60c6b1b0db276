#include "sim/driver/worker.h"

#include "sim/driver/pending.h"

namespace {

KEVENT g_wake;
void* g_thread;
volatile LONG g_stopping;

void NTAPI WorkerThread(void*) {
    while (g_stopping == 0) {
        LARGE_INTEGER timeout;
        timeout.QuadPart = -static_cast<LONGLONG>(NextDelayEnd());
        KeWaitForSingleObject(&g_wake, Executive, KernelMode, FALSE,
                              timeout.QuadPart == 0 ? nullptr : &timeout);
        if (g_stopping != 0) break;
        AnswerDelayedRequests();
    }
    PsTerminateSystemThread(STATUS_SUCCESS);
}

}  // namespace

NTSTATUS StartWorker() {
    KeInitializeEvent(&g_wake, SynchronizationEvent, FALSE);
    KernelHandleOwner thread;
    NTSTATUS status = PsCreateSystemThread(&thread.handle, THREAD_ALL_ACCESS, nullptr, nullptr, nullptr,
                                           WorkerThread, nullptr);
    if (!NT_SUCCESS(status)) return status;
    status =
        ObReferenceObjectByHandle(thread.handle, THREAD_ALL_ACCESS, nullptr, KernelMode, &g_thread, nullptr);
    if (!NT_SUCCESS(status)) g_thread = nullptr;
    return STATUS_SUCCESS;
}

void StopWorker() {
    InterlockedExchange(&g_stopping, 1);
    WakeWorker();
    if (g_thread == nullptr) return;
    KeWaitForSingleObject(g_thread, Executive, KernelMode, FALSE, nullptr);
    ObDereferenceObject(g_thread);
    g_thread = nullptr;
}

void WakeWorker() {
    KeSetEvent(&g_wake, IO_NO_INCREMENT, FALSE);
}
