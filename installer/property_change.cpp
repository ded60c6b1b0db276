#include "installer/property_change.h"

#include "base/trace_line.h"

namespace {

void MarkChangePending(const CallRecord& call) noexcept {
    SP_DEVINSTALL_PARAMS_W parameters = {};
    parameters.cbSize = sizeof(parameters);
    if (!SetupDiGetDeviceInstallParamsW(call.deviceSet, call.device, &parameters)) return;
    parameters.FlagsEx |= DI_FLAGSEX_PROPCHANGE_PENDING;
    SetupDiSetDeviceInstallParamsW(call.deviceSet, call.device, &parameters);
}

void TraceRequestedChange(const CallRecord& call) noexcept {
    SP_PROPCHANGE_PARAMS change = {};
    change.ClassInstallHeader.cbSize = sizeof(change.ClassInstallHeader);
    static_assert(sizeof(change.ClassInstallHeader) == 8 && sizeof(change) == 20);
    if (SetupDiGetClassInstallParamsW(call.deviceSet, call.device, &change.ClassInstallHeader, sizeof(change),
                                      nullptr)) {
        TraceLine(L"SP_PROPCHANGE_PARAMS.Statechange=%d .Scope=0x%02X", change.StateChange, change.Scope);
        return;
    }
    const DWORD error = GetLastError();
    if (error == ERROR_NO_CLASSINSTALL_PARAMS)
        TraceLine(L"info: SetupDiGetClassInstallParams() returns 0x%X(ERROR_NO_CLASSINSTALL_PARAMS)", error);
    else
        TraceLine(L"SetupDiGetClassInstallParams() error. WinErr=0x%X", error);
}

}  // namespace

void HandlePropertyChange(const CallRecord& call) noexcept {
    MarkChangePending(call);
    TraceRequestedChange(call);
}
