#include "pages/prospage_params.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include <prsht.h>

#include "tests/support/import_redirect.h"

namespace {

// Constructs the object in memory full of other things, as the heap may hand it out.
template <typename Params>
class OnDirtyMemory {
  public:
    OnDirtyMemory() : memory_(sizeof(Params) + alignof(Params), 0xA5) {
        void* place = memory_.data();
        size_t room = memory_.size();
        params_ = ::new (std::align(alignof(Params), sizeof(Params), place, room)) Params;
    }
    ~OnDirtyMemory() { params_->~Params(); }
    Params* operator->() { return params_; }

  private:
    std::vector<unsigned char> memory_;
    Params* params_;
};

template <typename T>
bool IsZero(const T& field) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&field);
    return std::all_of(bytes, bytes + sizeof(field), [](unsigned char byte) { return byte == 0; });
}

TEST(VcomProspageParams, StartsWithEverythingZero) {
    OnDirtyMemory<VcomProspageParams_st> params;
    EXPECT_FALSE(params->notPlugged || params->timerRunning || params->detailsVisible);
    EXPECT_FALSE(params->boldFont || params->lightRedBrush || params->lightYellowBrush);
    EXPECT_EQ(params->hint, nullptr);
    EXPECT_EQ(params->usbErrState, 0);
    EXPECT_TRUE(IsZero(params->portName));
    EXPECT_TRUE(IsZero(params->usbErrStat));
    EXPECT_TRUE(IsZero(params->usbErrText));
    EXPECT_TRUE(IsZero(params->reserved));
    EXPECT_EQ(sizeof(params->reserved), 240u);
}

TEST(VcomProspageParams, DeletesItsThreeDrawingObjectsThroughTheBase) {
    const auto font =
        reinterpret_cast<HFONT>(CreateFontW(8, 0, 0, 0, FW_BOLD, 0, 0, 0, 0, 0, 0, 0, 0, L"Tahoma"));
    const HBRUSH red = CreateSolidBrush(RGB(255, 192, 192));
    const HBRUSH yellow = CreateSolidBrush(RGB(255, 255, 192));
    auto* params = new VcomProspageParams_st;
    params->boldFont.reset(font);
    params->lightRedBrush.reset(red);
    params->lightYellowBrush.reset(yellow);
    std::vector<HGDIOBJ> deleted;
    REPLACE_CALL(deleteObject, DeleteObject, [&](HGDIOBJ object) {
        deleted.push_back(object);
        return ReplacedCall<DeleteObject>::Original(object);
    });
    delete static_cast<TavixProspageParam_base*>(params);
    EXPECT_EQ(deleted, (std::vector<HGDIOBJ>{font, red, yellow}));
}

TEST(VcomProspageParams, DeletesNothingThatItDoesNotHave) {
    REPLACE_CALL(deleteObject, DeleteObject,
                 [](HGDIOBJ object) { return ReplacedCall<DeleteObject>::Original(object); });
    delete static_cast<TavixProspageParam_base*>(new VcomProspageParams_st);
    EXPECT_EQ(deleteObject.calls(), 0);
}

TEST(UsbdProspageParams, StartsWithEverythingZero) {
    OnDirtyMemory<UsbdProspageParams_st> params;
    EXPECT_EQ(params->page, nullptr);
    EXPECT_FALSE(params->timerRunning || params->mappingFailed);
    EXPECT_EQ(params->shownView, 0);
    EXPECT_EQ(params->shownLogTime, 0);
}

TEST(PageParams, ComeBackFromTheDialogThatStoredThem) {
    const OwnedWindow dialog(
        CreateWindowExW(0, L"#32770", L"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(PageParams<UsbdProspageParams_st>(dialog.get()), nullptr);
    UsbdProspageParams_st params;
    PROPSHEETPAGEW description = {};
    description.lParam = reinterpret_cast<LPARAM>(static_cast<TavixProspageParam_base*>(&params));
    StorePageParams(dialog.get(), reinterpret_cast<LPARAM>(&description));
    EXPECT_EQ(PageParams<UsbdProspageParams_st>(dialog.get()), &params);
    StorePageParams(dialog.get(), 0);
    EXPECT_EQ(PageParams<UsbdProspageParams_st>(dialog.get()), nullptr);
}

}  // namespace
