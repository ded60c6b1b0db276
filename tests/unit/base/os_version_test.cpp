#include "base/os_version.h"

#include <gtest/gtest.h>

#include "tests/support/import_redirect.h"

namespace {

struct VersionRow {
    const char* name;
    BOOL readable;
    DWORD major;
    DWORD minor;
    bool preVista;
    bool vistaOrLater;
    bool xpFamily;
};
void PrintTo(const VersionRow& row, std::ostream* out) {
    *out << row.name;
}

class OsVersion : public testing::TestWithParam<VersionRow> {};

TEST_P(OsVersion, AnswersByTheMajorVersion) {
    DWORD sizeGiven = 0;
    REPLACE_CALL(version, GetVersionExW, [&](OSVERSIONINFOW* info) {
        sizeGiven = info->dwOSVersionInfoSize;
        info->dwMajorVersion = GetParam().major;
        info->dwMinorVersion = GetParam().minor;
        return GetParam().readable;
    });
    EXPECT_EQ(IsPreVistaOs(), GetParam().preVista);
    EXPECT_EQ(IsVistaOrLaterOs(), GetParam().vistaOrLater);
    EXPECT_EQ(IsWinXpFamily(), GetParam().xpFamily);
    EXPECT_EQ(sizeGiven, sizeof(OSVERSIONINFOW));
}

INSTANTIATE_TEST_SUITE_P(Systems, OsVersion,
                         testing::Values(VersionRow{"Nt4", TRUE, 4, 0, true, false, false},
                                         VersionRow{"Win2000", TRUE, 5, 0, true, false, true},
                                         VersionRow{"Xp64", TRUE, 5, 2, true, false, true},
                                         VersionRow{"Vista", TRUE, 6, 0, false, true, false},
                                         VersionRow{"Win7", TRUE, 6, 1, false, true, false},
                                         VersionRow{"Win10", TRUE, 10, 0, false, true, false},
                                         // What the buffer holds after a failure counts for nothing.
                                         VersionRow{"UnreadableOld", FALSE, 5, 2, true, true, false},
                                         VersionRow{"UnreadableNew", FALSE, 10, 0, true, true, false}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
