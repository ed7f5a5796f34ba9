#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "shared/ExceptionFamily.h"
#include "support/ChildProcess.h"
#include "support/SystemInfoMocks.h"
#include "sysinfo/SystemSummaryReport.h"

namespace orvik::sysinfo {
namespace {

using OrvikPkg::SystemInfo::SecurityProductList;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::Return;
using ::testing::ReturnRef;

constexpr std::uint16_t kEnglish = 0x0409;

class SystemSummaryReportTest : public ::testing::Test {
protected:
    void SetUp() override {
        ON_CALL(information, GetOperatingSystem())
            .WillByDefault(Return(OrvikPkg::SystemInfo::OperatingSystem{
                L"Microsoft Windows 10 Pro", L"10.0.19045", L"64-bit", 0, 0, 1}));
        ON_CALL(information, GetMemory())
            .WillByDefault(
                Return(OrvikPkg::SystemInfo::Memory{3 * 1048576ull, 42, 5 * 1048576ull}));
        ON_CALL(information, GetDiskSpace(std::wstring(L"C:\\")))
            .WillByDefault(Return(OrvikPkg::SystemInfo::DiskSpace{7 * 1048576ull, 9 * 1048576ull}));
        ON_CALL(information, GetLocaleName(false)).WillByDefault(Return(L"German (Germany)"));
        ON_CALL(information, GetLocaleName(true)).WillByDefault(Return(L"English (United States)"));
        ON_CALL(information, GetSecurityProvidersInformation()).WillByDefault(ReturnRef(security));
        ON_CALL(information, GetRecentWindowsUpdates())
            .WillByDefault(
                Return(std::vector<std::wstring>{L"Update \u00e9 (KB2)", L"Update (KB1)"}));
        antivirus.status = SecurityProductList::kLoaded;
        antivirus.products = {{L"Shield", true}, {L"Old Shield", false}};
        spyware.status = SecurityProductList::kServiceNotRunning;
        firewall.status = SecurityProductList::kNotAvailable;
        ON_CALL(security, GetAntivirusProducts()).WillByDefault(ReturnRef(antivirus));
        ON_CALL(security, GetAntispywareProducts()).WillByDefault(ReturnRef(spyware));
        ON_CALL(security, GetFirewallProducts()).WillByDefault(ReturnRef(firewall));
    }
    bool Write() { return WriteSystemSummary(information, L"C:\\", kEnglish, out); }

    ::testing::NiceMock<orvik::testing::MockSystemInformation> information;
    ::testing::NiceMock<orvik::testing::MockSecurityProviders> security;
    SecurityProductList antivirus, spyware, firewall;
    std::wostringstream out;
};

TEST_F(SystemSummaryReportTest, EverySectionAnswered) {
    EXPECT_TRUE(Write());
    EXPECT_EQ(
        L"Operating system\n"
        L"  Caption: Microsoft Windows 10 Pro\n"
        L"  Version: 10.0.19045\n"
        L"  Architecture: 64-bit\n"
        L"  Service pack: 0.0\n"
        L"  Product type: 1\n"
        L"Memory\n"
        L"  Available physical memory: 3145728 bytes (3 MiB)\n"
        L"  Memory load: 42 %\n"
        L"  Available virtual memory of this process: 5242880 bytes (5 MiB)\n"
        L"System drive\n"
        L"  Drive: C:\\\n"
        L"  Free: 7340032 bytes (7 MiB)\n"
        L"  Total: 9437184 bytes (9 MiB)\n"
        L"User locale\n"
        L"  German (Germany)\n"
        L"System locale\n"
        L"  English (United States)\n"
        L"Antivirus products\n"
        L"  Status 0: loaded\n"
        L"  Shield (on)\n"
        L"  Old Shield (not on)\n"
        L"Antispyware products\n"
        L"  Status 2: the Security Center service is not running\n"
        L"Firewall products\n"
        L"  Status 1: not available (this system has no Security Center product list)\n"
        L"Windows updates of the last 24 hours\n"
        L"  Update \u00e9 (KB2)\n"
        L"  Update (KB1)\n",
        out.str());
}

TEST_F(SystemSummaryReportTest, FailedSectionsPrintTheirErrorAndTheRestFollows) {
    EXPECT_CALL(information, GetOperatingSystem())
        .WillOnce([]() -> OrvikPkg::SystemInfo::OperatingSystem {
            throw std::runtime_error("Failed to get operating system");
        });
    EXPECT_CALL(information, GetLocaleName(false));  // answers as usual
    EXPECT_CALL(information, GetLocaleName(true)).WillOnce([](bool) -> std::wstring {
        throw pkgshared::WindowsFunctionErrorException(87, "GetLocaleInfoEx", L"file", 1);
    });
    EXPECT_CALL(security, GetAntispywareProducts()).WillOnce([]() -> const SecurityProductList& {
        throw pkgshared::WindowsFunctionErrorException(-2147467259, "wscProductList->Initialize",
                                                       L"f", 80);
    });
    EXPECT_CALL(information, GetRecentWindowsUpdates())
        .WillOnce(Return(std::vector<std::wstring>{}));
    EXPECT_FALSE(Write());
    const std::wstring text = out.str();
    EXPECT_THAT(text, HasSubstr(L"Operating system\n  Error: Failed to get operating system\n"
                                L"Memory\n"));
    EXPECT_THAT(text, HasSubstr(L"User locale\n  German (Germany)\nSystem locale\n"
                                L"  Error -125553: Error '87' occurred while calling Windows "
                                L"function 'GetLocaleInfoEx'.\nAntivirus products\n"));
    EXPECT_THAT(text, HasSubstr(L"Antispyware products\n  Error -125553: Error '-2147467259' "
                                L"occurred while calling Windows function "
                                L"'wscProductList->Initialize'.\nFirewall products\n  Status 1"));
    EXPECT_THAT(text, HasSubstr(L"Windows updates of the last 24 hours\n  None\n"));
    EXPECT_THAT(text, Not(HasSubstr(L"Caption")));
}

TEST_F(SystemSummaryReportTest, ErrorTextsFollowTheLanguage) {
    EXPECT_CALL(information, GetMemory()).WillOnce([]() -> OrvikPkg::SystemInfo::Memory {
        throw pkgshared::WindowsFunctionErrorException(5, "GlobalMemoryStatusEx", L"f", 76);
    });
    EXPECT_FALSE(WriteSystemSummary(information, L"C:\\", 0x0407, out));
    EXPECT_THAT(out.str(), HasSubstr(L"Memory\n  Error -125553: Beim Aufruf der Windows-Funktion "
                                     L"'GlobalMemoryStatusEx' ist der Fehler '5' aufgetreten."));
}

}  // namespace
}  // namespace orvik::sysinfo

