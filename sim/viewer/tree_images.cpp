#include "sim/viewer/tree_images.h"

#include <algorithm>

#include <setupapi.h>

#include "base/win32_handle.h"
#include "sim/viewer/viewer_resources.h"

namespace {

struct OwnIcon {
    GUID classGuid;
    int resourceId;
};

// For the classes of the package's devices.
constexpr OwnIcon kOwnIcons[] = {
    {{0x4D36E978, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}}, IDI_CLASS_PORTS},
    {{0x4D36E97D, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}}, IDI_CLASS_SYSTEM},
    {{0x36FC9E60, 0xC465, 0x11CF, {0x80, 0x56, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}}, IDI_CLASS_USB},
};

int OwnIconOf(const GUID& classGuid) {
    const auto* row = std::find_if(std::begin(kOwnIcons), std::end(kOwnIcons),
                                   [&](const OwnIcon& icon) { return icon.classGuid == classGuid; });
    return row != std::end(kOwnIcons) ? row->resourceId : IDI_CLASS_OTHER;
}

OwnedIcon SystemIconOf(const GUID& classGuid) {
    HICON icon = nullptr;
    int smallIconIndex = 0;
    if (!SetupDiLoadClassIcon(&classGuid, &icon, &smallIconIndex)) return OwnedIcon();
    return OwnedIcon(icon);
}

}  // namespace

TreeImages::TreeImages()
    : list_(ImageList_Create(GetSystemMetrics(SM_CXSMICON), GetSystemMetrics(SM_CYSMICON),
                             ILC_COLOR32 | ILC_MASK, 8, 8)) {
    computer_ = AddOwnIcon(IDI_COMPUTER);
    problem_ = AddOwnIcon(IDI_PROBLEM);
}

TreeImages::~TreeImages() {
    if (list_ != nullptr) ImageList_Destroy(list_);
}

int TreeImages::AddOwnIcon(int resourceId) {
    const OwnedIcon icon(
        static_cast<HICON>(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(resourceId), IMAGE_ICON,
                                      GetSystemMetrics(SM_CXSMICON), GetSystemMetrics(SM_CYSMICON), 0)));
    return ImageList_AddIcon(list_, icon.get());
}

// Overlays and merged images of an image list lose their transparency on some platforms; drawn ones do not.
int TreeImages::AddMerged(int image, int overlay) {
    int width = 0;
    int height = 0;
    ImageList_GetIconSize(list_, &width, &height);
    BITMAPINFO format = {};
    format.bmiHeader = {sizeof(BITMAPINFOHEADER), width, height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    const MemoryDc dc(CreateCompatibleDC(nullptr));
    const OwnedBitmap bitmap(CreateDIBSection(dc.get(), &format, DIB_RGB_COLORS, &bits, nullptr, 0));
    if (!bitmap) return image;
    const HGDIOBJ previous = SelectObject(dc.get(), bitmap.get());
    for (const int part : {image, overlay}) {
        const OwnedIcon icon(ImageList_GetIcon(list_, part, ILD_NORMAL));
        DrawIconEx(dc.get(), 0, 0, icon.get(), width, height, 0, nullptr, DI_NORMAL);
    }
    SelectObject(dc.get(), previous);
    return ImageList_Add(list_, bitmap.get(), nullptr);
}

TreeImages::ClassImage& TreeImages::Find(const GUID& classGuid) {
    for (ClassImage& known : classes_)
        if (known.classGuid == classGuid) return known;
    const OwnedIcon icon = SystemIconOf(classGuid);
    const int image = icon ? ImageList_AddIcon(list_, icon.get()) : AddOwnIcon(OwnIconOf(classGuid));
    return classes_.emplace_back(ClassImage{classGuid, image, -1});
}

int TreeImages::OfClass(const GUID& classGuid) {
    return Find(classGuid).image;
}

int TreeImages::OfProblem(const GUID& classGuid) {
    ClassImage& known = Find(classGuid);
    if (known.problemImage == -1) known.problemImage = AddMerged(known.image, problem_);
    return known.problemImage;
}
