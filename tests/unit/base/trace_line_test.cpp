#include "base/trace_line.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>

namespace {

std::optional<std::wstring> heard;

class TraceLineTest : public testing::Test {
  protected:
    TraceLineTest() {
        heard.reset();
        SetTraceLineHook([](const wchar_t* line) { heard = line; });
    }
    ~TraceLineTest() override { SetTraceLineHook(nullptr); }
};

TEST_F(TraceLineTest, IsFormattedForTheHook) {
    TraceLine(L"%s:%s from pid=%d", L"Usbd", L"DIF_REMOVE", 4711);
    EXPECT_EQ(heard, L"Usbd:DIF_REMOVE from pid=4711");
}

TEST_F(TraceLineTest, IsCutToItsBuffer) {
    for (const size_t chars : {size_t{1998}, size_t{1999}, size_t{2000}, size_t{5000}}) {
        TraceLine(L"%s", std::wstring(chars, L'x').c_str());
        EXPECT_EQ(heard, std::wstring(std::min(chars, size_t{1999}), L'x'));
    }
}

// Looking at this argument would be a crash.
TEST_F(TraceLineTest, WithoutAHookNothingIsFormatted) {
    SetTraceLineHook(nullptr);
    TraceLine(L"%s", reinterpret_cast<const wchar_t*>(1));
    EXPECT_EQ(heard, std::nullopt);
}

}  // namespace
