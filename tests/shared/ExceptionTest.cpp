#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "shared/ErrorCatalog.h"
#include "shared/ErrorMessage.h"
#include "shared/Exception.h"
#include "shared/ExceptionFamily.h"
#include "shared/ExceptionReport.h"
#include "shared/Raise.h"
#include "shared/SystemErrorMessage.h"
#include "shared/UiLanguage.h"
#include "support/ScratchDirectory.h"
#include "support/Thrown.h"

namespace orvik::pkgshared {
namespace {

using orvik::testing::ExpectError;

// Other exception classes are checked where they are raised.
TEST(ExceptionTest, ArgumentsAndSourceFile) {
    const CouldNotCopyFileException e(32, L"a", L"b", L"in use", L"i", 4);
    ExpectError(e, {-125099, {L"32", L"a", L"b", L"in use"}, L"i", 4});
    EXPECT_STREQ("Unknown exception", e.what());
    EXPECT_EQ(L"", e.GetMessageArgument(4));
    const std::wstring kept(259, L'x');
    EXPECT_EQ(kept, Exception(1, (kept + L"y").c_str(), 7).GetSourceFile());
    EXPECT_EQ(kept, Exception(1, kept.c_str(), 7).GetSourceFile());
    EXPECT_STREQ(L"", Exception(-125202, nullptr, 7).GetSourceFile());
}

TEST(ExceptionTest, OnlyAnUncodedExceptionTakesACodeOrAdoptsAnother) {
    Exception source(-125098, L"5", L"C:\\dir", L"denied", L"source\\a", 42);
    source.AddInnerException(Exception(-125553, L"source\\b", 7));
    Exception coded(-125553, L"f", 1), uncoded(0, L"f", 1), adopting(0, L"source\\c", 1);
    coded.SetErrorCodeIfUnset(-125202);
    coded.AdoptIfUnset(source);
    uncoded.SetErrorCodeIfUnset(-125202);
    adopting.AdoptIfUnset(source);
    ExpectError(coded, {-125553, {}, L"f", 1});
    EXPECT_EQ(-125202, uncoded.GetErrorInfoRecord().errorCode);
    ExpectError(adopting, {-125098, {L"5", L"C:\\dir", L"denied"}, L"source\\a", 42});
    EXPECT_EQ(1u, adopting.GetErrorInfoRecord().innerCount);
}

TEST(RaiseTest, RecordsThePathBelowTheCheckoutWithoutExtensionAndTheLine) {
    const std::pair<const char*, const wchar_t*> rows[] = {
        {"/work/main/source/shared/PathGuide.cpp", L"source\\shared\\PathGuide"},
        {"C:\\b\\source\\repo\\source\\shared\\utils\\FilePath.h",
         L"source\\shared\\utils\\FilePath"},
        {"/x/resource/y.cpp", L"\\x\\resource\\y"},
        {"source/a.b/Name", L"source\\a.b\\Name"}};
    for (const auto& [path, expected] : rows) {
        EXPECT_EQ(expected, SourceNameFromPath(path)) << path;
    }
}

// The three lines WriteExceptionDetails writes for `e`.
std::wstring Block(const Exception& e) {
    return std::to_wstring(e.GetErrorCode()) + L": " +
           FormatErrorMessage(e.GetErrorCode(), 0, e.GetMessageArgument0(), e.GetMessageArgument1(),
                              e.GetMessageArgument2(), e.GetMessageArgument3()) +
           L"\nFile: " + e.GetSourceFile() + L"\nLine number: " +
           std::to_wstring(e.GetLineNumber()) + L"\n";
}

TEST(ExceptionReportTest, DetailsAndReportLinesInOrder) {
    const Exception grandchild(-125553, L"5", L"CreateDirectoryW", L"source\\c", 3);
    Exception first(-125098, L"5", L"C:\\logs", L"denied", L"source\\b", 2);
    first.AddInnerException(grandchild);
    const Exception second(-125202, L"source\\d", 4);
    Exception top(-126316, L"source\\a", 1);
    top.AddInnerExceptions({first, second});
    const std::wstring head = L"\n===== T =====\nException in W. Error code: -126316\n";
    EXPECT_EQ(head + Block(top) + L"\nAdditional error information:\n" + Block(first) +
                  Block(grandchild) + Block(second),
              BuildExceptionReport(L"W", top, L"", L"T"));
    const Exception leaf(-126316, L"source\\e", 5);
    EXPECT_EQ(head + L"extra\n" + Block(leaf), BuildExceptionReport(L"W", leaf, L"extra", L"T"));
}

// Appends UTF-8 with CRLF line ends; a directory that cannot be made raises.
TEST(ReportExceptionTest, AppendsToTheLogOrRaises) {
    const orvik::testing::ScratchDirectory scratch;
    const Exception e(-126317, L"5", L"\u65E5", L"source\\x", 9);
    ReportException(L"First", e, L"", (scratch / L"a" / L"b").wstring());
    ReportException(L"Second", e, L"", (scratch / L"a" / L"b").wstring());
    const std::string bytes = orvik::testing::ReadBytes(scratch / L"a" / L"b" / L"errorlog.txt");
    const size_t second = bytes.find("\r\nException in Second. Error code: -126317\r\n");
    // Each report starts with the local time in the simple form, microseconds unless zero.
    EXPECT_TRUE(std::regex_search(bytes, std::regex("^\r\n===== \\d{4}-[A-Z][a-z]{2}-\\d{2} "
                                                    "\\d{2}:\\d{2}:\\d{2}(\\.\\d{6})? =====\r\n")));
    EXPECT_LT(bytes.find("\r\nException in First. Error code: -126317\r\n"), second);
    EXPECT_NE(std::string::npos, second);
    EXPECT_NE(std::string::npos, bytes.find("\xE6\x97\xA5"));
    EXPECT_EQ(std::string::npos, bytes.find("\n\n"));  // every line end is CRLF
    const std::wstring blocked = (scratch / L"a" / L"b" / L"errorlog.txt" / L"logs").wstring();
    if (const auto raised = orvik::testing::Thrown<CouldNotCreateDirectoryException>(
            [&] { ReportException(L"W", e, L"", blocked); })) {
        const std::wstring error = raised->GetMessageArgument0();
        EXPECT_EQ(-125098, raised->GetErrorCode());
        EXPECT_EQ(blocked, raised->GetMessageArgument1());
        EXPECT_EQ(GetSystemErrorMessage(std::stoul(error)), raised->GetMessageArgument2());
    }
}

// The generator refuses a catalog whose codes repeat or do not fall, or whose
// texts are missing or disagree on placeholders; the table it emits falls
// strictly and ends with a zero record. The catalog text of `code` in
// `language`; column -1: "Error: <code>".
TEST(ErrorCatalogTest, LookUpByCodeAndExactLanguage) {
    for (size_t i = 1; i < kErrorCatalogSize; ++i) {
        EXPECT_LT(kErrorCatalog[i].code, kErrorCatalog[i - 1].code) << i;
    }
    EXPECT_EQ(0, kErrorCatalog[kErrorCatalogSize].code);
    const int ui = static_cast<int>(CatalogLanguageFor(CurrentUiLanguage()));
    const std::tuple<std::int32_t, std::uint16_t, int> rows[] = {
        {-125000, 1033, 0}, {-126403, 1036, 1},  {-125553, 1031, 2}, {-125553, 1041, 3},
        {-125553, 1042, 4}, {-125553, 2052, 5},  {-125000, 3084, 0}, {-125000, 7, 0},
        {-125003, 0, ui},   {-125007, 1033, -1}, {-125999, 0, -1},   {0, 1033, -1}};
    for (const auto& [code, language, column] : rows) {
        const CatalogRecord* record = kErrorCatalog;
        while (record->code != code && record->texts[0] != nullptr) {
            ++record;
        }
        EXPECT_EQ(column >= 0 ? record->texts[column] : L"Error: " + std::to_wstring(code),
                  GetCatalogText(code, language))
            << code << " in " << language;
    }
}

// Only "%N%", "%|flags width|" (at most 4 digits) and "%%" format; else nothing does.
TEST(ErrorMessageTest, FillsPlaceholdersAndRejectsMalformedTexts) {
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {{L"%2% before %1%", L"b before a"},
                                                              {L"only %4%", L"only d"},
                                                              {L"100%%", L"100%"},
                                                              {L"%|-3||5%%", L"a  |5%"}};
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(expected, FormatMessageText(text, L"a", L"b", L"c", L"d")) << text;
    }
    for (const wchar_t* malformed :
         {L"broken %", L"%5%", L"%1% and %|", L"%12345%", L"%|-99999|", L"%s and %1%", L"%|-5x|"}) {
        EXPECT_EQ(L"", FormatMessageText(malformed, L"a", L"b", L"c", L"d")) << malformed;
    }
    EXPECT_EQ(L"a" + std::wstring(1000, L' '), FormatMessageText(L"%|-1001|", L"a", L"", L"", L""));
    EXPECT_EQ(L"Error '5' occurred while calling Windows function 'CreateFileW'.",
              FormatErrorMessage(-125553, 1033, L"5", L"CreateFileW", L"x", L"y"));
    EXPECT_EQ(L"Error: -125007", FormatErrorMessage(-125007, 1033, L"a"));
}

}  // namespace
}  // namespace orvik::pkgshared
