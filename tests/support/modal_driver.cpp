#include "tests/support/modal_driver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <list>
#include <mutex>
#include <optional>
#include <thread>

#include "base/windows_api.h"

#include "tests/support/message_queue.h"
#include "tests/support/wait_until.h"

namespace {

constexpr DWORD kPollMs = 4;

struct OpenWindows {
    std::vector<HWND> boxes;
    std::vector<HWND> menus;
};

BOOL CALLBACK AddOpenWindow(HWND window, LPARAM result) {
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    if (processId != GetCurrentProcessId() || !IsWindowVisible(window)) return TRUE;
    wchar_t className[64] = L"";
    GetClassNameW(window, className, 64);
    const std::wstring name = className;
    auto& open = *reinterpret_cast<OpenWindows*>(result);
    if (name == L"#32770") open.boxes.push_back(window);
    if (name == L"#32768") open.menus.push_back(window);
    return TRUE;
}

OpenWindows FindOpenWindows() {
    OpenWindows open;
    EnumWindows(AddOpenWindow, reinterpret_cast<LPARAM>(&open));
    return open;
}

bool Contains(const std::vector<HWND>& windows, HWND window) {
    return std::find(windows.begin(), windows.end(), window) != windows.end();
}

HWND MenuOwner(HWND menuWindow) {
    if (const HWND owner = GetWindow(menuWindow, GW_OWNER)) return owner;
    GUITHREADINFO information = {};
    information.cbSize = sizeof(information);
    GetGUIThreadInfo(GetWindowThreadProcessId(menuWindow, nullptr), &information);
    return information.hwndMenuOwner;
}

// Presses what refuses, so that the test goes on with an answer that changes least.
void ForceClose(HWND box) {
    for (const int id : {IDCANCEL, IDNO, IDABORT, IDIGNORE, IDCLOSE, IDOK}) {
        if (GetDlgItem(box, id) == nullptr) continue;
        PostMessageW(box, WM_COMMAND, static_cast<WPARAM>(id), 0);
        return;
    }
    PostMessageW(box, WM_CLOSE, 0, 0);
}

void PressDefault(BoxView& box) {
    box.Press(box.Read().defaultButton);
}

}  // namespace

struct ModalDriver::State {
    std::optional<MenusWithoutPointer> withoutPointer{std::in_place};
    // A box or menu that is being handled, until it is gone.
    struct Handled {
        HWND window;
        std::string what;
        bool mustClose = true;
        bool menu = false;
        // Its script has ended; from then on the time limit runs.
        std::shared_ptr<std::atomic<bool>> answered = std::make_shared<std::atomic<bool>>(false);
        DWORD since = GetTickCount();
    };
    // A window that is still being opened: its thread has not yet come to its message loop.
    struct Opening {
        HWND window;
        std::unique_ptr<QueueMark> mark;
        DWORD since = GetTickCount();
    };

    mutable std::mutex mutex;
    bool stop = false;
    std::list<BoxExpectation> expectedBoxes;
    std::list<MenuExpectation> expectedMenus;
    // Handed-over expectations stay alive for their scripts.
    std::list<BoxExpectation> servedBoxes;
    std::list<MenuExpectation> servedMenus;
    std::vector<BoxRecord> boxes;
    std::vector<MenuRecord> menus;
    std::vector<HWND> ignored;
    std::vector<Handled> handled;
    std::vector<Opening> opening;
    struct Script {
        std::thread thread;
        std::shared_ptr<std::atomic<bool>> ended;
    };
    std::vector<Script> scripts;

    bool IsKnown(HWND window) const;
    bool HasOpened(HWND window);
    void JoinEnded();
    void Poll();
    void ForgetClosed(const OpenWindows& open);
    void FailOverdue();
    void HandleBox(HWND window);
    void HandleMenu(HWND window);
};

bool ModalDriver::State::IsKnown(HWND window) const {
    const std::lock_guard lock(mutex);
    return Contains(ignored, window) ||
           std::any_of(handled.begin(), handled.end(), [&](const Handled& h) { return h.window == window; });
}

