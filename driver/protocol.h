// The driver's control protocol: the device interface of the virtual bus (Vbus), every control code, and the
// exact layout of every record. Both sides of the wire include this header, so it needs no Windows header.
//
// All integers are little-endian. Texts are UTF-16, end with a NUL inside their field, and are zero-filled
// after it; a receiver must not rely on that NUL. Reserved bytes are zero when a record is built and are
// kept as they were read when a record is sent back. Offsets and sizes in the comments are in bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

static_assert(sizeof(wchar_t) == 2, "texts of the protocol are UTF-16");

template <typename Record>
inline constexpr bool kIsWireRecord =
    std::is_standard_layout_v<Record>&& std::is_trivially_copyable_v<Record>;

// ---- Device interface -------------------------------------------------------------------------------------

// Same layout as a Windows GUID.
struct TavixInterfaceClass_st {
    uint32_t data1;
    uint16_t data2;
    uint16_t data3;
    uint8_t data4[8];
};
static_assert(sizeof(TavixInterfaceClass_st) == 16 && kIsWireRecord<TavixInterfaceClass_st>);

// {20161207-6A0C-11D2-B841-00C04FAD5171}
inline constexpr TavixInterfaceClass_st kVbusInterfaceClass = {
    0x20161207, 0x6A0C, 0x11D2, {0xB8, 0x41, 0x00, 0xC0, 0x4F, 0xAD, 0x51, 0x71}};

// ---- Control codes ----------------------------------------------------------------------------------------

// What the sender's handle must have been opened for.
enum TavixAccess : uint32_t {
    kTavixAnyAccess = 0,
    kTavixReadAccess = 1,
    kTavixWriteAccess = 2,
};

inline constexpr uint32_t kTavixDeviceType = 0x1612;

// Every request is METHOD_BUFFERED (0).
constexpr uint32_t TavixControlCode(uint32_t function, TavixAccess access) noexcept {
    return kTavixDeviceType << 16 | static_cast<uint32_t>(access) << 14 | function << 2;
}

// Above each code: its value, then input -> output. "name" is DeviceName_st, "none" is a length of 0.
// A request that changes the driver's state needs write access.

