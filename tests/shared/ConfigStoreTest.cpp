#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "shared/ConfigStore.h"
#include "shared/ConfigStoreNames.h"
#include "shared/IniGrammar.h"

namespace orvik::pkgshared {
namespace {

using namespace ini;
using Lines = std::vector<std::string>;

// A parsed line as its kind's letter (Blank, Comment, Section, KeyValue,
// Unrecognised: "BCSK-") and its fields: "SName", "Kkey=value".
std::string Describe(const ParsedLine& p) {
    const char kind = "BCSK-"[static_cast<int>(p.kind)];
    return kind + p.name + p.key + (p.kind == LineKind::KeyValue ? "=" + p.value : "");
}

TEST(IniGrammarTest, ClassifiesLinesAndMatchesSectionNames) {
    constexpr unsigned E = kKeepEmptyValues, C = kColonSeparator;
    const std::tuple<const char*, unsigned, const char*> rows[] = {
        {" \t ", 0, "B"},       {"   ;k=1", 0, "C"},      {" [  S  T  ] x", 0, "SS  T"},
        {"[ ]", 0, "-"},        {"[name", 0, "-"},        {" k  = v  w \t", 0, "Kk=v  w"},
        {"a=b=c", 0, "Ka=b=c"}, {"key =", 0, "-"},        {"key =", E, "Kkey="},
        {"=value", E, "-"},     {"no separator", 0, "-"}, {"a:b", 0, "-"},
        {"a:b", C, "Ka=b"},     {"a := b", C, "Ka=b"},    {"a := b", 0, "Ka :=b"},
        {"a:b=c", C, "Ka=b=c"}, {"a:", C, "-"},           {"a:=", C | E, "Ka="}};
    for (const auto& [line, options, expected] : rows) {
        EXPECT_EQ(expected, Describe(ParseLine(line, options))) << line;
    }
    const std::tuple<const char*, const char*, bool, bool> names[] = {
        {" Ab ", "ab", false, true}, {"ab", "a", false, false}, {"a b", "a c", false, false},
        {"Ab", "Ab", true, true},    {"Ab", "ab", true, false}, {" ab", "ab", true, false}};
    for (const auto& [a, b, caseSensitive, match] : names) {
        EXPECT_EQ(match, SectionNamesMatch(a, b, caseSensitive)) << a << "|" << b;
    }
}

std::string Text(const ConfigStore& store) {
    std::string text;
    EXPECT_EQ(0,
              store.WriteTo([&text](const std::string& line) { return text += line + "\n", 0; }));
    return text;
}

ConfigStore Loaded(bool caseSensitive, const char* text) {
    ConfigStore::Options options;
    options.caseSensitiveNames = caseSensitive;
    ConfigStore store(options);
    store.LoadText(text);
    return store;
}

// Headers and kept lines are written as read; a repeated header (names trimmed) continues it.
TEST(ConfigStoreTest, RewritesWhatItReadAndLooksValuesUp) {
    const ConfigStore store =
        Loaded(false, "; c\ntop=1\n[S] ;m\nk = v\nno key\n\n[a]\nx=1\r\n[B]\ny=2\n[ A ]\nz=3\n");
    EXPECT_EQ("; c\ntop=1\n[S] ;m\nk=v\nno key\n\n[a]\nx=1\nz=3\n[B]\ny=2\n", Text(store));
    EXPECT_EQ("1", store.GetValue("", "top"));
    EXPECT_EQ("v", store.GetValue("s", "K"));
    EXPECT_EQ("3", store.GetValue("A", "z"));
    EXPECT_EQ(std::nullopt, store.GetValue("B", "z"));
    const ConfigStore exact = Loaded(true, "[A]\nkey=1\n[a]\nKey=2\n");
    EXPECT_EQ(std::nullopt, exact.GetValue("A", "Key"));
    EXPECT_EQ("2", exact.GetValue("a", "Key"));
}

TEST(ConfigStoreTest, SetAndRemoveValues) {
    ConfigStore store;
    store.LoadText("\xEF\xBB\xBF[s]\nk=1\nk=2\n");
    EXPECT_TRUE(store.SetValue("S", "K", "9") && store.SetValue("new", "x", "y") &&
                store.SetValue("", "g", "h"));
    for (const char* lineBreak : {"a\nb", "\r"}) {  // would read back as more than one line
        EXPECT_FALSE(store.SetValue("new", "z", lineBreak)) << lineBreak;
    }
    EXPECT_EQ("\xEF\xBB\xBF[s]\nk=9\nk=2\n[new]\nx=y\ng=h\n", Text(store));
    EXPECT_EQ((Lines{"k", "k"}), store.Keys("S"));
    EXPECT_TRUE(store.RemoveValue("s", "k"));
    EXPECT_FALSE(store.RemoveValue("s", "k"));
    EXPECT_EQ(std::nullopt, store.GetValue("s", "k"));
}

TEST(ConfigStoreNamesTest, TemporaryNamesFitThePathLimit) {
    const std::wstring fits = L"C:\\" + std::wstring(252, L'x');  // 255 + ".TMP" = 259
    EXPECT_EQ(fits + L".TMP", SafeSaveTemporaryName(fits));
    EXPECT_EQ(std::nullopt, SafeSaveTemporaryName(fits + L"x"));
    EXPECT_EQ(std::nullopt, NumberedTemporaryName(fits + L"\\s.ini", 0));
    EXPECT_EQ(L"C:\\c\\s.TMP", SafeSaveTemporaryName(L"C:\\c\\s.ini"));
    EXPECT_EQ(L"C:\\c\\a.TMP.TMP", SafeSaveTemporaryName(L"C:\\c\\a.TMP"));
    EXPECT_EQ(L"C:/c/a.TMP", SafeSaveTemporaryName(L"C:/c/a.tmp"));
    EXPECT_EQ(L"C:\\c.d\\x.TMP", SafeSaveTemporaryName(L"C:\\c.d\\x"));
    EXPECT_EQ(L"s.ini.TMP", SafeSaveTemporaryName(L"s.ini"));
    EXPECT_EQ(L"C:\\c\\ini$$999.TMP", NumberedTemporaryName(L"C:\\c\\s.ini", 999));
    EXPECT_EQ(L"ini$$7.TMP", NumberedTemporaryName(L"s.ini", 7));
    EXPECT_EQ(L"C:ini$$1.TMP", NumberedTemporaryName(L"C:s.ini", 1));
}

}  // namespace
}  // namespace orvik::pkgshared
