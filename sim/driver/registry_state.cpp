#include "sim/driver/registry_state.h"

#include "sim/driver/text.h"

namespace {

constexpr size_t kKeyPathChars = 400;
using KeyPath = TextBuilder<kKeyPathChars>;

constexpr wchar_t kMachine[] = L"\\Registry\\Machine\\";
constexpr wchar_t kEnum[] = L"\\Registry\\Machine\\System\\CurrentControlSet\\Enum\\";
constexpr wchar_t kVcomNodes[] = L"QRV_VBUS\\Qrv_vcom";
constexpr wchar_t kUsbNodes[] = L"USB";
constexpr wchar_t kSimulatedHardwareId[] = L"USB\\QRV_TAVIX_SIMULATED";
constexpr wchar_t kHardwareKey[] = L"\\Device Parameters";

OBJECT_ATTRIBUTES AttributesOf(UNICODE_STRING& path) {
    OBJECT_ATTRIBUTES attributes;
    InitializeObjectAttributes(&attributes, &path, OBJ_CASE_INSENSITIVE | OBJ_KERNEL_HANDLE, nullptr,
                               nullptr);
    return attributes;
}

bool OpenKey(KeyPath& path, KernelHandleOwner& key) {
    UNICODE_STRING name = path.Unicode();
    OBJECT_ATTRIBUTES attributes = AttributesOf(name);
    return NT_SUCCESS(ZwOpenKey(&key.handle, KEY_ALL_ACCESS, &attributes));
}

// Makes the last part of the path when it is missing.
bool CreateKey(KeyPath& path, ULONG options, KernelHandleOwner& key) {
    UNICODE_STRING name = path.Unicode();
    OBJECT_ATTRIBUTES attributes = AttributesOf(name);
    return NT_SUCCESS(ZwCreateKey(&key.handle, KEY_ALL_ACCESS, &attributes, 0, nullptr, options, nullptr));
}

bool OpenHardwareKey(const wchar_t* instanceId, KernelHandleOwner& key) {
    if (instanceId[0] == 0) return false;
    KeyPath path;
    path.Add(kEnum).Add(instanceId, kSimIdChars).Add(kHardwareKey);
    return CreateKey(path, REG_OPTION_NON_VOLATILE, key);
}

void SetValue(const KernelHandleOwner& key, const wchar_t* valueName, ULONG type, const void* data,
              size_t bytes) {
    UNICODE_STRING name;
    RtlInitUnicodeString(&name, valueName);
    ZwSetValueKey(key.handle, &name, 0, type, const_cast<void*>(data), static_cast<ULONG>(bytes));
}

void SetText(const KernelHandleOwner& key, const wchar_t* valueName, const wchar_t* text, size_t textChars) {
    SetValue(key, valueName, REG_SZ, text, (textChars + 1) * sizeof(wchar_t));
}

void SetDword(const KernelHandleOwner& key, const wchar_t* valueName, uint32_t number) {
    SetValue(key, valueName, REG_DWORD, &number, sizeof(number));
}

void SetQword(const KernelHandleOwner& key, const wchar_t* valueName, uint64_t number) {
    SetValue(key, valueName, REG_QWORD, &number, sizeof(number));
}

// Calls for the name of each subkey. The visitor returns true when it has deleted the key.
template <typename Visitor>
void ForEachSubkey(const KernelHandleOwner& key, Visitor visit) {
    constexpr size_t nameBytes = kSimIdChars * sizeof(wchar_t);
    alignas(KEY_BASIC_INFORMATION) uint8_t buffer[sizeof(KEY_BASIC_INFORMATION) + nameBytes];
    for (ULONG index = 0;;) {
        ULONG needed = 0;
        const NTSTATUS status =
            ZwEnumerateKey(key.handle, index, KeyBasicInformation, buffer, sizeof(buffer), &needed);
        if (status == STATUS_NO_MORE_ENTRIES || (!NT_SUCCESS(status) && status != STATUS_BUFFER_OVERFLOW))
            return;
        const auto* info = reinterpret_cast<const KEY_BASIC_INFORMATION*>(buffer);
        const bool isDeleted = NT_SUCCESS(status) && visit(info->Name, info->NameLength / sizeof(wchar_t));
        if (!isDeleted) ++index;
    }
}

// The list of hardware IDs of a node of ours ends with the one that the package knows.
bool IsSimulatedUsbNode(KeyPath& path) {
    KernelHandleOwner node;
    if (!OpenKey(path, node)) return false;
    UNICODE_STRING valueName;
    RtlInitUnicodeString(&valueName, L"HardwareID");
    constexpr size_t listBytes = 256 * sizeof(wchar_t);
    alignas(KEY_VALUE_PARTIAL_INFORMATION) uint8_t buffer[sizeof(KEY_VALUE_PARTIAL_INFORMATION) + listBytes];
    ULONG needed = 0;
    if (!NT_SUCCESS(ZwQueryValueKey(node.handle, &valueName, KeyValuePartialInformation, buffer,
                                    sizeof(buffer), &needed)))
        return false;
    const auto* value = reinterpret_cast<const KEY_VALUE_PARTIAL_INFORMATION*>(buffer);
    const auto* ids = reinterpret_cast<const wchar_t*>(value->Data);
    const size_t idsChars = value->DataLength / sizeof(wchar_t);
    constexpr size_t wantedChars = sizeof(kSimulatedHardwareId) / sizeof(wchar_t) - 1;
    for (size_t i = 0; i + wantedChars <= idsChars; ++i)
        if (IsSameText(ids + i, wantedChars, kSimulatedHardwareId, wantedChars)) return true;
    return false;
}

void StoreVcomNodesAbsent() {
    KeyPath path;
    path.Add(kEnum).Add(kVcomNodes);
    KernelHandleOwner nodes;
    if (!OpenKey(path, nodes)) return;
    ForEachSubkey(nodes, [](const wchar_t* name, size_t nameChars) {
        TextBuilder<kSimIdChars> id;
        id.Add(kVcomNodes).Add(L"\\").Add(name, nameChars);
        StorePresence(id.get(), id.capacity(), false, 0);
        return false;
    });
}

void StoreUsbNodesAbsent() {
    KeyPath path;
    path.Add(kEnum).Add(kUsbNodes);
    KernelHandleOwner types;
    if (!OpenKey(path, types)) return;
    ForEachSubkey(types, [](const wchar_t* type, size_t typeChars) {
        TextBuilder<kSimIdChars> typeId;
        typeId.Add(kUsbNodes).Add(L"\\").Add(type, typeChars);
        KeyPath typePath;
        typePath.Add(kEnum).Add(typeId.get(), typeId.capacity());
        KernelHandleOwner devices;
        if (!OpenKey(typePath, devices)) return false;
        ForEachSubkey(devices, [&typeId](const wchar_t* serial, size_t serialChars) {
            TextBuilder<kSimIdChars> id;
            id.Add(typeId.get(), typeId.capacity()).Add(L"\\").Add(serial, serialChars);
            KeyPath nodePath;
            nodePath.Add(kEnum).Add(id.get(), id.capacity());
            if (IsSimulatedUsbNode(nodePath)) StorePresence(id.get(), id.capacity(), false, 0);
            return false;
        });
        return false;
    });
}

void StoreHistoryOf(const wchar_t* instanceId, const FlowpathStat_st& stat) {
    KernelHandleOwner key;
    if (!OpenHardwareKey(instanceId, key)) return;
    SetQword(key, L"histUsbdOfflines", stat.histOfflines);
    SetQword(key, L"histUsbOUTerrors", stat.histUsbOutErrors);
    SetQword(key, L"histUsbINerrors", stat.histUsbInErrors);
    SetQword(key, L"histVcomWriteDiscards", stat.histWriteDiscardBytes);
    SetQword(key, L"histUsbWrittenBytes", stat.histUsbWrittenBytes);
    SetQword(key, L"histUsbReadDiscards", stat.histReadDiscardBytes);
    SetQword(key, L"histUsbReadBytes", stat.histUsbReadBytes);
}

bool BeginsWith(const wchar_t* text, size_t textChars, const wchar_t* prefix, size_t prefixChars) {
    return textChars >= prefixChars && IsSameText(text, prefixChars, prefix, prefixChars);
}

}  // namespace

