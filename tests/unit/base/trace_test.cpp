// Console prints, read back from a file that stands for the stream meanwhile.
#include "base/trace.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>

#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/import_redirect.h"

namespace {

// Redirects a standard stream into a temporary file until its text is taken.
class CapturedStream {
  public:
    CapturedStream(FILE* stream, int descriptor) : stream_(stream), descriptor_(descriptor) {
        wchar_t folder[MAX_PATH];
        GetTempPathW(MAX_PATH, folder);
        GetTempFileNameW(folder, L"trc", 0, path_);
        fflush(stream_);
        original_ = _dup(descriptor_);
        const int file = _wopen(path_, _O_WRONLY | _O_TRUNC | _O_TEXT);
        _dup2(file, descriptor_);
        _close(file);
    }
    ~CapturedStream() {
        Restore();
        DeleteFileW(path_);
    }

    // What has reached the file already; nothing is flushed here.
    std::string Text() const {
        std::ifstream file(std::filesystem::path(path_), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

  private:
    void Restore() {
        fflush(stream_);
        _dup2(original_, descriptor_);
        _close(original_);
    }

    FILE* stream_;
    int descriptor_;
    int original_;
    wchar_t path_[MAX_PATH];
};

class TraceTest : public testing::Test {
  protected:
    ~TraceTest() override { _wsetlocale(LC_ALL, L"C"); }
};

TEST_F(TraceTest, WithoutStampPrintsOnlyTheLine) {
    std::string text;
    int32_t count;
    {
        const CapturedStream captured(stdout, 1);
        count = trace_print_stdout(0, L"%s=%d", L"value", 5);
        text = captured.Text();
    }
    EXPECT_EQ(text, "value=5\r\n");
    EXPECT_EQ(count, 8);
}

TEST_F(TraceTest, PrintsToTheErrorStream) {
    std::string text;
    int32_t count;
    {
        const CapturedStream captured(stderr, 2);
        count = trace_print_stderr(0, L"%s=%d", L"value", 6);
        text = captured.Text();
    }
    EXPECT_EQ(text, "value=6\r\n");
    EXPECT_EQ(count, 8);
}

struct StampRow {
    uint32_t mode;
    const char* line;
};

class TraceStampTest : public TraceTest, public testing::WithParamInterface<StampRow> {
  protected:
    ReplacedCall<GetLocalTime> localTime_{"GetLocalTime",
                                          [](SYSTEMTIME* time) { *time = {2024, 3, 2, 5, 9, 7, 2, 45}; }};
};

TEST_P(TraceStampTest, StandsInFrontOfTheLine) {
    std::string text;
    int32_t count;
    {
        const CapturedStream captured(stderr, 2);
        count = trace_print_stderr(GetParam().mode, L"%s", L"line");
        text = captured.Text();
    }
    EXPECT_EQ(text, std::string(GetParam().line) + "\r\n");
    EXPECT_EQ(count, static_cast<int32_t>(strlen(GetParam().line) + 1));
}

INSTANTIATE_TEST_SUITE_P(Modes, TraceStampTest,
                         testing::Values(StampRow{0, "line"}, StampRow{1, "[2024-03-05_09:07:02]line"},
                                         StampRow{2, "[2024-03-05_09:07:02.045]line"},
                                         StampRow{3, "[2024-03-05_09:07:02]line"},
                                         StampRow{0xFFFFFFFF, "[2024-03-05_09:07:02]line"}));

TEST_F(TraceTest, TheStampPrintsThroughAFormatter) {
    uint32_t mode = kTraceStampNone;
    XfmtFormatter stamp;
    xfmt_formatter_init(&stamp, trace_stamp_formatter, &mode);
    wchar_t text[64];
    EXPECT_EQ(xfmt(text, 64, L"%F|", &stamp), 1);
    EXPECT_STREQ(text, L"|");
    mode = kTraceStampSeconds;
    EXPECT_EQ(xfmt(text, 64, L"%F|", &stamp), 22);
    mode = kTraceStampMilliseconds;
    EXPECT_EQ(xfmt(text, 64, L"%F|", &stamp), 26);
    EXPECT_EQ(text[0], L'[');
    EXPECT_EQ(text[24], L']');
}

int32_t PrintWrapped(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    const XfmtNested nested = {kXfmtNestedMagic, format, &args};
    uint32_t noStamp = kTraceStampNone;
    XfmtFormatter stamp;
    xfmt_formatter_init(&stamp, trace_stamp_formatter, &noStamp);
    const int32_t count = trace_print_stdout(0, L"%F(%w)", &stamp, &nested);
    va_end(args);
    return count;
}

TEST_F(TraceTest, TheCallersFormatMayNestItself) {
    std::string text;
    {
        const CapturedStream captured(stdout, 1);
        EXPECT_EQ(PrintWrapped(L"%d-%d", 1, 2), 6);
        text = captured.Text();
    }
    EXPECT_EQ(text, "(1-2)\r\n");
}

TEST_F(TraceTest, LongTextIsCutAndCountedWhole) {
    std::string text;
    int32_t count;
    {
        const CapturedStream captured(stdout, 1);
        count = trace_print_stdout(0, L"%5000d", 1);
        text = captured.Text();
    }
    EXPECT_EQ(count, 5001);
    EXPECT_EQ(text, std::string(3999, ' '));
    EXPECT_EQ(xfmt_console_buffer_size(), 4000);
}

TEST_F(TraceTest, TheNewlineSettingIsNotForLines) {
    std::string text;
    xfmt_set_newline(2);
    {
        const CapturedStream captured(stdout, 1);
        trace_print_stdout(0, L"x");
        text = captured.Text();
    }
    xfmt_set_newline(0);
    EXPECT_EQ(text, "x\r\n");
}

TEST_F(TraceTest, TextIsWrittenInTheUsersLocale) {
    _wsetlocale(LC_ALL, L"C");
    std::string text;
    {
        const CapturedStream captured(stdout, 1);
        xfmt_print_stdout(L"%s", L"x");
        text = captured.Text();
    }
    const std::wstring ours = _wsetlocale(LC_ALL, nullptr);
    _wsetlocale(LC_ALL, L"");
    EXPECT_EQ(ours, _wsetlocale(LC_ALL, nullptr));
    EXPECT_EQ(text, "x");
}

}  // namespace
