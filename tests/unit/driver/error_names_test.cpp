#include "driver/error_names.h"

#include <gtest/gtest.h>

#include <string>

#include "driver/protocol.h"

namespace {

struct NameRow {
    uint32_t code;
    std::string narrow;
    std::wstring wide;
};

const NameRow kUfAppErr[] = {
    {0, "UfAppErr_Success", L"UfAppErr_Success"},
    {2, "UfAppErr_Unknown", L"UfAppErr_Unknown"},
    {3, "UfAppErr_NoMem", L"UfAppErr_NoMem"},
    {4, "UfAppErr_BadParam", L"UfAppErr_BadParam"},
    {5, "UfAppErr_Registry", L"UfAppErr_Registry"},
    {6, "UfAppErr_WrongHuid", L"UfAppErr_WrongHuid"},
    {7, "UfAppErr_VbusNotReady", L"UfAppErr_VbusNotReady"},
    {8, "UfAppErr_AccessDenied", L"UfAppErr_AccessDenied"},
    {9, "UfAppErr_NoVcomYet", L"UfAppErr_NoVcomYet"},
    {10, "UfAppErr_UsbDeviceOffline", L"UfAppErr_UsbDeviceOffline"},
};
const NameRow kWinErr[] = {
    {0, "ERROR_SUCCESS", L"ERROR_SUCCESS"},
    {1, "ERROR_INVALID_FUNCTION", L"ERROR_INVALID_FUNCTION"},
    {2, "ERROR_FILE_NOT_FOUND", L"ERROR_FILE_NOT_FOUND"},
    {3, "ERROR_PATH_NOT_FOUND", L"ERROR_PATH_NOT_FOUND"},
    {5, "ERROR_ACCESS_DENIED", L"ERROR_ACCESS_DENIED"},
    {6, "ERROR_INVALID_HANDLE", L"ERROR_INVALID_HANDLE"},
    {21, "ERROR_NOT_READY", L"ERROR_NOT_READY"},
    {995, "ERROR_OPERATION_ABORTED", L"ERROR_OPERATION_ABORTED"},
    {997, "ERROR_IO_PENDING", L"ERROR_IO_PENDING"},
    {8, "ERROR_NOT_ENOUGH_MEMORY", L"ERROR_NOT_ENOUGH_MEMORY"},
    {14, "ERROR_OUTOFMEMORY", L"ERROR_OUTOFMEMORY"},
    {22, "ERROR_BAD_COMMAND", L"ERROR_BAD_COMMAND"},
    {87, "ERROR_INVALID_PARAMETER", L"ERROR_INVALID_PARAMETER"},
    {1460, "ERROR_TIMEOUT", L"ERROR_TIMEOUT"},
    {1167, "ERROR_DEVICE_NOT_CONNECTED", L"ERROR_DEVICE_NOT_CONNECTED"},
    {55, "ERROR_DEV_NOT_EXIST", L"ERROR_DEV_NOT_EXIST"},
    {122, "ERROR_INSUFFICIENT_BUFFER", L"ERROR_INSUFFICIENT_BUFFER"},
    {998, "ERROR_NOACCESS", L"ERROR_NOACCESS"},
    {31, "ERROR_GEN_FAILURE", L"ERROR_GEN_FAILURE"},
    {121, "ERROR_SEM_TIMEOUT", L"ERROR_SEM_TIMEOUT"},
    {123, "ERROR_INVALID_NAME", L"ERROR_INVALID_NAME"},
};
const NameRow kCmProb[] = {
    {1, "CM_PROB_NOT_CONFIGURED", L"CM_PROB_NOT_CONFIGURED"},
    {10, "CM_PROB_FAILED_START", L"CM_PROB_FAILED_START"},
    {18, "CM_PROB_REINSTALL", L"CM_PROB_REINSTALL"},
    {22, "CM_PROB_DISABLED", L"CM_PROB_DISABLED"},
    {39, "CM_PROB_DRIVER_FAILED_LOAD", L"CM_PROB_DRIVER_FAILED_LOAD"},
    {47, "CM_PROB_HELD_FOR_EJECT", L"CM_PROB_HELD_FOR_EJECT"},
    {52, "CM_PROB_UNSIGNED_DRIVER", L"CM_PROB_UNSIGNED_DRIVER"},
};
const std::wstring kBuckets[] = {
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

// Every code from 0 to well beyond the tables: those of the table have their name, all others the fallback.
template <size_t count, typename Lookup>
void CheckWholeTable(const NameRow (&rows)[count], Lookup lookup, const std::wstring& fallback) {
    for (uint32_t code = 0; code < 2000; ++code) {
        std::wstring expected = fallback;
        for (const NameRow& row : rows) {
            if (row.code == code) expected = row.wide;
        }
        EXPECT_EQ(lookup(code), expected) << code;
    }
    EXPECT_EQ(lookup(UINT32_MAX), fallback);
    EXPECT_EQ(lookup(0x80000000u), fallback);
}

TEST(UfAppErrNameTest, NamesItsCodesAndNoOther) {
    CheckWholeTable(kUfAppErr, UfAppErrName, L"UfApperr(UNKNOWN)");
}

TEST(UfAppErrNameTest, CodeOneHasNoName) {
    EXPECT_STREQ(UfAppErrName(1), L"UfApperr(UNKNOWN)");
}

TEST(WinErrNameTest, NamesItsCodesAndNoOther) {
    CheckWholeTable(kWinErr, WinErrName, L"UnknownWinErrCode");
}

TEST(WinErrNameTest, ALostDeviceIsNotConnected) {
    EXPECT_STREQ(WinErrName(1167), L"ERROR_DEVICE_NOT_CONNECTED");
}

TEST(WinErrNameTest, TheNarrowNameIsTheSame) {
    for (const NameRow& row : kWinErr)
        EXPECT_EQ(WinErrNameA(row.code), row.narrow);
    EXPECT_STREQ(WinErrNameA(4), "UnknownWinErrCode");
}

TEST(CmProbNameTest, NamesItsCodesAndNoOther) {
    CheckWholeTable(kCmProb, CmProbName, L"UnknownProblemCode");
}

TEST(CmProbNameTest, AMissingDriverHasNoName) {
    EXPECT_STREQ(CmProbName(28), L"UnknownProblemCode");
}

TEST(CmProbNameTest, TheNarrowNameIsTheSame) {
    for (const NameRow& row : kCmProb)
        EXPECT_EQ(CmProbNameA(row.code), row.narrow);
    EXPECT_STREQ(CmProbNameA(28), "UnknownProblemCode");
}

TEST(UsbErrBucketNameTest, NamesEveryBucket) {
    ASSERT_EQ(std::size(kBuckets), size_t{kUsbErrBucketCount});
    for (uint32_t bucket = 0; bucket < kUsbErrBucketCount; ++bucket)
        EXPECT_EQ(UsbErrBucketName(bucket), kBuckets[bucket]);
}

TEST(UsbErrBucketNameTest, AnIndexOutsideHasTheLastName) {
    EXPECT_STREQ(UsbErrBucketName(21), L"USBD_STATUS(Unknown)");
    EXPECT_STREQ(UsbErrBucketName(UINT32_MAX), L"USBD_STATUS(Unknown)");
}

TEST(FindErrorNameTest, TheFirstMatchWins) {
    const ErrorNameRow rows[] = {{5, "a", L"a"}, {7, "b", L"b"}, {7, "c", L"c"}};
    EXPECT_EQ(FindErrorName(rows, 3, 7), &rows[1]);
    EXPECT_EQ(FindErrorName(rows, 3, 6), nullptr);
}

TEST(FindErrorNameTest, ACountBelowOneFindsNothing) {
    const ErrorNameRow rows[] = {{5, "a", L"a"}};
    EXPECT_EQ(FindErrorName(rows, 1, 5), &rows[0]);
    EXPECT_EQ(FindErrorName(rows, 0, 5), nullptr);
    EXPECT_EQ(FindErrorName(rows, -1, 5), nullptr);
}

}  // namespace
