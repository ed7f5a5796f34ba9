#include <gtest/gtest.h>

#include "shared/ErrorCatalog.h"
#include "shared/ErrorMessage.h"
#include "shared/TextConversion.h"
#include "shared/SystemErrorMessage.h"

namespace orvik::pkgshared {
namespace {

TEST(ErrorMessageTest, FeedsExactlyTheExpectedNumberOfArguments) {
    // Two placeholders, four arguments: the surplus is ignored.
    EXPECT_EQ(L"Error '5' occurred while calling Windows function 'CreateFileW'.",
              FormatErrorMessage(-125553, 1033, L"5", L"CreateFileW", L"extra", L"more"));
    // Three placeholders, one argument: the others are empty.
    EXPECT_EQ(L"Error '183' occurred while trying to create the directory ''. Error details: ",
              FormatErrorMessage(-125098, 1033, L"183"));
    // Four placeholders.
    EXPECT_EQ(L"Error '32' occurred while trying to copy the file 'a' to 'b'. Error details: busy",
              FormatErrorMessage(-125099, 1033, L"32", L"a", L"b", L"busy"));
    // No placeholder.
    EXPECT_EQ(L"An unknown error occurred.", FormatErrorMessage(-125202, 1033, L"ignored"));
    // Arguments are not formatted again.
    EXPECT_EQ(L"Error '%2%' occurred when installing Orvik Package Manager.",
              FormatErrorMessage(-126308, 1033, L"%2%"));
}

TEST(ErrorMessageTest, CountIsTheHighestPlaceholder) {
    EXPECT_EQ(L"only b", FormatMessageText(L"only %2%", L"a", L"b", L"c", L"d"));
    EXPECT_EQ(L"b before a", FormatMessageText(L"%2% before %1%", L"a", L"b", L"", L""));
    EXPECT_EQ(L"d", FormatMessageText(L"%4%", L"a", L"b", L"c", L"d"));
}

TEST(ErrorMessageTest, MalformedTextsYieldEmpty) {
    EXPECT_EQ(L"", FormatMessageText(L"broken %", L"a", L"", L"", L""));
    EXPECT_EQ(L"", FormatMessageText(L"%5%", L"a", L"b", L"c", L"d"));
    EXPECT_EQ(L"", FormatMessageText(L"%1% and %|", L"a", L"", L"", L""));
    EXPECT_EQ(L"100%", FormatMessageText(L"100%%", L"", L"", L"", L""));
}

// Found by fuzzing: a directive number too large for the formatter overflowed
// while it was read, and a huge width would pad to gigabytes.
TEST(ErrorMessageTest, OversizedDirectiveNumbersAreMalformed) {
    EXPECT_EQ(L"", FormatMessageText(L"%2222222222222222222222222 %%", L"a", L"", L"", L""));
    EXPECT_EQ(L"", FormatMessageText(L"%|-999999999|", L"a", L"", L"", L""));
    EXPECT_EQ(L"", FormatMessageText(L"%12345%", L"a", L"", L"", L""));
    // Four digits are still a width; numbers in the text itself are text.
    EXPECT_EQ(L"a" + std::wstring(1000, L' '), FormatMessageText(L"%|-1001|", L"a", L"", L"", L""));
    EXPECT_EQ(L"12345678901 a", FormatMessageText(L"12345678901 %1%", L"a", L"", L"", L""));
}

// Found by fuzzing: the formatter read past the end of this text (an
// unknown directive before an escaped percent sign and invalid UTF-8).
// Only "%N%", "%|width|" and "%%" reach it; other directives are malformed.
TEST(ErrorMessageTest, OnlyPlaceholdersWidthsAndPercentSignsAreDirectives) {
    EXPECT_EQ(L"", FormatMessageText(Utf8ToWide("T%T%%\x9au"), L"a", L"", L"", L""));
    EXPECT_EQ(L"", FormatMessageText(L"%s and %1%", L"a", L"", L"", L""));
    EXPECT_EQ(L"", FormatMessageText(L"%1$s", L"a", L"", L"", L""));
    EXPECT_EQ(L"", FormatMessageText(L"%|-5x|", L"a", L"", L"", L""));
    EXPECT_EQ(L"a  |5%", FormatMessageText(L"%|-3||5%%", L"a", L"", L"", L""));
}

TEST(ErrorMessageTest, UsesTheChosenLanguageAndFallsBackToTheNumber) {
    const std::wstring german = FormatErrorMessage(-126318, 1031, L"/q");
    EXPECT_NE(FormatErrorMessage(-126318, 1033, L"/q"), german);
    EXPECT_NE(std::wstring::npos, german.find(L"/q"));
    EXPECT_EQ(L"Error: -125007", FormatErrorMessage(-125007, 1033, L"a"));
}

#ifdef _WIN32
TEST(SystemErrorMessageTest, KnownAndUnknownErrors) {
    const std::wstring known = GetSystemErrorMessage(5);
    EXPECT_FALSE(known.empty());
    EXPECT_EQ(std::wstring::npos, known.find(L"Format message failed"));
    const std::wstring unknown = GetSystemErrorMessage(0x3FFFFFFF);
    EXPECT_EQ(0u, unknown.find(L"Format message failed with code ")) << unknown;
    EXPECT_GT(unknown.size(), std::wstring(L"Format message failed with code ").size());
}
#endif

}  // namespace
}  // namespace orvik::pkgshared
