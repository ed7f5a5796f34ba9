#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "support/ChildProcess.h"

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
