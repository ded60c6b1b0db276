// Names of the numbers that failure messages show: "WinErr=%d(%s)", "UfAppErr=%d(%s)". All results are static
// texts.
#pragma once

#include <cstdint>

const wchar_t* WinErrName(uint32_t code) noexcept;      // or "UnknownWinErrCode"
const char* WinErrNameA(uint32_t code) noexcept;        // the same as 8-bit text
const wchar_t* CmProbName(uint32_t problem) noexcept;   // or "UnknownProblemCode"
const char* CmProbNameA(uint32_t problem) noexcept;     // the same as 8-bit text
const wchar_t* UfAppErrName(uint32_t result) noexcept;  // or "UfApperr(UNKNOWN)"

// The name of one of the kUsbErrBucketCount buckets (driver/protocol.h) that the USB error statistics count
// in; the last one for an index outside them.
const wchar_t* UsbErrBucketName(uint32_t index) noexcept;

// A row of a name table, for lookups and tests.
struct ErrorNameRow {
    uint32_t code;
    const char* name;
    const wchar_t* wideName;
};

// The first row with this code, or null. No row is looked at when count is below 1.
const ErrorNameRow* FindErrorName(const ErrorNameRow* rows, int32_t count, uint32_t code) noexcept;
