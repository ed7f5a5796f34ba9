#include <gtest/gtest.h>

#include "shared/Version.h"

namespace orvik::pkgshared {
namespace {

int Sign(int value) {
    return (value > 0) - (value < 0);
}

// The sign of left.Compare(right), checked both ways round.
TEST(VersionTest, OrdersPackageVersions) {
    const std::tuple<const wchar_t*, const wchar_t*, int> rows[] = {
        // The ordering's defining consequences.
        {L"1.0~rc1", L"1.0", -1},
        {L"1.0", L"1.0.1", -1},
        {L"1.0", L"1.0a", -1},
        {L"1.01", L"1.1", 0},
        {L"1.9", L"1.10", -1},
        {L"2:1.0", L"9.9", 1},
        {L"0:1.0", L"1.0", 0},
        {L"1.0-1", L"1.0", 1},
        // Empty texts and "~".
        {L"", L"", 0},
        {L"", L"0.1", -1},
        {L"", L"~1", 1},
        {L"1.0~rc1", L"1.0~rc2", -1},
        {L"1.0~~", L"1.0~", -1},
        // Digit runs: leading zeros, length, first differing digit.
        {L"1.000", L"1.0", 0},
        {L"1.00", L"1", 1},
        {L"10.0", L"9.0", 1},
        {L"1.29", L"1.31", -1},
        {L"1.0010", L"1.9", 1},
        {L"26.5.0.49297", L"26.5.0.49298", -1},
        {L"26.5.0.49297", L"26.5.0.49297", 0},
        // Letters order before punctuation and non-ASCII bytes.
        {L"1.0a", L"1.0+", -1},
        {L"1.0z", L"1.0\u00E9", -1},
        {L"1.0A", L"1.0a", -1},
        // Epochs.
        {L"1:1.0", L"2:0.1", -1},
        {L"01:2.0", L"1:2.0", 0},
        {L"00:5", L"5", 0},
        {L"1:0", L"99", 1},
        {L"9.9", L"1:0.0", -1},
        // Revisions: the last "-" splits them off.
        {L"1.0-2", L"1.0-10", -1},
        {L"1.0-", L"1.0", 1},
        {L"1.0-beta-2", L"1.0-beta-10", -1},
        {L"1.0-1", L"1.0.1", -1}};
    for (const auto& [left, right, expected] : rows) {
        SCOPED_TRACE(::testing::PrintToString(left) + " vs " + ::testing::PrintToString(right));
        EXPECT_EQ(expected, Sign(Version(left).Compare(Version(right))));
        EXPECT_EQ(-expected, Sign(Version(right).Compare(Version(left))));
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