// 0x1612B000: kBsodInput -> none. Crashes the system on purpose.
inline constexpr uint32_t IOCTL_TAVIX_BSOD = TavixControlCode(0xC00, kTavixWriteAccess);
// 0x16123004: none -> DriverVersion_st
inline constexpr uint32_t IOCTL_TAVIX_GetDriverVersion = TavixControlCode(0xC01, kTavixAnyAccess);
// 0x16127008: name -> VcomCfgReply_st
inline constexpr uint32_t IOCTL_TAVIX_GetVcomCfg = TavixControlCode(0xC02, kTavixReadAccess);
// 0x1612B00C: VcomCfgRequest_st -> UfAppErr
inline constexpr uint32_t IOCTL_TAVIX_SetVcomCfg = TavixControlCode(0xC03, kTavixWriteAccess);
// 0x16127010: none -> GlobalCfg_st
inline constexpr uint32_t IOCTL_TAVIX_GetGlobalCfg = TavixControlCode(0xC04, kTavixReadAccess);
// 0x1612B014: GlobalCfg_st -> UfAppErr
inline constexpr uint32_t IOCTL_TAVIX_SetGlobalCfg = TavixControlCode(0xC05, kTavixWriteAccess);
// 0x16127018: name of a VCOM -> 32-bit process ID, 0 when the port is not open
inline constexpr uint32_t IOCTL_TAVIX_GetVcomOpenerPid = TavixControlCode(0xC06, kTavixReadAccess);
// 0x1612B01C: name -> none. The device is being removed.
inline constexpr uint32_t IOCTL_TAVIX_RemoveDevice = TavixControlCode(0xC07, kTavixWriteAccess);
// 0x16127028: none -> LogCfg_st
inline constexpr uint32_t IOCTL_TAVIX_GetLogCfg = TavixControlCode(0xC0A, kTavixReadAccess);
// 0x1612B02C: LogCfg_st -> none
inline constexpr uint32_t IOCTL_TAVIX_SetLogCfg = TavixControlCode(0xC0B, kTavixWriteAccess);
// 0x16127050: name -> UsbdInfo_st
inline constexpr uint32_t IOCTL_TAVIX_GetUsbdInfo = TavixControlCode(0xC14, kTavixReadAccess);
// 0x16123054: instance ID of a VCOM with its NUL -> instance ID of its USB device, into the caller's buffer
inline constexpr uint32_t IOCTL_TAVIX_QueryUsbdDevinstPath = TavixControlCode(0xC15, kTavixAnyAccess);
// 0x16127058: name -> FlowpathStat_st
inline constexpr uint32_t IOCTL_TAVIX_GetFlowpathStat = TavixControlCode(0xC16, kTavixReadAccess);
// 0x1612705C: name -> none
inline constexpr uint32_t IOCTL_TAVIX_ResetFlowpathStat = TavixControlCode(0xC17, kTavixReadAccess);
// 0x16127060: name -> none
inline constexpr uint32_t IOCTL_TAVIX_DestroyFlowpathStatHistory = TavixControlCode(0xC18, kTavixReadAccess);
// 0x16127064: name -> UsbErrStat_st
inline constexpr uint32_t IOCTL_TAVIX_GetUsbErrStat = TavixControlCode(0xC19, kTavixReadAccess);
// 0x1612706C: name -> VcomFdoPdo_st. Old drivers fail it with ERROR_INVALID_FUNCTION.
inline constexpr uint32_t IOCTL_TAVIX_QueryVcomFdoPdo = TavixControlCode(0xC1B, kTavixReadAccess);
// 0x16127074: none -> text of at most kIrpStateTextBytes
inline constexpr uint32_t IOCTL_TAVIX_GetIrpStateText = TavixControlCode(0xC1D, kTavixReadAccess);
// 0x1612B090: 32-bit index of the dangle VCOM -> none
inline constexpr uint32_t IOCTL_TAVIX_CreateDangleVcom = TavixControlCode(0xC24, kTavixWriteAccess);
// 0x1612B098: name -> none
inline constexpr uint32_t IOCTL_TAVIX_StartBlindRun = TavixControlCode(0xC26, kTavixWriteAccess);
// 0x1612B09C: name -> none
inline constexpr uint32_t IOCTL_TAVIX_StopBlindRun = TavixControlCode(0xC27, kTavixWriteAccess);
// 0x1612B0A0: name -> none. Resets the OUT pipe.
inline constexpr uint32_t IOCTL_TAVIX_UsbTweak0 = TavixControlCode(0xC28, kTavixWriteAccess);
// 0x1612B0A4: name -> none. Resets the IN pipe.
inline constexpr uint32_t IOCTL_TAVIX_UsbTweak1 = TavixControlCode(0xC29, kTavixWriteAccess);
// 0x1612B0A8: name -> none. Resets the USB port.
inline constexpr uint32_t IOCTL_TAVIX_UsbTweak2 = TavixControlCode(0xC2A, kTavixWriteAccess);
// 0x1612B0AC: name -> none. Cycles the USB port.
inline constexpr uint32_t IOCTL_TAVIX_UsbTweak3 = TavixControlCode(0xC2B, kTavixWriteAccess);
// 0x1612B0C8: WdfDeviceStateRequest_st -> none
inline constexpr uint32_t IOCTL_TAVIX_SetWdfDeviceState = TavixControlCode(0xC32, kTavixWriteAccess);

inline constexpr char kBsodInput[4] = {'B', 'S', 'O', 'D'};
inline constexpr size_t kIrpStateTextBytes = 8000;

// ---- Values in records ------------------------------------------------------------------------------------
// Record fields are plain integers, because a reply may carry a number that has no name here.

