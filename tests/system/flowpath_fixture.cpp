#include "tests/system/flowpath_fixture.h"

#include "tools/flowpath_stat.h"

// The box shows CR LF line ends.
std::wstring Shown(const std::wstring& text) {
    std::wstring shown;
    for (const wchar_t c : text)
        shown += c == L'\n' ? L"\r\n" : std::wstring(1, c);
    return shown;
}

bool Contains(const std::wstring& text, const wchar_t* part) {
    return text.find(part) != std::wstring::npos;
}

// The line of the text that begins with the label, without the label.
std::wstring LineOf(const std::wstring& text, const wchar_t* label) {
    const size_t start = text.find(label);
    if (start == std::wstring::npos) return L"(no such line)";
    const size_t end = text.find(L"\r\n", start);
    return text.substr(start + wcslen(label), end - start - wcslen(label));
}

void FlowpathStatTest::SetUp() {
    DriverAccessTest::SetUp();
    vcom_.SetTextProperty(SPDRP_FRIENDLYNAME, kFlowpathName);
    parent_.reset(CreateWindowExW(0, L"STATIC", L"page", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 20, 20, 300, 200,
                                  nullptr, nullptr, GetModuleHandleW(nullptr), nullptr));
    PumpPendingMessages();
}

void FlowpathStatTest::Show(const std::function<void(OpenInfoBox&)>& script, bool detached,
                            const wchar_t* title) {
    modal_.ExpectBox(title).Do([script](BoxView& view) {
        OpenInfoBox box(view);
        script(box);
        view.Close();
    });
    {
        REPLACE_CALL(tickCount, GetTickCount, [this] { return DWORD{tick_}; });
        ShowFlowpathStat(Host(), detached);
    }
    // With the system's own clock, so that the wait ends.
    EXPECT_TRUE(modal_.WaitUntilServed());
}

ToolHost FlowpathStatTest::Host() {
    return {.page = parent_.get(),
            .deviceSet = vcom_.set(),
            .device = vcom_.device(),
            .portName = L"COM5",
            .hint = nullptr,
            .timerRunning = true,
            .runTimer = nullptr};
}

void FlowpathStatTest::DeclareBytes(uint64_t received, uint64_t sent) {
    FlowpathStat_st stat = {};
    stat.usbReceivedBytes = stat.vcomReadBytes = received;
    stat.usbSentBytes = stat.vcomWrittenBytes = sent;
    Declare(stat);
}
