#include "state/registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/import_redirect.h"
#include "tests/support/reg_values.h"
#include "tests/unit/state/scratch_key.h"

namespace {

using testing::ElementsAre;

class Registry : public testing::Test {
  protected:
    DWORD Read(const wchar_t* name, RegValue& value) const {
        return ReadRegValue(HKEY_CURRENT_USER, scratch_.path().c_str(), name, value);
    }
    DWORD Write(const wchar_t* name, const RegValue& value, uint8_t* wasNew = nullptr) const {
        return WriteRegValue(HKEY_CURRENT_USER, scratch_.path().c_str(), name, value, false, wasNew);
    }
    std::wstring Below(const wchar_t* name) const { return scratch_.path() + L"\\" + name; }
    bool KeyExists(const std::wstring& path) const {
        RegistryKey key;
        return RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, key.put()) == ERROR_SUCCESS;
    }
    DWORD StoredType(const wchar_t* name) const {
        DWORD type = REG_NONE;
        RegQueryValueExW(scratch_.get(), name, nullptr, &type, nullptr, nullptr);
        return type;
    }

    ScratchKey scratch_;
};

TEST_F(Registry, ReadsBackWhatItWroteOfEveryType) {
    ASSERT_EQ(Write(L"d", RegValue::Dword(7)), DWORD{ERROR_SUCCESS});
    ASSERT_EQ(Write(L"q", RegValue::Qword(1ull << 40)), DWORD{ERROR_SUCCESS});
    ASSERT_EQ(Write(L"s", StringValue(L"text")), DWORD{ERROR_SUCCESS});
    ASSERT_EQ(Write(L"m", ListValue({L"a", L"b"})), DWORD{ERROR_SUCCESS});
    ASSERT_EQ(Write(L"b", BytesValue({1, 0, 2})), DWORD{ERROR_SUCCESS});

    RegValue value;
    ASSERT_EQ(Read(L"d", value), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(value.type, DWORD{REG_DWORD});
    EXPECT_EQ(value.number32, 7u);
    ASSERT_EQ(Read(L"q", value), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(value.type, DWORD{REG_QWORD});
    EXPECT_EQ(value.number64, 1ull << 40);
    ASSERT_EQ(Read(L"s", value), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(value.type, DWORD{REG_SZ});
    EXPECT_EQ(value.text.view(), L"text");
    ASSERT_EQ(Read(L"m", value), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(value.type, DWORD{REG_MULTI_SZ});
    EXPECT_THAT(ItemsOf(value.list), ElementsAre(L"a", L"b"));
    ASSERT_EQ(Read(L"b", value), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(value.type, DWORD{REG_BINARY});
    EXPECT_THAT(BytesOfValue(value), ElementsAre(1, 0, 2));
}

TEST_F(Registry, AnExpandableTextIsStoredAsAPlainOne) {
    RegValue value = StringValue(L"%windir%");
    value.type = REG_EXPAND_SZ;
    ASSERT_EQ(Write(L"x", value), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(StoredType(L"x"), DWORD{REG_SZ});
    ASSERT_EQ(Read(L"x", value), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(value.text.view(), L"%windir%");
}

TEST_F(Registry, AnExpandableTextThatIsStoredIsReadUnexpanded) {
    scratch_.Store(L"x", REG_EXPAND_SZ, L"%windir%", 18);
    RegValue value;
    ASSERT_EQ(Read(L"x", value), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(value.type, DWORD{REG_EXPAND_SZ});
    EXPECT_EQ(value.text.view(), L"%windir%");
}

TEST_F(Registry, AMissingKeyOrValueKeepsTheRecord) {
    RegValue value = RegValue::Dword(7);
    EXPECT_EQ(Read(L"missing", value), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(ReadRegValue(HKEY_CURRENT_USER, Below(L"missing").c_str(), L"v", value),
              DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(value.type, DWORD{REG_DWORD});
    EXPECT_EQ(value.number32, 7u);
}

TEST_F(Registry, QueriesAnOpenKey) {
    scratch_.Store(L"d", REG_DWORD, "\5\0\0\0", 4);
    RegValue value;
    ASSERT_EQ(QueryValue(scratch_.get(), L"d", value), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(value.number32, 5u);
}

TEST_F(Registry, ANumberOfTheWrongSizeIsInvalidData) {
    scratch_.Store(L"d", REG_DWORD, "\5\0", 2);
    scratch_.Store(L"q", REG_QWORD, "\5\0\0\0", 4);
    RegValue value;
    EXPECT_EQ(Read(L"d", value), DWORD{ERROR_INVALID_DATA});
    EXPECT_EQ(Read(L"q", value), DWORD{ERROR_INVALID_DATA});
}

TEST_F(Registry, ReadsValuesOfEverySizeAroundItsFirstBuffer) {
    for (const size_t chars : {0, 1, 254, 255, 256, 257, 100000}) {
        const std::wstring text(chars, L'x');
        scratch_.Store(L"s", REG_SZ, text.c_str(), chars * sizeof(wchar_t));
        RegValue value;
        ASSERT_EQ(Read(L"s", value), DWORD{ERROR_SUCCESS}) << chars;
        EXPECT_EQ(value.text.view(), text);
    }
}

TEST_F(Registry, ReadsAValueOfManyMegabytes) {
    const std::vector<BYTE> huge(8 << 20, 0xA5);
    scratch_.Store(L"b", REG_BINARY, huge.data(), huge.size());
    RegValue value;
    ASSERT_EQ(Read(L"b", value), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(BytesOfValue(value), huge);
}

TEST_F(Registry, WritingToAMissingKeyFailsAndCreatesNothing) {
    uint8_t wasNew = 0xCC;
    EXPECT_EQ(
        WriteRegValue(HKEY_CURRENT_USER, Below(L"missing").c_str(), L"v", RegValue::Dword(1), false, &wasNew),
        DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_FALSE(KeyExists(Below(L"missing")));
    EXPECT_EQ(wasNew, 0xCC);
}

TEST_F(Registry, WritingCreatesAMissingKeyWhenAsked) {
    uint8_t wasNew = 0xCC;
    EXPECT_EQ(WriteRegValue(HKEY_CURRENT_USER, Below(L"made\\deep").c_str(), L"v", RegValue::Dword(1), true,
                            &wasNew),
              DWORD{ERROR_SUCCESS});
    EXPECT_EQ(wasNew, 1);
    RegValue value;
    EXPECT_EQ(ReadRegValue(HKEY_CURRENT_USER, Below(L"made\\deep").c_str(), L"v", value),
              DWORD{ERROR_SUCCESS});
    EXPECT_EQ(value.number32, 1u);
}

TEST_F(Registry, ReturnsTheErrorOfCreatingTheKey) {
    RegistryKey probe;
    const LSTATUS expected = RegCreateKeyW(nullptr, L"x", probe.put());
    ASSERT_NE(expected, ERROR_SUCCESS);
    EXPECT_EQ(WriteRegValue(nullptr, L"x", L"v", RegValue::Dword(1), true), static_cast<DWORD>(expected));
}

TEST_F(Registry, TellsWhetherTheValueWasNew) {
    uint8_t wasNew = 0xCC;
    ASSERT_EQ(Write(L"v", RegValue::Dword(1), &wasNew), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(wasNew, 1);
    ASSERT_EQ(Write(L"v", RegValue::Dword(2), &wasNew), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(wasNew, 0);
}

TEST_F(Registry, AnUnknownTypeWritesNothingAndCreatesNothing) {
    RegValue value;
    value.type = REG_LINK;
    EXPECT_NE(Write(L"v", value), DWORD{ERROR_SUCCESS});
    RegValue read;
    EXPECT_EQ(Read(L"v", read), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_NE(WriteRegValue(HKEY_CURRENT_USER, Below(L"missing").c_str(), L"v", value, true),
              DWORD{ERROR_SUCCESS});
    EXPECT_FALSE(KeyExists(Below(L"missing")));
}

TEST_F(Registry, OpensForReadingToReadAndForEverythingToWrite) {
    std::vector<REGSAM> accesses;
    REPLACE_CALL(open, RegOpenKeyExW, [&](HKEY root, LPCWSTR path, DWORD options, REGSAM access, HKEY* key) {
        accesses.push_back(access);
        EXPECT_EQ(options, 0u);
        return RegOpenKeyExW(root, path, options, access, key);
    });
    ASSERT_EQ(Write(L"v", RegValue::Dword(1)), DWORD{ERROR_SUCCESS});
    RegValue value;
    ASSERT_EQ(Read(L"v", value), DWORD{ERROR_SUCCESS});
    EXPECT_THAT(accesses, ElementsAre(0xF003F, KEY_READ));
}

TEST_F(Registry, StoresInOneStepAndReturnsItsError) {
    REPLACE_CALL(store, RegSetValueExW, [](auto...) { return LSTATUS{ERROR_DISK_FULL}; });
    EXPECT_EQ(Write(L"v", StringValue(L"text")), DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(store.calls(), 1);
}

TEST_F(Registry, ClosesWhatItOpensAlsoOnFailure) {
    REPLACE_CALL(open, RegOpenKeyExW, [](auto... arguments) { return RegOpenKeyExW(arguments...); });
    REPLACE_CALL(close, RegCloseKey, [](HKEY key) { return RegCloseKey(key); });
    RegValue value;
    Read(L"missing", value);
    value.type = REG_LINK;
    Write(L"v", value);
    Write(L"v", RegValue::Dword(1));
    EXPECT_EQ(open.calls(), 3);
    EXPECT_EQ(close.calls(), 3);
}

// Allocations of exactly so many bytes fail.
class FailingAllocation {
  public:
    explicit FailingAllocation(size_t bytes)
        : malloc_("malloc", [bytes](size_t wanted) { return wanted == bytes ? nullptr : malloc(wanted); }) {}

  private:
    ReplacedCall<malloc> malloc_;
};

TEST_F(Registry, AListWithoutMemoryIsNotWritten) {
    const RegValue list = ListValue({std::wstring(1000, L'a'), std::wstring(2000, L'b')});
    {
        FailingAllocation failing((1001 + 2001 + 1) * sizeof(wchar_t));
        EXPECT_EQ(Write(L"v", list), 0xC0000017u);
    }
    RegValue value;
    EXPECT_EQ(Read(L"v", value), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(Write(L"v", list), DWORD{ERROR_SUCCESS});
}

TEST_F(Registry, AValueWithoutMemoryIsNotRead) {
    const std::vector<BYTE> bytes(54321, 1);
    scratch_.Store(L"b", REG_BINARY, bytes.data(), bytes.size());
    RegValue value = RegValue::Dword(7);
    FailingAllocation failing(bytes.size());
    EXPECT_EQ(Read(L"b", value), DWORD{ERROR_NOT_ENOUGH_MEMORY});
    EXPECT_EQ(value.number32, 7u);
}

TEST_F(Registry, AValueThatGrowsBetweenTheCallsIsReadWhole) {
    const std::wstring text(300, L'x');
    scratch_.Store(L"s", REG_SZ, text.c_str(), 600);
    int calls = 0;
    REPLACE_CALL(query, RegQueryValueExW,
                 [&](HKEY key, LPCWSTR name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* bytes) {
                     const LSTATUS status = RegQueryValueExW(key, name, reserved, type, data, bytes);
                     const std::wstring longer(1000, L'y');
                     if (++calls == 1) scratch_.Store(L"s", REG_SZ, longer.c_str(), 2000);
                     return status;
                 });
    RegValue value;
    EXPECT_EQ(Read(L"s", value), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(value.text.view(), std::wstring(1000, L'y'));
    EXPECT_EQ(calls, 3);
}

TEST_F(Registry, AValueThatNeverStopsGrowingIsGivenUp) {
    int calls = 0;
    REPLACE_CALL(query, RegQueryValueExW, [&](HKEY, LPCWSTR, DWORD*, DWORD*, BYTE*, DWORD* bytes) {
        ++calls;
        *bytes += 100;
        return LSTATUS{ERROR_MORE_DATA};
    });
    RegValue value;
    EXPECT_EQ(Read(L"s", value), DWORD{ERROR_MORE_DATA});
    EXPECT_LT(calls, 20);
}

}  // namespace
