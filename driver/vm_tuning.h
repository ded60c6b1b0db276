// Once per installation of the driver's service: looks for the processes of a virtual machine's guest tools
// and, when one runs, makes the driver patient with the timing of a virtualised USB stack. Which processes
// count, the driver package lists in the service's Parameters key.
#pragma once

enum class VmHost {
    kNone = 0,
    kVmware = 1,
    kVirtualbox = 2,
};

// Reports nothing: an installation goes on whatever happens here.
void ApplyVmTuningOnce() noexcept;

// VMware is looked for first.
VmHost DetectVmHost() noexcept;

// True when a program runs that the REG_MULTI_SZ value of the Parameters key names; false without such a
// value.
bool IsVmHostProcessRunning(const wchar_t* listValueName) noexcept;