void StoreNowHuid(const SimDevice& device, const wchar_t* huid) {
    KernelHandleOwner key;
    if (!OpenHardwareKey(device.instanceId, key)) return;
    if (huid[0] != 0) {
        SetText(key, L"NowHuid", huid, TextLength(huid, kSimHuidChars - 1));
        return;
    }
    UNICODE_STRING name;
    RtlInitUnicodeString(&name, L"NowHuid");
    ZwDeleteValueKey(key.handle, &name);
}

void StoreLastStartup(const SimDevice& device, uint64_t uemsec) {
    KernelHandleOwner key;
    if (OpenHardwareKey(device.instanceId, key)) SetQword(key, L"UsbdLastStartupSuccessUemsec", uemsec);
}

void StoreHistory(const SimDevice& device) {
    StoreHistoryOf(device.instanceId, device.flowpath);
    wchar_t vcomId[kSimIdChars];
    VcomInstanceId(device, vcomId);
    if (vcomId[0] != 0) StoreHistoryOf(vcomId, device.flowpath);
}

void StoreVcomNames(const SimDevice& device) {
    wchar_t vcomId[kSimIdChars];
    VcomInstanceId(device, vcomId);
    if (vcomId[0] == 0) return;
    KeyPath path;
    path.Add(kEnum).Add(vcomId);
    KernelHandleOwner node;
    if (!OpenKey(path, node)) return;
    TextBuilder<kSimIdChars> name;
    name.Add(L"TAVIX VCOM ");
    if (g_model.globalCfg.serialNumberOnNames != 0 && device.identity.serialNumber[0] != 0)
        name.Add(device.identity.serialNumber).Add(L" ");
    name.Add(L"(").Add(device.portName).Add(L")");
    SetText(node, L"FriendlyName", name.get(), name.length());
    KernelHandleOwner hardware;
    if (OpenHardwareKey(vcomId, hardware))
        SetText(hardware, L"PortName", device.portName, TextLength(device.portName, kPortNameChars - 1));
}

