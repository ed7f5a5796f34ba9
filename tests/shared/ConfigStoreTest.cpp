#include <gtest/gtest.h>

#include "shared/ConfigStore.h"
#include "shared/ConfigStoreNames.h"

namespace orvik::pkgshared {
namespace {

std::string Text(const ConfigStore& store) {
    std::string text;
    EXPECT_EQ(0, store.WriteTo([&text](const std::string& line) {
        text += line + "\n";
        return 0;
    }));
    return text;
}

TEST(ConfigStoreTest, RewritesWhatItReadWithKeptLines) {
    ConfigStore store;
    const std::string text =
        "; leading comment\n"
        "top=1\n"
        "[Settings]\n"
        "disablelogging = true\n"
        "not a setting\n"
        "\n"
        "[Other]\n"
        "a=b\n";
    store.LoadText(text);
    EXPECT_EQ(
        "; leading comment\ntop=1\n[Settings]\ndisablelogging=true\nnot a setting\n\n"
        "[Other]\na=b\n",
        Text(store));
    EXPECT_EQ("1", store.GetValue("", "top"));
    EXPECT_EQ("true", store.GetValue("settings", "DisableLogging"));
}

TEST(ConfigStoreTest, RepeatedSectionHeadersContinueTheEarlierSection) {
    ConfigStore store;
    store.LoadText("[A]\r\nx=1\r\n[B]\r\ny=2\r\n[ a ]\r\nz=3\r\n");
    EXPECT_EQ("[A]\nx=1\nz=3\n[B]\ny=2\n", Text(store));
    EXPECT_EQ("3", store.GetValue("A", "z"));
}

TEST(ConfigStoreTest, CaseSensitiveNamesKeepSectionsAndKeysApart) {
    ConfigStore::Options options;
    options.caseSensitiveNames = true;
    ConfigStore store(options);
    store.LoadText("[A]\nkey=1\n[a]\nKey=2\n[ A]\nk=3\n");
    // Header names are trimmed when read, so "[ A]" continues "[A]".
    EXPECT_EQ("[A]\nkey=1\nk=3\n[a]\nKey=2\n", Text(store));
    EXPECT_EQ("1", store.GetValue("A", "key"));
    EXPECT_EQ(std::nullopt, store.GetValue("A", "Key"));
    EXPECT_EQ("2", store.GetValue("a", "Key"));
}

TEST(ConfigStoreTest, ReadOptionsApplyWhileLoading) {
    ConfigStore::Options options;
    options.read = ini::kKeepEmptyValues | ini::kColonSeparator;
    ConfigStore store(options);
    store.LoadText("[s]\nempty =\na := b\n");
    EXPECT_EQ("", store.GetValue("s", "empty"));
    EXPECT_EQ("b", store.GetValue("s", "a"));

    ConfigStore plain;
    plain.LoadText("[s]\nempty =\na := b\n");
    EXPECT_EQ(std::nullopt, plain.GetValue("s", "empty"));
    EXPECT_EQ("b", plain.GetValue("s", "a :"));
}

TEST(ConfigStoreTest, SetAndRemoveValues) {
    ConfigStore store;
    store.LoadText("[s]\nk=1\nk=2\n");
    store.SetValue("S", "K", "9");
    EXPECT_EQ("9", store.GetValue("s", "k"));
    store.SetValue("new", "x", "y");
    store.SetValue("", "g", "h");
    EXPECT_EQ("[s]\nk=9\nk=2\n[new]\nx=y\ng=h\n", Text(store));
    EXPECT_EQ((std::vector<std::string>{"k", "k"}), store.Keys("S"));
    EXPECT_TRUE(store.Keys("none").empty());
    EXPECT_TRUE(store.RemoveValue("s", "k"));
    EXPECT_FALSE(store.RemoveValue("s", "k"));
    EXPECT_FALSE(store.RemoveValue("missing", "k"));
    EXPECT_EQ(std::nullopt, store.GetValue("s", "k"));
}

TEST(ConfigStoreNamesTest, SafeSaveTemporaryNames) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
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
    };
    for (const auto& [target, expected] : cases) {
        EXPECT_EQ(std::wstring(expected), ini::SafeSaveTemporaryName(target));
    }
    const std::wstring fits = L"C:\\" + std::wstring(252, L'x');  // 255 + ".TMP" = 259
    EXPECT_EQ(fits + L".TMP", ini::SafeSaveTemporaryName(fits));
    EXPECT_EQ(std::nullopt, ini::SafeSaveTemporaryName(fits + L"x"));
}

TEST(ConfigStoreNamesTest, NumberedTemporaryNames) {
    EXPECT_EQ(L"C:\\cfg\\ini$$0.TMP", ini::NumberedTemporaryName(L"C:\\cfg\\settings.ini", 0));
    EXPECT_EQ(L"C:\\cfg\\ini$$999.TMP", ini::NumberedTemporaryName(L"C:\\cfg\\s.ini", 999));
    EXPECT_EQ(L"ini$$7.TMP", ini::NumberedTemporaryName(L"settings.ini", 7));
    EXPECT_EQ(L"C:ini$$1.TMP", ini::NumberedTemporaryName(L"C:settings.ini", 1));
    EXPECT_EQ(std::nullopt,
              ini::NumberedTemporaryName(L"C:\\" + std::wstring(250, L'd') + L"\\s.ini", 0));
}

}  // namespace
}  // namespace orvik::pkgshared
