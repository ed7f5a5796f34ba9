#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "shared/ErrorCatalog.h"
#include "shared/ErrorMessage.h"
#include "shared/SystemErrorMessage.h"
#include "shared/TextConversion.h"
#include "shared/UiLanguage.h"

namespace orvik::pkgshared {
namespace {

std::set<std::wstring> Placeholders(const std::wstring& text) {
    static const std::wregex placeholder(L"%[1-4]%");
    std::set<std::wstring> found;
    for (std::wsregex_iterator it(text.begin(), text.end(), placeholder), end; it != end; ++it) {
        found.insert(it->str());
    }
    return found;
}

TEST(ErrorCatalogTest, RecordsAreWellFormedAndTerminated) {
    for (size_t i = 0; i < kErrorCatalogSize; ++i) {
        const CatalogRecord& record = kErrorCatalog[i];
        SCOPED_TRACE(record.code);
        EXPECT_LT(record.code, i == 0 ? 0 : kErrorCatalog[i - 1].code);  // unique, falling
        for (int language = 0; language < kCatalogLanguageCount; ++language) {
            ASSERT_NE(nullptr, record.texts[language]) << language;
            const std::wstring text = record.texts[language];
            EXPECT_EQ(Placeholders(record.texts[0]), Placeholders(text)) << language;
            EXPECT_TRUE(language == 0 || text != record.texts[0]) << language << " untranslated";
            const std::wstring formatted = FormatMessageText(text, L"A1", L"A2", L"A3", L"A4");
            EXPECT_FALSE(formatted.empty()) << language;
            EXPECT_EQ(std::wstring::npos, formatted.find(L'%')) << language;
        }
    }
    const CatalogRecord& end = kErrorCatalog[kErrorCatalogSize];
    EXPECT_EQ(0, end.code);
    for (const wchar_t* text : end.texts) {
        EXPECT_EQ(nullptr, text);
    }
}

const CatalogRecord* Find(std::int32_t code) {
    for (size_t i = 0; i < kErrorCatalogSize; ++i) {
        if (kErrorCatalog[i].code == code) {
            return &kErrorCatalog[i];
        }
    }
    return nullptr;
}

// The catalog text of `code` in `language`; column -1: not in the catalog.
TEST(ErrorCatalogTest, LookUpByCodeAndExactLanguage) {
    const int ui = static_cast<int>(CatalogLanguageFor(CurrentUiLanguage()));
    const struct {
        std::int32_t code;
        std::uint16_t language;
        int column;
    } rows[] = {{-125000, 1033, 0},  {-126403, 1036, 1},   {-125553, 1031, 2}, {-125553, 1041, 3},
                {-125553, 1042, 4},  {-125553, 2052, 5},   {-125000, 3079, 0}, {-125000, 3084, 0},
                {-125000, 2057, 0},  {-125000, 4100, 0},   {-125000, 1028, 0}, {-125000, 7, 0},
                {-125000, 12, 0},    {-125000, 0x7C04, 0}, {-125003, 0, ui},   {-125007, 1033, -1},
                {-125034, 1041, -1}, {-125999, 0, -1},     {0, 1033, -1},      {5, 1033, -1},
                {-126404, 2052, -1}, {-124999, 1033, -1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.code << " in " << row.language);
        const CatalogRecord* record = Find(row.code);
        ASSERT_EQ(row.column >= 0, record != nullptr);
        EXPECT_EQ(row.column >= 0 ? std::wstring(record->texts[row.column])
                                  : L"Error: " + std::to_wstring(row.code),
                  GetCatalogText(row.code, row.language));
    }
}

// A message from a catalog code (text null) or from a given text.
TEST(ErrorMessageTest, FillsPlaceholdersAndRejectsMalformedTexts) {
    const struct {
        std::wstring text;
        std::int32_t code;
        std::wstring args[4];
        std::wstring expected;
    } rows[] = {
        {L"",
         -125553,
         {L"5", L"CreateFileW", L"extra", L"more"},
         L"Error '5' occurred while calling Windows function 'CreateFileW'."},
        {L"",
         -125098,
         {L"183"},
         L"Error '183' occurred while trying to create the directory ''. Error details: "},
        {L"",
         -125099,
         {L"32", L"a", L"b", L"busy"},
         L"Error '32' occurred while trying to copy the file 'a' to 'b'. Error details: busy"},
        {L"", -125202, {L"ignored"}, L"An unknown error occurred."},
        {L"", -126308, {L"%2%"}, L"Error '%2%' occurred when installing Orvik Package Manager."},
        {L"", -125007, {L"a"}, L"Error: -125007"},
        {L"only %2%", 0, {L"a", L"b", L"c", L"d"}, L"only b"},
        {L"%2% before %1%", 0, {L"a", L"b"}, L"b before a"},
        {L"%4%", 0, {L"a", L"b", L"c", L"d"}, L"d"},
        {L"100%%", 0, {}, L"100%"},
        {L"broken %", 0, {L"a"}, L""},
        {L"%5%", 0, {L"a", L"b", L"c", L"d"}, L""},
        {L"%1% and %|", 0, {L"a"}, L""},
        // Oversized directive numbers (an overflow, and padding to gigabytes).
        {L"%2222222222222222222222222 %%", 0, {L"a"}, L""},
        {L"%|-999999999|", 0, {L"a"}, L""},
        {L"%12345%", 0, {L"a"}, L""},
        {L"%|-1001|", 0, {L"a"}, L"a" + std::wstring(1000, L' ')},
        {L"12345678901 %1%", 0, {L"a"}, L"12345678901 a"},
        // Only "%N%", "%|width|" and "%%" are directives.
        {Utf8ToWide("T%T%%\x9au"), 0, {L"a"}, L""},
        {L"%s and %1%", 0, {L"a"}, L""},
        {L"%1$s", 0, {L"a"}, L""},
        {L"%|-5x|", 0, {L"a"}, L""},
        {L"%|-3||5%%", 0, {L"a"}, L"a  |5%"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.code << " " << WideToUtf8(row.text));
        const auto& [a, b, c, d] = row.args;
        EXPECT_EQ(row.expected, row.text.empty() ? FormatErrorMessage(row.code, 1033, a, b, c, d)
                                                 : FormatMessageText(row.text, a, b, c, d));
    }
    const std::wstring german = FormatErrorMessage(-126318, 1031, L"/q");
    EXPECT_EQ(FormatMessageText(Find(-126318)->texts[2], L"/q", L"", L"", L""), german);
    EXPECT_NE(std::wstring::npos, german.find(L"/q"));
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
