#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>

#include <boost/filesystem.hpp>
#include <boost/filesystem/fstream.hpp>

#include "shared/ErrorMessage.h"
#include "shared/ExceptionFamily.h"
#include "shared/ExceptionReport.h"

namespace orvik::pkgshared {
namespace {

namespace fs = boost::filesystem;

std::wstring ToLines(std::initializer_list<std::wstring> lines) {
    std::wstring out;
    for (const std::wstring& line : lines) {
        out += line + L"\n";
    }
    return out;
}

std::wstring Block(const Exception& e) {
    return ToLines({std::to_wstring(e.GetErrorCode()) + L": " +
                        FormatErrorMessage(e.GetErrorCode(), 0, e.GetMessageArgument0(),
                                           e.GetMessageArgument1(), e.GetMessageArgument2(),
                                           e.GetMessageArgument3()),
                    L"File: " + std::wstring(e.GetSourceFile()),
                    L"Line number: " + std::to_wstring(e.GetLineNumber())});
}

TEST(WriteExceptionDetailsTest, WritesInnerExceptionsDepthFirstUnderOneHeading) {
    const Exception grandchild(-125553, L"5", L"CreateDirectoryW", L"source\\c", 3);
    Exception first(-125098, L"5", L"C:\\logs", L"denied", L"source\\b", 2);
    first.AddInnerException(grandchild);
    const Exception second(-125202, L"source\\d", 4);
    Exception top(-126316, L"source\\preinstall\\PreInstallPayload", 1);
    top.AddInnerExceptions({first, second});

    std::wostringstream out;
    WriteExceptionDetails(top, out, false);
    EXPECT_EQ(Block(top) + L"\nAdditional error information:\n" + Block(first) + Block(grandchild) +
                  Block(second),
              out.str());
}

TEST(WriteExceptionDetailsTest, WithoutInnerExceptionsThereIsNoHeading) {
    const Exception e(-126316, L"source\\preinstall\\PreInstallPayload", 77);
    std::wostringstream out;
    WriteExceptionDetails(e, out, false);
    EXPECT_EQ(Block(e), out.str());
    EXPECT_EQ(std::wstring::npos, out.str().find(L"Additional"));
}

TEST(ExceptionReportTest, ReportLinesInOrder) {
    const Exception e(-126316, L"source\\preinstall\\PreInstallPayload", 120);
    EXPECT_EQ(
        L"\n===== 2026-Nov-15 01:17:14 =====\nException in PreInstall::ReportError. "
        L"Error code: -126316\n" +
            Block(e),
        BuildExceptionReport(L"PreInstall::ReportError", e, L"", L"2026-Nov-15 01:17:14"));
    EXPECT_EQ(
        L"\n===== T =====\nException in W. Error code: -126316\nPreinstall threw an "
        L"exception\n" +
            Block(e),
        BuildExceptionReport(L"W", e, L"Preinstall threw an exception", L"T"));
}

TEST(ExceptionReportTest, TimestampIsTheSimpleLocalForm) {
    const std::wregex simple(
        L"\\d{4}-(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec)-\\d{2} "
        L"\\d{2}:\\d{2}:\\d{2}(\\.\\d{6})?");
    for (int i = 0; i < 5; ++i) {
        const std::wstring stamp = LocalTimestamp();
        EXPECT_TRUE(std::regex_match(stamp, simple)) << stamp.size();
        if (stamp.size() > 20) {
            EXPECT_NE(L"000000", stamp.substr(stamp.size() - 6));  // zero fraction is not shown
        }
    }
}

// A scratch folder of the test's own, removed afterwards.
class ReportExceptionTest : public testing::Test {
protected:
    void SetUp() override {
        root_ = fs::temp_directory_path() / fs::unique_path(L"orvik-report-%%%%-%%%%");
    }
    void TearDown() override {
        boost::system::error_code ignored;
        fs::remove_all(root_, ignored);
    }
    static std::string ReadBytes(const fs::path& file) {
        fs::ifstream in(file, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    fs::path root_;
};

TEST_F(ReportExceptionTest, CreatesTheDirectoryAndAppendsUtf8) {
    const fs::path logs = root_ / L"a" / L"b";
    const Exception e(-126317, L"5", L"\u65E5\u672C\u8A9E", L"source\\x", 9);
    ReportException(L"First", e, L"", logs.wstring());
    ReportException(L"Second", e, L"extra", logs.wstring());

    const std::string bytes = ReadBytes(logs / L"errorlog.txt");
    const size_t first = bytes.find("Exception in First. Error code: -126317\r\n");
    const size_t second = bytes.find("Exception in Second. Error code: -126317\r\nextra\r\n");
    EXPECT_NE(std::string::npos, first);
    EXPECT_NE(std::string::npos, second);
    EXPECT_LT(first, second);
    EXPECT_NE(std::string::npos, bytes.find("\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E"));
    EXPECT_EQ(0u, bytes.rfind("\r\n===== ", 0));       // starts with the empty line
    EXPECT_EQ(std::string::npos, bytes.find("\n\n"));  // every line end is CRLF
}

TEST_F(ReportExceptionTest, DirectoryThatCannotBeMadeRaises) {
    fs::create_directories(root_);
    const fs::path blocker = root_ / L"file";
    fs::ofstream(blocker) << "x";
    const fs::path logs = blocker / L"logs";
    try {
        ReportException(L"W", Exception(-125202, L"s", 1), L"", logs.wstring());
        FAIL() << "nothing was thrown";
    } catch (const CouldNotCreateDirectoryException& e) {
        EXPECT_EQ(-125098, e.GetErrorCode());
        EXPECT_NE(L"0", e.GetMessageArgument0());
        EXPECT_EQ(logs.wstring(), e.GetMessageArgument1());
        EXPECT_FALSE(e.GetMessageArgument2().empty());
        EXPECT_STREQ(L"source\\shared\\ExceptionReport", e.GetSourceFile());
    }
}

}  // namespace
}  // namespace orvik::pkgshared
