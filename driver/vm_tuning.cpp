#include "driver/vm_tuning.h"

#include "base/trace_line.h"
#include "driver/process_search.h"
#include "state/driver_params.h"

namespace {

constexpr DWORD kClearInputDelayOnVmMs = 300;

}  // namespace

bool IsVmHostProcessRunning(const wchar_t* listValueName) noexcept {
    HeapText names;
    return ReadParamStringList(listValueName, names) && FindProcessByNames(MultiString(names.view()));
}

VmHost DetectVmHost() noexcept {
    if (IsVmHostProcessRunning(kParamVmwareProcesses)) {
        TraceLine(L"%s:%s", L"Tavix", L"VMware VM env detected");
        return VmHost::kVmware;
    }
    if (IsVmHostProcessRunning(kParamVirtualboxProcesses)) {
        TraceLine(L"%s:%s", L"Tavix", L"VirtualBox VM env detected");
        return VmHost::kVirtualbox;
    }
    return VmHost::kNone;
}

void ApplyVmTuningOnce() noexcept {
    if (ReadParamDword(kParamVmDetectDone, 0) != 0) return;
    // Before the detection, so that a failed one is not repeated for every device.
    WriteParamDword(kParamVmDetectDone, 1);
    if (DetectVmHost() == VmHost::kNone) return;
    WriteParamDword(kParamDropPartialBytes, 1);
    if (ReadParamDword(kParamClearInputDelayMinimum, 0) < kClearInputDelayOnVmMs)
        WriteParamDword(kParamClearInputDelayMinimum, kClearInputDelayOnVmMs);
}
