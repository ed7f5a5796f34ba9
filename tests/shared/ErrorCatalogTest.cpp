#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <utility>
#include <vector>

#include "shared/ErrorCatalog.h"
#include "shared/ErrorMessage.h"
#include "shared/UiLanguage.h"

namespace orvik::pkgshared {
namespace {

// The catalog's code ranges, both ends included, highest first.
const std::pair<int, int> kRanges[] = {
    {-125000, -125006}, {-125008, -125020}, {-125022, -125022}, {-125024, -125033},
    {-125035, -125041}, {-125043, -125045}, {-125047, -125131}, {-125200, -125251},
    {-125300, -125306}, {-125401, -125426}, {-125430, -125442}, {-125444, -125448},
    {-125450, -125467}, {-125470, -125473}, {-125480, -125485}, {-125490, -125501},
    {-125510, -125514}, {-125520, -125523}, {-125530, -125532}, {-125540, -125542},
    {-125550, -125553}, {-125560, -125561}, {-125570, -125570}, {-125600, -125600},
    {-125620, -125620}, {-125700, -125706}, {-125711, -125752}, {-125800, -125820},
    {-125900, -125909}, {-125950, -125951}, {-126000, -126036}, {-126095, -126117},
    {-126200, -126231}, {-126300, -126322}, {-126350, -126359}, {-126400, -126403},
};

std::vector<int> ExpectedCodes() {
    std::vector<int> codes;
    for (const auto& [first, last] : kRanges) {
        for (int code = first; code >= last; --code) {
            codes.push_back(code);
        }
    }
    return codes;
}

std::set<std::wstring> Placeholders(const std::wstring& text) {
    static const std::wregex placeholder(L"%[1-4]%");
    std::set<std::wstring> found;
    for (std::wsregex_iterator it(text.begin(), text.end(), placeholder), end; it != end; ++it) {
        found.insert(it->str());
    }
    return found;
}

TEST(ErrorCatalogTest, HoldsEveryCodeOnceInFallingOrder) {
    const std::vector<int> expected = ExpectedCodes();
    ASSERT_EQ(504u, expected.size());
    ASSERT_EQ(expected.size(), kErrorCatalogSize);
    for (size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(expected[i], kErrorCatalog[i].code) << "record " << i;
    }
    const CatalogRecord& end = kErrorCatalog[kErrorCatalogSize];
    EXPECT_EQ(0, end.code);
    for (const wchar_t* text : end.texts) {
        EXPECT_EQ(nullptr, text);
    }
}

TEST(ErrorCatalogTest, EveryRecordHasSixTextsWithTheEnglishPlaceholders) {
    for (size_t i = 0; i < kErrorCatalogSize; ++i) {
        const CatalogRecord& record = kErrorCatalog[i];
        const std::set<std::wstring> english = Placeholders(record.texts[0]);
        for (int language = 0; language < kCatalogLanguageCount; ++language) {
            const std::wstring text = record.texts[language];
            EXPECT_FALSE(text.empty()) << record.code << " language " << language;
            EXPECT_EQ(english, Placeholders(text)) << record.code << " language " << language;
            if (language > 0) {
                EXPECT_NE(std::wstring(record.texts[0]), text)
                    << record.code << " language " << language << " is not translated";
            }
        }
    }
}

TEST(ErrorCatalogTest, EveryTextFormatsWithArguments) {
    for (size_t i = 0; i < kErrorCatalogSize; ++i) {
        for (const wchar_t* text : kErrorCatalog[i].texts) {
            const std::wstring formatted = FormatMessageText(text, L"A1", L"A2", L"A3", L"A4");
            EXPECT_FALSE(formatted.empty()) << kErrorCatalog[i].code;
            EXPECT_EQ(std::wstring::npos, formatted.find(L'%')) << kErrorCatalog[i].code;
        }
    }
}

TEST(ErrorCatalogTest, CodesTheSystemRaisesHaveTheirEnglishTexts) {
    const std::pair<int, const wchar_t*> texts[] = {
        {-125024, L"Error '%2%' occurred while opening file '%1%'. Error details: %3%"},
        {-125026,
         L"An error occurred while trying to extract the contents of the file archive: %1%"},
        {-125029, L"Request cannot be completed because the user cancelled the request."},
        {-125033,
         L"Error '%1%' occurred when trying to create a unique temp directory path using the "
         L"pattern `%2%`."},
        {-125035, L"Attribute '%1%' has a value '%2%' that is not a valid boolean."},
        {-125036, L"Attribute '%1%' has a value '%2%' that is not a valid number or out of range."},
        {-125048,
         L"Access denied. Make sure you have permission to read from this source file or its "
         L"parent folder: '%1%'."},
        {-125069, L"The specified setting is not configurable (%1%)"},
        {-125098,
         L"Error '%1%' occurred while trying to create the directory '%2%'. Error details: %3%"},
        {-125099,
         L"Error '%1%' occurred while trying to copy the file '%2%' to '%3%'. Error details: %4%"},
        {-125114, L"Error '%1%' occurred when trying to get the path to the current module."},
        {-125115, L"Error '%1%' occurred when trying to get the path to the temp directory."},
        {-125121,
         L"Unable to write a file or directory. The storage device is out of available space."},
        {-125126,
         L"The specified path to the configuration file is too long. Ensure that the path does not "
         L"exceed 259 characters."},
        {-125200,
         L"An error occurred because of a bad input parameter '%1%' with value '%2%' in method "
         L"'%3%'."},
        {-125202, L"An unknown error occurred."},
        {-125213, L"An unexpected error occurred while calling libarchive '%1%' (%2%)."},
        {-125227,
         L"Unable to write to the configuration at '%1%'. Do you have access to this location?"},
        {-125235, L"Cannot load the configuration settings. Specify a valid configuration file."},
        {-125246,
         L"An error occurred processing Windows events. The operation '%1%' had a failed condition "
         L"'%2%'. The value of '%3%' was: %4%"},
        {-125553, L"Error '%1%' occurred while calling Windows function '%2%'."},
        {-126300,
         L"The system requires a reboot. You will need to resume installation of Orvik Package "
         L"Manager once the reboot is complete. Click OK to reboot now."},
        {-126304,
         L"An error occurred when launching the following required file: '%1%'. The installer "
         L"might be corrupted. Try redownloading the installer or using a new media distribution."},
        {-126305,
         L"Automatic reboot failed. Please reboot your system manually and then resume "
         L"installation of Orvik Package Manager."},
        {-126306, L"You must have elevated privileges in order to install Orvik Package Manager."},
        {-126308, L"Error '%1%' occurred when installing Orvik Package Manager."},
        {-126309, L"Error '%1%' occurred when launching Orvik Package Manager."},
        {-126312,
         L"Error '%1%' occurred when loading online installation information. Error details: %2%"},
        {-126313,
         L"Cannot load the online installation information. Schema version `%1%` must be less than "
         L"or equal to `%2%`."},
        {-126314,
         L"Cannot load the online installation information. Element `%1%` is missing from `%2%`."},
        {-126315,
         L"Error '%1%' occurred when reading resource `%2%` from the installation executable."},
        {-126316, L"Cannot extract the payload. The data resource is empty or missing."},
        {-126317,
         L"Error '%1%' occurred when extracting the payload. The payload could not be saved to "
         L"disk: %2%"},
        {-126318,
         L"The command-line includes one or more obsolete options. Remove '%1%' from the "
         L"command-line and reinstall."},
        {-126319,
         L"Error '%1%' occurred when starting the thread to call the main worker thread "
         L"procedure."},
        {-126320, L"Error '%1%' occurred when registering window class '%2%'."},
        {-126321, L"Error '%1%' occurred when unregistering window class '%2%'."},
        {-126322,
         L"Error '%1%' occurred when creating a window of window class '%2%' with window title "
         L"'%3%'."},
        {-126359, L"This installer requires Windows 10 64-bit (version 1607) or newer."},
    };
    for (const auto& [code, text] : texts) {
        EXPECT_EQ(std::wstring(text), GetCatalogText(code, 1033)) << code;
    }
}

TEST(ErrorCatalogTest, LanguageIsChosenByTheExactIdentifier) {
    EXPECT_EQ(CatalogLanguage::English, CatalogLanguageFor(1033));
    EXPECT_EQ(CatalogLanguage::French, CatalogLanguageFor(1036));
    EXPECT_EQ(CatalogLanguage::German, CatalogLanguageFor(1031));
    EXPECT_EQ(CatalogLanguage::Japanese, CatalogLanguageFor(1041));
    EXPECT_EQ(CatalogLanguage::Korean, CatalogLanguageFor(1042));
    EXPECT_EQ(CatalogLanguage::SimplifiedChinese, CatalogLanguageFor(2052));
    for (const std::uint16_t regional : {3079, 3084, 2057, 4100, 1028, 7, 12, 0x7C04}) {
        EXPECT_EQ(CatalogLanguage::English, CatalogLanguageFor(regional)) << regional;
    }

    const CatalogRecord& record = kErrorCatalog[0];
    EXPECT_EQ(record.texts[2], GetCatalogText(record.code, 1031));
    EXPECT_EQ(record.texts[0], GetCatalogText(record.code, 3079));
    EXPECT_EQ(record.texts[1], GetCatalogText(record.code, 1036));
    EXPECT_EQ(record.texts[0], GetCatalogText(record.code, 3084));
    EXPECT_EQ(record.texts[5], GetCatalogText(record.code, 2052));
}

TEST(ErrorCatalogTest, LanguageZeroMeansTheThreadsLanguage) {
    const int column = static_cast<int>(CatalogLanguageFor(CurrentUiLanguage()));
    EXPECT_EQ(kErrorCatalog[3].texts[column], GetCatalogText(kErrorCatalog[3].code, 0));
}

TEST(ErrorCatalogTest, CodesWithoutTextFallBackToTheirNumber) {
    EXPECT_EQ(L"Error: -125007", GetCatalogText(-125007, 1033));
    EXPECT_EQ(L"Error: -125034", GetCatalogText(-125034, 1041));
    EXPECT_EQ(L"Error: -125999", GetCatalogText(-125999, 0));
    EXPECT_EQ(L"Error: 0", GetCatalogText(0, 1033));
    EXPECT_EQ(L"Error: 5", GetCatalogText(5, 1033));
    EXPECT_EQ(L"Error: -126404", GetCatalogText(-126404, 2052));
}

}  // namespace
}  // namespace orvik::pkgshared
