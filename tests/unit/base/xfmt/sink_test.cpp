// The pieces that a sink receives and what it is told about them.
#include <cstdarg>

#include "tests/unit/base/xfmt/rows.h"

namespace {

struct Piece {
    std::wstring text;
    XfmtPieceInfo info;
};

struct Pieces {
    std::vector<Piece> list;

    static void Receive(void* context, const wchar_t* text, int32_t count, XfmtPieceInfo* info) {
        static_cast<Pieces*>(context)->list.push_back(
            {std::wstring(text, static_cast<size_t>(count)), *info});
    }
    std::vector<std::wstring> Texts() const {
        std::vector<std::wstring> texts;
        for (const Piece& piece : list)
            texts.push_back(piece.text);
        return texts;
    }
    std::wstring Whole() const {
        std::wstring whole;
        for (const Piece& piece : list)
            whole += piece.text;
        return whole;
    }
};

using Texts = std::vector<std::wstring>;

TEST(XfmtSinkTest, ReceivesLiteralsAndConversionsAsPieces) {
    Pieces pieces;
    EXPECT_EQ(xfmt_to_sink(Pieces::Receive, &pieces, L"WinErr=%d(%s)", 5, L"denied"), 16);
    EXPECT_EQ(pieces.Texts(), (Texts{L"WinErr=", L"5", L"(", L"denied", L")"}));
}

TEST(XfmtSinkTest, PaddingIsAPieceOfItsOwn) {
    Pieces pieces;
    xfmt_to_sink(Pieces::Receive, &pieces, L"%5d%-4s%06d%#06x", 42, L"ab", -7, 255);
    EXPECT_EQ(pieces.Texts(), (Texts{L"   ", L"42", L"ab", L"  ", L"-", L"0000", L"7", L"0x", L"00", L"ff"}));
}

TEST(XfmtSinkTest, RunsComeInPiecesOfAtMost100) {
    Pieces pieces;
    EXPECT_EQ(xfmt_to_sink(Pieces::Receive, &pieces, L"%250s%*n", L"x", 101, L"="), 351);
    ASSERT_EQ(pieces.list.size(), 6u);
    EXPECT_EQ(pieces.list[0].text, std::wstring(100, L' '));
    EXPECT_EQ(pieces.list[1].text, std::wstring(100, L' '));
    EXPECT_EQ(pieces.list[2].text, std::wstring(49, L' '));
    EXPECT_EQ(pieces.list[3].text, L"x");
    EXPECT_EQ(pieces.list[4].text, std::wstring(100, L'='));
    EXPECT_EQ(pieces.list[5].text, L"=");
}

TEST(XfmtSinkTest, ALongTextIsOnePiece) {
    Pieces pieces;
    const std::wstring text(5000, L'x');
    xfmt_to_sink(Pieces::Receive, &pieces, L"%s", text.c_str());
    EXPECT_EQ(pieces.Texts(), Texts{text});
}

TEST(XfmtSinkTest, ARepeatedTextIsAPieceEachTime) {
    Pieces pieces;
    xfmt_to_sink(Pieces::Receive, &pieces, L"%*n", 3, L"ab");
    EXPECT_EQ(pieces.Texts(), (Texts{L"ab", L"ab", L"ab"}));
}

TEST(XfmtSinkTest, ADumpCellIsAPiece) {
    Pieces pieces;
    const uint8_t bytes[] = {1, 2, 3};
    xfmt_to_sink(Pieces::Receive, &pieces, L"%k%2R%3m", L" ", 2, bytes);
    EXPECT_EQ(pieces.Texts(), (Texts{L"  ", L"---", L"00", L"-", L"01", L"\n",  //
                                     L"  ", L"0: ", L"01 ", L"02", L"\n", L"  ", L"2: ", L"03"}));
}

TEST(XfmtSinkTest, NothingIsNotAPiece) {
    Pieces pieces;
    EXPECT_EQ(xfmt_to_sink(Pieces::Receive, &pieces, L"%s%t%.0d", L"", L",", 0), 0);
    EXPECT_TRUE(pieces.list.empty());
}

TEST(XfmtSinkTest, GetsEverythingWhateverTheCapacity) {
    for (const int32_t cap : {-5, 0, 1, 4, 100}) {
        Pieces pieces;
        wchar_t text[100];
        XfmtOutput out = {};
        out.sink = Pieces::Receive;
        out.sink_ctx = &pieces;
        out.buf = text;
        out.cap = cap;
        EXPECT_EQ(xfmt_to_ctx(&out, L"%s-%8d-%*n", L"left", 12, 3, L"xy"), 20);
        EXPECT_EQ(pieces.Whole(), L"left-      12-xyxyxy");
    }
}

TEST(XfmtSinkTest, NestedOutputReachesTheSameSink) {
    Pieces pieces;
    std::vector<XfmtArg> args = {7};
    va_list list = XfmtArgList(args);
    const XfmtNested nested = {kXfmtNestedMagic, L"n%d", &list};
    EXPECT_EQ(xfmt_to_sink(Pieces::Receive, &pieces, L"a%wb", &nested), 4);
    ASSERT_EQ(pieces.Texts(), (Texts{L"a", L"n", L"7", L"b"}));
    EXPECT_EQ(pieces.list[0].info.trace_level, 1u);
    EXPECT_EQ(pieces.list[2].info.trace_level, 2u);
    EXPECT_EQ(pieces.list[2].info.stock, 1u);
    EXPECT_EQ(pieces.list[2].info.out_pos, 1);
    EXPECT_STREQ(pieces.list[2].info.format, L"n%d");
    EXPECT_EQ(pieces.list[3].info.out_pos, 3);
}

TEST(XfmtPieceInfoTest, TellsWhereThePieceStandsInFormatAndOutput) {
    Pieces pieces;
    const wchar_t* const format = L"ab%-6.3d|";
    XfmtOutput out = {};
    out.sink = Pieces::Receive;
    out.sink_ctx = &pieces;
    out.level = 2;
    out.pos = 500;
    EXPECT_EQ(xfmt_to_ctx(&out, format, 7), 9);
    ASSERT_EQ(pieces.Texts(), (Texts{L"ab", L"007", L"   ", L"|"}));
    const XfmtPieceInfo& literal = pieces.list[0].info;
    EXPECT_EQ(literal.format, format);
    EXPECT_EQ(literal.format_pos, 0);
    EXPECT_EQ(literal.format_len, 2);
    EXPECT_FALSE(literal.width_given);
    EXPECT_FALSE(literal.precision_given);
    EXPECT_EQ(literal.arg_bytes, 0);
    EXPECT_EQ(literal.trace_level, 3u);
    EXPECT_EQ(literal.out_pos, 0);
    EXPECT_EQ(literal.stock, 500u);

    const XfmtPieceInfo& number = pieces.list[1].info;
    EXPECT_EQ(number.format_pos, 2);
    EXPECT_EQ(number.format_len, 6);
    EXPECT_TRUE(number.width_given);
    EXPECT_EQ(number.width, 6);
    EXPECT_TRUE(number.precision_given);
    EXPECT_EQ(number.precision, 3);
    EXPECT_EQ(number.arg_bytes, 4);
    EXPECT_EQ(number.arg_raw & UINT32_MAX, 7u);
    EXPECT_EQ(number.out_pos, 2);

    const XfmtPieceInfo& padding = pieces.list[2].info;
    EXPECT_EQ(padding.format_pos, 2);
    EXPECT_EQ(padding.out_pos, 5);

    const XfmtPieceInfo& last = pieces.list[3].info;
    EXPECT_EQ(last.format_pos, 8);
    EXPECT_EQ(last.format_len, 1);
    EXPECT_FALSE(last.width_given);
    EXPECT_EQ(last.width, 0);
    EXPECT_EQ(last.arg_bytes, 0);
    EXPECT_EQ(last.arg_raw, 0u);
    EXPECT_EQ(last.out_pos, 8);
    EXPECT_EQ(last.stock, 500u);
}

struct ArgumentRow {
    const char* name;
    const wchar_t* format;
    XfmtArg arg;
    int32_t bytes;
};

class XfmtPieceArgumentTest : public testing::TestWithParam<ArgumentRow> {};

TEST_P(XfmtPieceArgumentTest, IsToldRawWithItsSize) {
    Pieces pieces;
    XfmtOutput out = {};
    out.sink = Pieces::Receive;
    out.sink_ctx = &pieces;
    const std::vector<XfmtArg> args = {GetParam().arg};
    xfmt_core(&out, GetParam().format, XfmtArgList(args));
    ASSERT_EQ(pieces.list.size(), 1u);
    EXPECT_EQ(pieces.list[0].info.arg_bytes, GetParam().bytes);
    EXPECT_EQ(pieces.list[0].info.arg_raw, GetParam().arg.slot);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, XfmtPieceArgumentTest,
    testing::Values(ArgumentRow{"int", L"%d", -3, 4}, ArgumentRow{"longlong", L"%llx", 0x123456789ull, 8},
                    ArgumentRow{"character", L"%c", L'x', 2}, ArgumentRow{"text", L"%s", L"x", 8},
                    ArgumentRow{"pointer", L"%p", 0x1234ull, 8}, ArgumentRow{"number", L"%f", 1.5, 8}),
    [](const auto& row) { return row.param.name; });

}  // namespace
