#include "sim/driver/model.h"

#include "sim/driver/bus.h"
#include "sim/driver/registry_state.h"
#include "sim/driver/text.h"
#include "sim/driver/traffic.h"

SimModel g_model;

namespace {

constexpr wchar_t kVcomPrefix[] = L"QRV_VBUS\\Qrv_vcom\\";
constexpr uint32_t kFirstAutomaticPort = 5;

FAST_MUTEX g_lock;

void SetDefaultVersion(DriverVersion_st& version) {
    version.major = 1;
    version.minor = 7;
    version.build = 11;
    // Bytes that nobody names hold a pattern, so that a receiver that reads or changes them is caught.
    version.reserved12 = 0xA5A5A5A5;
    for (size_t i = 0; i < sizeof(version.reserved20); ++i)
        version.reserved20[i] = static_cast<uint8_t>(0x40 + i);
}

void SetDefaultGlobalCfg(GlobalCfg_st& cfg) {
    cfg.bindMode = kBindByDeviceType;
    cfg.newVcomLifemode = kLifemodeFriendly;
    cfg.prefetchMode = kPrefetchAndRecycle;
    cfg.prefetchBufferBytes = 4096;
    cfg.datapipeLifemode = kDatapipeOnDevicePresent;
    cfg.reserved18[0] = 0x18;
    cfg.reserved18[1] = 0x19;
    for (size_t i = 0; i < sizeof(cfg.reserved25); ++i)
        cfg.reserved25[i] = static_cast<uint8_t>(0x25 + i);
    cfg.reserved41 = 0x41;
    cfg.reserved442[0] = 0x42;
    cfg.reserved442[1] = 0x43;
}

void SetDefaultLogCfg(LogCfg_st& cfg) {
    cfg.logbufSize = 64 * 1024;
    cfg.watermarkMaxReached = 1536;
    cfg.bytesAppend = 20480;
    cfg.countAppends = 256;
    cfg.countFilesysop = 16;
}

// True when the field's text is what stands behind the first backslash of the instance ID.
bool IsTailOf(const wchar_t* instanceId, const DeviceName_st& name) {
    const size_t length = TextLength(instanceId, kSimIdChars);
    for (size_t i = 0; i < length; ++i)
        if (instanceId[i] == L'\\')
            return IsSameText(instanceId + i + 1, kSimIdChars - i - 1, name.chars, kDeviceNameChars);
    return false;
}

template <typename Predicate>
SimDevice* FindDevice(Predicate matches) {
    for (SimDevice& device : g_model.devices)
        if (device.known && matches(device)) return &device;
    return nullptr;
}

}  // namespace

void InitializeModelLock() {
    ExInitializeFastMutex(&g_lock);
}

ModelLock::ModelLock() {
    ExAcquireFastMutex(&g_lock);
}

ModelLock::~ModelLock() {
    ExReleaseFastMutex(&g_lock);
}

void ResetModel() {
    RtlZeroMemory(&g_model, sizeof(g_model));
    SetDefaultVersion(g_model.version);
    SetDefaultGlobalCfg(g_model.globalCfg);
    SetDefaultLogCfg(g_model.logCfg);
    for (uint32_t& state : g_model.declaredPortStates)
        state = kSimPortComputed;
}

SimDevice* FindByInstanceId(const wchar_t* instanceId, size_t idChars) {
    if (TextLength(instanceId, idChars) == 0) return nullptr;
    return FindDevice([&](const SimDevice& device) {
        return IsSameText(device.instanceId, kSimIdChars, instanceId, idChars);
    });
}

SimDevice* FindByVcomInstanceId(const wchar_t* instanceId, size_t idChars) {
    if (TextLength(instanceId, idChars) == 0) return nullptr;
    return FindDevice([&](const SimDevice& device) {
        wchar_t vcomId[kSimIdChars];
        VcomInstanceId(device, vcomId);
        return IsSameText(vcomId, kSimIdChars, instanceId, idChars);
    });
}

SimDevice* FindByName(const DeviceName_st& name) {
    if (name.chars[0] == 0) return nullptr;
    return FindDevice([&](const SimDevice& device) {
        wchar_t vcomId[kSimIdChars];
        VcomInstanceId(device, vcomId);
        return IsSameText(device.huid, kSimHuidChars, name.chars, kDeviceNameChars) ||
               IsTailOf(device.instanceId, name) || IsTailOf(vcomId, name);
    });
}

SimDevice* FindByLostVcom(const DeviceName_st& name) {
    return FindDevice([&](const SimDevice& device) {
        if (device.plugged || device.vcom != nullptr) return false;
        TextBuilder<kSimIdChars> vcomId;
        vcomId.Add(kVcomPrefix).Add(device.huid);
        return IsTailOf(vcomId.get(), name);
    });
}

SimDevice* AddDevice(const wchar_t* instanceId, size_t idChars) {
    for (SimDevice& device : g_model.devices) {
        if (device.known) continue;
        RtlZeroMemory(&device, sizeof(device));
        device.known = true;
        CopyText(device.instanceId, kSimIdChars, instanceId, idChars);
        device.flowpath.creationUemsec = UemsecFromFiletime(NowFiletime());
        device.flowpath.readBufferLimitBytes = 65536;
        device.flowpath.writeBufferLimitBytes = 65536;
        device.trafficSince = NowFiletime();
        device.errors.headerWord = kUsbErrStatHeaderWord;
        device.errors.evaluate = 1;
        return &device;
    }
    return nullptr;
}

void VcomInstanceId(const SimDevice& device, wchar_t* out) {
    TextBuilder<kSimIdChars> text;
    if (device.vcom != nullptr) text.Add(kVcomPrefix).Add(device.huid);
    CopyText(out, kSimIdChars, text.get(), kSimIdChars);
}

void SetPortName(SimDevice& device, const wchar_t* text, size_t textChars) {
    CopyText(device.portName, kPortNameChars, text, textChars);
    if (device.vcom != nullptr) UpdateVcomLink(device);
}

void SetOnline(SimDevice& device, bool online) {
    if (device.online == online) return;
    AdvanceTraffic(device);
    device.online = online;
    UsbErrStat_st& errors = device.errors;
    if (online) {
        errors.sinceOnline = {};
        errors.lastInErrorTime = errors.lastInRecoveredTime = 0;
        errors.lastOutErrorTime = errors.lastOutRecoveredTime = 0;
        for (uint32_t& count : errors.bucketCounts)
            count = 0;
        device.flowpath.creationUemsec = UemsecFromFiletime(NowFiletime());
    } else {
        ++errors.offlineCount;
        errors.lastOfflineTime = NowFiletime();
        ++device.flowpath.histOfflines;
        ++device.flowpath.histOfflineIncrease;
        StoreHistory(device);
    }
}

void MakeHuid(SimDevice& device) {
    for (uint32_t number = 2;; ++number) {
        TextBuilder<kSimHuidChars> huid;
        huid.Add(L"1&").AddNumber(number);
        const SimDevice* taken = FindDevice([&](const SimDevice& other) {
            return IsSameText(other.huid, kSimHuidChars, huid.get(), kSimHuidChars);
        });
        if (taken != nullptr) continue;
        CopyText(device.huid, kSimHuidChars, huid.get(), kSimHuidChars);
        return;
    }
}

uint32_t FreePortNumber() {
    for (uint32_t number = kFirstAutomaticPort;; ++number) {
        const SimDevice* taken = FindDevice(
            [&](const SimDevice& device) { return ComNumber(device.portName, kPortNameChars) == number; });
        if (taken == nullptr) return number;
    }
}
