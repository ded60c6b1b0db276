#include "tools/global_fields.h"

#include <algorithm>

#include "base/bounded_text.h"

namespace {

constexpr const wchar_t* kPrefetchExplanations[] = {
    L"USB device will buffer upstream data itself. (No USB IN-token)",
    L"Upstream data will flow to Host(Windows) side and get discarded.",
    L"Data flow to Host side and get buffered. On buffer full, overwrite old data.",
    L"On Host side buffer full, do not discard; USB device will buffer newer data.",
};
static_assert(std::size(kPrefetchExplanations) == std::size(kPrefetchModeNames));

constexpr UINT CheckState(bool set) noexcept {
    return set ? BST_CHECKED : BST_UNCHECKED;
}

bool HaveSamePortNames(const GlobalChoices& left, const GlobalChoices& right) noexcept {
    return left.preferPortNames == right.preferPortNames &&
           BoundedText(left.portNames) == BoundedText(right.portNames);
}

void ApplyPortNames(const GlobalChoices& shown, const GlobalChoices& chosen, GlobalCfg_st& global) noexcept {
    if (chosen.preferPortNames && HaveSamePortNames(shown, chosen)) return;
    std::fill(std::begin(global.preferredPorts), std::end(global.preferredPorts), L'\0');
    if (!chosen.preferPortNames) return;
    // 200 characters fill the field and leave no terminator.
    const std::wstring_view names = BoundedText(chosen.portNames).substr(0, kPreferredPortsChars);
    std::copy(names.begin(), names.end(), global.preferredPorts);
}

}  // namespace

GlobalChoices GlobalChoicesOf(const GlobalCfg_st& global) noexcept {
    GlobalChoices choices = {};
    for (size_t i = 0; i < std::size(kGlobalChecks); ++i)
        choices.checks[i] = CheckState(kGlobalChecks[i].isSet(global));
    for (size_t i = 0; i < std::size(kGlobalLists); ++i) {
        const uint32_t number = global.*kGlobalLists[i].number;
        choices.selections[i] = number < kGlobalLists[i].entries.size() ? static_cast<int>(number) : CB_ERR;
    }
    const std::wstring_view names = BoundedText(global.preferredPorts);
    choices.preferPortNames = !names.empty();
    CopyBounded(choices.portNames, std::size(choices.portNames), names);
    return choices;
}

GlobalChoices DefaultGlobalChoices() noexcept {
    GlobalChoices choices = {};
    for (size_t i = 0; i < std::size(kGlobalChecks); ++i)
        choices.checks[i] = CheckState(kGlobalChecks[i].byDefault);
    for (size_t i = 0; i < std::size(kGlobalLists); ++i)
        choices.selections[i] = static_cast<int>(kGlobalLists[i].byDefault);
    return choices;
}

void ApplyGlobalChoices(const GlobalChoices& shown, const GlobalChoices& chosen,
                        GlobalCfg_st& global) noexcept {
    for (size_t i = 0; i < std::size(kGlobalChecks); ++i) {
        if (chosen.checks[i] == shown.checks[i] || chosen.checks[i] == BST_INDETERMINATE) continue;
        kGlobalChecks[i].set(global, chosen.checks[i] == BST_CHECKED);
    }
    for (size_t i = 0; i < std::size(kGlobalLists); ++i) {
        if (chosen.selections[i] == shown.selections[i] || chosen.selections[i] == CB_ERR) continue;
        global.*kGlobalLists[i].number = static_cast<uint32_t>(chosen.selections[i]);
    }
    if (global.prefetchMode == kPrefetchAndDiscard) global.clearInputOnOpen = 0;
    ApplyPortNames(shown, chosen, global);
}

const wchar_t* PrefetchExplanation(int selection) noexcept {
    const auto index = static_cast<size_t>(selection);  // CB_ERR lies outside too
    return index < std::size(kPrefetchExplanations) ? kPrefetchExplanations[index] : L"Bad, Unknown";
}

bool HasPrefetchBuffer(int selection) noexcept {
    return selection == kPrefetchAndRecycle || selection == kPrefetchAndPreserve;
}
