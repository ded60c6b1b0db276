#include "tests/unit/driver/fake_vbus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "base/bounded_text.h"
#include "base/win32_handle.h"
#include "driver/vbus.h"

namespace {

BOOL Fail(DWORD error) {
    SetLastError(error);
    return FALSE;
}

}  // namespace

FakeVbus::FakeVbus()
    : scratchKey_(L"Software\\TavixTest\\Device" + std::to_wstring(GetCurrentProcessId())),
      classDevs_("SetupDiGetClassDevsW",
                 [this](const GUID* guid, PCWSTR enumerator, HWND window, DWORD flags) {
                     return OnGetClassDevs(guid, enumerator, window, flags);
                 }),
      enumInterfaces_("SetupDiEnumDeviceInterfaces",
                      [this](HDEVINFO set, SP_DEVINFO_DATA* device, const GUID* guid, DWORD index,
                             SP_DEVICE_INTERFACE_DATA* data) {
                          return OnEnumInterfaces(set, device, guid, index, data);
                      }),
      getDetail_(
          "SetupDiGetDeviceInterfaceDetailW",
          [this](HDEVINFO set, SP_DEVICE_INTERFACE_DATA* data, SP_DEVICE_INTERFACE_DETAIL_DATA_W* detail,
                 DWORD bytes, DWORD*, SP_DEVINFO_DATA*) { return OnGetDetail(set, data, detail, bytes); }),
      destroySet_("SetupDiDestroyDeviceInfoList", [this](HDEVINFO set) { return OnDestroySet(set); }),
      createFile_("CreateFileW",
                  [this](LPCWSTR name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                         DWORD disposition, DWORD flags, HANDLE pattern) {
                      return OnCreateFile(name, access, share, security, disposition, flags, pattern);
                  }),
      ioctl_("DeviceIoControl",
             [this](HANDLE vbus, DWORD code, void* input, DWORD inputBytes, void* output, DWORD outputBytes,
                    DWORD* bytesReturned, OVERLAPPED* overlapped) {
                 return OnIoctl(vbus, code, input, inputBytes, output, outputBytes, bytesReturned,
                                overlapped);
             }),
      instanceId_("SetupDiGetDeviceInstanceIdW",
                  [this](HDEVINFO set, SP_DEVINFO_DATA* device, wchar_t* id, DWORD idChars, DWORD*) {
                      return OnGetInstanceId(set, device, id, idChars);
                  }),
      openDevRegKey_("SetupDiOpenDevRegKey", [this](HDEVINFO set, SP_DEVINFO_DATA* device, DWORD scope,
                                                    DWORD profile, DWORD keyType, REGSAM access) {
          return OnOpenDevRegKey(set, device, scope, profile, keyType, access);
      }) {
    SetVbusReadOnly(false);
}

FakeVbus::~FakeVbus() {
    SetVbusReadOnly(false);
    EXPECT_EQ(openSets_, 0) << "device information sets left open";
    RegDeleteKeyW(HKEY_CURRENT_USER, scratchKey_.c_str());
}

std::vector<DWORD> FakeVbus::RequestCodes() const {
    std::vector<DWORD> codes;
    for (const Request& request : requests)
        codes.push_back(request.code);
    return codes;
}

HDEVINFO FakeVbus::OnGetClassDevs(const GUID* guid, PCWSTR enumerator, HWND window, DWORD flags) {
    ++enumerations;
    EXPECT_EQ(std::memcmp(guid, &kVbusInterfaceClass, sizeof(GUID)), 0);
    EXPECT_EQ(enumerator, nullptr);
    EXPECT_EQ(window, nullptr);
    EXPECT_EQ(flags, DWORD{DIGCF_PRESENT | DIGCF_DEVICEINTERFACE});
    if (classDevsError != ERROR_SUCCESS) {
        SetLastError(classDevsError);
        return INVALID_HANDLE_VALUE;
    }
    ++openSets_;
    return kInterfaceSet;
}

BOOL FakeVbus::OnEnumInterfaces(HDEVINFO set, SP_DEVINFO_DATA* device, const GUID* guid, DWORD index,
                                SP_DEVICE_INTERFACE_DATA* data) {
    EXPECT_EQ(set, kInterfaceSet);
    EXPECT_EQ(device, nullptr);
    EXPECT_EQ(std::memcmp(guid, &kVbusInterfaceClass, sizeof(GUID)), 0);
    EXPECT_EQ(index, 0u);
    EXPECT_EQ(data->cbSize, sizeof(*data));
    return hasInterface ? TRUE : Fail(ERROR_NO_MORE_ITEMS);
}

