#include <gtest/gtest.h>

#include <map>

#include "shared/AbstractAttributes.h"
#include "shared/LogFormat.h"
#include "shared/TextConversion.h"
#include "shared/Version.h"
#include "support/Thrown.h"

namespace orvik::pkgshared {
namespace {

TEST(TextConversionTest, WideToUtf8EncodesEveryPlaneAndReplacesLoneSurrogates) {
    const std::pair<std::wstring, std::string> rows[] = {
        {L"I\u00E9", "I\xC3\xA9"},
        {L"\u65E5", "\xE6\x97\xA5"},
        {L"\U0001F600", "\xF0\x9F\x98\x80"},
        {{L'a', static_cast<wchar_t>(0xD800), L'b'}, "a\xEF\xBF\xBD\x62"},
        {{static_cast<wchar_t>(0xDC00)}, "\xEF\xBF\xBD"}};
    for (const auto& [wide, utf8] : rows) {
        EXPECT_EQ(utf8, WideToUtf8(wide)) << utf8;
    }
    EXPECT_EQ(L"-126318", ToDecimal(-126318));
    EXPECT_EQ(L"/c:x --bootstrapper \u00C9", ToLowerAscii(L"/C:X --BootStrapper \u00C9"));
}

// Message line feeds (not the source's) become "\|"; nothing is formatted again.
TEST(LogFormatTest, LineLayout) {
    EXPECT_EQ(L"1               s\nt: 100% %1% %|-5|\\|\n",
              FormatLogLine(L"1", L"s\nt", L"100% %1% %|-5|\n"));
}

// "left <op> right", both ways round. "~" sorts first, even before the end; digit runs
// compare as numbers; letters before the rest; epoch "N:" first; last "-": revision.
TEST(VersionTest, OrdersPackageVersions) {
    const wchar_t* rows[] = {
        L"1.0~rc1 < 1.0", L"1.0 < 1.0.1",    L"1.0 < 1.0a",  L"1.01 = 1.1",
        L"1.9 < 1.10",    L"2:1.0 > 9.9",    L"0:1.0 = 1.0", L"1.0-1 > 1.0",
        L" = ",           L" < 0.1",         L" > ~1",       L"1.0~~ < 1.0~",
        L"1.00 > 1",      L"1.0010 > 1.9",   L"1.0a < 1.0+", L"1.0z < 1.0\u00E9",
        L"1.0A < 1.0a",   L"1:1.0 < 2:0.1",  L"00:5 = 5",    L"1:0 > 99",
        L"9.9 < 1:0.0",   L"1.0-2 < 1.0-10", L"1.0- > 1.0",  L"1.0-1 < 1.0.1",
        L"1-b-2 < 1-b-10"};
    for (const std::wstring row : rows) {
        const size_t op = row.find_first_of(L"<=>");
        const Version left(row.substr(0, op - 1)), right(row.substr(op + 2));
        const int expected = row[op] == L'<' ? -1 : row[op] == L'=' ? 0 : 1;
        const auto sign = [](int value) { return (value > 0) - (value < 0); };
        EXPECT_EQ(expected, sign(left.Compare(right))) << row;
        EXPECT_EQ(-expected, sign(right.Compare(left))) << row;
    }
    // Callers test for exactly -1 when the installed version is older.
    EXPECT_EQ(-1, Version(L"25.1.0.1").Compare(Version(L"26.5.0.49297")));
    EXPECT_EQ(1, Version(L"26.5.1").Compare(Version(L"26.5.0.49297")));
}

using orvik::testing::ExpectThrows;

struct MapAttributes : AbstractAttributes {
    std::optional<std::wstring> GetAttribute(const std::wstring& name) const override {
        const auto it = values.find(name);
        return it == values.end() ? std::nullopt : std::optional<std::wstring>(it->second);
    }
    void SetAttribute(const std::wstring& name, const std::wstring& value) override {
        values[name] = value;
    }
    std::vector<std::wstring> ListAttributes() const override { return {}; }
    std::map<std::wstring, std::wstring> values;
};

// Each text as a boolean and as a number; a value that is neither raises.
TEST(AbstractAttributesTest, TypedValuesParseOrRaise) {
    constexpr std::nullopt_t no = std::nullopt;
    using Row = std::tuple<const wchar_t*, std::optional<bool>, std::optional<std::int64_t>>;
    std::vector<Row> rows = {
        {L" yes ", true, no}, {L"On", true, no},   {L"1", true, 1},    {L"TRUE", true, no},
        {L"No", false, no},   {L"OFF", false, no}, {L"0", false, 0},   {L"\tfalse", false, no},
        {L"", no, no},        {L"2", no, 2},       {L"truee", no, no}, {L" +42 ", no, 42},
        {L"-7", no, -7},      {L"-", no, no},      {L"1.5", no, no},   {L"12a", no, no}};
    rows.insert(rows.end(), {{L"9223372036854775807", no, INT64_MAX},
                             {L"-9223372036854775808", no, INT64_MIN},
                             {L"9223372036854775808", no, no},
                             {L"-9223372036854775809", no, no}});
    const std::wstring source = L"source\\shared\\AbstractAttributes";
    for (const auto& [text, boolean, number] : rows) {
        SCOPED_TRACE(::testing::PrintToString(std::wstring(text)));
        EXPECT_EQ(boolean, ParseBoolean(text));
        EXPECT_EQ(number, ParseNumber(text));
        MapAttributes attributes;
        attributes.values[L"a"] = text;
        if (boolean) {
            EXPECT_EQ(boolean, attributes.GetBool(L"a"));
        } else {
            ExpectThrows([&] { attributes.GetBool(L"a"); }, {-125035, {L"a", text}, source});
        }
        if (number) {
            EXPECT_EQ(number, attributes.GetNumber(L"a"));
        } else {
            ExpectThrows([&] { attributes.GetNumber(L"a"); }, {-125036, {L"a", text}, source});
        }
    }
    EXPECT_EQ(std::nullopt, MapAttributes().GetBool(L"absent"));
    EXPECT_EQ(std::nullopt, MapAttributes().GetNumber(L"absent"));
}

}  // namespace
}  // namespace orvik::pkgshared