bool ModalDriver::State::HasOpened(HWND window) {
    const auto known =
        std::find_if(opening.begin(), opening.end(), [&](const Opening& o) { return o.window == window; });
    if (known == opening.end()) {
        opening.push_back({.window = window, .mark = std::make_unique<QueueMark>(window)});
        return false;
    }
    // A thread that never comes to its loop fails the test through what the box is then asked to do.
    if (!known->mark->Reached() && GetTickCount() - known->since < kDefaultWaitMs) return false;
    opening.erase(known);
    return true;
}

void ModalDriver::State::Poll() {
    const OpenWindows open = FindOpenWindows();
    ForgetClosed(open);
    for (const HWND box : open.boxes)
        if (!IsKnown(box) && HasOpened(box)) HandleBox(box);
    for (const HWND menu : open.menus)
        if (!IsKnown(menu) && HasOpened(menu)) HandleMenu(menu);
    FailOverdue();
    JoinEnded();
}

// At once, so that a test that counts handles does not find those of the threads.
void ModalDriver::State::JoinEnded() {
    std::erase_if(scripts, [](Script& script) {
        if (!*script.ended) return false;
        script.thread.join();
        return true;
    });
}

void ModalDriver::State::ForgetClosed(const OpenWindows& open) {
    const auto isClosed = [&](const auto& window) {
        return !Contains(open.boxes, window.window) && !Contains(open.menus, window.window);
    };
    std::erase_if(opening, isClosed);
    const size_t before = handled.size();
    std::erase_if(handled, isClosed);
    if (handled.size() == before) return;
    // A box below the one that has just gone could not close before; its time starts now.
    for (Handled& h : handled)
        h.since = GetTickCount();
}

void ModalDriver::State::FailOverdue() {
    if (handled.empty() || !handled.back().mustClose) return;
    Handled& top = handled.back();
    if (!*top.answered) top.since = GetTickCount();
    if (GetTickCount() - top.since < kDefaultWaitMs) return;
    ADD_FAILURE() << top.what << " is still open " << kDefaultWaitMs << " ms after its answer";
    top.since = GetTickCount();
    ForceClose(top.window);
}

void ModalDriver::State::HandleBox(HWND window) {
    const BoxRecord record = ReadBox(window);
    const std::string what = "the box \"" + NarrowText(record.title) + "\"";
    const std::lock_guard lock(mutex);
    boxes.push_back(record);
    const auto match = std::find_if(expectedBoxes.begin(), expectedBoxes.end(), [&](const BoxExpectation& e) {
        return e.anyTitle_ || e.title_ == record.title;
    });
    if (match == expectedBoxes.end()) {
        ADD_FAILURE() << "nobody expected " << what << ":\n" << NarrowText(record.text);
        handled.push_back({.window = window, .what = what});
        *handled.back().answered = true;
        ForceClose(window);
        return;
    }
    handled.push_back({.window = window, .what = what, .mustClose = !match->leavesOpen_});
    servedBoxes.splice(servedBoxes.end(), expectedBoxes, match);
    const auto& script = servedBoxes.back().script_;
    // A thread of its own, so that boxes that this one opens are still answered.
    const auto answered = handled.back().answered;
    scripts.push_back({std::thread([window, &script, answered] {
                           BoxView view(window);
                           script ? script(view) : PressDefault(view);
                           *answered = true;
                       }),
                       answered});
}

