#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "shared/ConfigStore.h"
#include "shared/ConfigStoreNames.h"
#include "shared/IniEntryWriter.h"
#include "shared/IniGrammar.h"

namespace orvik::pkgshared {
namespace {

using namespace ini;
using Lines = std::vector<std::string>;

TEST(IniGrammarTest, ClassifiesLines) {
    constexpr unsigned E = kKeepEmptyValues, C = kColonSeparator;
    constexpr LineKind blank = LineKind::Blank, note = LineKind::Comment,
                       section = LineKind::Section, pair = LineKind::KeyValue,
                       none = LineKind::Unrecognised;
    const struct {
        const char* line;
        unsigned options;
        LineKind kind;
        const char* first;   // section name or key
        const char* second;  // value
    } rows[] = {{"", 0, blank, "", ""},
                {" \t ", 0, blank, "", ""},
                {"; comment", 0, note, "", ""},
                {"   ;indented=1", 0, note, "", ""},
                {"[settings]", 0, section, "settings", ""},
                {"  [  Settings Two  ]  trailing", 0, section, "Settings Two", ""},
                {"[ ]", 0, none, "", ""},
                {"[]", 0, none, "", ""},
                {"[name", 0, none, "", ""},
                {"key=value", 0, pair, "key", "value"},
                {"  key  =  value with  blanks \t", 0, pair, "key", "value with  blanks"},
                {"a=b=c", 0, pair, "a", "b=c"},
                {"key   =", 0, none, "", ""},
                {"key   =", E, pair, "key", ""},
                {"key =   ", E, pair, "key", ""},
                {"=value", E, none, "", ""},
                {"   = value", 0, none, "", ""},
                {"no separator", 0, none, "", ""},
                {"a:b", 0, none, "", ""},
                {"a:b", C, pair, "a", "b"},
                {"a := b", C, pair, "a", "b"},
                {"a := b", 0, pair, "a :", "b"},
                {"a:b=c", C, pair, "a", "b=c"},
                {"url=http://host", C, pair, "url", "http://host"},
                {"a:", C, none, "", ""},
                {"a:=", C | E, pair, "a", ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << "'" << row.line << "' options " << row.options);
        const ParsedLine parsed = ParseLine(row.line, row.options);
        EXPECT_EQ(row.kind, parsed.kind);
        if (row.kind == LineKind::Section) {
            EXPECT_EQ(row.first, parsed.name);
        } else if (row.kind == LineKind::KeyValue) {
            EXPECT_EQ(row.first, parsed.key);
            EXPECT_EQ(row.second, parsed.value);
        }
    }
    const std::tuple<const char*, const char*, bool, bool> names[] = {
        {" Settings ", "settings", false, true}, {"A b", "a B", false, true},
        {"settings", "setting", false, false},   {"a b", "ab", false, false},
        {"Settings", "Settings", true, true},    {"Settings", "settings", true, false},
        {" settings", "settings", true, false}};
    for (const auto& [a, b, caseSensitive, match] : names) {
        EXPECT_EQ(match, SectionNamesMatch(a, b, caseSensitive)) << a << "|" << b;
    }
}

// An entry written under a line limit (0: none); a writer that fails at line
// `failAt` returns -28.
TEST(IniEntryWriterTest, WritesSplitsAndStops) {
    const IniEntry commented{"key", "value", {"; first", "; second"}, '\0'};
    const IniEntry tooLong{"LongKeyName", "value that is too long", {"; c"}, '"'};
    const IniEntry alphabet{"Path", "abcdefghijklmnopqrstuvwxyz", {"; c"}, '\0'};
    Lines oneEach;
    for (size_t i = 0; i < tooLong.value.size(); ++i) {
        oneEach.push_back("LongKeyName Line00" + std::string(i < 9 ? "0" : "") +
                          std::to_string(i + 1) + "=\"" + tooLong.value[i] + "\"");
    }
    struct Row {
        IniEntry entry;
        unsigned options;
        size_t limit;
        Lines expected;
        int result = 0;
        char split = '\0';
        int failAt = -1;
    };
    // Chunks of 30 - 4 - 12 = 14, of 28 - 4 - 12 - 2 = 10 (lines exactly 28
    // long), and of 10 ending after their last ';'. For "LongKeyName" 25 is
    // exactly the overhead 11 + 12 + 2; one more leaves chunks of one.
    const Row rows[] = {
        {commented, 0, 0, {"key=value"}},
        {commented, kSpacedSeparator, 0, {"key = value"}},
        {commented, kWriteComments, 0, {"; first", "; second", "key=value"}},
        {{"key", "value", {}, '"'}, kSpacedSeparator, 0, {"key = \"value\""}},
        {{"key", "", {}, '"'}, 0, 0, {"key=\"\""}},
        {{"Path", std::string(20, 'x'), {}, '\0'}, 0, 25, {"Path=" + std::string(20, 'x')}},
        {{"Path", "abcdefghijklmnopqrstuvwxyz0123", {}, '\0'},
         0,
         30,
         {"Path Line0001=abcdefghijklmn", "Path Line0002=opqrstuvwxyz01", "Path Line0003=23"}},
        {{"Path", "abcdefghijklmnopqrst", {}, '\''},
         kSpacedSeparator,
         28,
         {"Path Line0001 = 'abcdefghij'", "Path Line0002 = 'klmnopqrst'"}},
        {{"P", "aa;bbb;cccc;d;eeeeeeeeeeeee", {}, '\0'},
         0,
         23,
         {"P Line0001=aa;bbb;", "P Line0002=cccc;d;", "P Line0003=eeeeeeeeee", "P Line0004=eee"},
         0,
         ';'},
        {tooLong, kWriteComments, 25, {}, kValueCannotBeSplit},
        {tooLong, 0, 25, {}, kValueCannotBeSplit},
        {tooLong, 0, 26, oneEach},
        {alphabet, kWriteComments, 26, {"; c", "Path Line0001=abcdefghij"}, -28, '\0', 2},
        {alphabet, kWriteComments, 0, {}, -28, '\0', 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.entry.key << " limit " << row.limit);
        Lines lines;
        EXPECT_EQ(row.result, WriteEntry(row.entry, row.options, row.limit, row.split,
                                         [&](const std::string& line) {
                                             if (static_cast<int>(lines.size()) == row.failAt) {
                                                 return -28;
                                             }
                                             lines.push_back(line);
                                             return 0;
                                         }));
        EXPECT_EQ(row.expected, lines);
    }
}

std::string Text(const ConfigStore& store) {
    std::string text;
    EXPECT_EQ(0, store.WriteTo([&text](const std::string& line) {
        text += line + "\n";
        return 0;
    }));
    return text;
}

// Text read with options, written back, and values looked up.
TEST(ConfigStoreTest, RewritesWhatItReadAndLooksValuesUp) {
    using Lookup = std::tuple<const char*, const char*, std::optional<std::string>>;
    const struct {
        unsigned read;
        bool caseSensitive;
        const char* text;
        const char* written;
        std::vector<Lookup> lookups;
    } rows[] = {{0,
                 false,
                 "; leading comment\ntop=1\n[Settings]\ndisablelogging = true\nnot a "
                 "setting\n\n[Other]\na=b\n",
                 "; leading comment\ntop=1\n[Settings]\ndisablelogging=true\nnot a "
                 "setting\n\n[Other]\na=b\n",
                 {{"", "top", "1"}, {"settings", "DisableLogging", "true"}, {"Other", "top", {}}}},
                // A repeated header continues the earlier section.
                {0,
                 false,
                 "[A]\r\nx=1\r\n[B]\r\ny=2\r\n[ a ]\r\nz=3\r\n",
                 "[A]\nx=1\nz=3\n[B]\ny=2\n",
                 {{"A", "z", "3"}, {"B", "z", {}}}},
                // Header names are trimmed when read, so "[ A]" continues "[A]".
                {0,
                 true,
                 "[A]\nkey=1\n[a]\nKey=2\n[ A]\nk=3\n",
                 "[A]\nkey=1\nk=3\n[a]\nKey=2\n",
                 {{"A", "key", "1"}, {"A", "Key", {}}, {"a", "Key", "2"}, {"a", "key", {}}}},
                {kKeepEmptyValues | kColonSeparator,
                 false,
                 "[s]\nempty =\na := b\n",
                 "[s]\nempty=\na=b\n",
                 {{"s", "empty", ""}, {"s", "a", "b"}}},
                {0,
                 false,
                 "[s]\nempty =\na := b\n",
                 "[s]\nempty =\na :=b\n",
                 {{"s", "empty", {}}, {"s", "a :", "b"}, {"s", "a", {}}}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        ConfigStore::Options options;
        options.read = row.read;
        options.caseSensitiveNames = row.caseSensitive;
        ConfigStore store(options);
        store.LoadText(row.text);
        EXPECT_EQ(row.written, Text(store));
        for (const auto& [section, key, value] : row.lookups) {
            EXPECT_EQ(value, store.GetValue(section, key)) << section << "/" << key;
        }
    }
}

TEST(ConfigStoreTest, SetAndRemoveValues) {
    ConfigStore store;
    store.LoadText("[s]\nk=1\nk=2\n");
    store.SetValue("S", "K", "9");
    store.SetValue("new", "x", "y");
    store.SetValue("", "g", "h");
    EXPECT_EQ("[s]\nk=9\nk=2\n[new]\nx=y\ng=h\n", Text(store));
    EXPECT_EQ((Lines{"k", "k"}), store.Keys("S"));
    EXPECT_TRUE(store.Keys("none").empty());
    EXPECT_TRUE(store.RemoveValue("s", "k"));
    EXPECT_FALSE(store.RemoveValue("s", "k"));
    EXPECT_FALSE(store.RemoveValue("missing", "k"));
    EXPECT_EQ(std::nullopt, store.GetValue("s", "k"));
}

TEST(ConfigStoreNamesTest, TemporaryNamesFitThePathLimit) {
    const std::wstring fits = L"C:\\" + std::wstring(252, L'x');  // 255 + ".TMP" = 259
    const std::pair<std::wstring, std::optional<std::wstring>> safe[] = {
        {L"C:\\cfg\\settings.ini", L"C:\\cfg\\settings.TMP"},
        {L"C:/cfg/settings.ini", L"C:/cfg/settings.TMP"},
        {L"C:\\cfg\\a.TMP", L"C:\\cfg\\a.TMP.TMP"},
        {L"C:\\cfg\\a.tmp", L"C:\\cfg\\a.TMP"},
        {L"C:\\cfg\\a.TMPX", L"C:\\cfg\\a.TMP"},
        {L"C:\\cfg\\noext", L"C:\\cfg\\noext.TMP"},
        {L"C:\\cfg.d\\noext", L"C:\\cfg.d\\noext.TMP"},
        {L"C:\\cfg\\.ini", L"C:\\cfg\\.TMP"},
        {L"settings.ini", L"settings.ini.TMP"},
        {L"settings", L"settings.TMP"},
        {fits, fits + L".TMP"},
        {fits + L"x", std::nullopt}};
    for (const auto& [target, expected] : safe) {
        EXPECT_EQ(expected, SafeSaveTemporaryName(target)) << target.size();
    }
    const std::tuple<std::wstring, int, std::optional<std::wstring>> numbered[] = {
        {L"C:\\cfg\\settings.ini", 0, L"C:\\cfg\\ini$$0.TMP"},
        {L"C:\\cfg\\s.ini", 999, L"C:\\cfg\\ini$$999.TMP"},
        {L"settings.ini", 7, L"ini$$7.TMP"},
        {L"C:settings.ini", 1, L"C:ini$$1.TMP"},
        {L"C:\\" + std::wstring(250, L'd') + L"\\s.ini", 0, std::nullopt}};
    for (const auto& [target, n, expected] : numbered) {
        EXPECT_EQ(expected, NumberedTemporaryName(target, n)) << n;
    }
}

}  // namespace
}  // namespace orvik::pkgshared
