#include "tools/global_fields.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

Bytes BytesOf(const GlobalCfg_st& global) {
    const auto* start = reinterpret_cast<const uint8_t*>(&global);
    return {start, start + sizeof(global)};
}

GlobalCfg_st RecordOf(const Bytes& bytes) {
    GlobalCfg_st global;
    std::memcpy(&global, bytes.data(), sizeof(global));
    return global;
}

// Every byte differs from its neighbors, so that one that moves or is lost shows. The names are a text.
Bytes SampleBytes() {
    Bytes bytes(sizeof(GlobalCfg_st));
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(i * 7 + 1);
    const wchar_t names[] = L"COM20,COM21";
    std::memcpy(&bytes[42], names, sizeof(names));
    bytes[8] = 3;  // pre-fetch mode
    std::fill(&bytes[9], &bytes[12], uint8_t{0});
    return bytes;
}

void StoreNumber(Bytes& bytes, size_t offset, size_t size, uint32_t number) {
    std::memcpy(&bytes[offset], &number, size);
}

Bytes Applied(const Bytes& before, const GlobalChoices& chosen) {
    GlobalCfg_st global = RecordOf(before);
    ApplyGlobalChoices(GlobalChoicesOf(global), chosen, global);
    return BytesOf(global);
}

Bytes Untouched(const Bytes& before) {
    return Applied(before, GlobalChoicesOf(RecordOf(before)));
}

size_t CheckIndex(int controlId) {
    const auto* row =
        std::find_if(std::begin(kGlobalChecks), std::end(kGlobalChecks),
                     [&](const GlobalCheckField& field) { return field.controlId == controlId; });
    return static_cast<size_t>(row - std::begin(kGlobalChecks));
}

size_t ListIndex(int controlId) {
    const auto* row =
        std::find_if(std::begin(kGlobalLists), std::end(kGlobalLists),
                     [&](const GlobalListField& field) { return field.controlId == controlId; });
    return static_cast<size_t>(row - std::begin(kGlobalLists));
}

constexpr uint32_t kNumbers[] = {0, 1, 2, 3, 0x7FFFFFFF, 0xFFFFFFFF};

// Where the record has what a control shows.
struct FieldRow {
    const char* name;
    int controlId;
    size_t offset;
    size_t bytes;
    uint32_t entries;  // of a list
};
void PrintTo(const FieldRow& row, std::ostream* out) {
    *out << row.name;
}

constexpr FieldRow kCheckRows[] = {
    {"RobPort", 1035, 40, 1, 0},           {"ClearInput", 1026, 24, 1, 0},
    {"PreferProductText", 1017, 16, 1, 0}, {"SerialNumberOnNames", 1019, 17, 1, 0},
    {"VirtualMachine", 1022, 20, 4, 0},    {"UniqueSerialNumber", 1023, 32, 4, 0},
};
constexpr FieldRow kListRows[] = {
    {"NewVcomLifemode", 1030, 4, 4, 3},
    {"PrefetchMode", 1031, 8, 4, 4},
    {"DatapipeLifemode", 1024, 36, 4, 3},
};

class CheckField : public testing::TestWithParam<FieldRow> {
  protected:
    const FieldRow& row_ = GetParam();
    size_t index_ = CheckIndex(row_.controlId);
};

TEST_P(CheckField, ShowsAnythingButZeroAsSet) {
    ASSERT_LT(index_, std::size(kGlobalChecks));
    for (const uint32_t number : kNumbers) {
        Bytes bytes = SampleBytes();
        StoreNumber(bytes, row_.offset, row_.bytes, number);
        const bool set = std::any_of(&bytes[row_.offset], &bytes[row_.offset + row_.bytes],
                                     [](uint8_t byte) { return byte != 0; });
        EXPECT_EQ(GlobalChoicesOf(RecordOf(bytes)).checks[index_], set ? BST_CHECKED : BST_UNCHECKED)
            << number;
    }
}

TEST_P(CheckField, LeftAloneKeepsItsNumber) {
    for (const uint32_t number : kNumbers) {
        Bytes bytes = SampleBytes();
        StoreNumber(bytes, row_.offset, row_.bytes, number);
        EXPECT_EQ(Untouched(bytes), bytes) << number;
    }
}

