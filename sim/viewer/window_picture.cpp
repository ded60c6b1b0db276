#include "sim/viewer/window_picture.h"

#include <objbase.h>
#include <wincodec.h>

#include "base/win32_handle.h"

namespace {

// The interface pointers of the imaging component, released at the end of the scope.
template <typename T>
class ComPointer {
  public:
    ComPointer() = default;
    ~ComPointer() {
        if (pointer_) pointer_->Release();
    }
    ComPointer(const ComPointer&) = delete;
    ComPointer& operator=(const ComPointer&) = delete;
    T* operator->() const { return pointer_; }
    T* get() const { return pointer_; }
    T** put() { return &pointer_; }

  private:
    T* pointer_ = nullptr;
};

OwnedBitmap CopyFromScreen(const RECT& area) {
    const HDC screen = GetDC(nullptr);
    OwnedBitmap bitmap(CreateCompatibleBitmap(screen, area.right - area.left, area.bottom - area.top));
    const MemoryDc memory(CreateCompatibleDC(screen));
    const HGDIOBJ before = SelectObject(memory.get(), bitmap.get());
    const BOOL copied = BitBlt(memory.get(), 0, 0, area.right - area.left, area.bottom - area.top, screen,
                               area.left, area.top, SRCCOPY);
    SelectObject(memory.get(), before);
    ReleaseDC(nullptr, screen);
    return copied ? std::move(bitmap) : OwnedBitmap();
}

bool WritePng(HBITMAP bitmap, const std::wstring& path) {
    ComPointer<IWICImagingFactory> factory;
    ComPointer<IWICBitmap> source;
    ComPointer<IWICStream> stream;
    ComPointer<IWICBitmapEncoder> encoder;
    ComPointer<IWICBitmapFrameEncode> frame;
    return SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                      IID_IWICImagingFactory, reinterpret_cast<void**>(factory.put()))) &&
           SUCCEEDED(factory->CreateBitmapFromHBITMAP(bitmap, nullptr, WICBitmapIgnoreAlpha, source.put())) &&
           SUCCEEDED(factory->CreateStream(stream.put())) &&
           SUCCEEDED(stream->InitializeFromFilename(path.c_str(), GENERIC_WRITE)) &&
           SUCCEEDED(factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.put())) &&
           SUCCEEDED(encoder->Initialize(stream.get(), WICBitmapEncoderNoCache)) &&
           SUCCEEDED(encoder->CreateNewFrame(frame.put(), nullptr)) &&
           SUCCEEDED(frame->Initialize(nullptr)) && SUCCEEDED(frame->WriteSource(source.get(), nullptr)) &&
           SUCCEEDED(frame->Commit()) && SUCCEEDED(encoder->Commit());
}

}  // namespace

bool SaveWindowPicture(HWND window, const std::wstring& path) {
    RECT area = {};
    const RECT screen{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
    RECT visible = {};
    if (!GetWindowRect(window, &area) || !IntersectRect(&visible, &area, &screen)) return false;
    const OwnedBitmap bitmap = CopyFromScreen(visible);
    if (!bitmap) return false;
    const bool comStarted = SUCCEEDED(CoInitialize(nullptr));
    const bool written = WritePng(bitmap.get(), path);
    if (comStarted) CoUninitialize();
    return written;
}
