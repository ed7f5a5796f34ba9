#include <gtest/gtest.h>

#include "shared/IniGrammar.h"

namespace orvik::pkgshared::ini {
namespace {

struct LineCase {
    const char* line;
    unsigned options;
    LineKind kind;
    const char* first;   // section name or key
    const char* second;  // value
};

const LineCase kLines[] = {
    {"", 0, LineKind::Blank, "", ""},
    {" \t ", 0, LineKind::Blank, "", ""},
    {"; comment", 0, LineKind::Comment, "", ""},
    {"   ;indented=1", 0, LineKind::Comment, "", ""},
    {"[settings]", 0, LineKind::Section, "settings", ""},
    {"  [  Settings Two  ]  trailing", 0, LineKind::Section, "Settings Two", ""},
    {"[ ]", 0, LineKind::Unrecognised, "", ""},
    {"[]", 0, LineKind::Unrecognised, "", ""},
    {"[name", 0, LineKind::Unrecognised, "", ""},
    {"key=value", 0, LineKind::KeyValue, "key", "value"},
    {"  key  =  value with  blanks \t", 0, LineKind::KeyValue, "key", "value with  blanks"},
    {"a=b=c", 0, LineKind::KeyValue, "a", "b=c"},
    {"key   =", 0, LineKind::Unrecognised, "", ""},
    {"key   =", kKeepEmptyValues, LineKind::KeyValue, "key", ""},
    {"key =   ", kKeepEmptyValues, LineKind::KeyValue, "key", ""},
    {"=value", kKeepEmptyValues, LineKind::Unrecognised, "", ""},
    {"   = value", 0, LineKind::Unrecognised, "", ""},
    {"no separator", 0, LineKind::Unrecognised, "", ""},
    {"a:b", 0, LineKind::Unrecognised, "", ""},
    {"a:b", kColonSeparator, LineKind::KeyValue, "a", "b"},
    {"a := b", kColonSeparator, LineKind::KeyValue, "a", "b"},
    {"a := b", 0, LineKind::KeyValue, "a :", "b"},
    {"a:b=c", kColonSeparator, LineKind::KeyValue, "a", "b=c"},
    {"url=http://host", kColonSeparator, LineKind::KeyValue, "url", "http://host"},
    {"a:", kColonSeparator, LineKind::Unrecognised, "", ""},
    {"a:=", kColonSeparator | kKeepEmptyValues, LineKind::KeyValue, "a", ""},
};

TEST(IniGrammarTest, ClassifiesLines) {
    for (const LineCase& c : kLines) {
        const ParsedLine parsed = ParseLine(c.line, c.options);
        EXPECT_EQ(c.kind, parsed.kind) << "'" << c.line << "' options " << c.options;
        if (c.kind == LineKind::Section) {
            EXPECT_EQ(c.first, parsed.name) << c.line;
        } else if (c.kind == LineKind::KeyValue) {
            EXPECT_EQ(c.first, parsed.key) << c.line;
            EXPECT_EQ(c.second, parsed.value) << c.line;
        }
    }
}

TEST(IniGrammarTest, SectionNamesMatchIgnoringCaseAndBlanksUnlessCaseSensitive) {
    EXPECT_TRUE(SectionNamesMatch(" Settings ", "settings", false));
    EXPECT_TRUE(SectionNamesMatch("A b", "a B", false));
    EXPECT_FALSE(SectionNamesMatch("settings", "setting", false));
    EXPECT_FALSE(SectionNamesMatch("a b", "ab", false));
    EXPECT_TRUE(SectionNamesMatch("Settings", "Settings", true));
    EXPECT_FALSE(SectionNamesMatch("Settings", "settings", true));
    EXPECT_FALSE(SectionNamesMatch(" settings", "settings", true));
}

}  // namespace
}  // namespace orvik::pkgshared::ini
