#include <gtest/gtest.h>

#include "shared/LogFormat.h"

namespace orvik::pkgshared {
namespace {

TEST(LogFormatTest, LineLayout) {
    EXPECT_EQ(L"01:17:14.203125 PreInstall: extracting\n",
              FormatLogLine(L"01:17:14.203125", L"PreInstall", L"extracting"));
    // A whole second: the time is padded to 15 columns. The source and the
    // message are fields of width 1, so an empty one is a single blank.
    EXPECT_EQ(L"01:17:14         : message\n", FormatLogLine(L"01:17:14", L"", L"message"));
    EXPECT_EQ(L"01:17:14        s:  \n", FormatLogLine(L"01:17:14", L"s", L""));
}

TEST(LogFormatTest, LineFeedsInTheMessageStayOnOneLine) {
    EXPECT_EQ(L"01:17:14        s: a\\|b\\|\\|c\n", FormatLogLine(L"01:17:14", L"s", L"a\nb\n\nc"));
    // Line feeds in the source are not the message's: they are kept.
    EXPECT_EQ(L"01:17:14        s\nt: m\n", FormatLogLine(L"01:17:14", L"s\nt", L"m"));
    // Placeholder-like text is not formatted again.
    EXPECT_EQ(L"01:17:14        s: 100% %1% %|-5|\n",
              FormatLogLine(L"01:17:14", L"s", L"100% %1% %|-5|"));
}

TEST(LogFormatTest, FileNameFromTimeAndProcess) {
    EXPECT_EQ(L"OrvikPkgLog_2026-11-15T01.17.14_4711.txt",
              LogFileName(L"2026-11-15T01:17:14", 4711));
    EXPECT_EQ(L"OrvikPkgLog_2026-11-15T01.17.14_4294967295.txt",
              LogFileName(L"2026-11-15T01:17:14", 4294967295u));
}

}  // namespace
}  // namespace orvik::pkgshared
