// Owning wrappers, one type per kind of Win32 handle. Each closes what it holds exactly once and leaves the
// thread's last error as it was, so that cleanup never hides the reason for a failure.
#pragma once

#include <utility>

#include "base/windows_api.h"

#include <setupapi.h>

// Traits: Handle (the raw type), Invalid() and Close(Handle).
template <typename Traits>
class OwnedHandle {
  public:
    using Handle = typename Traits::Handle;

    OwnedHandle() noexcept = default;
    explicit OwnedHandle(Handle handle) noexcept : handle_(handle) {}
    OwnedHandle(OwnedHandle&& other) noexcept : handle_(other.release()) {}
    OwnedHandle& operator=(OwnedHandle&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    OwnedHandle(const OwnedHandle&) = delete;
    OwnedHandle& operator=(const OwnedHandle&) = delete;
    ~OwnedHandle() { reset(); }

    explicit operator bool() const noexcept { return handle_ != Traits::Invalid(); }
    Handle get() const noexcept { return handle_; }

    // Gives the handle away; the caller closes it.
    [[nodiscard]] Handle release() noexcept { return std::exchange(handle_, Traits::Invalid()); }

    // Closes what is held and takes the new handle. Resetting to the handle already held keeps it open.
    void reset(Handle handle = Traits::Invalid()) noexcept {
        if (handle == handle_) return;
        const Handle old = std::exchange(handle_, handle);
        if (old == Traits::Invalid()) return;
        const DWORD lastError = GetLastError();
        Traits::Close(old);
        SetLastError(lastError);
    }

    // For functions that store a handle through a pointer: closes what is held and returns where to store.
    Handle* put() noexcept {
        reset();
        return &handle_;
    }

  private:
    Handle handle_ = Traits::Invalid();
};

// Files and devices are invalid at INVALID_HANDLE_VALUE, everything else here at null; the two families are
// different types and do not convert.
struct FileHandleTraits {
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle handle) noexcept { CloseHandle(handle); }
};
using FileHandle = OwnedHandle<FileHandleTraits>;

struct DeviceInfoListTraits {
    using Handle = HDEVINFO;
    static Handle Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle handle) noexcept { SetupDiDestroyDeviceInfoList(handle); }
};
using DeviceInfoList = OwnedHandle<DeviceInfoListTraits>;

template <typename T, auto closeFunction>
struct NullHandleTraits {
    using Handle = T;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { closeFunction(handle); }
};

using KernelHandle = OwnedHandle<NullHandleTraits<HANDLE, CloseHandle>>;  // process, thread, event
using RegistryKey = OwnedHandle<NullHandleTraits<HKEY, RegCloseKey>>;
using LoadedLibrary = OwnedHandle<NullHandleTraits<HMODULE, FreeLibrary>>;
using OwnedMenu = OwnedHandle<NullHandleTraits<HMENU, DestroyMenu>>;
using OwnedIcon = OwnedHandle<NullHandleTraits<HICON, DestroyIcon>>;
using OwnedFont = OwnedHandle<NullHandleTraits<HFONT, DeleteObject>>;
using OwnedBrush = OwnedHandle<NullHandleTraits<HBRUSH, DeleteObject>>;
using OwnedBitmap = OwnedHandle<NullHandleTraits<HBITMAP, DeleteObject>>;
using OwnedRegion = OwnedHandle<NullHandleTraits<HRGN, DeleteObject>>;
inline void ReleaseScreenDc(HDC dc) noexcept {
    ReleaseDC(nullptr, dc);
}
using ScreenDc = OwnedHandle<NullHandleTraits<HDC, ReleaseScreenDc>>;  // of GetDC(nullptr)
using MemoryDc = OwnedHandle<NullHandleTraits<HDC, DeleteDC>>;
using GlobalBlock = OwnedHandle<NullHandleTraits<HGLOBAL, GlobalFree>>;
using OwnedWindow = OwnedHandle<NullHandleTraits<HWND, DestroyWindow>>;
