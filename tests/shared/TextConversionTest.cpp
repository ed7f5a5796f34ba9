#include <gtest/gtest.h>

#include "shared/LogFormat.h"
#include "shared/TextConversion.h"

namespace orvik::pkgshared {
namespace {

TEST(TextConversionTest, WideToUtf8EncodesEveryPlaneAndReplacesLoneSurrogates) {
    const std::pair<std::wstring, std::string> rows[] = {
        {L"Install.exe", "Install.exe"},
        {L"\u00E9", "\xC3\xA9"},
        {L"\u65E5\u672C", "\xE6\x97\xA5\xE6\x9C\xAC"},
        {L"\U0001F600", "\xF0\x9F\x98\x80"},
        {std::wstring(L"a\0b", 3), std::string("a\0b", 3)},
        {{L'a', static_cast<wchar_t>(0xD800), L'b'},
         "a\xEF\xBF\xBD"
         "b"},
        {{static_cast<wchar_t>(0xDC00)}, "\xEF\xBF\xBD"}};
    for (const auto& [wide, utf8] : rows) {
        EXPECT_EQ(utf8, WideToUtf8(wide)) << utf8;
    }
    EXPECT_EQ(L"-126318", ToDecimal(-126318));
    EXPECT_EQ(L"4294967295", ToDecimal(4294967295LL));
    EXPECT_EQ(L"/c:x --bootstrapper \u00C9", ToLowerAscii(L"/C:X --BootStrapper \u00C9"));
    EXPECT_EQ(L"CreateFileW", WidenAscii("CreateFileW"));
}

// Time padded to 15 columns; source and message are fields of width 1; line
// feeds in the message (not the source) become "\|"; nothing is formatted again.
TEST(LogFormatTest, LineLayoutAndFileName) {
    const std::tuple<const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*> rows[] = {
        {L"01:17:14.203125", L"PreInstall", L"extracting",
         L"01:17:14.203125 PreInstall: extracting\n"},
        {L"01:17:14", L"", L"message", L"01:17:14         : message\n"},
        {L"01:17:14", L"s", L"", L"01:17:14        s:  \n"},
        {L"01:17:14", L"s", L"a\nb\n\nc", L"01:17:14        s: a\\|b\\|\\|c\n"},
        {L"01:17:14", L"s\nt", L"m", L"01:17:14        s\nt: m\n"},
        {L"01:17:14", L"s", L"100% %1% %|-5|", L"01:17:14        s: 100% %1% %|-5|\n"}};
    for (const auto& [time, source, message, expected] : rows) {
        EXPECT_EQ(expected, FormatLogLine(time, source, message));
    }
    EXPECT_EQ(L"OrvikPkgLog_2026-11-15T01.17.14_4294967295.txt",
              LogFileName(L"2026-11-15T01:17:14", 4294967295u));
}

}  // namespace
}  // namespace orvik::pkgshared
