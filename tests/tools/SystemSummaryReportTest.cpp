#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>
#include "shared/ExceptionFamily.h"
#include "support/ChildProcess.h"
#include "support/SystemInfoMocks.h"
#include "sysinfo/SystemSummaryReport.h"

namespace orvik::sysinfo {
namespace {
namespace si = OrvikPkg::SystemInfo;
using si::SecurityProductList;
using ::testing::HasSubstr;
using ::testing::Return;
using ::testing::ReturnRef;
class SystemSummaryReportTest : public ::testing::Test {
protected:
    void SetUp() override {
        ON_CALL(information, GetOperatingSystem())
            .WillByDefault(
                Return(si::OperatingSystem{L"Windows", L"10.0.19045", L"64-bit", 1, 2, 3}));
        ON_CALL(information, GetMemory())
            .WillByDefault(Return(si::Memory{3 * 1048576ull, 42, 5 * 1048576ull - 1}));
        ON_CALL(information, GetDiskSpace(std::wstring(L"C:\\")))
            .WillByDefault(Return(si::DiskSpace{7 * 1048576ull, 9 * 1048576ull}));
        ON_CALL(information, GetLocaleName(false)).WillByDefault(Return(L"German"));
        ON_CALL(information, GetLocaleName(true)).WillByDefault(Return(L"English"));
        ON_CALL(information, GetSecurityProvidersInformation()).WillByDefault(ReturnRef(security));
        ON_CALL(security, GetAntivirusProducts()).WillByDefault(ReturnRef(antivirus));
        ON_CALL(security, GetAntispywareProducts()).WillByDefault(ReturnRef(spyware));
        ON_CALL(security, GetFirewallProducts()).WillByDefault(ReturnRef(firewall));
    }
    bool Write(std::uint16_t language = 0x0409) {
        return WriteSystemSummary(information, L"C:\\", language, out);
    }

    ::testing::NiceMock<orvik::testing::MockSystemInformation> information;
    ::testing::NiceMock<orvik::testing::MockSecurityProviders> security;
    SecurityProductList antivirus{{{L"Shield", true}, {L"Old", false}},
                                  SecurityProductList::kLoaded};
    SecurityProductList spyware{{}, SecurityProductList::kServiceNotRunning}, firewall;
    std::wostringstream out;
};
TEST_F(SystemSummaryReportTest, EverySectionAnswered) {
    EXPECT_TRUE(Write());
    EXPECT_EQ(
        L"Operating system\n  Caption: Windows\n  Version: 10.0.19045\n  Architecture: 64-bit\n"
        L"  Service pack: 1.2\n  Product type: 3\nMemory\n"
        L"  Available physical memory: 3145728 bytes (3 MiB)\n  Memory load: 42 %\n"
        L"  Available virtual memory of this process: 5242879 bytes (4 MiB)\n"
        L"System drive\n  Drive: C:\\\n  Free: 7340032 bytes (7 MiB)\n"
        L"  Total: 9437184 bytes (9 MiB)\nUser locale\n  German\nSystem locale\n  English\n"
        L"Antivirus products\n  Status 0: loaded\n  Shield (on)\n  Old (not on)\n"
        L"Antispyware products\n  Status 2: the Security Center service is not running\n"
        L"Firewall products\n  Status 1: not available (this system has no Security Center product "
        L"list)\n"
        L"Windows updates of the last 24 hours\n  None\n",
        out.str());
}
// Each failed section prints its error in the report's language, the rest follows.
TEST_F(SystemSummaryReportTest, FailedSectionsPrintTheirErrorAndTheRestFollows) {
    EXPECT_CALL(information, GetOperatingSystem()).WillOnce([]() -> si::OperatingSystem {
        throw std::runtime_error("Failed to get operating system");
    });
    EXPECT_CALL(information, GetLocaleName(false));
    EXPECT_CALL(information, GetLocaleName(true)).WillOnce([](bool) -> std::wstring {
        throw pkgshared::WindowsFunctionErrorException(87, "GetLocaleInfoEx", L"file", 1);
    });
    EXPECT_FALSE(Write(0x0407));
    const std::wstring text = out.str();
    EXPECT_THAT(text, HasSubstr(L"system\n  Error: Failed to get operating system\nMemory\n"));
    EXPECT_THAT(text, HasSubstr(L"locale\n  Error -125553: Beim Aufruf der Windows-Funktion"));
}
// The real program under Wine (no Security Center): all sections; any error exits 1.
TEST(SysinfoToolTest, PrintsTheSummaryOfThisPrefix) {
    const orvik::testing::ScratchDirectory scratch;
    const auto result = orvik::testing::Run(
        L"\"" + orvik::testing::BinDirectory() + L"\\orvikpkg-sysinfo.exe\"", scratch.Path());
    const std::string& text = result.output;
    for (const char* section :
         {"Operating system\r\n  Caption: Microsoft Windows 10", "Memory\r\n  Available physical",
          "System drive\r\n  Drive: C:\\\r\n  Free: ", "User locale\r\n  ", "System locale\r\n  ",
          "Antivirus products\r\n  Status 1: not available", "Antispyware products\r\n  Status 1",
          "Firewall products\r\n  Status 1", "Windows updates of the last 24 hours\r\n  "}) {
        EXPECT_THAT(text, HasSubstr(section));
    }
    EXPECT_EQ(text.find("  Error") == std::string::npos ? 0 : 1, result.exitCode) << text;
}
}  // namespace
}  // namespace orvik::sysinfo