void ModalDriver::State::HandleMenu(HWND window) {
    const HMENU menu = MenuOfWindow(window);
    if (menu == nullptr) return;
    MenuView view(window, menu, MenuOwner(window));
    const MenuRecord record = view.Read();
    const std::lock_guard lock(mutex);
    // A submenu of a menu in work belongs to that menu's script.
    const bool submenu = std::any_of(handled.begin(), handled.end(), [](const Handled& h) { return h.menu; });
    handled.push_back({.window = window,
                       .what = "the menu with\n" + NarrowText(record.Texts()),
                       .mustClose = !submenu,
                       .menu = true});
    if (submenu) return;
    menus.push_back(record);
    if (expectedMenus.empty()) {
        ADD_FAILURE() << "nobody expected the menu with\n" << NarrowText(record.Texts());
        view.Dismiss();
        return;
    }
    servedMenus.splice(servedMenus.end(), expectedMenus, expectedMenus.begin());
    const auto& script = servedMenus.back().script_;
    const auto answered = handled.back().answered;
    scripts.push_back({std::thread([view, &script, answered]() mutable {
                           script ? script(view) : view.Dismiss();
                           *answered = true;
                       }),
                       answered});
}

ModalDriver::ModalDriver() : state_(std::make_unique<State>()) {
    const OpenWindows open = FindOpenWindows();
    state_->ignored = open.boxes;
    watcher_ = std::thread([state = state_.get()] {
        for (;;) {
            {
                const std::lock_guard lock(state->mutex);
                if (state->stop) return;
            }
            state->Poll();
            Sleep(kPollMs);
        }
    });
}

ModalDriver::~ModalDriver() {
    {
        const std::lock_guard lock(state_->mutex);
        state_->stop = true;
    }
    watcher_.join();
    for (State::Script& script : state_->scripts)
        script.thread.join();
    for (const BoxExpectation& box : state_->expectedBoxes)
        ADD_FAILURE() << "the box \"" << (box.anyTitle_ ? "(any)" : NarrowText(box.title_))
                      << "\" never came";
    if (!state_->expectedMenus.empty()) ADD_FAILURE() << state_->expectedMenus.size() << " menus never came";
}

ModalDriver::BoxExpectation& ModalDriver::ExpectBox(const wchar_t* title) {
    const std::lock_guard lock(state_->mutex);
    BoxExpectation& box = state_->expectedBoxes.emplace_back();
    box.anyTitle_ = title == kAnyTitle;
    if (title != kAnyTitle) box.title_ = title;
    return box;
}

ModalDriver::MenuExpectation& ModalDriver::ExpectMenu() {
    const std::lock_guard lock(state_->mutex);
    return state_->expectedMenus.emplace_back();
}

void ModalDriver::Ignore(HWND window) {
    const std::lock_guard lock(state_->mutex);
    state_->ignored.push_back(window);
}

void ModalDriver::LetMenusHeedPointer() {
    state_->withoutPointer.reset();
}

std::vector<BoxRecord> ModalDriver::boxes() const {
    const std::lock_guard lock(state_->mutex);
    return state_->boxes;
}

std::vector<MenuRecord> ModalDriver::menus() const {
    const std::lock_guard lock(state_->mutex);
    return state_->menus;
}

bool ModalDriver::WaitUntilServed() const {
    const testing::AssertionResult result = WaitUntil("the expected boxes and menus", [this] {
        const std::lock_guard lock(state_->mutex);
        return state_->expectedBoxes.empty() && state_->expectedMenus.empty();
    });
    EXPECT_TRUE(result);
    return static_cast<bool>(result);
}

void ModalDriver::BoxExpectation::Press(int buttonId) {
    script_ = [buttonId](BoxView& box) { box.Press(buttonId); };
}

void ModalDriver::BoxExpectation::Close() {
    script_ = [](BoxView& box) { box.Close(); };
}

void ModalDriver::BoxExpectation::Do(std::function<void(BoxView&)> script) {
    script_ = std::move(script);
}

void ModalDriver::BoxExpectation::DoAndLeaveOpen(std::function<void(BoxView&)> script) {
    leavesOpen_ = true;
    script_ = std::move(script);
}

void ModalDriver::MenuExpectation::Choose(UINT id) {
    script_ = [id](MenuView& menu) { menu.Choose(id); };
}

void ModalDriver::MenuExpectation::Dismiss() {
    script_ = [](MenuView& menu) { menu.Dismiss(); };
}

void ModalDriver::MenuExpectation::Do(std::function<void(MenuView&)> script) {
    script_ = std::move(script);
}