// Result words of replies, and results of the functions that talk to the driver. 1 is not used.
enum UfAppErr : uint32_t {
    UfAppErr_Success = 0,
    UfAppErr_Unknown = 2,
    UfAppErr_NoMem = 3,
    UfAppErr_BadParam = 4,
    UfAppErr_Registry = 5,
    UfAppErr_WrongHuid = 6,
    UfAppErr_VbusNotReady = 7,
    UfAppErr_AccessDenied = 8,
    UfAppErr_NoVcomYet = 9,
    UfAppErr_UsbDeviceOffline = 10,
};
static_assert(sizeof(UfAppErr) == 4);

enum VcomLifemode : uint32_t {
    kLifemodeTemporal = 0,
    kLifemodeFriendly = 1,
    kLifemodePersistent = 2,
};

// How a new VCOM is bound to a port name.
enum VcomBindMode : uint32_t {
    kBindSequential = 0,
    kBindByDeviceType = 1,  // USB VID and PID
    kBindBySerialNumber = 2,
    kBindByUsbPort = 3,
};

// What becomes of input that arrives before the VCOM is opened.
enum VcomPrefetchMode : uint32_t {
    kPrefetchNone = 0,
    kPrefetchAndDiscard = 1,
    kPrefetchAndRecycle = 2,
    kPrefetchAndPreserve = 3,
};

enum DatapipeLifemode : uint32_t {
    kDatapipeNever = 0,
    kDatapipeOnDevicePresent = 1,
    kDatapipeAlways = 2,
};

// State of one name of the port-name table. Any other value is unknown.
enum PortNameState : uint32_t {
    kPortFree = 0,
    kPortOfOtherProvider = 1,  // assigned to another provider's device in the COM database
    kPortOfUnpluggedVcom = 2,  // assigned to another, unplugged device of this driver
    kPortOfPresentDevice = 3,  // occupied by another COM port device that is present
    kPortOfThisVcom = 4,
};

// Any other value is an unknown speed.
enum UsbSpeed : uint32_t {
    kUsbSpeedUnknown = 0,
    kUsbFullSpeed = 1,
    kUsbHighSpeed = 2,
    kUsbSuperSpeed = 3,
};

enum WdfDeviceStateIndex : uint32_t {
    kWdfStateDisabled = 0,
    kWdfStateHideInDeviceManager = 1,
    kWdfStateMarkFail = 2,
    kWdfStateCannotDisable = 3,
    kWdfStateRemoved = 4,
};

// ---- Records ----------------------------------------------------------------------------------------------

inline constexpr size_t kDeviceNameChars = 128;
inline constexpr size_t kPortNameChars = 16;
inline constexpr size_t kPortNameCount = 128;  // COM1 to COM128
inline constexpr size_t kLogLevelCount = 5;
inline constexpr size_t kPreferredPortsChars = 200;
inline constexpr size_t kUsbStringChars = 128;
inline constexpr size_t kVcomPathChars = 129;
inline constexpr size_t kUsbErrBucketCount = 21;
inline constexpr size_t kRecoverActionCount = 4;
inline constexpr size_t kKernelNameChars = 120;

// The device-name field: which USB device or VCOM a request means. It holds the device instance ID after its
// first backslash ("VID_1234&PID_5678\SN01", "Qrv_vcom\1&2"), or the USB device's Huid.
//
//   0  256  chars     zero-filled after the name
struct DeviceName_st {
    wchar_t chars[kDeviceNameChars];
};
static_assert(sizeof(DeviceName_st) == 256 && kIsWireRecord<DeviceName_st>);

// Output of GetDriverVersion.
//
//   0    4  major
//   4    4  minor
//   8    4  build
//  12    4  reserved12
//  16    4  debugBuild    nonzero: the driver is a debug build
//  20  160  reserved20
struct DriverVersion_st {
    uint32_t major;
    uint32_t minor;
    uint32_t build;
    uint32_t reserved12;
    uint32_t debugBuild;
    uint8_t reserved20[160];
};
static_assert(sizeof(DriverVersion_st) == 180 && kIsWireRecord<DriverVersion_st>);
static_assert(offsetof(DriverVersion_st, build) == 8);
static_assert(offsetof(DriverVersion_st, debugBuild) == 16);
static_assert(offsetof(DriverVersion_st, reserved20) == 20);

