// Once per installation of the driver's service: looks for the processes of a virtual machine's guest tools
// and, when one runs, makes the driver tolerate the timing of a virtualized USB stack. The driver package
// lists these processes in the service's Parameters key.
#pragma once

enum class VmHost {
    kNone = 0,
    kVmware = 1,
    kVirtualbox = 2,
};

// Reports nothing: an installation continues whatever happens here.
void ApplyVmTuningOnce() noexcept;

// Looks for VMware first.
VmHost DetectVmHost() noexcept;

// True when a program named in the REG_MULTI_SZ value of the Parameters key is running; false without such a
// value.
bool IsVmHostProcessRunning(const wchar_t* listValueName) noexcept;