TEST_P(CheckField, SwitchedGoesOutAsOneOrZeroAndNothingElseChanges) {
    for (const uint32_t number : kNumbers) {
        Bytes bytes = SampleBytes();
        StoreNumber(bytes, row_.offset, row_.bytes, number);
        StoreNumber(bytes, 28, 4, 5000);  // a delay that the virtual-machine setting keeps
        GlobalChoices chosen = GlobalChoicesOf(RecordOf(bytes));
        const bool on = chosen.checks[index_] == BST_UNCHECKED;
        chosen.checks[index_] = on ? BST_CHECKED : BST_UNCHECKED;

        Bytes expected = bytes;
        StoreNumber(expected, row_.offset, row_.bytes, on ? 1 : 0);
        if (row_.controlId == 1022 && !on) StoreNumber(expected, 28, 4, 0);
        EXPECT_EQ(Applied(bytes, chosen), expected) << number;
    }
}

TEST_P(CheckField, IndeterminateKeepsItsNumber) {
    for (const uint32_t number : kNumbers) {
        Bytes bytes = SampleBytes();
        StoreNumber(bytes, row_.offset, row_.bytes, number);
        GlobalChoices chosen = GlobalChoicesOf(RecordOf(bytes));
        chosen.checks[index_] = BST_INDETERMINATE;
        EXPECT_EQ(Applied(bytes, chosen), bytes) << number;
    }
}

INSTANTIATE_TEST_SUITE_P(GlobalFields, CheckField, testing::ValuesIn(kCheckRows),
                         [](const auto& row) { return row.param.name; });

class ListField : public testing::TestWithParam<FieldRow> {
  protected:
    const FieldRow& row_ = GetParam();
    size_t index_ = ListIndex(row_.controlId);
};

TEST_P(ListField, SelectsTheEntryOfItsNumberOrNone) {
    ASSERT_LT(index_, std::size(kGlobalLists));
    EXPECT_EQ(kGlobalLists[index_].entries.size(), row_.entries);
    for (const uint32_t number : kNumbers) {
        Bytes bytes = SampleBytes();
        StoreNumber(bytes, row_.offset, row_.bytes, number);
        EXPECT_EQ(GlobalChoicesOf(RecordOf(bytes)).selections[index_],
                  number < row_.entries ? static_cast<int>(number) : CB_ERR)
            << number;
    }
}

TEST_P(ListField, LeftAloneKeepsItsNumber) {
    for (const uint32_t number : kNumbers) {
        Bytes bytes = SampleBytes();
        bytes[24] = 0;  // a flag that one pre-fetch mode clears
        StoreNumber(bytes, row_.offset, row_.bytes, number);
        EXPECT_EQ(Untouched(bytes), bytes) << number;
    }
}