namespace orvik::testing {
namespace {

using ::testing::HasSubstr;

// The version the prefix reports, read past the compatibility layers.
std::string PrefixVersion() {
    using RtlGetVersionFunction = LONG(WINAPI*)(OSVERSIONINFOW*);
    const auto rtlGetVersion = reinterpret_cast<RtlGetVersionFunction>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion")));
    OSVERSIONINFOW info{};
    info.dwOSVersionInfoSize = sizeof(info);
    rtlGetVersion(&info);
    return std::to_string(info.dwMajorVersion) + "." + std::to_string(info.dwMinorVersion) + "." +
           std::to_string(info.dwBuildNumber);
}

std::uint64_t Figure(const std::string& text, const std::string& label) {
    std::smatch match;
    if (!std::regex_search(text, match, std::regex("  " + label + ": ([0-9]+) bytes"))) {
        ADD_FAILURE() << "no " << label << " in\n" << text;
        return 0;
    }
    return std::stoull(match[1]);
}

// The real program under Wine: WMI, memory and the volume answer; the event
// log and the Security Center, which Wine does not have, come out as the
// error text and the statuses the program gives for such a system.
TEST(SysinfoToolTest, PrintsTheSummaryOfThisPrefix) {
    const ScratchDirectory scratch;
    const ChildResult result =
        orvik::testing::Run(L"\"" + BinDirectory() + L"\\orvikpkg-sysinfo.exe\"", scratch.Path());
    std::string text = result.output;
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());  // lines end in CRLF

    EXPECT_THAT(text, HasSubstr("Operating system\n  Caption: Microsoft Windows 10"));
    EXPECT_THAT(text, HasSubstr("\n  Version: " + PrefixVersion() + "\n"));
    EXPECT_THAT(text, HasSubstr("\n  Architecture: 64-bit\n"));

    MEMORYSTATUSEX memory{};
    memory.dwLength = sizeof(memory);
    ASSERT_TRUE(::GlobalMemoryStatusEx(&memory));
    const std::uint64_t physical = Figure(text, "Available physical memory");
    EXPECT_GT(physical, 0u);
    EXPECT_LE(physical, memory.ullTotalPhys);
    EXPECT_GT(Figure(text, "Available virtual memory of this process"), 0u);

    ULARGE_INTEGER available{}, total{};
    ASSERT_TRUE(::GetDiskFreeSpaceExW(L"C:\\", &available, &total, nullptr));
    EXPECT_THAT(text, HasSubstr("System drive\n  Drive: C:\\\n"));
    EXPECT_EQ(total.QuadPart, Figure(text, "Total"));
    EXPECT_LE(Figure(text, "Free"), total.QuadPart);

    wchar_t userLocale[85] = {};
    ASSERT_GT(::GetLocaleInfoEx(nullptr, LOCALE_SENGLISHDISPLAYNAME, userLocale, 85), 0);
    EXPECT_THAT(text, HasSubstr("User locale\n  " + pkgshared::WideToUtf8(userLocale) + "\n"));

    for (const char* list : {"Antivirus", "Antispyware", "Firewall"}) {
        EXPECT_THAT(text, HasSubstr(std::string(list) + " products\n  Status 1: not available"));
    }
    // The update section either lists titles or names the failed call.
    EXPECT_TRUE(std::regex_search(
        text, std::regex("Windows updates of the last 24 hours\n  (None\n|Error -125553: Error "
                         "'-?[0-9]+' occurred while calling Windows function 'EvtQuery'\\.\n)")))
        << text;

    const bool anyError = text.find("  Error") != std::string::npos;
    EXPECT_EQ(anyError ? 1 : 0, result.exitCode) << text;
}

}  // namespace
}  // namespace orvik::testing
