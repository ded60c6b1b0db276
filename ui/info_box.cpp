// Entry points of the info box and its modal loop.
#include "ui/info_box.h"

#include <cstdlib>
#include <memory>

#include "base/xfmt.h"
#include "ui/activation_context.h"
#include "ui/info_box/menu.h"
#include "ui/info_box/params.h"
#include "ui/info_box/state.h"
#include "ui/info_box/template.h"

namespace {

struct FreeText {
    void operator()(wchar_t* text) const noexcept { std::free(text); }
};
using FormattedText = std::unique_ptr<wchar_t, FreeText>;

void BuildState(FlexiInfoState& state, HWND parent, const FlexiInfoParams* params, wchar_t* text) noexcept {
    state.params = WithInfoBoxDefaults(params, text != nullptr);
    state.text = text != nullptr ? text : state.emptyText;
    state.parent = parent;
    state.owner = state.params.startDetached != 0 ? nullptr : parent;
    state.event.okDelayMs = state.params.okDelayMs;
    state.showTime = NormalizeMenu(state.params.menuItems, state.params.menuItemCount, parent != nullptr,
                                   state.owner != nullptr);
}

// One showing of the dialog, in a fresh window.
INT_PTR RunDialog(FlexiInfoState& state, HINSTANCE instance, const wchar_t* resource,
                  const DLGTEMPLATE* dialogTemplate) noexcept {
    state.opened = false;
    state.ended = false;
    state.shownIcon = nullptr;
    const auto param = reinterpret_cast<LPARAM>(&state);
    return resource != nullptr
               ? IsolationAwareDialogBoxParamW(instance, resource, state.owner, InfoBoxProc, param)
               : IsolationAwareDialogBoxIndirectParamW(instance, dialogTemplate, state.owner, InfoBoxProc,
                                                       param);
}

// The parent may be gone by now; then the box stays detached and its menu says so.
void ChangeOwner(FlexiInfoState& state, bool attach) noexcept {
    const bool parentLives = IsWindow(state.parent) != FALSE;
    state.owner = attach && parentLives ? state.parent : nullptr;
    if (attach && !parentLives) ShowDetached(state.params.menuItems, state.params.menuItemCount);
}

// The box has taken the focus from its owner's control, and the owner would give it to its first one. Of a
// detached box the owner has gone on by itself.
void ReturnFocus(const FlexiInfoState& state, HWND focus) noexcept {
    if (state.owner != nullptr && IsChild(GetActiveWindow(), focus)) SetFocus(focus);
}

// The system reports -1 or 0 when no dialog opened. A box destroyed from outside was not answered either.
uint32_t ResultOf(const FlexiInfoState& state, INT_PTR result) noexcept {
    if (!state.opened) return kInfoBoxCreateFailed;
    return state.ended ? static_cast<uint32_t>(result) : kInfoBoxCancel;
}

const FlexiInfoParams kPlainMessage{.cbSize = sizeof(FlexiInfoParams), .okText = L"OK"};

uint32_t ShowFormatted(HWND parent, const FlexiInfoParams* params, const wchar_t* format,
                       va_list args) noexcept {
    wchar_t* raw = nullptr;
    const int32_t chars = xfmt_valloc(&raw, format, args);
    const FormattedText text(raw);
    if (chars < 0 || !text) return kInfoBoxCreateFailed;
    FlexiInfoParams sized = params != nullptr ? *params : FlexiInfoParams{};
    sized.textBufferChars = static_cast<uint32_t>(chars) + 1;
    return FlexiInfoBox(parent, &sized, text.get());
}

}  // namespace

uint32_t FlexiInfoBoxFromTemplate(HINSTANCE instance, const wchar_t* resource,
                                  const DLGTEMPLATE* dialogTemplate, HWND parent,
                                  const FlexiInfoParams* params, wchar_t* text) noexcept {
    if (resource == nullptr && dialogTemplate == nullptr) return kInfoBoxNoTemplate;
    FlexiInfoState state;
    BuildState(state, parent, params, text);
    const HWND focus = GetFocus();
    INT_PTR result = RunDialog(state, instance, resource, dialogTemplate);
    while (result == kReopenAttached || result == kReopenDetached) {
        ChangeOwner(state, result == kReopenAttached);
        result = RunDialog(state, instance, resource, dialogTemplate);
    }
    ReturnFocus(state, focus);
    return ResultOf(state, result);
}

uint32_t FlexiInfoBox(HWND parent, const FlexiInfoParams* params, wchar_t* text) noexcept {
    const auto instance =
        reinterpret_cast<HINSTANCE>(parent != nullptr ? GetWindowLongPtrW(parent, GWLP_HINSTANCE) : 0);
    const InfoBoxTemplate builtIn(params != nullptr ? *params : FlexiInfoParams{});
    return FlexiInfoBoxFromTemplate(instance, nullptr, builtIn.get(), parent, params, text);
}

uint32_t FlexiInfoBoxF(HWND parent, const FlexiInfoParams* params, const wchar_t* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const uint32_t result = ShowFormatted(parent, params, format, args);
    va_end(args);
    return result;
}

uint32_t FlexiInfoMessage(HWND parent, const wchar_t* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    XfmtNested message{kXfmtNestedMagic, format, &args};
    const uint32_t result = FlexiInfoBoxF(parent, &kPlainMessage, L"%w", &message);
    va_end(args);
    return result;
}

uint32_t FlexiInfoShowText(HWND parent, const wchar_t* text) noexcept {
    // Without a callback and with an unknown capacity nothing writes into the text.
    return FlexiInfoBox(parent, &kPlainMessage, const_cast<wchar_t*>(text));
}