// Output of GetVcomCfg.
//
//   0    4  result       UfAppErr; the rest is valid when it is 0
//   4    4  lifemode     VcomLifemode
//   8   32  portName     current port name, for example COM7
//  40  512  portStates   PortNameState of COM1 to COM128
struct VcomCfgReply_st {
    uint32_t result;
    uint32_t lifemode;
    wchar_t portName[kPortNameChars];
    uint32_t portStates[kPortNameCount];
};
static_assert(sizeof(VcomCfgReply_st) == 552 && kIsWireRecord<VcomCfgReply_st>);
static_assert(offsetof(VcomCfgReply_st, lifemode) == 4);
static_assert(offsetof(VcomCfgReply_st, portName) == 8);
static_assert(offsetof(VcomCfgReply_st, portStates) == 40);

// Input of SetVcomCfg.
//
//   0  256  device       the VCOM
// 256    4  lifemode     VcomLifemode
// 260   32  portName     desired port name, cut when it is longer than the field
struct VcomCfgRequest_st {
    DeviceName_st device;
    uint32_t lifemode;
    wchar_t portName[kPortNameChars];
};
static_assert(sizeof(VcomCfgRequest_st) == 292 && kIsWireRecord<VcomCfgRequest_st>);
static_assert(offsetof(VcomCfgRequest_st, lifemode) == 256);
static_assert(offsetof(VcomCfgRequest_st, portName) == 260);

// Output of GetGlobalCfg, input of SetGlobalCfg. Read, changed and sent back whole: every byte that is not
// named keeps its value.
//
//   0    4  bindMode                  VcomBindMode
//   4    4  newVcomLifemode           VcomLifemode of new VCOMs
//   8    4  prefetchMode              VcomPrefetchMode
//  12    4  prefetchBufferBytes       shown only
//  16    1  preferProductText         flag: the USB iProduct text in device names
//  17    1  serialNumberOnNames       flag: the USB serial number on VCOM device names
//  18    2  reserved18
//  20    4  dropPartialBytes          flag: drop partial bytes on a USB error
//  24    1  clearInputOnOpen          flag: clear VCOM input when the port is opened
//  25    3  reserved25
//  28    4  clearInputDelayMinimumMs  in milliseconds
//  32    4  requireUniqueSerial       flag, for kBindBySerialNumber
//  36    4  datapipeLifemode          DatapipeLifemode (legacy)
//  40    1  robPort                   flag: rob the port from another driver
//  41    1  reserved41
//  42  400  preferredPorts            names for new VCOMs, at most 200 characters; empty: no preference
// 442    2  reserved442
struct GlobalCfg_st {
    uint32_t bindMode;
    uint32_t newVcomLifemode;
    uint32_t prefetchMode;
    uint32_t prefetchBufferBytes;
    uint8_t preferProductText;
    uint8_t serialNumberOnNames;
    uint8_t reserved18[2];
    uint32_t dropPartialBytes;
    uint8_t clearInputOnOpen;
    uint8_t reserved25[3];
    uint32_t clearInputDelayMinimumMs;
    uint32_t requireUniqueSerial;
    uint32_t datapipeLifemode;
    uint8_t robPort;
    uint8_t reserved41;
    wchar_t preferredPorts[kPreferredPortsChars];
    uint8_t reserved442[2];
};
static_assert(sizeof(GlobalCfg_st) == 444 && kIsWireRecord<GlobalCfg_st>);
static_assert(offsetof(GlobalCfg_st, newVcomLifemode) == 4);
static_assert(offsetof(GlobalCfg_st, prefetchMode) == 8);
static_assert(offsetof(GlobalCfg_st, prefetchBufferBytes) == 12);
static_assert(offsetof(GlobalCfg_st, preferProductText) == 16);
static_assert(offsetof(GlobalCfg_st, serialNumberOnNames) == 17);
static_assert(offsetof(GlobalCfg_st, dropPartialBytes) == 20);
static_assert(offsetof(GlobalCfg_st, clearInputOnOpen) == 24);
static_assert(offsetof(GlobalCfg_st, clearInputDelayMinimumMs) == 28);
static_assert(offsetof(GlobalCfg_st, requireUniqueSerial) == 32);
static_assert(offsetof(GlobalCfg_st, datapipeLifemode) == 36);
static_assert(offsetof(GlobalCfg_st, robPort) == 40);
static_assert(offsetof(GlobalCfg_st, preferredPorts) == 42);
static_assert(offsetof(GlobalCfg_st, reserved442) == 442);

