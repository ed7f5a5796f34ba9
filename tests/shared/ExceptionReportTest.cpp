#include <gtest/gtest.h>

#include <regex>
#include <sstream>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/filesystem.hpp>

#include "shared/ErrorMessage.h"
#include "shared/ExceptionFamily.h"
#include "shared/ExceptionReport.h"
#include "shared/SystemErrorMessage.h"
#include "support/ScratchDirectory.h"
#include "support/Thrown.h"

namespace orvik::pkgshared {
namespace {

namespace fs = boost::filesystem;

// A raise written over two lines records its first line with GCC, its last with clang.
#ifdef __clang__
constexpr std::int32_t kLaterLine = 1;
#else
constexpr std::int32_t kLaterLine = 0;
#endif

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
    Exception top(-126316, L"source\\preinstall\\PreInstallPayload", 1);
    top.AddInnerExceptions({first, second});
    std::wostringstream nested;
    WriteExceptionDetails(top, nested, false);
    EXPECT_EQ(Block(top) + L"\nAdditional error information:\n" + Block(first) + Block(grandchild) +
                  Block(second),
              nested.str());

    const Exception e(-126316, L"source\\preinstall\\PreInstallPayload", 120);
    std::wostringstream alone;
    WriteExceptionDetails(e, alone, false);
    EXPECT_EQ(Block(e), alone.str());
    EXPECT_EQ(
        L"\n===== 2026-Nov-15 01:17:14 =====\nException in PreInstall::ReportError. "
        L"Error code: -126316\n" +
            Block(e),
        BuildExceptionReport(L"PreInstall::ReportError", e, L"", L"2026-Nov-15 01:17:14"));
    EXPECT_EQ(L"\n===== T =====\nException in W. Error code: -126316\nextra\n" + Block(e),
              BuildExceptionReport(L"W", e, L"extra", L"T"));
}

// The stamp is the local time between two readings of the clock, in the
// simple form; that form shows a fraction only when it is not zero.
TEST(ExceptionReportTest, TimestampIsTheLocalTimeInTheSimpleForm) {
    namespace pt = boost::posix_time;
    const pt::ptime before = pt::microsec_clock::local_time();
    const std::wstring stamp = LocalTimestamp();
    const pt::ptime after = pt::microsec_clock::local_time();
    const std::wregex simple(
        L"\\d{4}-(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec)-\\d{2} "
        L"\\d{2}:\\d{2}:\\d{2}(\\.\\d{6})?");
    ASSERT_TRUE(std::regex_match(stamp, simple)) << stamp.size();
    const pt::ptime stamped = pt::time_from_string(std::string(stamp.begin(), stamp.end()));
    EXPECT_LE(before, stamped);
    EXPECT_GE(after, stamped);
    EXPECT_EQ(pt::to_simple_wstring(stamped), stamp);
    const pt::ptime whole(boost::gregorian::date(2026, 11, 15), pt::time_duration(1, 17, 14));
    EXPECT_EQ(L"2026-Nov-15 01:17:14", pt::to_simple_wstring(whole));
    EXPECT_EQ(L"2026-Nov-15 01:17:14.000001", pt::to_simple_wstring(whole + pt::microseconds(1)));
}

// Appends UTF-8 with CRLF line ends, creating the directory; a directory
// that cannot be made raises with the system's error.
TEST(ReportExceptionTest, AppendsToTheLogOrRaises) {
    const orvik::testing::ScratchDirectory scratch;
    const fs::path logs = scratch / L"a";
    const Exception e(-126317, L"5", L"\u65E5\u672C\u8A9E", L"source\\x", 9);
    ReportException(L"First", e, L"", (logs / L"b").wstring());
    ReportException(L"Second", e, L"extra", (logs / L"b").wstring());
    const std::string bytes = orvik::testing::ReadBytes(logs / L"b" / L"errorlog.txt");
    const size_t first = bytes.find("Exception in First. Error code: -126317\r\n");
    const size_t second = bytes.find("Exception in Second. Error code: -126317\r\nextra\r\n");
    EXPECT_NE(std::string::npos, first);
    EXPECT_NE(std::string::npos, second);
    EXPECT_LT(first, second);
    EXPECT_NE(std::string::npos, bytes.find("\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E"));
    EXPECT_EQ(0u, bytes.rfind("\r\n===== ", 0));       // starts with the empty line
    EXPECT_EQ(std::string::npos, bytes.find("\n\n"));  // every line end is CRLF

    const std::wstring blocked = (logs / L"b" / L"errorlog.txt" / L"logs").wstring();
    const auto raised = orvik::testing::Thrown<CouldNotCreateDirectoryException>(
        [&] { ReportException(L"W", Exception(-125202, L"s", 1), L"", blocked); });
    ASSERT_TRUE(raised);
    const std::wstring error = raised->GetMessageArgument0();
    EXPECT_NE(L"0", error);
    orvik::testing::ExpectError(*raised,
                                {-125098,
                                 {error, blocked, GetSystemErrorMessage(std::stoul(error))},
                                 L"source\\shared\\ExceptionReport",
                                 29 + kLaterLine});
}

}  // namespace
}  // namespace orvik::pkgshared