void StorePresence(const wchar_t* instanceId, size_t idChars, bool present, uint32_t problem) {
    if (TextLength(instanceId, idChars) == 0) return;
    KeyPath parent;
    parent.Add(kMachine).Add(L"Software\\TavixSimulator");
    KernelHandleOwner simulator;
    if (!CreateKey(parent, REG_OPTION_VOLATILE, simulator)) return;
    KeyPath path;
    path.Add(kMachine).Add(kSimNodesKey);
    KernelHandleOwner nodes;
    if (!CreateKey(path, REG_OPTION_VOLATILE, nodes)) return;
    path.Add(L"\\");
    const size_t first = path.length();
    path.Add(instanceId, idChars);
    path.Replace(L'\\', L'#', first);
    path.ToUpper(first);
    KernelHandleOwner node;
    if (!CreateKey(path, REG_OPTION_VOLATILE, node)) return;
    SetDword(node, kSimNodePresentValue, present ? 1 : 0);
    SetDword(node, kSimNodeProblemValue, problem);
}

void StoreVcomPresence(const SimDevice& device, bool present) {
    wchar_t vcomId[kSimIdChars];
    VcomInstanceId(device, vcomId);
    StorePresence(vcomId, kSimIdChars, present, 0);
}

void StoreEarlierNodesAbsent() {
    StoreVcomNodesAbsent();
    StoreUsbNodesAbsent();
}

void ResetPresence() {
    KeyPath path;
    path.Add(kMachine).Add(kSimNodesKey);
    KernelHandleOwner nodes;
    if (!OpenKey(path, nodes)) return;
    ForEachSubkey(nodes, [&path](const wchar_t* name, size_t nameChars) {
        KeyPath nodePath;
        nodePath.Add(path.get(), path.capacity()).Add(L"\\").Add(name, nameChars);
        KernelHandleOwner node;
        if (!OpenKey(nodePath, node)) return false;
        if (BeginsWith(name, nameChars, L"USB#", 4) || BeginsWith(name, nameChars, L"QRV_VBUS#", 9)) {
            SetDword(node, kSimNodePresentValue, 0);
            SetDword(node, kSimNodeProblemValue, 0);
            return false;
        }
        return NT_SUCCESS(ZwDeleteKey(node.handle));
    });
}

bool IsPortInComDatabase(uint32_t portNumber) {
    KeyPath path;
    path.Add(kMachine).Add(L"System\\CurrentControlSet\\Control\\COM Name Arbiter");
    KernelHandleOwner key;
    UNICODE_STRING keyName = path.Unicode();
    OBJECT_ATTRIBUTES attributes = AttributesOf(keyName);
    if (!NT_SUCCESS(ZwOpenKey(&key.handle, KEY_READ, &attributes))) return false;
    UNICODE_STRING valueName;
    RtlInitUnicodeString(&valueName, L"ComDB");
    constexpr uint32_t bitmapBytes = 32;  // COM1 to COM256, one bit each
    alignas(KEY_VALUE_PARTIAL_INFORMATION)
        uint8_t buffer[sizeof(KEY_VALUE_PARTIAL_INFORMATION) + bitmapBytes];
    ULONG needed = 0;
    if (!NT_SUCCESS(ZwQueryValueKey(key.handle, &valueName, KeyValuePartialInformation, buffer,
                                    sizeof(buffer), &needed)))
        return false;
    const auto* value = reinterpret_cast<const KEY_VALUE_PARTIAL_INFORMATION*>(buffer);
    const uint32_t bit = portNumber - 1;
    if (value->Type != REG_BINARY || bit / 8 >= value->DataLength) return false;
    return (value->Data[bit / 8] >> bit % 8 & 1) != 0;
}
