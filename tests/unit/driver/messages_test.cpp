#include "driver/messages.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/import_redirect.h"

namespace {

struct RequestErrorRow {
    DWORD error;
    const wchar_t* text;
};

TEST(RequestError, IsALostFlowpathOrTheNumberWithItsName) {
    constexpr RequestErrorRow kRows[] = {{ERROR_DEVICE_NOT_CONNECTED, L"Flowpath is lost."},
                                         {ERROR_ACCESS_DENIED, L"WinErr=5(ERROR_ACCESS_DENIED)"},
                                         {4711, L"WinErr=4711(UnknownWinErrCode)"}};
    for (const RequestErrorRow& row : kRows) {
        wchar_t text[kRequestErrorChars];
        FormatRequestError(row.error, text);
        EXPECT_EQ(std::wstring(text), row.text);
    }
}

TEST(ReportUfAppErr, NamesTheFunctionAndTheCode) {
    const HWND owner = reinterpret_cast<HWND>(size_t{0x123});
    REPLACE_CALL(box, MessageBoxW, [&](HWND window, LPCWSTR text, LPCWSTR title, UINT style) {
        EXPECT_EQ(window, owner);
        EXPECT_STREQ(text, L"Error in tavo_GetVcomCfg(). UfAppErr=6(UfAppErr_WrongHuid).");
        EXPECT_STREQ(title, L"TAVIX Message");
        EXPECT_EQ(style, UINT{MB_ICONERROR});
        return IDOK;
    });
    ReportUfAppErr(owner, L"tavo_GetVcomCfg", 6);
    EXPECT_EQ(box.calls(), 1);
}

}  // namespace