// Output of GetLogCfg, input of SetLogCfg. The statistics (offset 28 and up) are the driver's and are sent
// back as they were read.
//
//   0    4  fileLogging          nonzero: on. A sender writes the low byte only and keeps the other three.
//   4   20  levels               five logging levels, all set to the chosen one
//  24    1  freshLog             flag: clear old log content and start a fresh file
//  25    3  reserved25           zero
//  28    4  logbufSize           in bytes
//  32    4  watermarkMaxReached  in bytes
//  36    4  reserved36           zero
//  40    8  bytesAppend
//  48    8  countAppends
//  56    8  countFilesysop
//  64    8  bytesOverrun
//  72    8  countOverrun
struct LogCfg_st {
    uint32_t fileLogging;
    int32_t levels[kLogLevelCount];
    uint8_t freshLog;
    uint8_t reserved25[3];
    int32_t logbufSize;
    uint32_t watermarkMaxReached;
    uint32_t reserved36;
    int64_t bytesAppend;
    int64_t countAppends;
    int64_t countFilesysop;
    int64_t bytesOverrun;
    int64_t countOverrun;
};
static_assert(sizeof(LogCfg_st) == 80 && kIsWireRecord<LogCfg_st>);
static_assert(offsetof(LogCfg_st, levels) == 4);
static_assert(offsetof(LogCfg_st, freshLog) == 24);
static_assert(offsetof(LogCfg_st, logbufSize) == 28);
static_assert(offsetof(LogCfg_st, watermarkMaxReached) == 32);
static_assert(offsetof(LogCfg_st, bytesAppend) == 40);
static_assert(offsetof(LogCfg_st, countAppends) == 48);
static_assert(offsetof(LogCfg_st, countFilesysop) == 56);
static_assert(offsetof(LogCfg_st, bytesOverrun) == 64);
static_assert(offsetof(LogCfg_st, countOverrun) == 72);

// Output of GetUsbdInfo. Valid only when the driver returns exactly this many bytes.
//
//    0    4  online            0: the USB device is offline
//    4    4  speed             UsbSpeed
//    8    2  idVendor
//   10    2  idProduct
//   12    2  bcdDevice         high byte major, low byte minor
//   14  256  manufacturer
//  270  256  product
//  526  256  serialNumber
//  782  256  usbdInstancePath  empty when the USB device is offline
// 1038  258  vcomInstancePath  empty when no VCOM exists
struct UsbdInfo_st {
    uint32_t online;
    uint32_t speed;
    uint16_t idVendor;
    uint16_t idProduct;
    uint16_t bcdDevice;
    wchar_t manufacturer[kUsbStringChars];
    wchar_t product[kUsbStringChars];
    wchar_t serialNumber[kUsbStringChars];
    wchar_t usbdInstancePath[kUsbStringChars];
    wchar_t vcomInstancePath[kVcomPathChars];
};
static_assert(sizeof(UsbdInfo_st) == 1296 && kIsWireRecord<UsbdInfo_st>);
static_assert(offsetof(UsbdInfo_st, idVendor) == 8);
static_assert(offsetof(UsbdInfo_st, bcdDevice) == 12);
static_assert(offsetof(UsbdInfo_st, manufacturer) == 14);
static_assert(offsetof(UsbdInfo_st, product) == 270);
static_assert(offsetof(UsbdInfo_st, serialNumber) == 526);
static_assert(offsetof(UsbdInfo_st, usbdInstancePath) == 782);
static_assert(offsetof(UsbdInfo_st, vcomInstancePath) == 1038);

