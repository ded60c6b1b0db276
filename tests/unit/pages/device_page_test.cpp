#include "pages/device_page.h"

#include <gtest/gtest.h>

#include "base/xfmt.h"
#include "tests/unit/installer/trace_recorder.h"

namespace {

int destroyedParams;
struct CountedParams : TavixProspageParam_base {
    ~CountedParams() override { ++destroyedParams; }
};

TEST(ProspageCallback, DestroysTheObjectAtReleaseOnly) {
    destroyedParams = 0;
    PROPSHEETPAGEW page = {};
    page.lParam = reinterpret_cast<LPARAM>(static_cast<TavixProspageParam_base*>(new CountedParams));
    for (const UINT message : {PSPCB_ADDREF, PSPCB_CREATE, 3, 1000})
        EXPECT_EQ(ProspageCallback(nullptr, message, &page), 1u) << message;
    EXPECT_EQ(destroyedParams, 0);
    EXPECT_EQ(ProspageCallback(nullptr, PSPCB_RELEASE, &page), 0u);
    EXPECT_EQ(destroyedParams, 1);
}

TEST(ProspageCallback, TracesWhatItFreed) {
    TraceRecorder trace;
    PROPSHEETPAGEW page = {};
    page.lParam = reinterpret_cast<LPARAM>(static_cast<TavixProspageParam_base*>(new CountedParams));
    wchar_t line[200];
    xfmt(line, 200, L"Free TavixProspageParam_base @ 0x%p", reinterpret_cast<void*>(page.lParam));
    ProspageCallback(nullptr, PSPCB_RELEASE, &page);
    EXPECT_EQ(trace.lines(), std::vector<std::wstring>{line});
}

TEST(ProspageCallback, APageWithoutAnObjectFreesNothing) {
    TraceRecorder trace;
    PROPSHEETPAGEW page = {};
    EXPECT_EQ(ProspageCallback(nullptr, PSPCB_RELEASE, &page), 0u);
    EXPECT_TRUE(trace.lines().empty());
}

}  // namespace
