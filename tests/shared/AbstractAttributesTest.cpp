#include <gtest/gtest.h>

#include <map>

#include "shared/AbstractAttributes.h"
#include "support/Thrown.h"

namespace orvik::pkgshared {
namespace {

using orvik::testing::ExpectThrows;

class MapAttributes : public AbstractAttributes {
public:
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

struct Row {
    const wchar_t* text;
    std::optional<bool> boolean;
    std::optional<std::int64_t> number;
};

// Each text as a boolean and as a number; a value that is neither raises
// with the attribute's name and text.
TEST(AbstractAttributesTest, TypedValuesParseOrRaise) {
    constexpr std::nullopt_t no = std::nullopt;
    const Row rows[] = {
        {L"true", true, no}, {L"TRUE", true, no},     {L" yes ", true, no}, {L"On", true, no},
        {L"1", true, 1},     {L"false", false, no},   {L"No", false, no},   {L"OFF", false, no},
        {L"0", false, 0},    {L"\tfalse", false, no}, {L"", no, no},        {L"2", no, 2},
        {L"truee", no, no},  {L"y", no, no},          {L"t rue", no, no},   {L"-1", no, -1},
        {L" +42 ", no, 42},  {L"-7", no, -7},         {L"-", no, no},       {L"+", no, no},
        {L"1.5", no, no},    {L"12a", no, no},        {L"0x10", no, no},    {L"1 2", no, no}};
    const Row limits[] = {{L"9223372036854775807", no, INT64_MAX},
                          {L"-9223372036854775808", no, INT64_MIN},
                          {L"9223372036854775808", no, no},
                          {L"-9223372036854775809", no, no}};
    const std::wstring source = L"source\\shared\\AbstractAttributes";
    std::vector<Row> all(std::begin(rows), std::end(rows));
    all.insert(all.end(), std::begin(limits), std::end(limits));
    for (const Row& row : all) {
        SCOPED_TRACE(::testing::PrintToString(std::wstring(row.text)));
        EXPECT_EQ(row.boolean, ParseBoolean(row.text));
        EXPECT_EQ(row.number, ParseNumber(row.text));
        MapAttributes attributes;
        attributes.values[L"a"] = row.text;
        if (row.boolean) {
            EXPECT_EQ(row.boolean, attributes.GetBool(L"a"));
        } else {
            ExpectThrows([&] { attributes.GetBool(L"a"); },
                         {-125035, {L"a", row.text}, source, 77});
        }
        if (row.number) {
            EXPECT_EQ(row.number, attributes.GetNumber(L"a"));
        } else {
            ExpectThrows([&] { attributes.GetNumber(L"a"); },
                         {-125036, {L"a", row.text}, source, 89});
        }
    }
}

TEST(AbstractAttributesTest, AbsentValuesAndWrittenForms) {
    MapAttributes attributes;
    EXPECT_EQ(std::nullopt, attributes.GetBool(L"disablelogging"));
    EXPECT_EQ(std::nullopt, attributes.GetNumber(L"retries"));
    attributes.SetBool(L"disablelogging", true);
    attributes.SetBool(L"off", false);
    attributes.SetNumber(L"retries", -3);
    EXPECT_EQ((std::map<std::wstring, std::wstring>{
                  {L"disablelogging", L"true"}, {L"off", L"false"}, {L"retries", L"-3"}}),
              attributes.values);
    EXPECT_EQ(L"-3", attributes.GetString(L"retries"));
}

}  // namespace
}  // namespace orvik::pkgshared
