// Stands in for the platform below the driver floor, for failures and replies that no real system makes: the
// device enumeration, the opening, the requests, and the one device that the tests pass in. Records what it
// is asked; everything else of the process keeps the real platform.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/windows_api.h"

#include <setupapi.h>

#include "driver/protocol.h"
#include "tests/support/import_redirect.h"

template <typename Record>
std::vector<BYTE> BytesOfRecord(const Record& record) {
    const BYTE* start = reinterpret_cast<const BYTE*>(&record);
    return {start, start + sizeof(record)};
}

struct FakeReply {
    DWORD error = ERROR_SUCCESS;
    std::vector<BYTE> bytes;
    std::optional<DWORD> claimedBytes;  // none: as many as there are

    template <typename Record>
    static FakeReply Of(const Record& record) {
        return {ERROR_SUCCESS, BytesOfRecord(record), std::nullopt};
    }
    static FakeReply Failure(DWORD error) { return {error, {}, std::nullopt}; }
};

class FakeVbus {
  public:
    struct Opening {
        std::wstring path;
        DWORD access = 0;
    };
    struct Request {
        DWORD code = 0;
        std::vector<BYTE> input;
        DWORD outputBytes = 0;
    };

    FakeVbus();
    ~FakeVbus();

    // What the functions under test are given for the device.
    HDEVINFO deviceSet() const { return kDeviceSet; }
    SP_DEVINFO_DATA* device() { return &device_; }

    // What the platform answers.
    DWORD classDevsError = ERROR_SUCCESS;
    bool hasInterface = true;
    DWORD detailError = ERROR_SUCCESS;
    std::wstring path = L"\\\\?\\root#qrv_vbus#0000";
    std::deque<DWORD> openErrors;  // of the next openings; none: they succeed
    std::wstring instanceId = L"QRV_VBUS\\Qrv_vcom\\1&2";
    DWORD instanceIdError = ERROR_SUCCESS;
    std::optional<std::wstring> huid;    // none: the hardware key has no such value
    std::map<DWORD, FakeReply> replies;  // by code; a request without one fails with ERROR_INVALID_FUNCTION

    // What it was asked.
    int enumerations = 0;
    std::vector<DWORD> detailCapacities;
    std::vector<Opening> openings;
    std::vector<Request> requests;
    std::vector<DWORD> RequestCodes() const;

  private:
    inline static const HDEVINFO kDeviceSet = reinterpret_cast<HDEVINFO>(size_t{0x5E7});
    inline static const HDEVINFO kInterfaceSet = reinterpret_cast<HDEVINFO>(size_t{0x1FACE});

    HDEVINFO OnGetClassDevs(const GUID* guid, PCWSTR enumerator, HWND window, DWORD flags);
    BOOL OnEnumInterfaces(HDEVINFO set, SP_DEVINFO_DATA* device, const GUID* guid, DWORD index,
                          SP_DEVICE_INTERFACE_DATA* data);
    BOOL OnGetDetail(HDEVINFO set, SP_DEVICE_INTERFACE_DATA* data, SP_DEVICE_INTERFACE_DETAIL_DATA_W* detail,
                     DWORD detailBytes);
    BOOL OnDestroySet(HDEVINFO set);
    HANDLE OnCreateFile(LPCWSTR name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                        DWORD disposition, DWORD flags, HANDLE pattern);
    BOOL OnIoctl(HANDLE vbus, DWORD code, void* input, DWORD inputBytes, void* output, DWORD outputBytes,
                 DWORD* bytesReturned, OVERLAPPED* overlapped);
    BOOL OnGetInstanceId(HDEVINFO set, SP_DEVINFO_DATA* device, wchar_t* id, DWORD idChars);
    HKEY OnOpenDevRegKey(HDEVINFO set, SP_DEVINFO_DATA* device, DWORD scope, DWORD profile, DWORD keyType,
                         REGSAM access);

    SP_DEVINFO_DATA device_ = {};
    int openSets_ = 0;
    std::wstring scratchKey_;

    ReplacedCall<SetupDiGetClassDevsW> classDevs_;
    ReplacedCall<SetupDiEnumDeviceInterfaces> enumInterfaces_;
    ReplacedCall<SetupDiGetDeviceInterfaceDetailW> getDetail_;
    ReplacedCall<SetupDiDestroyDeviceInfoList> destroySet_;
    ReplacedCall<CreateFileW> createFile_;
    ReplacedCall<DeviceIoControl> ioctl_;
    ReplacedCall<SetupDiGetDeviceInstanceIdW> instanceId_;
    ReplacedCall<SetupDiOpenDevRegKey> openDevRegKey_;
};
