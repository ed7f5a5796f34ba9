#include <gtest/gtest.h>

#include "shared/Version.h"

namespace orvik::pkgshared {
namespace {

int Sign(int value) {
    return (value > 0) - (value < 0);
}

// "left <op> right": the sign of left.Compare(right), checked both ways round.
// "~" sorts before everything, even the end; digit runs compare as numbers;
// letters sort before punctuation and non-ASCII; an epoch "N:" comes first;
// the last "-" splits off the revision.
TEST(VersionTest, OrdersPackageVersions) {
    const auto check = [](const std::wstring& row) {
        SCOPED_TRACE(::testing::PrintToString(row));
        const size_t op = row.find_first_of(L"<=>");
        const Version left(row.substr(0, op - 1));
        const Version right(row.substr(op + 2));
        const int expected = row[op] == L'<' ? -1 : row[op] == L'=' ? 0 : 1;
        EXPECT_EQ(expected, Sign(left.Compare(right)));
        EXPECT_EQ(-expected, Sign(right.Compare(left)));
    };
    const wchar_t* rows[] = {
        L"1.0~rc1 < 1.0", L"1.0 < 1.0.1",   L"1.0 < 1.0a",     L"1.01 = 1.1",
        L"1.9 < 1.10",    L"2:1.0 > 9.9",   L"0:1.0 = 1.0",    L"1.0-1 > 1.0",
        L" = ",           L" < 0.1",        L" > ~1",          L"1.0~rc1 < 1.0~rc2",
        L"1.0~~ < 1.0~",  L"1.000 = 1.0",   L"1.00 > 1",       L"10.0 > 9.0",
        L"1.29 < 1.31",   L"1.0010 > 1.9",  L"1.0a < 1.0+",    L"1.0z < 1.0\u00E9",
        L"1.0A < 1.0a",   L"1:1.0 < 2:0.1", L"01:2.0 = 1:2.0", L"00:5 = 5",
        L"1:0 > 99",      L"9.9 < 1:0.0",   L"1.0-2 < 1.0-10", L"1.0- > 1.0",
        L"1.0-1 < 1.0.1"};
    for (const wchar_t* row : rows) {
        check(row);
    }
    for (const wchar_t* row : {L"26.5.0.49297 < 26.5.0.49298", L"26.5.0.49297 = 26.5.0.49297",
                               L"1.0-beta-2 < 1.0-beta-10"}) {
        check(row);
    }
    // Callers test for exactly -1 when the installed version is older.
    EXPECT_EQ(-1, Version(L"25.1.0.1").Compare(Version(L"26.5.0.49297")));
    EXPECT_EQ(1, Version(L"26.5.1").Compare(Version(L"26.5.0.49297")));
}

TEST(VersionTest, KeepsTheTextAsGiven) {
    EXPECT_EQ(L" 1.0-Beta ", Version(L" 1.0-Beta ").ToString());
    EXPECT_EQ(L"", Version().ToString());
    Version assigned;
    assigned = Version(L"2:1.0");
    EXPECT_EQ(L"2:1.0", assigned.ToString());
}

}  // namespace
}  // namespace orvik::pkgshared
