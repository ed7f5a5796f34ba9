#include <gtest/gtest.h>

#include <map>

#include "shared/AbstractAttributes.h"
#include "shared/Exception.h"

namespace orvik::pkgshared {
namespace {

TEST(AttributeParsingTest, Booleans) {
    for (const wchar_t* yes : {L"true", L"TRUE", L" yes ", L"On", L"1"}) {
        EXPECT_EQ(true, ParseBoolean(yes)) << yes;
    }
    for (const wchar_t* no : {L"false", L"No", L"OFF", L"0", L"\tfalse"}) {
        EXPECT_EQ(false, ParseBoolean(no)) << no;
    }
    for (const wchar_t* neither : {L"", L"2", L"truee", L"y", L"-1", L"t rue"}) {
        EXPECT_EQ(std::nullopt, ParseBoolean(neither)) << neither;
    }
}

TEST(AttributeParsingTest, Numbers) {
    EXPECT_EQ(0, ParseNumber(L"0"));
    EXPECT_EQ(42, ParseNumber(L" +42 "));
    EXPECT_EQ(-7, ParseNumber(L"-7"));
    EXPECT_EQ(INT64_MAX, ParseNumber(L"9223372036854775807"));
    EXPECT_EQ(INT64_MIN, ParseNumber(L"-9223372036854775808"));
    for (const wchar_t* bad : {L"", L"-", L"+", L"1.5", L"12a", L"0x10", L"9223372036854775808",
                               L"-9223372036854775809", L"1 2"}) {
        EXPECT_EQ(std::nullopt, ParseNumber(bad)) << bad;
    }
}

class MapAttributes : public AbstractAttributes {
public:
    std::optional<std::wstring> GetAttribute(const std::wstring& name) const override {
        const auto it = values.find(name);
        return it == values.end() ? std::nullopt : std::optional<std::wstring>(it->second);
    }
    void SetAttribute(const std::wstring& name, const std::wstring& value) override {
        values[name] = value;
    }
    std::vector<std::wstring> ListAttributes() const override {
        std::vector<std::wstring> names;
        for (const auto& entry : values) {
            names.push_back(entry.first);
        }
        return names;
    }
    std::map<std::wstring, std::wstring> values;
};

TEST(AbstractAttributesTest, TypedAccessAndAbsence) {
    MapAttributes attributes;
    EXPECT_EQ(std::nullopt, attributes.GetBool(L"disablelogging"));
    EXPECT_EQ(std::nullopt, attributes.GetNumber(L"retries"));
    attributes.SetBool(L"disablelogging", true);
    attributes.SetNumber(L"retries", -3);
    EXPECT_EQ(L"true", attributes.values[L"disablelogging"]);
    EXPECT_EQ(true, attributes.GetBool(L"disablelogging"));
    EXPECT_EQ(-3, attributes.GetNumber(L"retries"));
    EXPECT_EQ(L"-3", attributes.GetString(L"retries"));
}

TEST(AbstractAttributesTest, MalformedValuesRaiseWithNameAndValue) {
    MapAttributes attributes;
    attributes.values[L"disablelogging"] = L"maybe";
    attributes.values[L"retries"] = L"many";
    try {
        attributes.GetBool(L"disablelogging");
        FAIL() << "nothing was thrown";
    } catch (const Exception& e) {
        EXPECT_EQ(-125035, e.GetErrorCode());
        EXPECT_EQ(L"disablelogging", e.GetMessageArgument0());
        EXPECT_EQ(L"maybe", e.GetMessageArgument1());
    }
    try {
        attributes.GetNumber(L"retries");
        FAIL() << "nothing was thrown";
    } catch (const Exception& e) {
        EXPECT_EQ(-125036, e.GetErrorCode());
        EXPECT_EQ(L"many", e.GetMessageArgument1());
    }
}

}  // namespace
}  // namespace orvik::pkgshared