BOOL FakeVbus::OnGetDetail(HDEVINFO set, SP_DEVICE_INTERFACE_DATA*, SP_DEVICE_INTERFACE_DETAIL_DATA_W* detail,
                           DWORD detailBytes) {
    EXPECT_EQ(set, kInterfaceSet);
    EXPECT_EQ(detail->cbSize, sizeof(*detail));
    detailCapacities.push_back(detailBytes);
    if (detailError != ERROR_SUCCESS) return Fail(detailError);
    const size_t head = offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath);
    const size_t pathBytes = (path.size() + 1) * sizeof(wchar_t);
    if (head + pathBytes > detailBytes) return Fail(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(reinterpret_cast<BYTE*>(detail) + head, path.c_str(), pathBytes);
    return TRUE;
}

BOOL FakeVbus::OnDestroySet(HDEVINFO set) {
    EXPECT_EQ(set, kInterfaceSet);
    --openSets_;
    SetLastError(0xDEAD);  // closing must not hide a reason
    return TRUE;
}

HANDLE FakeVbus::OnCreateFile(LPCWSTR name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                              DWORD disposition, DWORD flags, HANDLE pattern) {
    const bool isFile = std::wstring_view(name).starts_with(L"C:\\");
    if (isFile) return CreateFileW(name, access, share, security, disposition, flags, pattern);
    EXPECT_EQ(share, DWORD{FILE_SHARE_READ | FILE_SHARE_WRITE});
    EXPECT_EQ(security, nullptr);
    EXPECT_EQ(disposition, DWORD{OPEN_EXISTING});
    EXPECT_EQ(flags, 0u);
    EXPECT_EQ(pattern, nullptr);
    openings.push_back({name, access});
    DWORD error = ERROR_SUCCESS;
    if (!openErrors.empty()) {
        error = openErrors.front();
        openErrors.pop_front();
    }
    // Any handle that can be closed will do.
    if (error == ERROR_SUCCESS) return CreateEventW(nullptr, FALSE, FALSE, nullptr);
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
}

BOOL FakeVbus::OnIoctl(HANDLE, DWORD code, void* input, DWORD inputBytes, void* output, DWORD outputBytes,
                       DWORD* bytesReturned, OVERLAPPED* overlapped) {
    EXPECT_EQ(overlapped, nullptr);
    EXPECT_NE(bytesReturned, nullptr);
    const BYTE* sent = static_cast<const BYTE*>(input);
    requests.push_back({code, {sent, sent + inputBytes}, outputBytes});
    const auto found = replies.find(code);
    const FakeReply reply =
        found != replies.end() ? found->second : FakeReply::Failure(ERROR_INVALID_FUNCTION);
    const size_t fitting = std::min<size_t>(reply.bytes.size(), outputBytes);
    *bytesReturned = reply.claimedBytes.value_or(static_cast<DWORD>(fitting));
    // Of a buffered request only the bytes that the driver claims arrive.
    const size_t arriving = std::min<size_t>(fitting, *bytesReturned);
    if (arriving != 0) std::memcpy(output, reply.bytes.data(), arriving);
    return reply.error == ERROR_SUCCESS ? TRUE : Fail(reply.error);
}

BOOL FakeVbus::OnGetInstanceId(HDEVINFO set, SP_DEVINFO_DATA* device, wchar_t* id, DWORD idChars) {
    EXPECT_EQ(set, kDeviceSet);
    EXPECT_EQ(device, &device_);
    EXPECT_TRUE(idChars == 1000u || idChars == 260u) << idChars;  // the latter for a log's path
    if (instanceIdError != ERROR_SUCCESS) return Fail(instanceIdError);
    if (instanceId.size() >= idChars) return Fail(ERROR_INSUFFICIENT_BUFFER);
    CopyBounded(id, idChars, instanceId);
    return TRUE;
}

HKEY FakeVbus::OnOpenDevRegKey(HDEVINFO set, SP_DEVINFO_DATA* device, DWORD scope, DWORD profile,
                               DWORD keyType, REGSAM access) {
    EXPECT_EQ(set, kDeviceSet);
    EXPECT_EQ(device, &device_);
    EXPECT_EQ(scope, DWORD{DICS_FLAG_GLOBAL});
    EXPECT_EQ(profile, 0u);
    EXPECT_EQ(keyType, DWORD{DIREG_DEV});
    EXPECT_EQ(access, REGSAM{KEY_READ});
    RegistryKey key;
    RegCreateKeyW(HKEY_CURRENT_USER, scratchKey_.c_str(), key.put());
    if (huid.has_value()) {
        RegSetValueExW(key.get(), L"NowHuid", 0, REG_SZ, reinterpret_cast<const BYTE*>(huid->c_str()),
                       static_cast<DWORD>((huid->size() + 1) * sizeof(wchar_t)));
    }
    return key.release();
}
