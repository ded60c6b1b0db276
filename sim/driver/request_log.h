// Every request that arrived on the bus, byte for byte, in order. When the log is full its oldest entries go.
// The caller holds the ModelLock.
#pragma once

#include "sim/control/control_protocol.h"
#include "sim/driver/kernel.h"

// Returns the request's sequence number, by which its end is noted later.
uint64_t LogRequest(uint32_t code, const uint8_t* input, uint32_t inputBytes, uint32_t outputBytes);

// Does nothing when the entry is no longer there.
void LogAnswer(uint64_t sequence, NTSTATUS status, uint64_t returnedBytes);

void ClearRequestLog();

// Packs the entries from firstSequence on into the buffer, whole ones only. Returns the bytes used.
uint32_t ReadRequestLog(uint64_t firstSequence, uint8_t* out, uint32_t outBytes);

uint64_t NextSequence();
uint64_t DroppedRequests();
