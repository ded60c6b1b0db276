#include "sim/driver/request_log.h"

namespace {

struct Entry {
    Entry* next;
    SimRequest_st record;
    // The logged input follows.
};

constexpr uint64_t kMaxLogBytes = 16 * 1024 * 1024;

Entry* g_first;
Entry* g_last;
uint64_t g_logBytes;
uint64_t g_nextSequence = 1;
uint64_t g_dropped;

uint32_t PaddedBytes(uint32_t bytes) {
    return (bytes + 7) & ~7u;
}

uint64_t EntryBytes(const Entry& entry) {
    return sizeof(Entry) + PaddedBytes(entry.record.loggedBytes);
}

void RemoveFirst() {
    Entry* entry = g_first;
    g_first = entry->next;
    if (g_first == nullptr) g_last = nullptr;
    g_logBytes -= EntryBytes(*entry);
    ExFreePoolWithTag(entry, kPoolTag);
}

}  // namespace

uint64_t LogRequest(uint32_t code, const uint8_t* input, uint32_t inputBytes, uint32_t outputBytes) {
    const uint64_t sequence = g_nextSequence++;
    const uint32_t loggedBytes = inputBytes < kSimMaxRequestBytes ? inputBytes : kSimMaxRequestBytes;
    auto* entry = static_cast<Entry*>(AllocatePool(sizeof(Entry) + PaddedBytes(loggedBytes)));
    if (entry == nullptr) {
        ++g_dropped;
        return sequence;
    }
    SimRequest_st& record = entry->record;
    record.sequence = sequence;
    record.timeFiletime = NowFiletime();
    record.code = code;
    record.processId = static_cast<uint32_t>(reinterpret_cast<ULONG_PTR>(PsGetCurrentProcessId()));
    record.inputBytes = inputBytes;
    record.loggedBytes = loggedBytes;
    record.outputBytes = outputBytes;
    record.ntStatus = STATUS_PENDING;
    if (loggedBytes != 0) RtlCopyMemory(entry + 1, input, loggedBytes);
    (g_last != nullptr ? g_last->next : g_first) = entry;
    g_last = entry;
    g_logBytes += EntryBytes(*entry);
    while (g_logBytes > kMaxLogBytes && g_first != g_last) {
        RemoveFirst();
        ++g_dropped;
    }
    return sequence;
}

void LogAnswer(uint64_t sequence, NTSTATUS status, uint64_t returnedBytes) {
    for (Entry* entry = g_first; entry != nullptr; entry = entry->next) {
        if (entry->record.sequence != sequence) continue;
        entry->record.ntStatus = status;
        entry->record.returnedBytes = returnedBytes;
        return;
    }
}

void ClearRequestLog() {
    while (g_first != nullptr)
        RemoveFirst();
    g_dropped = 0;
}

uint32_t ReadRequestLog(uint64_t firstSequence, uint8_t* out, uint32_t outBytes) {
    uint32_t used = 0;
    for (const Entry* entry = g_first; entry != nullptr; entry = entry->next) {
        if (entry->record.sequence < firstSequence) continue;
        const uint32_t bytes =
            static_cast<uint32_t>(sizeof(SimRequest_st)) + PaddedBytes(entry->record.loggedBytes);
        if (bytes > outBytes - used) break;
        RtlCopyMemory(out + used, &entry->record, bytes);
        used += bytes;
    }
    return used;
}

uint64_t NextSequence() {
    return g_nextSequence;
}

uint64_t DroppedRequests() {
    return g_dropped;
}
