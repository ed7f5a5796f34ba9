#include <gtest/gtest.h>

#include "shared/TextConversion.h"

namespace orvik::pkgshared {
namespace {

TEST(TextConversionTest, WideToUtf8EncodesEveryPlane) {
    EXPECT_EQ("Install.exe", WideToUtf8(L"Install.exe"));
    EXPECT_EQ("\xC3\xA9", WideToUtf8(L"\u00E9"));
    EXPECT_EQ("\xE6\x97\xA5\xE6\x9C\xAC", WideToUtf8(L"\u65E5\u672C"));
    EXPECT_EQ("\xF0\x9F\x98\x80", WideToUtf8(L"\U0001F600"));
    EXPECT_EQ(std::string("a\0b", 3), WideToUtf8(std::wstring(L"a\0b", 3)));
}

TEST(TextConversionTest, UnpairedSurrogatesBecomeReplacementCharacters) {
    const std::wstring lone = {L'a', static_cast<wchar_t>(0xD800), L'b'};
    EXPECT_EQ(
        "a\xEF\xBF\xBD"
        "b",
        WideToUtf8(lone));
    const std::wstring trailing = {static_cast<wchar_t>(0xDC00)};
    EXPECT_EQ("\xEF\xBF\xBD", WideToUtf8(trailing));
}

TEST(TextConversionTest, SmallHelpers) {
    EXPECT_EQ(L"-126318", ToDecimal(-126318));
    EXPECT_EQ(L"4294967295", ToDecimal(4294967295LL));
    EXPECT_EQ(L"/c:x --bootstrapper \u00C9", ToLowerAscii(L"/C:X --BootStrapper \u00C9"));
    EXPECT_EQ(L"CreateFileW", WidenAscii("CreateFileW"));
}

}  // namespace
}  // namespace orvik::pkgshared