// Output of GetFlowpathStat; the caller zero-fills it first. Counters are bytes or events of one USB device's
// Flowpath. The names in brackets are those of the statistics window; "hist" marks its historical section.
//
//   0  8  creationUemsec          milliseconds since 1970-01-01 UTC
//   8  8  histOfflineIncrease
//  16  8  histOfflines
//  24  1  usbInActive             flag
//  25  7  reserved25
//  32  8  usbReceivedBytes        [U1] from USB
//  40  8  vcomReadBytes           [U2] by the VCOM's user
//  48  8  vcomReadPendingBytes    [U5]
//  56  8  readBufferBytes         [U4] is the sum of this
//  64  8  readBufferExtraBytes         and this
//  72  8  readDiscardBytes        [U3]
//  80  8  histUsbReadBytes
//  88  8  histReadDiscardBytes
//  96  4  readBufferLimitBytes
// 100  4  readBufferPeakBytes
// 104  8  usbInErrors
// 112  8  histUsbInErrors
// 120  1  usbOutActive            flag
// 121  7  reserved121
// 128  8  usbSentBytes            [D2] to USB
// 136  8  vcomWrittenBytes        [D1] by the VCOM's user
// 144 16  reserved144
// 160  8  writeBufferBytes        [D4]
// 168  8  writeDiscardBytes       [D3]
// 176  8  histUsbWrittenBytes
// 184  8  histWriteDiscardBytes
// 192  4  writeBufferLimitBytes
// 196  4  writeBufferPeakBytes
// 200  8  usbOutErrors
// 208  8  histUsbOutErrors
// 216  1  blindRun                flag: a USB blind run is active
// 217  7  reserved217
struct FlowpathStat_st {
    int64_t creationUemsec;
    uint64_t histOfflineIncrease;
    uint64_t histOfflines;
    uint8_t usbInActive;
    uint8_t reserved25[7];
    uint64_t usbReceivedBytes;
    uint64_t vcomReadBytes;
    uint64_t vcomReadPendingBytes;
    uint64_t readBufferBytes;
    uint64_t readBufferExtraBytes;
    uint64_t readDiscardBytes;
    uint64_t histUsbReadBytes;
    uint64_t histReadDiscardBytes;
    uint32_t readBufferLimitBytes;
    uint32_t readBufferPeakBytes;
    uint64_t usbInErrors;
    uint64_t histUsbInErrors;
    uint8_t usbOutActive;
    uint8_t reserved121[7];
    uint64_t usbSentBytes;
    uint64_t vcomWrittenBytes;
    uint8_t reserved144[16];
    uint64_t writeBufferBytes;
    uint64_t writeDiscardBytes;
    uint64_t histUsbWrittenBytes;
    uint64_t histWriteDiscardBytes;
    uint32_t writeBufferLimitBytes;
    uint32_t writeBufferPeakBytes;
    uint64_t usbOutErrors;
    uint64_t histUsbOutErrors;
    uint8_t blindRun;
    uint8_t reserved217[7];
};
static_assert(sizeof(FlowpathStat_st) == 224 && kIsWireRecord<FlowpathStat_st>);
static_assert(offsetof(FlowpathStat_st, usbInActive) == 24);
static_assert(offsetof(FlowpathStat_st, usbReceivedBytes) == 32);
static_assert(offsetof(FlowpathStat_st, vcomReadPendingBytes) == 48);
static_assert(offsetof(FlowpathStat_st, readDiscardBytes) == 72);
static_assert(offsetof(FlowpathStat_st, readBufferLimitBytes) == 96);
static_assert(offsetof(FlowpathStat_st, usbInErrors) == 104);
static_assert(offsetof(FlowpathStat_st, usbOutActive) == 120);
static_assert(offsetof(FlowpathStat_st, usbSentBytes) == 128);
static_assert(offsetof(FlowpathStat_st, writeBufferBytes) == 160);
static_assert(offsetof(FlowpathStat_st, histUsbWrittenBytes) == 176);
static_assert(offsetof(FlowpathStat_st, writeBufferLimitBytes) == 192);
static_assert(offsetof(FlowpathStat_st, usbOutErrors) == 200);
static_assert(offsetof(FlowpathStat_st, blindRun) == 216);

