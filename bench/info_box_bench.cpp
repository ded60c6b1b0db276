// What the info box costs beside what the system itself does: opening, converting a large text, an idle tick.

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "base/windows_api.h"

#include <commctrl.h>

#include "bench/harness.h"
#include "ui/info_box.h"
#include "ui/info_box/template.h"
#include "ui/info_box/text.h"

namespace {

constexpr size_t kLargeChars = 1'000'000;

// Both dialogs are closed by a command posted while they open.
uint32_t CloseAtOnce(void*, FlexiInfoEvent* event, wchar_t*, uint32_t) noexcept {
    if (event->reason == kReasonRefresh) PostMessageW(event->hwnd, WM_COMMAND, IDOK, 0);
    return FIR_NoChange;
}

INT_PTR CALLBACK EmptyDialog(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
    if (message == WM_INITDIALOG) PostMessageW(dialog, WM_COMMAND, IDOK, 0);
    if (message == WM_COMMAND && LOWORD(wParam) == IDOK) EndDialog(dialog, IDOK);
    return message == WM_INITDIALOG || message == WM_COMMAND;
}

void BenchOpening() {
    FlexiInfoParams params = {};
    params.okText = L"OK";
    params.refreshProc = CloseAtOnce;
    params.autoRefreshAtStart = 1;
    params.textBufferChars = 20;
    wchar_t text[20] = L"A line of text.";
    const InfoBoxTemplate sameControls(params);
    BenchCompare(
        "open and close", [&] { FlexiInfoBox(nullptr, &params, text); },
        [&] { DialogBoxIndirectParamW(nullptr, sameControls.get(), nullptr, EmptyDialog, 0); }, {},
        {15, 0.02});
}

std::wstring LargeText(size_t lineChars) {
    std::wstring text;
    while (text.size() < kLargeChars)
        text += std::wstring(lineChars, L'x') + L"\n";
    text.resize(kLargeChars);
    return text;
}

void BenchConversion() {
    const std::wstring text = LargeText(60);
    std::vector<wchar_t> copy(kLargeChars + 1);
    DisplayText display;
    BenchCompare(
        "convert 1,000,000 units", [&] { KeepResult(display.Assign(text.c_str())); },
        [&] {
            memcpy(copy.data(), text.c_str(), (kLargeChars + 1) * sizeof(wchar_t));
            KeepResult(copy[0]);
        });
}

// The box's own share of showing a text: converting and measuring it.
void BenchShowing() {
    const std::wstring text = LargeText(60);
    DisplayText display;
    display.Assign(text.c_str());
    const HWND edit =
        CreateWindowExW(0, L"EDIT", L"", WS_POPUP | WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_READONLY,
                        0, 0, 600, 400, nullptr, nullptr, nullptr, nullptr);
    const HDC dc = GetDC(edit);
    BenchCompare(
        "convert and measure",
        [&] {
            display.Assign(text.c_str());
            RECT area{0, 0, 1, 1};
            DrawTextW(dc, display.get(), static_cast<int>(display.Length()), &area,
                      DT_CALCRECT | DT_NOPREFIX | DT_EXPANDTABS);
        },
        [&] { SetWindowTextW(edit, display.get()); }, {10}, {3, 0.001});
    ReleaseDC(edit, dc);
    DestroyWindow(edit);
}

struct IdleTicks {
    double seconds = 0;
};

uint32_t MeasureTicks(void* context, FlexiInfoEvent* event, wchar_t*, uint32_t) noexcept {
    if (event->reason != kReasonRefreshButton) return FIR_NoChange;
    const HWND box = event->hwnd;
    static_cast<IdleTicks*>(context)->seconds = MeasureMedian([box] { SendMessageW(box, WM_TIMER, 1, 0); });
    PostMessageW(box, WM_COMMAND, IDOK, 0);
    return FIR_NoChange;
}

uint32_t StartMeasuring(void* context, FlexiInfoEvent* event, wchar_t* text, uint32_t chars) noexcept {
    if (event->reason == kReasonRefresh && event->autoChecked == 0)
        PostMessageW(event->hwnd, WM_COMMAND, kInfoBoxRefreshId, 0);
    return MeasureTicks(context, event, text, chars);
}

void BenchIdleTick() {
    IdleTicks ticks;
    FlexiInfoParams params = {};
    params.okText = L"OK";
    params.refreshProc = StartMeasuring;
    params.refreshContext = &ticks;
    params.autoRefreshAtStart = 1;
    params.autoRefreshMs = 600000;
    FlexiInfoBox(nullptr, &params, nullptr);
    PrintBenchTime("tick that changes nothing", ticks.seconds);
}

}  // namespace

int main() {
    const INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_WIN95_CLASSES};
    InitCommonControlsEx(&controls);
    PrintBenchHeader("Info box", "info box", "empty dialog");
    BenchOpening();
    PrintBenchHeader("Large text", "info box", "memcpy");
    BenchConversion();
    PrintBenchHeader("Large text", "info box", "edit control");
    BenchShowing();
    PrintBenchHeader("Auto-refresh", "info box", "-");
    BenchIdleTick();
    return 0;
}
