#include "state/reg_value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string_view>

#include "tests/support/guarded_buffer.h"
#include "tests/support/reg_values.h"

namespace {

using std::string_view_literals::operator""sv;
using testing::ElementsAre;
using testing::IsEmpty;

// The data ends at a page that faults, so that one byte read too many ends the test program.
bool DecodeGuarded(DWORD type, std::string_view data, RegValue& value) {
    GuardedBuffer<BYTE> guarded(data.size());
    std::memcpy(guarded.data(), data.data(), data.size());
    return DecodeRegValue(type, guarded.data(), data.size(), value) == ERROR_SUCCESS;
}

std::string_view BytesOf(std::wstring_view text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

struct TextRow {
    const char* name;
    std::wstring_view stored;
    const wchar_t* expected;
};

class RegValueText : public testing::TestWithParam<TextRow> {};

TEST_P(RegValueText, ReadsUpToTheFirstTerminatorOrTheEndOfTheData) {
    for (const DWORD type : {REG_SZ, REG_EXPAND_SZ}) {
        RegValue value;
        ASSERT_TRUE(DecodeGuarded(type, BytesOf(GetParam().stored), value));
        EXPECT_EQ(value.type, type);
        EXPECT_EQ(value.text.view(), GetParam().expected);
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, RegValueText,
                         testing::Values(TextRow{"Terminated", L"COM7\0"sv, L"COM7"},
                                         TextRow{"Unterminated", L"COM7"sv, L"COM7"},
                                         TextRow{"NoData", L""sv, L""},
                                         TextRow{"OnlyATerminator", L"\0"sv, L""},
                                         TextRow{"TextBehindATerminator", L"a\0b\0"sv, L"a"},
                                         TextRow{"TerminatorFirst", L"\0hidden\0"sv, L""}),
                         [](const auto& row) { return row.param.name; });

struct ListRow {
    const char* name;
    std::wstring_view stored;
    std::vector<std::wstring> expected;
};

class RegValueList : public testing::TestWithParam<ListRow> {};

TEST_P(RegValueList, ReadsUpToTheFirstEmptyItemOrTheEndOfTheData) {
    RegValue value;
    ASSERT_TRUE(DecodeGuarded(REG_MULTI_SZ, BytesOf(GetParam().stored), value));
    EXPECT_EQ(value.type, DWORD{REG_MULTI_SZ});
    EXPECT_EQ(ItemsOf(value.list), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, RegValueList,
    testing::Values(ListRow{"TwoItems", L"vmtoolsd.exe\0vmware.exe\0\0"sv, {L"vmtoolsd.exe", L"vmware.exe"}},
                    ListRow{"NoEndOfList", L"a\0b\0"sv, {L"a", L"b"}},
                    ListRow{"LastItemUnterminated", L"a\0b"sv, {L"a", L"b"}},
                    ListRow{"OneUnterminatedItem", L"a"sv, {L"a"}}, ListRow{"NoData", L""sv, {}},
                    ListRow{"OnlyTheEndOfList", L"\0"sv, {}},
                    ListRow{"EmptyItemEndsTheList", L"a\0\0b\0\0"sv, {L"a"}}),
    [](const auto& row) { return row.param.name; });

TEST(RegValueDecode, IgnoresAnOddLastByteOfAText) {
    RegValue value;
    ASSERT_TRUE(DecodeGuarded(REG_SZ, "a\0b\0x"sv, value));
    EXPECT_EQ(value.text.view(), L"ab");
    ASSERT_TRUE(DecodeGuarded(REG_SZ, "x"sv, value));
    EXPECT_EQ(value.text.view(), L"");
}

TEST(RegValueDecode, IgnoresAnOddLastByteOfAList) {
    RegValue value;
    ASSERT_TRUE(DecodeGuarded(REG_MULTI_SZ, "a\0\0\0b\0c"sv, value));
    EXPECT_THAT(ItemsOf(value.list), ElementsAre(L"a", L"b"));
}

TEST(RegValueDecode, ReadsNumbersOfTheRightSize) {
    RegValue value;
    ASSERT_TRUE(DecodeGuarded(REG_DWORD, "\x78\x56\x34\x12"sv, value));
    EXPECT_EQ(value.type, DWORD{REG_DWORD});
    EXPECT_EQ(value.number32, 0x12345678u);
    ASSERT_TRUE(DecodeGuarded(REG_QWORD, "\xF0\xDE\xBC\x9A\x78\x56\x34\x12"sv, value));
    EXPECT_EQ(value.type, DWORD{REG_QWORD});
    EXPECT_EQ(value.number64, 0x123456789ABCDEF0u);
}

TEST(RegValueDecode, RefusesNumbersOfAnotherSizeAndKeepsTheRecord) {
    const std::string_view nineBytes = "123456789"sv;
    for (size_t bytes = 0; bytes <= nineBytes.size(); ++bytes) {
        for (const DWORD type : {REG_DWORD, REG_QWORD}) {
            if (bytes == (type == REG_DWORD ? 4 : 8)) continue;
            RegValue value = StringValue(L"kept");
            EXPECT_FALSE(DecodeGuarded(type, nineBytes.substr(0, bytes), value)) << type << " of " << bytes;
            EXPECT_EQ(value.type, DWORD{REG_SZ});
            EXPECT_EQ(value.text.view(), L"kept");
        }
    }
}

TEST(RegValueDecode, KeepsTheBytesOfBinaryAndOfEveryOtherType) {
    for (const DWORD type : {REG_BINARY, REG_NONE, REG_DWORD_BIG_ENDIAN, REG_LINK, 0x12345}) {
        RegValue value;
        ASSERT_TRUE(DecodeGuarded(type, "\0\1\2"sv, value));
        EXPECT_EQ(value.type, type);
        EXPECT_THAT(BytesOfValue(value), ElementsAre(0, 1, 2));
    }
    RegValue value;
    ASSERT_TRUE(DecodeGuarded(REG_BINARY, ""sv, value));
    EXPECT_THAT(BytesOfValue(value), IsEmpty());
}

TEST(RegValueDecode, ForgetsWhatTheRecordHeldBefore) {
    RegValue value = StringValue(L"old");
    value.list = HeapTextOf(L"old");
    ASSERT_TRUE(DecodeGuarded(REG_DWORD, "\1\0\0\0"sv, value));
    EXPECT_EQ(value.text.view(), L"");
    EXPECT_TRUE(value.list.empty());
}

std::string Encoded(const RegValue& value, DWORD expectedType) {
    EncodedRegValue encoded;
    EXPECT_EQ(EncodeRegValue(value, encoded), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(encoded.type, expectedType);
    return {reinterpret_cast<const char*>(encoded.data), encoded.dataBytes};
}

TEST(RegValueEncode, StoresNumbersInTheirOwnSize) {
    EXPECT_EQ(Encoded(RegValue::Dword(0x12345678), REG_DWORD), "\x78\x56\x34\x12"sv);
    EXPECT_EQ(Encoded(RegValue::Qword(0x123456789ABCDEF0), REG_QWORD), "\xF0\xDE\xBC\x9A\x78\x56\x34\x12"sv);
}

TEST(RegValueEncode, StoresATextWithItsTerminator) {
    EXPECT_EQ(Encoded(StringValue(L"ab"), REG_SZ), "a\0b\0\0\0"sv);
    EXPECT_EQ(Encoded(StringValue(L""), REG_SZ), "\0\0"sv);
}

TEST(RegValueEncode, StoresAnExpandableTextAsAPlainOne) {
    RegValue value = StringValue(L"%x%");
    value.type = REG_EXPAND_SZ;
    EXPECT_EQ(Encoded(value, REG_SZ), "%\0x\0%\0\0\0"sv);
}

TEST(RegValueEncode, StoresBytesAsTheyAre) {
    RegValue value;
    value.type = REG_BINARY;
    EXPECT_EQ(Encoded(value, REG_BINARY), ""sv);
    EXPECT_EQ(Encoded(BytesValue({0, 1, 255}), REG_BINARY), "\0\1\xFF"sv);
}

TEST(RegValueEncode, StoresAListWithOneTerminatorMore) {
    EXPECT_EQ(Encoded(ListValue({}), REG_MULTI_SZ), "\0\0"sv);
    EXPECT_EQ(Encoded(ListValue({L"a", L"bc"}), REG_MULTI_SZ), "a\0\0\0b\0c\0\0\0\0\0"sv);
    EXPECT_EQ(Encoded(ListValue({L"a", L"", L"b"}), REG_MULTI_SZ), "a\0\0\0\0\0b\0\0\0\0\0"sv);
}

TEST(RegValueEncode, RefusesEveryOtherType) {
    for (DWORD type = 0; type < 64; ++type) {
        RegValue value;
        value.type = type;
        EncodedRegValue encoded;
        const bool writable = type == REG_SZ || type == REG_EXPAND_SZ || type == REG_BINARY ||
                              type == REG_DWORD || type == REG_MULTI_SZ || type == REG_QWORD;
        EXPECT_EQ(IsWritableRegType(type), writable) << type;
        EXPECT_EQ(EncodeRegValue(value, encoded),
                  writable ? DWORD{ERROR_SUCCESS} : DWORD{ERROR_UNSUPPORTED_TYPE})
            << type;
    }
}

}  // namespace
