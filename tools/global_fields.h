// The fields of the global settings dialog: which control shows which member of the driver's record, and what
// a user's choices make of the record. Knows no window.
#pragma once

#include <cstdint>
#include <iterator>
#include <span>
#include <type_traits>

#include "base/windows_api.h"

#include "driver/global_cfg.h"
#include "driver/protocol.h"
#include "resources/resource_ids.h"

// A check box for a flag of the record, which may be any number: other than 0 is set.
struct GlobalCheckField {
    int controlId;
    bool (*isSet)(const GlobalCfg_st& global) noexcept;
    void (*set)(GlobalCfg_st& global, bool on) noexcept;
    bool byDefault;
};

// A list for a number of the record: the entry's index is the number.
struct GlobalListField {
    int controlId;
    uint32_t GlobalCfg_st::*number;
    std::span<const wchar_t* const> entries;
    uint32_t byDefault;
};

template <auto member>
bool IsGlobalFlagSet(const GlobalCfg_st& global) noexcept {
    return global.*member != 0;
}

template <auto member>
void SetGlobalFlag(GlobalCfg_st& global, bool on) noexcept {
    global.*member = on ? 1 : 0;
}

template <auto member>
constexpr GlobalCheckField GlobalCheck(int controlId, bool byDefault) noexcept {
    return {controlId, IsGlobalFlagSet<member>, SetGlobalFlag<member>, byDefault};
}

inline constexpr GlobalCheckField kGlobalChecks[] = {
    GlobalCheck<&GlobalCfg_st::robPort>(IDC_GLOBAL_ROB, false),
    GlobalCheck<&GlobalCfg_st::clearInputOnOpen>(IDC_GLOBAL_CLEAR_INPUT, true),
    GlobalCheck<&GlobalCfg_st::preferProductText>(IDC_GLOBAL_IPRODUCT_IN_NAMES, false),
    GlobalCheck<&GlobalCfg_st::serialNumberOnNames>(IDC_GLOBAL_SERIAL_IN_NAMES, false),
    {IDC_GLOBAL_VIRTUAL_MACHINE, IsVirtualMachineSettingOn, SetVirtualMachineSetting, false},
    GlobalCheck<&GlobalCfg_st::requireUniqueSerial>(IDC_GLOBAL_UNIQUE_SERIAL, false),
};

inline constexpr const wchar_t* kLifemodeNames[] = {L"Temporal", L"Friendly", L"Persistent"};
inline constexpr const wchar_t* kPrefetchModeNames[] = {L"No fetch", L"Fetch and discard",
                                                        L"Fetch and recycle", L"Fetch and preserve"};
inline constexpr const wchar_t* kDatapipeLifemodeNames[] = {L"Never", L"On device present", L"Always"};

inline constexpr GlobalListField kGlobalLists[] = {
    {IDC_GLOBAL_NEW_VCOM_LIFEMODE, &GlobalCfg_st::newVcomLifemode, kLifemodeNames, kLifemodeFriendly},
    {IDC_GLOBAL_PREFETCH_MODE, &GlobalCfg_st::prefetchMode, kPrefetchModeNames, kPrefetchNone},
    {IDC_GLOBAL_DATAPIPE_LIFEMODE, &GlobalCfg_st::datapipeLifemode, kDatapipeLifemodeNames,
     kDatapipeOnDevicePresent},
};

// What the dialog shows or the user chose, in the order of the two tables.
struct GlobalChoices {
    UINT checks[std::size(kGlobalChecks)];    // BST_...; BST_INDETERMINATE leaves the fields as they are
    int selections[std::size(kGlobalLists)];  // CB_ERR: none, for a number that the list does not have
    bool preferPortNames;
    wchar_t portNames[kPreferredPortsChars + 1];
};

GlobalChoices GlobalChoicesOf(const GlobalCfg_st& global) noexcept;
GlobalChoices DefaultGlobalChoices() noexcept;

// Puts into `global` what differs between the choices shown for it and those made. What the user left alone
// keeps every bit, also of a number that the dialog cannot show. Two rules hold whether touched or not: a
// pre-fetch mode that discards implies clearing, so that flag goes out as 0, and without preferred port names
// their field is all zeros.
void ApplyGlobalChoices(const GlobalChoices& shown, const GlobalChoices& chosen,
                        GlobalCfg_st& global) noexcept;

// What a pre-fetch mode does, for the selected entry of its list or CB_ERR.
const wchar_t* PrefetchExplanation(int selection) noexcept;
// Only these modes use the buffer.
bool HasPrefetchBuffer(int selection) noexcept;
