#include "base/no_error_boxes.h"

#include <gtest/gtest.h>

#include "tests/support/import_redirect.h"

namespace {

constexpr DWORD kNoBoxes = SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX;

// Starts with every box allowed, for the thread and the process.
class ErrorBoxes : public testing::Test {
  protected:
    ErrorBoxes() : processMode_(SetErrorMode(0)) { SetThreadErrorMode(0, &threadMode_); }
    ~ErrorBoxes() override {
        SetErrorMode(processMode_);
        SetThreadErrorMode(threadMode_, nullptr);
    }

    UINT processMode_;
    DWORD threadMode_ = 0;
};

TEST_F(ErrorBoxes, AreOffForTheThreadUntilTheEndOfTheScope) {
    {
        const NoErrorBoxes quiet;
        EXPECT_EQ(GetThreadErrorMode(), kNoBoxes);
        EXPECT_EQ(GetErrorMode(), 0u);
    }
    EXPECT_EQ(GetThreadErrorMode(), 0u);
}

TEST_F(ErrorBoxes, KeepTheModeThatTheThreadHadBefore) {
    SetThreadErrorMode(SEM_FAILCRITICALERRORS, nullptr);
    { const NoErrorBoxes quiet; }
    EXPECT_EQ(GetThreadErrorMode(), DWORD{SEM_FAILCRITICALERRORS});
}

TEST_F(ErrorBoxes, AreOffForTheProcessOnASystemThatKnowsNoThreadMode) {
    {
        REPLACE_CALL(lookUp, GetProcAddress, [](auto...) -> FARPROC { return nullptr; });
        const NoErrorBoxes quiet;
        EXPECT_EQ(lookUp.calls(), 1);
        EXPECT_EQ(GetErrorMode(), UINT{kNoBoxes});
        EXPECT_EQ(GetThreadErrorMode(), 0u);
    }
    EXPECT_EQ(GetErrorMode(), 0u);
}

}  // namespace
