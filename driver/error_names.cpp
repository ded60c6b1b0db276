#include "driver/error_names.h"

#include <iterator>

#include "driver/protocol.h"

namespace {

// Both names of a row.
#define NAME(text) text, L##text

// The order is part of the tables: the first match wins. The result code 1 has no name.
constexpr ErrorNameRow kUfAppErrNames[] = {
    {0, NAME("UfAppErr_Success")},      {2, NAME("UfAppErr_Unknown")},
    {3, NAME("UfAppErr_NoMem")},        {4, NAME("UfAppErr_BadParam")},
    {5, NAME("UfAppErr_Registry")},     {6, NAME("UfAppErr_WrongHuid")},
    {7, NAME("UfAppErr_VbusNotReady")}, {8, NAME("UfAppErr_AccessDenied")},
    {9, NAME("UfAppErr_NoVcomYet")},    {10, NAME("UfAppErr_UsbDeviceOffline")},
};
constexpr int32_t kUfAppErrNameCount = std::size(kUfAppErrNames);
constexpr ErrorNameRow kUfAppErrFallback = {0, NAME("UfApperr(UNKNOWN)")};

constexpr ErrorNameRow kWinErrNames[] = {
    {0, NAME("ERROR_SUCCESS")},
    {1, NAME("ERROR_INVALID_FUNCTION")},
    {2, NAME("ERROR_FILE_NOT_FOUND")},
    {3, NAME("ERROR_PATH_NOT_FOUND")},
    {5, NAME("ERROR_ACCESS_DENIED")},
    {6, NAME("ERROR_INVALID_HANDLE")},
    {21, NAME("ERROR_NOT_READY")},
    {995, NAME("ERROR_OPERATION_ABORTED")},
    {997, NAME("ERROR_IO_PENDING")},
    {8, NAME("ERROR_NOT_ENOUGH_MEMORY")},
    {14, NAME("ERROR_OUTOFMEMORY")},
    {22, NAME("ERROR_BAD_COMMAND")},
    {87, NAME("ERROR_INVALID_PARAMETER")},
    {1460, NAME("ERROR_TIMEOUT")},
    {1167, NAME("ERROR_DEVICE_NOT_CONNECTED")},
    {55, NAME("ERROR_DEV_NOT_EXIST")},
    {122, NAME("ERROR_INSUFFICIENT_BUFFER")},
    {998, NAME("ERROR_NOACCESS")},
    {31, NAME("ERROR_GEN_FAILURE")},
    {121, NAME("ERROR_SEM_TIMEOUT")},
    {123, NAME("ERROR_INVALID_NAME")},
};
constexpr ErrorNameRow kWinErrFallback = {0, NAME("UnknownWinErrCode")};

constexpr ErrorNameRow kCmProbNames[] = {
    {1, NAME("CM_PROB_NOT_CONFIGURED")},      {10, NAME("CM_PROB_FAILED_START")},
    {18, NAME("CM_PROB_REINSTALL")},          {22, NAME("CM_PROB_DISABLED")},
    {39, NAME("CM_PROB_DRIVER_FAILED_LOAD")}, {47, NAME("CM_PROB_HELD_FOR_EJECT")},
    {52, NAME("CM_PROB_UNSIGNED_DRIVER")},
};
constexpr ErrorNameRow kCmProbFallback = {0, NAME("UnknownProblemCode")};

#undef NAME

constexpr const wchar_t* kUsbErrBucketNames[] = {
    L"USBD_STATUS(NoDetail)",
    L"USBD_STATUS_CRC",
    L"USBD_STATUS_BTSTUFF",
    L"USBD_STATUS_DATA_TOGGLE_MISMATCH",
    L"USBD_STATUS_STALL_PID",
    L"USBD_STATUS_DEV_NOT_RESPONDING",
    L"USBD_STATUS_PID_CHECK_FAILURE",
    L"USBD_STATUS_UNEXPECTED_PID",
    L"USBD_STATUS_DATA_OVERRUN",
    L"USBD_STATUS_DATA_UNDERRUN",
    L"USBD_STATUS_RESERVED1",
    L"USBD_STATUS_RESERVED2",
    L"USBD_STATUS_BUFFER_OVERRUN",
    L"USBD_STATUS_BUFFER_UNDERRUN",
    L"USBD_STATUS_RESERVED3",
    L"USBD_STATUS_NOT_ACCESSED",
    L"USBD_STATUS_FIFO",
    L"USBD_STATUS_XACT_ERROR",
    L"USBD_STATUS_BABBLE_DETECTED",
    L"USBD_STATUS_DATA_BUFFER_ERROR",
    L"USBD_STATUS(Unknown)",
};
static_assert(std::size(kUsbErrBucketNames) == kUsbErrBucketCount);

template <int32_t count>
constexpr bool HasUniqueCodes(const ErrorNameRow (&rows)[count]) {
    for (int32_t i = 0; i < count; ++i) {
        for (int32_t j = 0; j < i; ++j) {
            if (rows[i].code == rows[j].code) return false;
        }
    }
    return true;
}
static_assert(HasUniqueCodes(kUfAppErrNames) && HasUniqueCodes(kWinErrNames) && HasUniqueCodes(kCmProbNames));

const ErrorNameRow& RowOr(const ErrorNameRow* row, const ErrorNameRow& fallback) {
    return row != nullptr ? *row : fallback;
}

const ErrorNameRow& WinErrRow(uint32_t code) {
    return RowOr(FindErrorName(kWinErrNames, std::size(kWinErrNames), code), kWinErrFallback);
}

const ErrorNameRow& CmProbRow(uint32_t problem) {
    return RowOr(FindErrorName(kCmProbNames, std::size(kCmProbNames), problem), kCmProbFallback);
}

}  // namespace

const ErrorNameRow* FindErrorName(const ErrorNameRow* rows, int32_t count, uint32_t code) noexcept {
    for (int32_t i = 0; i < count; ++i) {
        if (rows[i].code == code) return &rows[i];
    }
    return nullptr;
}

const wchar_t* WinErrName(uint32_t code) noexcept {
    return WinErrRow(code).wideName;
}

const char* WinErrNameA(uint32_t code) noexcept {
    return WinErrRow(code).name;
}

const wchar_t* CmProbName(uint32_t problem) noexcept {
    return CmProbRow(problem).wideName;
}

const char* CmProbNameA(uint32_t problem) noexcept {
    return CmProbRow(problem).name;
}

const wchar_t* UfAppErrName(uint32_t result) noexcept {
    return RowOr(FindErrorName(kUfAppErrNames, kUfAppErrNameCount, result), kUfAppErrFallback).wideName;
}

const wchar_t* UsbErrBucketName(uint32_t index) noexcept {
    const bool known = index < kUsbErrBucketCount;
    return kUsbErrBucketNames[known ? index : kUsbErrBucketCount - 1];
}
