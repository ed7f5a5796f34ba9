#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>

#include "shared/ExceptionReport.h"
#include "shared/SharedSession.h"
#include "support/Fakes.h"
#include "support/RegistryFixture.h"
#include "support/ScratchDirectory.h"

namespace orvik::pkgshared {
namespace {

namespace fs = boost::filesystem;

// The session finds orvikpkg.ini through the installed package manager's
// registry "Path" and takes the logs directory from it.
class SharedSessionTest : public ::testing::Test {
protected:
    void SetUp() override {
        orvik::testing::DeleteRegistryTree(HKEY_LOCAL_MACHINE, L"Software\\Calvenna");
        orvik::testing::SetRegistryString(
            HKEY_LOCAL_MACHINE, L"Software\\Calvenna\\Orvik Package Manager\\CurrentVersion",
            L"Path", scratch_.Path().wstring(), KEY_WOW64_32KEY);
        orvik::testing::WriteBytes(scratch_ / L"orvikpkg.ini",
                                   "[Settings]\r\nlogs-directory=" + logs_.string() + "\r\n");
    }
    void TearDown() override {
        orvik::testing::DeleteRegistryTree(HKEY_LOCAL_MACHINE, L"Software\\Calvenna");
    }
    orvik::testing::ScratchDirectory scratch_;
    const fs::path logs_ = scratch_ / L"logs";
    orvik::testing::RecordingLogger logger_;
};

TEST_F(SharedSessionTest, ServicesShareTheLoadedConfiguration) {
    SharedSession session(logger_);
    EXPECT_EQ(&logger_, &session.GetLogger());
    EXPECT_EQ(logs_.wstring(), session.GetPathGuide().GetLogsDirectory());
    EXPECT_EQ(logs_.wstring(), session.GetLocalConfiguration().GetString(L"logs-directory"));
    EXPECT_EQ((scratch_ / L"orvikpkg.ini").wstring(),
              session.GetConfiguration().PackageManagerFile());
}

// The system information answers for real through the session's own
// wrappers; its time is the system clock's.
TEST_F(SharedSessionTest, OffersTheSystemInformation) {
    SharedSession session(logger_);
    OrvikPkg::SystemInfo::ISystemInformation& information = session.GetSystemInformation();
    EXPECT_EQ(&information, &session.GetSystemInformation());
    EXPECT_GT(information.GetMemory().availablePhysicalBytes, 0u);
    EXPECT_GT(information.GetDiskSpace(L"C:\\").totalBytes, 0u);
    EXPECT_FALSE(information.GetLocaleName(false).empty());
    const auto now = std::chrono::time_point_cast<OrvikPkg::SystemInfo::SystemTicks>(
        std::chrono::system_clock::now());
    EXPECT_LE(std::chrono::abs(information.GetCurrentTime() - now), std::chrono::minutes(1));
    // Wine has no Security Center product list: a status, not an error.
    EXPECT_EQ(OrvikPkg::SystemInfo::SecurityProductList::kNotAvailable,
              information.GetSecurityProvidersInformation().GetFirewallProducts().status);
}

TEST_F(SharedSessionTest, ErrorReportGoesToTheLogsDirectory) {
    SharedSession session(logger_);
    ReportException(L"PreInstall::ReportError", Exception(-126316, L"source\\x", 1), L"", session);
    const std::string report = orvik::testing::ReadBytes(logs_ / L"errorlog.txt");
    EXPECT_NE(std::string::npos,
              report.find("Exception in PreInstall::ReportError. Error code: -126316"));
}

}  // namespace
}  // namespace orvik::pkgshared