TEST_P(ListField, TakesTheChosenEntryAndNothingElseChanges) {
    for (const uint32_t number : kNumbers) {
        for (uint32_t entry = 0; entry < row_.entries; ++entry) {
            Bytes bytes = SampleBytes();
            bytes[24] = 0;
            StoreNumber(bytes, row_.offset, row_.bytes, number);
            GlobalChoices chosen = GlobalChoicesOf(RecordOf(bytes));
            chosen.selections[index_] = static_cast<int>(entry);
            Bytes expected = bytes;
            StoreNumber(expected, row_.offset, row_.bytes, entry);
            EXPECT_EQ(Applied(bytes, chosen), expected) << number << " to " << entry;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(GlobalFields, ListField, testing::ValuesIn(kListRows),
                         [](const auto& row) { return row.param.name; });

TEST(GlobalFields, HaveOneRowPerControl) {
    std::set<int> controls;
    for (const GlobalCheckField& field : kGlobalChecks)
        controls.insert(field.controlId);
    for (const GlobalListField& field : kGlobalLists)
        controls.insert(field.controlId);
    EXPECT_EQ(controls.size(), std::size(kCheckRows) + std::size(kListRows));
    EXPECT_EQ(controls.size(), std::size(kGlobalChecks) + std::size(kGlobalLists));
}

std::vector<std::wstring> EntriesOf(int controlId) {
    const auto& entries = kGlobalLists[ListIndex(controlId)].entries;
    return {entries.begin(), entries.end()};
}

TEST(GlobalFields, ListTheirNumbersInOrder) {
    using Texts = std::vector<std::wstring>;
    EXPECT_EQ(EntriesOf(1030), (Texts{L"Temporal", L"Friendly", L"Persistent"}));
    EXPECT_EQ(EntriesOf(1031),
              (Texts{L"No fetch", L"Fetch and discard", L"Fetch and recycle", L"Fetch and preserve"}));
    EXPECT_EQ(EntriesOf(1024), (Texts{L"Never", L"On device present", L"Always"}));
}

TEST(GlobalFields, RandomRecordsLeftAloneChangeInTwoRespectsOnly) {
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        Bytes bytes(sizeof(GlobalCfg_st));
        for (uint8_t& byte : bytes)
            byte = static_cast<uint8_t>(random());
        if (round % 2 == 0) StoreNumber(bytes, 8, 4, random() % 5);
        if (round % 3 == 0) StoreNumber(bytes, 42, 2, 0);
        Bytes expected = bytes;
        if (RecordOf(bytes).prefetchMode == 1) expected[24] = 0;
        if (bytes[42] == 0 && bytes[43] == 0) std::fill(&expected[42], &expected[442], uint8_t{0});
        ASSERT_EQ(Untouched(bytes), expected) << round;
    }
}

TEST(GlobalFields, DiscardingImpliesClearingAndSendsNoFlag) {
    Bytes bytes = SampleBytes();
    for (const int flag : {0, 1, 2, 255}) {
        bytes[24] = static_cast<uint8_t>(flag);
        GlobalChoices chosen = GlobalChoicesOf(RecordOf(bytes));
        chosen.selections[ListIndex(1031)] = 1;
        chosen.checks[CheckIndex(1026)] = BST_CHECKED;
        EXPECT_EQ(Applied(bytes, chosen)[24], 0) << flag;
    }
}

TEST(GlobalFields, AShortDelayIsRaisedForAVirtualMachine) {
    Bytes bytes = SampleBytes();
    StoreNumber(bytes, 20, 4, 0);
    StoreNumber(bytes, 28, 4, 299);
    GlobalChoices chosen = GlobalChoicesOf(RecordOf(bytes));
    chosen.checks[CheckIndex(1022)] = BST_CHECKED;
    Bytes expected = bytes;
    StoreNumber(expected, 20, 4, 1);
    StoreNumber(expected, 28, 4, 300);
    EXPECT_EQ(Applied(bytes, chosen), expected);
}

class PortNames : public testing::Test {
  protected:
    // The field after the names were typed, or the box was switched.
    Bytes FieldAfter(bool prefer, const std::wstring& text) {
        GlobalChoices chosen = GlobalChoicesOf(RecordOf(bytes_));
        chosen.preferPortNames = prefer;
        std::fill(std::begin(chosen.portNames), std::end(chosen.portNames), L'\0');
        std::copy(text.begin(), text.end(), chosen.portNames);
        const Bytes after = Applied(bytes_, chosen);
        Bytes others = after;
        std::copy(&bytes_[42], &bytes_[442], &others[42]);
        EXPECT_EQ(others, bytes_) << "nothing but the names";
        return {&after[42], &after[442]};
    }
    static Bytes Field(const std::wstring& text) {
        Bytes field(400);
        std::memcpy(field.data(), text.data(), text.size() * sizeof(wchar_t));
        return field;
    }
    void Store(const std::wstring& text) {
        std::memcpy(&bytes_[42], text.c_str(), std::min<size_t>(400, (text.size() + 1) * sizeof(wchar_t)));
    }

    Bytes bytes_ = SampleBytes();
};

TEST_F(PortNames, ArePreferredWhenThereAreAny) {
    EXPECT_TRUE(GlobalChoicesOf(RecordOf(bytes_)).preferPortNames);
    EXPECT_STREQ(GlobalChoicesOf(RecordOf(bytes_)).portNames, L"COM20,COM21");
    Store(L"");
    EXPECT_FALSE(GlobalChoicesOf(RecordOf(bytes_)).preferPortNames);
    EXPECT_STREQ(GlobalChoicesOf(RecordOf(bytes_)).portNames, L"");
}

TEST_F(PortNames, LeftAloneKeepWhatFollowsTheirTerminator) {
    EXPECT_EQ(FieldAfter(true, L"COM20,COM21"), Bytes(&bytes_[42], &bytes_[442]));
}

TEST_F(PortNames, TypedFillTheFieldUpWithZeros) {
    for (const size_t chars : {1, 2, 198, 199, 200}) {
        const std::wstring text(chars, L'x');
        EXPECT_EQ(FieldAfter(true, text), Field(text)) << chars;
    }
}

TEST_F(PortNames, EmptiedGoOutAsZeros) {
    EXPECT_EQ(FieldAfter(true, L""), Field(L""));
}

TEST_F(PortNames, NotPreferredGoOutAsZeros) {
    EXPECT_EQ(FieldAfter(false, L"COM20,COM21"), Field(L""));
    EXPECT_EQ(FieldAfter(false, L"typed before"), Field(L""));
}

TEST_F(PortNames, PreferredAnewGoOutAsTyped) {
    Store(L"");
    EXPECT_EQ(FieldAfter(true, L"COM9"), Field(L"COM9"));
}

TEST_F(PortNames, FillTheFieldWithoutATerminator) {
    const std::wstring whole(200, L'n');
    Store(whole);
    const GlobalChoices choices = GlobalChoicesOf(RecordOf(bytes_));
    EXPECT_EQ(choices.portNames, whole);
    EXPECT_EQ(FieldAfter(true, whole), Field(whole));
}

TEST(GlobalDefaults, AreThoseOfAFreshDriver) {
    const GlobalChoices choices = DefaultGlobalChoices();
    GlobalCfg_st global = {};
    global.prefetchMode = 3;
    global.robPort = 1;
    global.preferredPorts[0] = L'C';
    global.requireUniqueSerial = 1;
    global.datapipeLifemode = 2;
    global.preferProductText = 1;
    global.serialNumberOnNames = 1;
    global.dropPartialBytes = 1;
    global.clearInputDelayMinimumMs = 300;
    ApplyGlobalChoices(GlobalChoicesOf(global), choices, global);

    GlobalCfg_st expected = {};
    expected.newVcomLifemode = 1;
    expected.clearInputOnOpen = 1;
    expected.datapipeLifemode = 1;
    EXPECT_EQ(BytesOf(global), BytesOf(expected));
}

TEST(PrefetchModes, AreExplained) {
    EXPECT_STREQ(PrefetchExplanation(0), L"USB device will buffer upstream data itself. (No USB IN-token)");
    EXPECT_STREQ(PrefetchExplanation(1), L"Upstream data will flow to Host(Windows) side and get discarded.");
    EXPECT_STREQ(PrefetchExplanation(2),
                 L"Data flow to Host side and get buffered. On buffer full, overwrite old data.");
    EXPECT_STREQ(PrefetchExplanation(3),
                 L"On Host side buffer full, do not discard; USB device will buffer newer data.");
    for (const int unknown : {-1, 4, 0x7FFFFFFF, static_cast<int>(0x80000000)})
        EXPECT_STREQ(PrefetchExplanation(unknown), L"Bad, Unknown") << unknown;
}

TEST(PrefetchModes, HaveABufferWhenTheyKeepData) {
    EXPECT_FALSE(HasPrefetchBuffer(-1));
    EXPECT_FALSE(HasPrefetchBuffer(0));
    EXPECT_FALSE(HasPrefetchBuffer(1));
    EXPECT_TRUE(HasPrefetchBuffer(2));
    EXPECT_TRUE(HasPrefetchBuffer(3));
    EXPECT_FALSE(HasPrefetchBuffer(4));
}

}  // namespace