// One number for each kind of recovery that the driver tries.
//
//  0  4  inPipeResets
//  4  4  outPipeResets
//  8  4  usbPortResets
// 12  4  usbPortCycles
struct RecoverActions_st {
    uint32_t inPipeResets;
    uint32_t outPipeResets;
    uint32_t usbPortResets;
    uint32_t usbPortCycles;
};
static_assert(sizeof(RecoverActions_st) == 16 && kIsWireRecord<RecoverActions_st>);

// Output of GetUsbErrStat. The caller zero-fills it and sets headerWord first. Times are FILETIMEs:
// 100-nanosecond units since 1601-01-01 UTC, 0 for never.
//
//   0   8  reserved0
//   8   4  headerWord            preset to kUsbErrStatHeaderWord
//  12   4  evaluate              0: the counters do not count towards the error state
//  16  84  bucketCounts          one per error bucket
// 100   4  reserved100
// 104   8  lastInErrorTime
// 112   8  lastOutErrorTime
// 120   8  lastInRecoveredTime
// 128   8  lastOutRecoveredTime
// 136  16  sinceOnline           recovery actions since last online
// 152   8  offlineCount          how often the USB device went offline
// 160   8  lastOfflineTime
// 168  16  reserved168
// 184  16  totals                recovery actions in total
struct UsbErrStat_st {
    uint8_t reserved0[8];
    uint32_t headerWord;
    uint32_t evaluate;
    uint32_t bucketCounts[kUsbErrBucketCount];
    uint32_t reserved100;
    uint64_t lastInErrorTime;
    uint64_t lastOutErrorTime;
    uint64_t lastInRecoveredTime;
    uint64_t lastOutRecoveredTime;
    RecoverActions_st sinceOnline;
    uint64_t offlineCount;
    uint64_t lastOfflineTime;
    uint8_t reserved168[16];
    RecoverActions_st totals;
};
static_assert(sizeof(UsbErrStat_st) == 200 && kIsWireRecord<UsbErrStat_st>);
static_assert(offsetof(UsbErrStat_st, headerWord) == 8);
static_assert(offsetof(UsbErrStat_st, evaluate) == 12);
static_assert(offsetof(UsbErrStat_st, bucketCounts) == 16);
static_assert(offsetof(UsbErrStat_st, lastInErrorTime) == 104);
static_assert(offsetof(UsbErrStat_st, lastOutErrorTime) == 112);
static_assert(offsetof(UsbErrStat_st, lastInRecoveredTime) == 120);
static_assert(offsetof(UsbErrStat_st, lastOutRecoveredTime) == 128);
static_assert(offsetof(UsbErrStat_st, sinceOnline) == 136);
static_assert(offsetof(UsbErrStat_st, offlineCount) == 152);
static_assert(offsetof(UsbErrStat_st, lastOfflineTime) == 160);
static_assert(offsetof(UsbErrStat_st, totals) == 184);

inline constexpr uint32_t kUsbErrStatHeaderWord = 8;

// Output of QueryVcomFdoPdo.
//
//  0   32  reserved0
// 32  240  kernelName   kernel device name of the VCOM, the right target of its DOS symbolic link
struct VcomFdoPdo_st {
    uint8_t reserved0[32];
    wchar_t kernelName[kKernelNameChars];
};
static_assert(sizeof(VcomFdoPdo_st) == 272 && kIsWireRecord<VcomFdoPdo_st>);
static_assert(offsetof(VcomFdoPdo_st, kernelName) == 32);

// Input of SetWdfDeviceState.
//
//   0  256  device
// 256    4  stateIndex   WdfDeviceStateIndex
// 260    4  value        0 no, 1 yes
struct WdfDeviceStateRequest_st {
    DeviceName_st device;
    uint32_t stateIndex;
    uint32_t value;
};
static_assert(sizeof(WdfDeviceStateRequest_st) == 264 && kIsWireRecord<WdfDeviceStateRequest_st>);
static_assert(offsetof(WdfDeviceStateRequest_st, stateIndex) == 256);
static_assert(offsetof(WdfDeviceStateRequest_st, value) == 260);
