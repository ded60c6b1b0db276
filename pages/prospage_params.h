// The objects that carry a property page's state from the moment the page is asked for until the property
// sheet releases it. Exactly one party destroys such an object, through its virtual destructor, which is the
// only virtual operation of the tree.
#pragma once

#include <cstdint>
#include <memory>

#include "base/windows_api.h"

#include <setupapi.h>

#include "base/win32_handle.h"
#include "driver/protocol.h"
#include "ui/anchor_layout.h"
#include "ui/dialog_state.h"
#include "ui/hint_balloon.h"

struct TavixProspageParam_base {
    TavixProspageParam_base() noexcept = default;
    TavixProspageParam_base(const TavixProspageParam_base&) = delete;
    TavixProspageParam_base& operator=(const TavixProspageParam_base&) = delete;
    virtual ~TavixProspageParam_base() = default;

    // From the call that asked for the page, filled in just before the page is created. Borrowed: both stay
    // valid until the property sheet has released the page.
    HDEVINFO deviceInfoSet = nullptr;
    SP_DEVINFO_DATA* deviceInfoData = nullptr;
};

// Why a VCOM counts as not plugged in; a set of bits.
inline constexpr uint8_t kNotPluggedAbsent = 1;    // the system says so
inline constexpr uint8_t kNotPluggedNoDriver = 2;  // the driver does not answer for it

struct VcomProspageParams_st : TavixProspageParam_base {
    ~VcomProspageParams_st() override;

    uint8_t notPlugged = 0;
    OwnedFont boldFont;
    OwnedBrush lightRedBrush;
    OwnedBrush lightYellowBrush;
    bool timerRunning = false;
    wchar_t portName[16] = {};
    UsbErrStat_st usbErrStat = {};
    int32_t usbErrState = 0;
    wchar_t usbErrText[4000] = {};
    bool detailsVisible = false;
    bool configShown = false;         // at least once: there are choices that can be saved
    bool askingDefaultColor = false;  // the page's own question is on its way back to it
    std::unique_ptr<HintBalloon> hint;
    uint8_t reserved[240] = {};
};
static_assert(sizeof(UsbErrStat_st) == 200);

struct UsbdProspageParams_st : TavixProspageParam_base {
    HWND page = nullptr;
    bool timerRunning = false;
    bool mappingFailed = false;
    bool askingDefaultColor = false;  // the page's own question is on its way back to it
    // What the log area shows: the view (usberr_log_area.cpp) and the log's file time in milliseconds since
    // 1970.
    int32_t shownView = 0;
    int64_t shownLogTime = 0;
};
static_assert(sizeof(UsbdProspageParams_st) == sizeof(TavixProspageParam_base) + 3 * sizeof(uint64_t));

// The page fills this in when its dialog is created.
struct VbusProspageParams_st : TavixProspageParam_base {
    AnchorLayout layout;
};

// Keeps the page's object as the dialog's user data. `initParam` is the lParam of WM_INITDIALOG, the page
// description that carries the object. A page may have been created without an object.
void StorePageParams(HWND page, LPARAM initParam) noexcept;

// Null before StorePageParams, on a page without an object and when the window is gone.
template <typename Params>
Params* PageParams(HWND page) noexcept {
    return static_cast<Params*>(DialogState<TavixProspageParam_base>(page));
}

// Sets the logging box, which every page has, from the driver.
void ShowPageLogging(HWND page) noexcept;

// What every page does first at WM_INITDIALOG: stores its object and shows the driver's logging state. Null,
// and the driver is not asked, on a page without an object.
template <typename Params>
Params* InitPage(HWND page, LPARAM initParam) noexcept {
    StorePageParams(page, initParam);
    Params* const params = PageParams<Params>(page);
    if (params != nullptr) ShowPageLogging(page);
    return params;
}

// What every page does at WM_DESTROY. Its object lives on until the property sheet releases the page.
void TracePageDestroyed(HWND page) noexcept;
